#pragma once
// Map projections: longitude and latitude in degrees to plane coordinates on the unit sphere
// (x east, y north). The engine scales the result to the plot.

#include <optional>
#include <string>
#include <vector>

#include "host/maps/geojson.h"

namespace host::maps {

struct XY {
    double x = 0, y = 0;
};

struct AlbersParameters {
    double lon0 = 0, lat0 = 0;  // the centre of the map
    double lat1 = 0, lat2 = 0;  // the two standard parallels
};

// Albers' conic equal-area projection.
XY albers(LonLat p, AlbersParameters const& a);

// The Equal Earth projection: equal-area, for maps of the whole world.
XY equalEarth(LonLat p);

// The United States: the states below Canada in an Albers projection, with Alaska (at 0.35 of its
// size), Hawaii, and Puerto Rico with the Virgin Islands as insets below the south-west and the
// south-east. Places outside
// these regions have no position.
std::optional<XY> albersUsa(LonLat p);

enum class ProjectionKind { EqualEarth, AlbersUsa, Albers, Equirectangular };

struct Projection {
    ProjectionKind kind = ProjectionKind::EqualEarth;
    AlbersParameters albers;  // for ProjectionKind::Albers
    std::optional<XY> operator()(LonLat p) const;
    // The rings of a shape as this projection draws them: a ring that crosses the meridian
    // opposite the map's centre is cut there into pieces on either side.
    std::vector<Ring> pieces(Ring const& ring) const;
};

// Cuts a ring where it crosses the meridian opposite `lon0`; a ring that crosses it not at all,
// or that goes once around the pole, comes back whole.
std::vector<Ring> cutAtSeam(Ring const& ring, double lon0);

// A projection by its GPL or JSON chart name ("equalEarth", "albersUsa", "albers",
// "equirectangular", without regard to case); nothing for an unknown name.
std::optional<Projection> projectionByName(std::string const& name);

// The projection that suits a map: the United States composite when nearly all of the map lies
// in the United States, an Albers projection fitted to the map for a smaller region, and Equal
// Earth for the world.
Projection suitedProjection(FeatureMap const& map);

}  // namespace host::maps
