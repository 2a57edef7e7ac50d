#include "host/maps/geojson.h"

#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/maps/key_match.h"

namespace host::maps {
namespace {

using nlohmann::json;

std::string scalarText(json const& v) {
    if (v.is_string())
        return v.get<std::string>();
    if (v.is_number_integer())
        return std::to_string(v.get<long long>());
    if (v.is_number())
        return fmt::format("{:g}", v.get<double>());
    if (v.is_boolean())
        return v.get<bool>() ? "true" : "false";
    return {};
}

bool readPosition(json const& p, LonLat& out) {
    if (!p.is_array() || p.size() < 2 || !p[0].is_number() || !p[1].is_number())
        return false;
    out = {p[0].get<double>(), p[1].get<double>()};
    return std::isfinite(out.lon) && std::isfinite(out.lat);
}

bool readRing(json const& r, Ring& ring) {
    if (!r.is_array())
        return false;
    for (auto const& p : r) {
        LonLat ll;
        if (!readPosition(p, ll))
            return false;
        ring.push_back(ll);
    }
    return true;
}

bool readPolygon(json const& coords, Polygon& polygon) {
    if (!coords.is_array())
        return false;
    for (auto const& r : coords) {
        Ring ring;
        if (!readRing(r, ring))
            return false;
        if (ring.size() >= 3)
            polygon.rings.push_back(std::move(ring));
    }
    return true;
}

// Adds a geometry's shapes to the feature; false when its coordinates are malformed.
bool readGeometry(json const& g, Feature& feature, int depth = 0) {
    if (g.is_null())
        return true;  // a feature without a place is allowed
    if (!g.is_object() || !g.contains("type") || depth > 8)
        return false;
    std::string const type = g["type"].is_string() ? g["type"].get<std::string>() : "";
    if (type == "GeometryCollection") {
        if (!g.contains("geometries") || !g["geometries"].is_array())
            return false;
        for (auto const& part : g["geometries"])
            if (!readGeometry(part, feature, depth + 1))
                return false;
        return true;
    }
    if (!g.contains("coordinates"))
        return false;
    json const& c = g["coordinates"];
    if (type == "Polygon") {
        Polygon polygon;
        if (!readPolygon(c, polygon))
            return false;
        if (!polygon.rings.empty())
            feature.polygons.push_back(std::move(polygon));
        return true;
    }
    if (type == "MultiPolygon") {
        if (!c.is_array())
            return false;
        for (auto const& part : c) {
            Polygon polygon;
            if (!readPolygon(part, polygon))
                return false;
            if (!polygon.rings.empty())
                feature.polygons.push_back(std::move(polygon));
        }
        return true;
    }
    if (type == "Point") {
        LonLat ll;
        if (!readPosition(c, ll))
            return false;
        feature.points.push_back(ll);
        return true;
    }
    if (type == "MultiPoint")
        return readRing(c, feature.points);
    // Lines have no area to colour; they are not drawn.
    return type == "LineString" || type == "MultiLineString";
}

bool readFeature(json const& f, Feature& feature) {
    if (f.contains("id"))
        feature.id = scalarText(f["id"]);
    if (f.contains("properties") && f["properties"].is_object())
        for (auto const& [name, value] : f["properties"].items())
            if (!value.is_object() && !value.is_array() && !value.is_null())
                feature.properties[name] = scalarText(value);
    return !f.contains("geometry") || readGeometry(f["geometry"], feature);
}

}  // namespace

std::optional<FeatureMap> readGeoJson(std::string const& text, std::string& error) {
    json doc = json::parse(text, nullptr, false);
    if (doc.is_discarded()) {
        error = "the text is not JSON";
        return std::nullopt;
    }
    if (!doc.is_object() || !doc.contains("type") || !doc["type"].is_string()) {
        error = "the JSON has no GeoJSON \"type\"";
        return std::nullopt;
    }
    FeatureMap map;
    if (doc.contains("name") && doc["name"].is_string())
        map.name = doc["name"].get<std::string>();
    std::string const type = doc["type"].get<std::string>();
    if (type == "FeatureCollection") {
        if (!doc.contains("features") || !doc["features"].is_array()) {
            error = "the FeatureCollection has no \"features\" list";
            return std::nullopt;
        }
        std::size_t index = 0;
        for (auto const& f : doc["features"]) {
            Feature feature;
            if (!f.is_object() || !readFeature(f, feature)) {
                error = fmt::format("feature {} has a malformed geometry", index + 1);
                return std::nullopt;
            }
            map.features.push_back(std::move(feature));
            ++index;
        }
    } else {
        Feature feature;
        bool ok = type == "Feature" ? readFeature(doc, feature) : readGeometry(doc, feature);
        if (!ok) {
            error = fmt::format("the {} has a malformed geometry", type);
            return std::nullopt;
        }
        map.features.push_back(std::move(feature));
    }
    return map;
}

std::string featureKey(Feature const& feature, std::string const& key) {
    auto find = [&](std::string const& name) -> std::string const* {
        for (auto const& [k, v] : feature.properties)
            if (sameKey(k, name))
                return &v;
        return nullptr;
    };
    if (!key.empty())
        if (auto const* v = find(key))
            return *v;
    if (!key.empty() && sameKey(key, "id") && !feature.id.empty())
        return feature.id;
    if (auto const* v = find("name"))
        return *v;
    return feature.id;
}

}  // namespace host::maps
