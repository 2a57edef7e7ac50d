#pragma once
// Several graphs on one page: graphs placed in one column of the page (the same left and
// right) share the horizontal position of their plots, and those in one row the vertical, so
// that a scatter-plot matrix or a scatter with histograms at its margins reads across. Where
// they show the same continuous variable along that direction, they share its range too.

#include <memory>
#include <string>
#include <vector>

#include "host/chart/layer/layer.h"
#include "host/chart/layout/layout.h"
#include "host/chart/scales/colors.h"
#include "host/chart/scales/scales.h"

namespace host::chart {

// One graph through the stages.
struct GraphRun {
    Spec spec;
    Layers layers;
    Scales scales;
    Palette palette;
    Layout layout;
    bool drawable = false;  // its scales could be made
};

using GraphRuns = std::vector<std::unique_ptr<GraphRun>>;

// Ranges of one variable shared along a column or row of graphs; true when any changed, and
// the value scales of those graphs are trained again.
bool shareRanges(GraphRuns& runs);

// The edges of the plots of each column and row of graphs, from their first layouts: the
// innermost of each, so every plot fits.
void alignPlots(GraphRuns& runs);

}  // namespace host::chart
