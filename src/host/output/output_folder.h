#pragma once
// The output folder of a run, made ready before the job starts: what an earlier run wrote there
// must not pass for this run's output, whether this run ends well, in an error or in a crash.

#include <filesystem>
#include <string>

#include "host/files/file_io.h"

namespace host::output {

// Removes the previous output.json, the chart files an earlier run wrote into charts/
// (chart-NNN.svg/.png/.pdf/.xml and chart-NNN-SOURCE.csv; nothing else there is touched) and
// temporaries of a write that never finished, and puts a report.html in place that says the run
// has not finished. writeOutputs replaces it at the end of the run.
files::WriteResult prepareOutputFolder(std::filesystem::path const& folder,
                                       std::string const& title);

// True for the names of the files a run writes into charts/.
bool isChartFileName(std::string const& name);

}  // namespace host::output
