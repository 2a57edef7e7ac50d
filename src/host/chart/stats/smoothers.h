#pragma once
// Fit lines through (x, y) points with case weights: polynomial least squares (quadratic,
// cubic), local linear regression (loess), the cubic smoothing spline, and step functions.
// Each returns the curve as points over the x range of the data.

#include <cstddef>
#include <utility>
#include <vector>

namespace host::chart::stats {

using Curve = std::vector<std::pair<double, double>>;

// Points with weights; cases with a missing coordinate or a weight that is not positive are
// left out by the caller.
struct Points {
    std::vector<double> x, y, w;  // w empty: every weight 1
    std::size_t size() const { return x.size(); }
    double weight(std::size_t i) const { return w.empty() ? 1.0 : w[i]; }
};

// Weighted least-squares polynomial of `degree` (1 to 3). The coefficients, from the constant
// up, are of u = (x - center) / scale, which keeps the normal equations well conditioned.
struct PolynomialFit {
    std::vector<double> coefficients;
    double center = 0, scale = 1;
    double rSquared = 0;
    double xMin = 0, xMax = 0;
    bool valid = false;
    double at(double x) const;
};
PolynomialFit polynomialFit(Points const& p, int degree);

// `count` evenly spaced x over [lo, hi], the ends included.
std::vector<double> grid(double lo, double hi, int count);

// Local linear regression with tricube weights over the nearest span * n points, evaluated at
// each of `at` (sorted or not). Cost: a sort, then for each point a window walk of span * n.
Curve loess(Points const& p, double span, std::vector<double> const& at);

// The natural cubic smoothing spline minimising sum w (y - g(x))^2 + lambda * integral g''^2,
// evaluated at `at` within the data range. A lambda of 0 or less picks one from the data's
// spread (the default of smooth.spline).
Curve smoothingSpline(Points const& p, double lambda, std::vector<double> const& at);
double defaultSplineLambda(Points const& p);

// Steps through the weighted mean y of each distinct x: `Right` holds a value until the next x,
// `Left` takes the next value from the point before, `Center` steps half way between.
enum class StepKind { Left, Right, Center };
Curve stepCurve(Points const& p, StepKind kind);

// The R squared of a curve evaluated at the data's own x against their y (weights honoured).
double rSquared(Points const& p, std::vector<double> const& fitted);

}  // namespace host::chart::stats
