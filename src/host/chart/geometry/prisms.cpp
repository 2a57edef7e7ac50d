// Bars in three dimensions: a box per cell of the two categorical dimensions, its front in the
// bar's colour, its top lighter and its right side darker, as if lit from the upper left.

#include <algorithm>

#include "host/chart/frame/frame.h"
#include "host/chart/geometry/oblique.h"

namespace host::chart {

namespace {

const Color kBarEdge{0.25, 0.25, 0.25, 1};

Color shaded(Color c, double by) {
    auto f = [&](double v) { return by > 0 ? v + (1 - v) * by : v * (1 + by); };
    return {f(c.r), f(c.g), f(c.b), c.a};
}

}  // namespace

void drawPrisms(ElementDraw& d) {
    Oblique const& box = *d.g.deep;
    Scales const& s = d.dc.scales;
    Scene& scene = d.dc.scene;
    double nx = double(std::max<std::size_t>(1, s.x.size()));
    double nz = double(std::max<std::size_t>(1, s.z.size()));
    double base = s.yLin.map(d.g.baseValue(), 0, 1);
    Style edge;
    edge.stroke = kBarEdge;
    edge.strokeWidth = 0.5;
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        std::int32_t xi = d.layer.x.at(m.x), zi = d.layer.depth.at(std::int32_t(m.z));
        if (m.y == kSysmis || xi < 0 || zi < 0)
            continue;
        // The bar fills the middle of its cell, 60% across and deep, so that the rows behind
        // show between the bars in front.
        double u0 = (xi + 0.2) / nx, u1 = (xi + 0.8) / nx;
        double t0 = (zi + 0.2) / nz, t1 = (zi + 0.8) / nz;
        double v0 = std::clamp(m.ranged ? s.yLin.map(m.y0, 0, 1) : base, 0.0, 1.0);
        double v1 = std::clamp(s.yLin.map(m.y, 0, 1), 0.0, 1.0);
        double lo = std::min(v0, v1), hi = std::max(v0, v1);
        Color c = d.colorOf(m);
        c.a *= d.alpha;
        // Without a colour a bar's group is its category of the third dimension.
        std::int32_t category = d.categoryKey(m),
                     group = m.color >= 0 ? d.colorKey(m)
                                          : scene.key(d.layer.depth.key(std::int32_t(m.z)));
        auto face = [&](Role role, std::vector<Point> const& pts, Color fill) {
            Batch& b = scene.batch(MarkKind::Polygon, role, edge);
            b.addPath(pts);
            b.setFill(fill);
            b.setMeaning(category, group, m.y, m.ranged ? m.y0 : 0);
        };
        auto u = [&](double a, double b, double t) { return box.unit(a, b, t); };
        face(Role::BarFace, {u(u0, hi, t0), u(u1, hi, t0), u(u1, hi, t1), u(u0, hi, t1)},
             shaded(c, 0.35));
        face(Role::BarFace, {u(u1, lo, t0), u(u1, lo, t1), u(u1, hi, t1), u(u1, hi, t0)},
             shaded(c, -0.25));
        Point a = u(u0, hi, t0), b = u(u1, lo, t0);
        Batch& front = scene.batch(MarkKind::Rect, Role::Bar, edge);
        front.addRect(a.x, a.y, b.x - a.x, b.y - a.y);
        front.setFill(c);
        front.setMeaning(category, group, m.y, m.ranged ? m.y0 : 0);
    }
}

}  // namespace host::chart
