// Coordinates of one and of three dimensions, and several graphs on one page, as they reach
// the scene.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/chart/chart_render.h"
#include "platform/chart.h"
#include "platform/var_data_processor.h"
#include "support/scene_rows.h"

namespace hc = host::chart;

namespace {

using test::Cell;
using test::scene;

std::string const kData =
    "SOURCE: s=userSource(id(\"g\"))\n"
    "DATA: v=col(source(s), name(\"v\"))\n";

// Nine values: median 6, hinges 4 and 8, whiskers 2 and 9, and 30 an extreme.
std::vector<double> const kValues{2, 4, 4, 5, 6, 7, 8, 9, 30};

void fillValues(VarDataProcessor& vdp) {
    std::vector<std::vector<Cell>> rows;
    for (double v : kValues) rows.push_back({v});
    test::fill(vdp, "g", {"v"}, rows);
}

// Page pixels back to data values along a horizontal axis, from its first and last tick label.
struct AxisMap {
    double p0 = 0, v0 = 0, p1 = 1, v1 = 1;
    double value(double pixel) const { return v0 + (pixel - p0) * (v1 - v0) / (p1 - p0); }
};
AxisMap horizontalMap(std::vector<test::Mark> const& ticks) {
    AxisMap m;
    EXPECT_GE(ticks.size(), 2u);
    if (ticks.size() >= 2)
        m = {ticks.front().x, ticks.front().value, ticks.back().x, ticks.back().value};
    return m;
}

}  // namespace

// One dimension: a box and points lie along a horizontal value axis that carries the guide
// and scale of dimension 1, with no axis across it.
TEST(DimensionsScene, OneDimensionOfValuesLiesAlongTheHorizontalAxis) {
    VarDataProcessor vdp;
    fillValues(vdp);
    std::string head = kData +
                       "COORD: rect(dim(1))\n"
                       "GUIDE: axis(dim(1), label(\"Value\"))\n"
                       "SCALE: linear(dim(1), min(0))\n";
    XDocument boxDoc(head + "ELEMENT: schema(position(bin.quantile.letter(v)))", true, true);
    auto b = scene(boxDoc, &vdp);
    EXPECT_TRUE(b.warnings.empty()) << b.warnings[0];
    auto boxes = test::marks(b, "box");
    ASSERT_EQ(boxes.size(), 1u);
    auto ticks = test::marks(b, "tick-label-2");
    ASSERT_FALSE(ticks.empty());
    EXPECT_EQ(ticks.front().value, 0);  // the scale of dimension 1 went with its variable
    AxisMap x = horizontalMap(ticks);
    EXPECT_NEAR(x.value(boxes[0].x), 4, 1e-9);
    EXPECT_NEAR(x.value(boxes[0].x + boxes[0].w), 8, 1e-9);
    EXPECT_EQ(test::marks(b, "extreme").size(), 3u);  // the asterisk of 30, three strokes
    EXPECT_TRUE(test::marks(b, "tick-label-1").empty());
    EXPECT_EQ(test::texts(b, "axis-title-2"), std::vector<std::string>{"Value"});
    EXPECT_TRUE(test::marks(b, "axis-title-1").empty());

    XDocument pointDoc(head + "ELEMENT: point(position(v))", true, true);
    auto p = scene(pointDoc, &vdp);
    EXPECT_TRUE(p.warnings.empty()) << p.warnings[0];
    auto points = test::marks(p, "point");
    ASSERT_EQ(points.size(), kValues.size());
    AxisMap px = horizontalMap(test::marks(p, "tick-label-2"));
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_NEAR(px.value(points[i].x), kValues[i], 1e-9);
        EXPECT_DOUBLE_EQ(points[i].y, points[0].y);  // one line across the plot
    }
}

// A count of bins in one dimension is a histogram standing on the variable's axis; values
// cannot share that axis and are left out with their line named.
TEST(DimensionsScene, OneDimensionalCountsAreHistograms) {
    VarDataProcessor vdp;
    fillValues(vdp);
    std::string head = kData + "COORD: rect(dim(1))\n";
    XDocument doc(head +
                      "ELEMENT: interval(position(summary.count(bin.rect(v, binWidth(10)))))\n"
                      "ELEMENT: point(position(v))",
                  true, true);
    auto s = scene(doc, &vdp);
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 2u);
    std::vector<double> counts{bars[0].value, bars[1].value};
    std::sort(counts.begin(), counts.end());
    EXPECT_EQ(counts, (std::vector<double>{1, 8}));
    for (auto const& bar : bars) EXPECT_GT(bar.h, 0);
    EXPECT_TRUE(test::marks(s, "point").empty());
    ASSERT_EQ(s.warnings.size(), 1u);
    EXPECT_NE(s.warnings[0].find("line 5:"), std::string::npos) << s.warnings[0];

    // Categories along one dimension are counted, not placed.
    test::fill(vdp, "c", {"k"}, {{"a"}, {"b"}, {"b"}});
    std::string cats =
        "SOURCE: s=userSource(id(\"c\"))\n"
        "DATA: k=col(source(s), name(\"k\"), unit.category())\n"
        "COORD: rect(dim(1))\n";
    XDocument counted(cats + "ELEMENT: interval(position(summary.count(k)))", true, true);
    auto c = scene(counted, &vdp);
    EXPECT_TRUE(c.warnings.empty()) << c.warnings[0];
    EXPECT_EQ(test::marks(c, "bar").size(), 2u);
    XDocument placed(cats + "ELEMENT: point(position(k))", true, true);
    auto p = scene(placed, &vdp);
    EXPECT_TRUE(test::marks(p, "point").empty());
    ASSERT_EQ(p.warnings.size(), 1u);
    EXPECT_NE(p.warnings[0].find("line 4: 'k' is categorical"), std::string::npos) << p.warnings[0];

    // Without coordinates of one dimension a lone variable is refused with a hint.
    XDocument plain(kData + "ELEMENT: point(position(v))", true, true);
    auto q = scene(plain, &vdp);
    EXPECT_TRUE(test::marks(q, "point").empty());
    ASSERT_FALSE(q.warnings.empty());
    EXPECT_NE(q.warnings[0].find("rect(dim(1))"), std::string::npos);
}

// Several graphs on one page, each from its own statements in its own place: a scatter with
// histograms at its top and right margins. Graphs of one column share the horizontal place of
// their plots and the range of the variable they show along it; graphs of one row the
// vertical ones.
TEST(DimensionsScene, GraphsOfAPageLineUpAtTheirMargins) {
    VarDataProcessor vdp;
    std::vector<std::vector<Cell>> rows;
    for (int i = 0; i < 20; ++i) rows.push_back({double(i), double((i * 7) % 20) / 2});
    test::fill(vdp, "g", {"x", "y"}, rows);
    std::string gpl =
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "DATA: y=col(source(s), name(\"y\"))\n"
        "GUIDE: text.title(label(\"Page\"))\n"
        "GRAPH: begin(origin(10%, 30%), scale(60%, 60%))\n"
        "ELEMENT: point(position(x*y))\n"
        "GRAPH: end()\n"
        "GRAPH: begin(origin(10%, 8%), scale(60%, 20%))\n"
        "GUIDE: axis(dim(1), null())\n"
        "ELEMENT: interval(position(summary.count(bin.rect(x, binWidth(5)))))\n"
        "GRAPH: end()\n"
        "GRAPH: begin(origin(72%, 30%), scale(25%, 60%))\n"
        "COORD: rect(dim(1,2), transpose())\n"
        "GUIDE: axis(dim(1), null())\n"
        "ELEMENT: interval(position(summary.count(bin.rect(y, binWidth(2.5)))))\n"
        "GRAPH: end()\n";
    XDocument doc(gpl, true, true);
    auto s = scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    EXPECT_EQ(test::texts(s, "title"), std::vector<std::string>{"Page"});
    auto points = test::marks(s, "point");
    ASSERT_EQ(points.size(), 20u);
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 8u);  // four bins of x, four of y
    double top = 1e9, bottom = -1e9, left = 1e9, right = -1e9;
    for (auto const& p : points) {
        top = std::min(top, p.y), bottom = std::max(bottom, p.y);
        left = std::min(left, p.x), right = std::max(right, p.x);
    }
    std::vector<test::Mark> above, beside;
    for (auto const& b : bars) (b.y + b.h <= top ? above : beside).push_back(b);
    ASSERT_EQ(above.size(), 4u);
    ASSERT_EQ(beside.size(), 4u);
    // Each graph inside its place on the page.
    for (auto const& b : above) EXPECT_LE(b.y + b.h, 0.28 * s.height + 1e-9);
    for (auto const& b : beside) EXPECT_GE(b.x, 0.72 * s.width);
    for (auto const& p : points) EXPECT_GE(p.y, 0.3 * s.height);
    // The bars of x over the points: the bin [0, 5) starts where x = 0 lies, and the last
    // bin [15, 20] ends where x = 20 would lie, which the points' own scale puts at 19 plus
    // a twentieth of a step beyond; the bars of y beside the points on y's scale.
    std::sort(above.begin(), above.end(), [](auto a, auto b) { return a.x < b.x; });
    double perX = (right - left) / 19;  // points at x = 0 and 19
    EXPECT_NEAR(above.front().x, left, 1e-6);
    EXPECT_NEAR(above.back().x + above.back().w, left + 20 * perX, 1e-6);
    std::sort(beside.begin(), beside.end(), [](auto a, auto b) { return a.y > b.y; });
    double perY = (bottom - top) / 9.5;  // y from 0 to 9.5
    EXPECT_NEAR(beside.front().y + beside.front().h, bottom, 1e-6);
    EXPECT_NEAR(beside.back().y, bottom - 10 * perY, 1e-6);
}

// Three dimensions in oblique projection: a point's depth moves it up and to the right by
// the same amount, so its place on the page gives back all three values; near points are
// drawn over far ones, and each of the three axes has its ticks.
TEST(DimensionsScene, ThreeDimensionsRecedeUpAndToTheRight) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "y", "z", "c"},
               {{0.0, 0.0, 0.0, "a"},
                {10.0, 0.0, 0.0, "a"},
                {0.0, 10.0, 0.0, "b"},
                {0.0, 0.0, 10.0, "b"},
                {5.0, 5.0, 5.0, "a"}});
    std::string gpl =
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "DATA: y=col(source(s), name(\"y\"))\n"
        "DATA: z=col(source(s), name(\"z\"))\n"
        "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
        "COORD: rect(dim(1,2,3))\n"
        "GUIDE: axis(dim(3), label(\"Depth\"))\n";
    XDocument doc(gpl + "ELEMENT: point(position(x*y*z), color(c))", true, true);
    auto s = scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto points = test::marks(s, "point");
    ASSERT_EQ(points.size(), 5u);
    auto find = [&](double v) {
        for (auto const& p : points)
            if (p.value == v)
                return p;
        return test::Mark{};
    };
    // Far points first: z = 10, then z = 5, then the three at z = 0 from left to right.
    EXPECT_EQ(points.front().value, 0);  // y of (0, 0, 10)
    EXPECT_EQ(points[1].value, 5);
    test::Mark origin = points[2], up = points[3], alongX = points[4];
    ASSERT_EQ(up.value, 10);
    EXPECT_NEAR(alongX.y, origin.y, 1e-9);
    EXPECT_GT(alongX.x, origin.x);
    EXPECT_NEAR(up.x, origin.x, 1e-9);
    EXPECT_LT(up.y, origin.y);
    test::Mark deep = points.front();
    double dx = deep.x - origin.x, dy = origin.y - deep.y;
    EXPECT_GT(dx, 10);
    EXPECT_NEAR(dx, dy, 1e-9);  // at 45 degrees
    // The middle point is the sum of half of each direction.
    test::Mark mid = find(5);
    EXPECT_NEAR(mid.x, origin.x + (alongX.x - origin.x) / 2 + dx / 2, 1e-6);
    EXPECT_NEAR(mid.y, origin.y - (origin.y - up.y) / 2 - dy / 2, 1e-6);
    for (char const* role : {"tick-label-1", "tick-label-2", "tick-label-3"})
        EXPECT_GE(test::marks(s, role).size(), 3u) << role;
    EXPECT_EQ(test::texts(s, "axis-title-3"), std::vector<std::string>{"Depth"});
    EXPECT_EQ(test::marks(s, "wall").size(), 3u);
    // The third axis's labels and title stay on the page.
    for (auto const& t : test::marks(s, "tick-label-3"))
        EXPECT_LT(t.x + 0.6 * 11 * double(t.text.size()), s.width);

    // A fourth factor makes panels, each a box; the third axis is labelled once, at the right.
    XDocument panels(gpl + "ELEMENT: point(position(x*y*z*c))", true, true);
    auto pn = scene(panels, &vdp);
    EXPECT_TRUE(pn.warnings.empty()) << pn.warnings[0];
    EXPECT_EQ(test::marks(pn, "wall").size(), 6u);
    EXPECT_EQ(test::marks(pn, "axis-3").size(), 2u);
    auto depthLabels = test::marks(pn, "tick-label-3");
    ASSERT_FALSE(depthLabels.empty());
    EXPECT_EQ(depthLabels.size(), test::marks(s, "tick-label-3").size());
    for (auto const& t : depthLabels) EXPECT_GT(t.x, 0.5 * pn.width);

    // What three dimensions cannot draw yet is said with its line, and nothing is drawn.
    XDocument lines(gpl + "ELEMENT: line(position(x*y*z))", true, true);
    auto l = scene(lines, &vdp);
    EXPECT_TRUE(test::marks(l, "line").empty());
    ASSERT_FALSE(l.warnings.empty());
    EXPECT_NE(l.warnings[0].find("line 8: 'line' in three-dimensional coordinates is not "
                                 "supported yet"),
              std::string::npos)
        << l.warnings[0];
    XDocument bars(gpl + "ELEMENT: interval(position(x*y*z))", true, true);
    auto b = scene(bars, &vdp);
    EXPECT_TRUE(test::marks(b, "bar").empty());
    ASSERT_FALSE(b.warnings.empty());
    EXPECT_NE(b.warnings[0].find("bars stand on categorical"), std::string::npos);
    XDocument guides(gpl +
                         "COORD: rect(dim(1,2,3), transpose())\n"
                         "GUIDE: form.line(position(*, 5))\n"
                         "ELEMENT: point(position(x*y*z))",
                     true, true);
    auto gw = scene(guides, &vdp);
    EXPECT_EQ(test::marks(gw, "point").size(), 5u);
    ASSERT_EQ(gw.warnings.size(), 2u);
    EXPECT_NE(gw.warnings[0].find("line 8: transpose()"), std::string::npos) << gw.warnings[0];
    EXPECT_NE(gw.warnings[1].find("line 9: a reference line"), std::string::npos);
    XDocument flat(gpl + "ELEMENT: point(position(x*y))", true, true);
    auto f = scene(flat, &vdp);
    EXPECT_TRUE(test::marks(f, "point").empty());
    ASSERT_FALSE(f.warnings.empty());
    EXPECT_NE(f.warnings[0].find("position(x*y*z)"), std::string::npos);
}

// A scatter-plot matrix: the graphs of one column put a value of their shared variable at one
// horizontal place, although the vertical axes of their rows need labels of other widths.
TEST(DimensionsScene, ScatterPlotMatrixSharesColumnsAndRows) {
    VarDataProcessor vdp;
    std::vector<std::vector<Cell>> rows;
    for (int i = 0; i < 6; ++i)
        rows.push_back({double(i), double(i * i), 1000.0 * (7 - i), 0.5 * i});
    test::fill(vdp, "g", {"a", "b", "c", "d"}, rows);
    std::string gpl =
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: a=col(source(s), name(\"a\"))\n"
        "DATA: b=col(source(s), name(\"b\"))\n"
        "DATA: c=col(source(s), name(\"c\"))\n"
        "DATA: d=col(source(s), name(\"d\"))\n";
    auto cell = [](int col, int row, char const* position) {
        return "GRAPH: begin(origin(" + std::to_string(col * 50) + "%, " +
               std::to_string(row * 50) + "%), scale(50%, 50%))\nELEMENT: point(position(" +
               position + "))\nGRAPH: end()\n";
    };
    gpl += cell(0, 0, "a*c") + cell(1, 0, "b*c") + cell(0, 1, "a*d") + cell(1, 1, "b*d");
    XDocument doc(gpl, true, true);
    auto s = scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto points = test::marks(s, "point");
    ASSERT_EQ(points.size(), 24u);  // in graph order, six each
    for (int i = 0; i < 6; ++i) {
        auto at = [&](int graph) { return points[std::size_t(graph * 6 + i)]; };
        EXPECT_NEAR(at(0).x, at(2).x, 1e-9);  // a in the first column
        EXPECT_NEAR(at(1).x, at(3).x, 1e-9);  // b in the second
        EXPECT_NEAR(at(0).y, at(1).y, 1e-9);  // c in the first row
        EXPECT_NEAR(at(2).y, at(3).y, 1e-9);  // d in the second
        EXPECT_LT(at(0).x, 0.5 * s.width);
        EXPECT_GT(at(3).y, 0.5 * s.height);
    }
    EXPECT_EQ(test::marks(s, "axis-title-1").size(), 4u);

    // Blocks as jobs write them: an end without a begin, a begin that ends the block before
    // it, and a block without elements, which draws no empty plot.
    XDocument loose(std::string("SOURCE: s=userSource(id(\"g\"))\n"
                                "DATA: a=col(source(s), name(\"a\"))\n"
                                "DATA: b=col(source(s), name(\"b\"))\n"
                                "GRAPH: end()\n"
                                "GRAPH: begin(origin(0%, 0%), scale(50%, 100%))\n"
                                "ELEMENT: point(position(a*b))\n"
                                "GRAPH: begin(origin(50%, 0%), scale(50%, 100%))\n"
                                "GUIDE: text.title(label(\"Empty\"))\n"
                                "GRAPH: end()\n"),
                    true, true);
    auto l = scene(loose, &vdp);
    EXPECT_TRUE(l.warnings.empty()) << l.warnings[0];
    auto placed = test::marks(l, "point");
    EXPECT_EQ(placed.size(), 6u);
    for (auto const& p : placed) EXPECT_LT(p.x, 0.5 * l.width);
    EXPECT_EQ(test::marks(l, "axis-1").size(), 1u);
    auto titles = test::marks(l, "title");
    ASSERT_EQ(titles.size(), 1u);
    EXPECT_GT(titles[0].x, 0.7 * l.width);  // centred over its own half of the page
}

// Bars in three dimensions: a box per cell of two categorical dimensions, its front as high
// as the summary, the cells of the back row drawn first and the fronts of one row in line.
TEST(DimensionsScene, BarsStandInTheCellsOfTwoCategories) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"a", "b", "y"},
               {{"x1", "near", 2.0},
                {"x1", "near", 4.0},
                {"x2", "near", 6.0},
                {"x1", "far", 8.0},
                {"x2", "far", 1.0}});
    std::string gpl =
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: a=col(source(s), name(\"a\"), unit.category())\n"
        "DATA: b=col(source(s), name(\"b\"), unit.category())\n"
        "DATA: y=col(source(s), name(\"y\"))\n"
        "COORD: rect(dim(1,2,3))\n"
        "SCALE: cat(dim(3), sort.values(\"near\", \"far\"))\n"
        "ELEMENT: interval(position(summary.mean(a*y*b)))";
    XDocument doc(gpl, true, true);
    auto s = scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 4u);
    EXPECT_EQ(test::marks(s, "bar-face").size(), 8u);  // a top and a side each
    std::vector<std::string> order;
    for (auto const& b : bars) order.push_back(b.group + " " + b.category);
    EXPECT_EQ(order, (std::vector<std::string>{"far x1", "far x2", "near x1", "near x2"}));
    EXPECT_EQ(bars[2].value, 3);  // the mean of 2 and 4
    // Heights in proportion to the values, from one base for each row of depth.
    EXPECT_NEAR(bars[3].h / bars[2].h, 2, 1e-9);
    EXPECT_NEAR(bars[0].h / bars[1].h, 8, 1e-9);
    EXPECT_NEAR(bars[2].y + bars[2].h, bars[3].y + bars[3].h, 1e-9);
    // The back row stands higher on the page and further to the right.
    EXPECT_LT(bars[0].y + bars[0].h, bars[2].y + bars[2].h);
    EXPECT_GT(bars[0].x, bars[2].x);
    EXPECT_EQ(test::texts(s, "tick-label-3"), (std::vector<std::string>{"near", "far"}));
    EXPECT_EQ(test::texts(s, "tick-label-1"), (std::vector<std::string>{"x1", "x2"}));
}
