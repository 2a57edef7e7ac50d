// Box plots: the box between the hinges, the median, whiskers with caps, outliers as circles,
// extremes as asterisks, and the labels of outlying cases.

#include <algorithm>
#include <cmath>

#include "host/chart/geometry/elements.h"

namespace host::chart {

namespace {

const Color kEdge{0.2, 0.2, 0.2, 1};

struct BoxPlace {
    double centre = 0, boxW = 0;
};

BoxPlace boxPlace(ElementDraw& d, Row const& m) {
    PanelGeometry const& g = d.g;
    double extent = g.catExtent(), origin = g.origin();
    double start = 0, width = extent / 10;
    if (d.dc.scales.xCategorical)
        g.band(d.layer.x.at(m.x), d.layer.cluster.at(m.cluster), start, width);
    else
        start = g.catPos(d.layer, m) - origin - width / 2;
    BoxPlace p{origin + start + width / 2, std::min(width * 0.5, 90.0)};
    std::size_t groups = std::max<std::size_t>(1, d.dc.scales.color.size());
    if (d.layer.hasColor && groups > 1) {  // boxes of a colour side by side
        double each = width * 0.8 / double(groups);
        p.centre =
            origin + start + width * 0.1 + each * (std::max(0, d.layer.color.at(m.color)) + 0.5);
        p.boxW = each * 0.75;
    }
    return p;
}

void outliers(ElementDraw& d, Row const& m, BoxStats const& b, double centre) {
    Scene& scene = d.dc.scene;
    PanelGeometry const& g = d.g;
    auto const& labels = d.layer.outlierLabels[std::size_t(m.extra)];
    std::int32_t category = d.categoryKey(m);
    for (std::size_t k = 0; k < b.outliers.size(); ++k) {
        auto const& o = b.outliers[k];
        Point p = g.at(centre, g.valuePos(o.value));
        if (o.extreme) {  // an asterisk
            for (double deg : {0.0, 60.0, 120.0}) {
                double a = deg * 3.14159265358979323846 / 180, r4 = 4.5;
                addLine(scene, Role::Extreme, {p.x - r4 * std::sin(a), p.y - r4 * std::cos(a)},
                        {p.x + r4 * std::sin(a), p.y + r4 * std::cos(a)}, kEdge, 1.3)
                    .setMeaning(category, -1, o.value);
            }
        } else {
            Style st;
            st.fill = {1, 1, 1, 1};
            st.stroke = kEdge;
            st.strokeWidth = 1.2;
            st.size = 3.5;
            Batch& c = scene.batch(MarkKind::Circle, Role::Outlier, st);
            c.addCircle(p.x, p.y, 3.5);
            c.setMeaning(category, -1, o.value);
        }
        if (k < labels.size() && labels[k] >= 0) {
            std::string const& text = d.layer.labels[std::size_t(labels[k])];
            if (!text.empty())
                addText(scene, Role::OutlierLabel, text, p.x + 7, p.y + 3.5, 9, -1, kTextColor)
                    .setMeaning(category, -1, o.value);
        }
    }
}

void box(ElementDraw& d, Row const& m) {
    Scene& scene = d.dc.scene;
    PanelGeometry const& g = d.g;
    BoxStats const& b = d.layer.boxes[std::size_t(m.extra)];
    BoxPlace place = boxPlace(d, m);
    double centre = place.centre;
    std::int32_t category = d.categoryKey(m), group = d.colorKey(m);
    auto seg = [&](Role role, double a1, double v1, double a2, double v2, double value,
                   double width = 1.2) {
        addLine(scene, role, g.at(a1, v1), g.at(a2, v2), kEdge, width)
            .setMeaning(category, group, value);
    };
    double lh = g.valuePos(b.lowerHinge), uh = g.valuePos(b.upperHinge);
    double half = place.boxW / 2, capHalf = place.boxW / 4;
    seg(Role::Whisker, centre, uh, centre, g.valuePos(b.upperWhisker), b.upperWhisker);
    seg(Role::Whisker, centre, lh, centre, g.valuePos(b.lowerWhisker), b.lowerWhisker);
    for (double w : {b.upperWhisker, b.lowerWhisker})
        seg(Role::WhiskerCap, centre - capHalf, g.valuePos(w), centre + capHalf, g.valuePos(w), w);
    Style st;
    st.stroke = kEdge;
    st.strokeWidth = 1.2;
    Batch& r = scene.batch(MarkKind::Rect, Role::Box, st);
    Point c1 = g.at(centre - half, lh), c2 = g.at(centre + half, uh);
    r.addRect(std::min(c1.x, c2.x), std::min(c1.y, c2.y), std::fabs(c2.x - c1.x),
              std::fabs(c2.y - c1.y));
    r.setFill(d.colorOf(m));
    r.setMeaning(category, group, b.upperHinge, b.lowerHinge);
    double md = g.valuePos(b.median);
    seg(Role::Median, centre - half, md, centre + half, md, b.median, 2.5);
    outliers(d, m, b, centre);
}

}  // namespace

void drawBoxes(ElementDraw& d) {
    for (std::size_t i = 0; i < d.rows.size(); ++i)
        if (d.rows[i].extra >= 0)
            box(d, d.rows[i]);
}

}  // namespace host::chart
