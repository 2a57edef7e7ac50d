#pragma once
// From the chart model and its rows to a scene: bind the element's algebra to columns,
// compute statistics per group, train scales, lay out panels, axes, legend and titles.

#include "host/chart/chart_model.h"
#include "host/chart/scene.h"
#include "host/chart/text_metrics.h"

class VarDataProcessor;

namespace host::chart {

Scene buildScene(ChartModel const& model, VarDataProcessor const* data,
                 TextMeasurer const& measurer);

// Round tick values for a continuous range: about `target` ticks with steps of 1, 2, 2.5 or 5
// times a power of ten, covering [lo, hi].
std::vector<double> niceTicks(double lo, double hi, int target = 6);

// A number in a chart variable's format: prefix, grouping, decimals, suffix.
std::string formatNumber(double value, NumberFormat const& format, double step = 0);

}  // namespace host::chart
