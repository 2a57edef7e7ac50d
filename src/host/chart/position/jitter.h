#pragma once
// point.jitter: points moved a little along dimension 1, the same way on every run, so that
// points of one category (or one value) do not hide each other.

#include "host/chart/layer/layer.h"
#include "host/chart/scales/scales.h"

namespace host::chart {

// Within 35% of a category's band either way, or 2% of the range of a continuous dimension 1.
void jitterLayers(Layers& layers, Scales const& scales);

}  // namespace host::chart
