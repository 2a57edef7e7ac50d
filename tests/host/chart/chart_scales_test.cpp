// Scales on their own: ticks and domains for ordinary, degenerate and extreme ranges, log
// scales, number formats, and category order.
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/chart/scales/categories.h"
#include "host/chart/scales/ticks.h"

namespace hc = host::chart;

namespace {

// What every axis needs, whatever its range: a finite domain with lo < hi, and a few ticks,
// increasing, inside the domain.
void expectUsable(hc::LinScale const& s, std::string const& what) {
    EXPECT_TRUE(std::isfinite(s.lo) && std::isfinite(s.hi)) << what;
    EXPECT_LT(s.lo, s.hi) << what;
    EXPECT_GE(s.ticks.size(), 2u) << what;
    EXPECT_LE(s.ticks.size(), 200u) << what;
    for (std::size_t i = 0; i < s.ticks.size(); ++i) {
        EXPECT_TRUE(std::isfinite(s.ticks[i])) << what;
        EXPECT_GE(s.ticks[i], s.lo - std::fabs(s.lo) * 1e-9) << what;
        EXPECT_LE(s.ticks[i], s.hi + std::fabs(s.hi) * 1e-9) << what;
        if (i > 0) {
            EXPECT_GT(s.ticks[i], s.ticks[i - 1]) << what;
        }
    }
    // Mapping stays finite and in order.
    double a = s.map(s.lo, 0, 100), b = s.map(s.hi, 0, 100);
    EXPECT_NEAR(a, 0, 1e-9) << what;
    EXPECT_NEAR(b, 100, 1e-9) << what;
}

}  // namespace

TEST(ChartScales, DegenerateAndExtremeRangesGiveUsableAxes) {
    double const big = 1.7e308, max = std::numeric_limits<double>::max();
    double const inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    struct Case {
        double lo, hi;
        char const* what;
    } cases[] = {
        {1, 1.0000000000000002, "one ulp apart"},
        {0, 5e-324, "zero and the smallest subnormal"},
        {-big, big, "nearly the whole double range"},
        {0, max, "zero to the largest double"},
        {-max, max, "the whole double range"},
        {3, 3, "one value"},
        {0, 0, "zero alone"},
        {1e-310, 2e-310, "two subnormals"},
        {nan, 1, "not a number"},
        {-inf, inf, "infinities"},
        {5, 1, "ends the wrong way round"},
    };
    for (auto const& c : cases) {
        expectUsable(hc::trainLinear(c.lo, c.hi, nullptr, nullptr, false), c.what);
        expectUsable(hc::trainLinear(c.lo, c.hi, nullptr, nullptr, true),
                     std::string(c.what) + ", bars");
    }
}

TEST(ChartScales, TicksReachBothEndsOfHugeRanges) {
    auto s = hc::trainLinear(-1.7e308, 1.7e308, nullptr, nullptr, false);
    ASSERT_GE(s.ticks.size(), 5u);
    EXPECT_LE(s.ticks.front(), -1e308);
    EXPECT_GE(s.ticks.back(), 1e308);
}

TEST(ChartScales, LimitsDeltaAndStartOfTheGuide) {
    hc::ScaleSpec limits;
    limits.hasMin = limits.hasMax = true;
    limits.min = 10;
    limits.max = 20;
    auto s = hc::trainLinear(0, 100, &limits, nullptr, false);
    EXPECT_EQ(s.lo, 10);
    EXPECT_EQ(s.hi, 20);
    EXPECT_EQ(s.ticks.front(), 10);
    EXPECT_EQ(s.ticks.back(), 20);

    hc::AxisGuide guide;
    guide.delta = 7;
    guide.hasStart = true;
    guide.start = -1e12;  // far below the data: the ticks still start inside it
    auto g = hc::trainLinear(0, 50, nullptr, &guide, false);
    ASSERT_FALSE(g.ticks.empty());
    EXPECT_NEAR(std::fmod(g.ticks[1] - g.ticks[0], 7), 0, 1e-6);
    EXPECT_GE(g.ticks.front(), g.lo);

    // Bars get round ends from their base: 0..97 reads 0..100.
    auto bars = hc::trainLinear(0, 97, nullptr, nullptr, true);
    EXPECT_EQ(bars.lo, 0);
    EXPECT_EQ(bars.hi, 100);
}

TEST(ChartScales, LogScalesTickAtPowersAndMapByRatio) {
    hc::ScaleSpec log;
    log.type = "log";
    auto s = hc::trainLinear(3, 4500, &log, nullptr, false);
    EXPECT_TRUE(s.log);
    EXPECT_EQ(s.ticks, (std::vector<double>{1, 10, 100, 1000, 10000}));
    // Equal ratios are equal distances.
    EXPECT_NEAR(s.map(10, 0, 400) - s.map(1, 0, 400), s.map(1000, 0, 400) - s.map(100, 0, 400),
                1e-9);
    EXPECT_FALSE(s.shows(0));
    EXPECT_TRUE(s.shows(1e-300));
    log.base = 2;
    auto b = hc::trainLinear(1, 30, &log, nullptr, false);
    EXPECT_EQ(b.ticks, (std::vector<double>{1, 2, 4, 8, 16, 32}));
}

TEST(ChartScales, NumbersReadInTheirFormatAndHugeOnesInExponents) {
    hc::NumberFormat plain;
    EXPECT_EQ(hc::formatNumber(1.7e308, plain, 1e308), "1.7e308");
    EXPECT_EQ(hc::formatNumber(-2e20, plain, 5e19), "-2e20");
    EXPECT_EQ(hc::formatNumber(std::numeric_limits<double>::infinity(), plain), "");
    EXPECT_EQ(hc::formatNumber(0.125, plain), "0.125");
    EXPECT_EQ(hc::formatNumber(-0.00001, plain), "0");  // no "-0"
    hc::NumberFormat years;
    years.set = true;
    years.decimals = 0;
    years.grouping = false;
    EXPECT_EQ(hc::formatNumber(1999, years), "1999");
}

TEST(ChartScales, CategoriesInValueOrderWithSortValuesAndRelabels) {
    auto numbers = hc::trainCategories({"10", "9", "100", "9"}, nullptr, nullptr, true);
    EXPECT_EQ(numbers.keys, (std::vector<std::string>{"9", "10", "100"}));
    auto texts = hc::trainCategories({"b", "10", "a"}, nullptr, nullptr, true);
    EXPECT_EQ(texts.keys, (std::vector<std::string>{"10", "a", "b"}));  // not all numbers: as text

    hc::ScaleSpec order;
    order.sortValues = {"c", "nothere", "a"};
    order.includeValues = {"d"};
    auto sorted = hc::trainCategories({"a", "b", "c"}, nullptr, &order, false);
    EXPECT_EQ(sorted.keys, (std::vector<std::string>{"c", "a", "b", "d"}));
    EXPECT_EQ(sorted.index("b"), 2);
    EXPECT_EQ(sorted.index("nothere"), -1);
    order.reverse = true;
    auto reversed = hc::trainCategories({"a", "b", "c"}, nullptr, &order, false);
    EXPECT_EQ(reversed.keys, (std::vector<std::string>{"d", "b", "a", "c"}));

    hc::ChartVariableRecord var;
    var.relabels = {{"1", "Clerical"}};
    auto labelled = hc::trainCategories({"2", "1"}, &var, nullptr, true);
    EXPECT_EQ(labelled.label("1"), "Clerical");
    EXPECT_EQ(labelled.label("2"), "2");
}

TEST(ChartScales, ManyCategoriesAreOrderedAndFoundByKey) {
    // 200,000 distinct keys, many repeated: a scale that searched or deduplicated by scanning
    // would not finish.
    std::vector<std::string> seen;
    for (long long i = 0; i < 400000; ++i) seen.push_back(std::to_string((i * 7919) % 200000));
    auto s = hc::trainCategories(seen, nullptr, nullptr, true);
    ASSERT_EQ(s.size(), 200000u);
    EXPECT_EQ(s.keys.front(), "0");
    EXPECT_EQ(s.keys.back(), "199999");
    EXPECT_EQ(s.index("123456"), 123456);
}
