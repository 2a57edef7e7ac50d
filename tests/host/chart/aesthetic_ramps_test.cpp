#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "host/chart/scales/aesthetic_ramps.h"

using namespace host::chart;

TEST(AestheticRamps, GradientsSaturationBrightnessSize) {
    Rgb01 white{1, 1, 1}, black{0, 0, 0}, blue{0, 0.447, 0.698};
    // The ends are the given colours; the middle of black to white is L* = 50, sRGB 0.4663.
    auto a = gradient(white, blue, 0), b = gradient(white, blue, 1),
         mid = gradient(black, white, 0.5);
    EXPECT_NEAR(a.r, 1, 1e-6);
    EXPECT_NEAR(b.g, 0.447, 1e-6);
    EXPECT_NEAR(b.b, 0.698, 1e-6);
    EXPECT_NEAR(mid.r, 0.4663, 1e-3);
    EXPECT_NEAR(mid.g, mid.b, 1e-6);
    // Values outside the domain take its ends.
    EXPECT_NEAR(gradient(white, blue, 2).b, 0.698, 1e-6);

    // Saturation grows, brightness falls, the hue stays.
    auto pale = bySaturation(blue, 0), deep = bySaturation(blue, 1);
    EXPECT_LT(std::max({pale.r, pale.g, pale.b}) - std::min({pale.r, pale.g, pale.b}),
              std::max({deep.r, deep.g, deep.b}) - std::min({deep.r, deep.g, deep.b}));
    auto light = byBrightness(blue, 0), dark = byBrightness(blue, 1);
    EXPECT_GT(light.b, dark.b);
    EXPECT_NEAR(light.g / light.b, dark.g / dark.b, 1e-6);

    // Area in proportion: half way, the area is half way between the ends.
    EXPECT_NEAR(sizeByArea(2, 20, 0.5) * sizeByArea(2, 20, 0.5), (4 + 400) / 2.0, 1e-9);
    EXPECT_DOUBLE_EQ(sizeByArea(2, 20, 1), 20);
    EXPECT_DOUBLE_EQ(placeIn(5, 0, 10), 0.5);
    EXPECT_DOUBLE_EQ(placeIn(-5, 0, 10), 0);
    EXPECT_DOUBLE_EQ(placeIn(3, 3, 3), 0.5);
}
