// Mirrored and same-ratio coordinates, difference areas, a smoother over a summary, continuous
// aesthetics with their legends, wrapped panels and time axes, as they reach the scene.
#include <algorithm>
#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "host/dictionary/date_values.h"
#include "support/scene_rows.h"

namespace {

std::string const kHead = "SOURCE: s=userSource(id(\"g\"))\n";
std::string const kXY = kHead +
                        "DATA: x=col(source(s), name(\"x\"))\n"
                        "DATA: y=col(source(s), name(\"y\"))\n";

host::chart::Scene sceneOf(std::string const& gpl, std::vector<std::string> const& cols,
                           std::vector<std::vector<test::Cell>> const& rows) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", cols, rows);
    XDocument doc(gpl, true, true);
    auto s = test::scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    return s;
}

}  // namespace

TEST(CoordinatesScene, MirrorSetsTwoPanelsBackToBack) {
    auto s = sceneOf(
        kHead +
            "DATA: age=col(source(s), name(\"age\"), unit.category())\n"
            "DATA: n=col(source(s), name(\"n\"))\n"
            "DATA: sex=col(source(s), name(\"sex\"), unit.category())\n"
            "COORD: transpose(mirror(rect(dim(1,2))))\n"
            "ELEMENT: interval(position(age*n*sex))",
        {"age", "n", "sex"},
        {{"0-19", 10.0, "f"}, {"20-39", 20.0, "f"}, {"0-19", 15.0, "m"}, {"20-39", 5.0, "m"}});
    // The first panel's bars stand on its right edge and grow to the left, the second's on
    // its left edge and grow to the right, in proportion on both.
    std::map<double, test::Mark> bar;
    for (auto const& b : test::marks(s, "bar")) bar[b.value] = b;
    ASSERT_EQ(bar.size(), 4u);
    EXPECT_NEAR(bar[10].x + bar[10].w, bar[20].x + bar[20].w, 1e-9);
    EXPECT_NEAR(bar[20].w / bar[10].w, 2, 1e-9);
    EXPECT_NEAR(bar[15].x, bar[5].x, 1e-9);
    EXPECT_NEAR(bar[15].w / bar[5].w, 3, 1e-9);
    EXPECT_LT(bar[20].x + bar[20].w, bar[5].x);
    // The value axis under the first panel reads from right to left.
    auto ticks = test::marks(s, "tick-label-2");
    std::vector<test::Mark> left;
    for (auto const& t : ticks)
        if (t.x <= bar[10].x + bar[10].w)
            left.push_back(t);
    ASSERT_GE(left.size(), 2u);
    std::sort(left.begin(), left.end(), [](auto const& a, auto const& b) { return a.x < b.x; });
    EXPECT_GT(left.front().value, left.back().value);
}

TEST(CoordinatesScene, SameRatioMakesAUnitAsLongBothWays) {
    auto s = sceneOf(kXY + "COORD: rect(dim(1,2), sameRatio())\nELEMENT: point(position(x*y))",
                     {"x", "y"}, {{0.0, 0.0}, {10.0, 2.0}, {5.0, 1.0}});
    auto xm = test::axisMap(s, 1, false), ym = test::axisMap(s, 2, true);
    EXPECT_NEAR(ym.perUnit(), xm.perUnit(), 1e-6);
    for (auto const& pt : test::marks(s, "point"))
        EXPECT_NEAR(ym.value(pt.y), xm.value(pt.x) / 5, 1e-6);
}

TEST(ElementsScene, DifferenceAreaTakesTheColourOfTheSeriesAbove) {
    auto s = sceneOf(kHead +
                         "DATA: x=col(source(s), name(\"x\"))\n"
                         "DATA: a=col(source(s), name(\"a\"))\n"
                         "DATA: b=col(source(s), name(\"b\"))\n"
                         "ELEMENT: area.difference(position(x*(a+b)))",
                     {"x", "a", "b"}, {{0.0, 1.0, 3.0}, {2.0, 3.0, 1.0}, {4.0, 4.0, 2.0}});
    auto areas = test::marks(s, "area");
    ASSERT_EQ(areas.size(), 2u);
    auto xm = test::axisMap(s, 1, false), ym = test::axisMap(s, 2, true);
    // b is above until they cross at x = 1, where both are 2; a is above after.
    EXPECT_NE(areas[0].group.find("b"), std::string::npos) << areas[0].group;
    EXPECT_NE(areas[1].group.find("a"), std::string::npos) << areas[1].group;
    EXPECT_NE(areas[0].fill.hex(), areas[1].fill.hex());
    for (auto const& p : areas[0].points) EXPECT_LE(xm.value(p.x), 1 + 1e-9);
    bool crossing = false;
    for (auto const& p : areas[1].points) {
        EXPECT_GE(xm.value(p.x), 1 - 1e-9);
        crossing |= std::fabs(xm.value(p.x) - 1) < 1e-9 && std::fabs(ym.value(p.y) - 2) < 1e-9;
    }
    EXPECT_TRUE(crossing);
}

TEST(StatisticsScene, ASmootherOverASummary) {
    // Means at 1, 2, 3 are 2, 4, 7: the line through them is 2.5 x - 2/3 (through the cases
    // it would be 2.5 x - 0.8).
    auto s = sceneOf(kXY + "ELEMENT: line(position(smooth.linear(summary.mean(x*y))))", {"x", "y"},
                     {{1.0, 2.0}, {2.0, 4.0}, {2.0, 4.0}, {2.0, 4.0}, {3.0, 7.0}});
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 1u);
    ASSERT_EQ(lines[0].points.size(), 2u);
    auto ym = test::axisMap(s, 2, true);
    EXPECT_NEAR(ym.value(lines[0].points[0].y), 2.5 - 2.0 / 3, 1e-9);
    EXPECT_NEAR(ym.value(lines[0].points[1].y), 7.5 - 2.0 / 3, 1e-9);
}

TEST(AestheticsScene, ContinuousColourHasAColourBar) {
    auto s = sceneOf(kXY +
                         "SCALE: linear(aesthetic(aesthetic.color.interior), "
                         "aestheticMinimum(color.white), aestheticMaximum(color.\"0000FF\"))\n"
                         "ELEMENT: point(position(x*y), color.interior(y))",
                     {"x", "y"}, {{1.0, 0.0}, {2.0, 50.0}, {3.0, 100.0}});
    // Highest value on top in the top colour, lowest at the bottom.
    auto slices = test::marks(s, "legend-gradient");
    ASSERT_GE(slices.size(), 32u);
    EXPECT_LT(slices.front().y, slices.back().y);
    EXPECT_GT(slices.front().fill.b, 0.95);
    EXPECT_LT(slices.front().fill.r, 0.1);
    EXPECT_GT(slices.back().fill.r, 0.95);
    EXPECT_TRUE(test::marks(s, "legend-swatch").empty());
    // Round values beside it, each level with its place on the bar.
    auto labels = test::marks(s, "legend-label");
    ASSERT_GE(labels.size(), 3u);
    EXPECT_EQ(labels.back().text, "100");
    double top = slices.front().y, height = slices.back().y + slices.back().h - top;
    for (auto const& l : labels)
        EXPECT_NEAR(l.y - 11 * 0.35, top + height * (1 - l.value / 100), 1e-6) << l.text;
}

TEST(AestheticsScene, TransparencyAndSizeOfAVariable) {
    auto s = sceneOf(kXY +
                         "DATA: t=col(source(s), name(\"t\"))\n"
                         "SCALE: linear(aesthetic(aesthetic.size), aestheticMinimum(size.\"4px\"), "
                         "aestheticMaximum(size.\"16px\"))\n"
                         "ELEMENT: point(position(x*y), transparency(t), size(x))",
                     {"x", "y", "t"}, {{1.0, 1.0, 0.0}, {2.0, 2.0, 5.0}, {3.0, 3.0, 10.0}});
    std::map<double, test::Mark> at;
    for (auto const& pt : test::marks(s, "point")) at[pt.value] = pt;
    ASSERT_EQ(at.size(), 3u);
    EXPECT_NEAR(at[1].fill.a, 1, 1e-9);  // the higher the value, the more transparent
    EXPECT_NEAR(at[2].fill.a, 0.6, 1e-9);
    EXPECT_NEAR(at[3].fill.a, 0.2, 1e-9);
    // Diameters 4 and 16 at the ends; halfway, half the area between.
    EXPECT_NEAR(at[1].w, 2, 1e-9);
    EXPECT_NEAR(at[3].w, 8, 1e-9);
    EXPECT_NEAR(at[2].w * at[2].w, (4 + 64) / 2.0, 1e-6);
    auto titles = test::texts(s, "legend-title");
    EXPECT_NE(std::find(titles.begin(), titles.end(), "t"), titles.end());
}

TEST(PanelsScene, WrappedPanelsFillRowsAndKeepTheirAxes) {
    std::vector<std::vector<test::Cell>> rows;
    for (char const* p : {"a", "b", "c", "d", "e"}) rows.push_back({p, 1.0, 2.0});
    auto s = sceneOf(kXY +
                         "DATA: p=col(source(s), name(\"p\"), unit.category())\n"
                         "COORD: rect(dim(1,2), wrap())\n"
                         "ELEMENT: point(position(x*y*p))",
                     {"p", "x", "y"}, rows);
    // Three across, then two below.
    auto heads = test::marks(s, "panel-label");
    ASSERT_EQ(heads.size(), 5u);
    EXPECT_NEAR(heads[0].y, heads[2].y, 1e-9);
    EXPECT_GT(heads[3].y, heads[0].y);
    EXPECT_NEAR(heads[3].x, heads[0].x, 1e-9);
    // A horizontal axis under d, e, and c with none below it; a vertical one on each row.
    EXPECT_EQ(test::marks(s, "axis-1").size(), 3u);
    EXPECT_EQ(test::marks(s, "axis-2").size(), 2u);
}

TEST(TimeScene, DailyDataGetMonthTicksWhereTheDatesFall) {
    namespace hd = host::dictionary;
    double const start = hd::valueFromCivil(2024, 1, 15), march = hd::valueFromCivil(2024, 3, 1);
    std::vector<std::vector<test::Cell>> rows;
    for (int d = 0; d < 90; ++d) rows.push_back({start + d * 86400.0, double(d % 7)});
    auto s = sceneOf(kHead +
                         "DATA: day=col(source(s), name(\"day\"), unit.time())\n"
                         "DATA: v=col(source(s), name(\"v\"))\n"
                         "ELEMENT: point(position(day*v))",
                     {"day", "v"}, rows);
    auto ticks = test::marks(s, "tick-label-1");
    ASSERT_EQ(ticks.size(), 3u);
    EXPECT_EQ(ticks[0].text, "Feb 2024");
    EXPECT_EQ(ticks[1].value, march);
    // The March tick stands where the point of March 1 is.
    auto points = test::marks(s, "point");
    ASSERT_EQ(points.size(), 90u);
    EXPECT_NEAR(points[std::size_t((march - start) / 86400)].x, ticks[1].x, 1e-6);
}

TEST(AestheticsScene, TexturesHatchBarsAndTheirSwatches) {
    auto s = sceneOf(kHead +
                         "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                         "DATA: v=col(source(s), name(\"v\"))\n"
                         "ELEMENT: interval(position(c*v), texture.pattern.interior(c), "
                         "color.interior(c))",
                     {"c", "v"}, {{"a", 10.0}, {"b", 20.0}, {"c", 30.0}});
    // The first category is solid; the others hatched inside their bars, each differently.
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 3u);
    std::map<std::string, std::vector<test::Mark>> hatching;
    for (auto const& h : test::marks(s, "texture"))
        for (auto const& b : bars)
            if (h.points[0].x >= b.x - 1e-9 && h.points[0].x <= b.x + b.w + 1e-9 &&
                h.points[0].y >= b.y - 1e-9 && h.points[0].y <= b.y + b.h + 1e-9)
                hatching[b.category].push_back(h);
    EXPECT_TRUE(hatching["a"].empty());
    ASSERT_FALSE(hatching["b"].empty());
    ASSERT_FALSE(hatching["c"].empty());
    auto slope = [](test::Mark const& m) {
        return std::atan2(m.points[1].y - m.points[0].y, m.points[1].x - m.points[0].x);
    };
    EXPECT_NE(slope(hatching["b"][0]), slope(hatching["c"][0]));
    // The hatching stops short of each bar's edges, which stay clean.
    for (auto const& b : bars)
        for (auto const& h : hatching[b.category])
            for (auto const& p : h.points) {
                EXPECT_GE(std::min(p.x - b.x, b.x + b.w - p.x), 0.5) << b.category;
                EXPECT_GE(std::min(p.y - b.y, b.y + b.h - p.y), 0.5) << b.category;
            }
    // An area's hatching is cut to its outline (b's is a triangle under y = x).
    auto area = sceneOf(kXY + "ELEMENT: area(position(x*y), texture.pattern.interior(c))\n" +
                            "DATA: c=col(source(s), name(\"c\"), unit.category())",
                        {"x", "y", "c"},
                        {{0.0, 0.0, "a"}, {1.0, 0.0, "a"}, {0.0, 0.0, "b"}, {1.0, 1.0, "b"}});
    auto xm = test::axisMap(area, 1, false), ym = test::axisMap(area, 2, true);
    auto lines = test::marks(area, "texture");
    ASSERT_FALSE(lines.empty());
    for (auto const& h : lines)
        for (auto const& p : h.points) EXPECT_LE(ym.value(p.y), xm.value(p.x) + 1e-6);
    // The colour legend's swatches carry the same hatching.
    auto swatch = test::marks(s, "legend-swatch")[0];
    auto all = test::marks(s, "texture");
    EXPECT_TRUE(std::any_of(all.begin(), all.end(),
                            [&](auto const& h) { return h.points[0].x >= swatch.x; }));
}

TEST(PanelsScene, SeveralGraphsShareThePage) {
    auto s = sceneOf(kHead +
                         "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                         "DATA: v=col(source(s), name(\"v\"))\n"
                         "GRAPH: begin(origin(0%, 0%), scale(100%, 50%))\n"
                         "ELEMENT: interval(position(c*v))\n"
                         "GRAPH: end()\n"
                         "GRAPH: begin(origin(0%, 50%), scale(100%, 50%))\n"
                         "GUIDE: text.title(label(\"Below\"))\n"
                         "SCALE: linear(dim(2), min(0), max(10))\n"
                         "ELEMENT: point(position(c*v))\n"
                         "GRAPH: end()",
                     {"c", "v"}, {{"a", 1.0}, {"b", 2.0}});
    // Each graph in its half, with its own statements: the title and the scale of the second
    // are not the first's.
    auto bars = test::marks(s, "bar"), points = test::marks(s, "point");
    ASSERT_EQ(bars.size(), 2u);
    ASSERT_EQ(points.size(), 2u);
    for (auto const& b : bars) EXPECT_LE(b.y + b.h, s.height / 2);
    for (auto const& p : points) EXPECT_GE(p.y, s.height / 2);
    auto title = test::marks(s, "title");
    ASSERT_EQ(title.size(), 1u);
    EXPECT_GT(title[0].y, s.height / 2);
    auto ticks = test::marks(s, "tick-label-2");
    EXPECT_EQ(
        std::count_if(ticks.begin(), ticks.end(), [](auto const& t) { return t.value == 10; }), 1);
    EXPECT_EQ(test::marks(s, "axis-1").size(), 2u);
}
