#include "host/chart/stats/smoothers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace host::chart::stats {

namespace {

// The points sorted by x, with equal x merged into one point of their summed weight and
// weighted mean y.
Points mergedByX(Points const& p) {
    std::vector<std::size_t> order(p.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](auto a, auto b) { return p.x[a] < p.x[b]; });
    Points out;
    for (auto i : order) {
        double w = p.weight(i);
        if (!out.x.empty() && out.x.back() == p.x[i]) {
            double& tw = out.w.back();
            out.y.back() = (out.y.back() * tw + p.y[i] * w) / (tw + w);
            tw += w;
        } else {
            out.x.push_back(p.x[i]);
            out.y.push_back(p.y[i]);
            out.w.push_back(w);
        }
    }
    return out;
}

// Solves the small dense system a * x = b by Gaussian elimination with partial pivoting.
bool solveDense(std::vector<std::vector<double>> a, std::vector<double> b, std::vector<double>& x) {
    std::size_t n = b.size();
    for (std::size_t c = 0; c < n; ++c) {
        std::size_t pivot = c;
        for (std::size_t r = c + 1; r < n; ++r)
            if (std::fabs(a[r][c]) > std::fabs(a[pivot][c]))
                pivot = r;
        if (std::fabs(a[pivot][c]) < 1e-12)
            return false;
        std::swap(a[c], a[pivot]);
        std::swap(b[c], b[pivot]);
        for (std::size_t r = c + 1; r < n; ++r) {
            double f = a[r][c] / a[c][c];
            for (std::size_t k = c; k < n; ++k) a[r][k] -= f * a[c][k];
            b[r] -= f * b[c];
        }
    }
    x.assign(n, 0);
    for (std::size_t r = n; r-- > 0;) {
        double s = b[r];
        for (std::size_t k = r + 1; k < n; ++k) s -= a[r][k] * x[k];
        x[r] = s / a[r][r];
    }
    return true;
}

double tricube(double d) {
    if (d >= 1)
        return 0;
    double t = 1 - d * d * d;
    return t * t * t;
}

}  // namespace

double PolynomialFit::at(double x) const {
    double u = (x - center) / scale, v = 0;
    for (std::size_t k = coefficients.size(); k-- > 0;) v = v * u + coefficients[k];
    return v;
}

PolynomialFit polynomialFit(Points const& p, int degree) {
    PolynomialFit fit;
    if (p.size() == 0 || degree < 1)
        return fit;
    double sw = 0, sx = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        sw += p.weight(i);
        sx += p.weight(i) * p.x[i];
    }
    fit.center = sx / sw;
    double ss = 0;
    for (std::size_t i = 0; i < p.size(); ++i)
        ss += p.weight(i) * (p.x[i] - fit.center) * (p.x[i] - fit.center);
    fit.scale = ss > 0 ? std::sqrt(ss / sw) : 1;
    auto m = static_cast<std::size_t>(degree) + 1;
    std::vector<std::vector<double>> a(m, std::vector<double>(m, 0));
    std::vector<double> b(m, 0), powers(2 * m - 1);
    for (std::size_t i = 0; i < p.size(); ++i) {
        double u = (p.x[i] - fit.center) / fit.scale, w = p.weight(i);
        powers[0] = 1;
        for (std::size_t k = 1; k < powers.size(); ++k) powers[k] = powers[k - 1] * u;
        for (std::size_t r = 0; r < m; ++r) {
            b[r] += w * powers[r] * p.y[i];
            for (std::size_t c = 0; c < m; ++c) a[r][c] += w * powers[r + c];
        }
    }
    if (!solveDense(a, b, fit.coefficients))
        return fit;  // fewer distinct x than coefficients
    auto [lo, hi] = std::minmax_element(p.x.begin(), p.x.end());
    fit.xMin = *lo;
    fit.xMax = *hi;
    std::vector<double> fitted(p.size());
    for (std::size_t i = 0; i < p.size(); ++i) fitted[i] = fit.at(p.x[i]);
    fit.rSquared = rSquared(p, fitted);
    fit.valid = true;
    return fit;
}

double rSquared(Points const& p, std::vector<double> const& fitted) {
    double sw = 0, sy = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        sw += p.weight(i);
        sy += p.weight(i) * p.y[i];
    }
    if (sw <= 0)
        return 0;
    double mean = sy / sw, res = 0, tot = 0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        res += p.weight(i) * (p.y[i] - fitted[i]) * (p.y[i] - fitted[i]);
        tot += p.weight(i) * (p.y[i] - mean) * (p.y[i] - mean);
    }
    return tot > 0 ? 1 - res / tot : 0;
}

std::vector<double> grid(double lo, double hi, int count) {
    std::vector<double> out;
    if (count < 2 || !(hi > lo)) {
        out.push_back(lo);
        return out;
    }
    out.reserve(static_cast<std::size_t>(count));
    for (int k = 0; k < count; ++k) out.push_back(lo + (hi - lo) * k / (count - 1));
    return out;
}

Curve loess(Points const& p, double span, std::vector<double> const& at) {
    Curve out;
    std::size_t n = p.size();
    if (n == 0)
        return out;
    std::vector<std::size_t> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](auto a, auto b) { return p.x[a] < p.x[b]; });
    std::vector<double> xs(n), ys(n), ws(n);
    for (std::size_t k = 0; k < n; ++k) {
        xs[k] = p.x[order[k]];
        ys[k] = p.y[order[k]];
        ws[k] = p.weight(order[k]);
    }
    auto q = static_cast<std::size_t>(std::clamp(span, 0.0, 1.0) * static_cast<double>(n) + 1e-10);
    q = std::clamp<std::size_t>(q, std::min<std::size_t>(n, 2), n);
    out.reserve(at.size());
    for (double x0 : at) {
        // The q nearest points form a window [l, l + q) of the sorted x: find its start by
        // bisection, comparing the distances of the points just outside either end.
        std::size_t lo = 0, hi = n - q;
        while (lo < hi) {
            std::size_t mid = (lo + hi) / 2;
            if (x0 - xs[mid] > xs[mid + q] - x0)
                lo = mid + 1;
            else
                hi = mid;
        }
        std::size_t l = lo, r = lo + q;
        double radius = std::max(x0 - xs[l], xs[r - 1] - x0);
        double sw = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
        for (std::size_t k = l; k < r; ++k) {
            double w = ws[k] * (radius > 0 ? tricube(std::fabs(xs[k] - x0) / radius) : 1.0);
            double dx = xs[k] - x0;
            sw += w;
            sx += w * dx;
            sy += w * ys[k];
            sxx += w * dx * dx;
            sxy += w * dx * ys[k];
        }
        if (sw <= 0)
            continue;
        double mx = sx / sw, my = sy / sw;
        double var = sxx / sw - mx * mx;
        double fitted = my;
        // A window of (almost) one x has no slope: its weighted mean stands.
        if (var > 1e-12 * (radius * radius + 1e-300))
            fitted = my + (sxy / sw - mx * my) / var * (0 - mx);
        out.emplace_back(x0, fitted);
    }
    return out;
}

double defaultSplineLambda(Points const& p) {
    if (p.size() < 2)
        return 1;
    auto [lo, hi] = std::minmax_element(p.x.begin(), p.x.end());
    double range = *hi - *lo, total = 0;
    for (std::size_t i = 0; i < p.size(); ++i) total += p.weight(i);
    // The curve bends over about a tenth of the range, whatever the units and the count.
    return 2e-4 * total * range * range * range;
}

Curve smoothingSpline(Points const& raw, double lambda, std::vector<double> const& at) {
    Curve out;
    Points p = mergedByX(raw);
    std::size_t n = p.size();
    if (n < 3) {
        auto fit = polynomialFit(raw, 1);
        for (double x : at)
            if (fit.valid)
                out.emplace_back(x, fit.at(x));
        return out;
    }
    if (!(lambda > 0))
        lambda = defaultSplineLambda(raw);
    std::vector<double> h(n - 1);
    for (std::size_t i = 0; i + 1 < n; ++i) h[i] = p.x[i + 1] - p.x[i];
    // Reinsch: (R + lambda Q' W^-1 Q) gamma = Q' y, a banded system over the interior knots,
    // then g = y - lambda W^-1 Q gamma. Column j of Q (interior knot j) has its entries at the
    // knots j - 1, j and j + 1.
    std::size_t m = n - 2;
    auto qAt = [&](std::size_t knot, std::size_t j) {  // Q[knot][j], j an interior knot 1..n-2
        if (knot + 1 == j)
            return 1 / h[j - 1];
        if (knot == j)
            return -1 / h[j - 1] - 1 / h[j];
        if (knot == j + 1)
            return 1 / h[j];
        return 0.0;
    };
    // band[r][d]: the entry at (r, r - d) of the symmetric matrix, d = 0, 1, 2.
    std::vector<std::array<double, 3>> band(m, {0, 0, 0});
    std::vector<double> rhs(m);
    for (std::size_t r = 0; r < m; ++r) {
        std::size_t j = r + 1;
        band[r][0] = (h[j - 1] + h[j]) / 3;
        if (r >= 1)
            band[r][1] = h[j - 1] / 6;
        for (std::size_t d = 0; d <= 2 && d <= r; ++d) {
            std::size_t jj = j - d;
            double s = 0;
            for (std::size_t knot = j - 1; knot <= jj + 1; ++knot)
                s += qAt(knot, j) * qAt(knot, jj) / p.w[knot];
            band[r][d] += lambda * s;
        }
        rhs[r] = (p.y[j + 1] - p.y[j]) / h[j] - (p.y[j] - p.y[j - 1]) / h[j - 1];
    }
    // Banded Cholesky, then the two triangular solves.
    for (std::size_t r = 0; r < m; ++r)
        for (std::size_t d = std::min<std::size_t>(2, r) + 1; d-- > 0;) {
            std::size_t c = r - d;
            double s = band[r][d];
            for (std::size_t k = (r >= 2 ? r - 2 : 0); k < c; ++k)
                s -= band[r][r - k] * band[c][c - k];
            if (d == 0) {
                if (s <= 0)
                    return out;
                band[r][0] = std::sqrt(s);
            } else {
                band[r][d] = s / band[c][0];
            }
        }
    for (std::size_t r = 0; r < m; ++r) {
        double s = rhs[r];
        for (std::size_t d = 1; d <= 2 && d <= r; ++d) s -= band[r][d] * rhs[r - d];
        rhs[r] = s / band[r][0];
    }
    for (std::size_t r = m; r-- > 0;) {
        double s = rhs[r];
        for (std::size_t d = 1; d <= 2 && r + d < m; ++d) s -= band[r + d][d] * rhs[r + d];
        rhs[r] = s / band[r][0];
    }
    std::vector<double> gamma(n, 0), g(n);
    for (std::size_t r = 0; r < m; ++r) gamma[r + 1] = rhs[r];
    for (std::size_t i = 0; i < n; ++i) {
        double qg = 0;
        for (std::size_t j = (i >= 1 ? i - 1 : 0); j <= i + 1 && j < n; ++j)
            if (j >= 1 && j + 1 < n)
                qg += qAt(i, j) * gamma[j];
        g[i] = p.y[i] - lambda * qg / p.w[i];
    }
    for (double x : at) {
        if (x < p.x.front() || x > p.x.back())
            continue;
        std::size_t i =
            static_cast<std::size_t>(std::upper_bound(p.x.begin(), p.x.end(), x) - p.x.begin());
        i = std::clamp<std::size_t>(i, 1, n - 1) - 1;
        double a = x - p.x[i], b = p.x[i + 1] - x, hi = h[i];
        double v = (a * g[i + 1] + b * g[i]) / hi -
                   a * b / 6 * ((1 + a / hi) * gamma[i + 1] + (1 + b / hi) * gamma[i]);
        out.emplace_back(x, v);
    }
    return out;
}

Curve stepCurve(Points const& raw, StepKind kind) {
    Points p = mergedByX(raw);
    Curve out;
    for (std::size_t i = 0; i < p.size(); ++i) {
        if (i > 0) {
            double x0 = p.x[i - 1], x1 = p.x[i];
            double at = kind == StepKind::Right ? x1 : kind == StepKind::Left ? x0 : (x0 + x1) / 2;
            if (kind != StepKind::Left)
                out.emplace_back(at, p.y[i - 1]);
            out.emplace_back(at, p.y[i]);
            if (kind == StepKind::Right)
                continue;  // (x1, y1) is already the last point
        }
        out.emplace_back(p.x[i], p.y[i]);
    }
    return out;
}

}  // namespace host::chart::stats
