#pragma once
// The order statistics of one cell, over its valid values sorted in ascending order. Each gives
// the system-missing value where the statistic is not defined (no values).

#include <span>
#include <utility>

namespace host::aggregation {

// The (n+1)p definition: linear interpolation between the order statistics around rank (n+1)p,
// clamped to the smallest and the largest value. `p` is a fraction.
double percentile(std::span<double const> sorted, double p);
// The same value over values in any order, by partial selection instead of a full sort;
// reorders `values`.
double selectPercentile(std::span<double> values, double p);
// The grouped percentile: each distinct value is the midpoint of a class whose bounds lie half
// way to its neighbours (the outer classes as wide as their inner neighbour), and the value is
// interpolated within the class where the cumulative count reaches pN.
double groupedPercentile(std::span<double const> sorted, double p);
// The most frequent value; the smallest of those tied.
double mode(std::span<double const> sorted);
// The median's confidence interval at `level` percent: x(k) and x(n-k+1), k the largest rank
// with P(Binomial(n, 1/2) < k) <= (1 - level) / 2. When no rank qualifies (too few values for
// the level) the ends are minus and plus infinity.
std::pair<double, double> medianInterval(std::span<double const> sorted, double level);
// The rank k above; 0 when none qualifies.
long medianIntervalRank(long n, double level);

}  // namespace host::aggregation
