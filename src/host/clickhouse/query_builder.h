#pragma once
// The SQL behind a pass over a table on the server: which columns make the groups, how a value
// is screened for missing values as the dictionary defines them, and the aggregates that let the
// cube merge a group as if it had seen its cases one by one.
#include <optional>
#include <string>
#include <vector>

#include "host/aggregation/partial_cells.h"
#include "host/clickhouse/job_columns.h"
#include "host/clickhouse/remote_table.h"
#include "host/dictionary/dataset.h"

namespace host::clickhouse {

struct GroupSpec {
    struct Slot {
        int variable;
        bool keepValues = false;  // an order statistic needs every value
        bool spread = false;      // the variance or a statistic made from it
        bool range = false;       // the minimum or the maximum
    };
    std::vector<int> keys;  // split variables first, then break and filter variables
    std::vector<Slot> slots;
    std::vector<std::size_t> limitStatistics;  // positions in the plan's statistics
    bool listwise = true;
    // Listwise, the cases missing a summary variable may be left out before grouping: no split
    // group and no filter value depends on them.
    bool screenEarly = false;
};

// The groups a cube needs: the keys are the split variables, every variable of the break
// variables and the filter variables; a slot per numeric summary variable, as the cube makes them.
GroupSpec groupSpec(aggregation::CubePlan const& plan, dictionary::Dataset const& dataset,
                    JobColumns const& job);

// The column's value as a number that is never NULL (for use behind its validity test).
std::string valueExpression(RemoteColumn const& column);
// The column as it is fetched: a number (NULL for none) or a text.
std::string fetchExpression(RemoteColumn const& column);
// True for a valid value: not NULL, not NaN, and none of the variable's missing values; "1" when
// the column's type and the dictionary rule none of these out.
std::string validExpression(RemoteColumn const& column, dictionary::Variable const& variable);

// One valid value of the slot's variable, which the sums of the group subtract from each value
// where the variance is asked for.
std::string shiftQuery(RemoteTable const& table, dictionary::Dataset const& dataset, int variable);

// The query giving one row per group: the keys, the group's cases, then per slot n, sum, shifted
// sum, shifted squares, min, max (and the array of values where kept), then one count per limit
// statistic. What no statistic needs is 0, and without a variance the shifted sum is the sum.
// Groups come sorted by the split variables.
std::string groupQuery(RemoteTable const& table, dictionary::Dataset const& dataset,
                       aggregation::CubePlan const& plan, GroupSpec const& spec,
                       std::vector<double> const& shifts);

// The cases themselves: the listed columns, at most `limit` rows.
std::string caseQuery(RemoteTable const& table, std::vector<int> const& columns,
                      std::optional<std::int64_t> limit);

}  // namespace host::clickhouse
