// Many points are stamped from one drawn marker: the pixels must match markers drawn one by one.
#include <gtest/gtest.h>

#include <cairo.h>

#include <filesystem>

#include "host/chart/render/renderers.h"

namespace {

namespace hc = host::chart;

hc::Batch& pointBatch(hc::Scene& s, hc::MarkKind kind, hc::MarkerShape shape) {
    hc::Batch& b = s.batches.emplace_back();
    b.kind = kind;
    b.role = hc::Role::Point;
    b.style.shape = shape;
    b.style.size = 3;
    b.style.fill = {0.0, 0.45, 0.7, 1};
    b.style.stroke = {0, 0, 0, 1};
    b.style.strokeWidth = 0.5;
    return b;
}

// How much ink the image holds: the mean darkness of its pixels, from 0 (white) to 1.
double inkOf(std::string const& path) {
    cairo_surface_t* image = cairo_image_surface_create_from_png(path.c_str());
    int const width = cairo_image_surface_get_width(image),
              height = cairo_image_surface_get_height(image);
    int const stride = cairo_image_surface_get_stride(image);
    unsigned char const* data = cairo_image_surface_get_data(image);
    double darkness = 0;
    for (int y = 0; y < height; ++y) {
        auto const* row = reinterpret_cast<std::uint32_t const*>(data + y * stride);
        for (int x = 0; x < width; ++x) {
            std::uint32_t const pixel = row[x];
            darkness += 3 * 255 - ((pixel >> 16) & 255) - ((pixel >> 8) & 255) - (pixel & 255);
        }
    }
    cairo_surface_destroy(image);
    return darkness / (3 * 255.0 * width * height);
}

}  // namespace

TEST(CircleStamps, StampedPointsCoverTheSamePixelsAsDrawnOnes) {
    namespace fs = std::filesystem;
    // The same 40 x 30 grid of points, once alone and once among many more points off the page,
    // which turn stamping on without adding ink; circles, and markers of another shape, in
    // two colours.
    for (auto [kind, shape] : {std::pair{hc::MarkKind::Circle, hc::MarkerShape::Circle},
                               std::pair{hc::MarkKind::Marker, hc::MarkerShape::Triangle}}) {
        hc::Scene few, many;
        few.width = many.width = 400;
        few.height = many.height = 300;
        hc::Batch& a = pointBatch(few, kind, shape);
        for (int i = 0; i < 40; ++i)
            for (int j = 0; j < 30; ++j) {
                a.addCircle(5 + i * 9.7, 5 + j * 9.7, 3);
                a.setFill(j % 2 ? hc::Color{0.8, 0.2, 0.1, 0.6} : a.style.fill);
            }
        hc::Batch& b = pointBatch(many, kind, shape);
        b = a;
        for (int k = 0; k < 5000; ++k) b.addCircle(-50, -50, 3);
        ASSERT_LT(a.size(), 2000u);  // drawn one by one
        ASSERT_GE(b.size(), 2000u);  // stamped
        std::string const pa = (fs::temp_directory_path() / "ggraph_stamps_a.png").string();
        std::string const pb = (fs::temp_directory_path() / "ggraph_stamps_b.png").string();
        std::string error;
        ASSERT_TRUE(hc::writePng(few, pa, 2, error)) << error;
        ASSERT_TRUE(hc::writePng(many, pb, 2, error)) << error;
        double const drawn = inkOf(pa), stamped = inkOf(pb);
        EXPECT_GT(drawn, 0.03);
        EXPECT_NEAR(stamped / drawn, 1.0, 0.03);
        fs::remove(pa);
        fs::remove(pb);
    }
}
