#pragma once
// The position of an element: its statistics and the algebra of its variables, by dimension.

#include <string>
#include <vector>

#include "host/chart/gpl_syntax.h"
#include "host/chart/stats/chart_statistics.h"
#include "host/chart/stats/registry.h"

namespace host::chart {

struct Factor {
    std::vector<std::string> names;  // one name, or several for a blend; empty for unity
    bool unity = false;
};

struct Position {
    std::string statistic;  // empty, or the outer statistic: summary.count, region.confi.mean...
    StatKind kind = StatKind::Summary;
    gpl::Node const* statCall = nullptr;  // for its options (base, alpha, multiple)
    // A smoother over a summary, smooth.linear(summary.mean(x*y)): the summary, taken first.
    std::string innerStatistic;
    gpl::Node const* innerCall = nullptr;
    bool binned = false;  // bin.rect inside (or as) the statistic
    BinOptions bin;
    std::vector<Factor> factors;
    std::vector<Factor> nests;  // the right sides of '/', in order: panels
    std::string error;
    std::string warning;  // something asked for that is drawn otherwise
};

Position readPosition(gpl::Node const& position);

}  // namespace host::chart
