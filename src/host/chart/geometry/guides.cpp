#include "host/chart/geometry/guides.h"

#include <algorithm>
#include <cmath>

#include "host/chart/layout/text_fit.h"
#include "host/chart/scales/colors.h"

namespace host::chart {

namespace {

const Color kAxisColor{0.35, 0.35, 0.35, 1};
const Color kGridColor{0.88, 0.88, 0.88, 1};
const Color kFrameColor{0.55, 0.55, 0.55, 1};
constexpr double kRad = 3.14159265358979323846 / 180;

// Page positions of an axis's ticks in a panel.
double hPos(PanelGeometry const& g, Layout const& layout, double v) {
    Rect const& p = g.plot;
    if (layout.h.categorical && layout.h.dim == 1)
        return p.x + g.catCenter(std::size_t(v), p.w);
    if (layout.h.dim == 2)
        return g.valuePos(v);  // which way the values run is the panel's
    return g.scales->xLin.map(v, p.x, p.x + p.w);
}

double vPos(PanelGeometry const& g, Layout const& layout, double v) {
    Rect const& p = g.plot;
    if (layout.v.categorical && layout.v.dim == 1)
        return p.y + g.catCenter(std::size_t(v), p.h);
    if (layout.v.dim == 2)
        return g.valuePos(v);
    return g.scales->xLin.map(v, p.y + p.h, p.y);
}

void frame(Scene& scene, Role role, Rect const& r, Color c) {
    Style st;
    st.stroke = c;
    st.strokeWidth = 1;
    scene.batch(MarkKind::Rect, role, st).addRect(r.x, r.y, r.w, r.h);
}

void referenceLines(DrawContext& dc, PanelGeometry const& g) {
    Rect const& plot = g.plot;
    for (auto const& r : dc.spec.refLines) {
        if (r.dim == 1 && dc.scales.xCategorical)
            continue;
        Color c = namedColor(r.colorHex, hexColor("#D62728"));
        bool horizontal = (r.dim == 2) != g.tr;
        double p = r.dim == 2 ? g.valuePos(r.value) : g.binPos(r.value);
        Style st;
        st.stroke = c;
        st.strokeWidth = 1.5;
        st.dash = {5, 3};
        Batch& b = dc.scene.batch(MarkKind::Polyline, Role::ReferenceLine, st);
        if (horizontal)
            b.addPath({plot.x, p}, {plot.x + plot.w, p});
        else
            b.addPath({p, plot.y}, {p, plot.y + plot.h});
        b.setMeaning(-1, -1, r.value);
        if (r.label.empty())
            continue;
        if (horizontal)
            addText(dc.scene, Role::ReferenceLabel, r.label, plot.x + plot.w - 2, p - 4, 10, 1, c);
        else
            addText(dc.scene, Role::ReferenceLabel, r.label, p + 3, plot.y + 11, 10, -1, c);
    }
}

void verticalAxis(DrawContext& dc, Layout const& layout, PanelGeometry const& g) {
    Scene& scene = dc.scene;
    Rect const& plot = g.plot;
    int dim = layout.v.dim;
    addLine(scene, axisRole(dim), {plot.x, plot.y}, {plot.x, plot.y + plot.h}, kAxisColor, 1);
    if (!layout.v.ticksHidden)
        for (auto const& t : layout.v.ticks) {
            double y = vPos(g, layout, t.value);
            addLine(scene, tickRole(dim), {plot.x - 4, y}, {plot.x, y}, kAxisColor, 1);
        }
    for (auto const& t : layout.v.ticks) {
        double y = vPos(g, layout, t.value);
        double room =
            layout.vAngle == 0
                ? layout.vLabelWidth
                : layout.vLabelWidth / std::max(0.2, std::fabs(std::cos(layout.vAngle * kRad)));
        addText(scene, tickLabelRole(dim), fitText(t.text, room, kTickFont, dc.measurer),
                plot.x - 7, y + kTickFont * 0.35, kTickFont, 1, kTextColor, false, -layout.vAngle)
            .setMeaning(scene.key(t.key), -1, t.value);
    }
}

void horizontalAxis(DrawContext& dc, Layout const& layout, PanelGeometry const& g) {
    Scene& scene = dc.scene;
    Rect const& plot = g.plot;
    int dim = layout.h.dim;
    double y0 = plot.y + plot.h;
    addLine(scene, axisRole(dim), {plot.x, y0}, {plot.x + plot.w, y0}, kAxisColor, 1);
    // A panel right of the last one goes on from its labels; a new row starts afresh.
    double lastEnd = plot.x > dc.hLabelPanel ? dc.hLabelEnd : -1e9;
    if (!layout.h.ticksHidden)
        for (auto const& t : layout.h.ticks) {
            double x = hPos(g, layout, t.value);
            addLine(scene, tickRole(dim), {x, y0}, {x, y0 + 4}, kAxisColor, 1);
        }
    // Left to right, whichever way the values run.
    std::vector<TickText const*> ticks;
    for (auto const& t : layout.h.ticks) ticks.push_back(&t);
    if (g.flip && layout.h.dim == 2)
        std::reverse(ticks.begin(), ticks.end());
    for (auto const* tick : ticks) {
        TickText const& t = *tick;
        double x = hPos(g, layout, t.value);
        if (layout.rotate) {
            // Turned counterclockwise, the label ends at its tick; clockwise, it starts there.
            double turn = std::sin(layout.hAngle * kRad) / 0.7071;
            double room = layout.maxRotated;
            if (layout.hAngle > 0)  // reaching down to the left: none past the page's left edge
                room = std::min(room, (x + 3 * turn - 2) /
                                          std::max(0.2, std::cos(layout.hAngle * kRad)));
            addText(scene, tickLabelRole(dim), fitText(t.text, room, kTickFont, dc.measurer),
                    x + 3 * turn, y0 + 10, kTickFont, layout.hAngle > 0 ? 1 : -1, kTextColor,
                    false, -layout.hAngle)
                .setMeaning(scene.key(t.key), -1, t.value);
            continue;
        }
        // Labels that would run into the previous one are left out.
        double w = measureText(t.text, kTickFont, dc.measurer).width;
        if (!layout.h.categorical && x - w / 2 < lastEnd + 4)
            continue;
        addText(scene, tickLabelRole(dim), t.text, x, y0 + 8 + kTickFont, kTickFont, 0, kTextColor)
            .setMeaning(scene.key(t.key), -1, t.value);
        lastEnd = x + w / 2;
    }
    dc.hLabelEnd = lastEnd;
    dc.hLabelPanel = plot.x;
}

// A colour bar, the highest value at the top, with a tick and a label at each round value.
void colorBar(Scene& scene, LegendEntry const& e, double x, double y) {
    double const slice = kColorBarHeight / double(std::max<std::size_t>(1, e.ramp.size()));
    double const span = e.hi - e.lo;
    for (std::size_t i = 0; i < e.ramp.size(); ++i) {
        Style st;
        st.fill = e.ramp[e.ramp.size() - 1 - i];
        // A hair taller than its share so that no seam shows between slices.
        Batch& b = scene.batch(MarkKind::Rect, Role::LegendGradient, st);
        b.addRect(x, y + double(i) * slice, kColorBarWidth,
                  slice + (i + 1 < e.ramp.size() ? 0.5 : 0));
        b.setMeaning(-1, -1, e.hi - span * (double(i) + 0.5) / double(e.ramp.size()));
    }
    for (auto const& [v, text] : e.barTicks) {
        double ty = y + kColorBarHeight * (span > 0 ? 1 - (v - e.lo) / span : 0.5);
        addLine(scene, Role::LegendTick, {x + kColorBarWidth, ty}, {x + kColorBarWidth + 4, ty},
                kAxisColor, 1)
            .setMeaning(-1, -1, v);
        addText(scene, Role::LegendLabel, text, x + kColorBarWidth + 7, ty + kTickFont * 0.35,
                kTickFont, -1, kTextColor)
            .setMeaning(-1, -1, v);
    }
}

}  // namespace

void drawTitles(Scene& scene, Layout const& layout) {
    for (auto const& t : layout.texts)
        addText(scene, t.role, t.text, t.x, t.y, t.size, t.anchor, t.color, t.bold, t.angle);
}

void drawLegend(Scene& scene, LegendLayout const& legend) {
    if (!legend.shown)
        return;
    if (!legend.title.empty())
        addText(scene, Role::LegendTitle, legend.title, legend.x, legend.y + kTitleFont, kTitleFont,
                -1, kTextColor, true);
    double font = legend.font, box = std::min(12.0, legend.row - 4);
    for (std::size_t i = 0; i < legend.entries.size(); ++i) {
        LegendEntry const& e = legend.entries[i];
        double lx = legend.at[i].x, ly = legend.at[i].y;
        std::int32_t key = scene.key(e.key);
        if (e.bar) {
            colorBar(scene, e, lx, ly + 4);
            continue;
        }
        if (e.heading) {
            addText(scene, Role::LegendTitle, e.label, lx, ly + 6 + kTitleFont, kTitleFont, -1,
                    kTextColor, true);
            continue;
        }
        if (e.note) {
            addText(scene, Role::LegendLabel, e.label, lx, ly + box / 2 + font * 0.35, font, -1,
                    kTextColor)
                .setMeaning(key, -1, 0);
            continue;
        }
        if (e.radius > 0) {
            // A size key: the circle, its label beside it.
            Style st;
            st.fill = e.color;
            st.size = e.radius;
            Batch& b = scene.batch(MarkKind::Circle, Role::LegendSwatch, st);
            double h = std::max(legend.row, 2 * e.radius + 4);
            b.addCircle(lx + e.radius, ly + h / 2, e.radius);
            b.setMeaning(key, -1, 0);
            addText(scene, Role::LegendLabel, e.label, lx + 2 * e.radius + 6,
                    ly + h / 2 + font * 0.35, font, -1, kTextColor)
                .setMeaning(key, -1, 0);
            continue;
        }
        double mid = ly + box / 2;
        if (legend.lines && e.shape >= 0) {
            // A dash needs room to show its pattern.
            Style st;
            st.stroke = e.color;
            st.strokeWidth = 2;
            st.dash = dashPattern(e.shape);
            Batch& b = scene.batch(MarkKind::Polyline, Role::LegendSwatch, st);
            b.addPath({lx, mid}, {lx + legend.swatch, mid});
            b.setMeaning(key, -1, 0);
        } else if (e.shape >= 0) {
            Style st;
            st.fill = e.color;
            st.shape = markerShape(e.shape);
            Batch& b =
                scene.batch(st.shape == MarkerShape::Circle ? MarkKind::Circle : MarkKind::Marker,
                            Role::LegendSwatch, st);
            b.addCircle(lx + box / 2, mid, box / 2 - 1);
            b.setMeaning(key, -1, 0);
        } else if (legend.lines) {
            addLine(scene, Role::LegendSwatch, {lx, mid}, {lx + box, mid}, e.color, 2.5)
                .setMeaning(key, -1, 0);
        } else {
            Style st;
            st.fill = e.color;
            if (e.outline) {
                st.fill = {1, 1, 1, 1};
                st.stroke = e.color;
                st.strokeWidth = 2;
            }
            Batch& b = scene.batch(MarkKind::Rect, Role::LegendSwatch, st);
            double inset = e.outline ? 1 : 0;  // the outline's stroke stays within the box
            b.addRect(lx + inset, ly + inset, box - 2 * inset, box - 2 * inset);
            b.setMeaning(key, -1, 0);
            hatch(scene, lx, ly, box, box, e.pattern, e.color);
        }
        addText(scene, Role::LegendLabel, e.label, lx + legend.swatch + 6, mid + font * 0.35, font,
                -1, kTextColor)
            .setMeaning(key, -1, 0);
    }
}

void drawOuterFrame(Scene& scene, ChartModel const& model, Spec const& spec) {
    if (model.outerFrame == 1)
        frame(scene, Role::OuterFrame, {0.5, 0.5, spec.width - 1, spec.height - 1}, kFrameColor);
}

void drawPanelBackground(DrawContext& dc, ChartModel const& model, Layout const& layout,
                         PanelBox const& panel, PanelGeometry const& g) {
    Scene& scene = dc.scene;
    Rect const& plot = g.plot;
    if (layout.panelled) {
        std::string key = panel.col >= 0 ? dc.scales.panelCol.keys[std::size_t(panel.col)] : "";
        addText(scene, Role::PanelLabel, panel.header, plot.x + plot.w / 2, plot.y - 5, kTickFont,
                0, kTextColor)
            .setMeaning(scene.key(key), -1, 0);
    }
    if (g.polar) {
        drawPolarGuides(dc, layout, g, true);
        return;
    }
    if (layout.v.grid && !layout.v.categorical)
        for (auto const& t : layout.v.ticks) {
            double y = vPos(g, layout, t.value);
            addLine(scene, gridRole(layout.v.dim), {plot.x, y}, {plot.x + plot.w, y}, kGridColor,
                    1);
        }
    if (layout.h.grid && !layout.h.categorical)
        for (auto const& t : layout.h.ticks) {
            double x = hPos(g, layout, t.value);
            addLine(scene, gridRole(layout.h.dim), {x, plot.y}, {x, plot.y + plot.h}, kGridColor,
                    1);
        }
    bool round = dc.spec.polar || dc.spec.polarPlane;  // a pie or a circle needs no box
    if (model.innerFrame == 1 || (layout.panelled && !round))
        frame(scene, Role::InnerFrame, plot,
              layout.panelled ? Color{0.8, 0.8, 0.8, 1} : kFrameColor);
}

void drawPanelGuides(DrawContext& dc, Layout const& layout, PanelBox const& panel,
                     PanelGeometry const& g) {
    referenceLines(dc, g);
    // The vertical axis on the first panel of a row, the horizontal one on the last row.
    if (!layout.v.hidden && panel.firstColumn)
        verticalAxis(dc, layout, g);
    if (!layout.h.hidden && panel.lastRow)
        horizontalAxis(dc, layout, g);
}

void drawAxisTitles(Scene& scene, Layout const& layout) {
    double left = layout.left, right = layout.right, top = layout.top, bottom = layout.bottom;
    double y = bottom + layout.hLabelHeight + 8 + kTitleFont * 1.2;
    if (!layout.h.hidden)
        for (auto const& line : layout.hTitleLines) {
            addText(scene, axisTitleRole(layout.h.dim), line, (left + right) / 2, y, kTitleFont, 0,
                    kTextColor, true);
            y += kTitleFont * 1.2;
        }
    // Turned a quarter left, a title's first line is the one furthest from the axis.
    std::size_t n = layout.vTitleLines.size();
    for (std::size_t i = 0; i < n; ++i)
        addText(scene, axisTitleRole(layout.v.dim), layout.vTitleLines[i],
                left - layout.vLabelWidth - 16 - kTitleFont * 1.2 * double(n - 1 - i),
                (top + bottom) / 2, kTitleFont, 0, kTextColor, true, -90);
}

}  // namespace host::chart
