#pragma once
// Rows for chart-engine tests, the scene built from them with fixed text metrics, and the
// marks of a role read back with what they stand for, so that a test reads as "the bar of
// Clerical is 34,000 high".

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/chart/chart_render.h"
#include "host/chart/scene/scene.h"
#include "platform/chart.h"
#include "platform/var_data_processor.h"

namespace test {

// One cell of a test row: a number, or a text.
struct Cell {
    bool text;
    double number;
    std::string s;
    Cell(double v) : text(false), number(v) {}
    Cell(char const* v) : text(true), number(0), s(v) {}
};

// A store with one source of the given columns and rows.
inline void fill(VarDataProcessor& vdp, std::string const& source,
                 std::vector<std::string> const& cols, std::vector<std::vector<Cell>> const& rows) {
    vdp.AddDataSource(source, 10);
    for (auto const& c : cols) vdp.AddVariable(source, c, nullptr);
    for (unsigned r = 0; r < rows.size(); ++r)
        for (std::size_t c = 0; c < cols.size(); ++c)
            if (rows[r][c].text)
                vdp.SetStringVariableValue(source, cols[c], r, rows[r][c].s);
            else
                vdp.SetVariableValue(source, cols[c], r, rows[r][c].number);
}

inline host::chart::Scene scene(XDocument& doc, VarDataProcessor* vdp) {
    EXPECT_TRUE(doc.implementationExists()) << doc.errorText();
    host::chart::FixedTextMeasurer fixed;
    return host::chart::buildScene(doc.model(), vdp, fixed);
}

// One mark as a test reads it. Rect: x, y, w, h. Circle and marker: centre x, y, radius w
// (and a marker's outline in `points`). Text: anchor x, y. Lines and polygons: `points`.
struct Mark {
    host::chart::MarkKind kind = host::chart::MarkKind::Rect;
    double x = 0, y = 0, w = 0, h = 0;
    std::vector<host::chart::Point> points;
    std::string text;
    std::string category, group;
    double value = 0, value2 = 0;
    host::chart::Color fill, stroke;
    double strokeWidth = 0;
    std::vector<double> dash;
    double fontSize = 0, angle = 0;
    int anchor = 0;
    bool bold = false;
};

// The marks of a role (its SVG class: "bar", "tick-label-1", ...), in drawing order.
inline std::vector<Mark> marks(host::chart::Scene const& s, std::string const& role) {
    namespace hc = host::chart;
    std::vector<Mark> out;
    auto key = [&](std::int32_t k) { return k < 0 ? std::string() : s.keys[std::size_t(k)]; };
    for (auto const& b : s.batches) {
        if (role != hc::roleName(b.role))
            continue;
        for (std::size_t i = 0; i < b.size(); ++i) {
            Mark m;
            m.kind = b.kind == hc::MarkKind::Marker ? hc::MarkKind::Polygon : b.kind;
            m.x = b.x.empty() ? 0 : b.x[i];
            m.y = b.y.empty() ? 0 : b.y[i];
            if (b.kind == hc::MarkKind::Rect) {
                m.w = b.w[i];
                m.h = b.h[i];
            } else if (b.kind == hc::MarkKind::Circle || b.kind == hc::MarkKind::Marker) {
                m.w = b.radiusAt(i);
            }
            if (b.kind == hc::MarkKind::Marker)
                m.points = hc::markerOutline(b.style.shape, m.x, m.y, m.w);
            if (b.kind == hc::MarkKind::Polyline || b.kind == hc::MarkKind::Polygon)
                m.points.assign(b.points.begin() + b.start[i], b.points.begin() + b.pointsEnd(i));
            if (b.kind == hc::MarkKind::Text)
                m.text = b.text[i];
            m.category = key(b.categoryAt(i));
            m.group = key(b.groupAt(i));
            m.value = b.valueAt(i);
            m.value2 = b.value2At(i);
            m.fill = b.fillAt(i);
            m.stroke = b.style.stroke;
            m.strokeWidth = b.style.strokeWidth;
            m.dash = b.style.dash;
            m.fontSize = b.style.fontSize;
            m.angle = b.style.angle;
            m.anchor = b.style.anchor;
            m.bold = b.style.bold;
            out.push_back(std::move(m));
        }
    }
    return out;
}

// The texts of a role's marks, in drawing order.
inline std::vector<std::string> texts(host::chart::Scene const& s, std::string const& role) {
    std::vector<std::string> out;
    for (auto const& m : marks(s, role)) out.push_back(m.text);
    return out;
}

// Page pixels back to data values along a continuous axis, from its first and last tick
// labels (a vertical axis' labels stand 0.35 of their size below their tick).
struct AxisMap {
    double p0 = 0, v0 = 0, p1 = 1, v1 = 1;
    double value(double pixel) const { return v0 + (pixel - p0) * (v1 - v0) / (p1 - p0); }
    double perUnit() const { return std::abs((p1 - p0) / (v1 - v0)); }
};
inline AxisMap axisMap(std::vector<Mark> const& ticks, bool vertical) {
    AxisMap m;
    if (ticks.size() < 2)
        return m;
    auto px = [&](Mark const& t) { return vertical ? t.y - t.fontSize * 0.35 : t.x; };
    m.p0 = px(ticks.front());
    m.v0 = ticks.front().value;
    m.p1 = px(ticks.back());
    m.v1 = ticks.back().value;
    return m;
}
inline AxisMap axisMap(host::chart::Scene const& s, int dim, bool vertical) {
    return axisMap(marks(s, "tick-label-" + std::to_string(dim)), vertical);
}

}  // namespace test
