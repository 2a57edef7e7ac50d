#pragma once
// The whole chart into the scene: guides, then each panel with its layers, then axis titles.

#include "host/chart/chart_model.h"
#include "host/chart/geometry/elements.h"
#include "host/chart/layout/layout.h"

namespace host::chart {

void drawChart(DrawContext& dc, ChartModel const& model, Layers const& layers,
               Layout const& layout);

}  // namespace host::chart
