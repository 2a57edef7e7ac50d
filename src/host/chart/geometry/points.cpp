// Points: circles, or markers of a shape, one batch per shape with the colours per point.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>

#include "host/chart/frame/frame.h"
#include "host/chart/geometry/elements.h"
#include "host/chart/geometry/label_placement.h"
#include "host/chart/geometry/oblique.h"
#include "host/chart/layout/text_fit.h"
#include "host/chart/scales/tick_labels.h"

namespace host::chart {

namespace {

MarkerShape shapeNamed(std::string const& name) {
    if (name == "square")
        return MarkerShape::Square;
    if (name == "triangle")
        return MarkerShape::Triangle;
    if (name == "diamond")
        return MarkerShape::Diamond;
    if (name == "cross")
        return MarkerShape::Cross;
    return MarkerShape::Circle;
}

// A point's size is its diameter, kept between a pixel and the plot's smaller side.
double pointDiameter(gpl::Node const& n, Rect const& plot) {
    double side = std::max(1.0, std::min(plot.w, plot.h));
    double px = markSize(n, 8).on(side);
    return std::isfinite(px) ? std::clamp(px, 1.0, side) : 8;
}

// Beyond this many labels in one plot the rest are left out: nobody reads them.
constexpr std::size_t kMaxPointLabels = 5000;

// The labels of the points beside them, where there is room; the rest are counted as left out.
void labelPoints(ElementDraw& d, std::vector<PointDisc> const& discs,
                 std::vector<std::pair<std::size_t, std::string>> const& labelled) {
    constexpr double kFont = 10;
    std::vector<LabelRequest> requests;
    std::vector<std::string const*> texts;
    std::size_t tooMany = labelled.size() > kMaxPointLabels ? labelled.size() - kMaxPointLabels : 0;
    for (std::size_t i = 0; i + tooMany < labelled.size(); ++i) {
        std::string const& text = labelled[i].second;
        TextSize size = measureText(text, kFont, d.dc.measurer);
        requests.push_back({labelled[i].first, size.width, size.height});
        texts.push_back(&text);
    }
    auto places = placeLabels(discs, requests, d.g.plot);
    std::size_t leftOut = tooMany;
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (!places[i]) {
            ++leftOut;
            continue;
        }
        Rect const& b = *places[i];
        // The baseline sits a fifth of the line height above the box's bottom.
        addText(d.dc.scene, Role::PointLabel, *texts[i], b.x, b.y + b.h * 0.8, kFont, -1,
                kTextColor);
    }
    auto& count = d.dc.labelsLeftOut[d.el.line];
    count.first += leftOut;
    count.second += labelled.size();
}

Batch& addPointBatch(Scene& scene, MarkerShape shape, double radius, Color fill, Color stroke) {
    Batch& b = scene.batches.emplace_back();
    b.kind = shape == MarkerShape::Circle ? MarkKind::Circle : MarkKind::Marker;
    b.role = Role::Point;
    b.style.shape = shape;
    b.style.size = radius;
    b.style.fill = fill;
    b.style.stroke = stroke;
    b.style.strokeWidth = stroke.a > 0 ? 1.5 : 0;
    return b;
}

// Whether a value stands within the plot along the value axis (half a pixel of slack): one
// beyond the scale's limits is not drawn over the neighbouring plots.
bool withinValues(PanelGeometry const& g, double v) {
    double lo = g.tr ? g.plot.x : g.plot.y, hi = lo + (g.tr ? g.plot.w : g.plot.h);
    return v >= lo - 0.5 && v <= hi + 0.5;
}

// A plain scatter (layer.h): every case's values become its position in place, and the
// columns are handed to one batch.
void drawPlainPoints(ElementDraw& d, double radius, MarkerShape shape, Color outline) {
    PlainPoints& plain = d.layer.plain;
    PanelGeometry const& g = d.g;
    Row m = plain.proto;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < plain.y.size(); ++i) {
        m.xNum = plain.x[i];
        m.y = plain.y[i];
        if (m.y == kSysmis)
            continue;
        double v = g.valuePos(m.y);
        if (!withinValues(g, v))
            continue;
        Point at = g.at(g.catPos(d.layer, m), v);
        plain.x[kept] = at.x;
        plain.y[kept] = at.y;
        ++kept;
    }
    plain.x.resize(kept);
    plain.y.resize(kept);
    if (kept > 0) {
        Batch& b = addPointBatch(d.dc.scene, shape, radius, d.colorOf(m), outline);
        b.x = std::move(plain.x);
        b.y = std::move(plain.y);
        b.count = kept;
        // What the marks stand for, as the rows of such a layer would say it.
        if (std::int32_t cat = d.categoryKey(m); cat >= 0)
            b.category.assign(kept, cat);
        if (std::int32_t grp = d.colorKey(m); grp >= 0)
            b.group.assign(kept, grp);
    }
    plain = {};
}

}  // namespace

void drawPoints(ElementDraw& d) {
    ElementSpec const& el = d.el;
    PanelGeometry const& g = d.g;
    double radius = 4;
    if (el.size && !el.size->args.empty())
        radius = pointDiameter(el.size->args[0], g.plot) / 2;
    MarkerShape fixedShape = MarkerShape::Circle;
    if (el.shape && !el.shape->args.empty() &&
        el.shape->args[0].name.find('.') != std::string::npos)
        fixedShape = shapeNamed(el.shape->args[0].key().substr(6));
    // One batch per shape and outline colour, made as it is first met.
    std::map<std::pair<MarkerShape, std::int32_t>, std::size_t> batches;
    Scene& scene = d.dc.scene;
    Scales const& scales = *d.g.scales;
    Color outline = constantColor(el.exterior, {0, 0, 0, 0});
    if (d.layer.plain.on) {
        drawPlainPoints(d, radius, fixedShape, outline);
        return;
    }
    std::vector<PointDisc> discs;
    std::vector<std::pair<std::size_t, std::string>> labelled;  // disc, text
    // The document's data labels: each point's value, unless it has a label of its own.
    bool values = d.dc.spec.dataLabels.on && d.dc.spec.dataLabels.variable.empty();
    // A point's value is where it stands. Beyond the size painted as one picture, the value is
    // not kept a second time per point: a million points would carry 8 MB more for nobody.
    bool const keepValues = d.rows.size() < kPictureMarks;
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        if (m.y == kSysmis)
            continue;
        // A value beyond the scale's limits is not drawn over the neighbouring plots.
        double c = g.catPos(d.layer, m), v = g.valuePos(m.y);
        if (g.deep ? !g.deep->holds(m.xNum, m.y, m.z) : !withinValues(g, v))
            continue;
        Point at = g.deep ? g.deep->at(m.xNum, m.y, m.z) : g.at(c, v);
        MarkerShape shape = fixedShape;
        if (m.shape >= 0)
            shape = markerShape(d.layer.shape.at(m.shape));
        std::int32_t ring = d.layer.exterior.at(m.exterior);
        auto [it, fresh] = batches.try_emplace({shape, ring}, scene.batches.size());
        if (fresh) {
            Color stroke = ring >= 0 ? d.dc.palette.outlines[std::size_t(ring)] : outline;
            addPointBatch(scene, shape, radius, d.colorOf(m), stroke).reserve(d.rows.size());
        }
        Batch& b = scene.batches[it->second];
        double r = radius;
        if (d.layer.sizeScale)
            r = sizeRadius(*d.dc.layers, m.sval);
        else if (std::int32_t cat = d.layer.size.at(m.size); cat >= 0)
            r = categorySizeRadius(*d.dc.layers, cat, scales.size.size());
        b.addCircle(at.x, at.y, r);
        b.setFill(d.colorOf(m));
        b.setMeaning(d.categoryKey(m), d.colorKey(m), keepValues ? m.y : 0);
        if (d.layer.labels.empty() && !values)
            continue;  // no labels: no need to know where the points are
        if (m.label >= 0)
            labelled.emplace_back(discs.size(), d.layer.labels[std::size_t(m.label)]);
        else if (values)
            labelled.emplace_back(discs.size(), valueText(m.y, *d.dc.layers));
        discs.push_back({at.x, at.y, r});
    }
    if (!labelled.empty())
        labelPoints(d, discs, labelled);
}

}  // namespace host::chart
