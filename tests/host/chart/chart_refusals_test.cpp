// What the engine cannot draw it says, naming the line: values a log scale has no place for,
// summaries of categories, and more categories or panels than a page can show.
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

std::string const kHead = "SOURCE: s=userSource(id(\"g\"))\n";

bool warned(host::chart::Scene const& s, std::string const& text) {
    for (auto const& w : s.warnings)
        if (w.find(text) != std::string::npos)
            return true;
    return false;
}

}  // namespace

TEST(ChartRefusals, LogScalesLeaveOutValuesAtOrBelowZeroAndSaySo) {
    XDocument doc(kHead +
                      "DATA: x=col(source(s), name(\"x\"))\n"
                      "DATA: y=col(source(s), name(\"y\"))\n"
                      "SCALE: log(dim(2))\n"
                      "ELEMENT: point(position(x*y))",
                  true, true);
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "y"}, {{1.0, -6.0}, {2.0, 0.0}, {3.0, 10.0}, {4.0, 1000.0}});
    auto s = test::scene(doc, &vdp);
    auto points = test::marks(s, "point");
    ASSERT_EQ(points.size(), 2u);
    auto frame = test::marks(s, "axis-2");
    ASSERT_EQ(frame.size(), 1u);
    for (auto const& p : points) {  // on the plot, between the axis's ends
        EXPECT_GE(p.y, frame[0].points[0].y);
        EXPECT_LE(p.y, frame[0].points[1].y);
    }
    EXPECT_TRUE(warned(s, "line 5: 2 values at or below zero cannot be shown on a log scale"))
        << (s.warnings.empty() ? "" : s.warnings[0]);
}

TEST(ChartRefusals, SummariesOfCategoriesSayWhyTheChartIsEmpty) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"c"}, {{"a"}, {"b"}, {"b"}});
    for (std::string element :
         {"interval(position(summary.mean(c*c)))", "schema(position(bin.quantile.letter(c*c)))"}) {
        XDocument doc(
            kHead + "DATA: c=col(source(s), name(\"c\"), unit.category())\nELEMENT: " + element,
            true, true);
        auto s = test::scene(doc, &vdp);
        EXPECT_TRUE(warned(s, "line 3:")) << element;
        EXPECT_TRUE(warned(s, "'c' is categorical")) << element;
    }
    // Counting categories is fine.
    XDocument count(kHead +
                        "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                        "ELEMENT: interval(position(summary.count(c)))",
                    true, true);
    auto s = test::scene(count, &vdp);
    EXPECT_TRUE(s.warnings.empty());
    EXPECT_EQ(test::marks(s, "bar").size(), 2u);
}

TEST(ChartRefusals, MoreCategoriesOrPanelsThanAPageShowsAreRefused) {
    VarDataProcessor vdp;
    std::vector<std::vector<test::Cell>> rows;
    std::vector<std::string> names;
    for (int i = 0; i < 10001; ++i) names.push_back("c" + std::to_string(i));
    for (auto const& n : names) rows.push_back({n.c_str(), 1.0, n.c_str()});
    test::fill(vdp, "g", {"c", "v", "p"}, rows);
    XDocument bars(kHead +
                       "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                       "DATA: v=col(source(s), name(\"v\"))\n"
                       "ELEMENT: interval(position(c*v))",
                   true, true);
    auto s = test::scene(bars, &vdp);
    EXPECT_TRUE(test::marks(s, "bar").empty());
    EXPECT_TRUE(warned(s, "line 4: the first dimension has 10,001 categories"));
    XDocument panels(kHead +
                         "DATA: p=col(source(s), name(\"p\"), unit.category())\n"
                         "DATA: v=col(source(s), name(\"v\"))\n"
                         "ELEMENT: point(position(v*v*p))",
                     true, true);
    auto p = test::scene(panels, &vdp);
    EXPECT_TRUE(test::marks(p, "point").empty());
    EXPECT_TRUE(warned(p, "the page is too small for 10,001 panels"));

    // Shapes, clusters and panels are kept in 16 bits a row: past that a layer is refused.
    VarDataProcessor many;
    std::vector<std::vector<test::Cell>> manyRows;
    for (int i = 0; i < 32768; ++i) manyRows.push_back({double(i), double(i)});
    test::fill(many, "g", {"k", "v"}, manyRows);
    XDocument shapes(kHead +
                         "DATA: k=col(source(s), name(\"k\"), unit.category())\n"
                         "DATA: v=col(source(s), name(\"v\"))\n"
                         "ELEMENT: point(position(v*v), shape(k))",
                     true, true);
    auto sh = test::scene(shapes, &many);
    EXPECT_TRUE(test::marks(sh, "point").empty());
    EXPECT_TRUE(warned(sh, "line 4: 'k' has 32,768 categories, more than the 32767"));

    // Far more than that: the reading stops at the first category too many, and says so.
    for (int i = 32768; i < 40000; ++i) {
        many.SetVariableValue("g", "k", unsigned(i), double(i));
        many.SetVariableValue("g", "v", unsigned(i), double(i));
    }
    XDocument wide(kHead +
                       "DATA: k=col(source(s), name(\"k\"), unit.category())\n"
                       "DATA: v=col(source(s), name(\"v\"))\n"
                       "ELEMENT: interval(position(k*v))",
                   true, true);
    auto b = test::scene(wide, &many);
    EXPECT_TRUE(test::marks(b, "bar").empty());
    EXPECT_TRUE(warned(b,
                       "line 4: 'k' has more than the 32767 categories that a chart can tell "
                       "apart"));
}

TEST(ChartRefusals, ScaleArgumentsThatCannotBeUsedAreNamed) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "y"}, {{1.0, 1.0}, {2.0, 3.0}});
    std::string vars = kHead +
                       "DATA: x=col(source(s), name(\"x\"))\n"
                       "DATA: y=col(source(s), name(\"y\"))\n";
    struct Case {
        char const* scale;
        char const* says;
    } cases[] = {
        {"SCALE: linear(dim(1), min(1e999))", "min() of a scale needs a finite number"},
        {"SCALE: linear(dim(2), min(5), max(1))", "the scale's min(5) is not below its max(1)"},
        {"SCALE: log(dim(2), base(1))", "the base of a log scale must be a number above 1"},
    };
    for (auto const& c : cases) {
        XDocument doc(vars + c.scale + "\nELEMENT: point(position(x*y))", true, true);
        auto s = test::scene(doc, &vdp);
        EXPECT_TRUE(warned(s, "line 4: " + std::string(c.says)))
            << c.scale << ": " << (s.warnings.empty() ? "" : s.warnings[0]);
        // Said once: the program's read-time option check leaves scales to this stage.
        EXPECT_EQ(std::count_if(s.warnings.begin(), s.warnings.end(),
                                [&](std::string const& w) { return w.find(c.says) != w.npos; }),
                  1)
            << c.scale;
        EXPECT_EQ(test::marks(s, "point").size(), 2u) << c.scale;  // drawn all the same
    }
}
