// Rows made from rows: smoothers over summaries, hexagon sizes and density edges, fit lines of
// inline templates, and the cells of heat maps.
#include "host/chart/layer/layer_builder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>

#include <fmt/format.h>

#include "host/chart/layer/category_order.h"
#include "host/chart/scales/ticks.h"
#include "host/chart/spec/data_labels.h"
#include "host/chart/stats/fit_statistics.h"
#include "platform/chart_string.h"

namespace host::chart::layer_build {

// A smoother over a summary's rows: their places and values are its points, per panel,
// colour and series.
void LayerBuilder::smoothRows(Plan const& plan, Layer& layer) {
    std::vector<Row> summaries = std::move(layer.rows);
    layer.rows.clear();
    std::map<std::array<std::int32_t, 6>, Group> groups;
    std::sort(summaries.begin(), summaries.end(),
              [](Row const& a, Row const& b) { return a.xNum < b.xNum; });
    for (auto const& m : summaries) {
        if (m.y == kSysmis)
            continue;
        auto [it, fresh] =
            groups.try_emplace({m.cluster, m.panelCol, m.panelRow, m.color, m.shape, m.series});
        Group& g = it->second;
        if (fresh)
            g.row = m;
        g.xs.push_back(m.xNum);
        g.sample.add(m.y, 1);
        g.count += 1;
    }
    StatContext context{plan.outerStatistic};
    context.call = plan.outerCall;
    context.modifier = plan.element->modifier;
    StatisticDef const* def = findStatistic(plan.outerStatistic);
    for (auto const& [key, g] : groups)
        if (def && def->compute)
            def->compute(context, g, layer);
}

// Hexagons of one size for every panel and group: binCount(n) across the range of dimension
// 1 (20 by default), as high as makes them regular on a plot of the graph's proportions.
void LayerBuilder::hexSize(Plan const& plan, Columns const& cols, StatContext& context) const {
    auto range = [](Column const& c) {
        double lo = std::numeric_limits<double>::infinity(), hi = -lo;
        for (std::size_t r = 0; r < c.numbers.size(); ++r)
            if (c.present(r) && c.numbers[r] != kSysmis) {
                lo = std::min(lo, c.numbers[r]);
                hi = std::max(hi, c.numbers[r]);
            }
        return hi > lo ? hi - lo : 1.0;
    };
    double count = std::clamp(numberOption(plan.pos.statCall, "bincount", 20), 1.0, 500.0);
    double xRange = cols.x ? range(*cols.x) : 1,
           yRange = cols.ys.empty() ? 1 : range(cols.ys[0].second);
    context.hexWidth = xRange / count;
    // A regular hexagon on the page: its corner height is its width over the square root of 3.
    // The plot is guessed as the graph's place (its share of the page when placed among others)
    // less about what its axes, titles and legend take.
    double w = spec_.width * (spec_.graphPlaced ? spec_.graphW : 1);
    double h = spec_.height * (spec_.graphPlaced ? spec_.graphH : 1);
    double pxPerX = std::max(0.4 * w, w - 150) / xRange;
    double pxPerY = std::max(0.4 * h, h - 90) / yRange;
    context.hexHeight = context.hexWidth * pxPerX / std::sqrt(3.0) / pxPerY;
}

// A density over a histogram of the same variable takes the histogram's edges, and its units.
std::vector<double> LayerBuilder::densityEdges(ElementSpec const& element, Plan const& plan,
                                               Columns const& cols, bool& percent) const {
    for (auto const& other : spec_.elements) {
        if (&other == &element)
            continue;
        Position op = readPosition(*other.position);
        if (op.binned && !op.factors.empty() && op.factors[0].names.size() == 1 &&
            op.factors[0].names[0] == plan.factors[0].names[0]) {
            percent = op.kind == StatKind::Percent;
            return edgesOf(*cols.x, op.bin);
        }
    }
    return {};
}

// Fit lines of the document over the points: one for all, one per colour group.
void LayerBuilder::fitLines(Layer const& points, ElementSpec const& element) {
    struct FitKey {
        bool total;
        std::int32_t color, panelCol, panelRow;
        auto operator<=>(FitKey const&) const = default;
    };
    std::map<FitKey, std::vector<Row const*>> byGroup;
    for (auto const& m : points.rows) {
        if (m.y == kSysmis)
            continue;
        if (spec_.totalFit)
            byGroup[{true, -1, m.panelCol, m.panelRow}].push_back(&m);
        if (spec_.subgroupFit && m.color >= 0)
            byGroup[{false, m.color, m.panelCol, m.panelRow}].push_back(&m);
    }
    out_.fitElements.push_back(ElementSpec{});
    ElementSpec& fit = out_.fitElements.back();
    fit.type = "line";
    fit.line = element.line;
    fit.fitLine = true;
    Layer layer;
    layer.element = &fit;
    layer.hasColor = points.hasColor;
    layer.x = points.x;
    layer.color = points.color;
    layer.panelCol = points.panelCol;
    layer.panelRow = points.panelRow;
    layer.series.keys = {"\x1btotal", "\x1bsubgroup"};
    for (auto const& [k, rows] : byGroup) {
        std::vector<double> xs, ys, ws;
        for (auto const* m : rows) {
            xs.push_back(m->xNum);
            ys.push_back(m->y);
            ws.push_back(1);
        }
        std::vector<std::pair<double, double>> curve;
        double r2 = 0;
        if (!templateFit(spec_.fitType, xs, ys, curve, r2))
            continue;
        std::string type = spec_.fitType;
        type[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(type[0])));
        layer.labels.push_back(fmt::format("R² {} = {:.3f}", type, r2));
        for (auto const& [x, y] : curve) {
            Row p = *rows.front();
            p.color = k.total ? -1 : rows.front()->color;
            p.series = k.total ? 0 : 1;
            p.xNum = x;
            p.y = y;
            p.label = static_cast<std::int32_t>(layer.labels.size() - 1);
            p.binned = false;
            layer.rows.push_back(p);
        }
    }
    out_.layers.push_back(std::move(layer));
}

// A heat map of two categorical variables: one cell per pair of categories (and panel), coloured
// by the weighted number of its cases.
void LayerBuilder::countCells(Layer& layer) {
    std::map<std::array<std::int32_t, 4>, std::size_t> index;
    std::vector<Row> cells;
    for (auto const& m : layer.rows) {
        if (m.y == kSysmis)
            continue;
        auto [it, fresh] =
            index.try_emplace({m.x, std::int32_t(m.y), m.panelCol, m.panelRow}, cells.size());
        if (fresh) {
            cells.push_back(m);
            cells.back().cval = 0;
        }
        cells[it->second].cval += m.cval;  // each case's weight
    }
    layer.rows = std::move(cells);
    layer.colorScale = 'g';
    for (auto const& m : layer.rows) widen(out_.colorLo, out_.colorHi, m.cval, colorSeen_);
    out_.colorCounts = true;
}

}  // namespace host::chart::layer_build
