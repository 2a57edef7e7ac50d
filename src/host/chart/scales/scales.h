#pragma once
// Training the scales of a chart over all its layers: categories shared by the panels, the
// value domains of the continuous dimensions with their ticks.

#include <string>
#include <vector>

#include "host/chart/layer/layer.h"
#include "host/chart/scales/categories.h"
#include "host/chart/scales/ticks.h"

namespace host::chart {

struct Scales {
    CatScale x, cluster, panelCol, panelRow, color, shape, size, exterior;
    CatScale y;           // categories of dimension 2, placed at 0, 1, ... along yLin
    LinScale xLin, yLin;  // xLin when dimension 1 is continuous
    LinScale zLin;        // dimension 3 of three-dimensional coordinates
    CatScale z;           // ... when it is categorical
    bool xCategorical = true;
    bool yCategorical = false;
};

// No chart shows more than these; a chart that would is refused with a message.
constexpr std::size_t kMaxAxisCategories = 10000;
constexpr std::size_t kMaxPanels = 1000;

// The categories of every layer on shared scales; each layer's key tables learn the places of
// their codes.
Scales trainCategoricalScales(Layers& layers, Spec const& spec);

// Why the chart cannot be drawn with these scales, or "".
std::string scaleLimits(Scales const& scales, Layers const& layers);

// Values a log scale has no place for (zero and below) are left out, with a warning naming
// the element's line.
void dropUnshowable(Layers& layers, Spec const& spec, std::vector<std::string>& warnings);

// The value domains of the continuous dimensions, from every layer's rows.
void trainValueScales(Layers const& layers, Spec& spec, Scales& scales);

}  // namespace host::chart
