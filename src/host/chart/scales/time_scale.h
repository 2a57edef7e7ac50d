#pragma once
// Time axes: ticks on calendar units (seconds up to centuries) over a range of date values
// (seconds since 14 October 1582, or seconds of a time of day), and dates written in the
// command language's date formats.

#include <string>
#include <vector>

namespace host::chart {

struct TimeTicks {
    std::vector<double> values;
    std::vector<std::string> labels;
    std::string unit;  // "year", "quarter", "month", "day", "hour", "minute", "second"
};

// About `target` ticks over [lo, hi] on the coarsest calendar step that gives at least two.
// Labels in `formatType` (a date print format type; 0: a form that suits the step).
// `timeOfDay`: the values are seconds since midnight, not dates.
TimeTicks timeTicks(double lo, double hi, int target, int formatType, int width,
                    bool timeOfDay = false);

// A date value in a date print format ("DATE" 11: 01-MAR-2024, "ADATE" 10: 03/01/2024, ...).
std::string formatDateValue(double value, int formatType, int width);

}  // namespace host::chart
