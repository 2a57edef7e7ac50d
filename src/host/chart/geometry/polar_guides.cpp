// The guides of a polar plane: a ring at each value tick, a spoke at each tick of the first
// dimension with its label outside the circle, and the values along the first spoke.

#include <algorithm>
#include <cmath>

#include "host/chart/geometry/guides.h"
#include "host/chart/layout/text_fit.h"

namespace host::chart {

namespace {

const Color kRingColor{0.85, 0.85, 0.85, 1};
const Color kSpokeColor{0.78, 0.78, 0.78, 1};

// Where a tick of the first dimension falls along the unbent plot.
double alongOf(PanelGeometry const& g, double value) {
    Rect const& p = g.plot;
    return g.scales->xCategorical ? p.x + g.catCenter(std::size_t(value), p.w)
                                  : g.scales->xLin.map(value, p.x, p.x + p.w);
}

}  // namespace

void drawPolarGuides(DrawContext& dc, Layout const& layout, PanelGeometry const& g, bool labels) {
    Scene& scene = dc.scene;
    Point c = g.centre();
    double radius = g.radius();
    AxisLayout const& angle = layout.h.dim == 1 ? layout.h : layout.v;
    AxisLayout const& value = layout.h.dim == 1 ? layout.v : layout.h;
    Style ring;
    ring.stroke = kRingColor;
    ring.strokeWidth = 1;
    for (auto const& t : value.ticks) {
        double r = std::hypot(g.bend(g.plot.x, g.valuePos(t.value)).x - c.x,
                              g.bend(g.plot.x, g.valuePos(t.value)).y - c.y);
        if (r < 0.5 || r > radius + 0.5)
            continue;
        std::vector<Point> circle;
        for (int k = 0; k <= 96; ++k) {
            double a = k * 2 * 3.14159265358979323846 / 96;
            circle.push_back({c.x + r * std::sin(a), c.y - r * std::cos(a)});
        }
        scene.batch(MarkKind::Polyline, gridRole(2), ring).addPath(circle);
    }
    double top = g.plot.y;  // the largest value: the outer circle
    for (auto const& t : angle.ticks) {
        double along = alongOf(g, t.value);
        // A continuous first dimension closes on itself: its last tick is its first spoke.
        if (!g.scales->xCategorical && along >= g.plot.x + g.plot.w - 0.5 && angle.ticks.size() > 1)
            continue;
        Point outer = g.bend(along, top);
        addLine(scene, gridRole(1), c, outer, kSpokeColor, 1);
        if (!labels)
            continue;
        // The label just outside the circle, anchored away from it.
        double dx = outer.x - c.x, dy = outer.y - c.y, len = std::max(1e-9, std::hypot(dx, dy));
        double ux = dx / len, uy = dy / len;
        int anchor = ux > 0.3 ? -1 : ux < -0.3 ? 1 : 0;
        double x = outer.x + ux * 8, y = outer.y + uy * 8 + kTickFont * 0.35 + uy * kTickFont * 0.3;
        // Beside the circle a label may run into the page's margin.
        double room = anchor == 0 ? g.plot.w / 3 : std::max(80.0, g.plot.w / 2 - radius + 4);
        addText(scene, tickLabelRole(1), fitText(t.text, room, kTickFont, dc.measurer), x, y,
                kTickFont, anchor, kTextColor)
            .setMeaning(scene.key(t.key), -1, t.value);
    }
    if (!labels)
        return;
    // The values between the first two spokes, clear of the labels at the ends of spokes.
    double along = g.plot.x;
    if (angle.ticks.size() >= 2)
        along = (alongOf(g, angle.ticks[0].value) + alongOf(g, angle.ticks[1].value)) / 2;
    for (auto const& t : value.ticks) {
        Point at = g.bend(along, g.valuePos(t.value));
        double r = std::hypot(at.x - c.x, at.y - c.y);
        if (r < 1 || r > radius + 0.5)
            continue;
        addText(scene, tickLabelRole(2), t.text, at.x + 2, at.y + 3, kTickFont - 2, -1,
                Color{0.45, 0.45, 0.45, 1})
            .setMeaning(scene.key(t.key), -1, t.value);
    }
}

}  // namespace host::chart
