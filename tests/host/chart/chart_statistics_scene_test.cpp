// The engine's statistics as they reach the scene: what is drawn, where, and with which values.
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/chart/chart_render.h"
#include "support/scene_rows.h"
#include "platform/chart.h"
#include "platform/var_data_processor.h"

namespace hc = host::chart;

namespace {

using test::Cell;
using test::scene;

void fill(VarDataProcessor& vdp, std::vector<std::string> const& cols,
          std::vector<std::vector<Cell>> const& rows) {
    test::fill(vdp, "g", cols, rows);
}

std::string const kHead = "SOURCE: s=userSource(id(\"g\"))\n";

// Page pixels back to data values along an axis, from two of its tick labels.
struct AxisMap {
    double p0 = 0, v0 = 0, p1 = 1, v1 = 1;
    double value(double pixel) const { return v0 + (pixel - p0) * (v1 - v0) / (p1 - p0); }
};
AxisMap axisMap(hc::Scene const& s, int dim, bool vertical) {
    auto ticks = test::marks(s, "tick-label-" + std::to_string(dim));
    EXPECT_GE(ticks.size(), 2u);
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

std::vector<test::Mark> byX(std::vector<test::Mark> v) {
    std::sort(v.begin(), v.end(), [](auto a, auto b) { return a.x < b.x; });
    return v;
}

std::vector<double> const kValues{1.2, 2.5, 2.9, 3.1, 3.3, 4.0, 4.4, 4.8,
                                  5.1, 5.5, 6.0, 6.2, 7.7, 8.9, 9.4};

}  // namespace

// Histogram counts per bin (values on inner edges go up a bin), bins that touch, and a normal
// curve whose peak is the cases times the bin width times the density at the mean. Reference
// values from numpy.histogram and scipy.stats.norm (SciPy 1.10).
TEST(ChartStatisticsScene, HistogramWithNormalCurveAndWeights) {
    std::string gpl = kHead +
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "ELEMENT: interval(position(summary.count(bin.rect(v, binWidth(2)))))\n"
                      "ELEMENT: line(position(density.normal(v)))";
    VarDataProcessor vdp;
    std::vector<std::vector<Cell>> rows;
    for (double v : kValues) rows.push_back({v, 1.0});
    rows[0][1] = 3.0;  // the weight of the first case
    fill(vdp, {"v", "$WEIGHT"}, rows);

    XDocument plain(gpl, true, true);
    auto s = scene(plain, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto bars = byX(test::marks(s, "bar"));
    ASSERT_EQ(bars.size(), 5u);
    std::vector<double> counts, lefts{0, 2, 4, 6, 8};
    for (auto const& b : bars) counts.push_back(b.value);
    EXPECT_EQ(counts, (std::vector<double>{1, 4, 5, 3, 2}));
    AxisMap x = axisMap(s, 1, false), y = axisMap(s, 2, true);
    for (std::size_t i = 0; i < bars.size(); ++i) {
        EXPECT_NEAR(x.value(bars[i].x), lefts[i], 1e-9);
        EXPECT_NEAR(x.value(bars[i].x + bars[i].w), lefts[i] + 2, 1e-9);
    }
    auto curve = test::marks(s, "line");
    ASSERT_EQ(curve.size(), 1u);
    double top = 1e9;
    for (auto const& p : curve[0].points) top = std::min(top, p.y);
    EXPECT_NEAR(y.value(top), 5.08483000405751, 1e-3);
    EXPECT_NEAR(x.value(curve[0].points.front().x), 0, 1e-9);  // over the histogram's range
    EXPECT_NEAR(x.value(curve[0].points.back().x), 10, 1e-9);
    EXPECT_EQ(test::marks(s, "axis-title-2")[0].text, "Count");

    // The same chart with the weight variable: the first case counts three times.
    XDocument weighted(gpl, true, true);
    weighted.getGraph()->addWeightVariable("g");
    auto w = scene(weighted, &vdp);
    auto wbars = byX(test::marks(w, "bar"));
    ASSERT_EQ(wbars.size(), 5u);
    EXPECT_EQ(wbars[0].value, 3);
    AxisMap wy = axisMap(w, 2, true);
    top = 1e9;
    auto wcurve = test::marks(w, "line");
    ASSERT_EQ(wcurve.size(), 1u);
    for (auto const& p : wcurve[0].points) top = std::min(top, p.y);
    EXPECT_NEAR(wy.value(top), 5.34491853959337, 1e-3);  // mean 4.5529, sd 2.5377 over 17 cases
}

// Letter values by hand (the same data as the statistics test): hinges 6 and 12.5, whiskers 2
// and 13, 25 an outlier labelled with its case, 100 an extreme.
TEST(ChartStatisticsScene, BoxPlotsWithLabelledOutliers) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "DATA: id=col(source(s), name(\"id\"), unit.category())\n"
                      "ELEMENT: schema(position(bin.quantile.letter(c*v)), label(id))",
                  true, true);
    VarDataProcessor vdp;
    std::vector<double> a{13, 2, 3, 100, 5, 7, 8, 9, 11, 12, 25};
    std::vector<std::vector<Cell>> rows;
    for (std::size_t i = 0; i < a.size(); ++i)
        rows.push_back({"a", a[i], ("case" + std::to_string(i + 1)).c_str()});
    for (double v = 1; v <= 8; ++v) rows.push_back({"b", v, "x"});
    fill(vdp, {"c", "v", "id"}, rows);
    auto s = scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto boxes = byX(test::marks(s, "box"));
    ASSERT_EQ(boxes.size(), 2u);
    EXPECT_EQ(boxes[0].category, "a");
    EXPECT_EQ(boxes[0].value, 12.5);
    EXPECT_EQ(boxes[0].value2, 6);
    EXPECT_EQ(boxes[1].value, 6.5);
    EXPECT_EQ(boxes[1].value2, 2.5);
    AxisMap y = axisMap(s, 2, true);
    EXPECT_NEAR(y.value(boxes[0].y), 12.5, 1e-9);  // drawn where the values say
    EXPECT_NEAR(y.value(boxes[0].y + boxes[0].h), 6, 1e-9);
    std::vector<double> medians, whiskers;
    for (auto const& m : test::marks(s, "median")) medians.push_back(m.value);
    for (auto const& w : test::marks(s, "whisker"))
        if (w.category == "a")
            whiskers.push_back(w.value);
    std::sort(medians.begin(), medians.end());
    std::sort(whiskers.begin(), whiskers.end());
    EXPECT_EQ(medians, (std::vector<double>{4.5, 9}));
    EXPECT_EQ(whiskers, (std::vector<double>{2, 13}));
    auto outliers = test::marks(s, "outlier");
    ASSERT_EQ(outliers.size(), 1u);
    EXPECT_EQ(outliers[0].value, 25);
    EXPECT_EQ(test::marks(s, "extreme").size(), 3u);  // one asterisk of three strokes
    std::vector<std::string> labels;
    for (auto const& t : test::marks(s, "outlier-label")) labels.push_back(t.text);
    EXPECT_EQ(labels, (std::vector<std::string>{"case11", "case4"}));
}

// A pie of percentages of a precomputed count: slices in category order from the start angle,
// each with its share.
TEST(ChartStatisticsScene, PieSlicesArePercentagesFromTheStartAngle) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: n=col(source(s), name(\"n\"))\n"
                      "COORD: polar.theta(startAngle(90))\n"
                      "ELEMENT: interval.stack(position(summary.percent(n*1, base.all())), "
                      "color.interior(c))",
                  true, true);
    VarDataProcessor vdp;
    fill(vdp, {"c", "n"}, {{3.0, 20.0}, {1.0, 30.0}, {2.0, 50.0}});
    auto s = scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto slices = test::marks(s, "slice");
    ASSERT_EQ(slices.size(), 3u);
    std::vector<double> shares, starts;
    for (auto const& p : slices) {
        shares.push_back(p.value);
        starts.push_back(p.value2);
    }
    EXPECT_EQ(shares, (std::vector<double>{30, 50, 20}));
    EXPECT_EQ(starts, (std::vector<double>{90, 198, 378}));
    std::vector<std::string> labels;
    for (auto const& t : test::marks(s, "slice-label")) labels.push_back(t.text);
    EXPECT_EQ(labels, (std::vector<std::string>{"30.0%", "50.0%", "20.0%"}));
    EXPECT_TRUE(test::marks(s, "axis-1").empty());
    EXPECT_EQ(test::marks(s, "legend-label").size(), 3u);

    // The short form: the precomputed count alone is summed too.
    XDocument shortForm(kHead +
                            "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                            "DATA: n=col(source(s), name(\"n\"))\n"
                            "COORD: polar.theta()\n"
                            "ELEMENT: interval.stack(position(summary.percent(n)), "
                            "color.interior(c))",
                        true, true);
    shares.clear();
    auto shortScene = scene(shortForm, &vdp);
    for (auto const& p : test::marks(shortScene, "slice")) shares.push_back(p.value);
    EXPECT_EQ(shares, (std::vector<double>{30, 50, 20}));
}

// Error bars: a t interval of the mean (SciPy's t.interval), a range of precomputed ends, and
// the binomial interval of a percentage (normal approximation, scipy.stats.norm.ppf).
TEST(ChartStatisticsScene, ErrorBarsOfMeansRangesAndPercentages) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "ELEMENT: interval(position(region.confi.mean(c*v)), "
                      "shape.interior(shape.ibeam))",
                  true, true);
    VarDataProcessor vdp;
    std::vector<std::vector<Cell>> rows;
    for (double v : {12.5, 14.1, 9.8, 11.2, 13.7, 10.4, 15.0}) rows.push_back({"a", v});
    rows.push_back({"b", 3.0});  // one case: no interval
    fill(vdp, {"c", "v"}, rows);
    auto s = scene(doc, &vdp);
    auto bars = test::marks(s, "errorbar");
    ASSERT_EQ(bars.size(), 1u);
    EXPECT_NEAR(bars[0].value, 14.21792729178304, 1e-8);
    EXPECT_NEAR(bars[0].value2, 10.553501279645536, 1e-8);
    EXPECT_EQ(test::marks(s, "errorbar-cap").size(), 2u);
    AxisMap y = axisMap(s, 2, true);
    EXPECT_NEAR(y.value(bars[0].points[0].y), 10.553501279645536, 1e-6);

    XDocument range(kHead +
                        "DATA: i=col(source(s), name(\"#INDEX\"), unit.category())\n"
                        "DATA: lo=col(source(s), name(\"#LOW\"))\n"
                        "DATA: hi=col(source(s), name(\"#HIGH\"))\n"
                        "ELEMENT: interval(position(region.spread.range(i*(lo+hi))), "
                        "shape.interior(shape.ibeam))",
                    true, true);
    VarDataProcessor vdp2;
    fill(vdp2, {"#INDEX", "#LOW", "#HIGH"}, {{1.0, 2.0, 5.0}, {2.0, 3.0, 9.0}});
    auto r = scene(range, &vdp2);
    auto rb = test::marks(r, "errorbar");
    ASSERT_EQ(rb.size(), 2u);
    EXPECT_EQ(rb[0].value2, 2);
    EXPECT_EQ(rb[0].value, 5);
    EXPECT_EQ(rb[1].value2, 3);
    EXPECT_EQ(rb[1].value, 9);
    EXPECT_TRUE(test::marks(r, "legend-label").empty());  // the two ends are one interval

    XDocument pct(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "ELEMENT: interval(position(summary.percent.count(c)))\n"
                      "ELEMENT: interval(position(region.confi.percent.count(c)), "
                      "shape.interior(shape.ibeam))",
                  true, true);
    VarDataProcessor vdp3;
    std::vector<std::vector<Cell>> cases;
    for (int k = 0; k < 120; ++k) cases.push_back({k < 30 ? "x" : "y"});
    fill(vdp3, {"c"}, cases);
    auto p = scene(pct, &vdp3);
    auto pb = byX(test::marks(p, "bar"));
    ASSERT_EQ(pb.size(), 2u);
    EXPECT_EQ(pb[0].value, 25);
    EXPECT_EQ(pb[1].value, 75);
    auto pe = byX(test::marks(p, "errorbar"));
    ASSERT_EQ(pe.size(), 2u);
    EXPECT_NEAR(pe[0].value2, 17.25256209619298, 1e-9);
    EXPECT_NEAR(pe[0].value, 32.74743790380702, 1e-9);
    EXPECT_EQ(test::marks(p, "tick-label-2")[1].text.back(), '%');
}

// Percent bases: all cases of a panel (the default), of every panel, or of each category of
// dimension 1; nesting with '/' makes the panels, which share the value scale.
TEST(ChartStatisticsScene, PercentBasesAndNestedPanels) {
    VarDataProcessor vdp;
    // Panel p: 3 a and 1 b; panel q: 1 a and 3 b... of colour g.
    fill(vdp, {"c", "p"},
         {{"a", "p"},
          {"a", "p"},
          {"a", "p"},
          {"b", "p"},
          {"a", "q"},
          {"b", "q"},
          {"b", "q"},
          {"b", "q"}});
    auto valuesOf = [&](std::string const& element) {
        XDocument doc(kHead +
                          "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                          "DATA: p=col(source(s), name(\"p\"), unit.category())\n"
                          "ELEMENT: " +
                          element,
                      true, true);
        auto s = scene(doc, &vdp);
        EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
        std::vector<double> out;
        for (auto const& b : byX(test::marks(s, "bar"))) out.push_back(b.value);
        return out;
    };
    // Bars left to right: panel p (a, b), panel q (a, b).
    EXPECT_EQ(valuesOf("interval(position(summary.percent(c/p)))"),
              (std::vector<double>{75, 25, 25, 75}));
    EXPECT_EQ(valuesOf("interval(position(summary.percent(c/p, base.all(acrossPanels()))))"),
              (std::vector<double>{37.5, 12.5, 12.5, 37.5}));
    EXPECT_EQ(valuesOf("interval.stack(position(summary.percent.count(c, "
                       "base.coordinate(dim(1)))), color.interior(p))"),
              (std::vector<double>{75, 25, 25, 75}));  // a: p then q; b: p then q

    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: p=col(source(s), name(\"p\"), unit.category())\n"
                      "ELEMENT: interval(position(summary.count(c/p)))",
                  true, true);
    auto s = scene(doc, &vdp);
    std::vector<std::string> heads;
    for (auto const& t : test::marks(s, "panel-label")) heads.push_back(t.text);
    EXPECT_EQ(heads, (std::vector<std::string>{"p", "q"}));
    auto bars = byX(test::marks(s, "bar"));
    ASSERT_EQ(bars.size(), 4u);
    // One scale for both panels: the same base, and the count of 3 three times as tall as 1.
    EXPECT_NEAR(bars[0].y + bars[0].h, bars[3].y + bars[3].h, 1e-9);
    EXPECT_NEAR(bars[3].h / bars[1].h, 3, 1e-9);
}

// A least-squares line (scipy.stats.linregress) from smooth.linear, and the document's fit
// line over the points with its R squared.
TEST(ChartStatisticsScene, RegressionLinesAndTheirRSquared) {
    std::string gpl = kHead +
                      "DATA: x=col(source(s), name(\"x\"))\n"
                      "DATA: y=col(source(s), name(\"y\"))\n"
                      "ELEMENT: point(position(x*y))\n";
    VarDataProcessor vdp;
    fill(vdp, {"x", "y"},
         {{1.0, 2.1}, {2.0, 3.9}, {3.0, 6.2}, {4.0, 7.8}, {5.0, 10.1}, {6.5, 13.4}});
    XDocument smooth(gpl + "ELEMENT: line(position(smooth.linear(x*y)))", true, true);
    auto s = scene(smooth, &vdp);
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 1u);
    AxisMap x = axisMap(s, 1, false), y = axisMap(s, 2, true);
    auto const& pts = lines[0].points;
    ASSERT_EQ(pts.size(), 2u);
    EXPECT_NEAR(x.value(pts[0].x), 1, 1e-9);
    EXPECT_NEAR(y.value(pts[0].y), -0.09546391752577144 + 2.0498969072164943 * 1, 1e-9);
    EXPECT_NEAR(y.value(pts[1].y), -0.09546391752577144 + 2.0498969072164943 * 6.5, 1e-9);

    XDocument fit(gpl, true, true);
    std::string pair = "<addFitLine rsquared=\"true\" target=\"pair\" type=\"linear\"/>";
    fit.addInlineTemplate(&pair);
    auto f = scene(fit, &vdp);
    ASSERT_EQ(test::marks(f, "line").size(), 1u);
    auto labels = test::marks(f, "fit-label");
    ASSERT_EQ(labels.size(), 1u);
    EXPECT_EQ(labels[0].text, "R² Linear = 0.998");
}

// Two-way bins coloured by their counts, with a legend of counts.
TEST(ChartStatisticsScene, HeatMapCellsCountTheirCases) {
    XDocument doc(kHead +
                      "DATA: x=col(source(s), name(\"x\"))\n"
                      "DATA: y=col(source(s), name(\"y\"))\n"
                      "ELEMENT: polygon(position(bin.rect(x*y, binWidth(1))), "
                      "color.interior(summary.count()))",
                  true, true);
    VarDataProcessor vdp;
    fill(vdp, {"x", "y"}, {{0.5, 0.5}, {0.6, 0.4}, {0.2, 0.9}, {1.5, 0.5}, {0.2, 1.7}, {0.3, 1.2}});
    auto s = scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto cells = test::marks(s, "cell");
    ASSERT_EQ(cells.size(), 3u);
    std::map<std::string, double> count;
    for (auto const& c : cells) count[c.category + "," + c.group] = c.value;
    EXPECT_EQ(count["0,0"], 3);
    EXPECT_EQ(count["1,0"], 1);
    EXPECT_EQ(count["0,1"], 2);
    for (auto const& c : cells) {
        if (c.value == 3) {
            EXPECT_EQ(c.fill.hex(), "#08519C");  // the fullest cell is the darkest
        }
    }
    EXPECT_EQ(test::marks(s, "legend-title")[0].text, "Count");
    AxisMap x = axisMap(s, 1, false);
    for (auto const& c : cells) EXPECT_NEAR(x.value(c.x + c.w) - x.value(c.x), 1, 1e-9);
}

// What the engine cannot draw yet is said, and nothing wrong is drawn in its place.
TEST(ChartStatisticsScene, UnsupportedFunctionsDrawNothingWrong) {
    VarDataProcessor vdp;
    fill(vdp, {"c", "v"}, {{"a", 1.0}, {"b", 2.0}});
    std::string data = kHead +
                       "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                       "DATA: v=col(source(s), name(\"v\"))\n";
    XDocument kernel(data + "ELEMENT: line(position(density.kernel.parzen(v)))", true, true);
    auto s = scene(kernel, &vdp);
    EXPECT_TRUE(test::marks(s, "line").empty());
    ASSERT_FALSE(s.warnings.empty());
    EXPECT_NE(s.warnings[0].find("'density.kernel.parzen' is not supported yet"),
              std::string::npos);
    bool told = false;
    for (auto const& d : kernel.model().program.diagnostics)
        told |= d.text.find("density.kernel.parzen") != std::string::npos && d.line == 4;
    EXPECT_TRUE(told);
}

// The other elements: edges join a series' points in data order, a polygon closes them, a
// transposed box plot lies along the horizontal axis, and a subgroup fit has a line per colour.
TEST(ChartStatisticsScene, EdgesPolygonsLyingBoxesAndSubgroupFits) {
    VarDataProcessor vdp;
    fill(vdp, {"x", "y", "g"},
         {{1.0, 1.0, "a"},
          {2.0, 3.0, "a"},
          {3.0, 2.0, "a"},
          {1.0, 5.0, "b"},
          {2.0, 6.0, "b"},
          {3.0, 8.0, "b"}});
    std::string data = kHead +
                       "DATA: x=col(source(s), name(\"x\"))\n"
                       "DATA: y=col(source(s), name(\"y\"))\n"
                       "DATA: g=col(source(s), name(\"g\"), unit.category())\n";
    XDocument shapes(data +
                         "ELEMENT: edge(position(x*y), color(g))\n"
                         "ELEMENT: polygon(position(x*y), split(g))",
                     true, true);
    auto s = scene(shapes, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    EXPECT_EQ(test::marks(s, "edge").size(), 4u);  // two segments per group
    auto polygons = test::marks(s, "polygon");
    ASSERT_EQ(polygons.size(), 2u);
    EXPECT_EQ(polygons[0].kind, hc::MarkKind::Polygon);
    EXPECT_EQ(polygons[0].points.size(), 3u);

    XDocument lying(data +
                        "COORD: rect(dim(1,2), transpose())\n"
                        "ELEMENT: schema(position(bin.quantile.letter(g*y)))",
                    true, true);
    auto l = scene(lying, &vdp);
    auto boxes = test::marks(l, "box");
    ASSERT_EQ(boxes.size(), 2u);
    for (auto const& b : boxes) EXPECT_GT(b.w, b.h * 0.2);  // spans values across the page
    AxisMap x = axisMap(l, 2, false);
    for (auto const& b : boxes)
        if (b.category == "b") {
            EXPECT_NEAR(x.value(b.x), 5.5, 1e-9);  // fourths of 5 6 8 at depth 1.5
            EXPECT_NEAR(x.value(b.x + b.w), 7, 1e-9);
        }

    XDocument fits(data + "ELEMENT: point(position(x*y), color(g))", true, true);
    std::string subgroup = "<addFitLine rsquared=\"true\" target=\"subgroup\" type=\"linear\"/>";
    fits.addInlineTemplate(&subgroup);
    auto f = scene(fits, &vdp);
    EXPECT_EQ(test::marks(f, "line").size(), 2u);
    std::vector<std::string> labels;
    for (auto const& t : test::marks(f, "fit-label")) labels.push_back(t.group + " " + t.text);
    std::sort(labels.begin(), labels.end());
    // a: slope 0.5, R² 0.25; b: slope 1.5, R² 27/28 (by hand).
    EXPECT_EQ(labels, (std::vector<std::string>{"a R² Linear = 0.250", "b R² Linear = 0.964"}));
}
