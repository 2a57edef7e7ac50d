// Textures: the hatching of pattern k over a shape. Pattern 0 is solid; the others cycle
// through rising and falling diagonals, horizontal and vertical lines, and crossings of them.

#include <algorithm>
#include <cmath>

#include "host/chart/geometry/elements.h"

namespace host::chart {

namespace {

// The parts of the segment a-b inside the polygon (even-odd), added to the batch. Each part
// stops a pixel short of the outline, so that the shape's border is drawn clean over its
// hatching rather than crossed by it.
void addInside(Batch& b, Point a, Point e, std::vector<Point> const& poly) {
    constexpr double kInset = 1;
    std::vector<double> cuts;
    double dx = e.x - a.x, dy = e.y - a.y;
    for (std::size_t i = 0; i < poly.size(); ++i) {
        Point p = poly[i], q = poly[(i + 1) % poly.size()];
        double ex = q.x - p.x, ey = q.y - p.y;
        double den = dx * ey - dy * ex;
        if (std::fabs(den) < 1e-12)
            continue;  // parallel
        double t = ((p.x - a.x) * ey - (p.y - a.y) * ex) / den;
        double u = ((p.x - a.x) * dy - (p.y - a.y) * dx) / den;
        if (u >= 0 && u < 1 && t >= 0 && t <= 1)
            cuts.push_back(t);
    }
    std::sort(cuts.begin(), cuts.end());
    double const pad = kInset / std::hypot(dx, dy);
    for (std::size_t i = 0; i + 1 < cuts.size(); i += 2) {
        double const from = cuts[i] + pad, to = cuts[i + 1] - pad;
        if (to - from > 1e-9)
            b.addPath({a.x + from * dx, a.y + from * dy}, {a.x + to * dx, a.y + to * dy});
    }
}

}  // namespace

void hatchShape(Scene& scene, std::vector<Point> const& poly, int pattern, Color under) {
    if (pattern <= 0 || poly.size() < 3)
        return;
    double x = poly[0].x, y = poly[0].y, x1 = x, y1 = y;
    for (auto const& p : poly) {
        x = std::min(x, p.x), x1 = std::max(x1, p.x);
        y = std::min(y, p.y), y1 = std::max(y1, p.y);
    }
    if (!(x1 - x > 0.5 && y1 - y > 0.5))
        return;
    constexpr double kGap = 6;
    int kind = (pattern - 1) % 6;
    bool rising = kind == 0 || kind == 4, falling = kind == 3 || kind == 4;
    bool across = kind == 1 || kind == 5, down = kind == 2 || kind == 5;
    double lum = 0.3 * under.r + 0.59 * under.g + 0.11 * under.b;
    Style st;
    st.stroke = lum > 0.55 ? Color{0.2, 0.2, 0.2, 0.8} : Color{1, 1, 1, 0.85};
    st.strokeWidth = 1;
    Batch& b = scene.batch(MarkKind::Polyline, Role::Texture, st);
    if (across)
        for (double at = y + kGap / 2; at < y1; at += kGap) addInside(b, {x, at}, {x1, at}, poly);
    if (down)
        for (double at = x + kGap / 2; at < x1; at += kGap) addInside(b, {at, y}, {at, y1}, poly);
    // Rising: x + y = c on the page (y grows downwards); falling: x - y = c. Each line runs
    // across the bounding box and is cut to the shape.
    if (rising)
        for (double c = x + y + kGap / 2; c < x1 + y1; c += kGap) {
            double a = std::max(x, c - y1), e = std::min(x1, c - y);
            if (e > a)
                addInside(b, {a, c - a}, {e, c - e}, poly);
        }
    if (falling)
        for (double c = x - y1 + kGap / 2; c < x1 - y; c += kGap) {
            double a = std::max(x, c + y), e = std::min(x1, c + y1);
            if (e > a)
                addInside(b, {a, a - c}, {e, e - c}, poly);
        }
}

void hatch(Scene& scene, double x, double y, double w, double h, int pattern, Color under) {
    hatchShape(scene, {{x, y}, {x + w, y}, {x + w, y + h}, {x, y + h}}, pattern, under);
}

}  // namespace host::chart
