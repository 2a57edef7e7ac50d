#pragma once
// Kernel density estimates with case weights: f(x) = sum w K((x - xi) / h) / (h sum w).
// Kernels with a bounded support reach |u| <= 1; the normal kernel is the standard normal.

#include <string_view>
#include <utility>
#include <vector>

namespace host::chart::stats {

enum class Kernel { Normal, Epanechnikov, Uniform, Triangular, Biweight, Triweight, Cosine };

// The kernel of a name after "density.kernel." ("epanechnikov", "gaussian", ...).
bool kernelByName(std::string_view name, Kernel& out);
double kernelValue(Kernel k, double u);
// Where the kernel is not 0, in units of the bandwidth (the normal kernel: where it matters).
double kernelReach(Kernel k);

// Silverman's rule, 0.9 min(sd, IQR / 1.349) n^-1/5, for the normal kernel, carried to the
// other kernels by their canonical bandwidths so that every kernel smooths alike. Zero for
// fewer than two cases or no spread.
double ruleOfThumbBandwidth(std::vector<double> const& values, std::vector<double> const& weights,
                            Kernel k);

// The density at each of `at`. Up to a few million kernel evaluations it sums exactly; beyond,
// it bins the cases linearly on a fine grid first, which keeps a million cases well under a
// second at an error far below what a chart shows.
std::vector<std::pair<double, double>> kernelDensity(std::vector<double> const& values,
                                                     std::vector<double> const& weights, Kernel k,
                                                     double bandwidth,
                                                     std::vector<double> const& at);

}  // namespace host::chart::stats
