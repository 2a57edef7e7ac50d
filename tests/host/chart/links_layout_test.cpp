// Hulls, spanning trees, joins, jitter, dot stacks and hexagonal bins, against cases worked by
// hand.

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "host/chart/stats/links.h"
#include "host/chart/stats/point_layout.h"

using namespace host::chart::stats;

TEST(Links, HullLeavesInnerAndCollinearPointsOut) {
    // A 4 x 3 rectangle with a point inside, one on an edge and a repeated corner.
    std::vector<XY> pts = {{0, 0}, {4, 0}, {4, 3}, {0, 3}, {2, 1}, {2, 0}, {4, 3}};
    auto hull = convexHull(pts);
    ASSERT_EQ(hull.size(), 4u);
    std::vector<std::pair<double, double>> got;
    for (auto const& p : hull) got.emplace_back(p.x, p.y);
    EXPECT_EQ(got, (std::vector<std::pair<double, double>>{{0, 0}, {4, 0}, {4, 3}, {0, 3}}));
    // Points on one line span no area.
    EXPECT_LT(convexHull({{0, 0}, {1, 1}, {2, 2}, {3, 3}}).size(), 3u);
    EXPECT_EQ(convexHull({}).size(), 0u);
}

TEST(Links, SpanningTreeJoinAndSequence) {
    // Two clusters; the tree joins each within and crosses once by the shortest gap (3 to 4).
    std::vector<XY> pts = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {5, 0}, {6, 0}};
    auto tree = minimumSpanningTree(pts);
    ASSERT_EQ(tree.size(), pts.size() - 1);
    double length = 0;
    for (auto [a, b] : tree) length += std::hypot(pts[a].x - pts[b].x, pts[a].y - pts[b].y);
    EXPECT_NEAR(length, 3 + 4 + 1, 1e-12);  // three unit edges, the gap of 4, the unit 5-6
    std::set<std::size_t> reached = {0};
    for (int round = 0; round < 6; ++round)
        for (auto [a, b] : tree)
            if (reached.count(a) || reached.count(b))
                reached.insert({a, b});
    EXPECT_EQ(reached.size(), pts.size());

    EXPECT_EQ(sequenceEdges(3), (std::vector<Edge>{{0, 1}, {1, 2}}));
    EXPECT_EQ(joinEdges({1, 2, 1, 2, 1}), (std::vector<Edge>{{0, 2}, {1, 3}, {2, 4}}));
}

TEST(PointLayout, JitterStaysInBoundsAndRepeats) {
    auto a = jitterOffsets(10000, 0.4, 7);
    auto b = jitterOffsets(10000, 0.4, 7);
    EXPECT_EQ(a, b);
    auto [lo, hi] = std::minmax_element(a.begin(), a.end());
    EXPECT_GE(*lo, -0.4);
    EXPECT_LE(*hi, 0.4);
    // Spread over the whole band, not bunched: both tenths at the ends are reached, the mean
    // is near 0.
    EXPECT_LT(*lo, -0.36);
    EXPECT_GT(*hi, 0.36);
    double mean = 0;
    for (double v : a) mean += v / static_cast<double>(a.size());
    EXPECT_NEAR(mean, 0, 0.02);
    EXPECT_NE(jitterOffsets(5, 0.4, 8), jitterOffsets(5, 0.4, 7));
}

TEST(PointLayout, DotStacksAndOffsets) {
    // Width 1: 1, 1.5, 2 stack (within 1 of 1); 2.5 starts a new stack with 3; 10 alone.
    auto stacks = dotStacks({3, 1, 2, 10, 1.5, 2.5}, {}, 1.0);
    ASSERT_EQ(stacks.size(), 3u);
    EXPECT_DOUBLE_EQ(stacks[0].centre, 1.5);
    EXPECT_EQ(stacks[0].members, (std::vector<std::size_t>{1, 4, 2}));
    EXPECT_DOUBLE_EQ(stacks[1].centre, 2.75);
    EXPECT_DOUBLE_EQ(stacks[2].weight, 1);
    // Weights move the centre.
    auto weighted = dotStacks({1, 2}, {3, 1}, 1.0);
    EXPECT_DOUBLE_EQ(weighted[0].centre, 1.25);
    EXPECT_DOUBLE_EQ(weighted[0].weight, 4);

    EXPECT_DOUBLE_EQ(stackOffset(0, 3, false), 0.5);
    EXPECT_DOUBLE_EQ(stackOffset(2, 3, false), 2.5);
    EXPECT_DOUBLE_EQ(stackOffset(0, 3, true), -1);
    EXPECT_DOUBLE_EQ(stackOffset(1, 3, true), 0);
    EXPECT_DOUBLE_EQ(stackOffset(0, 2, true), -0.5);
    EXPECT_DOUBLE_EQ(stackOffset(1, 2, true), 0.5);
}

TEST(PointLayout, HexBinsTakeTheNearestCentre) {
    // Width 2 and corner height 1: centres at (2i, 3j) and (2i + 1, 3j + 1.5).
    std::vector<double> x = {0.1, 1.9, 1.0, 0.9, 2.0, 0.0};
    std::vector<double> y = {0.2, 0.1, 1.4, 1.3, 2.9, 0.9};
    auto cells = hexBins(x, y, {}, 2, 1);
    std::map<std::pair<double, double>, double> got;
    for (auto const& c : cells) got[{c.x, c.y}] = c.weight;
    std::map<std::pair<double, double>, double> want = {
        {{0, 0}, 2}, {{2, 0}, 1}, {{1, 1.5}, 2}, {{2, 3}, 1}};
    EXPECT_EQ(got, want);
    // Every case lands in a cell whose hexagon holds it: the corners are 1 from the centre.
    auto corners = hexCorners(1, 1.5, 2, 1);
    ASSERT_EQ(corners.size(), 6u);
    EXPECT_EQ(corners[0], (std::pair<double, double>{1, 2.5}));
    EXPECT_EQ(corners[3], (std::pair<double, double>{1, 0.5}));
}

TEST(PointLayout, CumulativeTotals) {
    EXPECT_EQ(cumulative({1, 2, 3, 4}, false), (std::vector<double>{1, 3, 6, 10}));
    EXPECT_EQ(cumulative({1, 2, 3, 4}, true), (std::vector<double>{10, 30, 60, 100}));
    EXPECT_EQ(cumulative({0, 0}, true), (std::vector<double>{0, 0}));
}
