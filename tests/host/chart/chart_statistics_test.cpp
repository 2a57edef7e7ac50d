#include "host/chart/stats/chart_statistics.h"

#include <gtest/gtest.h>

namespace hc = host::chart;

namespace {

hc::Sample sample(std::vector<double> const& values, std::vector<double> const& weights = {}) {
    hc::Sample s;
    for (std::size_t i = 0; i < values.size(); ++i)
        s.add(values[i], weights.empty() ? 1 : weights[i]);
    return s;
}

double summary(std::string const& stat, hc::Sample const& s) {
    double r = 0;
    bool missing = false;
    EXPECT_TRUE(hc::summarizeSample(stat, s, r, missing)) << stat;
    EXPECT_FALSE(missing) << stat;
    return r;
}

}  // namespace

// Weights count as repeated cases: every summary of a weighted sample equals the summary of the
// sample with each case repeated as often as its weight.
TEST(ChartStatistics, WeightedSummariesEqualRepeatedCases) {
    auto weighted = sample({4, 1, 7, 2}, {2, 1, 3, 1});
    auto repeated = sample({4, 4, 1, 7, 7, 7, 2});
    for (auto stat : {"summary.count", "summary.sum", "summary.mean", "summary.median",
                      "summary.min", "summary.max", "summary.mode", "summary.sd"})
        EXPECT_NEAR(summary(stat, weighted), summary(stat, repeated), 1e-12) << stat;
    EXPECT_EQ(summary("summary.count", weighted), 7);
    EXPECT_EQ(summary("summary.median", weighted), 4);  // 1 2 4 4 7 7 7
    EXPECT_EQ(summary("summary.median", sample({1, 2, 3, 10})), 2.5);
    // Cases without a positive weight are not cases at all.
    EXPECT_EQ(summary("summary.count", sample({1, 2, 3}, {1, 0, -2})), 1);
    double r;
    bool missing;
    EXPECT_TRUE(hc::summarizeSample("summary.mean", hc::Sample{}, r, missing));
    EXPECT_TRUE(missing);
    EXPECT_FALSE(hc::summarizeSample("summary.bogus", weighted, r, missing));
}

TEST(ChartStatistics, BinEdgesForAwkwardRanges) {
    using E = std::vector<double>;
    // 100 cases from 0.3 to 9.7: Sturges asks for 8 bins, widened to the round width 2.
    EXPECT_EQ(hc::binEdges(0.3, 9.7, 100, {}), (E{0, 2, 4, 6, 8, 10}));
    // Negative and fractional: width 0.25 from -1.1 to 0.35 starts on a multiple of the width.
    hc::BinOptions w{0, 0.25, false, 0};
    EXPECT_EQ(hc::binEdges(-1.1, 0.35, 10, w), (E{-1.25, -1, -0.75, -0.5, -0.25, 0, 0.25, 0.5}));
    // A count splits the range exactly; the largest value is in the last bin.
    hc::BinOptions c{3, 0, false, 0};
    auto edges = hc::binEdges(1, 2, 10, c);
    ASSERT_EQ(edges.size(), 4u);
    EXPECT_NEAR(edges[1], 4.0 / 3, 1e-12);
    EXPECT_EQ(edges.back(), 2);
    EXPECT_EQ(hc::binIndex(edges, 2), 2);
    EXPECT_EQ(hc::binIndex(edges, 1), 0);
    EXPECT_EQ(hc::binIndex(edges, 2.01), -1);
    // A value on an inner edge belongs to the bin it starts.
    EXPECT_EQ(hc::binIndex(E{0, 2, 4}, 2), 1);
    // binStart aligns the edges but never leaves the smaller cases out.
    hc::BinOptions s{0, 10, true, 5};
    EXPECT_EQ(hc::binEdges(-3, 31, 10, s), (E{-5, 5, 15, 25, 35}));
    // One distinct value still gets a bin around it.
    auto one = hc::binEdges(7, 7, 5, {});
    ASSERT_GE(one.size(), 2u);
    EXPECT_EQ(hc::binIndex(one, 7), 0);
    // A silly width is widened rather than making millions of bins.
    hc::BinOptions tiny{0, 1e-9, false, 0};
    EXPECT_LE(hc::binEdges(0, 1000, 10, tiny).size(), 5002u);
    hc::BinOptions many{1000000000, 0, false, 0};
    EXPECT_LE(hc::binEdges(0, 1, 10, many).size(), 5001u);
}

// Letter values worked by hand. n = 11: median at depth 6, fourths at depth 3.5.
TEST(ChartStatistics, BoxPlotHingesWhiskersOutliersAndExtremes) {
    hc::BoxStats b;
    ASSERT_TRUE(hc::boxStats(sample({13, 2, 3, 100, 5, 7, 8, 9, 11, 12, 25}), b));
    EXPECT_EQ(b.median, 9);
    EXPECT_EQ(b.lowerHinge, 6);     // (5 + 7) / 2
    EXPECT_EQ(b.upperHinge, 12.5);  // (12 + 13) / 2
    // Fences at 6 - 9.75 and 12.5 + 9.75; extremes beyond 12.5 + 19.5.
    EXPECT_EQ(b.lowerWhisker, 2);
    EXPECT_EQ(b.upperWhisker, 13);
    ASSERT_EQ(b.outliers.size(), 2u);
    EXPECT_EQ(b.outliers[0].value, 25);
    EXPECT_FALSE(b.outliers[0].extreme);
    EXPECT_EQ(b.outliers[0].index, 10u);  // the case it came from, for its label
    EXPECT_EQ(b.outliers[1].value, 100);
    EXPECT_TRUE(b.outliers[1].extreme);
    // n = 8: median at depth 4.5, fourths at depth 2.5.
    ASSERT_TRUE(hc::boxStats(sample({1, 2, 3, 4, 5, 6, 7, 8}), b));
    EXPECT_EQ(b.median, 4.5);
    EXPECT_EQ(b.lowerHinge, 2.5);
    EXPECT_EQ(b.upperHinge, 6.5);
    EXPECT_TRUE(b.outliers.empty());
    // Weights repeat cases: {1, 2 x3, 9} is 1 2 2 2 9, fourths at depth 2.
    ASSERT_TRUE(hc::boxStats(sample({1, 2, 9}, {1, 3, 1}), b));
    EXPECT_EQ(b.median, 2);
    EXPECT_EQ(b.lowerHinge, 2);
    EXPECT_EQ(b.upperHinge, 2);
    ASSERT_EQ(b.outliers.size(), 2u);  // a zero spread makes both ends outliers
    EXPECT_FALSE(hc::boxStats(hc::Sample{}, b));
}

// Reference values from SciPy 1.10 (scipy.stats.t.interval, sem, norm.ppf, norm.pdf,
// linregress), recorded here so the test needs no SciPy.
TEST(ChartStatistics, IntervalsCurvesAndLinesMatchReferenceValues) {
    auto s = sample({12.5, 14.1, 9.8, 11.2, 13.7, 10.4, 15.0});
    auto ci = hc::meanConfidence(s, 0.95);
    ASSERT_TRUE(ci.valid);
    EXPECT_NEAR(ci.centre, 12.385714285714288, 1e-12);
    // Boost's and SciPy's t quantiles agree to about 1e-9.
    EXPECT_NEAR(ci.low, 10.553501279645536, 1e-8);
    EXPECT_NEAR(ci.high, 14.21792729178304, 1e-8);
    EXPECT_NEAR(hc::meanConfidence(s, 0.90).low, 10.930688357980063, 1e-8);
    EXPECT_FALSE(hc::meanConfidence(sample({3}), 0.95).valid);
    auto sd = hc::meanSpread(s, 2, false);
    EXPECT_NEAR(sd.high - sd.centre, 2 * 1.98110118488731, 1e-9);
    auto se = hc::meanSpread(s, 1, true);
    EXPECT_NEAR(se.centre - se.low, 0.7487858653238877, 1e-9);

    // 30 of 120 cases, normal approximation to the binomial.
    auto count = hc::countConfidence(30, 120, 0.95, false);
    EXPECT_NEAR(count.low, 20.703074515431577, 1e-9);
    EXPECT_NEAR(count.high, 39.296925484568426, 1e-9);
    auto pct = hc::countConfidence(30, 120, 0.95, true);
    EXPECT_NEAR(pct.centre, 25, 1e-12);
    EXPECT_NEAR(pct.low, 17.25256209619298, 1e-9);
    EXPECT_NEAR(hc::countConfidence(0, 10, 0.95, true).low, 0, 1e-12);  // never below zero

    // The normal curve over a histogram: the density times the cases times the bin width.
    hc::Moments m{200, 48, 5};
    auto curve = hc::normalCurve(m, 40, 60, 200 * 2.5, 21);
    ASSERT_EQ(curve.size(), 21u);
    EXPECT_EQ(curve[10].first, 50);
    EXPECT_NEAR(curve[10].second, 0.07365402806066466 * 500, 1e-9);
    EXPECT_TRUE(hc::normalCurve({5, 3, 0}, 0, 1, 1).empty());  // no spread, no curve

    auto fit =
        hc::linearFit({1, 2, 3, 4, 5, 6.5}, {2.1, 3.9, 6.2, 7.8, 10.1, 13.4}, {1, 1, 1, 1, 1, 1});
    ASSERT_TRUE(fit.valid);
    EXPECT_NEAR(fit.slope, 2.0498969072164943, 1e-12);
    EXPECT_NEAR(fit.intercept, -0.09546391752577144, 1e-12);
    EXPECT_NEAR(fit.rSquared, 0.9979079779240057, 1e-12);
    // Weighted as repeats (linregress over the repeated cases).
    auto wfit =
        hc::linearFit({1, 2, 3, 4, 5, 6.5}, {2.1, 3.9, 6.2, 7.8, 10.1, 13.4}, {1, 3, 1, 2, 1, 1});
    EXPECT_NEAR(wfit.slope, 2.051809954751132, 1e-12);
    EXPECT_NEAR(wfit.intercept, -0.15871040723982155, 1e-12);
    EXPECT_NEAR(wfit.rSquared, 0.9974626098695281, 1e-12);
    EXPECT_FALSE(hc::linearFit({2, 2, 2}, {1, 2, 3}, {1, 1, 1}).valid);
}
