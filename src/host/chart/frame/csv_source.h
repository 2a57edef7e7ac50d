#pragma once
// `SOURCE: s = csvSource(file("data.csv"))`: the rows of a CSV file, read by the host's CSV
// reader (ISO 8601 date columns become date values), as a source of the chart's row store.

#include <string>
#include <vector>

class VarDataProcessor;

namespace host::chart {

// Adds the file's columns, by their headers, to `into` as source `source`. Returns false with
// `error` when the file cannot be read; `warnings` gets what the reader found wrong in it (each
// with its line).
bool readCsvSource(std::string const& path, std::string const& source, VarDataProcessor& into,
                   std::string& error, std::vector<std::string>& warnings);

}  // namespace host::chart
