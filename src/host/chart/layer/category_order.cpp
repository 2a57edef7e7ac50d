#include "host/chart/layer/category_order.h"

#include <optional>

#include <fmt/format.h>

namespace host::chart {

// sort.statistic(summary.mean(y)) on dimension 1: the statistic of y over the cases of each
// category, from the rows the chart was given.
void orderByStatistic(Spec const& spec, DataView const& view, Layers& out,
                      std::vector<std::string>& warnings) {
    auto it = spec.scales.find(1);
    if (it == spec.scales.end() || it->second.sortStatistic.empty() || !out.xVar ||
        !out.xCategorical)
        return;
    ScaleSpec const& scale = it->second;
    std::string err;
    auto x = view.column(out.xVar->name, err);
    std::optional<Column> y;
    if (!scale.sortVariable.empty())
        y = view.column(scale.sortVariable, err);
    if (!x || !x->categorical || (!scale.sortVariable.empty() && !y)) {
        warnings.push_back(
            fmt::format("line {}: sort.statistic: {}; the categories keep their order", scale.line,
                        err.empty() ? "no categories to sort" : err));
        return;
    }
    std::vector<Sample> samples(x->values.size());
    for (std::size_t r = 0; r < x->size(); ++r) {
        if (!x->present(r) || x->codes[r] < 0)
            continue;
        double v = 0;
        if (y) {
            if (!y->present(r) || y->numbers[r] == kSysmis)
                continue;
            v = y->numbers[r];
        }
        samples[std::size_t(x->codes[r])].add(v);
    }
    std::string stat = y ? scale.sortStatistic : "summary.count";
    for (std::size_t k = 0; k < samples.size(); ++k) {
        double value = 0;
        bool none = false;
        if (summarizeSample(stat, samples[k], value, none) && !none)
            out.xSortValues[x->values[k]] = value;
    }
    out.xSortByStatistic = true;
}

}  // namespace host::chart
