// Variables the chart computes (TRANS, iter) and sources it reads itself (csvSource), as they
// reach the scene.
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

std::string joined(std::vector<std::string> const& v) {
    std::string out;
    for (auto const& s : v) out += s + "\n";
    return out;
}

}  // namespace

TEST(ComputedVariablesScene, EvalColumnsAreDrawnLikeData) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x"}, {{1.0}, {2.0}, {3.0}, {4.0}});
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "TRANS: y=eval(1 - x)\n"
        "TRANS: size=eval(x > 2 ? \"big\" : \"small\")\n"
        "ELEMENT: point(position(x*y), color.interior(size))\n",
        true, true);
    auto s = test::scene(doc, &vdp);
    EXPECT_EQ(s.warnings, std::vector<std::string>{}) << joined(s.warnings);
    auto pts = test::marks(s, "point");
    ASSERT_EQ(pts.size(), 4u);
    std::vector<double> ys;
    for (auto const& p : pts) ys.push_back(p.value);
    EXPECT_EQ(ys, (std::vector<double>{0, -1, -2, -3}));
    EXPECT_EQ(pts[0].group, "small");
    EXPECT_EQ(pts[3].group, "big");
    auto legend = test::texts(s, "legend-label");
    EXPECT_EQ(legend.size(), 2u);
}

TEST(ComputedVariablesScene, IterSequencesAndBadExpressions) {
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: t=iter(0, 2, 0.5)\n"
        "TRANS: y=eval(t ** 2)\n"
        "TRANS: bad=eval(t + nosuch)\n"
        "ELEMENT: line(position(t*y))\n"
        "ELEMENT: point(position(t*bad))\n",
        true, true);
    VarDataProcessor vdp;
    auto s = test::scene(doc, &vdp);
    auto lines = test::marks(s, "line");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].points.size(), 5u);
    // The element that reads the failed variable is left out, with the TRANS line.
    ASSERT_EQ(s.warnings.size(), 1u) << joined(s.warnings);
    EXPECT_NE(s.warnings[0].find("line 4, column 21: TRANS bad: 'nosuch' is not a variable"),
              std::string::npos)
        << s.warnings[0];
}

TEST(ComputedVariablesScene, CsvSourceIsReadFromItsFile) {
    namespace fs = std::filesystem;
    fs::path dir = fs::temp_directory_path() / ("csv_scene_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::ofstream(dir / "sales.csv") << "region,amount\nNorth,10\nSouth,30\nNorth,5\n";
    XDocument doc("SOURCE: s=csvSource(file(\"" + (dir / "sales.csv").string() +
                      "\"))\n"
                      "DATA: region=col(source(s), name(\"region\"), unit.category())\n"
                      "DATA: amount=col(source(s), name(\"amount\"))\n"
                      "ELEMENT: interval(position(summary.sum(region*amount)))\n",
                  true, true);
    auto s = test::scene(doc, nullptr);
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), 2u) << joined(s.warnings);
    EXPECT_EQ(bars[0].category, "North");
    EXPECT_EQ(bars[0].value, 15);
    XDocument missing(
        "SOURCE: s=csvSource(file(\"/no/such/file.csv\"))\n"
        "DATA: a=col(source(s), name(\"a\"))\n"
        "ELEMENT: point(position(a*a))\n",
        true, true);
    auto m = test::scene(missing, nullptr);
    ASSERT_GE(m.warnings.size(), 1u);
    EXPECT_NE(m.warnings[0].find("file.csv"), std::string::npos) << m.warnings[0];
    fs::remove_all(dir);
}
