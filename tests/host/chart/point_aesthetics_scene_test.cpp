// Sizes and outline colours of a variable, read back from the scene: the marks and their keys
// in the legend.
#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

namespace hc = host::chart;

std::string const kHead =
    "SOURCE: s=userSource(id(\"g\"))\n"
    "DATA: x=col(source(s), name(\"x\"))\n"
    "DATA: y=col(source(s), name(\"y\"))\n"
    "DATA: pop=col(source(s), name(\"pop\"))\n"
    "DATA: g=col(source(s), name(\"g\"), unit.category())\n"
    "DATA: kind=col(source(s), name(\"kind\"), unit.category())\n";

hc::Scene sceneOf(std::string const& gpl) {
    XDocument doc(kHead + gpl, true, true);
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "y", "pop", "g", "kind"},
               {{1.0, 10.0, 5.0, "small", "A"},
                {2.0, 20.0, 50.0, "large", "B"},
                {3.0, 30.0, 20.0, "medium", "A"},
                {4.0, 40.0, 5.0, "small", "B"},
                {5.0, 50.0, 100.0, "large", "A"}});
    return test::scene(doc, &vdp);
}

// A property of each point by its value on dimension 2.
template <typename Get>
auto byValue(hc::Scene const& s, Get get) {
    std::map<double, decltype(get(test::Mark{}))> out;
    for (auto const& p : test::marks(s, "point")) out[p.value] = get(p);
    return out;
}

}  // namespace

TEST(PointAesthetics, SizesOfAVariableWithTheirKey) {
    // Categories in the scale's order, each a size step up; a circle per category in the key.
    auto s = sceneOf(
        "SCALE: cat(aesthetic(aesthetic.size), sort.values(\"small\", \"medium\", \"large\"))\n"
        "ELEMENT: point(position(x*y), size(g))");
    EXPECT_TRUE(s.warnings.empty()) << s.warnings.front();
    auto r = byValue(s, [](test::Mark const& m) { return m.w; });
    EXPECT_EQ(r[10], r[40]);  // both small
    EXPECT_LT(r[10], r[30]);
    EXPECT_LT(r[30], r[20]);
    EXPECT_EQ(test::texts(s, "legend-label"),
              (std::vector<std::string>{"small", "medium", "large"}));
    auto keys = test::marks(s, "legend-swatch");
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[2].w, r[20]);
    EXPECT_EQ(test::texts(s, "legend-title"), std::vector<std::string>{"g"});
    // A continuous size under a colour legend: its own heading, circles that grow.
    auto c = sceneOf("ELEMENT: point(position(x*y), color.interior(kind), size(pop))");
    auto cr = byValue(c, [](test::Mark const& m) { return m.w; });
    EXPECT_LT(cr[10], cr[30]);  // pop 5 < 20 < 100
    EXPECT_LT(cr[30], cr[50]);
    EXPECT_EQ(test::texts(c, "legend-title"), (std::vector<std::string>{"kind", "pop"}));
}

TEST(PointAesthetics, SizesThatCannotBeDrawnAreNamedAndCategoriesSplitStatistics) {
    for (char const* el : {"interval(position(summary.mean(kind*y)), size(pop))",
                           "point(position(summary.mean(kind*y)), size(pop))"}) {
        auto s = sceneOf(std::string("ELEMENT: ") + el);
        ASSERT_EQ(s.warnings.size(), 1u) << el;
        EXPECT_EQ(s.warnings[0].rfind("line 7: ", 0), 0u) << s.warnings[0];
        EXPECT_NE(s.warnings[0].find("'pop'"), std::string::npos) << s.warnings[0];
    }
    auto split = sceneOf("ELEMENT: point(position(summary.mean(kind*y)), size(g))");
    EXPECT_EQ(test::marks(split, "point").size(), 5u);  // a point per kind and size
}

TEST(PointAesthetics, OutlinesOfAVariableWithHollowKeys) {
    auto s = sceneOf("ELEMENT: point(position(x*y), color.interior(kind), color.exterior(g))");
    EXPECT_TRUE(s.warnings.empty()) << s.warnings.front();
    auto outline = byValue(s, [](test::Mark const& m) { return m.stroke; });
    EXPECT_TRUE(outline[10] == outline[40]);  // small
    EXPECT_FALSE(outline[10] == outline[20]);
    EXPECT_FALSE(outline[20] == outline[30]);
    // The fill legend, then the outlines under a heading as hollow squares.
    EXPECT_EQ(test::texts(s, "legend-title"), (std::vector<std::string>{"kind", "g"}));
    EXPECT_EQ(test::texts(s, "legend-label"),
              (std::vector<std::string>{"A", "B", "large", "medium", "small"}));
    auto sw = test::marks(s, "legend-swatch");
    ASSERT_EQ(sw.size(), 5u);
    EXPECT_TRUE(sw[2].stroke == outline[20]);
    EXPECT_TRUE((sw[4].fill == hc::Color{1, 1, 1, 1}));
    // Outlines of the fill's variable share its colours and its legend.
    auto fill = sceneOf("ELEMENT: point(position(x*y), color.interior(kind), color.exterior(kind))");
    for (auto const& p : test::marks(fill, "point")) EXPECT_TRUE(p.stroke == p.fill);
    EXPECT_EQ(test::texts(fill, "legend-label"), (std::vector<std::string>{"A", "B"}));
    // Without a fill of their own, outlined points take a pale tint of their outline.
    for (auto const& p : test::marks(sceneOf("ELEMENT: point(position(x*y), color.exterior(kind))"),
                                     "point")) {
        EXPECT_GT(p.fill.r + p.fill.g + p.fill.b, p.stroke.r + p.stroke.g + p.stroke.b);
    }
    // The outline legend's guide names it.
    auto named = sceneOf(
        "GUIDE: legend(aesthetic(aesthetic.color.exterior), label(\"Outline\"))\n"
        "GUIDE: legend(aesthetic(aesthetic.color.interior), label(\"Fill\"))\n"
        "ELEMENT: point(position(x*y), color.interior(g), color.exterior(kind))");
    EXPECT_EQ(test::texts(named, "legend-title"), (std::vector<std::string>{"Fill", "Outline"}));
}

TEST(PointAesthetics, BarsAreOutlinedByAVariableAndWhatHasNoOutlineIsNamed) {
    auto bars = test::marks(
        sceneOf("ELEMENT: interval(position(summary.mean(kind*y)), color.exterior(g))"), "bar");
    EXPECT_EQ(bars.size(), 5u);  // a bar per kind and outline: the means are not mixed
    for (auto const& b : bars) EXPECT_EQ(b.strokeWidth, 2);
    auto cont = sceneOf("ELEMENT: point(position(x*y), color.exterior(pop))");
    ASSERT_EQ(cont.warnings.size(), 1u);
    EXPECT_EQ(cont.warnings[0].rfind("line 7: ", 0), 0u);
    // Lines have neither outlines nor labels; a constant size is their width.
    auto line = sceneOf(
        "ELEMENT: line(position(x*y), label(kind), color.exterior(color.red), size(size.\"5px\"))");
    ASSERT_EQ(line.warnings.size(), 2u);
    for (auto const& w : line.warnings) EXPECT_EQ(w.rfind("line 7: ", 0), 0u) << w;
    ASSERT_EQ(test::marks(line, "line").size(), 1u);
    EXPECT_EQ(test::marks(line, "line")[0].strokeWidth, 5);
    auto text = sceneOf("ELEMENT: point(position(x*y), label(\"case\"))");
    EXPECT_EQ(test::texts(text, "point-label"), std::vector<std::string>(5, "case"));
}

TEST(PointAesthetics, TheLargestPointsStayInsideTheAxes) {
    auto s = sceneOf(
        "SCALE: linear(aesthetic(aesthetic.size), aestheticMaximum(size.\"60px\"))\n"
        "ELEMENT: point(position(x*y), size(pop))");
    // The largest (pop 100) is the last point, at the top right.
    auto v = test::marks(s, "axis-2"), h = test::marks(s, "axis-1");
    ASSERT_TRUE(v.size() == 1 && h.size() == 1);
    auto big = test::marks(s, "point").back();
    EXPECT_GE(big.y - big.w, std::min(v[0].points[0].y, v[0].points[1].y));
    EXPECT_LE(big.x + big.w, std::max(h[0].points[0].x, h[0].points[1].x));
}
