#pragma once
// Labels beside points: each label takes the first free place of a few around its point, so
// that no label overlaps another label or covers another point.

#include <cstddef>
#include <optional>
#include <vector>

#include "host/chart/layout/layout.h"

namespace host::chart {

// A point drawn on the plot: its centre and radius.
struct PointDisc {
    double x = 0, y = 0, r = 0;
};

// A label to place: the index of its point among the discs, and the size of its text.
struct LabelRequest {
    std::size_t point = 0;
    double w = 0, h = 0;
};

// The box of each label (x, y its top-left corner), or none when every place around its point
// runs into a label placed before it, covers another point, or leaves `bounds`. The labels
// with the fewest places free of points are placed first; the others in the order given.
std::vector<std::optional<Rect>> placeLabels(std::vector<PointDisc> const& points,
                                             std::vector<LabelRequest> const& labels,
                                             Rect const& bounds);

}  // namespace host::chart
