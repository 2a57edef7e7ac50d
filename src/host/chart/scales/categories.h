#pragma once
// Categorical scales: the categories of a dimension or an aesthetic in the order they are
// drawn, with the labels they show.

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/chart/chart_model.h"
#include "host/chart/spec/chart_spec.h"

namespace host::chart {

class CatScale {
public:
    std::vector<std::string> keys;
    std::map<std::string, std::string> labels;  // relabels

    int index(std::string const& key) const;  // -1 when the key is not on the scale
    std::string label(std::string const& key) const;
    std::size_t size() const { return keys.size(); }
    bool empty() const { return keys.empty(); }
    void reindex();

private:
    std::unordered_map<std::string, int> index_;
};

// The categories seen, in value order (numbers by value when `numeric` and every key is a
// number, texts as they sort), then the scale's sort.values first, reversed if asked; labels
// from the variable's relabels.
// sort.data() keeps the order they are seen in; sort.statistic orders them by `byStatistic`
// (ascending, those without a value last).
CatScale trainCategories(std::vector<std::string> seen, ChartVariableRecord const* var,
                         ScaleSpec const* scale, bool numeric,
                         std::map<std::string, double> const* byStatistic = nullptr);

}  // namespace host::chart
