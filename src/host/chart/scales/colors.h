#pragma once
// Colours: of the categories of the colour scale (the document's cycle, the SCALE's map, or a
// colour-blind-safe palette), of the counts of two-way bins, and the legend's entries.

#include <string>
#include <vector>

#include "host/chart/chart_model.h"
#include "host/chart/gpl_syntax.h"
#include "host/chart/layer/layer.h"
#include "host/chart/scales/scales.h"
#include "host/chart/scene/scene.h"

namespace host::chart {

struct LegendEntry {
    std::string key;
    std::string label;
    Color color;
};

struct Palette {
    std::vector<Color> byIndex;  // by the colour scale's index
    Color single;                // marks without a colour of their own
    Color gradientLow, gradientHigh;
    double cellMax = 0;

    Color of(int index) const { return index >= 0 ? byIndex[std::size_t(index)] : single; }
    Color cell(double count) const;  // a two-way bin of this count
};

Color hexColor(std::string const& hex, double alpha = 1);
// "#RRGGBB" or "color.name"; `fallback` for what is neither.
Color namedColor(std::string const& text, Color fallback);
// The colour a constant argument names: color(color.red), color("#..."); else `fallback`.
Color constantColor(gpl::Node const* call, Color fallback);
Color defaultColor();

Palette makePalette(Scales const& scales, Spec const& spec, ChartModel const& model,
                    Layers const& layers);
// The colour categories, then a few round counts of two-way bins.
std::vector<LegendEntry> legendEntries(Scales const& scales, Palette const& palette,
                                       Layers const& layers);

}  // namespace host::chart
