#include "host/chart/scales/colors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "host/chart/scales/aesthetic_ramps.h"

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

// The colour of the i-th category: the palette above, then for charts of more categories
// further hues spaced by the golden angle, at alternating lightness and saturation so that
// neighbours differ in more than hue.
Color categoryColor(std::size_t i) {
    if (i < std::size(kPalette))
        return hexColor(kPalette[i]);
    std::size_t k = i - std::size(kPalette);
    double h = std::fmod(20 + 137.50776 * double(k), 360) / 60;
    double s = k % 3 == 1 ? 0.45 : 0.7, v = k % 2 == 0 ? 0.82 : 0.58;
    double c = v * s, x = c * (1 - std::fabs(std::fmod(h, 2) - 1)), base = v - c;
    double r = 0, g = 0, b = 0;
    switch (int(h)) {
        case 0:
            r = c, g = x;
            break;
        case 1:
            r = x, g = c;
            break;
        case 2:
            g = c, b = x;
            break;
        case 3:
            g = x, b = c;
            break;
        case 4:
            r = x, b = c;
            break;
        default:
            r = c, b = x;
            break;
    }
    return {r + base, g + base, b + base, 1};
}

Color cycleColor(ChartModel const& model, int position, Color fallback) {
    if (auto it = model.colorCycle.find(position); it != model.colorCycle.end())
        return {it->second.r / 255.0, it->second.g / 255.0, it->second.b / 255.0, 1};
    return fallback;
}

}  // namespace

std::vector<double> dashPattern(int index) {
    static std::vector<double> const kDashes[] = {
        {}, {8, 4}, {2, 3}, {10, 3, 2, 3}, {4, 4}, {12, 3, 2, 3, 2, 3}, {1, 6}, {16, 6}};
    return kDashes[std::size_t(std::max(0, index)) % std::size(kDashes)];
}

MarkerShape markerShape(int index) {
    constexpr MarkerShape kShapes[] = {MarkerShape::Circle, MarkerShape::Square,
                                       MarkerShape::Triangle, MarkerShape::Diamond,
                                       MarkerShape::Cross};
    return kShapes[std::size_t(std::max(0, index)) % std::size(kShapes)];
}

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

double sizeRadius(Layers const& layers, double value) {
    return sizeByArea(layers.sizeMin, layers.sizeMax,
                      placeIn(value, layers.sizeLo, layers.sizeHi)) /
           2;
}

double categorySizeRadius(Layers const& layers, int index, std::size_t count) {
    // The smallest category is a step up from the smallest size, so that it stays visible.
    double t = std::clamp(double(index + 1) / double(std::max<std::size_t>(count, 1)), 0.0, 1.0);
    return sizeByArea(layers.sizeMin, layers.sizeMax, t) / 2;
}

double alphaOfValue(double lo, double hi, double value) {
    return 1 - 0.8 * placeIn(value, lo, hi);
}

void resolveSizeRange(Layers& layers, Spec const& spec, double side) {
    side = std::max(1.0, side);
    layers.sizeMin = std::clamp(spec.sizeMin.on(side), 1.0, side);
    layers.sizeMax = std::clamp(spec.sizeMax.on(side), 1.0, side);
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

Color Palette::shade(char scale, double value) const {
    double t = placeIn(value, colorLo, colorHi);
    auto rgb = [](Color c) { return Rgb01{c.r, c.g, c.b}; };
    Rgb01 out = scale == 's'   ? bySaturation(rgb(single), t)
                : scale == 'b' ? byBrightness(rgb(single), t)
                               : gradient(rgb(gradientLow), rgb(gradientHigh), t);
    return {out.r, out.g, out.b, 1};
}

Palette makePalette(Scales const& scales, Spec const& spec, ChartModel const& model,
                    Layers const& layers) {
    Palette p;
    for (std::size_t i = 0; i < scales.color.size(); ++i) {
        std::string const& key = scales.color.keys[i];
        Color c = cycleColor(model, int(i) + 1, categoryColor(i));
        if (auto it = spec.colorScale.map.find(key); it != spec.colorScale.map.end())
            c = namedColor(it->second, c);
        p.byIndex.push_back(c);
    }
    // Outlines of the same variable as the fill take the fill's colours.
    bool sameAsFill = layers.exteriorVar && layers.exteriorVar == layers.colorVar;
    for (std::size_t i = 0; i < scales.exterior.size(); ++i) {
        int at = sameAsFill ? scales.color.index(scales.exterior.keys[i]) : -1;
        p.outlines.push_back(at >= 0 ? p.byIndex[std::size_t(at)]
                                     : cycleColor(model, int(i) + 1, categoryColor(i)));
    }
    p.single = cycleColor(model, 1, defaultColor());
    Color grey = hexColor("#808080");
    p.gradientLow = namedColor(spec.gradientLow, grey);
    p.gradientHigh = namedColor(spec.gradientHigh, grey);
    p.cellMax = layers.cellMax;
    p.colorLo = layers.colorLo;
    p.colorHi = layers.colorHi;
    return p;
}

std::vector<LegendEntry> legendEntries(Scales const& scales, Palette const& palette,
                                       Layers const& layers) {
    std::vector<LegendEntry> out;
    for (std::size_t i = 0; i < scales.color.size(); ++i) {
        std::string const& key = scales.color.keys[i];
        out.push_back({key, scales.color.label(key), palette.byIndex[i]});
    }
    // A shape of a variable: its categories with their dashes or markers, under their own
    // heading when colours come first; of the colour's own variable, in the colour's entries.
    // (The categories of a texture are hatchings, listed below.)
    bool const textured = std::any_of(layers.layers.begin(), layers.layers.end(),
                                      [](Layer const& l) { return l.textured; });
    bool sameAsColor = !textured && layers.shapeVar && layers.shapeVar == layers.colorVar &&
                       scales.shape.keys == scales.color.keys;
    if (sameAsColor)
        for (std::size_t i = 0; i < out.size(); ++i) out[i].shape = int(i);
    if (!scales.shape.empty() && !sameAsColor && !textured) {
        ChartVariableRecord const* v = layers.shapeVar;
        if (!out.empty())
            out.push_back(
                {"\x1dshape", v ? (v->label.empty() ? v->name : v->label) : "", Color{}, 0, true});
        Color c = out.empty() ? palette.single : Color{0.35, 0.35, 0.35, 1};
        for (std::size_t i = 0; i < scales.shape.size(); ++i) {
            std::string const& key = scales.shape.keys[i];
            out.push_back({key, scales.shape.label(key), c, 0, false, int(i)});
        }
    }
    char shade = 0;
    bool sized = false;
    for (auto const& l : layers.layers) {
        shade = shade ? shade : l.colorScale;
        sized |= l.sizeScale;
    }
    auto roundValues = [](double lo, double hi) {
        auto ticks = niceTicks(lo, hi, 7);
        std::vector<double> inside;
        for (double t : ticks)
            if (t >= lo - 1e-9 * std::fabs(hi - lo) && t <= hi + 1e-9 * std::fabs(hi - lo))
                inside.push_back(t);
        return inside.size() >= 2 ? inside : std::vector<double>{lo, hi};
    };
    // A continuous colour: a bar of its colours, round values along it.
    if (shade) {
        LegendEntry bar;
        bar.key =
            "\x1c"
            "bar";
        bar.bar = true;
        bar.lo = layers.colorLo;
        bar.hi = layers.colorHi;
        constexpr int kSteps = 48;
        for (int i = 0; i < kSteps; ++i)
            bar.ramp.push_back(
                palette.shade(shade, bar.lo + (bar.hi - bar.lo) * (i + 0.5) / kSteps));
        for (double v : roundValues(bar.lo, bar.hi))
            bar.barTicks.emplace_back(v, formatNumber(v, NumberFormat{}));
        out.push_back(std::move(bar));
    }
    auto titleOf = [](ChartVariableRecord const* v) {
        return v ? (v->label.empty() ? v->name : v->label) : std::string();
    };
    // Outline colours of another variable than the fill: hollow swatches under their heading.
    if (!scales.exterior.empty() && layers.exteriorVar != layers.colorVar) {
        if (!out.empty())
            out.push_back(
                {std::string(1, kOutlineKey), titleOf(layers.exteriorVar), Color{}, 0, true});
        for (std::size_t i = 0; i < scales.exterior.size(); ++i) {
            std::string const& key = scales.exterior.keys[i];
            out.push_back({kOutlineKey + key, scales.exterior.label(key), palette.outlines[i], 0,
                           false, -1, false, true});
        }
    }
    // A size key: circles of a few round sizes, or one per category, under their own heading.
    Color const sizeGrey{0.55, 0.55, 0.55, 1};
    if (sized || !scales.size.empty()) {
        if (!out.empty())
            out.push_back(
                {std::string(1, kSizeKey) + "size", titleOf(layers.sizeVar), Color{}, 0, true});
        if (sized)
            for (double v : roundValues(layers.sizeLo, layers.sizeHi))
                out.push_back({kSizeKey + numberKey(v), formatNumber(v, NumberFormat{}), sizeGrey,
                               sizeRadius(layers, v)});
        else
            for (std::size_t i = 0; i < scales.size.size(); ++i) {
                std::string const& key = scales.size.keys[i];
                out.push_back({kSizeKey + key, scales.size.label(key), sizeGrey,
                               categorySizeRadius(layers, int(i), scales.size.size())});
            }
    }
    // Textures: on the colours' swatches when the same variable gives both, else swatches of
    // their own under a heading.
    if (textured) {
        if (layers.textureVar && layers.textureVar == layers.colorVar) {
            for (auto& e : out) e.pattern = std::max(0, scales.shape.index(e.key));
        } else {
            ChartVariableRecord const* v = layers.textureVar;
            if (!out.empty())
                out.push_back(
                    {"\x1d"
                     "texture",
                     v ? (v->label.empty() ? v->name : v->label) : "", Color{}, 0, true});
            for (std::size_t i = 0; i < scales.shape.size(); ++i) {
                std::string const& key = scales.shape.keys[i];
                LegendEntry e{
                    "\x1d"
                    "texture " +
                        key,
                    scales.shape.label(key), Color{0.75, 0.75, 0.75, 1}};
                e.pattern = int(i);
                out.push_back(std::move(e));
            }
        }
    }
    // A transparency: the single colour at a few round values, under its own heading.
    if (std::any_of(layers.layers.begin(), layers.layers.end(),
                    [](Layer const& l) { return l.alphaScale; })) {
        ChartVariableRecord const* v = layers.alphaVar;
        if (!out.empty())
            out.push_back(
                {"\x1d"
                 "alpha",
                 v ? (v->label.empty() ? v->name : v->label) : "", Color{}, 0, true});
        for (double t : roundValues(layers.alphaLo, layers.alphaHi)) {
            Color c = palette.single;
            c.a = alphaOfValue(layers.alphaLo, layers.alphaHi, t);
            out.push_back(
                {"\x1d"
                 "alpha " +
                     numberKey(t),
                 formatNumber(t, NumberFormat{}), c});
        }
    }
    if (!layers.anyCells)
        return out;
    // Two-way and hexagonal bins are coloured by their counts: a colour bar from none to the
    // fullest bin.
    LegendEntry bar;
    bar.key =
        "\x1c"
        "cells";
    bar.bar = true;
    bar.hi = std::max(layers.cellMax, 1e-9);
    constexpr int kSteps = 48;
    for (int i = 0; i < kSteps; ++i) bar.ramp.push_back(palette.cell(bar.hi * (i + 0.5) / kSteps));
    for (double v : roundValues(0, bar.hi))
        bar.barTicks.emplace_back(v, formatNumber(v, NumberFormat{}));
    out.push_back(std::move(bar));
    return out;
}

}  // namespace host::chart
