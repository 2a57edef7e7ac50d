#include "host/chart/geometry/oblique.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "host/chart/layout/text_fit.h"

namespace host::chart {

namespace {

const Color kWallColor{0.965, 0.965, 0.965, 1};
const Color kWallEdge{0.8, 0.8, 0.8, 1};
const Color kGridColor{0.86, 0.86, 0.86, 1};
const Color kAxisColor{0.35, 0.35, 0.35, 1};

void wall(Scene& scene, std::vector<Point> corners) {
    Style st;
    st.fill = kWallColor;
    st.stroke = kWallEdge;
    st.strokeWidth = 1;
    scene.batch(MarkKind::Polygon, Role::Wall, st).addPath(std::move(corners));
}

void line(Scene& scene, Role role, std::vector<Point> points, Color c, double value) {
    Style st;
    st.stroke = c;
    st.strokeWidth = 1;
    Batch& b = scene.batch(MarkKind::Polyline, role, st);
    b.addPath(std::move(points));
    b.setMeaning(-1, -1, value);
}

}  // namespace

Oblique obliqueBox(Rect const& plot, Scales const& scales) {
    double depth = std::min(plot.w, plot.h) * 0.4;
    double d = depth * 0.7071;
    return {{plot.x, plot.y + d, plot.w - d, plot.h - d}, d, d, &scales};
}

std::vector<std::uint32_t> farToNear(Layer const& layer, std::vector<std::uint32_t> const* picked,
                                     Oblique const& box) {
    std::vector<std::uint32_t> order;
    if (picked) {
        order = *picked;
    } else {
        order.resize(layer.rows.size());
        std::iota(order.begin(), order.end(), 0u);
    }
    // The keys once per row, not per comparison: a scatter may have a million points.
    std::vector<std::pair<double, double>> keys(layer.rows.size());
    for (std::uint32_t r : order) {
        Row const& m = layer.rows[r];
        keys[r] = {-box.depthOf(layer, m),
                   box.shareX(box.scales->xCategorical ? layer.x.at(m.x) : m.xNum)};
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return keys[a] < keys[b]; });
    return order;
}

void drawObliqueWalls(DrawContext& dc, Layout const& layout, PanelBox const& panel,
                      Oblique const& box) {
    Scene& scene = dc.scene;
    Scales const& s = dc.scales;
    if (layout.panelled) {
        Rect const& plot = panel.plot;
        std::string key = panel.col >= 0 ? s.panelCol.keys[std::size_t(panel.col)] : "";
        addText(scene, Role::PanelLabel, panel.header, plot.x + plot.w / 2, plot.y - 5, kTickFont,
                0, kTextColor)
            .setMeaning(scene.key(key), -1, 0);
    }
    auto u = [&](double a, double b, double c) { return box.unit(a, b, c); };
    wall(scene, {u(0, 0, 0), u(1, 0, 0), u(1, 0, 1), u(0, 0, 1)});  // the floor
    wall(scene, {u(0, 0, 1), u(1, 0, 1), u(1, 1, 1), u(0, 1, 1)});  // the back
    wall(scene, {u(0, 0, 0), u(0, 0, 1), u(0, 1, 1), u(0, 1, 0)});  // the left
    // Each tick's line runs over the two walls that hold its dimension.
    // Categories have no gridlines.
    if (!s.xCategorical)
        for (auto const& t : layout.h.ticks) {
            double a = box.shareX(t.value);
            line(scene, Role::Grid1, {u(a, 0, 0), u(a, 0, 1), u(a, 1, 1)}, kGridColor, t.value);
        }
    for (auto const& t : layout.v.ticks) {
        double b = s.yLin.map(t.value, 0, 1);
        line(scene, Role::Grid2, {u(0, b, 0), u(0, b, 1), u(1, b, 1)}, kGridColor, t.value);
    }
    if (s.z.empty())
        for (auto const& t : layout.d.ticks) {
            double c = box.shareZ(t.value);
            line(scene, Role::Grid3, {u(1, 0, c), u(0, 0, c), u(0, 1, c)}, kGridColor, t.value);
        }
}

void drawObliqueAxes(DrawContext& dc, Layout const& layout, PanelBox const& panel,
                     Oblique const& box) {
    Scene& scene = dc.scene;
    Scales const& s = dc.scales;
    auto u = [&](double a, double b, double c) { return box.unit(a, b, c); };
    // Dimension 1 along the front's foot, 2 up its left side, 3 back from its right foot.
    if (!layout.h.hidden && panel.lastRow) {
        addLine(scene, Role::Axis1, u(0, 0, 0), u(1, 0, 0), kAxisColor, 1);
        for (auto const& t : layout.h.ticks) {
            Point p = u(box.shareX(t.value), 0, 0);
            if (!layout.h.ticksHidden)
                addLine(scene, Role::Tick1, p, {p.x, p.y + 4}, kAxisColor, 1);
            if (layout.rotate)
                addText(scene, Role::TickLabel1,
                        fitText(t.text, layout.maxRotated, kTickFont, dc.measurer), p.x + 3,
                        p.y + 10, kTickFont, 1, kTextColor, false, -45)
                    .setMeaning(scene.key(t.key), -1, t.value);
            else
                addText(scene, Role::TickLabel1, t.text, p.x, p.y + 8 + kTickFont, kTickFont, 0,
                        kTextColor)
                    .setMeaning(scene.key(t.key), -1, t.value);
        }
    }
    if (!layout.v.hidden && panel.firstColumn) {
        addLine(scene, Role::Axis2, u(0, 0, 0), u(0, 1, 0), kAxisColor, 1);
        for (auto const& t : layout.v.ticks) {
            Point p = u(0, s.yLin.map(t.value, 0, 1), 0);
            if (!layout.v.ticksHidden)
                addLine(scene, Role::Tick2, {p.x - 4, p.y}, p, kAxisColor, 1);
            addText(scene, Role::TickLabel2,
                    fitText(t.text, layout.vLabelWidth, kTickFont, dc.measurer), p.x - 7,
                    p.y + kTickFont * 0.35, kTickFont, 1, kTextColor)
                .setMeaning(-1, -1, t.value);
        }
    }
    if (layout.d.hidden)
        return;
    addLine(scene, Role::Axis3, u(1, 0, 0), u(1, 0, 1), kAxisColor, 1);
    // Its labels only beside the last column of panels, where the layout left room for them.
    if (panel.plot.x + panel.plot.w < layout.right - 0.5)
        return;
    for (auto const& t : layout.d.ticks) {
        Point p = u(1, 0, box.shareZ(t.value));
        if (!layout.d.ticksHidden)
            addLine(scene, Role::Tick3, p, {p.x + 4, p.y}, kAxisColor, 1);
        addText(scene, Role::TickLabel3, t.text, p.x + 7, p.y + kTickFont * 0.35, kTickFont, -1,
                kTextColor)
            .setMeaning(scene.key(t.key), -1, t.value);
    }
    if (layout.d.title.empty())
        return;
    // The title beside the axis's middle, beyond its labels, rising with it.
    Point mid = u(1, 0, 0.5);
    double away = layout.dLabelWidth + 14;
    addText(
        scene, Role::AxisTitle3,
        fitText(layout.d.title, std::hypot(box.dx, box.dy) * 1.2, kTitleFont, dc.measurer, true),
        mid.x + away * 0.7071 + 6, mid.y + away * 0.7071, kTitleFont, 0, kTextColor, true, -45);
}

}  // namespace host::chart
