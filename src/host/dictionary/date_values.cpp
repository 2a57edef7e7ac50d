#include "host/dictionary/date_values.h"

#include <cmath>
#include <cstdio>

#include "platform/dictionary.h"

namespace host::dictionary {

namespace {

// Days since 1970-01-01 of a proleptic Gregorian date (Howard Hinnant's algorithm).
long long daysFromCivil(long long y, int m, int d) {
    y -= m <= 2;
    long long era = (y >= 0 ? y : y - 399) / 400;
    long long yoe = y - era * 400;
    long long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

long long const kEpochDays = daysFromCivil(1582, 10, 14);

bool leap(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

int daysInMonth(int y, int m) {
    static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && leap(y) ? 29 : days[m - 1];
}

// Reads exactly `count` digits at `pos`.
bool digits(std::string_view s, std::size_t& pos, int count, int& out) {
    if (pos + static_cast<std::size_t>(count) > s.size())
        return false;
    out = 0;
    for (int k = 0; k < count; ++k) {
        char c = s[pos + static_cast<std::size_t>(k)];
        if (c < '0' || c > '9')
            return false;
        out = out * 10 + (c - '0');
    }
    pos += static_cast<std::size_t>(count);
    return true;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

// hh:mm[:ss[.fff]] at pos; the seconds since midnight.
bool timeAt(std::string_view s, std::size_t& pos, double& seconds) {
    int h, m, sec = 0;
    if (!digits(s, pos, 2, h) || pos >= s.size() || s[pos] != ':')
        return false;
    ++pos;
    if (!digits(s, pos, 2, m) || h > 23 || m > 59)
        return false;
    double frac = 0;
    if (pos < s.size() && s[pos] == ':') {
        ++pos;
        if (!digits(s, pos, 2, sec) || sec > 59)
            return false;
        if (pos < s.size() && (s[pos] == '.' || s[pos] == ',')) {
            ++pos;
            double scale = 0.1;
            std::size_t start = pos;
            while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9') {
                frac += (s[pos] - '0') * scale;
                scale /= 10;
                ++pos;
            }
            if (pos == start)
                return false;
        }
    }
    seconds = h * 3600.0 + m * 60.0 + sec + frac;
    return true;
}

}  // namespace

double valueFromCivil(int year, int month, int day, double secondsOfDay) {
    return static_cast<double>(daysFromCivil(year, month, day) - kEpochDays) * kSecondsPerDay +
           secondsOfDay;
}

CivilTime civilFromValue(double value) {
    CivilTime t;
    double dayCount = std::floor(value / kSecondsPerDay);
    double rest = value - dayCount * kSecondsPerDay;
    long long z = static_cast<long long>(dayCount) + kEpochDays + 719468;
    long long era = (z >= 0 ? z : z - 146096) / 146097;
    long long doe = z - era * 146097;
    long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    long long mp = (5 * doy + 2) / 153;
    t.day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    t.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    t.year = static_cast<int>(yoe + era * 400 + (t.month <= 2));
    t.hour = static_cast<int>(rest / 3600);
    t.minute = static_cast<int>((rest - t.hour * 3600) / 60);
    t.second = rest - t.hour * 3600 - t.minute * 60;
    return t;
}

std::optional<double> parseIsoDate(std::string_view text, DateKind* kind) {
    std::string_view s = trimmed(text);
    std::size_t pos = 0;
    int y, m, d;
    if (!digits(s, pos, 4, y) || pos >= s.size() || s[pos] != '-')
        return std::nullopt;
    ++pos;
    if (!digits(s, pos, 2, m) || pos >= s.size() || s[pos] != '-')
        return std::nullopt;
    ++pos;
    if (!digits(s, pos, 2, d) || m < 1 || m > 12 || d < 1 || d > daysInMonth(y, m))
        return std::nullopt;
    if (pos == s.size()) {
        if (kind)
            *kind = DateKind::Date;
        return valueFromCivil(y, m, d);
    }
    if (s[pos] != 'T' && s[pos] != 't' && s[pos] != ' ')
        return std::nullopt;
    ++pos;
    double seconds;
    if (!timeAt(s, pos, seconds))
        return std::nullopt;
    if (pos < s.size() && (s[pos] == 'Z' || s[pos] == 'z')) {
        ++pos;
    } else if (pos < s.size() && (s[pos] == '+' || s[pos] == '-')) {
        int sign = s[pos] == '-' ? -1 : 1, oh, om = 0;
        ++pos;
        if (!digits(s, pos, 2, oh))
            return std::nullopt;
        if (pos < s.size() && s[pos] == ':')
            ++pos;
        if (pos < s.size() && !digits(s, pos, 2, om))
            return std::nullopt;
        seconds -= sign * (oh * 3600.0 + om * 60.0);
    }
    if (pos != s.size())
        return std::nullopt;
    if (kind)
        *kind = DateKind::DateTime;
    return valueFromCivil(y, m, d, seconds);
}

std::optional<double> parseIsoTime(std::string_view text) {
    std::string_view s = trimmed(text);
    std::size_t pos = 0;
    double seconds;
    if (!timeAt(s, pos, seconds) || pos != s.size())
        return std::nullopt;
    return seconds;
}

std::optional<double> parseDateValue(std::string_view text, DateKind kind) {
    if (kind == DateKind::Time)
        return parseIsoTime(text);
    DateKind got;
    auto v = parseIsoDate(text, &got);
    if (v && kind == DateKind::Date && got != DateKind::Date)
        return std::nullopt;
    return v;
}

std::string isoText(double value, DateKind kind) {
    char buf[48];
    if (kind == DateKind::Time) {
        auto h = static_cast<long long>(value / 3600);
        auto m = static_cast<int>((value - static_cast<double>(h) * 3600) / 60);
        double s = value - static_cast<double>(h) * 3600 - m * 60;
        std::snprintf(buf, sizeof buf, "%02lld:%02d:%02d", h, m, static_cast<int>(s));
        return buf;
    }
    CivilTime t = civilFromValue(value);
    if (kind == DateKind::Date)
        std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", t.year, t.month, t.day);
    else
        std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day,
                      t.hour, t.minute, static_cast<int>(t.second));
    return buf;
}

int dateFormatType(DateKind kind) {
    return kind == DateKind::Date ? FMT_SDATE : kind == DateKind::Time ? FMT_TIME : FMT_YMDHMS;
}

int dateFormatWidth(DateKind kind) {
    return kind == DateKind::Date ? 10 : kind == DateKind::Time ? 8 : 19;
}

bool isDateFormatType(int type) {
    switch (type) {
        case FMT_DATE:
        case FMT_TIME:
        case FMT_DATETIME:
        case FMT_ADATE:
        case FMT_JDATE:
        case FMT_DTIME:
        case FMT_WKDAY:
        case FMT_MONTH:
        case FMT_MOYR:
        case FMT_QYR:
        case FMT_WKYR:
        case FMT_EDATE:
        case FMT_SDATE:
        case FMT_MTIME:
        case FMT_YMDHMS:
            return true;
        default:
            return false;
    }
}

std::optional<DateKind> dateKindOfType(std::string_view type) {
    if (type == "date")
        return DateKind::Date;
    if (type == "time")
        return DateKind::Time;
    if (type == "datetime")
        return DateKind::DateTime;
    return std::nullopt;
}

}  // namespace host::dictionary
