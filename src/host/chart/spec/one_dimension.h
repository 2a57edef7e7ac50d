#pragma once
// Charts of one dimension (COORD: rect(dim(1))): a box plot, points along one axis, a
// histogram.

#include <string>
#include <vector>

#include "host/chart/spec/chart_spec.h"

namespace host::chart {

// An element whose position is one variable of values (points, a box) draws it along the
// value axis, laid horizontally, with dimension 1 a single place across it: its axis, scale
// and reference lines move to the value dimension. A count of the variable's bins keeps its
// bars standing on the variable's axis. Elements that cannot share the one axis are left out
// with a warning naming their line.
void settleOneDimension(Spec& spec, std::vector<std::string>& warnings);

}  // namespace host::chart
