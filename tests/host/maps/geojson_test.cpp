// Reading GeoJSON, finding the shipped maps and joining rows to features by their keys.
#include <gtest/gtest.h>

#include <cmath>

#include "host/maps/geojson.h"
#include "host/maps/key_match.h"
#include "host/maps/map_library.h"

namespace {

using host::maps::readGeoJson;

constexpr char kShapes[] = R"({"type": "FeatureCollection", "features": [
  {"type": "Feature", "id": 7, "properties": {"name": "Ring Land", "pop": 12.5, "code": "06"},
   "geometry": {"type": "Polygon", "coordinates": [
     [[0,0],[10,0],[10,10],[0,10],[0,0]], [[4,4],[6,4],[6,6],[4,6],[4,4]]]}},
  {"type": "Feature", "properties": {"name": "Isles"},
   "geometry": {"type": "MultiPolygon", "coordinates": [
     [[[20,0],[21,0],[21,1],[20,0]]], [[[22,0],[23,0],[23,1],[22,0]]]]}},
  {"type": "Feature", "properties": {"name": "Nowhere"}, "geometry": null},
  {"type": "Feature", "properties": {"name": "Spot"}, "geometry": {"type": "Point", "coordinates": [5, 50]}}
]})";

TEST(GeoJson, ReadsPolygonsWithHolesMultiPolygonsAndPoints) {
    std::string error;
    auto map = readGeoJson(kShapes, error);
    ASSERT_TRUE(map) << error;
    ASSERT_EQ(map->features.size(), 4u);
    auto const& ring = map->features[0];
    EXPECT_EQ(ring.id, "7");
    EXPECT_EQ(ring.properties.at("pop"), "12.5");
    ASSERT_EQ(ring.polygons.size(), 1u);
    EXPECT_EQ(ring.polygons[0].rings.size(), 2u);  // the outline and its hole
    EXPECT_EQ(map->features[1].polygons.size(), 2u);
    EXPECT_TRUE(map->features[2].polygons.empty());
    EXPECT_EQ(map->features[3].points.size(), 1u);
    EXPECT_EQ(host::maps::featureKey(ring, ""), "Ring Land");
    EXPECT_EQ(host::maps::featureKey(ring, "CODE"), "06");
    EXPECT_EQ(host::maps::featureKey(ring, "id"), "7");
}

TEST(GeoJson, SaysWhatIsWrongWithABadText) {
    std::string error;
    EXPECT_FALSE(readGeoJson("{\"type\": ", error));
    EXPECT_EQ(error, "the text is not JSON");
    EXPECT_FALSE(readGeoJson("[1, 2]", error));
    EXPECT_EQ(error, "the JSON has no GeoJSON \"type\"");
    EXPECT_FALSE(readGeoJson(R"({"type": "FeatureCollection", "features": [
        {"type": "Feature", "geometry": {"type": "Polygon", "coordinates": [[[0,0],[1,0],[1,1]]]}},
        {"type": "Feature", "geometry": {"type": "Polygon", "coordinates": [[[0,0],["a",0]]]}}]})",
                             error));
    EXPECT_EQ(error, "feature 2 has a malformed geometry");
}

TEST(KeyMatch, NamesMatchWithoutRegardToCaseAndBlanksAndCodesByValue) {
    using host::maps::sameKey;
    EXPECT_TRUE(sameKey("New York", "newyork"));
    EXPECT_TRUE(sameKey("NEW  YORK ", "New York"));
    EXPECT_TRUE(sameKey("New\xC2\xA0York", "new york"));
    EXPECT_TRUE(sameKey("06", "6"));
    EXPECT_TRUE(sameKey("6.0", "6"));
    EXPECT_FALSE(sameKey("New York", "New-York"));
    EXPECT_FALSE(sameKey("6", "60"));
    EXPECT_FALSE(sameKey("", "0"));
}

TEST(KeyMatch, JoinsRowsToTheShippedStatesAndListsUnmatchedKeysOnce) {
    std::string error;
    auto states = host::maps::loadMap("united states", error);
    ASSERT_TRUE(states) << error;
    EXPECT_GE(states->features.size(), 52u);
    host::maps::KeyIndex byName(*states, "name");
    host::maps::Join join = host::maps::joinRows(
        *states, byName,
        {"california", "District of Columbia", "Atlantis", "TEXAS", "Atlantis", ""},
        {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(join.unmatched, (std::vector<std::string>{"Atlantis"}));
    int const ca = byName.find("California");
    ASSERT_GE(ca, 0);
    EXPECT_EQ(join.value[ca], 1);
    EXPECT_EQ(join.rows[byName.find("Texas")], 1);
    EXPECT_TRUE(std::isnan(join.value[byName.find("Ohio")]));
    // The states' numeric codes are their FIPS codes.
    host::maps::KeyIndex byCode(*states, "id");
    EXPECT_EQ(byCode.find("06"), ca);
}

TEST(MapLibrary, FindsShippedMapsByTheirNamesAndFilesByPath) {
    EXPECT_NE(host::maps::shippedMapPath("UnitedStates"), "");
    EXPECT_EQ(host::maps::shippedMapPath("usa"), host::maps::shippedMapPath("United States"));
    EXPECT_EQ(host::maps::shippedMapPath("World"),
              host::maps::shippedMapPath("worldcountries.geojson"));
    EXPECT_EQ(host::maps::shippedMapPath("Atlantis"), "");
    std::string error;
    auto world = host::maps::loadMap("World", error);
    ASSERT_TRUE(world) << error;
    host::maps::KeyIndex index(*world, "name");
    EXPECT_GE(index.find("France"), 0);
    EXPECT_GE(index.find("united states of america"), 0);
    EXPECT_FALSE(host::maps::loadMap("no/such/map.geojson", error));
    EXPECT_EQ(error, "map 'no/such/map.geojson' is neither a shipped map nor a readable file");
}

}  // namespace
