#pragma once
// The TRANS statements of a program evaluated over the rows of the data: each one a new column
// (eval, index, collapse) that later statements and the elements read like any variable.

#include <map>
#include <string>
#include <vector>

#include "host/chart/frame/expression.h"
#include "host/chart/gpl_syntax.h"

namespace host::chart::transform {

// Runs the TRANS statements in order. `data` answers the variables of the DATA statements;
// the results go into `out` by target name and are seen by the statements after them. A
// statement that fails leaves its variable out, with an error naming its line.
void evaluateTransStatements(gpl::Program const& program, ColumnLookup const& data,
                             std::size_t rows, std::map<std::string, ValueColumn>& out,
                             std::vector<gpl::Diagnostic>& diagnostics);

// `DATA: i = iter(from, to, step)`: the sequence, or an error naming the line.
bool evaluateIter(gpl::Node const& call, std::vector<double>& out, gpl::Diagnostic& error);

}  // namespace host::chart::transform
