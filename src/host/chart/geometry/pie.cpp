// Pies: in polar.theta coordinates an interval's values are the slices' angles, each slice
// labelled with its share where it is wide enough to hold it.

#include <algorithm>
#include <cmath>

#include "host/chart/frame/frame.h"
#include "host/chart/geometry/elements.h"

namespace host::chart {

void drawPie(ElementDraw& d) {
    Scene& scene = d.dc.scene;
    Rect const& area = d.g.plot;
    double total = 0;
    for (std::size_t i = 0; i < d.rows.size(); ++i)
        if (d.rows[i].y != kSysmis)
            total += std::max(0.0, d.rows[i].y - d.rows[i].y0);
    if (!(total > 0))
        return;
    double cx = area.x + area.w / 2, cy = area.y + area.h / 2;
    double radius = std::min(area.w, area.h) / 2 * 0.92;
    double angle = d.dc.spec.startAngle;  // degrees clockwise from twelve o'clock
    constexpr double kRad = 3.14159265358979323846 / 180;
    Style st;
    st.stroke = {1, 1, 1, 1};
    st.strokeWidth = 1;
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        double v = m.y == kSysmis ? 0 : std::max(0.0, m.y - m.y0);
        if (v <= 0)
            continue;
        double sweep = v / total * 360;
        std::vector<Point> outline;
        if (sweep < 359.999)
            outline.push_back({cx, cy});
        int steps = std::max(2, int(std::ceil(sweep / 3)));
        for (int k = 0; k <= steps; ++k) {
            double a = (angle + sweep * k / steps) * kRad;
            outline.push_back({cx + radius * std::sin(a), cy - radius * std::cos(a)});
        }
        Color fill = d.colorOf(m);
        Batch& slices = scene.batch(MarkKind::Polygon, Role::Slice, st);
        slices.addPath(outline);
        slices.setFill(fill);
        double share = v / total * 100;
        slices.setMeaning(d.colorKey(m), -1, share, angle);
        if (d.layer.textured)
            hatchShape(scene, outline, d.layer.shape.at(m.shape), fill);
        if (sweep >= 14) {  // the share, inside slices wide enough to hold it
            double mid = (angle + sweep / 2) * kRad;
            double lum = 0.3 * fill.r + 0.59 * fill.g + 0.11 * fill.b;
            std::string t = m.label < 0 ? formatNumber(share, {true, 1, false, "", "%"})
                                        : d.layer.labels[std::size_t(m.label)];
            addText(scene, Role::SliceLabel, t, cx + radius * 0.62 * std::sin(mid),
                    cy - radius * 0.62 * std::cos(mid) + 4, 11, 0,
                    lum > 0.55 ? kTextColor : Color{1, 1, 1, 1});
        }
        angle += sweep;
    }
}

}  // namespace host::chart
