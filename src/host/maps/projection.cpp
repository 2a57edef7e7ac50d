#include "host/maps/projection.h"

#include <algorithm>
#include <cmath>

#include "host/maps/key_match.h"

namespace host::maps {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRad = kPi / 180;

// A longitude difference folded into [-180, 180], so that the Aleutians west of the date line
// stay beside the rest of Alaska; both edges of the world stay where they are.
double lonDelta(double lon, double lon0) {
    double d = std::fmod(lon - lon0, 360);
    if (d > 180)
        d -= 360;
    else if (d < -180)
        d += 360;
    return d;
}

struct Inset {
    AlbersParameters albers;
    double scale;
    XY from, to;  // the inset's own centre and where it is placed
};

// Alaska and Hawaii below the south-west, Puerto Rico and the Virgin Islands beyond Florida; placed
// so that no inset meets the lower 48 states (their projected extent is about x -0.35..0.35, y
// -0.21..0.25).
Inset const kLower48{{-96, 37.5, 29.5, 45.5}, 1, {0, 0}, {0, 0}};
Inset const kAlaska{{-154, 50, 55, 65}, 0.35, {-0.05, 0.225}, {-0.25, -0.21}};
Inset const kHawaii{{-157, 20, 8, 18}, 1, {-0.008, 0.015}, {-0.11, -0.235}};
Inset const kPuertoRico{{-66.4, 18.2, 8, 18}, 1.5, {0.0075, -0.003}, {0.33, -0.20}};

XY place(LonLat p, Inset const& inset) {
    XY q = albers(p, inset.albers);
    return {inset.scale * (q.x - inset.from.x) + inset.to.x,
            inset.scale * (q.y - inset.from.y) + inset.to.y};
}

}  // namespace

XY albers(LonLat p, AlbersParameters const& a) {
    double const phi1 = a.lat1 * kRad, phi2 = a.lat2 * kRad;
    double const n = (std::sin(phi1) + std::sin(phi2)) / 2;
    double const c = std::cos(phi1) * std::cos(phi1) + 2 * n * std::sin(phi1);
    double const rho = std::sqrt(std::max(0.0, c - 2 * n * std::sin(p.lat * kRad))) / n;
    double const rho0 = std::sqrt(std::max(0.0, c - 2 * n * std::sin(a.lat0 * kRad))) / n;
    double const theta = n * lonDelta(p.lon, a.lon0) * kRad;
    return {rho * std::sin(theta), rho0 - rho * std::cos(theta)};
}

XY equalEarth(LonLat p) {
    constexpr double a1 = 1.340264, a2 = -0.081106, a3 = 0.000893, a4 = 0.003796;
    double const lambda = lonDelta(p.lon, 0) * kRad;
    double const theta = std::asin(std::sqrt(3.0) / 2 * std::sin(p.lat * kRad));
    double const t2 = theta * theta, t6 = t2 * t2 * t2;
    double const x = 2 * std::sqrt(3.0) * lambda * std::cos(theta) /
                     (3 * (9 * a4 * t6 * t2 + 7 * a3 * t6 + 3 * a2 * t2 + a1));
    double const y = theta * (a4 * t6 * t2 + a3 * t6 + a2 * t2 + a1);
    return {x, y};
}

std::optional<XY> albersUsa(LonLat p) {
    double const lon = p.lon, lat = p.lat;
    if (lat > 50 && (lon < -129 || lon > 170))
        return place(p, kAlaska);
    if (lat > 18 && lat < 23 && lon > -161 && lon < -154)
        return place(p, kHawaii);
    if (lat > 17.5 && lat < 18.8 && lon > -68 && lon < -64.4)
        return place(p, kPuertoRico);  // with the Virgin Islands
    if (lat > 24 && lat < 50 && lon > -125.5 && lon < -66)
        return place(p, kLower48);
    return std::nullopt;
}

std::optional<XY> Projection::operator()(LonLat p) const {
    switch (kind) {
        case ProjectionKind::EqualEarth:
            return equalEarth(p);
        case ProjectionKind::AlbersUsa:
            return albersUsa(p);
        case ProjectionKind::Albers:
            return maps::albers(p, this->albers);
        case ProjectionKind::Equirectangular:
            return XY{lonDelta(p.lon, albers.lon0) * kRad * std::cos(albers.lat0 * kRad),
                      p.lat * kRad};
    }
    return std::nullopt;
}

std::vector<Ring> cutAtSeam(Ring const& ring, double lon0) {
    if (ring.size() < 3)
        return {ring};
    // Longitudes made continuous along the ring, relative to the centre.
    std::vector<double> u(ring.size());
    u[0] = lonDelta(ring[0].lon, lon0);
    double lo = u[0], hi = u[0];
    for (std::size_t i = 1; i < ring.size(); ++i) {
        u[i] = u[i - 1] + lonDelta(ring[i].lon, ring[i - 1].lon);
        lo = std::min(lo, u[i]), hi = std::max(hi, u[i]);
    }
    if ((lo >= -180 && hi <= 180) || std::fabs(u.back() - u.front()) > 180)
        return {ring};
    // Clip to each 360-degree band the ring reaches and move the piece back into the world.
    std::vector<Ring> out;
    for (int band = static_cast<int>(std::floor((lo + 180) / 360));
         band <= static_cast<int>(std::floor((hi + 180) / 360)); ++band) {
        double const left = band * 360.0 - 180, right = left + 360;
        auto clip = [&](std::vector<std::pair<double, double>> const& in, double edge,
                        bool keepBelow) {
            std::vector<std::pair<double, double>> kept;
            for (std::size_t i = 0; i < in.size(); ++i) {
                auto a = in[i], b = in[(i + 1) % in.size()];
                bool const ina = keepBelow ? a.first <= edge : a.first >= edge;
                bool const inb = keepBelow ? b.first <= edge : b.first >= edge;
                if (ina)
                    kept.push_back(a);
                if (ina != inb) {
                    double const t = (edge - a.first) / (b.first - a.first);
                    kept.push_back({edge, a.second + t * (b.second - a.second)});
                }
            }
            return kept;
        };
        std::vector<std::pair<double, double>> piece;
        for (std::size_t i = 0; i < ring.size(); ++i) piece.push_back({u[i], ring[i].lat});
        piece = clip(clip(piece, left, false), right, true);
        if (piece.size() < 3)
            continue;
        Ring r;
        for (auto const& [x, lat] : piece) r.push_back({lon0 + x - band * 360.0, lat});
        out.push_back(std::move(r));
    }
    return out;
}

std::vector<Ring> Projection::pieces(Ring const& ring) const {
    switch (kind) {
        case ProjectionKind::AlbersUsa:
            return {ring};  // each inset has its own centre
        case ProjectionKind::EqualEarth:
            return cutAtSeam(ring, 0);
        case ProjectionKind::Albers:
        case ProjectionKind::Equirectangular:
            return cutAtSeam(ring, albers.lon0);
    }
    return {ring};
}

std::optional<Projection> projectionByName(std::string const& name) {
    std::string const n = normalizeKey(name);
    Projection p;
    if (n == "equalearth")
        p.kind = ProjectionKind::EqualEarth;
    else if (n == "albersusa")
        p.kind = ProjectionKind::AlbersUsa;
    else if (n == "albers" || n == "conicequalarea")
        p.kind = ProjectionKind::Albers, p.albers = kLower48.albers;
    else if (n == "equirectangular" || n == "platecarree")
        p.kind = ProjectionKind::Equirectangular;
    else
        return std::nullopt;
    return p;
}

Projection suitedProjection(FeatureMap const& map) {
    double lonMin = 180, lonMax = -180, latMin = 90, latMax = -90;
    std::size_t points = 0, american = 0;
    auto see = [&](LonLat const& p) {
        ++points;
        american += albersUsa(p).has_value();
        lonMin = std::min(lonMin, p.lon), lonMax = std::max(lonMax, p.lon);
        latMin = std::min(latMin, p.lat), latMax = std::max(latMax, p.lat);
    };
    for (auto const& f : map.features) {
        for (auto const& polygon : f.polygons)
            for (auto const& p : polygon.rings.front()) see(p);
        for (auto const& p : f.points) see(p);
    }
    Projection projection;
    if (points == 0)
        return projection;
    // Nearly all inside the composite's regions, and reaching beyond the lower 48.
    bool const insets = lonMin < -129 || lonMax > 170;
    if (american >= 0.98 * static_cast<double>(points) && insets) {
        projection.kind = ProjectionKind::AlbersUsa;
        return projection;
    }
    double const lonSpan = lonMax - lonMin, latSpan = latMax - latMin;
    if (lonSpan < 90 && latSpan < 60) {
        // A region: a conic fitted to it, standard parallels at a sixth from either edge.
        projection.kind = ProjectionKind::Albers;
        double const lat0 = (latMin + latMax) / 2;
        projection.albers = {(lonMin + lonMax) / 2, lat0, latMin + latSpan / 6,
                             latMax - latSpan / 6};
        // Near the equator a conic degenerates; a plain grid scaled at the centre serves.
        if (std::fabs(projection.albers.lat1 + projection.albers.lat2) < 1e-6)
            projection.kind = ProjectionKind::Equirectangular;
    }
    return projection;
}

}  // namespace host::maps
