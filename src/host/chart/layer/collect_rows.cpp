// From cases to rows: a row per case, or a row per group through the statistic.
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

// The text of the label aesthetic at a row: a category by its relabel, a number in its format.
std::int32_t LayerBuilder::labelCode(Columns const& cols, Layer& layer, std::size_t r) {
    auto const& c = cols.label;
    if (!c)
        return literalLabel(*layer.element) ? 0 : -1;
    if (!c->present(r))
        return -1;
    if (c->categorical)
        return c->codes[r];
    std::string text = formatNumber(c->numbers[r], c->var->format);
    auto [it, fresh] =
        numericLabels_.try_emplace(text, static_cast<std::int32_t>(layer.labels.size()));
    if (fresh)
        layer.labels.push_back(text);
    return it->second;
}

// The values of a case's continuous colour, transparency and size, each widening its domain;
// false when the case lacks one of them (it is not drawn).
bool LayerBuilder::continuousValues(Columns const& cols, Layer const& layer, std::size_t r,
                                    Row& m) {
    auto take = [&](bool used, std::optional<Column> const& c, float& into, double& lo, double& hi,
                    bool& seen) {
        if (!used)
            return true;
        if (!c->present(r))
            return false;
        into = static_cast<float>(c->numbers[r]);
        widen(lo, hi, into, seen);
        return true;
    };
    return take(layer.colorScale, cols.color, m.cval, out_.colorLo, out_.colorHi, colorSeen_) &&
           take(layer.alphaScale, cols.transparency, m.tval, out_.alphaLo, out_.alphaHi,
                alphaSeen_) &&
           take(layer.sizeScale, cols.size, m.sval, out_.sizeLo, out_.sizeHi, sizeSeen_);
}

void LayerBuilder::collectRows(Plan const& plan, Columns const& cols, Layer& layer) {
    auto const& x = cols.x;
    std::size_t n = x ? x->size() : 0;
    for (auto const& [name, c] : cols.ys) n = std::max(n, c.size());
    if (cols.cluster)
        n = std::max(n, cols.cluster->size());
    if (cols.color)
        n = std::max(n, cols.color->size());
    if (cols.depth)
        n = std::max(n, cols.depth->size());
    // The code of a row in a categorical column; a row that a column lacks is missing.
    auto codeAt = [](std::optional<Column> const& c, std::size_t r, bool& missing) {
        if (!c)
            return std::int32_t(-1);
        if (!c->present(r)) {
            missing = true;
            return std::int32_t(-1);
        }
        return c->categorical ? c->codes[r] : std::int32_t(-1);
    };
    std::size_t seriesCount = plan.countOnly && cols.ys.empty() ? 1 : cols.ys.size();
    if (plan.density)
        seriesCount = 1;
    bool syntheticColor = cols.ys.size() > 1 && !plan.mergeSeries &&
                          !(cols.color && cols.color->categorical) && !literalColor(*plan.element);
    bool literal = !cols.color && literalColor(*plan.element);
    // Series: a variable of dimension 2 and a value of split().
    std::map<std::pair<std::size_t, std::int32_t>, std::int32_t> seriesCodes;
    auto seriesCode = [&](std::size_t s, std::int32_t split) {
        if (plan.mergeSeries || cols.ys.empty())
            s = 0;  // the variables are the ends of one interval: one series
        auto [it, fresh] =
            seriesCodes.try_emplace({s, split}, std::int32_t(layer.series.keys.size()));
        if (fresh) {
            std::string name = cols.ys.empty() || plan.mergeSeries ? "" : cols.ys[s].first;
            if (split >= 0)
                name += "\x1f" + cols.split->values[std::size_t(split)];
            layer.series.keys.push_back(name);
        }
        return it->second;
    };
    Groups groups;
    bool groupsByX = !plan.density && plan.pos.kind != StatKind::Smooth &&
                     plan.pos.kind != StatKind::Link && plan.pos.kind != StatKind::Hex;
    if (!plan.summary)
        layer.rows.reserve(n * seriesCount);
    for (std::size_t s = 0; s < seriesCount; ++s) {
        Column const* yc = cols.ys.empty() || plan.density ? nullptr : &cols.ys[s].second;
        for (std::size_t r = 0; r < n; ++r) {
            bool missing = false;
            Row m;
            m.x = x ? codeAt(x, r, missing) : 0;
            if (x && !x->categorical && !missing)
                m.xNum = x->numbers[r];
            m.cluster = codeAt(cols.cluster, r, missing);
            m.panelCol = codeAt(cols.panelCol, r, missing);
            m.panelRow = codeAt(cols.panelRow, r, missing);
            m.color = codeAt(cols.color, r, missing);
            m.shape = codeAt(cols.shape, r, missing);
            if (!layer.size.keys.empty())
                m.size = codeAt(cols.size, r, missing);
            if (!layer.exterior.keys.empty())
                m.exterior = codeAt(cols.exterior, r, missing);
            std::int32_t split = codeAt(cols.split, r, missing);
            if (cols.depth) {
                if (!cols.depth->present(r) ||
                    (!cols.depth->categorical && cols.depth->numbers[r] == kSysmis))
                    continue;  // a point without its depth has no place
                m.z = static_cast<float>(cols.depth->categorical ? cols.depth->codes[r]
                                                                 : cols.depth->numbers[r]);
            }
            if (missing)
                continue;
            m.series = seriesCode(s, split);
            if (syntheticColor)
                m.color = static_cast<std::int32_t>(s);
            else if (literal)
                m.color = 0;
            // Categories of dimension 2 are carried by their codes until the scales place them.
            bool yMissing = !yc || !yc->present(r) ||
                            (layer.yCategorical
                                 ? yc->codes[r] < 0
                                 : yc->numbers[r] == kSysmis || (yc->categorical && !plan.summary));
            double y = yMissing             ? kSysmis
                       : layer.yCategorical ? double(yc->codes[r])
                                            : yc->numbers[r];
            m.label = labelCode(cols, layer, r);
            if (!continuousValues(cols, layer, r, m))
                continue;
            double w = 1;
            if (cols.weight) {
                if (!cols.weight->present(r) || !(cols.weight->numbers[r] > 0))
                    continue;  // a case without a positive weight is not counted
                w = cols.weight->numbers[r];
            }
            if (!plan.summary) {
                // A missing value is never drawn; lines use it to know where to break.
                m.y = yMissing ? kSysmis : y;
                if (cols.weight)
                    m.cval = static_cast<float>(w);  // counted by countCells
                else if (countColor(*plan.element))
                    m.cval = 1;
                layer.rows.push_back(m);
                continue;
            }
            addCase(plan, cols, yc, m, r, y, yMissing, w, groupsByX, groups, layer);
        }
    }
    if (plan.summary)
        summarize(plan, cols, groups.list, layer);
}

// A case into its group, found by its key; cases outside the bins are left out.
void LayerBuilder::addCase(Plan const& plan, Columns const& cols, Column const* yc, Row m,
                           std::size_t r, double y, bool yMissing, double w, bool groupsByX,
                           Groups& groups, Layer& layer) {
    GroupKey key{0,       0,       m.cluster, m.panelCol, m.panelRow,
                 m.color, m.shape, m.series,  m.size,     m.exterior};
    if (cols.depth)
        key.b = static_cast<std::int64_t>(m.z);  // a category of the third dimension
    if (groupsByX)
        key.a = cols.x && !cols.x->categorical ? bitsOf(m.xNum) : m.x;
    Bin bin;
    if (plan.pos.binned) {
        int b = binIndex(cols.xEdges, m.xNum);
        if (b < 0)
            return;
        m.binned = true;
        bin.x0 = cols.xEdges[std::size_t(b)];
        bin.x1 = cols.xEdges[std::size_t(b) + 1];
        m.xNum = (bin.x0 + bin.x1) / 2;
        key.a = b;
        if (plan.twoWay) {
            if (yMissing)
                return;
            int by = binIndex(cols.yEdges, y);
            if (by < 0)
                return;
            m.y0 = cols.yEdges[std::size_t(by)];
            m.y = cols.yEdges[std::size_t(by) + 1];
            key.b = by;
        }
    }
    auto [it, fresh] = groups.index.try_emplace(key, groups.list.size());
    if (fresh) {
        if (m.binned) {
            m.extra = static_cast<std::int32_t>(layer.bins.size());
            layer.bins.push_back(bin);
        }
        groups.list.emplace_back();
        groups.list.back().row = m;
    }
    Group& g = groups.list[it->second];
    if (plan.density) {
        g.sample.add(m.xNum, w);
        g.count += w;
    } else if (plan.countOnly) {
        if (!yc || plan.twoWay || !yMissing || (yc->categorical && yc->present(r)))
            g.count += w;
    } else if (!yMissing) {
        g.sample.add(y, w);
        g.xs.push_back(m.xNum);
        g.rows.push_back(static_cast<std::uint32_t>(r));
        g.count += w;
    }
}

void LayerBuilder::summarize(Plan const& plan, Columns const& cols, std::vector<Group>& groups,
                             Layer& layer) {
    // What 100% means: all cases of the panel by default.
    Node const* call = plan.pos.statCall;
    bool acrossPanels = false, byCoordinate = false, byAesthetic = false;
    if (call) {
        if (auto const* b = call->find("base.all"))
            acrossPanels = b->find("acrosspanels") != nullptr;
        byCoordinate = call->find("base.coordinate") != nullptr;
        byAesthetic = call->find("base.aesthetic") != nullptr;
    }
    auto baseKey = [&](Row const& m) {
        std::array<std::int64_t, 5> k{-1, -1, -1, -1, -1};
        if (!acrossPanels)
            k[0] = m.panelCol, k[1] = m.panelRow;
        if (byCoordinate)
            k[2] = m.binned ? m.extra : m.x, k[3] = m.cluster;
        if (byAesthetic)
            k[4] = m.color;
        return k;
    };
    auto amount = [&](Group const& g) {
        if (plan.countOnly || plan.density)
            return g.count;
        double sum = 0;
        bool none = false;
        (void)summarizeSample("summary.sum", g.sample, sum, none);
        return sum;
    };
    std::map<std::array<std::int64_t, 5>, double> totals;
    for (auto const& g : groups) totals[baseKey(g.row)] += amount(g);
    std::string const& stat = plan.pos.statistic;
    double level = numberOption(call, "alpha", 0.95);
    if (level > 1)
        level /= 100;  // alpha(95) means 95%
    StatContext context{
        stat, plan.countOnly, plan.percent,
        0,    level,          numberOption(call, "multiple", 1),
        {},   false,          [&](std::uint32_t r) { return labelCode(cols, layer, r); }};
    if (plan.density)
        context.densityEdges = densityEdges(*plan.element, plan, cols, context.densityPercent);
    context.call = call;
    context.modifier = plan.element->modifier;
    if (plan.pos.kind == StatKind::Hex)
        hexSize(plan, cols, context);
    StatisticDef const* def = findStatistic(stat.empty() ? "summary.count" : stat);
    for (auto& g : groups) {
        context.total = totals[baseKey(g.row)];
        if (plan.twoWay) {
            twoWayCell(context, g, layer);
            out_.cellMax = std::max(out_.cellMax, g.count);
            out_.anyCells = true;
        } else if (def && def->compute) {
            def->compute(context, g, layer);
        }
    }
    if (layer.hexes)
        for (auto const& b : layer.bins) {
            out_.cellMax = std::max(out_.cellMax, b.cell);
            out_.anyCells = true;
        }
}

}  // namespace host::chart::layer_build
