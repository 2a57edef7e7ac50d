#pragma once
// The statistics an element's position can ask for, as a table: a name, its kind, and the
// function that turns one group of cases into rows. Adding a statistic is one row here and one
// function with its tests; a name that is not in the table is refused with its element, so a
// chart is never drawn with a statistic it did not ask for.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/chart/layer/layer.h"
#include "host/chart/stats/chart_statistics.h"

namespace host::chart {

// Smooth and Link statistics take the group's points (x, y) in data order; Density ones the
// values of the first dimension.
enum class StatKind { Summary, Percent, Bin, Box, Density, Region, Smooth, Link, Hex };

// The cases of one group: one category (or bin) in one panel and one set of aesthetics.
struct Group {
    Row row;                          // what the group's rows share
    Sample sample;                    // values of dimension 2 (dimension 1 for a density)
    std::vector<double> xs;           // dimension 1 of each value, for smoothers
    std::vector<std::uint32_t> rows;  // the data row of each value, for outlier labels
    double count = 0;                 // the weighted cases
};

struct StatContext {
    std::string const& name;
    bool countOnly = false;  // the statistic counts cases rather than summarising values
    bool percent = false;
    double total = 0;  // what 100% is for this group
    double level = 0.95;
    double multiple = 1;
    std::vector<double> densityEdges{};                  // a histogram the curve sits over
    bool densityPercent = false;                         // ... that shows percents
    std::function<std::int32_t(std::uint32_t)> labelOf{};  // the label code of a data row
    gpl::Node const* call = nullptr;  // the statistic's call, for its options (span, ...)
    std::string modifier{};           // the element's collision modifier (dodge.symmetric)
    // bin.hex: the width of a hexagon between its flat sides and the height from its centre
    // to its top corner, in the units of the two dimensions, shared by every group.
    double hexWidth = 1, hexHeight = 1;
};

using StatFunction = void (*)(StatContext const& context, Group const& group, Layer& out);

struct StatisticDef {
    char const* name;
    StatKind kind;
    StatFunction compute;  // null for bin.rect, which only shapes the groups
};

StatisticDef const* findStatistic(std::string const& name);

// The hexagonal bins of a group: a row per hexagon, its count in Layer::bins.
void hexCells(StatContext const& context, Group const& group, Layer& out);

// What a density of a group is multiplied by to be read in the units of the histogram it is
// drawn over: counts per bin, or percents of the cases; 1 without a histogram.
double histogramScale(StatContext const& c, Group const& g);

// The cells of a two-way bin: their counts.
void twoWayCell(StatContext const& context, Group const& group, Layer& out);

}  // namespace host::chart
