// Lines, paths, areas and polygons: one mark per series and run, broken where a value is
// missing (unless missing values are interpolated); edges between consecutive points.

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "host/chart/frame/frame.h"
#include "host/chart/geometry/elements.h"

namespace host::chart {

namespace {

const Color kFitColor{0.15, 0.15, 0.15, 1};

struct Run {
    std::vector<Point> points, bases;
};

// The rows of each series (colour and series together), in the order the series are met.
std::vector<std::vector<Row const*>> bySeries(RowSet const& rows) {
    std::map<std::pair<std::int32_t, std::int32_t>, std::size_t> index;
    std::vector<std::vector<Row const*>> out;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        Row const& m = rows[i];
        auto [it, fresh] = index.try_emplace({m.color, m.series}, out.size());
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
        st.stroke = col;
        st.strokeWidth = 1.5;
    } else if (el.type == "area") {
        kind = MarkKind::Polygon;
        role = Role::Area;
        outline.insert(outline.end(), run.bases.rbegin(), run.bases.rend());
        st.fill = col;
        if (d.alpha == 1)
            st.fill.a = 0.85;
    } else {
        kind = el.closed ? MarkKind::Polygon : MarkKind::Polyline;
        role = el.type == "path" ? Role::Path : Role::Line;
        st.stroke = col;
        st.strokeWidth = 2;
        if (el.shape && !el.shape->args.empty() && el.shape->args[0].key() == "shape.dash")
            st.dash = {6, 4};
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
    if (el.fitLine && pts.back()->label >= 0 && run.points.size() > 1) {
        // The fit's R squared at the right end of its line.
        Point e = run.points.back();
        Batch& t = addText(scene, Role::FitLabel, d.layer.labels[std::size_t(pts.back()->label)],
                           e.x - 2, e.y - 6, 10, 1, col);
        t.setMeaning(-1, d.colorKey(*pts.back()), 0);
    }
}

}  // namespace

void drawLines(ElementDraw& d) {
    ElementSpec const& el = d.el;
    PanelGeometry const& g = d.g;
    bool categorical = d.dc.scales.xCategorical;
    for (auto& pts : bySeries(d.rows)) {
        if (el.type != "path" && el.type != "polygon")
            std::stable_sort(pts.begin(), pts.end(), [&](Row const* a, Row const* b) {
                return categorical ? d.layer.x.at(a->x) < d.layer.x.at(b->x) : a->xNum < b->xNum;
            });
        std::vector<Run> runs(1);
        for (auto const* m : pts) {
            if (m->y == kSysmis) {
                if (el.missing != "interpolate" && !runs.back().points.empty())
                    runs.emplace_back();
                continue;
            }
            double c = g.catPos(d.layer, *m), v = g.valuePos(m->y);
            // A range's band runs between its two ends; a stack's from the layer below.
            double b = g.valuePos(m->ranged || el.modifier == "stack" ? m->y0 : g.baseValue());
            runs.back().points.push_back(g.at(c, v));
            runs.back().bases.push_back(g.at(c, b));
        }
        Color col = d.colorOf(*pts.front());
        if (el.fitLine && pts.front()->color < 0)
            col = kFitColor;
        bool bands = el.type == "area" || el.type == "polygon" || el.closed;
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
