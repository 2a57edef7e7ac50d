#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "host/chart/frame/frame.h"
#include "host/chart/scales/scales.h"
#include "host/chart/scales/time_scale.h"
#include "host/dictionary/date_values.h"
#include "platform/dictionary.h"

namespace host::chart {

namespace {

// The keys a table's codes are used for by rows, each once.
template <typename Code>
void seen(KeyTable const& table, std::vector<Row> const& rows, Code code,
          std::vector<std::string>& out) {
    if (table.keys.empty())
        return;
    std::vector<char> used(table.keys.size(), 0);
    for (auto const& r : rows) {
        std::int32_t c = code(r);
        if (c >= 0 && std::size_t(c) < used.size())
            used[std::size_t(c)] = 1;
    }
    for (std::size_t i = 0; i < used.size(); ++i)
        if (used[i])
            out.push_back(table.keys[i]);
}

void place(KeyTable& table, CatScale const& scale) {
    table.scaleIndex.resize(table.keys.size());
    for (std::size_t i = 0; i < table.keys.size(); ++i)
        table.scaleIndex[i] = scale.index(table.keys[i]);
}

ScaleSpec const* scaleOf(Spec const& spec, int dim) {
    auto it = spec.scales.find(dim);
    return it == spec.scales.end() ? nullptr : &it->second;
}

// A dimension of dates (time(dim(n)), unit.time(), or a variable with a date format) gets its
// ticks on calendar units, read in the variable's date format. A time-of-day format counts
// seconds from midnight.
void useTimeTicks(LinScale& s, ScaleSpec const* scale, ChartVariableRecord const* var,
                  AxisGuide const& guide) {
    int type = var && var->format.packed ? KwelFormatType(var->format.packed) : 0;
    int width = var && var->format.packed ? KwelFormatWidth(var->format.packed) : 0;
    bool dated = host::dictionary::isDateFormatType(type);
    if (!(scale && scale->type == "time") && !(var && var->time) && !dated)
        return;
    if (guide.delta > 0 || s.log)
        return;  // the guide's own step wins
    bool timeOfDay = type == FMT_TIME || type == FMT_MTIME || type == FMT_DTIME;
    TimeTicks t = timeTicks(s.lo, s.hi, 6, dated ? type : 0, width, timeOfDay);
    if (t.values.size() < 2)
        return;
    s.time = true;
    s.ticks = std::move(t.values);
    s.tickLabels = std::move(t.labels);
    s.step = 0;
}

}  // namespace

Scales trainCategoricalScales(Layers& ls, Spec const& spec) {
    std::vector<std::string> xs, ys, clusters, panels, panelRows, colors, shapes, depths, sizes,
        exteriors;
    bool xTexts = false, yTexts = false, colorTexts = false, sizeTexts = false,
         exteriorTexts = false;
    for (auto const& l : ls.layers) {
        if (l.yCategorical) {
            seen(
                l.y, l.rows, [](Row const& r) { return r.y == kSysmis ? -1 : std::int32_t(r.y); },
                ys);
            yTexts |= l.y.texts;
        }
        if (l.x.var) {
            seen(
                l.x, l.rows, [](Row const& r) { return r.x; }, xs);
            xTexts |= l.x.texts;
        }
        seen(
            l.cluster, l.rows, [](Row const& r) { return r.cluster; }, clusters);
        seen(
            l.panelCol, l.rows, [](Row const& r) { return r.panelCol; }, panels);
        seen(
            l.panelRow, l.rows, [](Row const& r) { return r.panelRow; }, panelRows);
        seen(
            l.color, l.rows, [](Row const& r) { return r.color; }, colors);
        seen(
            l.shape, l.rows, [](Row const& r) { return r.shape; }, shapes);
        seen(
            l.size, l.rows, [](Row const& r) { return r.size; }, sizes);
        seen(
            l.exterior, l.rows, [](Row const& r) { return r.exterior; }, exteriors);
        colorTexts |= l.color.texts;
        sizeTexts |= l.size.texts;
        exteriorTexts |= l.exterior.texts;
        seen(
            l.depth, l.rows, [](Row const& r) { return std::int32_t(r.z); }, depths);
    }
    Scales s;
    s.xCategorical = ls.xCategorical;
    s.x = trainCategories(xs, ls.xVar, scaleOf(spec, 1), !xTexts,
                          ls.xSortByStatistic ? &ls.xSortValues : nullptr);
    s.yCategorical = ls.yCategorical;
    s.y = trainCategories(ys, ls.yVar, scaleOf(spec, 2), !yTexts);
    s.cluster = trainCategories(clusters, ls.clusterVar, scaleOf(spec, 3), true);
    s.panelCol = trainCategories(panels, ls.panelVar, nullptr, true);
    s.panelRow = trainCategories(panelRows, ls.panelRowVar, nullptr, true);
    s.color = trainCategories(colors, ls.colorVar, &spec.colorScale.categories, !colorTexts);
    s.shape = trainCategories(shapes, ls.shapeVar ? ls.shapeVar : ls.textureVar, nullptr, true);
    s.size = trainCategories(sizes, ls.sizeVar, &spec.sizeCategories, !sizeTexts);
    s.exterior = trainCategories(exteriors, ls.exteriorVar, nullptr, !exteriorTexts);
    if (ls.zCategorical)
        s.z = trainCategories(depths, ls.zVar, scaleOf(spec, 3), true);
    for (auto const& [k, l] : ls.seriesLabels) s.color.labels["\x1e" + k] = l;
    for (auto& l : ls.layers) {
        place(l.x, s.x);
        place(l.cluster, s.cluster);
        place(l.panelCol, s.panelCol);
        place(l.panelRow, s.panelRow);
        place(l.color, s.color);
        place(l.shape, s.shape);
        place(l.size, s.size);
        place(l.exterior, s.exterior);
        place(l.depth, s.z);
        if (!l.yCategorical)
            continue;
        // From codes to places on the scale of dimension 2.
        place(l.y, s.y);
        for (auto& r : l.rows)
            if (r.y != kSysmis) {
                std::int32_t at = l.y.at(std::int32_t(r.y));
                r.y = at < 0 ? kSysmis : double(at);
            }
    }
    return s;
}

std::string scaleLimits(Scales const& s, Layers const& ls) {
    int line = ls.layers.empty() ? 0 : ls.layers.front().element->line;
    auto counted = [](std::size_t n) { return formatNumber(double(n), NumberFormat{}); };
    std::size_t axis = std::max(s.x.size(), s.cluster.size());
    if (axis > kMaxAxisCategories)
        return fmt::format(
            "line {}: the first dimension has {} categories, more than the {} an axis can show; "
            "the chart is not drawn",
            line, counted(axis), counted(kMaxAxisCategories));
    if (s.y.size() > kMaxAxisCategories)
        return fmt::format(
            "line {}: the second dimension has {} categories, more than the {} an axis can show; "
            "the chart is not drawn",
            line, counted(s.y.size()), counted(kMaxAxisCategories));
    std::size_t panels =
        std::max<std::size_t>(1, s.panelCol.size()) * std::max<std::size_t>(1, s.panelRow.size());
    if (panels > kMaxPanels)
        return fmt::format(
            "line {}: the page is too small for {} panels (a chart shows at most {}); the chart "
            "is not drawn",
            line, counted(panels), counted(kMaxPanels));
    if (s.color.size() > kMaxAxisCategories)
        return fmt::format(
            "line {}: the colour has {} categories, more than the {} a legend can show; the "
            "chart is not drawn",
            line, counted(s.color.size()), counted(kMaxAxisCategories));
    return {};
}

void dropUnshowable(Layers& ls, Spec const& spec, std::vector<std::string>& warnings) {
    ScaleSpec const* ys = scaleOf(spec, 2);
    ScaleSpec const* xs = scaleOf(spec, 1);
    bool yLog = ys && ys->type == "log", xLog = xs && xs->type == "log" && !ls.xCategorical;
    if (!yLog && !xLog)
        return;
    for (auto& l : ls.layers) {
        std::size_t before = l.rows.size();
        std::erase_if(l.rows, [&](Row const& r) {
            bool badY = yLog && r.y != kSysmis && (r.y <= 0 || (r.ranged && r.y0 <= 0));
            bool badX = xLog && r.xNum <= 0;
            return badY || badX;
        });
        std::size_t dropped = before - l.rows.size();
        if (l.plain.on)
            for (std::size_t i = 0; i < l.plain.y.size(); ++i) {
                double& y = l.plain.y[i];
                if (y != kSysmis && ((yLog && y <= 0) || (xLog && l.plain.x[i] <= 0))) {
                    y = kSysmis;
                    ++dropped;
                }
            }
        if (dropped)
            warnings.push_back(fmt::format(
                "line {}: {} value{} at or below zero cannot be shown on a log scale and {} left "
                "out",
                l.element->line, dropped, dropped == 1 ? "" : "s", dropped == 1 ? "is" : "are"));
    }
}

namespace {

// The extent of a plain scatter's drawn cases (its dimension 1 is continuous).
void widenByPlainPoints(PlainPoints const& plain, double& xLo, double& xHi, double& yLo,
                        double& yHi) {
    for (std::size_t i = 0; i < plain.y.size(); ++i) {
        double y = plain.y[i];
        if (y == kSysmis)
            continue;
        yLo = std::min(yLo, y), yHi = std::max(yHi, y);
        xLo = std::min(xLo, plain.x[i]), xHi = std::max(xHi, plain.x[i]);
    }
}

}  // namespace

void trainValueScales(Layers const& ls, Spec& spec, Scales& s) {
    double yLo = std::numeric_limits<double>::infinity(), yHi = -yLo;
    double xLo = yLo, xHi = -yLo;
    bool anyBar = false, anyBinnedX = false;
    double barHalf = 0;  // half the widest bar on a continuous dimension 1, in its units
    for (auto const& l : ls.layers) {
        // A difference area spans only the two series, not down to zero.
        bool bar = l.element->type == "interval" ||
                   (l.element->type == "area" && l.element->modifier != "difference");
        if (l.element->type == "interval" && !s.xCategorical)
            barHalf = std::max(barHalf, l.xGap / 2);
        if (l.plain.on)
            widenByPlainPoints(l.plain, xLo, xHi, yLo, yHi);
        for (auto const& m : l.rows) {
            anyBinnedX |= m.binned;
            if (m.y == kSysmis)
                continue;
            // Bars stand on zero; intervals and cells span only their own range.
            bool fromBase = bar && !m.ranged;
            anyBar |= fromBase;
            bool withY0 = fromBase || m.ranged;
            yLo = std::min({yLo, m.y, withY0 ? m.y0 : m.y});
            yHi = std::max({yHi, m.y, withY0 ? m.y0 : m.y});
            if (m.extra >= 0 && !m.binned) {
                BoxStats const& b = l.boxes[std::size_t(m.extra)];
                yLo = std::min(yLo, b.lowerWhisker);
                yHi = std::max(yHi, b.upperWhisker);
                for (auto const& o : b.outliers) {
                    yLo = std::min(yLo, o.value);
                    yHi = std::max(yHi, o.value);
                }
            }
            if (!s.xCategorical) {
                Bin const* bin = m.binned ? &l.bins[std::size_t(m.extra)] : nullptr;
                xLo = std::min({xLo, m.xNum, bin ? bin->x0 : m.xNum});
                xHi = std::max({xHi, m.xNum, bin ? bin->x1 : m.xNum});
            }
        }
    }
    for (auto const& r : spec.refLines) {
        if (r.dim == 2)
            yLo = std::min(yLo, r.value), yHi = std::max(yHi, r.value);
        else if (!s.xCategorical)
            xLo = std::min(xLo, r.value), xHi = std::max(xHi, r.value);
    }
    ScaleSpec const* yScale = scaleOf(spec, 2);
    ScaleSpec const* xScale = scaleOf(spec, 1);
    if (!std::isfinite(yLo))
        yLo = 0, yHi = 1;
    if (anyBar && !(yScale && yScale->type == "log")) {
        yLo = std::min(yLo, 0.0);
        yHi = std::max(yHi, 0.0);
    }
    // Bars and areas get a round domain from their base; points and lines a small margin so
    // that marks at the ends are not cut by the axes. Points sized by a variable get room for
    // the largest of them besides, as a share of the plot's extent (about 70% of the page).
    bool sized = std::any_of(ls.layers.begin(), ls.layers.end(),
                             [](Layer const& l) { return l.sizeScale || !l.size.keys.empty(); });
    double side = std::max(1.0, 0.7 * std::min(spec.width, spec.height));
    double radius = sized ? std::clamp(spec.sizeMax.on(side), 1.0, side) / 2 : 0;
    auto pad = [&](double& lo, double& hi, ScaleSpec const* sc, double extent) {
        if (sc && sc->type == "log")
            return;
        double share = 0.1 + std::min(0.2, radius / std::max(1.0, 0.7 * extent));
        double d = (hi / 2 - lo / 2) * share, most = std::numeric_limits<double>::max();
        if (!(sc && sc->hasMin))
            lo = std::max(lo - d, -most);
        if (!(sc && sc->hasMax))
            hi = std::min(hi + d, most);
    };
    if (!anyBar && !ls.anyCells)
        pad(yLo, yHi, yScale, spec.height);
    if (s.yCategorical) {
        // Categories of dimension 2 sit at 0, 1, ... in the middle of bands of one unit.
        std::size_t n = std::max<std::size_t>(1, s.y.size());
        s.yLin = LinScale{};
        s.yLin.lo = -0.5;
        s.yLin.hi = double(n) - 0.5;
        s.yLin.step = 1;
        for (std::size_t i = 0; i < s.y.size(); ++i) s.yLin.ticks.push_back(double(i));
    } else {
        s.yLin = trainLinear(yLo, yHi, yScale, &spec.axes[2], anyBar);
    }
    if (!s.xCategorical) {
        if (!std::isfinite(xLo))
            xLo = 0, xHi = 1;
        double dataLo = xLo, dataHi = xHi;
        if (!anyBinnedX)  // bins end where their edges end
            pad(xLo, xHi, xScale, spec.width);
        // Bars at the ends stay whole within the plot.
        if (barHalf > 0 && !(xScale && xScale->type == "log")) {
            if (!(xScale && xScale->hasMin))
                xLo = std::min(xLo, dataLo - barHalf);
            if (!(xScale && xScale->hasMax))
                xHi = std::max(xHi, dataHi + barHalf);
        }
        s.xLin = trainLinear(xLo, xHi, xScale, &spec.axes[1], false);
        useTimeTicks(s.xLin, xScale, ls.xVar, spec.axes[1]);
    }
    if (spec.dims == 3 && !ls.zCategorical) {
        double zLo = std::numeric_limits<double>::infinity(), zHi = -zLo;
        for (auto const& l : ls.layers)
            for (auto const& m : l.rows)
                if (m.y != kSysmis) {
                    zLo = std::min(zLo, double(m.z));
                    zHi = std::max(zHi, double(m.z));
                }
        if (!std::isfinite(zLo))
            zLo = 0, zHi = 1;
        ScaleSpec const* zScale = scaleOf(spec, 3);
        pad(zLo, zHi, zScale, std::min(spec.width, spec.height));
        s.zLin = trainLinear(zLo, zHi, zScale, &spec.axes[3], false);
    }
}

}  // namespace host::chart
