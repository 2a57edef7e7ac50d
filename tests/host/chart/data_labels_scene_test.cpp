// The chart document's data-label template, read back from the scene: values on bars and
// points, a variable's values instead, and what cannot be labelled named with its line.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

host::chart::Scene sceneOf(std::string const& element, std::string const& labels) {
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: kind=col(source(s), name(\"kind\"), unit.category())\n"
        "DATA: part=col(source(s), name(\"part\"), unit.category())\n"
        "DATA: city=col(source(s), name(\"city\"), unit.category())\n"
        "DATA: y=col(source(s), name(\"y\"))\n"
        "ELEMENT: " +
            element + "\n",
        true, true);
    doc.addInlineTemplate(&labels);
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"kind", "part", "city", "y"},
               {{"A", "lo", "Oslo", 1.0},
                {"A", "hi", "Rome", 2.5},
                {"B", "lo", "Lima", 12500.0},
                {"B", "hi", "Bern", 2.0 / 3}});
    return test::scene(doc, &vdp);
}

std::vector<std::string> sortedTexts(host::chart::Scene const& s, char const* role) {
    auto v = test::texts(s, role);
    std::sort(v.begin(), v.end());
    return v;
}

}  // namespace

TEST(DataLabels, BarsAndPointsShowTheirValues) {
    auto bars = sceneOf("interval(position(summary.sum(kind*y)))", "<addDataLabels/>");
    EXPECT_TRUE(bars.warnings.empty()) << bars.warnings.front();
    // Sums 3.5 and 12,500.67 (at most two decimals, thousands grouped), above their bars.
    auto v = test::marks(bars, "value-label");
    ASSERT_EQ(v.size(), 2u);
    EXPECT_EQ(v[0].text, "3.5");
    EXPECT_EQ(v[1].text, "12,500.67");
    EXPECT_LT(v[0].y, test::marks(bars, "bar")[0].y);
    // Inside the segments of a stack, where the text fits: of 1, 2.5, 12,500 and 0.67 on one
    // scale only the 12,500 has room.
    auto stack = sceneOf("interval.stack(position(summary.sum(kind*y)), color(part))",
                         "<addDataLabels></addDataLabels>");
    auto seg = test::marks(stack, "bar");
    auto sv = test::marks(stack, "value-label");
    ASSERT_EQ(sv.size(), 1u);
    EXPECT_EQ(sv[0].text, "12,500");
    auto big = std::max_element(seg.begin(), seg.end(),
                                [](auto const& a, auto const& b) { return a.h < b.h; });
    EXPECT_TRUE(sv[0].y > big->y && sv[0].y < big->y + big->h);
    EXPECT_EQ(sortedTexts(sceneOf("point(position(kind*y))", "<addDataLabels/>"), "point-label"),
              (std::vector<std::string>{"0.67", "1", "12,500", "2.5"}));
}

TEST(DataLabels, AVariableNamedByTheTemplateAndWhatCannotBeLabelled) {
    char const* byCity = "<addDataLabels><labeling variable=\"CITY\"/></addDataLabels>";
    EXPECT_EQ(sortedTexts(sceneOf("point(position(kind*y))", byCity), "point-label"),
              (std::vector<std::string>{"Bern", "Lima", "Oslo", "Rome"}));
    // The element's own label wins.
    EXPECT_EQ(sortedTexts(sceneOf("point(position(kind*y), label(part))", byCity), "point-label"),
              (std::vector<std::string>{"hi", "hi", "lo", "lo"}));
    // An unknown variable: values instead, and a warning naming it.
    auto unknown = sceneOf("point(position(kind*y))",
                           "<addDataLabels><labeling variable=\"town\"/></addDataLabels>");
    ASSERT_EQ(unknown.warnings.size(), 1u);
    EXPECT_NE(unknown.warnings[0].find("\"town\""), std::string::npos);
    EXPECT_EQ(test::texts(unknown, "point-label").size(), 4u);
    auto line = sceneOf("line(position(kind*y))", "<addDataLabels/>");
    ASSERT_EQ(line.warnings.size(), 1u);
    EXPECT_EQ(line.warnings[0].rfind("line 6: ", 0), 0u) << line.warnings[0];
}
