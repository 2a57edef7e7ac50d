#pragma once
// Frames: the rows of a source as typed columns. Numbers stay numbers; categories are integer
// codes into a table of their values, so that later stages group and look up by code and a
// million rows carry no text of their own.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/chart/chart_model.h"

class VarDataProcessor;

namespace host::chart {

constexpr double kSysmis = -std::numeric_limits<double>::max();

struct Column {
    ChartVariableRecord const* var = nullptr;
    bool categorical = false;
    bool hasText = false;               // some value is a text, not a number
    std::vector<double> numbers;        // kSysmis where a row has no number
    std::vector<std::int32_t> codes;    // categories: an index into `values`, -1 for none
    std::vector<std::string> values;    // the category keys, in the order they are met
    std::vector<std::uint8_t> missing;  // 1: missing or left out (notIn)
    // Reading stopped at the category past the most the caller could use: `values` holds that
    // many and one, the rows are not all read.
    bool tooManyCategories = false;

    std::size_t size() const { return missing.size(); }
    bool present(std::size_t r) const { return r < missing.size() && !missing[r]; }
    // The category key of a row ("" when it has none).
    std::string const& key(std::size_t r) const;
};

// The rows the chart was given, by chart variable.
class DataView {
public:
    DataView(ChartModel const& model, VarDataProcessor const* data) : model_(model), data_(data) {}

    // The column of a chart variable; nothing, with `error`, when the rows lack it. Reading
    // stops once a categorical column has more than `maxCategories` categories.
    std::optional<Column> column(std::string const& name, std::string& error,
                                 std::size_t maxCategories = SIZE_MAX) const;

private:
    // Variables that no supplied column holds: TRANS results, iter sequences, and the rows of
    // csvSource files; made on first use (derived_columns.cpp).
    struct Derived;
    Derived& derived() const;
    std::optional<Column> derivedColumn(ChartVariableRecord const& var, std::string& error) const;
    // The row store holding a source: the supplied rows, or a csvSource file read on first use.
    VarDataProcessor const* store(std::string const& gplSource, std::string& error) const;

    std::string vdpSource(std::string const& gplSource) const;
    ChartModel const& model_;
    VarDataProcessor const* data_;
    mutable std::shared_ptr<Derived> derived_;
};

// Is the variable computed by the chart (TRANS, iter) rather than read from a column?
bool isComputedVariable(ChartModel const& model, ChartVariableRecord const& var);

}  // namespace host::chart
