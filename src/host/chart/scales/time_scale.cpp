#include "host/chart/scales/time_scale.h"

#include <cmath>

#include <fmt/format.h>

#include "host/dictionary/date_values.h"
#include "platform/dictionary.h"

namespace host::chart {

namespace {

namespace hd = host::dictionary;

constexpr char const* kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                   "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
constexpr char const* kMonthNames[] = {"January",   "February", "March",    "April",
                                       "May",       "June",     "July",     "August",
                                       "September", "October",  "November", "December"};
constexpr char const* kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                 "Thursday", "Friday", "Saturday"};

struct Step {
    char const* unit;
    double seconds;  // fixed steps; 0 for months and years
    int months;      // calendar steps
};

constexpr Step kSteps[] = {
    {"second", 1, 0},  {"second", 5, 0},      {"second", 15, 0},     {"second", 30, 0},
    {"minute", 60, 0}, {"minute", 300, 0},    {"minute", 900, 0},    {"minute", 1800, 0},
    {"hour", 3600, 0}, {"hour", 3 * 3600, 0}, {"hour", 6 * 3600, 0}, {"hour", 12 * 3600, 0},
    {"day", 86400, 0}, {"day", 2 * 86400, 0}, {"day", 7 * 86400, 0}, {"month", 0, 1},
    {"quarter", 0, 3}, {"month", 0, 6},       {"year", 0, 12},       {"year", 0, 24},
    {"year", 0, 60},   {"year", 0, 120},      {"year", 0, 240},      {"year", 0, 600},
    {"year", 0, 1200},
};

std::string timeText(double seconds, bool withSeconds) {
    auto total = static_cast<long long>(std::floor(seconds + 1e-6));
    long long h = total / 3600, m = total / 60 % 60, s = total % 60;
    return withSeconds ? fmt::format("{:02}:{:02}:{:02}", h, m, s)
                       : fmt::format("{:02}:{:02}", h, m);
}

std::vector<double> calendarTicks(double lo, double hi, Step const& step, bool timeOfDay) {
    std::vector<double> out;
    if (step.months == 0) {
        // Days and shorter steps fall on multiples from midnight (weeks from a Monday).
        double origin = step.seconds == 7 * 86400 && !timeOfDay
                            ? hd::valueFromCivil(1582, 10, 18)  // a Monday
                            : 0;
        double first = origin + std::ceil((lo - origin) / step.seconds - 1e-9) * step.seconds;
        for (double v = first; v <= hi + 1e-6 && out.size() < 1000; v += step.seconds)
            out.push_back(v);
        return out;
    }
    auto t = hd::civilFromValue(lo);
    long long index = t.year * 12LL + (t.month - 1);
    index = (index + step.months - 1) / step.months * step.months;  // round up to the step
    for (; out.size() < 1000; index += step.months) {
        double v =
            hd::valueFromCivil(static_cast<int>(index / 12), static_cast<int>(index % 12) + 1, 1);
        if (v < lo - 1e-6)
            continue;
        if (v > hi + 1e-6)
            break;
        out.push_back(v);
    }
    return out;
}

std::string defaultLabel(double v, Step const& step, bool timeOfDay) {
    if (timeOfDay)
        return timeText(v, step.seconds < 60);
    auto t = hd::civilFromValue(v);
    if (step.months >= 12)
        return std::to_string(t.year);
    if (step.months == 3)
        return fmt::format("Q{} {}", (t.month - 1) / 3 + 1, t.year);
    if (step.months > 0)
        return std::string(kMonthNames[t.month - 1]).substr(0, 3) + " " + std::to_string(t.year);
    if (step.seconds >= 86400)
        return fmt::format("{:04}-{:02}-{:02}", t.year, t.month, t.day);
    return timeText(v - std::floor(v / 86400) * 86400, step.seconds < 60);
}

}  // namespace

std::string formatDateValue(double value, int type, int width) {
    if (!std::isfinite(value))
        return "";
    auto t = hd::civilFromValue(value);
    bool longYear = true;
    int year = t.year;
    auto yearText = [&]() {
        return longYear ? fmt::format("{:04}", year) : fmt::format("{:02}", year % 100);
    };
    double secondsOfDay = value - std::floor(value / 86400) * 86400;
    switch (type) {
        case FMT_DATE:
            longYear = width == 0 || width >= 11;
            return fmt::format("{:02}-{}-{}", t.day, kMonths[t.month - 1], yearText());
        case FMT_ADATE:
            longYear = width == 0 || width >= 10;
            return fmt::format("{:02}/{:02}/{}", t.month, t.day, yearText());
        case FMT_EDATE:
            longYear = width == 0 || width >= 10;
            return fmt::format("{:02}.{:02}.{}", t.day, t.month, yearText());
        case FMT_SDATE:
            longYear = width == 0 || width >= 10;
            return fmt::format("{}/{:02}/{:02}", yearText(), t.month, t.day);
        case FMT_JDATE: {
            double jan1 = hd::valueFromCivil(t.year, 1, 1);
            return fmt::format("{:04}{:03}", t.year, static_cast<int>((value - jan1) / 86400) + 1);
        }
        case FMT_QYR:
            return fmt::format("{} Q {:04}", (t.month - 1) / 3 + 1, t.year);
        case FMT_MOYR:
            return fmt::format("{} {:04}", kMonths[t.month - 1], t.year);
        case FMT_WKYR: {
            double jan1 = hd::valueFromCivil(t.year, 1, 1);
            return fmt::format("{:2} WK {:04}", static_cast<int>((value - jan1) / 86400) / 7 + 1,
                               t.year);
        }
        case FMT_DATETIME:
            return fmt::format("{:02}-{}-{:04} {}", t.day, kMonths[t.month - 1], t.year,
                               timeText(secondsOfDay, width == 0 || width >= 20));
        case FMT_YMDHMS:
            return fmt::format("{:04}-{:02}-{:02} {}", t.year, t.month, t.day,
                               timeText(secondsOfDay, width == 0 || width >= 19));
        case FMT_TIME:
            return timeText(value, width == 0 || width >= 8);
        case FMT_MTIME:
            return fmt::format("{:02}:{:02}", static_cast<long long>(value) / 60,
                               static_cast<long long>(value) % 60);
        case FMT_DTIME:
            return fmt::format("{:02} {}", static_cast<long long>(value / 86400),
                               timeText(secondsOfDay, width == 0 || width >= 11));
        case FMT_WKDAY: {
            // 14 October 1582 was a Thursday.
            auto days = static_cast<long long>(std::floor(value / 86400));
            return kDays[((days + 4) % 7 + 7) % 7];
        }
        case FMT_MONTH:
            return kMonthNames[t.month - 1];
        default:
            return hd::isoText(value, hd::DateKind::Date);
    }
}

TimeTicks timeTicks(double lo, double hi, int target, int formatType, int width, bool timeOfDay) {
    TimeTicks out;
    if (!(hi >= lo) || !std::isfinite(lo) || !std::isfinite(hi))
        return out;
    target = std::max(target, 2);
    Step const* chosen = nullptr;
    for (auto const& step : kSteps) {
        if (timeOfDay && step.months > 0)
            break;
        double approx = step.months ? step.months * 30.44 * 86400 : step.seconds;
        if ((hi - lo) / approx <= target) {
            chosen = &step;
            break;
        }
    }
    if (!chosen)
        chosen = timeOfDay ? &kSteps[14] : &kSteps[std::size(kSteps) - 1];
    out.unit = chosen->unit;
    out.values = calendarTicks(lo, hi, *chosen, timeOfDay);
    for (double v : out.values)
        out.labels.push_back(formatType ? formatDateValue(v, formatType, width)
                                        : defaultLabel(v, *chosen, timeOfDay));
    return out;
}

}  // namespace host::chart
