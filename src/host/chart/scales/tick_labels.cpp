#include "host/chart/scales/tick_labels.h"

#include <algorithm>
#include <cmath>

namespace host::chart {

namespace {

std::vector<TickText> categoryTicks(CatScale const& cat) {
    std::vector<TickText> out;
    out.reserve(cat.size());
    for (std::size_t i = 0; i < cat.size(); ++i)
        out.push_back({cat.label(cat.keys[i]), double(i), cat.keys[i]});
    return out;
}

int decimalsOf(double step) {
    int decimals = 0;
    for (double v = step; decimals < 12 && std::fabs(v - std::round(v)) > v * 1e-6 + 1e-12; v *= 10)
        ++decimals;
    return decimals;
}

}  // namespace

std::string valueText(double value, Layers const& layers) {
    NumberFormat f;
    ChartVariableRecord const* var = layers.yVar;
    std::string const& stat = layers.yStatistic;
    bool counted = stat == "summary.count", percent = stat.find("percent") != std::string::npos;
    if (var && var->format.set && !counted && !percent)
        return formatNumber(value, var->format);
    f.grouping = std::fabs(value) >= 10000;
    if (percent)
        f.suffix = "%";
    // Rounded first: without a step the trailing zeros of the decimals are dropped.
    double scale = percent ? 10 : 100;
    return formatNumber(std::round(value * scale) / scale, f);
}

std::vector<TickText> tickTexts(int dim, Scales const& scales, Layers const& layers) {
    if (dim == 3 && layers.zCategorical)
        return categoryTicks(scales.z);
    if (dim == 1 && scales.xCategorical && !scales.cluster.empty())
        return categoryTicks(scales.cluster);
    if (dim == 1 && scales.xCategorical) {
        auto out = categoryTicks(scales.x);
        if (scales.x.size() == 1 && scales.x.keys[0] == "1" && !layers.xVar)
            out[0].text = "";
        return out;
    }
    if (dim == 2 && scales.yCategorical)
        return categoryTicks(scales.y);
    LinScale const& s = dim == 1 ? scales.xLin : dim == 3 ? scales.zLin : scales.yLin;
    if (s.time) {
        std::vector<TickText> out;
        for (std::size_t i = 0; i < s.ticks.size(); ++i)
            out.push_back({s.tickLabels[i], s.ticks[i], ""});
        return out;
    }
    NumberFormat f;
    ChartVariableRecord const* var = dim == 1 ? layers.xVar : dim == 3 ? layers.zVar : layers.yVar;
    if (var && var->format.set)
        f = var->format;
    // Without a format, thousands are grouped only where a number is long enough to need it,
    // so that years read as years.
    double biggest = 0;
    for (double t : s.ticks) biggest = std::max(biggest, std::fabs(t));
    if (!f.set)
        f.grouping = biggest >= 10000;
    std::string const& stat = layers.yStatistic;
    if (dim == 2 && stat == "summary.count")
        f = {};
    if (dim == 2 && stat.find("percent") != std::string::npos)
        f.suffix = "%";
    std::vector<TickText> out;
    for (double t : s.ticks) {
        NumberFormat ff = f;
        if (ff.decimals < 0 || !ff.set)
            ff.set = false;
        // A tick shows the decimals its step has, whatever the variable's own: 25 reads "25",
        // not "25.000", and 10.5 is not rounded to "10".
        if (ff.set && !s.log && s.step > 0)
            ff.decimals = decimalsOf(s.step);
        std::string label =
            s.log ? formatNumber(t, ff, t >= 1 ? 1 : t) : formatNumber(t, ff, s.step);
        out.push_back({label, t, ""});
    }
    return out;
}

}  // namespace host::chart
