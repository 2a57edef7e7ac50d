#pragma once
// Lays the cells of a pivot table out as rows of text.

#include "host/output/document.h"

namespace host::output {

// Rebuilds `table.cells` from its dimensions and cell values. Each dimension is one block: a
// dimension in the rows gives one row per category that holds a value, led by the category's
// label unless it is the dimension's only category; one in the columns gives a row of labels and
// a row of values (or just the value when it has one category).
void layOutCells(TableData& table);

}  // namespace host::output
