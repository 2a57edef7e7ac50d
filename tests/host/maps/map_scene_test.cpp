// Map charts drawn from GPL: the choropleth's colours and legend, features without data, keys
// that match nothing, points at longitude and latitude, holes in the SVG.
#include <gtest/gtest.h>

#include <algorithm>

#include "host/chart/render/renderers.h"
#include "support/scene_rows.h"

namespace {

using test::fill;

// Three squares side by side in Europe, the middle one with a hole.
constexpr char kSquares[] = R"({"type": "FeatureCollection", "features": [
  {"type": "Feature", "properties": {"name": "West"},
   "geometry": {"type": "Polygon", "coordinates": [[[0,45],[2,45],[2,47],[0,47],[0,45]]]}},
  {"type": "Feature", "properties": {"name": "Middle Land"},
   "geometry": {"type": "Polygon", "coordinates": [[[3,45],[5,45],[5,47],[3,47],[3,45]],
                                                    [[3.5,45.5],[4.5,45.5],[4.5,46.5],[3.5,46.5],[3.5,45.5]]]}},
  {"type": "Feature", "properties": {"name": "East"},
   "geometry": {"type": "Polygon", "coordinates": [[[6,45],[8,45],[8,47],[6,47],[6,45]]]}}]})";

std::string const kHead =
    "SOURCE: s=userSource(id(\"graphdataset\"))\n"
    "DATA: region=col(source(s), name(\"region\"), unit.category())\n"
    "DATA: v=col(source(s), name(\"v\"))\n";

// The map feature of a key, whatever its role; a mark with no points when there is none.
test::Mark feature(host::chart::Scene const& s, std::string const& name) {
    for (char const* role : {"feature", "feature-no-data", "reference"})
        for (auto const& m : test::marks(s, role))
            if (m.category == name)
                return m;
    return {};
}

std::string roleOf(host::chart::Scene const& s, std::string const& name) {
    for (char const* role : {"feature", "feature-no-data", "reference"})
        for (auto const& m : test::marks(s, role))
            if (m.category == name)
                return role;
    return "";
}

double lightness(host::chart::Color const& c) {
    return c.r + c.g + c.b;
}

TEST(MapScene, ChoroplethColoursByValueAndGreysFeaturesWithoutData) {
    XDocument doc(kHead +
                      "SOURCE: m=mapSource(vizMap(), key(\"name\"), showAllFeatures())\n"
                      "ELEMENT: polygon(position(feature(region)), color.interior(v))",
                  true, true);
    doc.setVIZMap("squares", kSquares);
    VarDataProcessor vdp;
    fill(vdp, "graphdataset", {"region", "v"},
         {{"west", 10.0}, {"MIDDLE LAND", 30.0}, {"Atlantis", 5.0}});
    auto s = test::scene(doc, &vdp);
    auto const west = feature(s, "West");
    auto const middle = feature(s, "Middle Land");
    auto const east = feature(s, "East");
    ASSERT_FALSE(west.points.empty() || middle.points.empty() || east.points.empty());
    EXPECT_EQ(roleOf(s, "West"), "feature");
    EXPECT_EQ(west.value, 10);
    EXPECT_GT(lightness(west.fill), lightness(middle.fill));  // more is darker
    EXPECT_EQ(roleOf(s, "East"), "feature-no-data");
    EXPECT_EQ(east.fill.hex(), "#D4D4D4");
    // The hole is a second ring of the middle feature: one ring start beyond the marks' own.
    std::size_t rings = 0;
    for (auto const& b : s.batches) rings += b.rings.size();
    EXPECT_EQ(rings, 1u);
    // West lies left of East on the page.
    EXPECT_LT(west.points[0].x, east.points[0].x);
    ASSERT_EQ(s.warnings.size(), 1u);
    EXPECT_EQ(s.warnings[0],
              "line 5: 1 key of 'region' matches no feature of map 'squares' by 'name': Atlantis");
    // The legend: a gradient from 10 to 30 with its ticks, and a swatch for no data.
    EXPECT_FALSE(test::marks(s, "legend-gradient").empty());
    auto const labels = test::texts(s, "legend-label");
    EXPECT_NE(std::find(labels.begin(), labels.end(), "10"), labels.end());
    EXPECT_NE(std::find(labels.begin(), labels.end(), "30"), labels.end());
    EXPECT_EQ(labels.back(), "No data");

    std::string const svg = host::chart::writeSvg(s);
    EXPECT_NE(svg.find("fill-rule=\"evenodd\""), std::string::npos);
}

TEST(MapScene, WithoutShowAllFeaturesOnlyFeaturesWithDataAreDrawn) {
    XDocument doc(
        kHead +
            "SOURCE: m=mapSource(vizMap(), key(\"name\"))\n"
            "ELEMENT: polygon(position(feature(region)), color.interior(summary.mean(v)))",
        true, true);
    doc.setVIZMap("squares", kSquares);
    VarDataProcessor vdp;
    // Cases, not summaries: the map takes the mean of each feature's rows.
    fill(vdp, "graphdataset", {"region", "v"}, {{"East", 2.0}, {"East", 4.0}, {"West", 9.0}});
    auto s = test::scene(doc, &vdp);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
    EXPECT_EQ(feature(s, "East").value, 3);
    EXPECT_EQ(feature(s, "West").value, 9);
    EXPECT_EQ(roleOf(s, "Middle Land"), "");
}

TEST(MapScene, SummariesOfAWeightedSourceCountEachCaseByItsWeight) {
    std::string const gpl =
        "SOURCE: s=userSource(id(\"graphdataset\"), weight(w))\n"
        "DATA: region=col(source(s), name(\"region\"), unit.category())\n"
        "DATA: v=col(source(s), name(\"v\"))\n"
        "DATA: w=col(source(s), name(\"w\"))\n"
        "SOURCE: m=mapSource(vizMap())\n";
    VarDataProcessor vdp;
    fill(vdp, "graphdataset", {"region", "v", "w"},
         {{"East", 2.0, 1.0}, {"East", 4.0, 3.0}, {"West", 9.0, 0.0}});
    XDocument mean(
        gpl + "ELEMENT: polygon(position(feature(region)), color.interior(summary.mean(v)))", true,
        true);
    mean.setVIZMap("squares", kSquares);
    auto s = test::scene(mean, &vdp);
    EXPECT_EQ(feature(s, "East").value, 3.5);
    EXPECT_EQ(roleOf(s, "West"), "");  // its one case weighs nothing
    XDocument count(
        gpl + "ELEMENT: polygon(position(feature(region)), color.interior(summary.count()))", true,
        true);
    count.setVIZMap("squares", kSquares);
    EXPECT_EQ(feature(test::scene(count, &vdp), "East").value, 4);
}

TEST(MapScene, CategoriesGetThePaletteAndPointsLieOnTheMap) {
    XDocument doc(kHead +
                      "DATA: kind=col(source(s), name(\"kind\"), unit.category())\n"
                      "DATA: lon=col(source(s), name(\"lon\"))\n"
                      "DATA: lat=col(source(s), name(\"lat\"))\n"
                      "SOURCE: m=mapSource(vizMap(), showAllFeatures(\"no\"))\n"
                      "ELEMENT: polygon(position(feature(region)), color.interior(kind))\n"
                      "ELEMENT: point(position(lon*lat), size(size.\"10px\"))\n"
                      "GUIDE: text.title(label(\"Kinds\"))",
                  true, true);
    doc.setVIZMap("squares", kSquares);
    VarDataProcessor vdp;
    fill(vdp, "graphdataset", {"region", "v", "kind", "lon", "lat"},
         {{"West", 1.0, "a", 1.0, 46.0},
          {"East", 1.0, "b", 7.0, 46.0},
          {"Middle Land", 1.0, "a", 400.0, 46.0}});
    auto s = test::scene(doc, &vdp);
    EXPECT_EQ(feature(s, "West").fill.hex(), feature(s, "Middle Land").fill.hex());
    EXPECT_NE(feature(s, "West").fill.hex(), feature(s, "East").fill.hex());
    EXPECT_EQ(test::marks(s, "legend-swatch").size(), 2u);
    auto const points = test::marks(s, "point");
    ASSERT_EQ(points.size(), 2u);  // the third lies off the globe
    // The first point is inside the West square.
    auto const west = feature(s, "West");
    double x0 = 1e9, x1 = -1e9;
    for (auto const& p : west.points) x0 = std::min(x0, p.x), x1 = std::max(x1, p.x);
    EXPECT_EQ(points[0].w, 5);  // the first mark's radius too
    EXPECT_EQ(points[1].w, 5);
    EXPECT_GT(points[0].x, x0);
    EXPECT_LT(points[0].x, x1);
    EXPECT_EQ(test::texts(s, "title"), (std::vector<std::string>{"Kinds"}));
    EXPECT_EQ(
        s.warnings,
        (std::vector<std::string>{"line 9: 1 point outside longitude and latitude left out"}));
}

TEST(MapScene, AMapThatCannotBeFoundIsReported) {
    XDocument doc(kHead +
                      "SOURCE: m=mapSource(map(\"Atlantis\"))\n"
                      "ELEMENT: polygon(position(feature(region)), color.interior(v))",
                  true, true);
    VarDataProcessor vdp;
    fill(vdp, "graphdataset", {"region", "v"}, {{"x", 1.0}});
    auto s = test::scene(doc, &vdp);
    ASSERT_GE(s.warnings.size(), 1u);
    EXPECT_EQ(
        s.warnings[0],
        "line 4: map 'Atlantis' is neither a shipped map nor a readable file; it is not drawn");
}

}  // namespace
