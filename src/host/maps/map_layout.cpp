#include "host/maps/map_picture.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "host/chart/chart_render.h"
#include "host/chart/scales/ticks.h"

namespace host::maps {
namespace {

using chart::Color;
using chart::MarkKind;
using chart::Role;

constexpr double kMargin = 12;
constexpr double kTitleSize = 15, kTextSize = 11;
constexpr double kBarWidth = 14, kBarHeight = 170;
constexpr int kBarSlices = 64;
// More categories than this end the legend with "and N more".
constexpr std::size_t kMaxSwatches = 16;

Color rgb(int r, int g, int b) {
    return {r / 255.0, g / 255.0, b / 255.0, 1};
}

chart::Style textStyle(double size, int anchor, bool bold) {
    chart::Style st;
    st.fill = rgb(0x22, 0x22, 0x22);
    st.fontSize = size;
    st.anchor = anchor;
    st.bold = bold;
    return st;
}

void text(chart::Scene& scene, Role role, std::string const& s, double x, double y, double size,
          int anchor, bool bold = false, double value = 0) {
    auto& b = scene.batch(MarkKind::Text, role, textStyle(size, anchor, bold));
    b.addText(x, y, s);
    if (value != 0)
        b.setMeaning(-1, -1, value);
}

void rect(chart::Scene& scene, Role role, double x, double y, double w, double h, Color fill,
          std::string const& category = {}, double value = 0) {
    auto& b = scene.batch(MarkKind::Rect, role, chart::Style{});
    b.addRect(x, y, w, h);
    b.setFill(fill);
    b.setMeaning(scene.key(category), -1, value);
}

Role shapeRole(std::string const& role) {
    return role == "reference"         ? Role::MapReference
           : role == "feature-no-data" ? Role::FeatureNoData
                                       : Role::Feature;
}

struct Bounds {
    double x0 = std::numeric_limits<double>::infinity(), y0 = x0, x1 = -x0, y1 = -x0;
    void add(XY p) {
        x0 = std::min(x0, p.x), x1 = std::max(x1, p.x);
        y0 = std::min(y0, p.y), y1 = std::max(y1, p.y);
    }
    bool empty() const { return !(x1 >= x0 && y1 >= y0); }
};

// The legend's width, measured, so the map takes the rest of the page.
double legendWidth(MapLegend const& legend, chart::TextMeasurer const& m, double& tickWidth) {
    if (legend.kind == MapLegend::Kind::None && !legend.noData)
        return 0;
    double w = m.measure(legend.title, kTextSize, true).width;
    tickWidth = 0;
    if (legend.kind == MapLegend::Kind::Gradient)
        for (double t : chart::niceTicks(legend.low, legend.high, 5))
            tickWidth =
                std::max(tickWidth,
                         m.measure(chart::formatNumber(t, legend.format), kTextSize, false).width);
    for (auto const& [name, color] : legend.categories)
        tickWidth = std::max(tickWidth, m.measure(name, kTextSize, false).width);
    if (legend.noData)
        tickWidth = std::max(tickWidth, m.measure("No data", kTextSize, false).width);
    return std::min(220.0, std::max(w, kBarWidth + 6 + tickWidth)) + kMargin;
}

void drawLegend(chart::Scene& scene, MapLegend const& legend, double x, double top,
                chart::TextMeasurer const& m) {
    double y = top;
    if (!legend.title.empty()) {
        text(scene, Role::LegendTitle, legend.title, x, y + kTextSize, kTextSize, -1, true);
        y += m.measure(legend.title, kTextSize, true).height + 6;
    }
    if (legend.kind == MapLegend::Kind::Gradient) {
        // Darkest at the top, as the largest tick is.
        double const slice = kBarHeight / kBarSlices;
        for (int i = 0; i < kBarSlices; ++i) {
            double t = 1 - (i + 0.5) / kBarSlices;
            rect(scene, Role::LegendGradient, x, y + i * slice, kBarWidth, slice + 0.5,
                 sequentialColor(t), {}, legend.low + t * (legend.high - legend.low));
        }
        double const span = legend.high - legend.low;
        auto const ticks = chart::niceTicks(legend.low, legend.high, 5);
        double const step = ticks.size() > 1 ? ticks[1] - ticks[0] : 0;
        chart::Style tickStyle;
        tickStyle.stroke = rgb(0x44, 0x44, 0x44);
        tickStyle.strokeWidth = 1;
        for (double t : ticks) {
            if (t < legend.low - 1e-9 * std::fabs(span) || t > legend.high + 1e-9 * std::fabs(span))
                continue;
            double frac = span > 0 ? (t - legend.low) / span : 0.5;
            double ty = y + kBarHeight * (1 - frac);
            scene.batch(MarkKind::Polyline, Role::LegendTick, tickStyle)
                .addPath({x + kBarWidth, ty}, {x + kBarWidth + 4, ty});
            text(scene, Role::LegendLabel, chart::formatNumber(t, legend.format, step),
                 x + kBarWidth + 6, ty + kTextSize * 0.35, kTextSize, -1, false, t);
        }
        y += kBarHeight + 10;
    }
    std::size_t shown = 0;
    for (auto const& [name, color] : legend.categories) {
        if (++shown > kMaxSwatches) {
            text(scene, Role::LegendLabel,
                 fmt::format("and {} more", legend.categories.size() - kMaxSwatches), x,
                 y + kBarWidth * 0.8, kTextSize, -1);
            y += kBarWidth + 5;
            break;
        }
        rect(scene, Role::LegendSwatch, x, y, kBarWidth, kBarWidth, color, name);
        text(scene, Role::LegendLabel, name, x + kBarWidth + 6, y + kBarWidth * 0.8, kTextSize, -1);
        y += kBarWidth + 5;
    }
    if (legend.noData) {
        rect(scene, Role::LegendSwatch, x, y, kBarWidth, kBarWidth, noDataColor(), "No data");
        text(scene, Role::LegendLabel, "No data", x + kBarWidth + 6, y + kBarWidth * 0.8, kTextSize,
             -1);
    }
}

}  // namespace

Color sequentialColor(double t) {
    // Light to dark blue through three stops; the light end stays apart from the grey of no data.
    static Color const stops[] = {rgb(0xDE, 0xEB, 0xF7), rgb(0x6B, 0xAE, 0xD6),
                                  rgb(0x08, 0x30, 0x6B)};
    t = std::clamp(std::isfinite(t) ? t : 0.0, 0.0, 1.0);
    double const pos = t * 2;
    int const i = std::min(1, static_cast<int>(pos));
    double const f = pos - i;
    auto mix = [&](double a, double b) { return a + (b - a) * f; };
    return {mix(stops[i].r, stops[i + 1].r), mix(stops[i].g, stops[i + 1].g),
            mix(stops[i].b, stops[i + 1].b), 1};
}

Color noDataColor() {
    return rgb(0xD4, 0xD4, 0xD4);
}

chart::Scene layoutMap(MapPicture const& picture, Projection const& projection,
                       chart::TextMeasurer const& m) {
    chart::Scene scene;
    scene.width = picture.width;
    scene.height = picture.height;
    double top = kMargin;
    for (auto const* t : {&picture.title, &picture.subtitle}) {
        if (t->empty())
            continue;
        double size = t == &picture.title ? kTitleSize : kTextSize + 1;
        double h = m.measure(*t, size, t == &picture.title).height;
        text(scene, t == &picture.title ? Role::Title : Role::Subtitle, *t, picture.width / 2,
             top + h * 0.8, size, 0, t == &picture.title);
        top += h + 4;
    }
    double bottom = picture.height - kMargin;
    if (!picture.footnote.empty()) {
        double h = m.measure(picture.footnote, kTextSize, false).height;
        text(scene, Role::Footnote, picture.footnote, kMargin, bottom - h * 0.2, kTextSize, -1);
        bottom -= h + 4;
    }
    double tickWidth = 0;
    double const lw = legendWidth(picture.legend, m, tickWidth);
    double const left = kMargin, right = picture.width - kMargin - lw;

    // Project every ring once; the plot's scale comes from their extent.
    std::vector<std::vector<std::vector<XY>>> projected(picture.shapes.size());
    Bounds b;
    for (std::size_t i = 0; i < picture.shapes.size(); ++i)
        for (auto const& polygon : picture.shapes[i].feature->polygons)
            for (auto const& whole : polygon.rings)
                for (auto const& ring : projection.pieces(whole)) {
                    std::vector<XY> out;
                    out.reserve(ring.size());
                    for (auto const& p : ring)
                        if (auto q = projection(p))
                            out.push_back(*q), b.add(*q);
                    projected[i].push_back(std::move(out));
                }
    std::vector<std::optional<XY>> points;
    for (auto const& p : picture.points) {
        points.push_back(projection(p.at));
        if (points.back())
            b.add(*points.back());
    }
    if (b.empty()) {
        scene.warnings.push_back("nothing of the map lies where its projection can show it");
        return scene;
    }
    double const w = std::max(b.x1 - b.x0, 1e-9), h = std::max(b.y1 - b.y0, 1e-9);
    double const scale = std::min((right - left) / w, (bottom - top) / h);
    double const ox = left + ((right - left) - w * scale) / 2,
                 oy = top + ((bottom - top) - h * scale) / 2;
    auto toPage = [&](XY p) {
        return chart::Point{ox + (p.x - b.x0) * scale, oy + (b.y1 - p.y) * scale};
    };

    bool noData = false;  // a feature without data is drawn: the legend shows its grey
    for (std::size_t i = 0; i < picture.shapes.size(); ++i) {
        auto const& shape = picture.shapes[i];
        std::vector<std::vector<chart::Point>> rings;
        for (auto const& ring : projected[i]) {
            if (ring.size() < 3)
                continue;
            rings.emplace_back();
            for (auto const& q : ring) rings.back().push_back(toPage(q));
        }
        if (rings.empty())
            continue;
        chart::Style style;
        style.stroke = shape.role == "reference" ? rgb(0xB0, 0xB0, 0xB0) : rgb(0xFF, 0xFF, 0xFF);
        style.strokeWidth = 0.5;
        auto& batch = scene.batch(MarkKind::Polygon, shapeRole(shape.role), style);
        batch.addRings(rings);
        batch.setFill(shape.fill);
        batch.setMeaning(scene.key(shape.category), -1, shape.value);
        noData |= shape.role == "feature-no-data";
    }
    chart::Style pointStyle;
    pointStyle.stroke = rgb(0xFF, 0xFF, 0xFF);
    pointStyle.strokeWidth = 0.6;
    pointStyle.size = 3.5;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!points[i])
            continue;
        auto at = toPage(*points[i]);
        auto& batch = scene.batch(MarkKind::Circle, Role::Point, pointStyle);
        batch.addCircle(at.x, at.y, picture.points[i].radius);
        batch.setFill(picture.points[i].fill);
        batch.setMeaning(scene.key(picture.points[i].category), -1, picture.points[i].value);
    }
    MapLegend legend = picture.legend;
    legend.noData = legend.noData && noData;
    if (legend.kind != MapLegend::Kind::None || legend.noData)
        drawLegend(scene, legend, right + kMargin, top + 10, m);
    return scene;
}

}  // namespace host::maps
