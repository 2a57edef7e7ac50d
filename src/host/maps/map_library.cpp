#include "host/maps/map_library.h"

#include <filesystem>

#include "host/files/file_io.h"
#include "host/maps/key_match.h"

#ifndef GGRAPH_MAP_DIR
#define GGRAPH_MAP_DIR "share/maps"
#endif

namespace host::maps {

std::vector<ShippedMap> const& shippedMaps() {
    static std::vector<ShippedMap> const maps = {
        {"united-states.geojson",
         {"UnitedStates", "United States", "USA", "US", "US States", "United States of America",
          "States"}},
        {"world-countries.geojson", {"World", "WorldCountries", "World Countries", "Countries"}},
    };
    return maps;
}

std::string shippedMapPath(std::string const& name) {
    std::string wanted = name;
    // "UnitedStates.geojson" names the map as well as "UnitedStates".
    for (char const* suffix : {".geojson", ".json"}) {
        std::string const s = suffix;
        if (wanted.size() > s.size() && sameKey(wanted.substr(wanted.size() - s.size()), s))
            wanted.resize(wanted.size() - s.size());
    }
    for (auto const& map : shippedMaps())
        for (char const* n : map.names)
            if (sameKey(n, wanted))
                return (std::filesystem::path(GGRAPH_MAP_DIR) / map.file).string();
    return {};
}

std::string mapText(std::string const& nameOrPath) {
    std::string const shipped = shippedMapPath(nameOrPath);
    if (!shipped.empty()) {
        auto read = files::readFile(shipped);
        if (read.ok)
            return read.bytes;
    }
    auto read = files::readFile(files::resolve(nameOrPath));
    return read.ok ? read.bytes : std::string();
}

std::optional<FeatureMap> loadMap(std::string const& nameOrPath, std::string& error) {
    std::string const text = mapText(nameOrPath);
    if (text.empty()) {
        error = "map '" + nameOrPath + "' is neither a shipped map nor a readable file";
        return std::nullopt;
    }
    auto map = readGeoJson(text, error);
    if (!map)
        error = "map '" + nameOrPath + "': " + error;
    return map;
}

}  // namespace host::maps
