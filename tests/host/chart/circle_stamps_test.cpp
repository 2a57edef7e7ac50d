// Many points are stamped from one drawn circle: the pixels must match circles drawn one by one.
#include <gtest/gtest.h>

#include <cairo.h>

#include <filesystem>

#include "host/chart/renderers.h"

namespace {

using host::chart::Primitive;

Primitive pointAt(double x, double y) {
    Primitive p;
    p.kind = Primitive::Kind::Circle;
    p.role = "point";
    p.x = x;
    p.y = y;
    p.w = 3;
    p.fill = {0.0, 0.45, 0.7, 1};
    p.stroke = {0, 0, 0, 1};
    p.strokeWidth = 0.5;
    return p;
}

// How much ink the image holds: the mean darkness of its pixels, from 0 (white) to 1.
double inkOf(std::string const& path) {
    cairo_surface_t* image = cairo_image_surface_create_from_png(path.c_str());
    int const width = cairo_image_surface_get_width(image), height = cairo_image_surface_get_height(image);
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
    // which turn stamping on without adding ink.
    host::chart::Scene few, many;
    few.width = many.width = 400;
    few.height = many.height = 300;
    for (int i = 0; i < 40; ++i)
        for (int j = 0; j < 30; ++j) few.items.push_back(pointAt(5 + i * 9.7, 5 + j * 9.7));
    many.items = few.items;
    for (int k = 0; k < 5000; ++k) many.items.push_back(pointAt(-50, -50));
    ASSERT_GE(many.items.size(), 5000u);
    std::string const a = (fs::temp_directory_path() / "ggraph_stamps_a.png").string();
    std::string const b = (fs::temp_directory_path() / "ggraph_stamps_b.png").string();
    std::string error;
    ASSERT_TRUE(host::chart::writePng(few, a, 2, error)) << error;
    ASSERT_TRUE(host::chart::writePng(many, b, 2, error)) << error;
    double const drawn = inkOf(a), stamped = inkOf(b);
    EXPECT_GT(drawn, 0.05);
    EXPECT_NEAR(stamped / drawn, 1.0, 0.03);
    fs::remove(a);
    fs::remove(b);
}
