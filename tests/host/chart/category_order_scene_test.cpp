// The order of categories (as the data has them, by a statistic) and turned axis labels, as
// they reach the scene.
#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

std::string const kHead =
    "SOURCE: s=userSource(id(\"g\"))\n"
    "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
    "DATA: v=col(source(s), name(\"v\"))\n";

host::chart::Scene sceneOf(std::string const& statements) {
    // Met in the order p, m, z; means p 5, m 1, z 3; counts p 1, m 3, z 2.
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"c", "v"},
               {{"p", 5.0}, {"m", 0.0}, {"z", 2.0}, {"m", 2.0}, {"z", 4.0}, {"m", 1.0}});
    XDocument doc(kHead + statements, true, true);
    return test::scene(doc, &vdp);
}

}  // namespace

TEST(CategoryOrderScene, ByDataOrByAStatistic) {
    using V = std::vector<std::string>;
    auto order = [](std::string const& scale) {
        return test::texts(sceneOf(scale + "ELEMENT: interval(position(summary.sum(c*v)))"),
                           "tick-label-1");
    };
    EXPECT_EQ(order(""), (V{"m", "p", "z"}));
    EXPECT_EQ(order("SCALE: cat(dim(1), sort.data())\n"), (V{"p", "m", "z"}));
    EXPECT_EQ(order("SCALE: cat(dim(1), sort.statistic(summary.mean(v)))\n"), (V{"m", "z", "p"}));
    EXPECT_EQ(order("SCALE: cat(dim(1), sort.statistic(summary.mean(v)), reverse())\n"),
              (V{"p", "z", "m"}));
    EXPECT_EQ(order("SCALE: cat(dim(1), sort.statistic(summary.count()))\n"), (V{"p", "z", "m"}));
    auto colours = sceneOf(
        "SCALE: cat(aesthetic(aesthetic.color.interior), sort.data())\n"
        "ELEMENT: point(position(c*v), color.interior(c))");
    EXPECT_EQ(test::texts(colours, "legend-label"), (V{"p", "m", "z"}));

    auto bad = sceneOf(
        "SCALE: cat(dim(1), sort.statistic(summary.mean(nothere)))\n"
        "ELEMENT: interval(position(summary.sum(c*v)))");
    ASSERT_FALSE(bad.warnings.empty());
    EXPECT_NE(bad.warnings.back().find("line 4: sort.statistic"), std::string::npos);
    EXPECT_EQ(test::texts(bad, "tick-label-1"), (V{"m", "p", "z"}));
}

TEST(CategoryOrderScene, LabelAngleTurnsTickLabels) {
    auto angle = [](std::string const& guide, char const* role) {
        auto s = sceneOf(guide + "ELEMENT: interval(position(summary.sum(c*v)))");
        EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
        return test::marks(s, role).front().angle;
    };
    EXPECT_EQ(angle("", "tick-label-1"), 0);
    EXPECT_EQ(angle("GUIDE: axis(dim(1), label.angle(90))\n", "tick-label-1"), -90);
    EXPECT_EQ(angle("GUIDE: axis(dim(1), label.angle(-30))\n", "tick-label-1"), 30);
    EXPECT_EQ(angle("GUIDE: axis(dim(2), label.angle(45))\n", "tick-label-2"), -45);
}
