#include "host/chart/scales/ticks.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <fmt/format.h>

#include "host/chart/frame/frame.h"

namespace host::chart {

namespace {

constexpr std::size_t kMaxTicks = 200;

// k * step carries binary noise (0.6000000000000001); ticks are decimal numbers.
double roundTick(double v) {
    if (v == 0 || !std::isfinite(v))
        return v;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.12g", v);
    return std::strtod(buffer, nullptr);
}

// Half the width of [lo, hi], which stays finite for any finite ends.
double halfSpan(double lo, double hi) {
    return hi / 2 - lo / 2;
}

// A range that an axis cannot divide (one value, ends closer than doubles tell apart, ends
// that are not numbers) becomes one around its middle.
void widenDegenerate(double& lo, double& hi) {
    if (!std::isfinite(lo) || !std::isfinite(hi) || !(lo <= hi)) {
        lo = 0;
        hi = 1;
        return;
    }
    double mid = lo / 2 + hi / 2;
    double half = halfSpan(lo, hi);
    if (half > std::fabs(mid) * 1e-12 && half > 1e-300)
        return;
    double pad = std::fabs(mid) < 1e-300 ? 1 : std::fabs(mid) * 0.1;
    lo = mid - pad;
    hi = mid + pad;
}

// Ticks from `first` by `step` that fall inside [lo, hi].
std::vector<double> stepTicks(double first, double step, double lo, double hi) {
    std::vector<double> out;
    if (!(step > 0) || !std::isfinite(step) || !std::isfinite(first))
        return out;
    double k0 = first < lo ? std::floor((lo - first) / step) : 0;
    if (!std::isfinite(k0))
        return out;
    for (double k = k0; out.size() < kMaxTicks && k < k0 + 4 * kMaxTicks; ++k) {
        double t = roundTick(first + k * step);
        if (!std::isfinite(t) || t > hi + step * 1e-9)
            break;
        if (t >= lo - step * 1e-9)
            out.push_back(std::fabs(t) < step * 1e-9 ? 0 : t);
    }
    return out;
}

int stepDecimals(double step) {
    int decimals = 0;
    for (double s = step; decimals < 12 && std::fabs(s - std::round(s)) > s * 1e-6 + 1e-12; s *= 10)
        ++decimals;
    return decimals;
}

LinScale trainLog(double lo, double hi, ScaleSpec const& scale) {
    LinScale s;
    s.log = true;
    s.base = scale.base;
    if (lo <= 0)
        lo = hi > 0 ? hi / 1000 : 1;
    if (hi <= 0)
        hi = 10;
    double e0 = std::floor(std::log(lo) / std::log(s.base) + 1e-9);
    double e1 = std::ceil(std::log(hi) / std::log(s.base) - 1e-9);
    if (e1 <= e0)
        e1 = e0 + 1;
    s.lo = std::pow(s.base, e0);
    s.hi = std::pow(s.base, e1);
    if (scale.hasMin && scale.min > 0)
        s.lo = scale.min;
    if (scale.hasMax && scale.max > s.lo)
        s.hi = scale.max;
    if (!(s.lo > 0) || !std::isfinite(s.hi) || !(s.hi > s.lo)) {
        s.lo = 1;
        s.hi = 10;
        e0 = 0;
        e1 = 1;
    }
    for (double e = e0; e <= e1 + 1e-9 && s.ticks.size() < kMaxTicks; ++e) {
        double t = std::pow(s.base, e);
        if (t >= s.lo * (1 - 1e-9) && t <= s.hi * (1 + 1e-9))
            s.ticks.push_back(t);
    }
    s.reverse = scale.reverse;
    return s;
}

}  // namespace

double LinScale::map(double v, double a, double b) const {
    double t;
    if (log) {
        double l = std::log(std::max(v, 1e-300)), l0 = std::log(lo), l1 = std::log(hi);
        t = (l - l0) / (l1 - l0);
    } else {
        t = halfSpan(lo, v) / halfSpan(lo, hi);
    }
    if (reverse)
        t = 1 - t;
    return a + t * (b - a);
}

std::vector<double> niceTicks(double lo, double hi, int target) {
    if (!(hi > lo) || !std::isfinite(lo) || !std::isfinite(hi))
        return {lo};
    double raw = halfSpan(lo, hi) / (std::max(target - 1, 1) / 2.0);
    double mag = std::pow(10, std::floor(std::log10(raw)));
    if (!(mag > 0) || !std::isfinite(mag))
        return {lo, hi};
    double step = mag * 10;
    for (double m : {1.0, 2.0, 2.5, 5.0, 10.0})
        if (raw <= m * mag * (1 + 1e-9)) {
            step = m * mag;
            break;
        }
    std::vector<double> out;
    double k0 = std::floor(lo / step + 1e-9), k1 = std::ceil(hi / step - 1e-9);
    for (double k = k0; k <= k1 && out.size() <= 100; ++k) {
        double t = roundTick(k * step);
        if (std::isfinite(t))
            out.push_back(t);
    }
    return out;
}

LinScale trainLinear(double lo, double hi, ScaleSpec const* scale, AxisGuide const* guide,
                     bool nice) {
    if (scale)
        for (double v : scale->includeNumbers) {
            lo = std::min(lo, v);
            hi = std::max(hi, v);
        }
    if (!(lo <= hi))
        lo = 0, hi = 1;
    if (scale && scale->type == "log")
        return trainLog(lo, hi, *scale);
    LinScale s;
    if (scale && scale->hasMin)
        lo = scale->min;
    if (scale && scale->hasMax)
        hi = scale->max;
    widenDegenerate(lo, hi);
    s.ticks = niceTicks(lo, hi);
    s.step = s.ticks.size() > 1 ? s.ticks[1] - s.ticks[0] : halfSpan(lo, hi);
    // A domain that ends off the round values (a box plot, a padded scatter) can leave only
    // two ticks inside it; a finer round step keeps the axis readable.
    for (int k = 0; k < 3 && !nice && s.step > 0 && std::isfinite(s.step); ++k) {
        double inside = std::floor(hi / s.step + 1e-9) - std::ceil(lo / s.step - 1e-9) + 1;
        if (inside >= 4)
            break;
        double mag = std::pow(10, std::floor(std::log10(s.step) + 1e-9));
        double m = s.step / mag;
        double finer = roundTick((m > 4.9 ? 2.5 : m > 2.4 ? 2 : m > 1.9 ? 1 : 0.5) * mag);
        if (!(finer > 0))
            break;
        s.step = finer;
    }
    if (guide && guide->delta > 0 && halfSpan(lo, hi) / guide->delta <= 100)
        s.step = guide->delta;
    if (nice && s.step > 0) {
        double niceLo = std::floor(lo / s.step + 1e-9) * s.step;
        double niceHi = std::ceil(hi / s.step - 1e-9) * s.step;
        if (!(scale && scale->hasMin) && std::isfinite(niceLo))
            lo = niceLo;
        if (!(scale && scale->hasMax) && std::isfinite(niceHi))
            hi = niceHi;
    }
    s.lo = lo;
    s.hi = hi;
    double first = guide && guide->hasStart ? guide->start : std::ceil(lo / s.step - 1e-9) * s.step;
    s.ticks = stepTicks(first, s.step, lo, hi);
    s.reverse = scale && scale->reverse;
    return s;
}

std::string formatNumber(double value, NumberFormat const& format, double step) {
    if (value == kSysmis || !std::isfinite(value))
        return "";
    int decimals = format.decimals;
    if (!format.set || decimals < 0) {
        decimals = 0;
        if (step > 0) {
            decimals = stepDecimals(step);
        } else {
            // Plain values: up to 4 significant decimals, trailing zeros dropped.
            std::string t = fmt::format("{:.4f}", value);
            while (t.find('.') != std::string::npos && (t.back() == '0' || t.back() == '.'))
                t.pop_back();
            auto dot = t.find('.');
            decimals = dot == std::string::npos ? 0 : static_cast<int>(t.size() - dot - 1);
        }
    }
    std::string body;
    if ((decimals > 6 && std::fabs(value) > 0) || std::fabs(value) >= 1e16) {
        // Tiny steps and huge values read in exponent form.
        int digits = std::fabs(value) >= 1e16 ? 3 : std::max(0, decimals - 6);
        body = fmt::format("{:.{}e}", value, digits);
        auto e = body.find('e');
        std::string mant = body.substr(0, e);
        int exp = std::stoi(body.substr(e + 1));
        body = mant + "e" + std::to_string(exp);
    } else {
        body = fmt::format("{:.{}f}", std::fabs(value), decimals);
        if (format.grouping) {
            auto dot = body.find('.');
            std::string whole = body.substr(0, dot);
            std::string rest = dot == std::string::npos ? "" : body.substr(dot);
            std::string grouped;
            for (std::size_t i = 0; i < whole.size(); ++i) {
                if (i > 0 && (whole.size() - i) % 3 == 0)
                    grouped += ',';
                grouped += whole[i];
            }
            body = grouped + rest;
        }
        bool zero = body.find_first_not_of("0.,") == std::string::npos;
        if (value < 0 && !zero)
            body = "-" + body;
    }
    return format.prefix + body + format.suffix;
}

}  // namespace host::chart
