#include "host/chart/geometry/elements.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "host/chart/frame/frame.h"
#include "host/chart/layout/text_fit.h"

namespace host::chart {

namespace {

constexpr ElementDef kElements[] = {
    {"interval", drawIntervals}, {"point", drawPoints},  {"line", drawLines}, {"area", drawLines},
    {"path", drawLines},         {"polygon", drawLines}, {"edge", drawEdges}, {"schema", drawBoxes},
};

}  // namespace

ElementDef const* findElement(std::string const& name) {
    for (auto const& d : kElements)
        if (name == d.name)
            return &d;
    return nullptr;
}

double PanelGeometry::valuePos(double v) const {
    if (flip)
        return tr ? scales->yLin.map(v, plot.x + plot.w, plot.x)
                  : scales->yLin.map(v, plot.y, plot.y + plot.h);
    return tr ? scales->yLin.map(v, plot.x, plot.x + plot.w)
              : scales->yLin.map(v, plot.y + plot.h, plot.y);
}

double PanelGeometry::radius() const {
    return std::max(1.0, std::min(plot.w, plot.h) / 2 * 0.82);  // room for labels around it
}

Point PanelGeometry::bend(double along, double value) const {
    constexpr double kRad = 3.14159265358979323846 / 180;
    double turn = (along - plot.x) / std::max(1.0, plot.w);
    if (scales->xCategorical) {
        // The first category's spoke at the start angle, not half a band past it.
        double start, width;
        band(0, 0, start, width);
        turn -= (start + width / 2) / std::max(1.0, plot.w);
    }
    double r = (plot.y + plot.h - value) / std::max(1.0, plot.h) * radius();
    double a = (startAngle + turn * 360) * kRad;
    Point c = centre();
    return {c.x + r * std::sin(a), c.y - r * std::cos(a)};
}

double PanelGeometry::binPos(double v) const {
    return tr ? scales->xLin.map(v, plot.y + plot.h, plot.y)
              : scales->xLin.map(v, plot.x, plot.x + plot.w);
}

void PanelGeometry::band(std::int32_t xIndex, std::int32_t clusterIndex, double& start,
                         double& width) const {
    double extent = catExtent();
    double nCats = double(std::max<std::size_t>(1, scales->x.size()));
    // Clusters: groups along the axis, with the dimension-1 categories inside each.
    if (!scales->cluster.empty()) {
        double groupW = extent / double(scales->cluster.size());
        double inner = groupW * 0.8;
        width = inner / nCats;
        start = groupW * std::max(0, clusterIndex) + groupW * 0.1 + width * std::max(0, xIndex);
    } else {
        width = extent / nCats;
        start = width * std::max(0, xIndex);
    }
}

double PanelGeometry::catCenter(std::size_t i, double extent) const {
    std::size_t n = !scales->cluster.empty() ? scales->cluster.size() : scales->x.size();
    return extent / double(std::max<std::size_t>(1, n)) * (double(i) + 0.5);
}

double PanelGeometry::catPos(Layer const& l, Row const& m) const {
    if (!scales->xCategorical)
        return binPos(m.xNum);
    double start, width;
    band(l.x.at(m.x), l.cluster.at(m.cluster), start, width);
    return origin() + start + width / 2 + m.dx * width;
}

double PanelGeometry::baseValue() const {
    LinScale const& y = scales->yLin;
    return y.log ? y.lo : std::clamp(0.0, y.lo, y.hi);
}

Color ElementDraw::colorOf(Row const& m) const {
    Color c;
    std::int32_t ring = layer.exterior.at(m.exterior);
    if (layer.colorScale) {
        c = dc.palette.shade(layer.colorScale, m.cval);
    } else if (!layer.hasColor && m.color < 0 && !el.color && ring >= 0) {
        // Outlined by a variable without a fill of its own: a pale tint of the outline.
        Color o = dc.palette.outlines[std::size_t(ring)];
        c = {1 - 0.3 * (1 - o.r), 1 - 0.3 * (1 - o.g), 1 - 0.3 * (1 - o.b), 1};
    } else if (!layer.hasColor && m.color < 0)
        c = el.color ? fixed : dc.palette.single;
    else
        c = dc.palette.of(layer.color.at(m.color));
    c.a = layer.alphaScale ? alphaOfValue(dc.layers->alphaLo, dc.layers->alphaHi, m.tval) : alpha;
    return c;
}

std::int32_t ElementDraw::sceneKey(KeyTable const& table, std::vector<std::int32_t>& cache,
                                   std::int32_t code) {
    if (code < 0 || std::size_t(code) >= table.keys.size())
        return -1;
    if (cache.empty())
        cache.assign(table.keys.size(), -2);
    std::int32_t& k = cache[std::size_t(code)];
    if (k == -2)
        k = dc.scene.key(table.keys[std::size_t(code)]);
    return k;
}

std::int32_t ElementDraw::categoryKey(Row const& m) {
    return sceneKey(layer.x, xKeys_, m.x);
}

std::int32_t ElementDraw::colorKey(Row const& m) {
    return sceneKey(layer.color, colorKeys_, m.color);
}

std::int32_t ElementDraw::groupKey(Row const& m) {
    return m.color >= 0 ? colorKey(m) : sceneKey(layer.cluster, clusterKeys_, m.cluster);
}

Batch& addLine(Scene& scene, Role role, Point a, Point b, Color c, double width) {
    Style st;
    st.stroke = c;
    st.strokeWidth = width;
    Batch& batch = scene.batch(MarkKind::Polyline, role, st);
    batch.addPath(a, b);
    return batch;
}

Batch& addText(Scene& scene, Role role, std::string const& text, double x, double y, double size,
               int anchor, Color color, bool bold, double angle) {
    Style st;
    st.fontSize = size;
    st.anchor = anchor;
    st.bold = bold;
    st.angle = angle;
    st.fill = color;
    Batch& batch = scene.batch(MarkKind::Text, role, st);
    batch.addText(x, y, cleanText(text));
    return batch;
}

}  // namespace host::chart
