// Hexagonal bins and running totals as they reach the scene.
#include <algorithm>
#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "support/scene_rows.h"

namespace {

std::string const kHead = "SOURCE: s=userSource(id(\"g\"))\n";

// Whether (x, y) lies inside a convex polygon or on its edge (within 1% of its size).
bool inside(std::vector<host::chart::Point> poly, double x, double y) {
    double cx = 0, cy = 0;
    for (auto const& p : poly) cx += p.x / double(poly.size()), cy += p.y / double(poly.size());
    int sign = 0;
    for (std::size_t i = 0; i < poly.size(); ++i) {
        auto a = poly[i], b = poly[(i + 1) % poly.size()];
        a = {cx + (a.x - cx) * 1.01, cy + (a.y - cy) * 1.01};
        b = {cx + (b.x - cx) * 1.01, cy + (b.y - cy) * 1.01};
        double cross = (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
        int s = cross > 0 ? 1 : -1;
        if (sign != 0 && s != sign)
            return false;
        sign = s;
    }
    return true;
}

}  // namespace

TEST(HexScene, HexagonsCountTheirCasesAndHoldThem) {
    VarDataProcessor vdp;
    std::vector<std::vector<test::Cell>> rows(5, {1.0, 1.0});
    rows.insert(rows.end(), 2, {9.0, 9.0});
    rows.push_back({1.0, 9.0});
    test::fill(vdp, "g", {"x", "y"}, rows);
    XDocument doc(kHead +
                      "DATA: x=col(source(s), name(\"x\"))\n"
                      "DATA: y=col(source(s), name(\"y\"))\n"
                      "ELEMENT: polygon(position(summary.count(bin.hex(x*y, binCount(10)))))",
                  true, true);
    auto s = test::scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    auto cells = test::marks(s, "cell");
    ASSERT_EQ(cells.size(), 3u);
    auto xm = test::axisMap(s, 1, false), ym = test::axisMap(s, 2, true);
    std::map<double, std::pair<double, double>> where = {{5, {1, 1}}, {2, {9, 9}}, {1, {1, 9}}};
    for (auto const& c : cells) {
        ASSERT_EQ(c.points.size(), 6u);
        ASSERT_TRUE(where.count(c.value)) << c.value;
        std::vector<host::chart::Point> data;
        for (auto const& p : c.points) data.push_back({xm.value(p.x), ym.value(p.y)});
        EXPECT_TRUE(inside(data, where[c.value].first, where[c.value].second)) << c.value;
        EXPECT_FALSE(inside(data, 5, 5));
        if (c.value == 5) {
            EXPECT_EQ(c.fill.hex(), "#08519C");  // the fullest is the darkest
        }
    }
    // A colour bar of the counts.
    EXPECT_EQ(test::marks(s, "legend-title")[0].text, "Count");
    EXPECT_FALSE(test::marks(s, "legend-gradient").empty());
    EXPECT_EQ(test::texts(s, "legend-label").back(), "5");
}

// A hexagon is regular on the page, also in a narrow graph among others.
TEST(HexScene, HexagonsAreRegularInTheirGraphsPlace) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "y"}, {{1.0, 1.0}, {9.0, 9.0}, {5.0, 2.0}});
    std::string const hexes = "ELEMENT: polygon(position(bin.hex(x*y, binCount(8))))\n";
    for (std::string place : {"", "GRAPH: begin(origin(0%, 0%), scale(30%, 100%))\n"}) {
        XDocument doc(kHead + "DATA: x=col(source(s), name(\"x\"))\n" +
                          "DATA: y=col(source(s), name(\"y\"))\n" + place + hexes +
                          (place.empty() ? "" : "GRAPH: end()\n"),
                      true, true);
        auto s = test::scene(doc, &vdp);
        auto cells = test::marks(s, "cell");
        ASSERT_FALSE(cells.empty()) << place;
        double x0 = 1e9, x1 = -1e9, y0 = 1e9, y1 = -1e9;
        for (auto const& p : cells[0].points) {
            x0 = std::min(x0, p.x), x1 = std::max(x1, p.x);
            y0 = std::min(y0, p.y), y1 = std::max(y1, p.y);
        }
        // Corner to corner over flat side to flat side: 2 / sqrt(3), within the plot's guess.
        EXPECT_NEAR((y1 - y0) / (x1 - x0), 2 / std::sqrt(3.0), 0.3) << place;
    }
}

TEST(CumulativeScene, RunningTotalsFollowTheDrawnOrder) {
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"c"}, {{"a"}, {"a"}, {"b"}, {"c"}, {"c"}, {"c"}});
    struct Case {
        std::string scale, statistic;
        std::map<std::string, double> want;
    } const cases[] = {
        {"", "summary.count.cumulative", {{"a", 2}, {"b", 3}, {"c", 6}}},
        {"SCALE: cat(dim(1), reverse())\n",
         "summary.count.cumulative",
         {{"c", 3}, {"b", 4}, {"a", 6}}},
        {"", "summary.percent.cumulative", {{"a", 100.0 / 3}, {"b", 50}, {"c", 100}}},
    };
    for (auto const& c : cases) {
        XDocument doc(kHead + "DATA: c=col(source(s), name(\"c\"), unit.category())\n" + c.scale +
                          "ELEMENT: interval(position(" + c.statistic + "(c)))",
                      true, true);
        auto s = test::scene(doc, &vdp);
        auto bars = test::marks(s, "bar");
        ASSERT_EQ(bars.size(), 3u);
        for (auto const& b : bars) EXPECT_NEAR(b.value, c.want.at(b.category), 1e-9) << b.category;
    }
}
