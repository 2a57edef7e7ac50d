// Faults seen in small jobs, each pinned by the scene it should give: included categories,
// point sizes, ranges drawn as segments and bands.
#include <algorithm>
#include <cmath>
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

TEST(ChartReproScene, LongTitlesWrapOntoASecondLineInsideThePage) {
    std::string const title =
        "A rather long chart title that keeps going and going well past the width of the chart "
        "area";
    std::string const axis =
        "An axis label that is also very long, longer than the plot is wide, with more words at "
        "the end";
    std::string const up = "A vertical title longer than the plot is high, by a good many words";
    auto s =
        sceneOf("GUIDE: text.title(label(\"" + title + "\"))\n" + "GUIDE: axis(dim(1), label(\"" +
                axis + "\"))\n" + "GUIDE: axis(dim(2), label(\"" + up + "\"))\n" +
                "ELEMENT: point(position(x*y))");
    auto h = test::marks(s, "axis-1"), v = test::marks(s, "axis-2");
    ASSERT_EQ(h.size(), 1u);
    ASSERT_EQ(v.size(), 1u);
    // Each line fits where it is drawn (fixed metrics: a character is 0.6 em), and the lines
    // together are the whole text; a vertical title's first line is furthest from its axis.
    auto check = [&](char const* role, std::string const& text, double size, double lo, double hi,
                     bool vertical) {
        auto lines = test::marks(s, role);
        ASSERT_EQ(lines.size(), 2u) << role;
        EXPECT_EQ(lines[0].text + " " + lines[1].text, text);
        EXPECT_LT(vertical ? lines[0].x : lines[0].y, vertical ? lines[1].x : lines[1].y);
        for (auto const& l : lines) {
            double half = 0.6 * size * double(l.text.size()) / 2, at = vertical ? l.y : l.x;
            EXPECT_GE(at - half, lo - 1e-9) << l.text;
            EXPECT_LE(at + half, hi + 1e-9) << l.text;
            EXPECT_GT(vertical ? l.x - size : l.y, 0);
        }
        EXPECT_LT(lines[1].y, s.height);
    };
    check("title", title, 16, 0, s.width, false);
    check("axis-title-1", axis, 12, h[0].points[0].x, h[0].points[1].x, false);
    check("axis-title-2", up, 12, v[0].points[0].y, v[0].points[1].y, true);

    // Category labels turned to fit stay right of the page's left edge.
    XDocument doc(kHead + "DATA: c=col(source(s), name(\"c\"), unit.category())\n" +
                      "ELEMENT: interval(position(c*y))",
                  true, true);
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"c", "y"},
               {{"A category name long enough to reach past the left edge", 1.0},
                {"Another long one", 2.0},
                {"Short", 3.0}});
    auto c = test::scene(doc, &vdp);
    auto turned = test::marks(c, "tick-label-1");
    ASSERT_EQ(turned.size(), 3u);
    for (auto const& t : turned) {
        EXPECT_EQ(t.angle, -45);
        double chars = double(std::count_if(t.text.begin(), t.text.end(),
                                            [](char ch) { return (ch & 0xC0) != 0x80; }));
        EXPECT_GE(t.x - 0.6 * 11 * chars * 0.7071, 0) << t.text;
    }
    EXPECT_EQ(turned[2].text, "Short");
}

TEST(ChartReproScene, CategoriesOnTheSecondDimensionArePlacesAlongItsAxis) {
    auto sceneOfCats = [](std::string const& gpl) {
        XDocument doc(kHead + "DATA: s=col(source(s), name(\"s\"), unit.category())\n" + gpl, true,
                      true);
        VarDataProcessor vdp;
        test::fill(vdp, "g", {"x", "y", "g", "s"},
                   {{1.0, 2.0, 1.0, "b"},
                    {2.0, 4.0, 2.0, "a"},
                    {3.0, 9.0, 1.0, "c"},
                    {4.0, 7.0, 2.0, "b"}});
        return test::scene(doc, &vdp);
    };
    // Both dimensions categorical: one point per pair, the categories of s from the bottom up.
    auto s = sceneOfCats("ELEMENT: point(position(g*s))");
    EXPECT_EQ(texts(s, "tick-label-1"), (std::vector<std::string>{"1", "2"}));
    auto ticks = test::marks(s, "tick-label-2");
    ASSERT_EQ(ticks.size(), 3u);
    EXPECT_EQ(ticks[0].text, "a");
    EXPECT_EQ(ticks[2].text, "c");
    EXPECT_GT(ticks[0].y, ticks[1].y);
    EXPECT_GT(ticks[1].y, ticks[2].y);
    auto points = test::marks(s, "point");
    ASSERT_EQ(points.size(), 4u);
    double const label = 11 * 0.35;  // a tick label sits a third of its size below its tick
    auto yOf = [&](std::size_t i) { return ticks[i].y - label; };
    EXPECT_NEAR(points[0].y, yOf(1), 1e-9);  // (1, b)
    EXPECT_NEAR(points[1].y, yOf(0), 1e-9);  // (2, a)
    EXPECT_NEAR(points[2].y, yOf(2), 1e-9);  // (1, c)
    EXPECT_NEAR(points[3].y, points[0].y, 1e-9);
    EXPECT_LT(points[0].x, points[1].x);

    // A continuous first dimension, transposed: the categories run along the horizontal axis.
    auto t = sceneOfCats("COORD: rect(dim(1,2), transpose())\nELEMENT: point(position(x*s))");
    auto across = test::marks(t, "tick-label-2");
    ASSERT_EQ(across.size(), 3u);
    EXPECT_LT(across[0].x, across[1].x);
    auto tp = test::marks(t, "point");
    ASSERT_EQ(tp.size(), 4u);
    EXPECT_NEAR(tp[1].x, across[0].x, 1e-9);
    EXPECT_GT(tp[0].y, tp[1].y);  // x = 1 below x = 2

    // A polygon over two categorical variables is a heat map: cells tiling the bands.
    auto h = sceneOfCats("ELEMENT: polygon(position(g*s), color.interior(x))");
    auto cells = test::marks(h, "polygon");
    ASSERT_EQ(cells.size(), 4u);
    auto const &b1 = cells[0].points, &c1 = cells[2].points;
    ASSERT_EQ(b1.size(), 4u);
    EXPECT_NEAR(b1[0].x, c1[0].x, 1e-9);  // one column for g = 1
    EXPECT_NEAR(std::min(b1[0].y, b1[2].y), std::max(c1[0].y, c1[2].y), 1e-9);  // c above b
    EXPECT_FALSE(cells[0].fill == cells[2].fill);                               // coloured by x

    // Values cannot share an axis with categories: that element is named and left out.
    auto mixed = sceneOfCats("ELEMENT: point(position(g*s))\nELEMENT: line(position(g*y))");
    EXPECT_EQ(test::marks(mixed, "point").size(), 4u);
    EXPECT_TRUE(test::marks(mixed, "line").empty());
    ASSERT_EQ(mixed.warnings.size(), 1u);
    EXPECT_NE(mixed.warnings[0].find("line 7:"), std::string::npos) << mixed.warnings[0];
    // Coloured by summary.count(): one cell per pair that occurs, in the colour of its count.
    XDocument counted(kHead + "DATA: s=col(source(s), name(\"s\"), unit.category())\n" +
                          "ELEMENT: polygon(position(g*s), color.interior(summary.count()))",
                      true, true);
    VarDataProcessor rows;
    test::fill(rows, "g", {"g", "s"}, {{1.0, "a"}, {1.0, "a"}, {1.0, "a"}, {2.0, "a"}, {2.0, "b"}});
    auto heat = test::scene(counted, &rows);
    auto tiles = test::marks(heat, "polygon");
    ASSERT_EQ(tiles.size(), 3u);
    EXPECT_FALSE(tiles[0].fill == tiles[1].fill);  // 3 cases and 1
    EXPECT_TRUE(tiles[1].fill == tiles[2].fill);
    EXPECT_EQ(texts(heat, "legend-title"), (std::vector<std::string>{"Count"}));

    // Bars need values to stand on.
    auto bars = sceneOfCats("ELEMENT: interval(position(g*s))");
    EXPECT_TRUE(test::marks(bars, "bar").empty());
    ASSERT_EQ(bars.warnings.size(), 1u);
    EXPECT_NE(bars.warnings[0].find("'s' is categorical"), std::string::npos);
}

TEST(ChartReproScene, AShapeOfAVariableGivesALinePerCategoryWithItsDashAndALegend) {
    auto s = sceneOf("ELEMENT: line(position(x*y), shape(g))");
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 3u);  // g = 1 joins x = 1 and 4; 2 and 3 are points alone
    EXPECT_EQ(lines[0].points.size(), 2u);
    EXPECT_EQ(texts(s, "legend-label"), (std::vector<std::string>{"1", "2", "3"}));
    auto swatches = test::marks(s, "legend-swatch");
    ASSERT_EQ(swatches.size(), 3u);
    EXPECT_TRUE(swatches[0].dash.empty());  // the first category solid, the others dashed
    EXPECT_NE(swatches[1].dash, swatches[2].dash);
    EXPECT_FALSE(swatches[1].dash.empty());
    EXPECT_EQ(lines[0].dash, swatches[0].dash);

    // With a colour of another variable, the shapes come under their own heading; points show
    // markers.
    auto p = sceneOf("ELEMENT: point(position(x*y), color(\"Observed\"), shape(g))");
    EXPECT_EQ(texts(p, "legend-label"), (std::vector<std::string>{"Observed", "1", "2", "3"}));
    EXPECT_EQ(texts(p, "legend-title"), (std::vector<std::string>{"g"}));
    auto keys = test::marks(p, "legend-swatch");
    ASSERT_EQ(keys.size(), 4u);
    EXPECT_EQ(keys[1].kind, host::chart::MarkKind::Circle);
    EXPECT_EQ(keys[2].kind, host::chart::MarkKind::Polygon);  // a square marker
    // Colour and shape of one variable make one legend of coloured dashes.
    auto both = sceneOf("ELEMENT: line(position(x*y), color(g), shape(g))");
    EXPECT_EQ(texts(both, "legend-label"), (std::vector<std::string>{"1", "2", "3"}));
    auto dashes = test::marks(both, "legend-swatch");
    ASSERT_EQ(dashes.size(), 3u);
    EXPECT_FALSE(dashes[1].dash.empty());
    EXPECT_FALSE(dashes[0].stroke == dashes[1].stroke);
}

TEST(ChartReproScene, TickLabelsOfNeighbouringPanelsDoNotRunIntoEachOther) {
    auto s = sceneOf("ELEMENT: point(position(x*y*g))");
    auto labels = test::marks(s, "tick-label-1");
    ASSERT_GT(labels.size(), 6u);
    std::sort(labels.begin(), labels.end(), [](auto const& a, auto const& b) { return a.x < b.x; });
    auto half = [](test::Mark const& m) { return 0.6 * 11 * double(m.text.size()) / 2; };
    for (std::size_t i = 1; i < labels.size(); ++i)
        EXPECT_GT(labels[i].x - half(labels[i]), labels[i - 1].x + half(labels[i - 1]))
            << labels[i - 1].text << " and " << labels[i].text;
    // Only labels that would collide are left out: the first panel keeps both ends.
    EXPECT_EQ(labels.front().text, texts(s, "tick-label-1").front());
    auto frames = test::marks(s, "inner-frame");
    ASSERT_EQ(frames.size(), 3u);
    std::size_t firstPanel = 0;
    for (auto const& l : labels) firstPanel += l.x <= frames[0].x + frames[0].w + 1e-9;
    EXPECT_GE(firstPanel, 4u);
}

TEST(ChartReproScene, BarsOnAContinuousAxisAreAsWideAsTheSmallestGapAllows) {
    auto barsAt = [](std::vector<double> const& xs) {
        XDocument doc(kHead + "ELEMENT: interval(position(x*y))", true, true);
        VarDataProcessor vdp;
        std::vector<std::vector<test::Cell>> rows;
        for (double x : xs) rows.push_back({x, 5.0, 1.0});
        test::fill(vdp, "g", {"x", "y", "g"}, rows);
        auto s = test::scene(doc, &vdp);
        auto bars = test::marks(s, "bar");
        std::sort(bars.begin(), bars.end(), [](auto const& a, auto const& b) { return a.x < b.x; });
        auto axis = test::marks(s, "axis-1");
        EXPECT_EQ(axis.size(), 1u);
        for (auto const& b : bars)  // whole bars within the plot
            if (!axis.empty()) {
                EXPECT_GE(b.x, axis[0].points[0].x - 1e-9);
                EXPECT_LE(b.x + b.w, axis[0].points[1].x + 1e-9);
            }
        return bars;
    };
    for (auto const& xs :
         {std::vector<double>{1, 2, 3, 10}, std::vector<double>{10, 20, 30, 40},
          std::vector<double>{0.5, 0.75, 1, 1.25, 1.5, 1.75, 2, 2.25, 2.5, 2.75}}) {
        auto bars = barsAt(xs);
        ASSERT_EQ(bars.size(), xs.size());
        double step = (bars[1].x - bars[0].x);  // the smallest gap, on the page
        for (std::size_t i = 1; i < bars.size(); ++i) {
            EXPECT_NEAR(bars[i].w, bars[0].w, 1e-9);
            EXPECT_LT(bars[i - 1].x + bars[i - 1].w, bars[i].x);  // apart, not overlapping
        }
        EXPECT_NEAR(bars[0].w, 0.7 * step, 1e-6);  // the same share as bars of categories
    }
}

TEST(ChartReproScene, ANormalCurveOverAPercentHistogramIsInPercents) {
    // x is 1, 2, 3, 4: mean 2.5, standard deviation 1.291; bins one wide.
    double const peak = 1 / (1.2909944 * std::sqrt(2 * M_PI));
    for (bool percent : {true, false}) {
        auto s =
            sceneOf(std::string("ELEMENT: interval(position(") +
                    (percent ? "summary.percent.count" : "summary.count") +
                    "(bin.rect(x, binWidth(1))))\n" + "ELEMENT: line(position(density.normal(x)))");
        auto bars = test::marks(s, "bar");
        ASSERT_FALSE(bars.empty());
        auto const& tallest = *std::max_element(
            bars.begin(), bars.end(), [](auto const& a, auto const& b) { return a.h < b.h; });
        double perUnit = tallest.h / tallest.value, base = tallest.y + tallest.h;
        auto curve = test::marks(s, "line");
        ASSERT_EQ(curve.size(), 1u);
        double top = base;
        for (auto const& p : curve[0].points) top = std::min(top, p.y);
        double expected = percent ? 100 * peak : 4 * peak;  // of 4 cases, per bin of 1
        EXPECT_NEAR((base - top) / perUnit, expected, expected * 0.01) << percent;
    }
}

TEST(ChartReproScene, ErrorBarsAreCutAtThePlotsEdgeWithoutACapThere) {
    auto s = sceneOf(
        "SCALE: linear(dim(2), min(0), max(5))\n"
        "ELEMENT: interval(position(region.spread.range(g*(x+y))), "
        "shape.interior(shape.ibeam))");
    auto axis = test::marks(s, "axis-2");
    ASSERT_EQ(axis.size(), 1u);
    double const top = std::min(axis[0].points[0].y, axis[0].points[1].y);
    auto bars = test::marks(s, "errorbar");
    ASSERT_EQ(bars.size(), 3u);
    for (auto const& b : bars)
        for (auto const& p : b.points) EXPECT_GE(p.y, top - 1e-9) << b.category;
    // g = 1 runs from 1 to 7 and g = 3 from 3 to 9: cut at 5, they keep their lower caps only;
    // g = 2 (2 to 4) keeps both.
    EXPECT_EQ(test::marks(s, "errorbar-cap").size(), 4u);
}

TEST(ChartReproScene, TheSizeScalesEndsFollowTheRuleOfSizes) {
    auto radii = [](std::string const& lo, std::string const& hi, double* side = nullptr) {
        auto s = sceneOf("SCALE: linear(aesthetic(aesthetic.size), aestheticMinimum(size.\"" + lo +
                         "\"), aestheticMaximum(size.\"" + hi + "\"))\n" +
                         "ELEMENT: point(position(x*y), size(y))");
        auto points = test::marks(s, "point");
        EXPECT_EQ(points.size(), 4u);
        std::vector<double> r;
        for (auto const& p : points) r.push_back(p.w);
        std::sort(r.begin(), r.end());
        // The legend's largest circle, for 8, is as big as a point of 8 would be: its area
        // six sevenths of the way from the smallest point's to the largest's.
        double key = 0;
        for (auto const& k : test::marks(s, "legend-swatch")) key = std::max(key, k.w);
        double a = r.front() * r.front(), b = r.back() * r.back();
        EXPECT_NEAR(key, std::sqrt(a + (b - a) * 6 / 7), 1e-9);
        if (side) {
            auto h = test::marks(s, "axis-1"), v = test::marks(s, "axis-2");
            *side = std::min(std::fabs(h[0].points[1].x - h[0].points[0].x),
                             std::fabs(v[0].points[1].y - v[0].points[0].y));
        }
        return std::pair{r.front(), r.back()};
    };
    // y runs from 2 to 9: the smallest point has the minimum's diameter, the largest the maximum's.
    auto [small, large] = radii("6", "30");
    EXPECT_DOUBLE_EQ(small, 3);
    EXPECT_DOUBLE_EQ(large, 15);
    auto [smallPx, largePx] = radii("0.5", "12px");
    EXPECT_DOUBLE_EQ(smallPx, 0.5);  // half a pixel is drawn as one
    EXPECT_DOUBLE_EQ(largePx, 6);
    double side = 0;
    auto [smallShare, largeShare] = radii("2%", "10%", &side);
    EXPECT_NEAR(smallShare, 0.02 * side / 2, 1e-9);
    EXPECT_NEAR(largeShare, 0.10 * side / 2, 1e-9);
}

TEST(ChartReproScene, LongLegendsStayOnThePageWithDistinctColours) {
    auto legendOf = [](std::size_t n) {
        XDocument doc(kHead + "DATA: c=col(source(s), name(\"c\"), unit.category())\n" +
                          "ELEMENT: point(position(x*y), color(c))",
                      true, true);
        VarDataProcessor vdp;
        std::vector<std::vector<test::Cell>> rows;
        std::vector<std::string> names;
        for (std::size_t i = 0; i < n; ++i) names.push_back("Group " + std::to_string(1000 + i));
        for (std::size_t i = 0; i < n; ++i)
            rows.push_back({double(i), double(i % 7), 1.0, names[i].c_str()});
        test::fill(vdp, "g", {"x", "y", "g", "c"}, rows);
        return test::scene(doc, &vdp);
    };
    auto onPage = [](host::chart::Scene const& s) {
        for (auto const& l : test::marks(s, "legend-label")) {
            EXPECT_LE(l.x + 0.6 * l.fontSize * double(l.text.size()), s.width) << l.text;
            EXPECT_LE(l.y, s.height) << l.text;
        }
        for (auto const& k : test::marks(s, "legend-swatch")) EXPECT_LE(k.y + k.h, s.height);
    };
    // 30 categories: every one named, on the page, each in a colour of its own.
    auto s = legendOf(30);
    onPage(s);
    auto labels = test::marks(s, "legend-label");
    ASSERT_EQ(labels.size(), 30u);
    EXPECT_EQ(labels[29].text, "Group 1029");
    auto swatches = test::marks(s, "legend-swatch");
    ASSERT_EQ(swatches.size(), 30u);
    for (std::size_t i = 0; i < swatches.size(); ++i)
        for (std::size_t j = 0; j < i; ++j) {
            auto const &a = swatches[i].fill, &b = swatches[j].fill;
            double d = std::fabs(a.r - b.r) + std::fabs(a.g - b.g) + std::fabs(a.b - b.b);
            EXPECT_GT(d, 0.1) << i << " and " << j;
        }
    // 90 categories run in columns in a smaller font.
    auto m = legendOf(90);
    onPage(m);
    auto many = test::marks(m, "legend-label");
    ASSERT_EQ(many.size(), 90u);
    EXPECT_LT(many[0].fontSize, 11);
    EXPECT_LT(many[0].x, many[89].x);
    // More than the page can hold: those left out are counted.
    auto h = legendOf(400);
    onPage(h);
    auto shown = test::marks(h, "legend-label");
    ASSERT_GT(shown.size(), 50u);
    ASSERT_LT(shown.size(), 400u);
    EXPECT_EQ(shown.back().text, std::to_string(400 - (shown.size() - 1)) + " more");
}
