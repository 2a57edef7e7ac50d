#pragma once
// Continuous aesthetic scales: a value's place t in [0, 1] along its domain turned into a colour
// (a gradient between two colours, or one hue by saturation or by brightness), a size or a
// transparency.

namespace host::chart {

struct Rgb01 {
    double r = 0, g = 0, b = 0;  // 0..1, sRGB
};

// Between `from` (t = 0) and `to` (t = 1) through CIE L*a*b*, so that equal steps of t look
// like equal steps of colour.
Rgb01 gradient(Rgb01 from, Rgb01 to, double t);
// The hue of `base` from washed out (t = 0) to fully saturated (t = 1).
Rgb01 bySaturation(Rgb01 base, double t);
// The hue of `base` from light (t = 0) to dark (t = 1).
Rgb01 byBrightness(Rgb01 base, double t);
// A marker size whose area grows in proportion to t, from `smallest` to `largest`.
double sizeByArea(double smallest, double largest, double t);
// Where v lies in [lo, hi], clamped to [0, 1] (0.5 when the domain is one value).
double placeIn(double v, double lo, double hi);

}  // namespace host::chart
