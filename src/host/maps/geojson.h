#pragma once
// Features of a GeoJSON text: polygons (with holes) in longitude and latitude, and the properties
// that name them.

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace host::maps {

struct LonLat {
    double lon = 0, lat = 0;
};

using Ring = std::vector<LonLat>;

// The first ring is the outline; the others are holes in it.
struct Polygon {
    std::vector<Ring> rings;
};

struct Feature {
    std::string id;                                 // the feature's "id", as text
    std::map<std::string, std::string> properties;  // strings and numbers, as text
    std::vector<Polygon> polygons;
    std::vector<LonLat> points;  // Point and MultiPoint geometries
};

struct FeatureMap {
    std::string name;
    std::vector<Feature> features;
};

// Reads a FeatureCollection, a single Feature or a bare geometry. Geometries other than polygons
// and points are passed over; a text that is no GeoJSON gives nothing, with `error` saying why.
std::optional<FeatureMap> readGeoJson(std::string const& text, std::string& error);

// The text a feature is known by: the property `key` (without regard to case), or its "name"
// property, its id when there is neither.
std::string featureKey(Feature const& feature, std::string const& key);

}  // namespace host::maps
