// A plain scatter of many cases is drawn from its two columns rather than from a row per case.
// It must look exactly as the same cases drawn through rows: the comparison chart colours every
// case by one category with its legend hidden, which sends it the row way without moving a
// point.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/chart/layer/layer.h"
#include "support/scene_rows.h"

namespace hc = host::chart;

namespace {

constexpr unsigned kCases = unsigned(hc::kPlainPointsMin) + 20000;

void fillCases(VarDataProcessor& vdp) {
    vdp.AddDataSource("g", kCases);
    for (char const* c : {"x", "y", "c"}) vdp.AddVariable("g", c, nullptr);
    for (unsigned i = 0; i < kCases; ++i) {
        if (i % 1001 != 7)  // now and then a case without x
            vdp.SetVariableValue("g", "x", i, std::sin(i * 0.37) * 50 + 50);
        if (i % 997 != 3)  // ... or without y
            vdp.SetVariableValue("g", "y", i, std::cos(i * 0.11) * 20 + i % 13 - 2);
        vdp.SetStringVariableValue("g", "c", i, "all");
    }
}

std::string job(std::string const& extra, bool viaRows) {
    std::string gpl =
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "DATA: y=col(source(s), name(\"y\"))\n"
        "DATA: c=col(source(s), name(\"c\"), unit.category())\n" +
        extra + "GUIDE: legend(aesthetic(aesthetic.color.interior), null())\n";
    if (viaRows)
        return gpl + "ELEMENT: point(position(x*y), color.interior(c))";
    return gpl + "ELEMENT: point(position(x*y))";
}

struct Drawn {
    std::vector<test::Mark> points;
    std::vector<std::string> warnings;
};

Drawn draw(VarDataProcessor& vdp, std::string const& extra, bool viaRows) {
    XDocument doc(job(extra, viaRows), true, true);
    auto s = test::scene(doc, &vdp);
    return {test::marks(s, "point"), s.warnings};
}

void expectSamePoints(Drawn const& plain, Drawn const& rows) {
    ASSERT_EQ(plain.points.size(), rows.points.size());
    for (std::size_t i = 0; i < plain.points.size(); ++i) {
        ASSERT_DOUBLE_EQ(plain.points[i].x, rows.points[i].x) << "point " << i;
        ASSERT_DOUBLE_EQ(plain.points[i].y, rows.points[i].y) << "point " << i;
        ASSERT_DOUBLE_EQ(plain.points[i].w, rows.points[i].w) << "point " << i;
    }
}

}  // namespace

TEST(PlainPoints, AScatterOfManyCasesIsDrawnAsItsRowsWouldBe) {
    VarDataProcessor vdp;
    fillCases(vdp);
    Drawn plain = draw(vdp, "", false);
    Drawn rows = draw(vdp, "", true);
    expectSamePoints(plain, rows);
    // Every case with both values, and no other.
    std::size_t both = 0;
    for (unsigned i = 0; i < kCases; ++i) both += i % 1001 != 7 && i % 997 != 3;
    EXPECT_EQ(plain.points.size(), both);
    EXPECT_EQ(plain.warnings, rows.warnings);
}

TEST(PlainPoints, ScaleLimitsAndLogScalesLeaveOutTheSameCases) {
    VarDataProcessor vdp;
    fillCases(vdp);
    for (std::string scales : {"SCALE: linear(dim(1), min(20), max(80))\n"
                               "SCALE: linear(dim(2), max(15))\n",
                               "SCALE: log(dim(2))\n"}) {
        Drawn plain = draw(vdp, scales, false);
        Drawn rows = draw(vdp, scales, true);
        expectSamePoints(plain, rows);
        EXPECT_LT(plain.points.size(), kCases - 300) << scales;
        EXPECT_EQ(plain.warnings, rows.warnings) << scales;
    }
    // The log scale says how many values it could not show.
    Drawn logged = draw(vdp, "SCALE: log(dim(2))\n", false);
    ASSERT_FALSE(logged.warnings.empty());
    EXPECT_NE(logged.warnings.front().find("at or below zero cannot be shown on a log scale"),
              std::string::npos)
        << logged.warnings.front();
}

TEST(PlainPoints, AColourNamedByATextKeepsItsLegendEntry) {
    VarDataProcessor vdp;
    fillCases(vdp);
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "DATA: y=col(source(s), name(\"y\"))\n"
        "ELEMENT: point(position(x*y), color.interior(\"Observed\"))",
        true, true);
    auto s = test::scene(doc, &vdp);
    auto labels = test::marks(s, "legend-label");
    ASSERT_EQ(labels.size(), 1u);
    EXPECT_EQ(labels[0].text, "Observed");
}
