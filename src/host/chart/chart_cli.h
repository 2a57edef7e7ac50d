#pragma once
// What `ggraph gpl2xml` and `ggraph render` do, as functions the CLI calls.

#include <string>

namespace host::chart {

struct CliResult {
    int exitCode = 0;
    std::string output;  // for stdout
    std::string error;   // for stderr
};

// GPL text to chart XML: `xml` is what the command library's conversion made of it (empty when
// it made no chart); the result adds the GPL's warnings, or the reason there is no chart.
CliResult gplToXml(std::string const& gpl, std::string const& xml);

// Chart XML (and optional rows as JSON: {"source": {"columns": [...], "rows": [[...], ...]}},
// where a source may instead give {"columns": [...], "file": "rows.csv", "rowCount": N}) to files
// in `outDir`/charts; formats from "svg,png,pdf". `rowsName` is the rows file's path: it names
// the file in messages and is where the CSV files of sources are found; when it is given, an
// empty rows text is an error rather than no rows.
CliResult renderChart(std::string const& xml, std::string const& rowsJson,
                      std::string const& outDir, std::string const& formats = "svg,png",
                      std::string const& rowsName = "");

}  // namespace host::chart
