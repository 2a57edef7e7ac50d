// The batched scene and its renderers: marks of a role share a batch with arrays that fill as
// they come into use, and an SVG of very many marks carries them as one picture.
#include <cmath>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "host/chart/render/renderers.h"
#include "support/scene_rows.h"

namespace hc = host::chart;

TEST(ChartBatches, MarksOfOneRoleAndStyleShareABatch) {
    hc::Scene s;
    hc::Style blue;
    blue.fill = {0, 0, 1, 1};
    blue.size = 3;
    hc::Batch& a = s.batch(hc::MarkKind::Circle, hc::Role::Point, blue);
    a.addCircle(1, 1, 3);
    a.addCircle(2, 2, 3);
    a.setFill({1, 0, 0, 1});  // the second one red
    a.setMeaning(s.key("x"), -1, 7);
    EXPECT_EQ(&s.batch(hc::MarkKind::Circle, hc::Role::Point, blue), &a);
    EXPECT_TRUE(a.w.empty());  // one radius for all: no array
    a.addCircle(3, 3, 5);
    ASSERT_EQ(a.w.size(), 3u);
    EXPECT_EQ(a.radiusAt(0), 3);
    EXPECT_EQ(a.radiusAt(2), 5);
    EXPECT_EQ(a.fillAt(0), blue.fill);
    EXPECT_EQ(a.fillAt(1), (hc::Color{1, 0, 0, 1}));
    EXPECT_EQ(a.fillAt(2), blue.fill);
    EXPECT_EQ(a.categoryAt(0), -1);
    EXPECT_EQ(s.keys[std::size_t(a.categoryAt(1))], "x");
    EXPECT_EQ(a.valueAt(1), 7);
    EXPECT_EQ(a.valueAt(2), 0);
    // Another role (or style) starts a new batch; texts keep their own.
    s.batch(hc::MarkKind::Text, hc::Role::Title, {}).addText(0, 0, "T");
    EXPECT_EQ(s.batches.size(), 2u);
    EXPECT_EQ(s.markCount(), 4u);
    EXPECT_EQ(s.key("x"), 0);
    EXPECT_EQ(s.key(""), -1);
    EXPECT_STREQ(hc::roleName(hc::Role::TickLabel1), "tick-label-1");
    EXPECT_STREQ(hc::roleName(hc::tickLabelRole(2)), "tick-label-2");
    EXPECT_STREQ(hc::roleName(hc::Role::ReferenceLabel), "reference-label");
}

TEST(ChartBatches, AScatterOfManyPointsIsOneBatchAndASmallSvg) {
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "DATA: y=col(source(s), name(\"y\"))\n"
        "ELEMENT: point(position(x*y))",
        true, true);
    VarDataProcessor vdp;
    int const n = 30000;
    for (int i = 0; i < n; ++i) {
        vdp.SetVariableValue("g", "x", unsigned(i), std::sin(i * 0.37) * 50 + 50);
        vdp.SetVariableValue("g", "y", unsigned(i), std::cos(i * 0.11) * 20 + i % 13);
    }
    auto s = test::scene(doc, &vdp);
    std::size_t batches = 0;
    for (auto const& b : s.batches)
        if (b.role == hc::Role::Point) {
            ++batches;
            EXPECT_EQ(b.size(), std::size_t(n));
            EXPECT_TRUE(b.w.empty() && b.color.empty() && b.text.empty());
        }
    EXPECT_EQ(batches, 1u);

    std::string svg = hc::writeSvg(s);
    EXPECT_LT(svg.size(), 2'000'000u);
    EXPECT_EQ(svg.find("<circle"), std::string::npos);
    auto image = svg.find("<image class=\"point\"");
    ASSERT_NE(image, std::string::npos);
    EXPECT_NE(svg.find("data:image/png;base64,", image), std::string::npos);
    EXPECT_NE(svg.find("<text class=\"tick-label-1\""), std::string::npos);  // text stays text
    // The picture covers where the points are.
    double ix = 0, iy = 0, iw = 0, ih = 0;
    ASSERT_EQ(std::sscanf(svg.c_str() + image,
                          "<image class=\"point\" x=\"%lf\" y=\"%lf\" width=\"%lf\" height=\"%lf\"",
                          &ix, &iy, &iw, &ih),
              4);
    for (auto const& p : test::marks(s, "point")) {
        EXPECT_GE(p.x - p.w, ix - 1);
        EXPECT_LE(p.x + p.w, ix + iw + 1);
        EXPECT_GE(p.y - p.w, iy - 1);
        EXPECT_LE(p.y + p.w, iy + ih + 1);
    }

    // The PDF takes the points as one picture too.
    std::string const pdf = (std::filesystem::temp_directory_path() / "ggraph_batches.pdf").string();
    std::string error;
    ASSERT_TRUE(hc::writePdf(s, pdf, error)) << error;
    EXPECT_LT(std::filesystem::file_size(pdf), 1'000'000u);
    std::filesystem::remove(pdf);
}

TEST(ChartBatches, APngOfAHugePageIsDrawnSmallerAndSaysSo) {
    host::chart::Scene small;
    EXPECT_EQ(host::chart::pngScaleFor(small, 2), 2);  // 640 x 480 at twice its size
    host::chart::Scene huge;
    huge.width = huge.height = 10000;
    double const scale = host::chart::pngScaleFor(huge, 2);
    EXPECT_LT(scale, 2);
    EXPECT_LE(std::ceil(huge.width * scale) * std::ceil(huge.height * scale),
              host::chart::kMaxPngPixels + 2 * 10000 * scale + 1);
    EXPECT_GT(huge.width * scale * huge.height * scale, 0.99 * host::chart::kMaxPngPixels);

    VarDataProcessor vdp;
    test::fill(vdp, "g", {"x", "y"}, {{1.0, 1.0}, {2.0, 3.0}});
    XDocument doc("SOURCE: s=userSource(id(\"g\"))\nDATA: x=col(source(s), name(\"x\"))\n"
                  "DATA: y=col(source(s), name(\"y\"))\nPAGE: begin(scale(100000px, 50px))\n"
                  "ELEMENT: point(position(x*y))\nPAGE: end()",
                  true, true);
    auto s = test::scene(doc, &vdp);
    EXPECT_EQ(s.width, 10000);
    EXPECT_EQ(s.height, 80);
    ASSERT_FALSE(s.warnings.empty());
    EXPECT_NE(s.warnings[0].find("line 4: a page of 100000 x 50 px is outside"), std::string::npos)
        << s.warnings[0];
}
