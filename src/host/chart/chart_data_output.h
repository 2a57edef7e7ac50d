#pragma once
// A chart's rows in its output item: inline for a small source, a CSV file beside the chart's
// other files for a large one (so that output.json stays small whatever the data).

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

class VarDataProcessor;

namespace host::chart {

struct DataFiles {
    std::filesystem::path folder;    // where the files go (charts/); empty: everything inline
    std::string prefix;              // the output folder's name for them ("charts/")
    std::string stem;                // the chart's file stem ("chart-001")
    std::size_t inlineRows = 10000;  // sources of more rows go to a file
};

struct ChartData {
    nlohmann::json json = nlohmann::json::object();  // per source: columns and rows, or the file
    std::vector<std::string> files;                  // the files written, as named in `json`
    std::vector<std::string> problems;               // files that could not be written, and why
};

ChartData chartData(VarDataProcessor const* data, DataFiles const& where);

// A source name as part of a file name: letters, digits, '-' and '_' kept, anything else '_'.
std::string fileSafeName(std::string const& name);

// Writes a source's rows as CSV: a header of the column names, then one line per row; numbers
// in their shortest exact form, texts quoted where they need it, missing values empty.
bool writeSourceCsv(VarDataProcessor const& data, std::string const& source,
                    std::filesystem::path const& path, std::string& error);

}  // namespace host::chart
