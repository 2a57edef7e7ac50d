// Points: circles, or markers of a shape, one batch per shape with the colours per point.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/chart/frame/frame.h"
#include "host/chart/geometry/elements.h"

namespace host::chart {

namespace {

constexpr MarkerShape kShapeCycle[] = {MarkerShape::Circle, MarkerShape::Square,
                                       MarkerShape::Triangle, MarkerShape::Diamond,
                                       MarkerShape::Cross};

MarkerShape shapeNamed(std::string const& name) {
    if (name == "square")
        return MarkerShape::Square;
    if (name == "triangle")
        return MarkerShape::Triangle;
    if (name == "diamond")
        return MarkerShape::Diamond;
    if (name == "cross")
        return MarkerShape::Cross;
    return MarkerShape::Circle;
}

// A point's size is its diameter: a bare number or px in pixels, a percentage a share of the
// plot's smaller side, other units as for any length.
double pointDiameter(gpl::Node const& n, Rect const& plot) {
    double side = std::max(1.0, std::min(plot.w, plot.h));
    std::string unit;
    double number = 0;
    if (n.kind == gpl::Node::Kind::Constant) {
        char* end = nullptr;
        number = std::strtod(n.value.c_str(), &end);
        unit = end ? std::string(end) : "";
    } else if (n.kind == gpl::Node::Kind::Number) {
        number = n.number;
        unit = n.value;
    } else {
        return 8;
    }
    double px = unit.empty() || unit == "px" ? number
                : unit == "%"                ? number / 100 * side
                                             : sizeValue(n, side, 8);
    return std::isfinite(px) ? std::clamp(px, 1.0, side) : 8;
}

}  // namespace

void drawPoints(ElementDraw& d) {
    ElementSpec const& el = d.el;
    PanelGeometry const& g = d.g;
    double radius = 4;
    if (el.size && !el.size->args.empty())
        radius = pointDiameter(el.size->args[0], g.plot) / 2;
    MarkerShape fixedShape = MarkerShape::Circle;
    if (el.shape && !el.shape->args.empty() &&
        el.shape->args[0].name.find('.') != std::string::npos)
        fixedShape = shapeNamed(el.shape->args[0].key().substr(6));
    // One batch per shape, made as the shape is first met.
    std::size_t batches[std::size(kShapeCycle)];
    std::fill(std::begin(batches), std::end(batches), SIZE_MAX);
    Scene& scene = d.dc.scene;
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        if (m.y == kSysmis)
            continue;
        // A value beyond the scale's limits is not drawn over the neighbouring plots.
        double c = g.catPos(d.layer, m), v = g.valuePos(m.y);
        double lo = g.tr ? g.plot.x : g.plot.y, hi = lo + (g.tr ? g.plot.w : g.plot.h);
        if (v < lo - 0.5 || v > hi + 0.5)
            continue;
        MarkerShape shape = fixedShape;
        if (m.shape >= 0)
            shape = kShapeCycle[std::size_t(std::max(0, d.layer.shape.at(m.shape))) %
                                std::size(kShapeCycle)];
        std::size_t& index = batches[std::size_t(shape)];
        if (index == SIZE_MAX) {
            index = scene.batches.size();
            Batch& b = scene.batches.emplace_back();
            b.kind = shape == MarkerShape::Circle ? MarkKind::Circle : MarkKind::Marker;
            b.role = Role::Point;
            b.style.shape = shape;
            b.style.size = radius;
            b.style.fill = d.colorOf(m);
            b.reserve(d.rows.size());
        }
        Batch& b = scene.batches[index];
        b.addCircle(g.tr ? v : c, g.tr ? c : v,
                    d.layer.sizeScale ? sizeRadius(*d.dc.layers, m.sval) : radius);
        b.setFill(d.colorOf(m));
        b.setMeaning(d.categoryKey(m), d.colorKey(m), m.y);
    }
}

}  // namespace host::chart
