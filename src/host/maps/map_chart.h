#pragma once
// Charts over maps: a GPL program with a mapSource draws the features of a GeoJSON map in a
// projection that suits it, coloured by the rows joined to them through the map key
// (a choropleth), with points at longitude and latitude on top.
//
//   SOURCE: m = mapSource(vizMap(), key("name"), showAllFeatures())
//   DATA: state = col(source(s), name("state"), unit.category())
//   ELEMENT: polygon(position(feature(state)), color.interior(summary.mean(income)))
//   ELEMENT: point(position(lon*lat))
//
// The map of a mapSource is the document's data map (vizMap()), its reference map
// (vizRefMap(), drawn grey behind), a shipped map (map("UnitedStates")) or a file
// (file("my.geojson")).

#include "host/chart/chart_model.h"
#include "host/chart/layout/text_metrics.h"
#include "host/chart/scene/scene.h"

class VarDataProcessor;

namespace host::maps {

// True when the program declares a mapSource.
bool drawsMap(chart::ChartModel const& model);

chart::Scene buildMapScene(chart::ChartModel const& model, VarDataProcessor const* data,
                           chart::TextMeasurer const& measurer);

}  // namespace host::maps
