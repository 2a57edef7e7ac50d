#pragma once
// From the chart model and its rows to a scene, through the stages of the engine: the chart
// statements read, frames and layers with their statistics, positions, scales, layout and
// geometry.

#include "host/chart/chart_model.h"
#include "host/chart/layout/text_metrics.h"
#include "host/chart/scales/ticks.h"
#include "host/chart/scene/scene.h"

class VarDataProcessor;

namespace host::chart {

Scene buildScene(ChartModel const& model, VarDataProcessor const* data,
                 TextMeasurer const& measurer);

}  // namespace host::chart
