#pragma once
// The statistics the chart engine computes itself: weighted summaries, bins, letter values for
// box plots, the normal curve, intervals and the least-squares line. Pure functions over values
// and their case weights (a weight of 1 for every case when the chart has none), so each one is
// checked against independently computed numbers.

#include <string>
#include <vector>

namespace host::chart {

// Values with their weights; cases with a missing value or a weight that is not positive are
// never added.
struct Sample {
    std::vector<double> values;
    std::vector<double> weights;
    void add(double value, double weight = 1);
    double totalWeight() const;
    bool empty() const { return values.empty(); }
};

// summary.count (the total weight), sum, mean, median, min, max, and the Tier 2 summaries that
// are cheap to give (mode, range, sd, variance). Returns false for an unknown name; a statistic
// that has no value (the mean of nothing) sets `missing`.
[[nodiscard]] bool summarizeSample(std::string const& statistic, Sample const& sample,
                                   double& result, bool& missing);

// Bin edges over [lo, hi]. With `width` and `start` the edges are start + k * width; with only
// `count`, `count` equal bins from lo to hi; with neither, a round width giving about as many
// bins as Sturges' rule asks for. Bins are [a, b), the last one [a, b].
// No more bins than this are made; a width or count asking for more is widened.
constexpr double kMaxBins = 5000;
struct BinOptions {
    int count = 0;
    double width = 0;
    bool hasStart = false;
    double start = 0;
};
std::vector<double> binEdges(double lo, double hi, std::size_t cases, BinOptions const& options);
// The bin of a value: an index into the bins that `edges` bound, or -1 outside them.
int binIndex(std::vector<double> const& edges, double value);

// Tukey's letter values: the median at depth (n+1)/2 and the fourths at depth
// (floor(depth of median)+1)/2 from either end; whiskers reach the furthest values inside
// 1.5 fourth-spreads, outliers lie beyond, extremes beyond 3 fourth-spreads.
struct BoxStats {
    double median = 0, lowerHinge = 0, upperHinge = 0;
    double lowerWhisker = 0, upperWhisker = 0;
    struct Outlier {
        double value;
        std::size_t index;  // into the sample
        bool extreme;
    };
    std::vector<Outlier> outliers;
};
[[nodiscard]] bool boxStats(Sample const& sample, BoxStats& out);

// Weighted mean and standard deviation (n - 1 in the denominator, n the total weight).
struct Moments {
    double n = 0, mean = 0, sd = 0;
};
Moments moments(Sample const& sample);

// The normal density with the sample's mean and sd, scaled by `scale` (the total weight times
// the bin width puts it over a histogram of counts), at `points` evenly spaced x in [lo, hi].
std::vector<std::pair<double, double>> normalCurve(Moments const& m, double lo, double hi,
                                                   double scale, int points = 101);

struct Interval {
    double low = 0, centre = 0, high = 0;
    bool valid = false;
};
// The mean with Student's t interval at `level` (0.95 for 95%).
Interval meanConfidence(Sample const& sample, double level);
// A count out of `total`, with the normal-approximation binomial interval at `level`; `percent`
// gives the count and its ends as percentages of the total.
Interval countConfidence(double count, double total, double level, bool percent);
// The mean plus and minus `multiple` standard deviations or standard errors of the mean.
Interval meanSpread(Sample const& sample, double multiple, bool standardError);

// The least-squares line y = intercept + slope * x with weights, and its R squared.
struct LinearFit {
    double intercept = 0, slope = 0, rSquared = 0;
    double xMin = 0, xMax = 0;
    bool valid = false;
};
LinearFit linearFit(std::vector<double> const& x, std::vector<double> const& y,
                    std::vector<double> const& weights);

}  // namespace host::chart
