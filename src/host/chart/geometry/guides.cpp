#include "host/chart/geometry/guides.h"

#include <algorithm>

#include "host/chart/layout/text_fit.h"
#include "host/chart/scales/colors.h"

namespace host::chart {

namespace {

const Color kAxisColor{0.35, 0.35, 0.35, 1};
const Color kGridColor{0.88, 0.88, 0.88, 1};
const Color kFrameColor{0.55, 0.55, 0.55, 1};

// Page positions of an axis's ticks in a panel.
double hPos(PanelGeometry const& g, Layout const& layout, double v) {
    Rect const& p = g.plot;
    if (layout.h.categorical)
        return p.x + g.catCenter(std::size_t(v), p.w);
    LinScale const& s = layout.h.dim == 1 ? g.scales->xLin : g.scales->yLin;
    return s.map(v, p.x, p.x + p.w);
}

double vPos(PanelGeometry const& g, Layout const& layout, double v) {
    Rect const& p = g.plot;
    if (layout.v.categorical)
        return p.y + g.catCenter(std::size_t(v), p.h);
    LinScale const& s = layout.v.dim == 1 ? g.scales->xLin : g.scales->yLin;
    return s.map(v, p.y + p.h, p.y);
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
        addText(scene, tickLabelRole(dim),
                fitText(t.text, layout.vLabelWidth, kTickFont, dc.measurer), plot.x - 7,
                y + kTickFont * 0.35, kTickFont, 1, kTextColor)
            .setMeaning(scene.key(t.key), -1, t.value);
    }
}

void horizontalAxis(DrawContext& dc, Layout const& layout, PanelGeometry const& g) {
    Scene& scene = dc.scene;
    Rect const& plot = g.plot;
    int dim = layout.h.dim;
    double y0 = plot.y + plot.h;
    addLine(scene, axisRole(dim), {plot.x, y0}, {plot.x + plot.w, y0}, kAxisColor, 1);
    double lastEnd = -1e9;
    if (!layout.h.ticksHidden)
        for (auto const& t : layout.h.ticks) {
            double x = hPos(g, layout, t.value);
            addLine(scene, tickRole(dim), {x, y0}, {x, y0 + 4}, kAxisColor, 1);
        }
    for (auto const& t : layout.h.ticks) {
        double x = hPos(g, layout, t.value);
        if (layout.rotate) {
            addText(scene, tickLabelRole(dim),
                    fitText(t.text, layout.maxRotated, kTickFont, dc.measurer), x + 3, y0 + 10,
                    kTickFont, 1, kTextColor, false, -45)
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
}

}  // namespace

void drawTitles(Scene& scene, Layout const& layout) {
    for (auto const& t : layout.texts)
        addText(scene, t.role, t.text, t.x, t.y, t.size, t.anchor, t.color, t.bold, t.angle);
}

void drawLegend(Scene& scene, LegendLayout const& legend) {
    if (!legend.shown)
        return;
    double lx = legend.x, ly = legend.y;
    if (!legend.title.empty()) {
        addText(scene, Role::LegendTitle, legend.title, lx, ly + kTitleFont, kTitleFont, -1,
                kTextColor, true);
        ly += kTitleFont * 1.6;
    }
    for (auto const& e : legend.entries) {
        std::int32_t key = scene.key(e.key);
        if (legend.lines) {
            addLine(scene, Role::LegendSwatch, {lx, ly + 6}, {lx + 12, ly + 6}, e.color, 2.5)
                .setMeaning(key, -1, 0);
        } else {
            Style st;
            st.fill = e.color;
            Batch& b = scene.batch(MarkKind::Rect, Role::LegendSwatch, st);
            b.addRect(lx, ly, 12, 12);
            b.setMeaning(key, -1, 0);
        }
        addText(scene, Role::LegendLabel, e.label, lx + 18, ly + 10, kTickFont, -1, kTextColor)
            .setMeaning(key, -1, 0);
        ly += 18;
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
    if (model.innerFrame == 1 || layout.panelled)
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

void drawAxisTitles(Scene& scene, Layout const& layout, TextMeasurer const& measurer) {
    double left = layout.left, right = layout.right, top = layout.top, bottom = layout.bottom;
    if (!layout.h.hidden && !layout.h.title.empty())
        addText(scene, axisTitleRole(layout.h.dim),
                fitText(layout.h.title, right - left, kTitleFont, measurer, true),
                (left + right) / 2, bottom + layout.hLabelHeight + 8 + kTitleFont * 1.2, kTitleFont,
                0, kTextColor, true);
    if (!layout.v.hidden && !layout.v.title.empty())
        addText(scene, axisTitleRole(layout.v.dim),
                fitText(layout.v.title, bottom - top, kTitleFont, measurer, true),
                left - layout.vLabelWidth - 12 - 4, (top + bottom) / 2, kTitleFont, 0, kTextColor,
                true, -90);
}

}  // namespace host::chart
