#include <gtest/gtest.h>

#include "host/chart/scales/time_scale.h"
#include "host/dictionary/date_values.h"
#include "platform/dictionary.h"

using host::chart::formatDateValue;
using host::chart::timeTicks;
using host::dictionary::valueFromCivil;

TEST(TimeScale, TicksFallOnCalendarUnits) {
    // Ninety days from mid-January: months, on the first of each.
    auto t = timeTicks(valueFromCivil(2024, 1, 15), valueFromCivil(2024, 4, 14), 6, 0, 0);
    EXPECT_EQ(t.unit, "month");
    EXPECT_EQ(t.labels, (std::vector<std::string>{"Feb 2024", "Mar 2024", "Apr 2024"}));
    EXPECT_EQ(t.values[1], valueFromCivil(2024, 3, 1));
    // Two weeks of daily data with at most six ticks: weekly, on Mondays.
    t = timeTicks(valueFromCivil(2024, 3, 1), valueFromCivil(2024, 3, 14), 6, FMT_ADATE, 10);
    EXPECT_EQ(t.unit, "day");
    ASSERT_EQ(t.labels.size(), 2u);
    EXPECT_EQ(t.labels[0], "03/04/2024");  // a Monday
    // Years over a decade, in the variable's format.
    t = timeTicks(valueFromCivil(2001, 6, 1), valueFromCivil(2011, 6, 1), 6, FMT_DATE, 11);
    EXPECT_EQ(t.unit, "year");
    EXPECT_EQ(t.labels.front(), "01-JAN-2002");
    EXPECT_EQ(t.values.size(), 5u);  // every second year
    // Quarters over a year and a half.
    t = timeTicks(valueFromCivil(2023, 2, 1), valueFromCivil(2024, 8, 1), 8, 0, 0);
    EXPECT_EQ(t.unit, "quarter");
    EXPECT_EQ(t.labels.front(), "Q2 2023");
    // Times of day: hours.
    t = timeTicks(8 * 3600, 17 * 3600, 6, 0, 0, true);
    EXPECT_EQ(t.labels.front(), "09:00");
    EXPECT_EQ(t.labels.back(), "15:00");
    EXPECT_TRUE(timeTicks(5, 1, 6, 0, 0).values.empty());
}

TEST(TimeScale, DateFormats) {
    double v = valueFromCivil(2024, 3, 1, 9 * 3600 + 5 * 60 + 7);
    struct Case {
        int type, width;
        char const* text;
    } const cases[] = {
        {FMT_DATE, 11, "01-MAR-2024"},
        {FMT_DATE, 9, "01-MAR-24"},
        {FMT_ADATE, 10, "03/01/2024"},
        {FMT_EDATE, 10, "01.03.2024"},
        {FMT_SDATE, 10, "2024/03/01"},
        {FMT_JDATE, 7, "2024061"},
        {FMT_QYR, 8, "1 Q 2024"},
        {FMT_MOYR, 8, "MAR 2024"},
        {FMT_WKYR, 10, " 9 WK 2024"},
        {FMT_DATETIME, 20, "01-MAR-2024 09:05:07"},
        {FMT_YMDHMS, 16, "2024-03-01 09:05"},
        {FMT_WKDAY, 9, "Friday"},
        {FMT_MONTH, 9, "March"},
    };
    for (auto const& c : cases) EXPECT_EQ(formatDateValue(v, c.type, c.width), c.text) << c.text;
    EXPECT_EQ(formatDateValue(3725, FMT_TIME, 8), "01:02:05");
    EXPECT_EQ(formatDateValue(0, FMT_WKDAY, 9), "Thursday");
}
