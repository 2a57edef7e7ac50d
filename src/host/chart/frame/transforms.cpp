#include "host/chart/frame/transforms.h"

#include <cmath>
#include <unordered_map>

#include <fmt/format.h>

namespace host::chart::transform {

bool iterate(double from, double to, double step, std::vector<double>& out, std::string& error,
             std::size_t maxCount) {
    out.clear();
    if (!std::isfinite(from) || !std::isfinite(to) || !std::isfinite(step) || step == 0) {
        error = "iter needs finite bounds and a step that is not 0";
        return false;
    }
    if ((to - from) * step < 0) {
        error = fmt::format("iter from {} never reaches {} by steps of {}", from, to, step);
        return false;
    }
    // Counting steps rather than adding them keeps 0, 0.1, ... 1 from drifting past its end.
    double steps = std::floor((to - from) / step + 1e-9);
    if (steps + 1 > static_cast<double>(maxCount)) {
        error = fmt::format("iter from {} to {} by {} gives more than {} values", from, to, step,
                            maxCount);
        return false;
    }
    auto count = static_cast<std::size_t>(steps) + 1;
    out.reserve(count);
    for (std::size_t k = 0; k < count; ++k) out.push_back(from + static_cast<double>(k) * step);
    return true;
}

std::vector<double> rowIndex(std::size_t rows) {
    std::vector<double> out(rows);
    for (std::size_t i = 0; i < rows; ++i) out[i] = static_cast<double>(i + 1);
    return out;
}

std::vector<std::string> collapse(std::vector<std::string> const& categories,
                                  std::vector<char> const& missing, std::vector<double> const* sums,
                                  CollapseOptions const& options) {
    std::unordered_map<std::string, double> share;
    double total = 0;
    for (std::size_t i = 0; i < categories.size(); ++i) {
        if (missing[i])
            continue;
        double v = sums ? (*sums)[i] : 1.0;
        if (!std::isfinite(v))
            continue;
        share[categories[i]] += v;
        total += v;
    }
    std::vector<std::string> out = categories;
    if (total <= 0)
        return out;
    for (std::size_t i = 0; i < out.size(); ++i)
        if (!missing[i] && share[categories[i]] / total * 100 < options.minimumPercent)
            out[i] = options.otherValue;
    return out;
}

}  // namespace host::chart::transform
