#pragma once
// Running totals: the counts of a cumulative summary added up along dimension 1, in the order
// the categories are drawn.

#include "host/chart/layer/layer.h"
#include "host/chart/scales/scales.h"

namespace host::chart {

// Each count of a cumulative layer becomes the total of its own and those before it, per
// panel, cluster, colour and series; summary.percent.cumulative as a percentage of the last.
void cumulateLayers(Layers& layers, Scales const& scales);

}  // namespace host::chart
