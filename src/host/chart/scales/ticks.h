#pragma once
// Continuous scales: the domain of a dimension, its round ticks and how they read.

#include <string>
#include <vector>

#include "host/chart/chart_model.h"
#include "host/chart/spec/chart_spec.h"

namespace host::chart {

// Round tick values for a continuous range: about `target` ticks with steps of 1, 2, 2.5 or 5
// times a power of ten, covering [lo, hi]. At most about a hundred, whatever the range.
std::vector<double> niceTicks(double lo, double hi, int target = 6);

// A number in a chart variable's format: prefix, grouping, decimals, suffix.
std::string formatNumber(double value, NumberFormat const& format, double step = 0);

struct LinScale {
    double lo = 0, hi = 1;
    bool log = false;
    double base = 10;
    bool reverse = false;
    std::vector<double> ticks;
    double step = 0;
    // A value's place between the pixel positions a (at lo) and b (at hi).
    double map(double v, double a, double b) const;
    // Whether a value can be shown at all (a log scale has no place for 0 and below).
    bool shows(double v) const { return !log || v > 0; }
};

// The scale of a dimension over the data's [lo, hi]: the SCALE's own limits and inclusions,
// the guide's delta and start, and round ends when `nice` (bars). Ranges too narrow, too wide
// or not finite are widened to something an axis can show.
LinScale trainLinear(double lo, double hi, ScaleSpec const* scale, AxisGuide const* guide,
                     bool nice);

}  // namespace host::chart
