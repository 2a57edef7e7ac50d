// Labels beside points: the placement on its own, then the labels of a chart read back from
// its scene.
#include <algorithm>
#include <cmath>
#include <limits>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/chart/geometry/label_placement.h"
#include "support/scene_rows.h"

namespace hc = host::chart;

TEST(PointLabelPlacement, NoLabelOverlapsALabelOrCoversAPointOrLeavesItsBounds) {
    hc::Rect const bounds{0, 0, 200, 100};
    // A row of points 12 px apart and one at the right edge.
    std::vector<hc::PointDisc> points{{20, 50, 3}, {32, 50, 3}, {44, 50, 3}, {56, 50, 3}, {195, 50, 3}};
    std::vector<hc::LabelRequest> labels;
    for (std::size_t i = 0; i < points.size(); ++i) labels.push_back({i, 30, 12});
    auto placed = hc::placeLabels(points, labels, bounds);
    std::vector<hc::Rect> boxes;
    for (auto const& p : placed)
        if (p)
            boxes.push_back(*p);
    ASSERT_GE(boxes.size(), 3u);
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        auto const& b = boxes[i];
        EXPECT_TRUE(b.x >= 0 && b.x + b.w <= 200 && b.y >= 0 && b.y + b.h <= 100);
        for (std::size_t j = i + 1; j < boxes.size(); ++j) {
            auto const& o = boxes[j];
            EXPECT_FALSE(b.x < o.x + o.w && o.x < b.x + b.w && b.y < o.y + o.h && o.y < b.y + b.h);
        }
        for (auto const& p : points) {
            double dx = p.x - std::clamp(p.x, b.x, b.x + b.w);
            double dy = p.y - std::clamp(p.y, b.y, b.y + b.h);
            EXPECT_GE(dx * dx + dy * dy, p.r * p.r);
        }
    }
    ASSERT_TRUE(placed[4]);
    EXPECT_LT(placed[4]->x + placed[4]->w, 195);  // turned left at the edge
    // Packed all around: no place is free, the label is left out.
    std::vector<hc::PointDisc> packed{{100, 50, 4}};
    for (int gx = -6; gx <= 6; ++gx)
        for (int gy = -6; gy <= 6; ++gy)
            if (gx || gy)
                packed.push_back({100.0 + 6 * gx, 50.0 + 6 * gy, 4});
    EXPECT_FALSE(hc::placeLabels(packed, {{0, 20, 10}}, bounds)[0]);
    // Points far off the plot or not finite are passed over (and quickly).
    double const inf = std::numeric_limits<double>::infinity();
    auto off = hc::placeLabels({{1e300, 50, 3}, {std::nan(""), inf, 3}, {20, 50, 3}},
                               {{0, 30, 12}, {1, 30, 12}, {2, 30, 12}}, bounds);
    EXPECT_FALSE(off[0] || off[1]);
    EXPECT_TRUE(off[2]);
}

TEST(PointLabels, ChartLabelsSitBesideTheirPointsAndTheLeftOutAreCounted) {
    auto draw = [](std::vector<std::vector<test::Cell>> const& rows) {
        XDocument doc(
            "SOURCE: s=userSource(id(\"g\"))\n"
            "DATA: x=col(source(s), name(\"x\"))\n"
            "DATA: y=col(source(s), name(\"y\"))\n"
            "DATA: name=col(source(s), name(\"name\"), unit.category())\n"
            "ELEMENT: point(position(x*y), label(name))\n",
            true, true);
        VarDataProcessor vdp;
        test::fill(vdp, "g", {"x", "y", "name"}, rows);
        return test::scene(doc, &vdp);
    };
    auto s = draw({{1.0, 1.0, "Oslo"}, {2.0, 2.0, "Rome"}, {3.0, 1.5, "Lima"}});
    EXPECT_TRUE(s.warnings.empty()) << s.warnings.front();
    EXPECT_EQ(test::texts(s, "point-label"), (std::vector<std::string>{"Oslo", "Rome", "Lima"}));
    // Forty cases on one spot: a few labels fit around it, the rest are said to be left out.
    std::vector<std::vector<test::Cell>> crowd(40, {1.0, 1.0, "Same"});
    crowd.push_back({2.0, 2.0, "Far"});
    auto c = draw(crowd);
    std::size_t shown = test::marks(c, "point-label").size();
    EXPECT_TRUE(shown >= 2 && shown <= 9) << shown;
    ASSERT_EQ(c.warnings.size(), 1u);
    EXPECT_NE(c.warnings[0].find("line 5: " + std::to_string(41 - shown) + " of 41 point"),
              std::string::npos)
        << c.warnings[0];
}
