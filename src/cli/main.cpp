// The ggraph program: runs jobs and the chart tools.
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "host/runner/job_runner.h"

namespace {

constexpr char kVersion[] = "ggraph 0.1.0";

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"ggraph: charts from GGRAPH jobs and their data", "ggraph"};
    app.set_version_flag("--version", kVersion);
    app.require_subcommand(1);

    host::runner::RunOptions run;
    std::string context;
    CLI::App* runCommand = app.add_subcommand("run", "Run a job file and write its report");
    runCommand->add_option("job", run.jobPath, "The job file (commands, with GPL blocks)")
        ->required();
    runCommand->add_option("--out,-o", run.outDir,
                           "Folder for report.html, output.json and the charts "
                           "(default: <job folder>/<job name>_output)");
    runCommand->add_option("--context", context,
                           "Product context code; DM runs GGRAPH in its RFM flavour");
    runCommand->add_flag("--stop-on-error", run.job.stopOnError,
                         "End the job at the first error instead of going on with the next command");
    runCommand->add_flag("--quiet,-q", run.quiet, "Print no messages on stderr");

    try {
        app.parse(argc, argv);
    } catch (CLI::CallForHelp const& e) {
        return app.exit(e);
    } catch (CLI::CallForAllHelp const& e) {
        return app.exit(e);
    } catch (CLI::CallForVersion const& e) {
        return app.exit(e);
    } catch (CLI::ParseError const& e) {
        app.exit(e);
        return host::runner::kExitCannotRun;
    }

    if (runCommand->parsed()) {
        run.job.context = context;
        int status = host::runner::runJobFile(run);
        if (status != host::runner::kExitCannotRun && !run.quiet) {
            std::cerr << "Report written to " << host::runner::outputFolder(run).string()
                      << "/report.html\n";
        }
        return status;
    }
    return host::runner::kExitCannotRun;
}
