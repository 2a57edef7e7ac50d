// The ggraph program: runs jobs, describes data, and the chart tools.
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include <CLI/CLI.hpp>

#include "host/chart/chart_cli.h"
#include "host/chart/template_library.h"
#include "host/dictionary/csv_cache.h"
#include "host/dictionary/describe.h"
#include "host/files/file_io.h"
#include "host/runner/job_runner.h"
#include "platform/entries.h"

namespace {

constexpr char kVersion[] = "ggraph 0.1.0";

// Reads a whole file for the chart tools; an error message names the file.
bool readInput(std::string const& path, std::string& text) {
    host::files::ReadResult read = host::files::readFile(path);
    if (!read.ok) {
        std::cerr << "Error: " << read.error << "\n";
        return false;
    }
    text = std::move(read.bytes);
    return true;
}

int finish(host::chart::CliResult const& result) {
    std::cout << result.output;
    std::cerr << result.error;
    return result.exitCode;
}

std::vector<std::string> splitFormats(std::string const& list) {
    std::vector<std::string> formats;
    std::stringstream stream(list);
    for (std::string item; std::getline(stream, item, ',');) {
        if (!item.empty()) formats.push_back(item);
    }
    return formats;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"ggraph: charts from GGRAPH jobs and their data", "ggraph"};
    app.set_version_flag("--version", kVersion);
    app.require_subcommand(1);

    host::runner::RunOptions run;
    std::string context, formats = "svg,png";
    CLI::App* runCommand = app.add_subcommand("run", "Run a job file and write its report");
    runCommand->add_option("job", run.jobPath, "The job file (commands, with GPL blocks)")->required();
    runCommand->add_option("--data,-d", run.dataPath,
                           "The active dataset: a CSV file (FILE.json beside it is its dictionary), "
                           "a dictionary JSON whose \"path\" names the CSV, or a table on a server, "
                           "clickhouse://HOST:PORT/DB.TABLE");
    runCommand->add_option("--dataset", run.datasets,
                           "A named dataset, NAME=FILE, that DATASET=NAME reaches (repeatable)");
    runCommand->add_option("--dict", run.dictionaries,
                           "A dictionary JSON: FILE for --data, NAME=FILE for a --dataset (repeatable)");
    runCommand->add_option("--out,-o", run.outDir,
                           "Folder for report.html, output.json and charts/ "
                           "(default: <job folder>/<job name>_output)");
    runCommand->add_option("--format", formats,
                           "Chart files to write, a list of svg, png, pdf (default: svg,png)")
        ->check([](std::string const& value) {
            for (auto const& f : splitFormats(value)) {
                if (f != "svg" && f != "png" && f != "pdf") return "unknown chart format " + f;
            }
            return std::string();
        });
    runCommand->add_option("--context", context,
                           "Product context code; DM runs GGRAPH in its RFM flavour");
    runCommand->add_flag("--stop-on-error", run.job.stopOnError,
                         "End the job at the first error instead of going on with the next command");
    runCommand->add_flag("--quiet,-q", run.quiet, "Print no messages on stderr");
    runCommand
        ->add_option("--inline-rows", run.inlineRows,
                     "Rows of a chart's data source kept in output.json; a larger source is "
                     "written to charts/chart-NNN-SOURCE.csv beside the chart (default: 10000)")
        ->check([](std::string const& value) {
            bool const count = !value.empty() && value.size() <= 18 &&
                               value.find_first_not_of("0123456789") == std::string::npos;
            return count ? std::string()
                         : "--inline-rows takes a number of rows, 0 or more, not " + value;
        });
    run.cacheFolder = host::dictionary::defaultCsvCacheFolder();
    runCommand->add_option("--cache-dir", run.cacheFolder,
                           "Folder where the parse of a CSV of 64 MB or more is kept, so that the "
                           "next run over the unchanged file maps it instead of parsing again "
                           "(default: $XDG_CACHE_HOME/ggraph or ~/.cache/ggraph)");
    bool noCache = false;
    runCommand->add_flag("--no-cache", noCache, "Parse the CSV every time; keep nothing for later");
    std::string templates;
    runCommand->add_option("--templates", templates,
                           "The folder of chart templates that VIZTEMPLATE finds by name "
                           "(default: the templates/ folder of this program's sources)");

    std::string describeData;
    bool describeJson = false;
    CLI::App* describe = app.add_subcommand("describe", "Print the dictionary of a dataset");
    std::string describeDict;
    describe->add_option("--data,-d", describeData, "A CSV file, a dictionary JSON or clickhouse://HOST:PORT/DB.TABLE")
        ->required();
    describe->add_option("--dict", describeDict, "The dataset's dictionary JSON");
    describe->add_flag("--json", describeJson, "Print it as JSON");

    std::string gplFile;
    CLI::App* gpl2xml = app.add_subcommand("gpl2xml", "Turn a GPL file into chart XML");
    gpl2xml->add_option("file", gplFile, "The GPL file")->required();

    std::string chartFile, rowsFile, renderOut = ".", renderFormats = "svg,png";
    CLI::App* render = app.add_subcommand("render", "Draw a chart from chart XML");
    render->add_option("chart", chartFile, "The chart XML file")->required();
    render->add_option("--data", rowsFile, "Rows as JSON: {\"source\": {\"columns\": [...], \"rows\": [...]}}");
    render->add_option("--out,-o", renderOut, "Folder for charts/ (default: the current folder)");
    render->add_option("--format", renderFormats, "Chart files to write: svg, png, pdf (default: svg,png)");

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
        if (noCache) run.cacheFolder.clear();
        if (!templates.empty()) host::chart::setTemplateFolder(templates);
        run.chartFormats = splitFormats(formats);
        int status = host::runner::runJobFile(run);
        if (status != host::runner::kExitCannotRun && !run.quiet) {
            std::cerr << "Report written to " << host::runner::outputFolder(run).string()
                      << "/report.html\n";
        }
        return status;
    }
    if (describe->parsed()) return host::dictionary::runDescribe(describeData, describeJson, std::cout, std::cerr, describeDict);
    if (gpl2xml->parsed()) {
        std::string gpl;
        if (!readInput(gplFile, gpl)) return host::runner::kExitCannotRun;
        return finish(host::chart::gplToXml(gpl, convertGPLToChartXML(gpl)));
    }
    if (render->parsed()) {
        std::string xml, rows;
        if (!readInput(chartFile, xml)) return host::runner::kExitCannotRun;
        if (!rowsFile.empty() && !readInput(rowsFile, rows)) return host::runner::kExitCannotRun;
        return finish(host::chart::renderChart(xml, rows, renderOut, renderFormats, rowsFile));
    }
    return host::runner::kExitCannotRun;
}
