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
    double radius = 0;     // a size key: a circle of this radius instead of a swatch
    bool heading = false;  // the title of a second legend (sizes under colours)
    int shape = -1;        // a shape key: the place on the shape scale (a dash, a marker)
    bool note = false;     // a text alone: how many entries there was no room for
    bool outline = false;  // an outline colour: a hollow swatch
    int pattern = 0;       // a texture's hatching over the swatch
    // A colour bar for a continuous colour: its colours from the lowest value to the highest,
    // and round values along it with their labels.
    bool bar = false;
    double lo = 0, hi = 0;
    std::vector<Color> ramp{};
    std::vector<std::pair<double, std::string>> barTicks{};
};

// Keys of legend entries that are not colour categories start with these.
constexpr char kSizeKey = '\x1d', kOutlineKey = '\x1a';

struct Palette {
    std::vector<Color> byIndex;   // by the colour scale's index
    std::vector<Color> outlines;  // by the outline colour scale's index
    Color single;                 // marks without a colour of their own
    Color gradientLow, gradientHigh;
    double cellMax = 0;

    Color of(int index) const { return index >= 0 ? byIndex[std::size_t(index)] : single; }
    Color cell(double count) const;  // a two-way bin of this count
    // A continuous colour: a value of [colorLo, colorHi] as a gradient ('g'), or as the
    // saturation ('s') or brightness ('b') of the single colour.
    double colorLo = 0, colorHi = 0;
    Color shade(char scale, double value) const;
};

Color hexColor(std::string const& hex, double alpha = 1);
// The opacity of a continuous transparency's value: the higher the value, the more
// transparent, from opaque to a fifth.
double alphaOfValue(double lo, double hi, double value);
// The dash pattern of the i-th category of a shape scale on lines (the first is solid), and
// the marker of the i-th category on points; both cycle.
std::vector<double> dashPattern(int index);
MarkerShape markerShape(int index);
// The radius of a point of a continuous size: its area grows with the value, from the size
// scale's smallest to its largest diameter.
double sizeRadius(Layers const& layers, double value);
// The radius of the points of category `index` of `count` categories of size: areas in equal
// steps up to the largest size.
double categorySizeRadius(Layers const& layers, int index, std::size_t count);
// The diameters of the size scale in pixels for plots whose smaller side is `side`.
void resolveSizeRange(Layers& layers, Spec const& spec, double side);
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
