// Faults seen in small jobs, each pinned by the scene it should give: included categories,
// point sizes, ranges drawn as segments and bands.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

std::string const kHead =
    "SOURCE: s=userSource(id(\"g\"))\n"
    "DATA: x=col(source(s), name(\"x\"))\n"
    "DATA: y=col(source(s), name(\"y\"))\n"
    "DATA: g=col(source(s), name(\"g\"), unit.category())\n";

host::chart::Scene sceneOf(std::string const& gpl) {
    XDocument doc(kHead + gpl, true, true);
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "y", "g"},
               {{1.0, 2.0, 1.0}, {2.0, 4.0, 2.0}, {3.0, 9.0, 3.0}, {4.0, 7.0, 1.0}});
    return test::scene(doc, &vdp);
}

std::vector<std::string> texts(host::chart::Scene const& s, char const* role) {
    std::vector<std::string> out;
    for (auto const& m : test::marks(s, role)) out.push_back(m.text);
    return out;
}

}  // namespace

TEST(ChartReproScene, IncludedValuesMatchTheNumericCategoryTheyEqual) {
    // "1.00" names the category 1; "1.5" is a category of its own, empty.
    auto s = sceneOf(
        "SCALE: cat(dim(1), include(\"1.00\", \"2.00\", \"1.5\"))\n"
        "ELEMENT: point(position(g*y))");
    EXPECT_EQ(texts(s, "tick-label-1"), (std::vector<std::string>{"1", "1.5", "2", "3"}));
    EXPECT_EQ(test::marks(s, "point").size(), 4u);
    // Every value included in a colour scale has a legend entry, in value order.
    auto c = sceneOf(
        "SCALE: cat(aesthetic(aesthetic.color.interior), include(\"0\", \"1.0\"))\n"
        "ELEMENT: point(position(x*y), color.interior(g))");
    EXPECT_EQ(texts(c, "legend-label"), (std::vector<std::string>{"0", "1", "2", "3"}));
}

TEST(ChartReproScene, PointSizesAreDiametersInPixelsOrSharesOfThePlot) {
    auto radius = [](char const* size) {
        auto s = sceneOf(std::string("ELEMENT: point(position(x*y), size(size.\"") + size + "\"))");
        auto p = test::marks(s, "point");
        EXPECT_FALSE(p.empty()) << size;
        return p.empty() ? 0.0 : p[0].w;
    };
    EXPECT_DOUBLE_EQ(radius("4"), 2);
    EXPECT_DOUBLE_EQ(radius("4px"), 2);
    EXPECT_DOUBLE_EQ(radius("12"), 6);
    EXPECT_LT(radius("0.5"), radius("1.5"));  // bigger numbers, bigger points
    double tenth = radius("10%");
    EXPECT_GT(tenth, 10);
    EXPECT_NEAR(radius("20%"), 2 * tenth, 1e-9);
}

TEST(ChartReproScene, RangesAreSegmentsForEdgesAndBandsForAreas) {
    auto e = sceneOf("ELEMENT: edge(position(region.spread.range(g*(x+y))))");
    auto edges = test::marks(e, "edge");
    ASSERT_EQ(edges.size(), 3u);  // one low-high segment per category, no zigzag
    std::vector<double> xs;
    for (auto const& m : edges) {
        ASSERT_EQ(m.points.size(), 2u);
        EXPECT_DOUBLE_EQ(m.points[0].x, m.points[1].x);
        EXPECT_NE(m.points[0].y, m.points[1].y);
        xs.push_back(m.points[0].x);
    }
    std::sort(xs.begin(), xs.end());
    EXPECT_LT(xs[0], xs[1]);
    EXPECT_LT(xs[1], xs[2]);

    // The band of an area runs from each category's low to its high, not from the axis.
    auto a = sceneOf("ELEMENT: area(position(region.spread.range(g*(x+y))))");
    auto areas = test::marks(a, "area");
    ASSERT_EQ(areas.size(), 1u);
    auto const& pts = areas[0].points;
    ASSERT_EQ(pts.size(), 6u);
    std::vector<double> lows;
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_DOUBLE_EQ(pts[i].x, pts[5 - i].x);
        EXPECT_LT(pts[i].y, pts[5 - i].y);  // the high end is above the low one
        lows.push_back(pts[5 - i].y);
    }
    EXPECT_NE(lows[0], lows[1]);
    EXPECT_NE(lows[1], lows[2]);
}

TEST(ChartReproScene, ALineBreakInAQuotedLabelIsOneBlank) {
    auto s = sceneOf(
        "GUIDE: text.title(label(\"Two  words\n                on two lines\"))\n"
        "ELEMENT: point(position(x*y))");
    // Blanks within a line are kept as written.
    EXPECT_EQ(texts(s, "title"), (std::vector<std::string>{"Two  words on two lines"}));
}

TEST(ChartReproScene, ATextInTheColourIsACategoryWithALegendEntry) {
    auto s = sceneOf(
        "ELEMENT: line(position(x*y), color(\"Observed\"))\n"
        "ELEMENT: line(position(smooth.linear(x*y)), color(\"Fitted\"))");
    EXPECT_EQ(texts(s, "legend-label"), (std::vector<std::string>{"Fitted", "Observed"}));
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_FALSE(lines[0].stroke.r == lines[1].stroke.r && lines[0].stroke.g == lines[1].stroke.g &&
                 lines[0].stroke.b == lines[1].stroke.b);
}

TEST(ChartReproScene, LinesAndPointsStopAtThePlotsEdge) {
    // y runs 2, 4, 9, 7 over x 1..4: 9 and 7 lie beyond the scale's max of 5.
    auto s = sceneOf(
        "SCALE: linear(dim(2), min(0), max(5))\n"
        "ELEMENT: line(position(x*y))\n"
        "ELEMENT: point(position(x*y))");
    auto points = test::marks(s, "point");
    ASSERT_EQ(points.size(), 2u);
    // Where the value 5, the plot's top edge, lies.
    double const edge = points[1].y + (points[1].y - points[0].y) / 2;
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 1u);  // the line leaves the plot after x = 2 and does not return
    auto const& pts = lines[0].points;
    ASSERT_EQ(pts.size(), 3u);
    EXPECT_NEAR(pts[2].y, edge, 1e-6);
    EXPECT_NEAR((pts[2].x - pts[1].x) / (pts[1].x - pts[0].x), 0.2, 1e-6);  // cut at y = 5
    // Areas and edges are cut at the same edge.
    auto a = sceneOf(
        "SCALE: linear(dim(2), min(0), max(5))\n"
        "ELEMENT: area(position(x*y))\n"
        "ELEMENT: edge(position(x*y))\n"
        "ELEMENT: point(position(x*y))");
    auto marks = test::marks(a, "area"), edges = test::marks(a, "edge");
    ASSERT_EQ(marks.size(), 1u);
    ASSERT_EQ(edges.size(), 2u);  // the segment from 9 to 7 lies wholly outside
    marks.insert(marks.end(), edges.begin(), edges.end());
    auto dots = test::marks(a, "point");
    ASSERT_EQ(dots.size(), 2u);
    double const top = dots[1].y + (dots[1].y - dots[0].y) / 2;
    for (auto const& m : marks)
        for (auto const& p : m.points) EXPECT_GE(p.y, top - 1e-6);
    // One variable drawn by two elements still titles its axis.
    EXPECT_EQ(texts(s, "axis-title-2"), (std::vector<std::string>{"y"}));
}

TEST(ChartReproScene, BarsAreCutAtThePlotsEdge) {
    // Bars of x over g reach 5, 2 and 3; the scale stops at 4, and from 2.5.
    auto s = sceneOf(
        "SCALE: linear(dim(2), min(2.5), max(4))\n"
        "ELEMENT: interval(position(summary.sum(g*x)))");
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 2u);  // the bar of 2 lies wholly below the plot
    double top = std::min(bars[0].y, bars[1].y);
    double bottom = std::max(bars[0].y + bars[0].h, bars[1].y + bars[1].h);
    // The bar of 3 spans a third of the plot, the cut bar of 5 all of it.
    EXPECT_NEAR(std::min(bars[0].h, bars[1].h) * 3, bottom - top, 1e-6);
    EXPECT_NEAR(std::max(bars[0].h, bars[1].h), bottom - top, 1e-6);
}
