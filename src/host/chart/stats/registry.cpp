#include "host/chart/stats/registry.h"

#include "host/chart/frame/frame.h"
#include "host/chart/stats/fit_statistics.h"
#include "host/chart/stats/point_layout.h"

#include <algorithm>

namespace host::chart {

namespace {

// summary.* and the counts of bins: one value per group.
void summaryValue(StatContext const& c, Group const& g, Layer& out) {
    Row row = g.row;
    bool none = false;
    if (c.countOnly) {
        row.y = g.count;
    } else if (!summarizeSample(c.percent ? "summary.sum" : c.name, g.sample, row.y, none) ||
               none) {
        row.y = kSysmis;
    }
    if (c.percent && row.y != kSysmis)
        row.y = c.total > 0 ? row.y / c.total * 100 : 0;
    out.rows.push_back(row);
}

void pushInterval(Group const& g, Interval const& in, Layer& out) {
    if (!in.valid)
        return;  // one case has no interval
    Row row = g.row;
    row.ranged = true;
    row.y0 = in.low;
    row.y = in.high;
    out.rows.push_back(row);
}

void confiMean(StatContext const& c, Group const& g, Layer& out) {
    pushInterval(g, meanConfidence(g.sample, c.level), out);
}

void confiCount(StatContext const& c, Group const& g, Layer& out) {
    pushInterval(g, countConfidence(g.count, c.total, c.level, c.percent), out);
}

void spreadSd(StatContext const& c, Group const& g, Layer& out) {
    pushInterval(g, meanSpread(g.sample, c.multiple, false), out);
}

void spreadSe(StatContext const& c, Group const& g, Layer& out) {
    pushInterval(g, meanSpread(g.sample, c.multiple, true), out);
}

void spreadRange(StatContext const&, Group const& g, Layer& out) {
    if (g.sample.empty())
        return;
    auto [lo, hi] = std::minmax_element(g.sample.values.begin(), g.sample.values.end());
    pushInterval(g, {*lo, (*lo + *hi) / 2, *hi, true}, out);
}

void letterValues(StatContext const& c, Group const& g, Layer& out) {
    BoxStats box;
    if (!boxStats(g.sample, box))
        return;
    Row row = g.row;
    row.y = box.median;
    row.extra = static_cast<std::int32_t>(out.boxes.size());
    std::vector<std::int32_t> labels;
    for (auto const& o : box.outliers)
        labels.push_back(c.labelOf ? c.labelOf(g.rows[o.index]) : -1);
    out.boxes.push_back(std::move(box));
    out.outlierLabels.push_back(std::move(labels));
    out.rows.push_back(row);
}

}  // namespace

double histogramScale(StatContext const& c, Group const& g) {
    auto const& edges = c.densityEdges;
    if (edges.size() < 2)
        return 1;
    double width = edges[1] - edges[0];
    if (c.densityPercent)
        return c.total > 0 ? 100 * width * g.count / c.total : 0;
    return g.count * width;
}

namespace {

// The normal curve of the group's values; over a histogram of the same variable it is scaled
// to the histogram's counts (or percents).
void normalDensity(StatContext const& c, Group const& g, Layer& out) {
    Moments mo = moments(g.sample);
    double lo = mo.mean - 3.5 * mo.sd, hi = mo.mean + 3.5 * mo.sd;
    auto const& edges = c.densityEdges;
    if (edges.size() >= 2) {
        lo = edges.front();
        hi = edges.back();
    }
    double scale = histogramScale(c, g);
    for (auto const& [x, y] : normalCurve(mo, lo, hi, scale)) {
        Row p = g.row;
        p.xNum = x;
        p.y = y;
        out.rows.push_back(p);
    }
}

void linearSmooth(StatContext const&, Group const& g, Layer& out) {
    LinearFit fit = linearFit(g.xs, g.sample.values, g.sample.weights);
    if (!fit.valid)
        return;
    for (double x : {fit.xMin, fit.xMax}) {
        Row p = g.row;
        p.xNum = x;
        p.y = fit.intercept + fit.slope * x;
        out.rows.push_back(p);
    }
}

constexpr StatisticDef kStatistics[] = {
    {"summary.count", StatKind::Summary, summaryValue},
    {"summary.sum", StatKind::Summary, summaryValue},
    {"summary.mean", StatKind::Summary, summaryValue},
    {"summary.median", StatKind::Summary, summaryValue},
    {"summary.min", StatKind::Summary, summaryValue},
    {"summary.max", StatKind::Summary, summaryValue},
    {"summary.mode", StatKind::Summary, summaryValue},
    {"summary.range", StatKind::Summary, summaryValue},
    {"summary.sd", StatKind::Summary, summaryValue},
    {"summary.variance", StatKind::Summary, summaryValue},
    {"summary.percent", StatKind::Percent, summaryValue},
    {"summary.percent.count", StatKind::Percent, summaryValue},
    // Counts here; the running totals are taken once the categories are in order.
    {"summary.count.cumulative", StatKind::Summary, summaryValue},
    {"summary.percent.cumulative", StatKind::Summary, summaryValue},
    {"bin.hex", StatKind::Hex, hexCells},
    {"bin.rect", StatKind::Bin, nullptr},
    {"bin.quantile.letter", StatKind::Box, letterValues},
    {"density.normal", StatKind::Density, normalDensity},
    {"region.confi.mean", StatKind::Region, confiMean},
    {"region.confi.count", StatKind::Region, confiCount},
    {"region.confi.percent.count", StatKind::Region, confiCount},
    {"region.spread.sd", StatKind::Region, spreadSd},
    {"region.spread.se", StatKind::Region, spreadSe},
    {"region.spread.range", StatKind::Region, spreadRange},
    {"smooth.linear", StatKind::Smooth, linearSmooth},
    {"smooth.quadratic", StatKind::Smooth, polynomialSmooth},
    {"smooth.cubic", StatKind::Smooth, polynomialSmooth},
    {"smooth.loess", StatKind::Smooth, loessSmooth},
    {"smooth.spline", StatKind::Smooth, splineSmooth},
    {"smooth.step.left", StatKind::Smooth, stepSmooth},
    {"smooth.step.right", StatKind::Smooth, stepSmooth},
    {"smooth.step.center", StatKind::Smooth, stepSmooth},
    {"density.kernel.epanechnikov", StatKind::Density, kernelDensityCurve},
    {"density.kernel.normal", StatKind::Density, kernelDensityCurve},
    {"density.kernel.gaussian", StatKind::Density, kernelDensityCurve},
    {"density.kernel.uniform", StatKind::Density, kernelDensityCurve},
    {"density.kernel.triangular", StatKind::Density, kernelDensityCurve},
    {"density.kernel.biweight", StatKind::Density, kernelDensityCurve},
    {"density.kernel.triweight", StatKind::Density, kernelDensityCurve},
    {"density.kernel.cosine", StatKind::Density, kernelDensityCurve},
    {"bin.dot", StatKind::Density, dotBins},
    {"link.hull", StatKind::Link, hullLink},
    {"link.mst", StatKind::Link, edgeLinks},
    {"link.join", StatKind::Link, edgeLinks},
    {"link.sequence", StatKind::Link, edgeLinks},
};

}  // namespace

StatisticDef const* findStatistic(std::string const& name) {
    for (auto const& d : kStatistics)
        if (name == d.name)
            return &d;
    return nullptr;
}

void hexCells(StatContext const& c, Group const& g, Layer& out) {
    for (auto const& cell :
         stats::hexBins(g.xs, g.sample.values, g.sample.weights, c.hexWidth, c.hexHeight)) {
        Row row = g.row;
        row.xNum = cell.x;
        row.y0 = cell.y - c.hexHeight;
        row.y = cell.y + c.hexHeight;
        row.ranged = row.binned = true;
        row.extra = static_cast<std::int32_t>(out.bins.size());
        out.bins.push_back({cell.x - c.hexWidth / 2, cell.x + c.hexWidth / 2, cell.weight});
        out.rows.push_back(row);
    }
}

void twoWayCell(StatContext const&, Group const& g, Layer& out) {
    Row row = g.row;
    row.ranged = true;
    out.bins[static_cast<std::size_t>(row.extra)].cell = g.count;
    out.rows.push_back(row);
}

}  // namespace host::chart
