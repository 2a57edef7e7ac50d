#include "host/chart/stats/density.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>

namespace host::chart::stats {

namespace {

constexpr double kPi = 3.14159265358979323846;

struct KernelDef {
    Kernel kernel;
    char const* names[2];
    double canonical;  // the canonical bandwidth (R(K) / mu2(K)^2)^(1/5)
};

constexpr KernelDef kKernels[] = {
    {Kernel::Normal, {"normal", "gaussian"}, 0.7763884},
    {Kernel::Epanechnikov, {"epanechnikov", "epa"}, 1.7187719},
    {Kernel::Uniform, {"uniform", "rectangular"}, 1.3509630},
    {Kernel::Triangular, {"triangular", "triangle"}, 1.8881750},
    {Kernel::Biweight, {"biweight", "quartic"}, 2.0361680},
    {Kernel::Triweight, {"triweight", "triweight"}, 2.3121397},
    {Kernel::Cosine, {"cosine", "cosinus"}, 1.7662654},
};

KernelDef const& def(Kernel k) {
    for (auto const& d : kKernels)
        if (d.kernel == k)
            return d;
    return kKernels[0];
}

double weightOf(std::vector<double> const& weights, std::size_t i) {
    return weights.empty() ? 1.0 : weights[i];
}

// The weighted quantile at p by the empirical distribution (values sorted with their weights).
double quantile(std::vector<std::pair<double, double>> const& sorted, double total, double p) {
    double target = p * total, run = 0;
    for (auto const& [v, w] : sorted) {
        run += w;
        if (run >= target)
            return v;
    }
    return sorted.back().first;
}

}  // namespace

bool kernelByName(std::string_view name, Kernel& out) {
    std::string key(name);
    for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (auto const& d : kKernels)
        for (char const* n : d.names)
            if (key == n) {
                out = d.kernel;
                return true;
            }
    return false;
}

double kernelValue(Kernel k, double u) {
    double a = std::fabs(u);
    if (k == Kernel::Normal)
        return std::exp(-0.5 * u * u) / std::sqrt(2 * kPi);
    if (a > 1)
        return 0;
    double q = 1 - u * u;
    switch (k) {
        case Kernel::Epanechnikov:
            return 0.75 * q;
        case Kernel::Uniform:
            return 0.5;
        case Kernel::Triangular:
            return 1 - a;
        case Kernel::Biweight:
            return 15.0 / 16 * q * q;
        case Kernel::Triweight:
            return 35.0 / 32 * q * q * q;
        case Kernel::Cosine:
            return kPi / 4 * std::cos(kPi / 2 * u);
        default:
            return 0;
    }
}

double kernelReach(Kernel k) {
    return k == Kernel::Normal ? 6.0 : 1.0;
}

double ruleOfThumbBandwidth(std::vector<double> const& values, std::vector<double> const& weights,
                            Kernel k) {
    std::vector<std::pair<double, double>> sorted;
    sorted.reserve(values.size());
    double total = 0, sum = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        sorted.emplace_back(values[i], weightOf(weights, i));
        total += weightOf(weights, i);
        sum += weightOf(weights, i) * values[i];
    }
    if (sorted.size() < 2 || total <= 1)
        return 0;
    double mean = sum / total, ss = 0;
    for (auto const& [v, w] : sorted) ss += w * (v - mean) * (v - mean);
    double sd = std::sqrt(ss / (total - 1));
    std::sort(sorted.begin(), sorted.end());
    double iqr = quantile(sorted, total, 0.75) - quantile(sorted, total, 0.25);
    double spread = iqr > 0 ? std::min(sd, iqr / 1.349) : sd;
    double h = 0.9 * spread * std::pow(total, -0.2);
    return h * def(k).canonical / def(Kernel::Normal).canonical;
}

std::vector<std::pair<double, double>> kernelDensity(std::vector<double> const& values,
                                                     std::vector<double> const& weights, Kernel k,
                                                     double h, std::vector<double> const& at) {
    std::vector<std::pair<double, double>> out;
    if (values.empty() || !(h > 0))
        return out;
    double total = 0;
    for (std::size_t i = 0; i < values.size(); ++i) total += weightOf(weights, i);
    if (total <= 0)
        return out;
    out.reserve(at.size());
    double reach = kernelReach(k) * h;
    // Exact sums while they are cheap.
    if (static_cast<double>(values.size()) * static_cast<double>(at.size()) <= 4e6) {
        for (double x : at) {
            double s = 0;
            for (std::size_t i = 0; i < values.size(); ++i)
                if (k == Kernel::Normal || std::fabs(x - values[i]) <= reach)
                    s += weightOf(weights, i) * kernelValue(k, (x - values[i]) / h);
            out.emplace_back(x, s / (h * total));
        }
        return out;
    }
    // Linear binning: each case shares its weight between the two grid points around it, then
    // each density sums the kernel over the grid points within its reach.
    auto [lo, hi] = std::minmax_element(values.begin(), values.end());
    constexpr std::size_t kGrid = 8192;
    double x0 = *lo, step = (*hi - *lo) / static_cast<double>(kGrid - 1);
    if (!(step > 0)) {
        for (double x : at) out.emplace_back(x, kernelValue(k, (x - x0) / h) / h);
        return out;
    }
    std::vector<double> mass(kGrid, 0);
    for (std::size_t i = 0; i < values.size(); ++i) {
        double pos = (values[i] - x0) / step;
        auto cell = std::min(static_cast<std::size_t>(pos), kGrid - 2);
        double frac = pos - static_cast<double>(cell);
        mass[cell] += weightOf(weights, i) * (1 - frac);
        mass[cell + 1] += weightOf(weights, i) * frac;
    }
    for (double x : at) {
        double first = std::max(0.0, std::ceil((x - reach - x0) / step));
        double last = std::min(static_cast<double>(kGrid - 1), std::floor((x + reach - x0) / step));
        double s = 0;
        for (double g = first; g <= last; ++g) {
            auto idx = static_cast<std::size_t>(g);
            if (mass[idx] != 0)
                s += mass[idx] * kernelValue(k, (x - (x0 + g * step)) / h);
        }
        out.emplace_back(x, s / (h * total));
    }
    return out;
}

}  // namespace host::chart::stats
