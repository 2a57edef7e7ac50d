#include <algorithm>
#include <cmath>
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
using test::fill;
using test::scene;
using test::texts;

std::string const kHead = "SOURCE: s=userSource(id(\"g\"))\n";


}  // namespace

TEST(ChartScene, BarsStandOnZeroWithHeightsProportionalToTheData) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "ELEMENT: interval(position(c*v))",
                  true, true);
    VarDataProcessor vdp;
    fill(vdp, "g", {"c", "v"}, {{2.0, 30.0}, {1.0, 10.0}, {3.0, 20.0}});
    auto s = scene(doc, &vdp);
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 3u);
    // Value order along the axis, whatever the row order.
    std::vector<test::Mark> byX(bars.begin(), bars.end());
    std::sort(byX.begin(), byX.end(), [](auto a, auto b) { return a.x < b.x; });
    EXPECT_EQ(byX[0].category, "1");
    EXPECT_EQ(byX[1].category, "2");
    EXPECT_EQ(byX[2].category, "3");
    double base = byX[0].y + byX[0].h;
    for (auto const& b : bars) EXPECT_NEAR(b.y + b.h, base, 1e-9);
    EXPECT_NEAR(byX[1].h / byX[0].h, 3.0, 1e-9);
    EXPECT_NEAR(byX[2].h / byX[0].h, 2.0, 1e-9);
    EXPECT_NEAR(byX[1].x - byX[0].x, byX[2].x - byX[1].x, 1e-9);
    // The zero tick sits at the bars' base.
    for (auto const& t : test::marks(s, "tick-label-2")) {
        if (t.value != 0) continue;
        EXPECT_NEAR(t.y - 11 * 0.35, base, 1e-6);
    }
    EXPECT_EQ(texts(s, "tick-label-1"), (std::vector<std::string>{"1", "2", "3"}));
}

TEST(ChartScene, TicksAreRoundForASpreadOfRanges) {
    EXPECT_EQ(hc::niceTicks(0, 1), (std::vector<double>{0, 0.2, 0.4, 0.6, 0.8, 1}));
    EXPECT_EQ(hc::niceTicks(0, 97), (std::vector<double>{0, 20, 40, 60, 80, 100}));
    auto wide = hc::niceTicks(-3, 12000);
    EXPECT_EQ(wide.front(), -2500);
    EXPECT_EQ(wide.back(), 12500);
    EXPECT_DOUBLE_EQ(wide[1] - wide[0], 2500);
    auto tiny = hc::niceTicks(1e-6, 3e-6);
    ASSERT_GE(tiny.size(), 4u);
    EXPECT_NEAR(tiny.front(), 1e-6, 1e-18);
    EXPECT_NEAR(tiny[1] - tiny[0], 5e-7, 1e-18);

    hc::NumberFormat plain;
    EXPECT_EQ(hc::formatNumber(0.4, plain, 0.2), "0.4");
    EXPECT_EQ(hc::formatNumber(12500, plain, 2500), "12,500");
    EXPECT_EQ(hc::formatNumber(-2500, plain, 2500), "-2,500");
    EXPECT_EQ(hc::formatNumber(1.5e-6, plain, 5e-7), "1.5e-6");
    hc::NumberFormat money;
    money.set = true;
    money.decimals = 2;
    money.prefix = "$";
    money.suffix = " k";
    EXPECT_EQ(hc::formatNumber(1234.5, money), "$1,234.50 k");
    EXPECT_EQ(hc::formatNumber(-std::numeric_limits<double>::max(), money), "");
}

TEST(ChartScene, CategoryOrderFollowsTheScaleAndRelabelsNameTheValues) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "SCALE: cat(dim(1), sort.values(\"3\", \"1\"))\n"
                      "ELEMENT: interval(position(c*v))",
                  true, true);
    ChartString one, clerical, three, manager, name;
    one.assignUTF8("1");
    clerical.assignUTF8("Clerical");
    three.assignUTF8("3");
    manager.assignUTF8("Manager");
    name.assignUTF8("c");
    XVariable x = doc.getGraph()->getVariable(name, 0);
    x.addRelabel(one.xc_str(), clerical.xc_str());
    x.addRelabel(three.xc_str(), manager.xc_str());
    VarDataProcessor vdp;
    fill(vdp, "g", {"c", "v"}, {{1.0, 1.0}, {2.0, 2.0}, {3.0, 3.0}});
    auto s = scene(doc, &vdp);
    EXPECT_EQ(texts(s, "tick-label-1"), (std::vector<std::string>{"Manager", "Clerical", "2"}));
    // Text categories sort as text; notIn leaves values out.
    XDocument doc2(kHead +
                       "DATA: c=col(source(s), name(\"c\"), notIn(\"b\"))\n"
                       "DATA: v=col(source(s), name(\"v\"))\n"
                       "ELEMENT: point(position(c*v))",
                   true, true);
    VarDataProcessor vdp2;
    fill(vdp2, "g", {"c", "v"}, {{"c", 1.0}, {"a", 2.0}, {"b", 3.0}});
    EXPECT_EQ(texts(scene(doc2, &vdp2), "tick-label-1"), (std::vector<std::string>{"a", "c"}));
}

TEST(ChartScene, StackedAndDodgedBarsWithTheirLegend) {
    std::string vars = kHead +
                       "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                       "DATA: g=col(source(s), name(\"grp\"), unit.category())\n"
                       "DATA: v=col(source(s), name(\"v\"))\n"
                       "GUIDE: legend(aesthetic(aesthetic.color.interior), label(\"Group\"))\n";
    VarDataProcessor vdp;
    fill(vdp, "g", {"c", "grp", "v"},
         {{"x", "A", 10.0}, {"x", "B", 30.0}, {"y", "A", 20.0}, {"y", "B", 20.0}});
    XDocument stacked(vars + "ELEMENT: interval.stack(position(c*v), color.interior(g))", true,
                      true);
    auto s = scene(stacked, &vdp);
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 4u);
    auto find = [&](std::string const& c, std::string const& g) {
        for (auto const& b : bars)
            if (b.category == c && b.group == g)
                return b;
        return bars[0];
    };
    // B sits on A: same x and width, touching, heights in the data's ratio.
    EXPECT_DOUBLE_EQ(find("x", "A").x, find("x", "B").x);
    EXPECT_NEAR(find("x", "B").y + find("x", "B").h, find("x", "A").y, 1e-9);
    EXPECT_NEAR(find("x", "B").h / find("x", "A").h, 3.0, 1e-9);
    EXPECT_NEAR(find("y", "A").y, find("x", "A").y - find("x", "A").h, 1e-9);
    EXPECT_EQ(texts(s, "legend-title"), (std::vector<std::string>{"Group"}));
    EXPECT_EQ(texts(s, "legend-label"), (std::vector<std::string>{"A", "B"}));
    EXPECT_NE(find("x", "A").fill.hex(), find("x", "B").fill.hex());
    // The top of the axis covers the tallest stack (40).
    double top = 0;
    for (auto const& t : test::marks(s, "tick-label-2")) top = std::max(top, t.value);
    EXPECT_GE(top, 40);

    XDocument dodged(vars + "ELEMENT: interval.dodge(position(c*v), color.interior(g))", true,
                     true);
    auto d = scene(dodged, &vdp);
    auto dbars = test::marks(d, "bar");
    ASSERT_EQ(dbars.size(), 4u);
    test::Mark const *xa = nullptr, *xb = nullptr;
    for (auto const& b : dbars) {
        if (b.category == "x" && b.group == "A")
            xa = &b;
        if (b.category == "x" && b.group == "B")
            xb = &b;
    }
    ASSERT_TRUE(xa && xb);
    EXPECT_NEAR(xa->x + xa->w, xb->x, 1e-9);          // side by side
    EXPECT_NEAR(xa->y + xa->h, xb->y + xb->h, 1e-9);  // same base
    EXPECT_NEAR(xb->h / xa->h, 3.0, 1e-9);
}

TEST(ChartScene, TransposeTurnsCategoriesToTheVerticalAxis) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "COORD: rect(dim(1,2), transpose())\n"
                      "GUIDE: axis(dim(1), label(\"Kind\"))\n"
                      "ELEMENT: interval(position(c*v))",
                  true, true);
    VarDataProcessor vdp;
    fill(vdp, "g", {"c", "v"}, {{"a", 5.0}, {"b", 10.0}});
    auto s = scene(doc, &vdp);
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 2u);
    EXPECT_DOUBLE_EQ(bars[0].x, bars[1].x);  // bars grow from the same left edge
    EXPECT_NEAR(std::max(bars[0].w, bars[1].w) / std::min(bars[0].w, bars[1].w), 2, 1e-9);
    auto cats = test::marks(s, "tick-label-1");
    ASSERT_EQ(cats.size(), 2u);
    EXPECT_DOUBLE_EQ(cats[0].x, cats[1].x);  // stacked vertically, beside the axis
    EXPECT_NE(cats[0].y, cats[1].y);
    auto title = test::marks(s, "axis-title-1");
    ASSERT_EQ(title.size(), 1u);
    EXPECT_EQ(title[0].angle, -90);
}

TEST(ChartScene, ClustersGroupMembersAndPanelsSplitTheThirdFactor) {
    std::string vars = kHead +
                       "DATA: t=col(source(s), name(\"t\"), unit.category())\n"
                       "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                       "DATA: v=col(source(s), name(\"v\"))\n";
    VarDataProcessor vdp;
    fill(vdp, "g", {"t", "c", "v"},
         {{"a", "p", 1.0}, {"b", "p", 2.0}, {"a", "q", 3.0}, {"b", "q", 4.0}});
    XDocument clustered(vars +
                            "COORD: rect(dim(1,2), cluster(3,0))\n"
                            "ELEMENT: interval(position(t*v*c), color.interior(t))",
                        true, true);
    auto s = scene(clustered, &vdp);
    EXPECT_EQ(texts(s, "tick-label-1"), (std::vector<std::string>{"p", "q"}));
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 4u);
    std::vector<double> xs;
    for (auto const& b : bars) xs.push_back(b.x);
    std::sort(xs.begin(), xs.end());
    // Members of one cluster sit closer together than the clusters do.
    EXPECT_LT(xs[1] - xs[0], xs[2] - xs[1]);

    XDocument panels(vars + "ELEMENT: interval(position(t*v*c))", true, true);
    auto p = scene(panels, &vdp);
    EXPECT_EQ(texts(p, "panel-label"), (std::vector<std::string>{"p", "q"}));
    EXPECT_EQ(test::marks(p, "bar").size(), 4u);
    EXPECT_EQ(texts(p, "tick-label-1").size(), 4u);  // each panel has its own axis
    EXPECT_EQ(test::marks(p, "inner-frame").size(), 2u);
}

TEST(ChartScene, SummariesMissingValuesAndProblemsAreReported) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "ELEMENT: interval(position(summary.mean(c*v)))\n"
                      "ELEMENT: line(position(c*v))\n"
                      "ELEMENT: polygon(position(density.kernel.parzen(v)))",
                  true, true);
    VarDataProcessor vdp;
    double sysmis = -std::numeric_limits<double>::max();
    fill(vdp, "g", {"c", "v"}, {{"a", 2.0}, {"a", 4.0}, {"b", 10.0}, {"b", sysmis}, {"c", 1.0}});
    auto s = scene(doc, &vdp);
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 3u);
    for (auto const& b : bars) {
        double expected = b.category == "a" ? 3 : b.category == "b" ? 10 : 1;
        EXPECT_DOUBLE_EQ(b.value, expected) << b.category;
    }
    // The missing value is not drawn; the line has all the others, the one after the gap as a
    // dot of its own.
    std::size_t linePoints = 0;
    for (auto const& l : test::marks(s, "line"))
        linePoints += l.kind == hc::MarkKind::Circle ? 1 : l.points.size();
    EXPECT_EQ(linePoints, 4u);
    ASSERT_FALSE(s.warnings.empty());
    EXPECT_NE(s.warnings[0].find("'density.kernel.parzen' is not supported yet"), std::string::npos)
        << s.warnings[0];

    XDocument lacking(kHead +
                          "DATA: v=col(source(s), name(\"nothere\"))\n"
                          "ELEMENT: point(position(v*v))",
                      true, true);
    auto w = scene(lacking, &vdp);
    ASSERT_FALSE(w.warnings.empty());
    EXPECT_NE(w.warnings[0].find("no column 'nothere'"), std::string::npos) << w.warnings[0];
}

TEST(ChartScene, TicksShowTheDecimalsOfTheirStep) {
    XDocument doc(kHead +
                      "DATA: x=col(source(s), name(\"x\"))\n"
                      "DATA: y=col(source(s), name(\"y\"))\n"
                      "ELEMENT: point(position(x*y))",
                  true, true);
    // The variables print with three decimals (F8.3), as an inferred column of such data does.
    XGraph& graph = *doc.getGraph();
    graph.getVariable(XUtility::ChartStringFromLocalCodePage("y"), 0).setFormatWord((5u << 16) | (8u << 8) | 3u);
    graph.getVariable(XUtility::ChartStringFromLocalCodePage("x"), 0).setFormatWord((5u << 16) | (8u << 8) | 3u);
    VarDataProcessor vdp;
    fill(vdp, "g", {"x", "y"}, {{0.125, 0.0}, {0.75, 100.0}, {0.5, 50.5}});
    hc::Scene s = scene(doc, &vdp);
    for (auto const& label : texts(s, "tick-label-2"))
        EXPECT_EQ(label.find('.'), std::string::npos) << label;
    // A step of 0.1 or 0.2 keeps one decimal, not three.
    for (auto const& label : texts(s, "tick-label-1")) {
        auto dot = label.find('.');
        EXPECT_TRUE(dot == std::string::npos || label.size() - dot - 1 <= 2) << label;
    }
}

TEST(ChartScene, TicksBetweenWholeNumbersAreNotRoundedAway) {
    XDocument doc(kHead +
                      "DATA: x=col(source(s), name(\"x\"))\n"
                      "DATA: y=col(source(s), name(\"y\"))\n"
                      "ELEMENT: point(position(x*y))",
                  true, true);
    // Whole numbers (F8.0) whose round step is 2.5.
    doc.getGraph()->getVariable(XUtility::ChartStringFromLocalCodePage("x"), 0).setFormatWord((5u << 16) | (8u << 8));
    VarDataProcessor vdp;
    fill(vdp, "g", {"x", "y"}, {{8.0, 1.0}, {21.0, 2.0}, {14.0, 3.0}});
    hc::Scene s = scene(doc, &vdp);
    std::vector<std::string> labels = texts(s, "tick-label-1");
    for (std::size_t i = 1; i < labels.size(); ++i) EXPECT_NE(labels[i], labels[i - 1]);
    for (auto const& t : test::marks(s, "tick-label-1"))
        EXPECT_NEAR(std::stod(t.text), t.value, 1e-9) << t.text;
}
