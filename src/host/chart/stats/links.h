#pragma once
// Links between the points of a group: the convex hull (a polygon), the minimum spanning tree,
// the path in data order, and the joins between points that share a category.

#include <cstddef>
#include <utility>
#include <vector>

namespace host::chart::stats {

struct XY {
    double x = 0, y = 0;
};

// The hull's corners counter-clockwise from the lowest-leftmost point, without collinear points
// on its edges; fewer than three corners when the points do not span an area.
std::vector<XY> convexHull(std::vector<XY> points);

using Edge = std::pair<std::size_t, std::size_t>;  // indices into the points

// The Euclidean minimum spanning tree (Prim's algorithm, quadratic in the points, which is what
// a chart of a few thousand points can afford); n - 1 edges.
std::vector<Edge> minimumSpanningTree(std::vector<XY> const& points);

// Each point to the next, in data order.
std::vector<Edge> sequenceEdges(std::size_t count);

// Within each value of `keys`, each point to the next one of the same key (in data order):
// the low and high of a category joined by one segment.
std::vector<Edge> joinEdges(std::vector<double> const& keys);

}  // namespace host::chart::stats
