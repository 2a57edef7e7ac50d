#pragma once
// Dates and times in the data. The command language counts a date as seconds since the start
// of 14 October 1582 and a time of day as seconds since midnight; CSV files write them as ISO
// 8601 text ("2024-03-01", "2024-03-01T09:30:00", "09:30"). These functions turn one into
// the other and pick the print format a date variable gets.

#include <optional>
#include <string>
#include <string_view>

namespace host::dictionary {

enum class DateKind { Date, Time, DateTime };

inline constexpr double kSecondsPerDay = 86400;

// The date value of an ISO 8601 date or date-time (a "T" or a blank between them; seconds with
// a fraction; "Z" or an offset such as "+02:00", which is taken back to UTC). `kind` says what
// was read. Empty when the text is no valid date (month 13, 30 February, 25 o'clock).
std::optional<double> parseIsoDate(std::string_view text, DateKind* kind = nullptr);
// Seconds since midnight of "hh:mm" or "hh:mm:ss[.fff]".
std::optional<double> parseIsoTime(std::string_view text);
// A value of the given kind: a date, a date-time or a time as its kind asks.
std::optional<double> parseDateValue(std::string_view text, DateKind kind);

// Calendar parts of a date value (the proleptic Gregorian calendar).
struct CivilTime {
    int year = 1582, month = 10, day = 14;
    int hour = 0, minute = 0;
    double second = 0;
};
CivilTime civilFromValue(double value);
double valueFromCivil(int year, int month, int day, double secondsOfDay = 0);

// "2024-03-01", "09:30:00", "2024-03-01 09:30:00".
std::string isoText(double value, DateKind kind);

// The print format type a date variable of this kind gets (SDATE, TIME, YMDHMS) and its width.
int dateFormatType(DateKind kind);
int dateFormatWidth(DateKind kind);
// Whether a print format type shows a date or time.
bool isDateFormatType(int type);
// The kind a Table Schema field type names ("date", "time", "datetime"), if any.
std::optional<DateKind> dateKindOfType(std::string_view type);

}  // namespace host::dictionary
