// Projections against values worked out by hand from their formulas, and the equal-area property
// that the choropleths rely on.
#include <gtest/gtest.h>

#include <cmath>

#include "host/maps/map_library.h"
#include "host/maps/projection.h"

namespace {

using host::maps::LonLat;
using host::maps::XY;

// The area of the projected cell [lon, lon+d] x [lat, lat+d], as a fine polygon so that the
// curved edges of a conic count.
template <class F>
double cellArea(F project, double lon, double lat, double d) {
    std::vector<XY> ring;
    int const n = 50;
    for (int i = 0; i < n; ++i) ring.push_back(project({lon + d * i / n, lat}));
    for (int i = 0; i < n; ++i) ring.push_back(project({lon + d, lat + d * i / n}));
    for (int i = 0; i < n; ++i) ring.push_back(project({lon + d - d * i / n, lat + d}));
    for (int i = 0; i < n; ++i) ring.push_back(project({lon, lat + d - d * i / n}));
    double a = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        auto const& p = ring[i];
        auto const& q = ring[(i + 1) % ring.size()];
        a += p.x * q.y - q.x * p.y;
    }
    return std::fabs(a) / 2;
}

double sphereCell(double lat, double d) {
    double const r = M_PI / 180;
    return d * r * (std::sin((lat + d) * r) - std::sin(lat * r));
}

TEST(Projection, EqualEarthAtHandComputedPlaces) {
    auto at = [](double lon, double lat) { return host::maps::equalEarth({lon, lat}); };
    EXPECT_NEAR(at(180, 0).x, 2.706629984, 1e-8);
    EXPECT_NEAR(at(180, 0).y, 0, 1e-12);
    EXPECT_NEAR(at(0, 90).y, 1.317362759, 1e-8);
    EXPECT_NEAR(at(180, 90).x, 1.603588648, 1e-8);
    EXPECT_NEAR(at(90, 45).x, 1.159854499, 1e-8);
    EXPECT_NEAR(at(90, 45).y, 0.860231086, 1e-8);
    EXPECT_NEAR(at(-45, -30).x, -0.632925419, 1e-8);
    EXPECT_NEAR(at(-45, -30).y, -0.592935120, 1e-8);
    // Longitudes beyond the date line fold back.
    EXPECT_NEAR(at(270, 10).x, at(-90, 10).x, 1e-12);
}

TEST(Projection, AlbersAtHandComputedPlaces) {
    host::maps::AlbersParameters const us{-96, 37.5, 29.5, 45.5};
    XY centre = host::maps::albers({-96, 37.5}, us);
    EXPECT_NEAR(centre.x, 0, 1e-12);
    EXPECT_NEAR(centre.y, 0, 1e-12);
    XY p = host::maps::albers({-80, 40}, us);
    EXPECT_NEAR(p.x, 0.210980189, 1e-8);
    EXPECT_NEAR(p.y, 0.061854565, 1e-8);
    // On a standard parallel the scale along it is true: a small step east is cos(lat) long.
    XY a = host::maps::albers({-100, 29.5}, us), b = host::maps::albers({-99.99, 29.5}, us);
    EXPECT_NEAR(std::hypot(b.x - a.x, b.y - a.y), 0.01 * M_PI / 180 * std::cos(29.5 * M_PI / 180),
                1e-9);
}

TEST(Projection, BothKeepAreas) {
    host::maps::AlbersParameters const us{-96, 37.5, 29.5, 45.5};
    auto albers = [&](LonLat p) { return host::maps::albers(p, us); };
    for (double lat : {-60.0, 0.0, 25.0, 48.0, 70.0}) {
        EXPECT_NEAR(cellArea(albers, -110, lat, 2) / sphereCell(lat, 2), 1, 1e-3) << lat;
        EXPECT_NEAR(cellArea(host::maps::equalEarth, 30, lat, 2) / sphereCell(lat, 2), 1, 1e-3)
            << lat;
    }
}

TEST(Projection, UnitedStatesPlacesAlaskaAndHawaiiBelowTheLowerStates) {
    host::maps::AlbersParameters const us{-96, 37.5, 29.5, 45.5};
    // The lower 48 are the plain conic.
    auto kansas = host::maps::albersUsa({-97.3, 37.7});
    ASSERT_TRUE(kansas);
    EXPECT_NEAR(kansas->x, host::maps::albers({-97.3, 37.7}, us).x, 1e-12);
    // The southernmost points of the lower 48 (Key West, the tip of Texas) stay above the insets.
    double const lowest =
        std::min(host::maps::albersUsa({-81.8, 24.55})->y, host::maps::albersUsa({-97.4, 25.9})->y);
    for (LonLat place : {LonLat{-149.9, 61.2}, LonLat{-157.8, 21.3}, LonLat{-155.5, 19.6},
                         LonLat{178.0, 51.8}, LonLat{-156.8, 71.3}}) {
        auto p = host::maps::albersUsa(place);
        ASSERT_TRUE(p) << place.lon;
        EXPECT_LT(p->x, -0.05) << place.lon;  // west of Texas
        EXPECT_LT(p->y, lowest + 0.06) << place.lon;
        EXPECT_GT(p->x, -0.40) << place.lon;
    }
    // The Aleutians west of the date line stay beside the rest of Alaska.
    EXPECT_NEAR(host::maps::albersUsa({178.0, 51.8})->x, host::maps::albersUsa({-170, 52.5})->x,
                0.05);
    EXPECT_FALSE(host::maps::albersUsa({2.35, 48.86}));  // Paris
    EXPECT_FALSE(host::maps::albersUsa({-99.1, 19.4}));  // Mexico City
    EXPECT_TRUE(host::maps::albersUsa({-66.1, 18.4}));   // San Juan
}

TEST(Projection, ARingAcrossTheDateLineIsCutIntoAPieceOnEitherSide) {
    host::maps::Ring island = {{170, 60}, {-170, 60}, {-170, 70}, {170, 70}, {170, 60}};
    auto pieces = host::maps::cutAtSeam(island, 0);
    ASSERT_EQ(pieces.size(), 2u);
    for (auto const& piece : pieces) {
        double lo = 400, hi = -400;
        for (auto const& p : piece) lo = std::min(lo, p.lon), hi = std::max(hi, p.lon);
        EXPECT_TRUE((lo == 170 && hi == 180) || (lo == -180 && hi == -170)) << lo << " " << hi;
    }
    // Centred on the date line, nothing is cut; a ring that goes round the pole stays whole.
    EXPECT_EQ(host::maps::cutAtSeam(island, 180).size(), 1u);
    host::maps::Ring polar = {{-180, -80}, {-90, -80}, {0, -80},   {90, -80},
                              {180, -80},  {180, -90}, {-180, -90}};
    EXPECT_EQ(host::maps::cutAtSeam(polar, 0).size(), 1u);
    EXPECT_EQ(host::maps::Projection{}.pieces(island).size(), 2u);
}

TEST(Projection, TheShippedMapsGetTheProjectionThatSuitsThem) {
    std::string error;
    auto states = host::maps::loadMap("UnitedStates", error);
    ASSERT_TRUE(states) << error;
    EXPECT_EQ(host::maps::suitedProjection(*states).kind, host::maps::ProjectionKind::AlbersUsa);
    auto world = host::maps::loadMap("World", error);
    ASSERT_TRUE(world) << error;
    EXPECT_EQ(host::maps::suitedProjection(*world).kind, host::maps::ProjectionKind::EqualEarth);
    host::maps::FeatureMap region;
    region.features.push_back({});
    region.features[0].polygons.push_back({{{{5, 45}, {15, 45}, {15, 55}, {5, 55}}}});
    auto fitted = host::maps::suitedProjection(region);
    EXPECT_EQ(fitted.kind, host::maps::ProjectionKind::Albers);
    EXPECT_NEAR(fitted.albers.lon0, 10, 1e-12);
    EXPECT_EQ(host::maps::projectionByName("Albers USA")->kind,
              host::maps::ProjectionKind::AlbersUsa);
    EXPECT_FALSE(host::maps::projectionByName("mercator"));
}

}  // namespace
