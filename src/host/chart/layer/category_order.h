#pragma once
// The order of the categories of dimension 1 by a statistic of their cases
// (SCALE: cat(dim(1), sort.statistic(summary.mean(y)))), taken from the rows the chart was
// given rather than from what the elements draw.

#include <string>
#include <vector>

#include "host/chart/frame/frame.h"
#include "host/chart/layer/layer.h"

namespace host::chart {

// Fills Layers::xSortValues with the statistic of each category of dimension 1; a variable
// that cannot be read is a warning naming the scale's line, and the order is left alone.
void orderByStatistic(Spec const& spec, DataView const& view, Layers& out,
                      std::vector<std::string>& warnings);

}  // namespace host::chart
