#pragma once
// Text columns of a CSV table that hold dates, read as the command language's date values.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/dictionary/csv_reader.h"
#include "host/dictionary/date_values.h"
#include "host/dictionary/diagnostic.h"

namespace host::dictionary {

// What the dictionary says of a column: a date kind, or nothing (then a column whose every
// value is an ISO 8601 date or date-time is taken for one).
using DateDeclaration = std::function<std::optional<DateKind>(std::string const& header)>;

// Turns the text columns that hold dates into numeric columns of date values, in place, and
// returns the kind of each column (empty for the others). A value of a declared date column that
// is not a date becomes missing, reported with its line (the header is line 1; a text that is a
// number is taken as a date value already).
std::vector<std::optional<DateKind>> convertDateColumns(CsvTable& table,
                                                        DateDeclaration const& declared,
                                                        std::string const& file,
                                                        std::vector<Diagnostic>& messages);

}  // namespace host::dictionary
