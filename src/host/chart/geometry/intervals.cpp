// Intervals: bars from the base (or stacked), ranges as bars or error bars, bins, and the cells
// of two-way bins.

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/chart/frame/frame.h"
#include "host/chart/geometry/elements.h"
#include "host/chart/layout/text_fit.h"
#include "host/chart/scales/tick_labels.h"

namespace host::chart {

namespace {

const Color kErrorBarColor{0.15, 0.15, 0.15, 1};

struct BarPlace {
    double start = 0, width = 0;  // along dimension 1, from the panel's origin
};

// The room of a bar on a continuous dimension 1: the smallest spacing of the layer's values on
// the page, or a tenth of the axis for a single value.
double barRoom(ElementDraw const& d) {
    PanelGeometry const& g = d.g;
    double gap = d.layer.xGap;
    if (!(gap > 0))
        return g.catExtent() / 10;
    LinScale const& s = d.dc.scales.xLin;
    if (!s.log && s.exponent == 1)  // the same on the page wherever it lies
        return std::max(1.0, std::fabs(g.binPos(s.lo + gap) - g.binPos(s.lo)));
    double room = 0;
    std::vector<double> at;
    for (auto const& m : d.layer.rows)
        if (!m.binned && m.y != kSysmis && std::isfinite(m.xNum))
            at.push_back(g.binPos(m.xNum));
    std::sort(at.begin(), at.end());
    for (std::size_t i = 1; i < at.size(); ++i)
        if (double step = at[i] - at[i - 1]; step > 1e-9 && (room == 0 || step < room))
            room = step;
    return room == 0 ? g.catExtent() / 10 : std::max(1.0, room);
}

BarPlace barPlace(ElementDraw& d, Row const& m, double room) {
    PanelGeometry const& g = d.g;
    BarPlace p;
    p.width = room;
    double fill = 0.7;
    if (m.binned) {
        // A bin spans its edges, touching its neighbours.
        Bin const& bin = d.layer.bins[std::size_t(m.extra)];
        double a = g.binPos(bin.x0), b = g.binPos(bin.x1);
        p.start = std::min(a, b) - g.origin();
        p.width = std::fabs(b - a);
        fill = 1;
    } else if (d.dc.scales.xCategorical) {
        g.band(d.layer.x.at(m.x), d.layer.cluster.at(m.cluster), p.start, p.width);
    } else {
        p.start = g.catPos(d.layer, m) - g.origin() - p.width / 2;
    }
    if (d.el.size && !d.el.size->args.empty())
        fill = std::clamp(sizeValue(d.el.size->args[0], 1, 0.7), 0.05, 1.0);
    double barW = p.width * fill;
    p.start += (p.width - barW) / 2;
    p.width = barW;
    std::size_t groups = std::max<std::size_t>(1, d.dc.scales.color.size());
    if (d.el.modifier == "dodge" && d.layer.hasColor) {
        double each = barW / double(groups);
        p.start += each * std::max(0, d.layer.color.at(m.color));
        p.width = each;
    }
    return p;
}

// An error bar: the interval with a cap at either end, cut at the plot's edges; an end cut
// off has no cap.
void errorBar(ElementDraw& d, Row const& m, BarPlace const& p, double p0, double p1) {
    PanelGeometry const& g = d.g;
    double lo = g.tr ? g.plot.x : g.plot.y, hi = lo + (g.tr ? g.plot.w : g.plot.h);
    if (std::max(p0, p1) < lo - 0.5 || std::min(p0, p1) > hi + 0.5)
        return;  // wholly beyond the plot
    bool cap0 = p0 >= lo - 0.5 && p0 <= hi + 0.5, cap1 = p1 >= lo - 0.5 && p1 <= hi + 0.5;
    p0 = std::clamp(p0, lo, hi);
    p1 = std::clamp(p1, lo, hi);
    double c = g.origin() + p.start + p.width / 2;
    double cap = std::min(p.width * 0.4, 24.0) / 2;
    Color col = d.layer.hasColor || d.el.color ? d.colorOf(m) : kErrorBarColor;
    auto seg = [&](double a1, double b1, double a2, double b2) {
        return g.tr ? std::pair{Point{a1, b1}, Point{a2, b2}}
                    : std::pair{Point{b1, a1}, Point{b2, a2}};
    };
    auto [a, b] = seg(p0, c, p1, c);
    Batch& body = addLine(d.dc.scene, Role::ErrorBar, a, b, col, 1.5);
    body.setMeaning(d.categoryKey(m), d.groupKey(m), m.y, m.y0);
    for (auto [at, capped] : {std::pair{p0, cap0}, std::pair{p1, cap1}}) {
        if (!capped)
            continue;
        auto [c1, c2] = seg(at, c - cap, at, c + cap);
        addLine(d.dc.scene, Role::ErrorBarCap, c1, c2, col, 1.5);
    }
}

// A bar of a polar plane: the wedge its band sweeps, from its base to its value (a rose).
void polarBar(ElementDraw& d, Row const& m, BarPlace const& p, double p0, double p1,
              Style const& st) {
    PanelGeometry const& g = d.g;
    double a0 = g.origin() + p.start, a1 = a0 + p.width;
    int steps = std::max(2, int(std::ceil(p.width / std::max(1.0, g.plot.w) * 120)));
    std::vector<Point> outline;
    for (int k = 0; k <= steps; ++k) outline.push_back(g.at(a0 + (a1 - a0) * k / steps, p1));
    for (int k = steps; k >= 0; --k) outline.push_back(g.at(a0 + (a1 - a0) * k / steps, p0));
    Batch& bars = d.dc.scene.batch(MarkKind::Polygon, Role::Bar, st);
    bars.addPath(outline);
    Color fill = d.colorOf(m);
    bars.setFill(fill);
    std::int32_t category = m.binned
                                ? d.dc.scene.key(numberKey(d.layer.bins[std::size_t(m.extra)].x0))
                                : d.categoryKey(m);
    bool stacked = d.el.modifier == "stack";
    bars.setMeaning(category, d.groupKey(m), m.ranged ? m.y : m.y - (stacked ? m.y0 : 0),
                    m.ranged ? m.y0 : 0);
    if (d.layer.textured)
        hatchShape(d.dc.scene, outline, d.layer.shape.at(m.shape), fill);
}

}  // namespace

void drawIntervals(ElementDraw& d) {
    if (d.dc.spec.polar)
        return drawPie(d);
    PanelGeometry const& g = d.g;
    ElementSpec const& el = d.el;
    bool ibeam = el.shape && !el.shape->args.empty() && el.shape->args[0].key() == "shape.ibeam";
    Style st;
    if (el.exterior) {
        st.stroke = constantColor(el.exterior, {0, 0, 0, 1});
        st.strokeWidth = 1;
    }
    Style binned = st;
    if (!el.exterior) {
        binned.stroke = {1, 1, 1, 1};  // neighbouring bins stay apart
        binned.strokeWidth = 0.75;
    }
    bool stacked = el.modifier == "stack";
    double room = d.dc.scales.xCategorical ? 0 : barRoom(d);
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        if (m.y == kSysmis)
            continue;
        BarPlace p = barPlace(d, m, room);
        double v0 = stacked || m.ranged ? m.y0 : g.baseValue();
        double p0 = g.valuePos(v0), p1 = g.valuePos(m.y);
        if (m.ranged && ibeam) {
            errorBar(d, m, p, p0, p1);
            continue;
        }
        // A bar beyond the scale's limits is cut at the plot's edge, or not drawn at all.
        double lo = g.tr ? g.plot.x : g.plot.y, hi = lo + (g.tr ? g.plot.w : g.plot.h);
        double length = std::fabs(p1 - p0);
        p0 = std::clamp(p0, lo, hi);
        p1 = std::clamp(p1, lo, hi);
        if (p0 == p1 && length > 0.5)
            continue;
        Style style = m.binned ? binned : st;
        if (std::int32_t ring = d.layer.exterior.at(m.exterior); ring >= 0) {
            style.stroke = d.dc.palette.outlines[std::size_t(ring)];
            style.strokeWidth = 2;
        }
        if (g.polar) {
            polarBar(d, m, p, p0, p1, style);
            continue;
        }
        Batch& bars = d.dc.scene.batch(MarkKind::Rect, Role::Bar, style);
        if (g.tr)
            bars.addRect(std::min(p0, p1), g.plot.y + p.start, std::fabs(p1 - p0), p.width);
        else
            bars.addRect(g.plot.x + p.start, std::min(p0, p1), p.width, std::fabs(p1 - p0));
        Color fill = d.colorOf(m);
        bars.setFill(fill);
        double value = m.ranged ? m.y : m.y - (stacked ? m.y0 : 0);
        std::int32_t category =
            m.binned ? d.dc.scene.key(numberKey(d.layer.bins[std::size_t(m.extra)].x0))
                     : d.categoryKey(m);
        bars.setMeaning(category, d.groupKey(m), value, m.ranged ? m.y0 : 0);
        std::size_t n = bars.size() - 1;
        double x = bars.x[n], y = bars.y[n], w = bars.w[n], h = bars.h[n];
        if (d.layer.textured)
            hatch(d.dc.scene, x, y, w, h, d.layer.shape.at(m.shape), fill);
        std::string text = m.label >= 0 ? d.layer.labels[std::size_t(m.label)]
                           : d.dc.spec.dataLabels.on && d.dc.spec.dataLabels.variable.empty()
                               ? valueText(value, *d.dc.layers)
                               : std::string();
        if (text.empty())
            continue;
        // A segment of a stack is labelled inside; a bar beyond its outer end.
        bool negative = g.tr ? p1 < p0 : p1 > p0;  // from the base towards smaller values
        if (stacked) {
            // Inside the segment, when it is large enough to hold the text.
            TextSize size = measureText(text, 10, d.dc.measurer);
            if (h < size.height || w < size.width + 4)
                continue;
            bool dark = 0.299 * fill.r + 0.587 * fill.g + 0.114 * fill.b < 0.5;
            addText(d.dc.scene, Role::ValueLabel, text, x + w / 2, y + h / 2 + 4, 10, 0,
                    dark ? Color{1, 1, 1, 1} : kTextColor);
        }
        else if (g.tr)
            addText(d.dc.scene, Role::ValueLabel, text, negative ? x - 4 : x + w + 4,
                    y + h / 2 + 4, 10, negative ? 1 : -1, kTextColor);
        else
            addText(d.dc.scene, Role::ValueLabel, text, x + w / 2, negative ? y + h + 12 : y - 4,
                    10, 0, kTextColor);
    }
}

// Two-way bins: each cell spans its bin on both dimensions, coloured by its count.
void drawCells(ElementDraw& d) {
    PanelGeometry const& g = d.g;
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        Bin const& bin = d.layer.bins[std::size_t(m.extra)];
        double xa = g.binPos(bin.x0), xb = g.binPos(bin.x1);
        double ya = g.valuePos(m.y0), yb = g.valuePos(m.y);
        Batch& cells = d.dc.scene.batch(MarkKind::Rect, Role::Cell, Style{});
        if (g.tr)
            cells.addRect(std::min(ya, yb), std::min(xa, xb), std::fabs(yb - ya),
                          std::fabs(xb - xa));
        else
            cells.addRect(std::min(xa, xb), std::min(ya, yb), std::fabs(xb - xa),
                          std::fabs(yb - ya));
        cells.setFill(d.dc.palette.cell(bin.cell));
        cells.setMeaning(d.dc.scene.key(numberKey(bin.x0)), d.dc.scene.key(numberKey(m.y0)),
                         bin.cell);
    }
}

}  // namespace host::chart
