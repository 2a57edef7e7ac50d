// Faults seen in small jobs, each pinned by the scene it should give: included categories,
// point sizes, ranges drawn as segments and bands.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

std::string const kHead = "SOURCE: s=userSource(id(\"g\"))\n"
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
    auto s = sceneOf("SCALE: cat(dim(1), include(\"1.00\", \"2.00\", \"1.5\"))\n"
                     "ELEMENT: point(position(g*y))");
    EXPECT_EQ(texts(s, "tick-label-1"), (std::vector<std::string>{"1", "1.5", "2", "3"}));
    EXPECT_EQ(test::marks(s, "point").size(), 4u);
    // Every value included in a colour scale has a legend entry, in value order.
    auto c = sceneOf("SCALE: cat(aesthetic(aesthetic.color.interior), include(\"0\", \"1.0\"))\n"
                     "ELEMENT: point(position(x*y), color.interior(g))");
    EXPECT_EQ(texts(c, "legend-label"), (std::vector<std::string>{"0", "1", "2", "3"}));
}

TEST(ChartReproScene, PointSizesAreDiametersInPixelsOrSharesOfThePlot) {
    auto radius = [](char const* size) {
        auto s = sceneOf(std::string("ELEMENT: point(position(x*y), size(size.\"") + size +
                         "\"))");
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
