#pragma once
// JSON charts (a Vega-Lite subset) translated into the engine's own terms: a GPL
// program and the rows it draws. Marks bar, line, area, point, rect, arc and geoshape; encodings
// x, y, color, size, shape and theta with aggregate, bin and timeUnit; inline data.values and
// data.url to a CSV or JSON file; layers. What the subset does not cover is named in a warning.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

class VarDataProcessor;

namespace host::vizjson {

// The row source the translation fills and its GPL names.
constexpr char kRowSource[] = "jsonchart";

struct Translation {
    std::string gpl;  // empty when nothing can be drawn
    std::unique_ptr<VarDataProcessor> rows;
    std::vector<std::pair<std::string, std::string>> maps;  // name and GeoJSON text, for vizMap
    std::vector<std::string> warnings;
    std::string description;  // the JSON chart's title
};

// `geoJson` are the GeoJSON texts that the geoshape layers take, in order, in place of their
// own data. Relative data URLs are read from `folder`.
Translation translate(nlohmann::json const& spec, std::string const& folder,
                      std::vector<std::pair<std::string, std::string>> const& geoJson = {});

Translation translateText(std::string const& text, std::string const& folder,
                          std::vector<std::pair<std::string, std::string>> const& geoJson = {});

}  // namespace host::vizjson
