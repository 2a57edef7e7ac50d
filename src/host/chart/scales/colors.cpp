#include "host/chart/scales/colors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace host::chart {

namespace {

// A colour-blind-safe categorical palette (Okabe and Ito), in an order that keeps neighbours
// apart.
constexpr char const* kPalette[] = {"#0072B2", "#E69F00", "#009E73", "#CC79A7",
                                    "#56B4E9", "#D55E00", "#F0E442", "#000000"};

struct NamedColor {
    char const* name;
    char const* hex;
};
constexpr NamedColor kNamedColors[] = {
    {"red", "#D62728"},        {"blue", "#1F77B4"},      {"green", "#2CA02C"},
    {"black", "#000000"},      {"white", "#FFFFFF"},     {"grey", "#7F7F7F"},
    {"gray", "#7F7F7F"},       {"lightgray", "#D3D3D3"}, {"lightgrey", "#D3D3D3"},
    {"darkgray", "#404040"},   {"darkgrey", "#404040"},  {"orange", "#FF7F0E"},
    {"yellow", "#F2C500"},     {"purple", "#9467BD"},    {"brown", "#8C564B"},
    {"pink", "#E377C2"},       {"lightblue", "#ADD8E6"}, {"darkblue", "#08306B"},
    {"lightgreen", "#90EE90"}, {"darkgreen", "#006400"}, {"cyan", "#17BECF"},
    {"magenta", "#E7298A"},    {"navy", "#1F3A68"},      {"teal", "#008080"},
};

Color cycleColor(ChartModel const& model, int position, Color fallback) {
    if (auto it = model.colorCycle.find(position); it != model.colorCycle.end())
        return {it->second.r / 255.0, it->second.g / 255.0, it->second.b / 255.0, 1};
    return fallback;
}

}  // namespace

Color hexColor(std::string const& hex, double alpha) {
    unsigned v = 0;
    if (!hex.empty())
        std::sscanf(hex.c_str() + (hex[0] == '#' ? 1 : 0), "%x", &v);
    return {((v >> 16) & 255) / 255.0, ((v >> 8) & 255) / 255.0, (v & 255) / 255.0, alpha};
}

Color namedColor(std::string const& text, Color fallback) {
    for (auto const& nc : kNamedColors)
        if (text == "color." + std::string(nc.name))
            return hexColor(nc.hex);
    return !text.empty() && text[0] == '#' ? hexColor(text) : fallback;
}

Color constantColor(gpl::Node const* call, Color fallback) {
    if (!call || call->args.empty())
        return fallback;
    auto const& a = call->args[0];
    if (a.kind == gpl::Node::Kind::Constant)
        return hexColor("#" + a.value);
    if (a.kind == gpl::Node::Kind::Name && a.name.find('.') != std::string::npos)
        return namedColor(a.key(), fallback);
    return fallback;
}

Color defaultColor() {
    return hexColor(kPalette[0]);
}

Color Palette::cell(double count) const {
    double t = cellMax > 0 ? std::clamp(count / cellMax, 0.0, 1.0) : 0;
    return {gradientLow.r + t * (gradientHigh.r - gradientLow.r),
            gradientLow.g + t * (gradientHigh.g - gradientLow.g),
            gradientLow.b + t * (gradientHigh.b - gradientLow.b), 1};
}

Palette makePalette(Scales const& scales, Spec const& spec, ChartModel const& model,
                    Layers const& layers) {
    Palette p;
    for (std::size_t i = 0; i < scales.color.size(); ++i) {
        std::string const& key = scales.color.keys[i];
        Color c = cycleColor(model, int(i) + 1, hexColor(kPalette[i % std::size(kPalette)]));
        if (auto it = spec.colorScale.map.find(key); it != spec.colorScale.map.end())
            c = namedColor(it->second, c);
        p.byIndex.push_back(c);
    }
    p.single = cycleColor(model, 1, defaultColor());
    Color grey = hexColor("#808080");
    p.gradientLow = namedColor(spec.gradientLow, grey);
    p.gradientHigh = namedColor(spec.gradientHigh, grey);
    p.cellMax = layers.cellMax;
    return p;
}

std::vector<LegendEntry> legendEntries(Scales const& scales, Palette const& palette,
                                       Layers const& layers) {
    std::vector<LegendEntry> out;
    for (std::size_t i = 0; i < scales.color.size(); ++i) {
        std::string const& key = scales.color.keys[i];
        out.push_back({key, scales.color.label(key), palette.byIndex[i]});
    }
    if (!layers.anyCells)
        return out;
    // Two-way bins are coloured by their counts; the legend shows a few round counts, the
    // smallest count first, so that the palest cells are named too.
    double cellMin = layers.cellMax;
    for (auto const& l : layers.layers)
        if (l.cells)
            for (auto const& b : l.bins) cellMin = std::min(cellMin, b.cell);
    double cellMax = layers.cellMax;
    auto ticks = niceTicks(0, cellMax, 5);
    if (cellMin > 0 && std::none_of(ticks.begin(), ticks.end(),
                                    [&](double t) { return std::fabs(t - cellMin) < 1e-9; }))
        ticks.insert(std::upper_bound(ticks.begin(), ticks.end(), cellMin), cellMin);
    for (double v : ticks)
        if (v > 0 && v <= cellMax * (1 + 1e-9))
            out.push_back(
                {"\x1c" + numberKey(v), formatNumber(v, NumberFormat{}), palette.cell(v)});
    return out;
}

}  // namespace host::chart
