#pragma once
// The legend on the right of the page: its title, and its entries in one column, or for a long
// legend in a smaller font and in columns, with a note of the entries there is no room for.

#include <vector>

#include "host/chart/layout/layout.h"

namespace host::chart {

// Places the legend at the right edge `right` between `top` and `bottom`; the width it takes
// with the gap beside it (0 without a legend).
double placeLegend(Spec const& spec, Layers const& layers, std::vector<LegendEntry> entries,
                   TextMeasurer const& m, double left, double right, double top, double bottom,
                   LegendLayout& legend);

}  // namespace host::chart
