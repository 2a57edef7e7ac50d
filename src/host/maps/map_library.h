#pragma once
// The host's map library: the shipped GeoJSON maps found by name, and a user's own GeoJSON file
// by path.

#include <optional>
#include <string>
#include <vector>

#include "host/maps/geojson.h"

namespace host::maps {

struct ShippedMap {
    char const* file;                // in the map folder
    std::vector<char const*> names;  // the names it is found by
};

std::vector<ShippedMap> const& shippedMaps();

// The path of a shipped map for a name ("UnitedStates", "World", ... without regard to case and
// blanks); empty when no shipped map has that name.
std::string shippedMapPath(std::string const& name);

// The text of a map: a shipped map by name, or else the file at that path (relative names from
// the job's folder). Empty when neither can be read.
std::string mapText(std::string const& nameOrPath);

// The map read from mapText; nothing with `error` saying why.
std::optional<FeatureMap> loadMap(std::string const& nameOrPath, std::string& error);

}  // namespace host::maps
