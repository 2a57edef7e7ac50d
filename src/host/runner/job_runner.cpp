#include "host/runner/job_runner.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <set>

#include <fmt/core.h>
#include <unistd.h>

#include "host/chart/chart_send.h"
#include "host/chart/font_setup.h"
#include "host/dictionary/data_commands.h"
#include "host/dictionary/column_selection.h"
#include "host/dictionary/job_data.h"
#include "host/dictionary/progress.h"
#include "host/files/file_io.h"
#include "host/output/output_folder.h"
#include "host/output/writers.h"
#include "host/syntax/current_command.h"
#include "host/syntax/job_input.h"
#include "platform/entries.h"
#include "platform/host_procedure.h"

namespace host::runner {
namespace {

using host::output::Document;
using host::syntax::Command;

constexpr char kNotSupported[] = "The {} command is not supported here; it is skipped.";
constexpr char kStrayEndGpl[] = "END GPL closes no BEGIN GPL block; it is skipped.";
constexpr char kBlockSkipped[] =
    "This GPL block belongs to the GGRAPH command before it, which ended before reading it; it "
    "is skipped.";

// Raises the host's request to unwind when an error is reported, for jobs that stop on errors.
class StopOnErrorSink : public host::output::MessageSink {
public:
    void onMessage(host::output::Item const& message) override {
        if (armed && message.level >= 3) {
            armed = false;  // the report of the stop itself must not stop again
            throw KwelGoToCaller("an error was reported");
        }
    }
    bool armed = false;
};

// Resets the services that hold the current job, whatever way the run ends.
struct CurrentJobScope {
    CurrentJobScope(host::syntax::JobInput& job, Document& document, JobOptions const& options)
        : documentScope(document) {
        host::syntax::setCurrentInput(&job);
        host::syntax::setContextCode(options.context);
        host::files::setJobFolder(options.jobFolder);
    }
    ~CurrentJobScope() {
        host::syntax::clearCurrentCommand();
        host::syntax::setCurrentInput(nullptr);
        host::syntax::setContextCode("");
    }
    host::output::ScopedDocument documentScope;
};

// Commands whose names are two or three words; any other command is named by its first word.
constexpr std::string_view kLongNames[][3] = {
    {"ADD", "VALUE", "LABELS"}, {"VALUE", "LABELS", ""},     {"VARIABLE", "LABELS", ""},
    {"VARIABLE", "LEVEL", ""},  {"MISSING", "VALUES", ""},   {"SPLIT", "FILE", ""},
    {"DATASET", "ACTIVATE", ""}, {"DATA", "LIST", ""},        {"GET", "DATA", ""},
    {"SAVE", "OUTFILE", ""},     {"SORT", "CASES", ""},       {"SELECT", "IF", ""},
};

std::string commandName(Command const& command) {
    if (command.words.empty()) return "";
    for (auto const& name : kLongNames) {
        std::size_t n = name[2].empty() ? 2 : 3;
        if (command.words.size() < n) continue;
        bool same = true;
        for (std::size_t i = 0; i < n; ++i) same = same && command.words[i] == name[i];
        if (!same) continue;
        std::string joined(name[0]);
        for (std::size_t i = 1; i < n; ++i) joined += " " + std::string(name[i]);
        return joined;
    }
    return command.words.front();
}

}  // namespace

void runJobText(std::string text, Document& document, JobOptions const& options) {
    host::syntax::JobInput job(std::move(text));
    StopOnErrorSink stopSink;
    document.addSink(&stopSink);
    CurrentJobScope scope(job, document, options);

    for (auto const& problem : job.diagnostics()) {
        document.addMessage(problem.error ? 3 : 2, problem.text, problem.line);
    }
    if (job.lineCount() == 0 || !job.commandAt(0)) {
        document.addMessage(2, "The job has no commands.");
        return;
    }

    std::set<std::string> reportedUnknown;
    // A GGRAPH command that ended before it read its GPL blocks leaves them behind it; they
    // belong to it and are skipped rather than refused as stray blocks.
    bool blocksOfFailedCommand = false;
    for (std::size_t at = 0; auto command = job.commandAt(at);) {
        host::syntax::setCurrentCommand(*command);
        document.setCurrentLine(command->firstLine);
        document.addCommand(command->text, command->firstLine);
        stopSink.armed = options.stopOnError;
        try {
            if (command->kind == Command::Kind::GplBlock) {
                if (!command->terminated) {
                    std::size_t const end = static_cast<std::size_t>(command->lastLine);
                    document.addMessage(
                        3, fmt::format("BEGIN GPL at line {} has no END GPL {}; the block is left out.",
                                       command->firstLine,
                                       end >= job.lineCount() ? std::string("before the end of the job")
                                                              : fmt::format("before line {}", end + 1)),
                        command->firstLine);
                }
                if (blocksOfFailedCommand) {
                    document.addMessage(1, kBlockSkipped, command->firstLine);
                } else {
                    begingpl_();
                }
            } else if (command->kind == Command::Kind::Ordinary) {
                blocksOfFailedCommand = false;
                if (command->startsWith({"GGRAPH"})) {
                    ggraph_();
                    blocksOfFailedCommand = host::syntax::currentWorkspace()->cardsRead == 0;
                } else if (command->startsWith({"END", "GPL"})) {
                    document.addMessage(3, kStrayEndGpl, command->firstLine);
                } else if (host::dictionary::isDataCommand(command->words)) {
                    for (auto const& problem : host::dictionary::applyDataCommand(
                             command->words, command->body, command->bodyLine, command->bodyColumn)) {
                        document.addMessage(problem.level, problem.text,
                                            problem.line > 0 ? static_cast<int>(problem.line)
                                                             : command->firstLine);
                    }
                } else {
                    std::string name = commandName(*command);
                    if (reportedUnknown.insert(name).second)
                        document.addMessage(2, fmt::format(kNotSupported, name), command->firstLine);
                }
            }
        } catch (KwelGoToCaller const&) {
            document.closeAll();
            document.addMessage(3, fmt::format("The job stopped at line {} after an error.",
                                               command->firstLine),
                                command->firstLine);
            break;
        } catch (std::exception const& e) {
            document.closeAll();
            document.addMessage(3, fmt::format("Internal error in the command at line {}: {}",
                                               command->firstLine, e.what()),
                                command->firstLine);
        }
        stopSink.armed = false;
        std::size_t next = job.resumeAfterCards();
        // Never stand still: a command always moves the reader on.
        at = next > at ? next : command->nextLineIndex();
        if (at <= static_cast<std::size_t>(command->firstLine - 1)) at = command->firstLine;
    }
    document.closeAll();
}

std::filesystem::path outputFolder(RunOptions const& options) {
    if (!options.outDir.empty()) return options.outDir;
    std::filesystem::path folder = options.jobPath.parent_path();
    return folder / (options.jobPath.stem().string() + "_output");
}

int runJobFile(RunOptions const& options) {
    host::files::ReadResult read = host::files::readFile(options.jobPath);
    if (!read.ok) {
        std::cerr << "Error: " << read.error << "\n";
        return kExitCannotRun;
    }
    Document document;
    host::output::ConsoleSink console(std::cerr);
    if (!options.quiet) document.addSink(&console);

    // The data comes in before the job runs, only the columns the job's text can name; what
    // could not be read is said in the output. A file that cannot be read at all stops the run.
    host::dictionary::setProgressEnabled(!options.quiet && ::isatty(STDERR_FILENO));
    host::dictionary::ColumnSelection const columns = host::dictionary::selectionForJob(read.bytes);
    host::dictionary::LoadOptions load;
    load.columns = &columns;
    load.cache.folder = options.cacheFolder;
    host::dictionary::JobDataResult data =
        host::dictionary::loadJobData(options.dataPath, options.datasets, options.dictionaries, load);
    if (data.cannotRun) {
        for (auto const& problem : data.messages) {
            if (problem.level == host::dictionary::Diagnostic::Error)
                std::cerr << problem.toString() << "\n";
        }
        return kExitCannotRun;
    }
    for (auto const& problem : data.messages) {
        document.addMessage(problem.level, problem.toString());
    }

    JobOptions job = options.job;
    std::error_code ec;
    std::filesystem::path out = outputFolder(options);
    std::filesystem::create_directories(out, ec);
    if (ec) {
        std::cerr << "Error: cannot make the output folder " << out.string() << ": " << ec.message()
                  << "\n";
        return kExitCannotRun;
    }
    host::chart::startFontSetup();
    // From here on, nothing of an earlier run in the folder passes for this run's output.
    host::output::HtmlOptions html;
    html.title = options.jobPath.filename().string();
    host::files::WriteResult prepared = host::output::prepareOutputFolder(out, html.title);
    if (!prepared.ok) {
        std::cerr << "Error: " << prepared.error << "\n";
        return kExitCannotRun;
    }

    std::filesystem::path jobFolder = std::filesystem::absolute(options.jobPath, ec).parent_path();
    if (!ec) job.jobFolder = jobFolder;
    host::chart::OutputOptions charts;
    charts.folder = out.string();
    auto wants = [&](char const* format) {
        return std::find(options.chartFormats.begin(), options.chartFormats.end(), format) !=
               options.chartFormats.end();
    };
    charts.svg = wants("svg");
    charts.png = wants("png");
    charts.pdf = wants("pdf");
    charts.inlineRows = options.inlineRows;
    host::chart::setOutputOptions(charts);
    runJobText(std::move(read.bytes), document, job);
    host::chart::setOutputOptions({});
    host::files::WriteResult written = host::output::writeOutputs(document, out, html);
    if (!written.ok) {
        std::cerr << "Error: " << written.error << "\n";
        return kExitCannotRun;
    }
    return document.highestLevel() >= 3 ? kExitErrors : kExitOk;
}

}  // namespace host::runner
