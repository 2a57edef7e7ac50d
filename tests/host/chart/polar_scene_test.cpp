// Polar coordinates as they reach the scene: radar lines and areas closed around the circle,
// rose wedges, and a pie in each panel.
#include <algorithm>
#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

std::string const kHead =
    "SOURCE: s=userSource(id(\"g\"))\n"
    "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
    "DATA: v=col(source(s), name(\"v\"))\n"
    "COORD: polar(dim(1,2))\n"
    "SCALE: linear(dim(2), min(0), max(4))\n";

host::chart::Scene radar(std::string const& element) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"c", "v"}, {{"a", 1.0}, {"b", 2.0}, {"c", 3.0}, {"d", 4.0}});
    XDocument doc(kHead + element, true, true);
    return test::scene(doc, &vdp);
}

// The centre of a polar plane: the middle of its first ring.
host::chart::Point centre(host::chart::Scene const& s) {
    auto ring = test::marks(s, "grid-2").front().points;
    auto [l, r] =
        std::minmax_element(ring.begin(), ring.end(), [](auto p, auto q) { return p.x < q.x; });
    auto [t, b] =
        std::minmax_element(ring.begin(), ring.end(), [](auto p, auto q) { return p.y < q.y; });
    return {(l->x + r->x) / 2, (t->y + b->y) / 2};
}

}  // namespace

TEST(PolarScene, RadarGoesRoundFromTwelveOClock) {
    auto s = radar("ELEMENT: line(position(c*v))");
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 1u);
    auto const& p = lines[0].points;
    ASSERT_EQ(p.size(), 5u);  // a, b, c, d and back to a
    EXPECT_NEAR(p[4].x, p[0].x, 1e-9);
    EXPECT_NEAR(p[4].y, p[0].y, 1e-9);
    // a at twelve o'clock, b at three, c at six, d at nine, each as far out as its value.
    auto c = centre(s);
    double unit = (c.x - p[3].x) / 4;
    EXPECT_GT(unit, 10);
    EXPECT_NEAR(p[0].x, c.x, 1e-9);
    EXPECT_NEAR(c.y - p[0].y, 1 * unit, 1e-9);
    EXPECT_NEAR(p[1].x - c.x, 2 * unit, 1e-9);
    EXPECT_NEAR(p[1].y, c.y, 1e-9);
    EXPECT_NEAR(p[2].y - c.y, 3 * unit, 1e-9);
    // A labelled spoke per category, rings, no axes.
    EXPECT_EQ(test::texts(s, "tick-label-1"), (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_EQ(test::marks(s, "grid-1").size(), 4u);
    EXPECT_TRUE(test::marks(s, "axis-1").empty());

    // An area is one ring, with no corner at the centre.
    auto area = radar("ELEMENT: area(position(c*v))");
    auto shapes = test::marks(area, "area");
    ASSERT_EQ(shapes.size(), 1u);
    EXPECT_EQ(shapes[0].points.size(), 5u);
    for (auto const& pt : shapes[0].points) EXPECT_GT(std::hypot(pt.x - c.x, pt.y - c.y), 5);

    auto boxes = radar("ELEMENT: schema(position(bin.quantile.letter(c*v)))");
    ASSERT_FALSE(boxes.warnings.empty());
    EXPECT_NE(boxes.warnings[0].find("line 6: box plots are not drawn in a polar plane"),
              std::string::npos);
}

TEST(PolarScene, RoseWedgesReachTheirValues) {
    auto s = radar("ELEMENT: interval(position(c*v), color.interior(c))");
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto c = centre(s);
    std::map<std::string, double> reach;
    for (auto const& w : test::marks(s, "bar"))
        for (auto const& pt : w.points)
            reach[w.category] = std::max(reach[w.category], std::hypot(pt.x - c.x, pt.y - c.y));
    ASSERT_EQ(reach.size(), 4u);
    EXPECT_NEAR(reach["b"] / reach["a"], 2, 1e-6);
    EXPECT_NEAR(reach["d"] / reach["a"], 4, 1e-6);
}

TEST(PolarScene, APiePerPanel) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"c", "p"},
               {{"a", "p"}, {"a", "p"}, {"a", "p"}, {"b", "p"}, {"a", "q"}, {"b", "q"}});
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
        "DATA: p=col(source(s), name(\"p\"), unit.category())\n"
        "COORD: rect(dim(1,2), polar.theta(startAngle(0)))\n"
        "ELEMENT: interval.stack(position(summary.percent(1*1*p)), color.interior(c))",
        true, true);
    auto s = test::scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    EXPECT_EQ(test::texts(s, "panel-label"), (std::vector<std::string>{"p", "q"}));
    // Two pies side by side, each of its own panel's cases.
    std::map<double, std::map<std::string, double>> byCentre;
    for (auto const& slice : test::marks(s, "slice"))
        byCentre[std::round(slice.points.front().x)][slice.category] = slice.value;
    ASSERT_EQ(byCentre.size(), 2u);
    auto left = byCentre.begin()->second, right = byCentre.rbegin()->second;
    EXPECT_NEAR(left["a"], 75, 1e-9);
    EXPECT_NEAR(left["b"], 25, 1e-9);
    EXPECT_NEAR(right["a"], 50, 1e-9);
}

TEST(PolarScene, AContinuousAngleBendsLinesIntoArcs) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "v"}, {{0.0, 2.0}, {6.0, 2.0}, {12.0, 2.0}});
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "DATA: v=col(source(s), name(\"v\"))\n"
        "COORD: polar(dim(1,2))\n"
        "SCALE: linear(dim(2), min(0), max(4))\n"
        "ELEMENT: line(position(x*v))",
        true, true);
    auto s = test::scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 1u);
    // A constant value is a circular arc: many points, all as far from the centre.
    auto const& p = lines[0].points;
    ASSERT_GT(p.size(), 20u);
    auto c = centre(s);
    double r = std::hypot(p[0].x - c.x, p[0].y - c.y);
    for (auto const& pt : p) EXPECT_NEAR(std::hypot(pt.x - c.x, pt.y - c.y), r, 1e-6);
}
