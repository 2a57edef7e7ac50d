#include "host/chart/scales/aesthetic_ramps.h"

#include <algorithm>
#include <cmath>

namespace host::chart {

namespace {

double toLinear(double c) {
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}
double toGamma(double c) {
    c = std::clamp(c, 0.0, 1.0);
    return c <= 0.0031308 ? c * 12.92 : 1.055 * std::pow(c, 1 / 2.4) - 0.055;
}

struct Lab {
    double l, a, b;
};

// D65 white.
constexpr double kXn = 0.95047, kYn = 1.0, kZn = 1.08883;

double f(double t) {
    return t > 216.0 / 24389 ? std::cbrt(t) : (24389.0 / 27 * t + 16) / 116;
}
double fInverse(double t) {
    return t * t * t > 216.0 / 24389 ? t * t * t : (116 * t - 16) / (24389.0 / 27);
}

Lab toLab(Rgb01 c) {
    double r = toLinear(c.r), g = toLinear(c.g), b = toLinear(c.b);
    double x = (0.4124564 * r + 0.3575761 * g + 0.1804375 * b) / kXn;
    double y = (0.2126729 * r + 0.7151522 * g + 0.0721750 * b) / kYn;
    double z = (0.0193339 * r + 0.1191920 * g + 0.9503041 * b) / kZn;
    return {116 * f(y) - 16, 500 * (f(x) - f(y)), 200 * (f(y) - f(z))};
}

Rgb01 fromLab(Lab lab) {
    double fy = (lab.l + 16) / 116, fx = fy + lab.a / 500, fz = fy - lab.b / 200;
    double x = fInverse(fx) * kXn, y = fInverse(fy) * kYn, z = fInverse(fz) * kZn;
    double r = 3.2404542 * x - 1.5371385 * y - 0.4985314 * z;
    double g = -0.9692660 * x + 1.8760108 * y + 0.0415560 * z;
    double b = 0.0556434 * x - 0.2040259 * y + 1.0572252 * z;
    return {toGamma(r), toGamma(g), toGamma(b)};
}

// HSV with h in [0, 6).
void toHsv(Rgb01 c, double& h, double& s, double& v) {
    double mx = std::max({c.r, c.g, c.b}), mn = std::min({c.r, c.g, c.b}), d = mx - mn;
    v = mx;
    s = mx > 0 ? d / mx : 0;
    if (d == 0)
        h = 0;
    else if (mx == c.r)
        h = std::fmod((c.g - c.b) / d + 6, 6);
    else if (mx == c.g)
        h = (c.b - c.r) / d + 2;
    else
        h = (c.r - c.g) / d + 4;
}

Rgb01 fromHsv(double h, double s, double v) {
    double c = v * s, x = c * (1 - std::fabs(std::fmod(h, 2) - 1)), m = v - c;
    Rgb01 out;
    int sector = static_cast<int>(h) % 6;
    double rgb[6][3] = {{c, x, 0}, {x, c, 0}, {0, c, x}, {0, x, c}, {x, 0, c}, {c, 0, x}};
    out.r = rgb[sector][0] + m;
    out.g = rgb[sector][1] + m;
    out.b = rgb[sector][2] + m;
    return out;
}

}  // namespace

Rgb01 gradient(Rgb01 from, Rgb01 to, double t) {
    t = std::clamp(t, 0.0, 1.0);
    Lab a = toLab(from), b = toLab(to);
    return fromLab({a.l + (b.l - a.l) * t, a.a + (b.a - a.a) * t, a.b + (b.b - a.b) * t});
}

Rgb01 bySaturation(Rgb01 base, double t) {
    double h, s, v;
    toHsv(base, h, s, v);
    return fromHsv(h, 0.08 + 0.92 * std::clamp(t, 0.0, 1.0), std::max(v, 0.75));
}

Rgb01 byBrightness(Rgb01 base, double t) {
    double h, s, v;
    toHsv(base, h, s, v);
    return fromHsv(h, std::max(s, 0.5), 0.95 - 0.7 * std::clamp(t, 0.0, 1.0));
}

double sizeByArea(double smallest, double largest, double t) {
    t = std::clamp(t, 0.0, 1.0);
    return std::sqrt(smallest * smallest + (largest * largest - smallest * smallest) * t);
}

double placeIn(double v, double lo, double hi) {
    if (!(hi > lo))
        return 0.5;
    return std::clamp((v - lo) / (hi - lo), 0.0, 1.0);
}

}  // namespace host::chart
