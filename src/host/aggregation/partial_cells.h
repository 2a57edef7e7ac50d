#pragma once
// Cases that arrive already summarised. An iterator over a database that groups the cases itself
// hands the cube one step per group instead of one per case: the step's cells hold the group's
// values of the break and filter variables, and the iterator tells the cube how many cases the
// group holds and what their summary variables add up to. The cube merges that into its cell as
// if it had seen the cases one by one.
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/aggregation.h"

namespace host::aggregation {

// What a cube will compute, as the iterator needs it to summarise the groups for it.
struct CubePlan {
    struct Break {
        AggregationVariable::Kind kind = AggregationVariable::Kind::Variable;
        std::vector<int> indices;  // the variable, or the members of a set
    };
    std::vector<Break> breaks;
    std::vector<AggregationStatistic> statistics;
    bool variablewise = false;
};

// The valid values of one summary variable within one group. `shifted` and `squares` are the
// sums of x - shift and (x - shift)^2, which keep the variance precise where the values lie far
// from zero.
struct SlotPartial {
    double n = 0.0;
    double sum = 0.0;
    double shift = 0.0;
    double shifted = 0.0;
    double squares = 0.0;
    double min = 0.0;
    double max = 0.0;
    std::vector<double> values;  // every valid value, where an order statistic needs them
};

class PartialCellSource {
public:
    virtual ~PartialCellSource() = default;
    // Called when a cube is made over the iterator. The plan is read when the iterator takes its
    // first step, once the cube has its break variables and statistics.
    virtual void attachCube(std::function<CubePlan()> plan) = 0;
    // True when the steps are groups rather than cases.
    virtual bool summarised() const = 0;
    // The number of cases in the group at `row` (a row of the iterator's host data).
    virtual double groupCases(std::int64_t row) const = 0;
    // The group's valid values of the summary variable at `variable`; null when it has none.
    virtual SlotPartial const* groupSlot(std::int64_t row, int variable) const = 0;
    // The count of the group's valid values that meet the limit of the statistic at `statistic`
    // (its position in the plan).
    virtual double groupLimitCount(std::int64_t row, std::size_t statistic) const = 0;
};

}  // namespace host::aggregation
