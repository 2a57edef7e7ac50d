#pragma once
// The job runner: reads a job, echoes each command, dispatches GGRAPH and stray GPL blocks to the
// command library, and writes the output document.

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "host/output/document.h"

namespace host::runner {

struct JobOptions {
    // The product context code; "DM" runs GGRAPH in its RFM flavour.
    std::string context;
    // Relative file names in the job are taken from here.
    std::filesystem::path jobFolder = ".";
    // An error-level message ends the job (the host's request to unwind).
    bool stopOnError = false;
};

// Runs the commands of `text` into `document`. Never throws.
void runJobText(std::string text, host::output::Document& document, JobOptions const& options);

struct RunOptions {
    std::filesystem::path jobPath;
    std::filesystem::path outDir;  // empty: <job folder>/<job name>_output
    JobOptions job;
    bool quiet = false;  // no messages on stderr
    // The active dataset (a CSV, or a dictionary JSON naming one) and named datasets as
    // NAME=FILE; empty: the active dataset is empty.
    std::string dataPath;
    std::vector<std::string> datasets;
    // --dict arguments: FILE (the active dataset's dictionary) or NAME=FILE.
    std::vector<std::string> dictionaries;
    // Chart files written beside the report: any of svg, png, pdf.
    std::vector<std::string> chartFormats = {"svg", "png"};
    // A chart's data source of more rows than this goes to a CSV file beside the chart instead
    // of into output.json.
    std::size_t inlineRows = 10000;
    // Where a large CSV's parse is kept for the next run over it; empty: parsed every time.
    std::string cacheFolder;
};

// Exit statuses of a run.
inline constexpr int kExitOk = 0;
inline constexpr int kExitErrors = 1;
inline constexpr int kExitCannotRun = 2;

// Runs a job file and writes report.html and output.json. Returns 0 when no error-level message
// was reported, 1 when one was, 2 when the job file could not be read or the output not written.
int runJobFile(RunOptions const& options);

// Where runJobFile writes for these options.
std::filesystem::path outputFolder(RunOptions const& options);

}  // namespace host::runner
