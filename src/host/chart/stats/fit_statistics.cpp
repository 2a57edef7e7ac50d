#include "host/chart/stats/fit_statistics.h"

#include <algorithm>
#include <cmath>

#include "host/chart/frame/frame.h"
#include "host/chart/spec/chart_spec.h"
#include "host/chart/stats/density.h"
#include "host/chart/stats/links.h"
#include "host/chart/stats/point_layout.h"
#include "host/chart/stats/smoothers.h"

namespace host::chart {

namespace {

constexpr int kCurvePoints = 150;

stats::Points pointsOf(Group const& g) {
    stats::Points p;
    p.x = g.xs;
    p.y = g.sample.values;
    p.w = g.sample.weights;
    return p;
}

void pushCurve(Group const& g, stats::Curve const& curve, Layer& out) {
    for (auto const& [x, y] : curve) {
        Row r = g.row;
        r.xNum = x;
        r.y = y;
        out.rows.push_back(r);
    }
}

std::vector<double> dataGrid(std::vector<double> const& xs) {
    if (xs.empty())
        return {};
    auto [lo, hi] = std::minmax_element(xs.begin(), xs.end());
    return stats::grid(*lo, *hi, kCurvePoints);
}

double option(StatContext const& c, char const* name, double fallback) {
    return c.call ? numberOption(c.call, name, fallback) : fallback;
}

}  // namespace

void polynomialSmooth(StatContext const& c, Group const& g, Layer& out) {
    int degree = c.name == "smooth.quadratic" ? 2 : 3;
    auto fit = stats::polynomialFit(pointsOf(g), degree);
    if (!fit.valid)
        return;
    stats::Curve curve;
    for (double x : stats::grid(fit.xMin, fit.xMax, kCurvePoints)) curve.emplace_back(x, fit.at(x));
    pushCurve(g, curve, out);
}

void loessSmooth(StatContext const& c, Group const& g, Layer& out) {
    double span = option(c, "span", 0.75);
    if (span > 1)
        span /= 100;  // span(30) for 30%
    span = std::clamp(span, 0.05, 1.0);
    pushCurve(g, stats::loess(pointsOf(g), span, dataGrid(g.xs)), out);
}

void splineSmooth(StatContext const&, Group const& g, Layer& out) {
    pushCurve(g, stats::smoothingSpline(pointsOf(g), 0, dataGrid(g.xs)), out);
}

void stepSmooth(StatContext const& c, Group const& g, Layer& out) {
    auto kind = c.name == "smooth.step.left"     ? stats::StepKind::Left
                : c.name == "smooth.step.center" ? stats::StepKind::Center
                                                 : stats::StepKind::Right;
    pushCurve(g, stats::stepCurve(pointsOf(g), kind), out);
}

// Over a histogram of the same variable the density is scaled to its counts. It reaches past
// the data as far as the kernel does, so that its whole mass is drawn.
void kernelDensityCurve(StatContext const& c, Group const& g, Layer& out) {
    stats::Kernel kernel = stats::Kernel::Normal;
    if (!stats::kernelByName(c.name.substr(std::string("density.kernel.").size()), kernel))
        return;
    auto const& v = g.sample.values;
    if (v.empty())
        return;
    auto [lo, hi] = std::minmax_element(v.begin(), v.end());
    // fixedWindow(w): the bandwidth as a share of the data's range.
    double window = option(c, "fixedwindow", 0);
    double h = window > 0 ? window * (*hi - *lo)
                          : stats::ruleOfThumbBandwidth(v, g.sample.weights, kernel);
    if (!(h > 0))
        return;
    double reach = kernel == stats::Kernel::Normal ? 3 * h : h;
    double from = *lo - reach, to = *hi + reach, scale = histogramScale(c, g);
    auto curve = stats::kernelDensity(v, g.sample.weights, kernel, h, stats::grid(from, to, 200));
    for (auto& p : curve) p.second *= scale;
    pushCurve(g, curve, out);
}

// One row per case at the centre of its stack, counted up from the axis (point.stack), or
// centred on it (point.dodge.symmetric). Stacks are binWidth wide, by default a 30th of the
// range.
void dotBins(StatContext const& c, Group const& g, Layer& out) {
    auto const& v = g.sample.values;
    if (v.empty())
        return;
    auto [lo, hi] = std::minmax_element(v.begin(), v.end());
    double width = option(c, "binwidth", 0);
    if (!(width > 0))
        width = *hi > *lo ? (*hi - *lo) / 30 : 1;
    bool symmetric = c.modifier == "dodge.symmetric";
    for (auto const& stack : stats::dotStacks(v, {}, width)) {
        std::size_t n = stack.members.size();
        for (std::size_t k = 0; k < n; ++k) {
            Row r = g.row;
            r.xNum = stack.centre;
            r.y = stats::stackOffset(k, n, symmetric);
            out.rows.push_back(r);
        }
    }
}

void hullLink(StatContext const&, Group const& g, Layer& out) {
    std::vector<stats::XY> pts;
    pts.reserve(g.xs.size());
    for (std::size_t i = 0; i < g.xs.size(); ++i) pts.push_back({g.xs[i], g.sample.values[i]});
    stats::Curve corners;
    for (auto const& p : stats::convexHull(std::move(pts))) corners.emplace_back(p.x, p.y);
    pushCurve(g, corners, out);
}

// Each edge is a series of its own, two rows long, so that edge() draws it alone.
void edgeLinks(StatContext const& c, Group const& g, Layer& out) {
    std::vector<stats::Edge> edges;
    std::size_t n = g.xs.size();
    if (c.name == "link.mst") {
        std::vector<stats::XY> pts;
        for (std::size_t i = 0; i < n; ++i) pts.push_back({g.xs[i], g.sample.values[i]});
        edges = stats::minimumSpanningTree(pts);
    } else if (c.name == "link.join") {
        edges = stats::joinEdges(g.xs);
    } else {
        edges = stats::sequenceEdges(n);
    }
    for (auto [a, b] : edges) {
        auto series = static_cast<std::int32_t>(out.series.keys.size());
        out.series.keys.push_back(out.series.key(g.row.series) + "\x1d" + std::to_string(series));
        for (auto i : {a, b}) {
            Row r = g.row;
            r.series = series;
            r.xNum = g.xs[i];
            r.y = g.sample.values[i];
            out.rows.push_back(r);
        }
    }
}

bool templateFit(std::string const& type, std::vector<double> const& x,
                 std::vector<double> const& y, std::vector<std::pair<double, double>>& curve,
                 double& rSquared) {
    stats::Points p;
    p.x = x;
    p.y = y;
    curve.clear();
    if (type == "loess") {
        auto grid = dataGrid(x);
        curve = stats::loess(p, 0.75, grid);
        std::vector<double> fitted;
        for (auto const& [xi, yi] : stats::loess(p, 0.75, x)) fitted.push_back(yi);
        if (fitted.size() != x.size())
            return false;
        rSquared = stats::rSquared(p, fitted);
        return !curve.empty();
    }
    int degree = type == "quadratic" ? 2 : type == "cubic" ? 3 : 1;
    auto fit = stats::polynomialFit(p, degree);
    if (!fit.valid)
        return false;
    int points = degree == 1 ? 2 : kCurvePoints;
    for (double xi : stats::grid(fit.xMin, fit.xMax, points)) curve.emplace_back(xi, fit.at(xi));
    rSquared = fit.rSquared;
    return true;
}

}  // namespace host::chart
