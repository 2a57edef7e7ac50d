// Smoothers, densities, dot plots, jitter and links as they reach the scene. Reference values
// as in smoothers_density_test.cpp (statsmodels 0.13.5 lowess, numpy polyfit).
#include <algorithm>
#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

std::string const kHead =
    "SOURCE: s=userSource(id(\"g\"))\n"
    "DATA: x=col(source(s), name(\"x\"))\n"
    "DATA: y=col(source(s), name(\"y\"))\n";

std::vector<double> const kX = {0.5, 1.2, 2.0, 2.3, 3.1, 3.9, 4.4, 5.0,
                                5.8, 6.1, 7.0, 7.7, 8.2, 9.0, 9.6};
std::vector<double> const kY = {3.0, 2.1, 1.5, 1.7, 0.9, 1.2, 1.0, 1.6,
                                1.4, 2.3, 2.9, 3.6, 4.5, 5.9, 6.8};

void fillXY(VarDataProcessor& vdp) {
    std::vector<std::vector<test::Cell>> rows;
    for (std::size_t i = 0; i < kX.size(); ++i) rows.push_back({kX[i], kY[i]});
    test::fill(vdp, "g", {"x", "y"}, rows);
}

// Page pixels back to data values along an axis, from its first and last tick labels.
struct AxisMap {
    double p0 = 0, v0 = 0, p1 = 1, v1 = 1;
    double value(double pixel) const { return v0 + (pixel - p0) * (v1 - v0) / (p1 - p0); }
};
AxisMap axisMap(host::chart::Scene const& s, int dim, bool vertical) {
    auto ticks = test::marks(s, "tick-label-" + std::to_string(dim));
    AxisMap m;
    if (ticks.size() < 2)
        return m;
    auto px = [&](test::Mark t) { return vertical ? t.y - 11 * 0.35 : t.x; };
    m.p0 = px(ticks.front());
    m.v0 = ticks.front().value;
    m.p1 = px(ticks.back());
    m.v1 = ticks.back().value;
    return m;
}

}  // namespace

TEST(FitScene, LoessAndPolynomialCurvesAndTemplateFits) {
    VarDataProcessor vdp;
    fillXY(vdp);
    XDocument doc(kHead + "ELEMENT: point(position(x*y))\n"
                          "ELEMENT: line(position(smooth.loess(x*y, span(0.75))))\n",
                  true, true);
    auto s = test::scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 1u);
    auto const& pts = lines[0].points;
    ASSERT_EQ(pts.size(), 150u);
    AxisMap xm = axisMap(s, 1, false), ym = axisMap(s, 2, true);
    EXPECT_NEAR(xm.value(pts.front().x), 0.5, 1e-9);
    EXPECT_NEAR(ym.value(pts.front().y), 2.4174358253479267, 1e-9);
    EXPECT_NEAR(ym.value(pts.back().y), 6.429596721943905, 1e-9);

    // The document's quadratic fit template: a curve over the points and its R squared.
    XDocument fit(kHead + "ELEMENT: point(position(x*y))\n", true, true);
    std::string pair = "<addFitLine rsquared=\"true\" target=\"pair\" type=\"quadratic\"/>";
    fit.addInlineTemplate(&pair);
    auto f = test::scene(fit, &vdp);
    auto curve = test::marks(f, "line");
    ASSERT_EQ(curve.size(), 1u);
    EXPECT_GT(curve[0].points.size(), 2u);
    auto label = test::marks(f, "fit-label");
    ASSERT_EQ(label.size(), 1u);
    EXPECT_EQ(label[0].text, "R² Quadratic = 0.988");
    AxisMap fy = axisMap(f, 2, true);
    EXPECT_NEAR(fy.value(curve[0].points.front().y), 2.907192439464734, 1e-9);

    // An unknown fit type is left out with a warning.
    XDocument odd(kHead + "ELEMENT: point(position(x*y))\n", true, true);
    std::string weird = "<addFitLine target=\"pair\" type=\"exponential\"/>";
    odd.addInlineTemplate(&weird);
    auto o = test::scene(odd, &vdp);
    EXPECT_TRUE(test::marks(o, "line").empty());
    ASSERT_EQ(o.warnings.size(), 1u);
}

TEST(FitScene, KernelDensityOverAHistogramHasItsArea) {
    VarDataProcessor vdp;
    std::vector<std::vector<test::Cell>> rows;
    for (int i = 0; i < 200; ++i) rows.push_back({std::sin(i * 1.3) * 10 + (i % 7), 0.0});
    test::fill(vdp, "g", {"x", "y"}, rows);
    XDocument doc(kHead +
                      "ELEMENT: interval(position(summary.count(bin.rect(x, binWidth(2)))))\n"
                      "ELEMENT: line(position(density.kernel.epanechnikov(x)))\n",
                  true, true);
    auto s = test::scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 1u);
    // Scaled to the counts: the area under the curve is the cases times the bin width.
    AxisMap xm = axisMap(s, 1, false), ym = axisMap(s, 2, true);
    auto const& p = lines[0].points;
    double area = 0;
    for (std::size_t i = 1; i < p.size(); ++i)
        area += (xm.value(p[i].x) - xm.value(p[i - 1].x)) *
                (ym.value(p[i].y) + ym.value(p[i - 1].y)) / 2;
    EXPECT_NEAR(area, 200 * 2, 200 * 2 * 0.01);
    // A kernel the engine does not know stays a warning with its line.
    XDocument unknown(kHead + "ELEMENT: line(position(density.kernel.wiggly(x)))\n", true, true);
    auto u = test::scene(unknown, &vdp);
    ASSERT_FALSE(u.warnings.empty());
    EXPECT_NE(u.warnings[0].find("line 4"), std::string::npos) << u.warnings[0];
}

TEST(PositionScene, JitterStaysInItsBandAndDotsStack) {
    VarDataProcessor vdp;
    std::vector<std::vector<test::Cell>> rows;
    for (int i = 0; i < 60; ++i) rows.push_back({i % 2 ? "a" : "b", 5.0});
    test::fill(vdp, "g", {"c", "v"}, rows);
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
        "DATA: v=col(source(s), name(\"v\"))\n"
        "ELEMENT: point.jitter(position(c*v))\n",
        true, true);
    auto s = test::scene(doc, &vdp);
    auto pts = test::marks(s, "point");
    ASSERT_EQ(pts.size(), 60u);
    auto ticks = test::marks(s, "tick-label-1");
    ASSERT_EQ(ticks.size(), 2u);
    double band = ticks[1].x - ticks[0].x;
    std::map<std::string, std::pair<double, double>> spread;  // min and max offset
    for (auto const& p : pts) {
        double centre = p.category == "a" ? ticks[0].x : ticks[1].x;
        double off = (p.x - centre) / band;
        auto& [lo, hi] = spread.try_emplace(p.category, 1, -1).first->second;
        lo = std::min(lo, off);
        hi = std::max(hi, off);
    }
    for (auto const& [cat, range] : spread) {
        EXPECT_GE(range.first, -0.35) << cat;
        EXPECT_LE(range.second, 0.35) << cat;
        EXPECT_GT(range.second - range.first, 0.3) << cat;  // spread out, not one column
    }

    // A dot plot: a dot per case, each stack centred on the axis.
    VarDataProcessor dots;
    test::fill(dots, "g", {"x", "y"}, {{1.0, 0.0}, {1.1, 0.0}, {1.2, 0.0}, {5.0, 0.0}, {9.0, 0.0}});
    XDocument dot(kHead + "ELEMENT: point.dodge.symmetric(position(bin.dot(x, binWidth(1))))\n",
                  true, true);
    auto d = test::scene(dot, &dots);
    EXPECT_TRUE(d.warnings.empty()) << d.warnings[0];
    auto marks = test::marks(d, "point");
    ASSERT_EQ(marks.size(), 5u);
    std::vector<double> ys;
    for (auto const& m : marks) ys.push_back(m.value);
    EXPECT_EQ(ys, (std::vector<double>{-1, 0, 1, 0, 0}));
}

TEST(LinkScene, HullsAndSpanningTreesPerGroup) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "y", "g"},
               {{0.0, 0.0, "p"}, {4.0, 0.0, "p"}, {4.0, 3.0, "p"}, {0.0, 3.0, "p"}, {2.0, 1.0, "p"},
                {10.0, 10.0, "q"}, {12.0, 10.0, "q"}, {11.0, 12.0, "q"}});
    std::string head = kHead + "DATA: g=col(source(s), name(\"g\"), unit.category())\n";
    XDocument doc(head + "ELEMENT: polygon(position(link.hull(x*y)), color.interior(g))\n", true,
                  true);
    auto s = test::scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto polys = test::marks(s, "polygon");
    ASSERT_EQ(polys.size(), 2u);
    EXPECT_EQ(polys[0].points.size(), 4u);  // the inner point is left out
    EXPECT_EQ(polys[1].points.size(), 3u);

    XDocument tree(head + "ELEMENT: edge(position(link.mst(x*y)), color(g))\n", true, true);
    auto t = test::scene(tree, &vdp);
    EXPECT_EQ(test::marks(t, "edge").size(), 4u + 2u);  // n - 1 per group
}
