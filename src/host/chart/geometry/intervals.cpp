// Intervals: bars from the base (or stacked), ranges as bars or error bars, bins, and the cells
// of two-way bins.

#include <algorithm>
#include <cmath>

#include "host/chart/frame/frame.h"
#include "host/chart/geometry/elements.h"

namespace host::chart {

namespace {

const Color kErrorBarColor{0.15, 0.15, 0.15, 1};

struct BarPlace {
    double start = 0, width = 0;  // along dimension 1, from the panel's origin
};

BarPlace barPlace(ElementDraw& d, Row const& m) {
    PanelGeometry const& g = d.g;
    BarPlace p;
    p.width = g.catExtent() / 10;
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

// An error bar: the interval with a cap at either end.
void errorBar(ElementDraw& d, Row const& m, BarPlace const& p, double p0, double p1) {
    PanelGeometry const& g = d.g;
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
    for (double at : {p0, p1}) {
        auto [c1, c2] = seg(at, c - cap, at, c + cap);
        addLine(d.dc.scene, Role::ErrorBarCap, c1, c2, col, 1.5);
    }
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
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        if (m.y == kSysmis)
            continue;
        BarPlace p = barPlace(d, m);
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
        Batch& bars = d.dc.scene.batch(MarkKind::Rect, Role::Bar, m.binned ? binned : st);
        if (g.tr)
            bars.addRect(std::min(p0, p1), g.plot.y + p.start, std::fabs(p1 - p0), p.width);
        else
            bars.addRect(g.plot.x + p.start, std::min(p0, p1), p.width, std::fabs(p1 - p0));
        bars.setFill(d.colorOf(m));
        double value = m.ranged ? m.y : m.y - (stacked ? m.y0 : 0);
        std::int32_t category =
            m.binned ? d.dc.scene.key(numberKey(d.layer.bins[std::size_t(m.extra)].x0))
                     : d.categoryKey(m);
        bars.setMeaning(category, d.groupKey(m), value, m.ranged ? m.y0 : 0);
        if (m.label >= 0) {
            std::size_t n = bars.size() - 1;
            double x = bars.x[n], y = bars.y[n], w = bars.w[n], h = bars.h[n];
            std::string const& text = d.layer.labels[std::size_t(m.label)];
            if (g.tr)
                addText(d.dc.scene, Role::ValueLabel, text, x + w + 4, y + h / 2 + 4, 10, -1,
                        kTextColor);
            else
                addText(d.dc.scene, Role::ValueLabel, text, x + w / 2, y - 4, 10, 0, kTextColor);
        }
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
