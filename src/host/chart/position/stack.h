#pragma once
// Positions: the rows of a stacked element set on one another.

#include "host/chart/layer/layer.h"
#include "host/chart/scales/scales.h"

namespace host::chart {

// Rows of stacked elements, in the order of their colours, each from where the one below it
// ends (positive values up, negative ones down), per category, cluster and panel.
void stackLayers(Layers& layers, Scales const& scales);

}  // namespace host::chart
