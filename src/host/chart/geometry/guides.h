#pragma once
// Guides: titles, the legend, frames, gridlines, reference lines and axes.

#include "host/chart/chart_model.h"
#include "host/chart/geometry/elements.h"
#include "host/chart/layout/layout.h"

namespace host::chart {

void drawTitles(Scene& scene, Layout const& layout);
void drawLegend(Scene& scene, LegendLayout const& legend);
void drawOuterFrame(Scene& scene, ChartModel const& model, Spec const& spec);
// Under the data of a panel: its header, gridlines and frame.
void drawPanelBackground(DrawContext& dc, ChartModel const& model, Layout const& layout,
                         PanelBox const& panel, PanelGeometry const& g);
// Over the data of a panel: reference lines and the axes it carries.
void drawPanelGuides(DrawContext& dc, Layout const& layout, PanelBox const& panel,
                     PanelGeometry const& g);
// The rings, spokes and labels of a polar plane.
void drawPolarGuides(DrawContext& dc, Layout const& layout, PanelGeometry const& g, bool labels);
void drawAxisTitles(Scene& scene, Layout const& layout);

}  // namespace host::chart
