#include "host/chart/stats/chart_statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <numeric>

#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>

namespace host::chart {

namespace {

// Edges computed as start + k * width carry binary noise; they are decimal numbers.
double decimal(double v) {
    if (v == 0 || !std::isfinite(v))
        return v;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.12g", v);
    return std::strtod(buffer, nullptr);
}

// The smallest step of 1, 2, 2.5 or 5 times a power of ten that is at least `raw`.
double roundStep(double raw) {
    if (!(raw > 0) || !std::isfinite(raw))
        return 1;
    double mag = std::pow(10, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 2.5, 5.0, 10.0})
        if (raw <= m * mag * (1 + 1e-9))
            return decimal(m * mag);
    return decimal(10 * mag);
}

struct Sorted {
    std::vector<double> values;
    std::vector<double> cumulative;  // running total of the weights
    std::vector<std::size_t> index;  // into the sample
};

Sorted sortSample(Sample const& s) {
    Sorted out;
    out.index.resize(s.values.size());
    std::iota(out.index.begin(), out.index.end(), 0);
    std::stable_sort(out.index.begin(), out.index.end(),
                     [&](std::size_t a, std::size_t b) { return s.values[a] < s.values[b]; });
    double run = 0;
    for (auto i : out.index) {
        out.values.push_back(s.values[i]);
        run += s.weights[i];
        out.cumulative.push_back(run);
    }
    return out;
}

// The value at a depth (1 = the smallest) of the cases taken as often as their weights say;
// a fractional depth interpolates between neighbours.
double atDepth(Sorted const& s, double depth) {
    auto at = [&](double k) {
        auto it = std::lower_bound(s.cumulative.begin(), s.cumulative.end(), k - 1e-9);
        if (it == s.cumulative.end())
            return s.values.back();
        return s.values[std::size_t(it - s.cumulative.begin())];
    };
    double k = std::floor(depth + 1e-12), f = depth - k;
    double v = at(std::max(k, 1.0));
    if (f > 1e-12)
        v += f * (at(k + 1) - v);
    return v;
}

}  // namespace

void Sample::add(double value, double weight) {
    if (!std::isfinite(value) || !(weight > 0) || !std::isfinite(weight))
        return;
    values.push_back(value);
    weights.push_back(weight);
}

double Sample::totalWeight() const {
    return std::accumulate(weights.begin(), weights.end(), 0.0);
}

bool summarizeSample(std::string const& statistic, Sample const& sample, double& result,
                     bool& missing) {
    missing = false;
    result = 0;
    double w = sample.totalWeight();
    if (statistic == "summary.count") {
        result = w;
        return true;
    }
    static char const* const kKnown[] = {"summary.sum",   "summary.mean", "summary.median",
                                         "summary.min",   "summary.max",  "summary.mode",
                                         "summary.range", "summary.sd",   "summary.variance"};
    if (std::find_if(std::begin(kKnown), std::end(kKnown),
                     [&](char const* k) { return statistic == k; }) == std::end(kKnown))
        return false;
    if (sample.empty()) {
        missing = true;
        return true;
    }
    if (statistic == "summary.sum") {
        for (std::size_t i = 0; i < sample.values.size(); ++i)
            result += sample.values[i] * sample.weights[i];
    } else if (statistic == "summary.mean") {
        result = moments(sample).mean;
    } else if (statistic == "summary.min" || statistic == "summary.max" ||
               statistic == "summary.range") {
        auto [lo, hi] = std::minmax_element(sample.values.begin(), sample.values.end());
        result = statistic == "summary.min" ? *lo : statistic == "summary.max" ? *hi : *hi - *lo;
    } else if (statistic == "summary.median") {
        result = atDepth(sortSample(sample), (w + 1) / 2);
    } else if (statistic == "summary.mode") {
        std::map<double, double> weightOf;
        for (std::size_t i = 0; i < sample.values.size(); ++i)
            weightOf[sample.values[i]] += sample.weights[i];
        double best = -1;
        for (auto const& [v, f] : weightOf)  // ascending: the smallest wins a tie
            if (f > best) {
                best = f;
                result = v;
            }
    } else {  // sd, variance
        Moments m = moments(sample);
        if (m.n <= 1) {
            missing = true;
            return true;
        }
        result = statistic == "summary.sd" ? m.sd : m.sd * m.sd;
    }
    return true;
}

std::vector<double> binEdges(double lo, double hi, std::size_t cases, BinOptions const& options) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || hi < lo)
        return {};
    // A width far too small for the range, or a count far too large, would make millions of
    // bins.
    double width = options.width > 0 ? options.width : 0;
    double start = lo;
    BinOptions capped = options;
    capped.count = std::min(options.count, int(kMaxBins));
    auto const& opt = capped;
    if (width == 0 && opt.count > 0) {
        width = hi > lo ? (hi - lo) / opt.count : 1;
        if (hi == lo)
            start = lo - width * opt.count / 2;
    } else if (width == 0) {
        // Sturges' number of bins, widened to a round step.
        double k = std::ceil(std::log2(std::max<double>(double(cases), 1))) + 1;
        width = hi > lo ? roundStep((hi - lo) / k) : roundStep(std::fabs(lo) / 10);
    }
    if (options.hasStart)
        start = options.start;
    else if (!(opt.count > 0 && options.width <= 0))
        start = std::floor(lo / width + 1e-9) * width;
    if (start > lo)  // keep the given alignment, but never lose the cases below it
        start -= std::ceil((start - lo) / width - 1e-9) * width;
    if ((hi - start) / width > kMaxBins)
        width = roundStep((hi - start) / kMaxBins);
    std::vector<double> edges{decimal(start)};
    if (opt.count > 0 && options.width <= 0 && !options.hasStart && hi > lo) {
        // Exactly the bins that were asked for, the last one ending on the largest value.
        for (int k = 1; k < opt.count; ++k) edges.push_back(start + k * width);
        edges.push_back(hi);
        return edges;
    }
    for (int k = 1; (edges.back() < hi || edges.size() < 2) && k <= kMaxBins + 1; ++k)
        edges.push_back(decimal(start + k * width));
    return edges;
}

int binIndex(std::vector<double> const& edges, double value) {
    if (edges.size() < 2 || value < edges.front() || value > edges.back())
        return -1;
    auto it = std::upper_bound(edges.begin(), edges.end(), value);
    int i = int(it - edges.begin()) - 1;
    return std::min(i, int(edges.size()) - 2);
}

bool boxStats(Sample const& sample, BoxStats& out) {
    if (sample.empty())
        return false;
    Sorted s = sortSample(sample);
    double n = s.cumulative.back();
    double depthMedian = (n + 1) / 2;
    double depthFourth = (std::floor(depthMedian) + 1) / 2;
    out = {};
    out.median = atDepth(s, depthMedian);
    out.lowerHinge = atDepth(s, depthFourth);
    out.upperHinge = atDepth(s, n + 1 - depthFourth);
    double spread = out.upperHinge - out.lowerHinge;
    double lowFence = out.lowerHinge - 1.5 * spread, highFence = out.upperHinge + 1.5 * spread;
    double lowExtreme = out.lowerHinge - 3 * spread, highExtreme = out.upperHinge + 3 * spread;
    out.lowerWhisker = out.lowerHinge;
    out.upperWhisker = out.upperHinge;
    bool anyLow = false, anyHigh = false;
    for (std::size_t k = 0; k < s.values.size(); ++k) {
        double v = s.values[k];
        if (v < lowFence || v > highFence) {
            out.outliers.push_back({v, s.index[k], v < lowExtreme || v > highExtreme});
            continue;
        }
        if (!anyLow || v < out.lowerWhisker)
            out.lowerWhisker = std::min(v, out.lowerHinge);
        if (!anyHigh || v > out.upperWhisker)
            out.upperWhisker = std::max(v, out.upperHinge);
        anyLow = anyHigh = true;
    }
    return true;
}

Moments moments(Sample const& sample) {
    Moments m;
    m.n = sample.totalWeight();
    if (m.n <= 0)
        return m;
    double sum = 0;
    for (std::size_t i = 0; i < sample.values.size(); ++i)
        sum += sample.values[i] * sample.weights[i];
    m.mean = sum / m.n;
    if (m.n > 1) {
        double ss = 0;
        for (std::size_t i = 0; i < sample.values.size(); ++i)
            ss += sample.weights[i] * (sample.values[i] - m.mean) * (sample.values[i] - m.mean);
        m.sd = std::sqrt(ss / (m.n - 1));
    }
    return m;
}

std::vector<std::pair<double, double>> normalCurve(Moments const& m, double lo, double hi,
                                                   double scale, int points) {
    std::vector<std::pair<double, double>> out;
    if (!(m.sd > 0) || !(hi > lo) || points < 2)
        return out;
    boost::math::normal_distribution<double> dist(m.mean, m.sd);
    for (int k = 0; k < points; ++k) {
        double x = lo + (hi - lo) * k / (points - 1);
        out.emplace_back(x, scale * boost::math::pdf(dist, x));
    }
    return out;
}

Interval meanConfidence(Sample const& sample, double level) {
    Interval r;
    Moments m = moments(sample);
    r.centre = m.mean;
    if (m.n <= 1 || !(level > 0 && level < 1))
        return r;
    boost::math::students_t_distribution<double> t(m.n - 1);
    double half = boost::math::quantile(t, (1 + level) / 2) * m.sd / std::sqrt(m.n);
    r.low = m.mean - half;
    r.high = m.mean + half;
    r.valid = true;
    return r;
}

Interval countConfidence(double count, double total, double level, bool percent) {
    Interval r;
    if (!(total > 0) || !(level > 0 && level < 1))
        return r;
    double p = count / total;
    double z = boost::math::quantile(boost::math::normal_distribution<double>(), (1 + level) / 2);
    double half = z * std::sqrt(p * (1 - p) / total);
    double unit = percent ? 100 : total;
    r.centre = p * unit;
    r.low = std::max(0.0, p - half) * unit;
    r.high = std::min(1.0, p + half) * unit;
    r.valid = true;
    return r;
}

Interval meanSpread(Sample const& sample, double multiple, bool standardError) {
    Interval r;
    Moments m = moments(sample);
    r.centre = m.mean;
    if (m.n <= 1)
        return r;
    double half = multiple * (standardError ? m.sd / std::sqrt(m.n) : m.sd);
    r.low = m.mean - half;
    r.high = m.mean + half;
    r.valid = true;
    return r;
}

LinearFit linearFit(std::vector<double> const& x, std::vector<double> const& y,
                    std::vector<double> const& weights) {
    LinearFit f;
    double w = 0, sx = 0, sy = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        w += weights[i];
        sx += weights[i] * x[i];
        sy += weights[i] * y[i];
    }
    if (x.size() < 2 || !(w > 0))
        return f;
    double mx = sx / w, my = sy / w, sxx = 0, sxy = 0, syy = 0;
    f.xMin = f.xMax = x[0];
    for (std::size_t i = 0; i < x.size(); ++i) {
        sxx += weights[i] * (x[i] - mx) * (x[i] - mx);
        sxy += weights[i] * (x[i] - mx) * (y[i] - my);
        syy += weights[i] * (y[i] - my) * (y[i] - my);
        f.xMin = std::min(f.xMin, x[i]);
        f.xMax = std::max(f.xMax, x[i]);
    }
    if (!(sxx > 0))
        return f;  // all x alike: no line
    f.slope = sxy / sxx;
    f.intercept = my - f.slope * mx;
    f.rSquared = syy > 0 ? sxy * sxy / (sxx * syy) : 1;
    f.valid = true;
    return f;
}

}  // namespace host::chart
