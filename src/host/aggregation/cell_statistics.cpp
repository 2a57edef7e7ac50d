#include "host/aggregation/cell_statistics.h"

#include <algorithm>
#include <cmath>

#include <boost/math/distributions/binomial.hpp>

#include "platform/dictionary.h"

namespace host::aggregation {

namespace {

using namespace boost::math::policies;
using QuietPolicy = policy<domain_error<ignore_error>, overflow_error<ignore_error>,
                           evaluation_error<ignore_error>, pole_error<ignore_error>>;

}  // namespace

double percentile(std::span<double const> sorted, double p) {
    std::size_t const n = sorted.size();
    if (n == 0) return KWEL_Globals::sysmis();
    double const rank = (static_cast<double>(n) + 1.0) * p;
    if (rank <= 1.0) return sorted.front();
    if (rank >= static_cast<double>(n)) return sorted.back();
    double const whole = std::floor(rank);
    double const fraction = rank - whole;
    std::size_t const below = static_cast<std::size_t>(whole) - 1;  // rank is 1-based
    return sorted[below] + fraction * (sorted[below + 1] - sorted[below]);
}

double selectPercentile(std::span<double> values, double p) {
    std::size_t const n = values.size();
    if (n == 0)
        return KWEL_Globals::sysmis();
    double const rank = (static_cast<double>(n) + 1.0) * p;
    if (rank <= 1.0)
        return *std::min_element(values.begin(), values.end());
    if (rank >= static_cast<double>(n))
        return *std::max_element(values.begin(), values.end());
    double const whole = std::floor(rank);
    double const fraction = rank - whole;
    std::size_t const below = static_cast<std::size_t>(whole) - 1;
    auto const at = values.begin() + static_cast<std::ptrdiff_t>(below);
    std::nth_element(values.begin(), at, values.end());
    double const low = *at;
    double const high = *std::min_element(at + 1, values.end());
    return low + fraction * (high - low);
}

double groupedPercentile(std::span<double const> sorted, double p) {
    std::size_t const n = sorted.size();
    if (n == 0) return KWEL_Globals::sysmis();
    // Distinct values and their counts, walked in order.
    double const target = p * static_cast<double>(n);
    double cumulative = 0.0;
    std::size_t i = 0;
    double previous = sorted.front();
    bool hasPrevious = false;
    while (i < n) {
        double const value = sorted[i];
        std::size_t j = i;
        while (j < n && sorted[j] == value) ++j;
        double const count = static_cast<double>(j - i);
        bool const hasNext = j < n;
        double const next = hasNext ? sorted[j] : value;
        double lower, upper;
        if (hasPrevious && hasNext) {
            lower = (previous + value) / 2.0;
            upper = (value + next) / 2.0;
        } else if (hasPrevious) {  // the last class mirrors its lower half
            lower = (previous + value) / 2.0;
            upper = value + (value - lower);
        } else if (hasNext) {  // the first class mirrors its upper half
            upper = (value + next) / 2.0;
            lower = value - (upper - value);
        } else {
            return value;  // one distinct value: a class of no width
        }
        if (cumulative + count >= target) {
            return lower + (target - cumulative) / count * (upper - lower);
        }
        cumulative += count;
        previous = value;
        hasPrevious = true;
        i = j;
    }
    return sorted.back();
}

double mode(std::span<double const> sorted) {
    if (sorted.empty()) return KWEL_Globals::sysmis();
    double best = sorted.front();
    std::size_t bestCount = 0;
    for (std::size_t i = 0; i < sorted.size();) {
        std::size_t j = i;
        while (j < sorted.size() && sorted[j] == sorted[i]) ++j;
        // Strictly greater keeps the smallest value of a tie, since values come in order.
        if (j - i > bestCount) {
            bestCount = j - i;
            best = sorted[i];
        }
        i = j;
    }
    return best;
}

long medianIntervalRank(long n, double level) {
    if (n <= 0) return 0;
    double const tail = (1.0 - level / 100.0) / 2.0;
    boost::math::binomial_distribution<double, QuietPolicy> binomial(static_cast<double>(n), 0.5);
    // P(X < k) = cdf(k - 1) rises with k: find the largest k with cdf(k - 1) <= tail.
    long low = 0, high = n;  // P(X < 0) = 0 always qualifies
    while (low < high) {
        long const middle = low + (high - low + 1) / 2;
        double const below = boost::math::cdf(binomial, static_cast<double>(middle - 1));
        if (below <= tail) low = middle;
        else high = middle - 1;
    }
    return low;
}

std::pair<double, double> medianInterval(std::span<double const> sorted, double level) {
    long const n = static_cast<long>(sorted.size());
    if (n == 0) return {KWEL_Globals::sysmis(), KWEL_Globals::sysmis()};
    long const k = medianIntervalRank(n, level);
    if (k < 1) return {-KWEL_Globals::infinity(), KWEL_Globals::infinity()};
    return {sorted[static_cast<std::size_t>(k - 1)], sorted[static_cast<std::size_t>(n - k)]};
}

}  // namespace host::aggregation
