#pragma once
// An in-memory dataset built column by column, for the aggregation and data-pass tests.

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/dictionary/dataset.h"
#include "platform/dictionary.h"

namespace test {

class CaseBuilder {
public:
    explicit CaseBuilder(std::int64_t cases) : data_(std::make_shared<host::dictionary::Dataset>()) {
        data_->cases = cases;
    }
    // A numeric column; KWEL_Globals::sysmis() in `values` is the system-missing value.
    int numeric(std::string const& name, std::vector<double> const& values) {
        int index = host::dictionary::addVariable(*data_, name, 0);
        auto& column = data_->columns[static_cast<std::size_t>(index)];
        for (std::size_t i = 0; i < values.size() && i < column.size(); ++i) column[i] = values[i];
        return index;
    }
    int text(std::string const& name, int width, std::vector<std::string> const& values) {
        int index = host::dictionary::addVariable(*data_, name, width);
        auto& column = data_->columns[static_cast<std::size_t>(index)];
        std::size_t const cells = static_cast<std::size_t>(ObsCellsForWidth(width));
        for (std::size_t i = 0; i < values.size(); ++i) {
            auto* bytes = reinterpret_cast<char*>(column.data() + i * cells);
            std::memcpy(bytes, values[i].data(), std::min<std::size_t>(values[i].size(), static_cast<std::size_t>(width)));
        }
        return index;
    }
    host::dictionary::Variable& variable(int index) { return host::dictionary::variableAt(*data_, index); }
    void label(int index, double value, std::string const& text) {
        auto& record = variable(index);
        auto labels = std::make_shared<host::dictionary::ValueLabels>(*record.labels);
        labels->entries.push_back(host::dictionary::makeLabelEntry(record, value, "", text));
        record.labels = labels;
    }
    void set(std::string const& name, int type, std::vector<std::string> members, std::string const& counted = "") {
        data_->sets.emplace_back(name, type, "", std::move(members), counted, false);
    }
    std::shared_ptr<host::dictionary::Dataset> const& data() const { return data_; }

private:
    std::shared_ptr<host::dictionary::Dataset> data_;
};

}  // namespace test
