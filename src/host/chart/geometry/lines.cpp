// Lines, paths, areas and polygons: one mark per series and run, broken where a value is
// missing (unless missing values are interpolated); edges between consecutive points.

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "host/chart/frame/frame.h"
#include "host/chart/geometry/elements.h"

namespace host::chart {

namespace {

const Color kFitColor{0.15, 0.15, 0.15, 1};

struct Run {
    std::vector<Point> points, bases;
    bool ring = false;  // around a polar plane's circle: the last point joins the first
};

// The rows of each series (colour, shape and series together; a texture is kept in the shape),
// in the order the series are met.
std::vector<std::vector<Row const*>> bySeries(RowSet const& rows) {
    std::map<std::tuple<std::int32_t, std::int32_t, std::int32_t>, std::size_t> index;
    std::vector<std::vector<Row const*>> out;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        Row const& m = rows[i];
        auto [it, fresh] = index.try_emplace({m.color, m.shape, m.series}, out.size());
        if (fresh)
            out.emplace_back();
        out[it->second].push_back(&m);
    }
    return out;
}

// The parts of a polyline inside a rectangle: each segment cut to it, a new part wherever the
// line leaves and comes back.
std::vector<std::vector<Point>> clipPolyline(std::vector<Point> const& pts, Rect const& r) {
    std::vector<std::vector<Point>> parts;
    auto inside = [&](Point p) {
        return p.x >= r.x && p.x <= r.x + r.w && p.y >= r.y && p.y <= r.y + r.h;
    };
    if (pts.size() == 1) {
        if (inside(pts[0]))
            parts.push_back(pts);
        return parts;
    }
    std::vector<Point> part;
    auto finish = [&] {
        if (part.size() > 1)
            parts.push_back(std::move(part));
        part.clear();
    };
    for (std::size_t i = 1; i < pts.size(); ++i) {
        Point a = pts[i - 1], b = pts[i];
        double dx = b.x - a.x, dy = b.y - a.y, t0 = 0, t1 = 1;
        bool visible = true;
        // Each edge of the rectangle narrows the part of the segment [t0, t1] within it.
        for (auto [p, q] : {std::pair{-dx, a.x - r.x}, std::pair{dx, r.x + r.w - a.x},
                            std::pair{-dy, a.y - r.y}, std::pair{dy, r.y + r.h - a.y}}) {
            if (p == 0) {
                visible &= q >= 0;
            } else if (p < 0) {
                t0 = std::max(t0, q / p);
            } else {
                t1 = std::min(t1, q / p);
            }
        }
        if (!visible || t0 > t1) {
            finish();
            continue;
        }
        Point from{a.x + t0 * dx, a.y + t0 * dy}, to{a.x + t1 * dx, a.y + t1 * dy};
        if (t0 > 0 || part.empty()) {
            finish();
            part.push_back(from);
        }
        part.push_back(to);
        if (t1 < 1)
            finish();
    }
    finish();
    return parts;
}

// A polygon cut to a rectangle, one edge of the rectangle at a time.
std::vector<Point> clipPolygon(std::vector<Point> pts, Rect const& r) {
    auto cut = [&](auto inside, auto cross) {
        std::vector<Point> out;
        for (std::size_t i = 0; i < pts.size(); ++i) {
            Point a = pts[(i + pts.size() - 1) % pts.size()], b = pts[i];
            if (inside(b)) {
                if (!inside(a))
                    out.push_back(cross(a, b));
                out.push_back(b);
            } else if (inside(a)) {
                out.push_back(cross(a, b));
            }
        }
        pts = std::move(out);
    };
    auto atX = [](double x) {
        return [x](Point a, Point b) {
            return Point{x, a.y + (b.y - a.y) * (x - a.x) / (b.x - a.x)};
        };
    };
    auto atY = [](double y) {
        return [y](Point a, Point b) {
            return Point{a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y), y};
        };
    };
    double x1 = r.x + r.w, y1 = r.y + r.h;
    cut([&](Point p) { return p.x >= r.x; }, atX(r.x));
    cut([&](Point p) { return p.x <= x1; }, atX(x1));
    cut([&](Point p) { return p.y >= r.y; }, atY(r.y));
    cut([&](Point p) { return p.y <= y1; }, atY(y1));
    return pts;
}

void drawRun(ElementDraw& d, Run const& run, std::vector<Row const*> const& pts, Color col) {
    ElementSpec const& el = d.el;
    Scene& scene = d.dc.scene;
    Style st;
    Role role = Role::Line;
    MarkKind kind = MarkKind::Polyline;
    std::vector<Point> outline = run.points;
    if (el.type == "polygon") {
        kind = MarkKind::Polygon;
        role = Role::Polygon;
        st.fill = col;
        st.fill.a = d.alpha == 1 ? 0.5 : d.alpha;
        st.stroke = constantColor(el.exterior, col);
        st.strokeWidth = 1.5;
    } else if (el.type == "area") {
        kind = MarkKind::Polygon;
        role = Role::Area;
        if (run.ring) {
            // Around the circle: the ring of values, less the ring of bases when they are not
            // all at the centre, joined by a seam of no width.
            outline.push_back(outline.front());
            Point c = d.g.centre();
            bool centred = std::all_of(run.bases.begin(), run.bases.end(), [&](Point p) {
                return std::hypot(p.x - c.x, p.y - c.y) < 0.5;
            });
            if (!centred) {
                outline.push_back(run.bases.front());
                outline.insert(outline.end(), run.bases.rbegin(), run.bases.rend());
            }
        } else {
            outline.insert(outline.end(), run.bases.rbegin(), run.bases.rend());
        }
        st.fill = col;
        if (d.alpha == 1)
            st.fill.a = 0.85;
        if (el.exterior) {
            st.stroke = constantColor(el.exterior, col);
            st.strokeWidth = 1.5;
        }
    } else {
        kind = el.closed ? MarkKind::Polygon : MarkKind::Polyline;
        role = el.type == "path" ? Role::Path : Role::Line;
        st.stroke = col;
        st.strokeWidth = 2;
        // A constant size is the line's width: a bare number or px in pixels.
        if (el.size && !el.size->args.empty() && !el.fitLine) {
            double w = sizeValue(el.size->args[0], 0, 2);
            st.strokeWidth = w > 0 ? std::min(w, 30.0) : 2;
        }
        if (el.shape && !el.shape->args.empty() && el.shape->args[0].key() == "shape.dash")
            st.dash = {6, 4};
        if (pts.front()->shape >= 0)  // a shape of a variable: a dash per category
            st.dash = dashPattern(d.layer.shape.at(pts.front()->shape));
        if (run.points.size() == 1) {  // a lone point of a broken line
            kind = MarkKind::Circle;
            st.fill = col;
            st.size = 2;
        }
    }
    if (kind == MarkKind::Polygon) {
        outline = clipPolygon(std::move(outline), d.g.plot);
        if (outline.size() < 3)
            return;
    }
    Batch& b = scene.batch(kind, role, st);
    if (kind == MarkKind::Circle)
        b.addCircle(run.points[0].x, run.points[0].y, 2);
    else
        b.addPath(outline);
    b.setMeaning(d.categoryKey(*pts.front()), d.colorKey(*pts.front()), 0);
    if (d.layer.textured && kind == MarkKind::Polygon)
        hatchShape(scene, outline, d.layer.shape.at(pts.front()->shape), st.fill);
    if (el.fitLine && pts.back()->label >= 0 && run.points.size() > 1) {
        // The fit's R squared at the right end of its line.
        Point e = run.points.back();
        Batch& t = addText(scene, Role::FitLabel, d.layer.labels[std::size_t(pts.back()->label)],
                           e.x - 2, e.y - 6, 10, 1, col);
        t.setMeaning(-1, d.colorKey(*pts.back()), 0);
    }
}

// A polygon over two categorical dimensions: a heat map, one cell per row filling the bands
// of its two categories.
void drawCategoryCells(ElementDraw& d) {
    PanelGeometry const& g = d.g;
    Style st;
    st.stroke = {1, 1, 1, 1};
    st.strokeWidth = 1;
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        if (m.y == kSysmis)
            continue;
        double start, width;
        g.band(d.layer.x.at(m.x), d.layer.cluster.at(m.cluster), start, width);
        double a = g.origin() + start, b = a + width;
        double v0 = g.valuePos(m.y - 0.5), v1 = g.valuePos(m.y + 0.5);
        Color c = d.colorOf(m);
        c.a = d.alpha;
        Batch& cells = d.dc.scene.batch(MarkKind::Polygon, Role::Polygon, st);
        cells.addPath({g.at(a, v0), g.at(b, v0), g.at(b, v1), g.at(a, v1)});
        cells.setFill(c);
        cells.setMeaning(d.categoryKey(m), d.colorKey(m), m.y);
    }
}

}  // namespace

// area.difference: the band between the first two series, in the colour of the series above,
// split where they cross.
bool drawDifference(ElementDraw& d) {
    PanelGeometry const& g = d.g;
    bool categorical = d.dc.scales.xCategorical;
    auto series = bySeries(d.rows);
    if (series.size() < 2)
        return false;
    // The two series' values at each place along dimension 1.
    std::map<double, std::pair<Row const*, Row const*>> at;
    for (int s = 0; s < 2; ++s)
        for (auto const* m : series[std::size_t(s)]) {
            if (m->y == kSysmis)
                continue;
            double along = categorical ? d.layer.x.at(m->x) : m->xNum;
            (s == 0 ? at[along].first : at[along].second) = m;
        }
    struct Place {
        double c, a, b;  // page positions: along, the first series, the second
    };
    std::vector<Place> places;
    for (auto const& [along, pair] : at)
        if (pair.first && pair.second)
            places.push_back({g.catPos(d.layer, *pair.first), g.valuePos(pair.first->y),
                              g.valuePos(pair.second->y)});
    std::vector<Point> upper, lower;
    int sign = 0;
    auto emit = [&] {
        if (upper.size() >= 2 && sign != 0) {
            std::vector<Point> outline = upper;
            outline.insert(outline.end(), lower.rbegin(), lower.rend());
            outline = clipPolygon(std::move(outline), g.plot);
            // On the page a larger value is higher up: a smaller y when not transposed.
            Row const& above = sign > 0 ? *series[0].front() : *series[1].front();
            Color col = d.colorOf(above);
            if (d.alpha == 1)
                col.a = 0.85;
            Style st;
            st.fill = col;
            if (outline.size() >= 3) {
                Batch& b = d.dc.scene.batch(MarkKind::Polygon, Role::Area, st);
                b.addPath(outline);
                b.setMeaning(-1, d.colorKey(above), 0);
            }
        }
        upper.clear();
        lower.clear();
    };
    for (std::size_t i = 0; i < places.size(); ++i) {
        Place const& p = places[i];
        double gap = g.tr ? p.a - p.b : p.b - p.a;  // > 0: the first series is above
        int s = gap > 0 ? 1 : gap < 0 ? -1 : 0;
        if (i > 0 && s != 0 && sign != 0 && s != sign) {
            Place const& q = places[i - 1];
            double before = g.tr ? q.a - q.b : q.b - q.a;
            double t = before / (before - gap);
            Point cross = g.at(q.c + t * (p.c - q.c), q.a + t * (p.a - q.a));
            upper.push_back(cross);
            lower.push_back(cross);
            emit();
            upper.push_back(cross);
            lower.push_back(cross);
        }
        if (s != 0)
            sign = s;
        upper.push_back(g.at(p.c, p.a));
        lower.push_back(g.at(p.c, p.b));
    }
    emit();
    return true;
}

void drawLines(ElementDraw& d) {
    ElementSpec const& el = d.el;
    PanelGeometry const& g = d.g;
    if (el.type == "area" && el.modifier == "difference" && drawDifference(d))
        return;
    bool categorical = d.dc.scales.xCategorical;
    if (el.type == "polygon" && categorical && d.layer.yCategorical)
        return drawCategoryCells(d);
    for (auto& pts : bySeries(d.rows)) {
        if (el.type != "path" && el.type != "polygon")
            std::stable_sort(pts.begin(), pts.end(), [&](Row const* a, Row const* b) {
                return categorical ? d.layer.x.at(a->x) < d.layer.x.at(b->x) : a->xNum < b->xNum;
            });
        std::vector<Run> runs(1);
        // In a polar plane a continuous first dimension goes round: a segment between two
        // points bends with it, in steps of a few degrees.
        bool arcs = g.polar && !categorical && el.type != "path" && el.type != "polygon";
        double lastC = 0, lastV = 0, lastB = 0;
        for (auto const* m : pts) {
            if (m->y == kSysmis) {
                if (el.missing != "interpolate" && !runs.back().points.empty())
                    runs.emplace_back();
                continue;
            }
            double c = g.catPos(d.layer, *m), v = g.valuePos(m->y);
            // A range's band runs between its two ends; a stack's from the layer below.
            double b = g.valuePos(m->ranged || el.modifier == "stack" ? m->y0 : g.baseValue());
            if (arcs && !runs.back().points.empty()) {
                int steps = std::min(90, int(std::fabs(c - lastC) / std::max(1.0, g.plot.w) * 120));
                for (int k = 1; k < steps; ++k) {
                    double t = double(k) / steps;
                    runs.back().points.push_back(
                        g.at(lastC + t * (c - lastC), lastV + t * (v - lastV)));
                    runs.back().bases.push_back(
                        g.at(lastC + t * (c - lastC), lastB + t * (b - lastB)));
                }
            }
            lastC = c, lastV = v, lastB = b;
            runs.back().points.push_back(g.at(c, v));
            runs.back().bases.push_back(g.at(c, b));
        }
        Color col = d.colorOf(*pts.front());
        if (el.fitLine && pts.front()->color < 0)
            col = kFitColor;
        bool bands = el.type == "area" || el.type == "polygon" || el.closed;
        // In a polar plane the categories go round: a whole series closes on itself.
        bool ring = g.polar && categorical && runs.size() == 1 && el.type != "path" &&
                    el.type != "polygon" && runs[0].points.size() > 2;
        if (ring && el.type == "line" && !el.closed)
            runs[0].points.push_back(runs[0].points.front());
        runs[0].ring = ring && el.type == "area";
        for (auto const& run : runs) {
            if (run.points.empty())
                continue;
            if (bands) {
                drawRun(d, run, pts, col);
                continue;
            }
            // A line beyond the scale's limits stops at the plot's edge.
            for (auto& part : clipPolyline(run.points, g.plot)) drawRun(d, Run{part, {}}, pts, col);
        }
    }
}

void drawEdges(ElementDraw& d) {
    PanelGeometry const& g = d.g;
    std::map<std::pair<std::int32_t, std::int32_t>, Row const*> last;
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        if (m.y == kSysmis)
            continue;
        if (m.ranged) {  // a range is one segment from its low to its high end
            if (m.y0 == kSysmis)
                continue;
            double c = g.catPos(d.layer, m);
            auto parts =
                clipPolyline({g.at(c, g.valuePos(m.y0)), g.at(c, g.valuePos(m.y))}, g.plot);
            if (parts.empty())
                continue;
            addLine(d.dc.scene, Role::Edge, parts[0].front(), parts[0].back(), d.colorOf(m), 1.5)
                .setMeaning(d.categoryKey(m), d.colorKey(m), m.y, m.y0);
            continue;
        }
        auto [it, fresh] = last.try_emplace({m.color, m.series}, &m);
        if (!fresh) {
            Row const& prev = *it->second;
            Point a = g.at(g.catPos(d.layer, prev), g.valuePos(prev.y));
            Point b = g.at(g.catPos(d.layer, m), g.valuePos(m.y));
            it->second = &m;
            auto parts = clipPolyline({a, b}, g.plot);
            if (parts.empty())
                continue;
            addLine(d.dc.scene, Role::Edge, parts[0].front(), parts[0].back(), d.colorOf(m), 1.5)
                .setMeaning(d.categoryKey(m), d.colorKey(m), 0);
        }
    }
}

}  // namespace host::chart
