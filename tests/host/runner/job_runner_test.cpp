// The job runner on jobs as people write them, and on jobs that are broken.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"
#include "platform/data_source.h"
#include "support/job_harness.h"

using host::output::ItemKind;

TEST(JobRunner, PublishedJobFormsRunCleanly) {
    // CRLF, tabs and trailing blanks, a slash in column 1, two subcommands on one line, a
    // continuation starting with a comma, blanks around '=', the period alone on its line, joined
    // literals, lower case, UTF-8 text, an indented block and a blank after END GPL.
    auto run = test::runJob(
        "* Übersicht: 売上.\r\n"
        "ggraph\t \r\n"
        "/graphspec source = inline label = 'Umsatz ' + \"nach Region\" \r\n"
        "  /frame outer=yes inner=no /gridlines xaxis=yes\r\n"
        "  /colorcycle color1(1 2 3)\r\n"
        "  , color2(4 5 6)\r\n"
        ".\r\n"
        "  BEGIN GPL\r\n"
        "  ELEMENT: interval(position(région*売上))\r\n"
        "  END GPL. \r\n"
        "\r\n");
    EXPECT_TRUE(run->messages(2).empty()) << run->messages(2).front();
    // The only message is about the GPL, whose variables are never declared: the command and
    // its block were read as written.
    ASSERT_EQ(run->messages(3).size(), 1u);
    EXPECT_NE(run->messages(3)[0].find("'région' is used but never declared"), std::string::npos)
        << run->messages(3)[0];
    EXPECT_EQ(run->texts(ItemKind::Trace).size(), 2u);
    auto commands = run->texts(ItemKind::Command);
    EXPECT_EQ(commands.back(), "  END GPL.");
}

TEST(JobRunner, UnknownCommandsAreReportedOnceAndSkipped) {
    auto run = test::runJob("FREQUENCIES x.\nfrequencies y.\nDESCRIPTIVES z.\nCOMMENT nothing here.\n");
    EXPECT_EQ(run->messages(2),
              (std::vector<std::string>{"The FREQUENCIES command is not supported here; it is skipped.",
                                        "The DESCRIPTIVES command is not supported here; it is skipped."}));
}

TEST(JobRunner, DataCommandsChangeTheActiveDatasetAndTheirMistakesNameTheLine) {
    auto loaded = host::dictionary::loadDataset(GGRAPH_SOURCE_DIR "/tests/data/dictionary/employees.csv");
    ASSERT_TRUE(loaded.ok());
    host::dictionary::setActiveDataset(loaded.dataset);
    auto run = test::runJob(
        "VARIABLE LABELS salary 'Pay'.\n"
        "WEIGHT OFF.\n"
        "MISSING VALUES jobcat (9 THRU).\n");
    EXPECT_EQ(std::string(KWEL_DataSource(host::dictionary::activeDataset()).GetVariable(3)->GetLabel()), "Pay");
    EXPECT_EQ(KWEL_DataSource(host::dictionary::activeDataset()).GetWeightVarIndex(), -1);
    ASSERT_EQ(run->messages(3).size(), 1u);
    for (auto const* item : run->flat()) {
        if (item->kind == ItemKind::Message && item->level == 3) EXPECT_EQ(item->line, 3);
    }
    EXPECT_TRUE(run->messages(2).empty());
    host::dictionary::resetDatasets();
}

TEST(JobRunner, BrokenJobsEndInMessagesNotCrashes) {
    struct Case {
        char const* name;
        std::string text;
    };
    std::string garbage;
    for (int i = 0; i < 4096; ++i) garbage += static_cast<char>((i * 131 + 7) % 256);
    std::string longLine = "GGRAPH /GRAPHSPEC SOURCE=INLINE LABEL='" + std::string(10 << 20, 'x') +
                           "'.\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n";
    Case const cases[] = {
        {"empty file", ""},
        {"unterminated quote", "GGRAPH /GRAPHSPEC SOURCE=INLINE LABEL='open.\n"},
        {"ends inside a block",
         "GGRAPH /GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL\nELEMENT: point(position(x*y))\n"},
        {"stray block without end", "BEGIN GPL\nELEMENT: x\n"},
        {"binary garbage", garbage},
        {"ten megabyte line", longLine},
    };
    for (auto const& c : cases) {
        auto run = test::runJob(c.text);
        EXPECT_FALSE(run->flat().empty()) << c.name;
        EXPECT_FALSE(run->messages(2).empty() && run->messages(3).empty()) << c.name;
    }
    auto open = test::runJob(cases[1].text);
    ASSERT_FALSE(open->messages(3).empty());
    EXPECT_NE(open->messages(3)[0].find("column 39"), std::string::npos) << open->messages(3)[0];
    auto cut = test::runJob(cases[2].text);
    EXPECT_EQ(cut->messages(3),
              (std::vector<std::string>{
                  "BEGIN GPL at line 2 has no END GPL before the end of the job; the block is left out.",
                  "An inline graph specification was expected but not found."}));
}

TEST(JobRunner, GplBlocksOpenOrClosedAmissAreErrorsThatSwallowNothing) {
    auto loaded = host::dictionary::loadDataset(GGRAPH_SOURCE_DIR "/tests/data/dictionary/employees.csv");
    ASSERT_TRUE(loaded.ok());
    host::dictionary::setActiveDataset(loaded.dataset);
    auto labelled = [](std::string const& label) {
        return "GGRAPH /GRAPHDATASET NAME='d' VARIABLES=id salary /GRAPHSPEC SOURCE=INLINE LABEL='" +
               label +
               "'.\nBEGIN GPL\nSOURCE: s=userSource(id(\"d\"))\nDATA: x=col(source(s), name(\"id\"))\n"
               "DATA: y=col(source(s), name(\"salary\"))\nELEMENT: point(position(x*y))\nEND GPL.\n";
    };
    auto charts = [](test::JobRun const& run) {
        std::vector<std::string> out;
        // The dataset is split by region: one chart per group, labelled "name ; region = ...".
        for (auto const* item : run.flat())
            if (item->kind == ItemKind::Chart) {
                std::string const label = item->text.substr(0, item->text.find(" ;"));
                if (out.empty() || out.back() != label) out.push_back(label);
            }
        return out;
    };
    auto contains = [](std::vector<std::string> const& texts, std::string const& text) {
        return std::find(texts.begin(), texts.end(), text) != texts.end();
    };
    // A block left open runs up to the next GGRAPH, which still makes its chart.
    auto open = test::runJob("GGRAPH /GRAPHSPEC SOURCE=INLINE LABEL='open'.\nBEGIN GPL\n"
                             "ELEMENT: point(position(x*y))\n" + labelled("next"));
    EXPECT_TRUE(contains(open->messages(3),
                         "BEGIN GPL at line 2 has no END GPL before line 4; the block is left out."));
    EXPECT_EQ(charts(*open), std::vector<std::string>{"next"});

    // A block inside a block: the outer one is cut where the inner one begins; the closing
    // END GPL left over is named as what it is.
    auto nested = test::runJob("GGRAPH /GRAPHSPEC SOURCE=INLINE LABEL='outer'.\nBEGIN GPL\n"
                               "BEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL\nEND GPL.\n" +
                               labelled("after"));
    EXPECT_TRUE(contains(nested->messages(3),
                         "BEGIN GPL at line 2 has no END GPL before line 3; the block is left out."));
    EXPECT_TRUE(contains(nested->messages(3), "END GPL closes no BEGIN GPL block; it is skipped."));
    for (auto const& w : nested->messages(2)) EXPECT_EQ(w.find("The END command"), std::string::npos) << w;
    EXPECT_EQ(charts(*nested), std::vector<std::string>{"after"});

    // A quote left open before the period ends its command; the next one runs.
    auto quote = test::runJob("VALUE LABELS id 1 'one.\n" + labelled("kept"));
    EXPECT_FALSE(quote->messages(3).empty());
    EXPECT_EQ(charts(*quote), std::vector<std::string>{"kept"});
    host::dictionary::resetDatasets();
}

TEST(JobRunner, StopOnErrorEndsTheJobAtTheFirstError) {
    host::runner::JobOptions options;
    options.stopOnError = true;
    auto run = test::runJob("GGRAPH /STYLE.\nGGRAPH /GRAPHSPEC.\nFREQUENCIES x.\n", options);
    auto errors = run->messages(3);
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0], "SubCmd GGraph. Unknown token STYLE.");
    EXPECT_EQ(errors[1], "The job stopped at line 1 after an error.");
    EXPECT_EQ(run->texts(ItemKind::Trace).size(), 1u);
}

TEST(JobRunner, RunJobFileWritesBothOutputsAndTellsTheExitStatus) {
    namespace fs = std::filesystem;
    fs::path folder = fs::temp_directory_path() / "ggraph_runner_test";
    fs::remove_all(folder);
    fs::create_directories(folder);
    {
        std::ofstream job(folder / "job.sps");
        job << "GGRAPH /GRAPHSPEC SOURCE=INLINE /STYLE.\n";
    }
    host::runner::RunOptions options;
    options.jobPath = folder / "job.sps";
    options.quiet = true;
    EXPECT_EQ(host::runner::runJobFile(options), host::runner::kExitErrors);
    EXPECT_TRUE(fs::exists(folder / "job_output" / "report.html"));
    EXPECT_TRUE(fs::exists(folder / "job_output" / "output.json"));

    options.jobPath = folder / "missing.sps";
    EXPECT_EQ(host::runner::runJobFile(options), host::runner::kExitCannotRun);
    fs::remove_all(folder);
}

TEST(JobRunner, DataThatCannotBeReadStopsTheRunBeforeTheJob) {
    namespace fs = std::filesystem;
    fs::path folder = fs::temp_directory_path() / "ggraph_runner_data_test";
    fs::remove_all(folder);
    fs::create_directories(folder / "folder.csv");
    ASSERT_EQ(::mkfifo((folder / "pipe.csv").c_str(), 0600), 0);
    std::ofstream(folder / "job.sps") << "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=x COUNT() /GRAPHSPEC.\n";
    std::ofstream(folder / "empty.csv").flush();
    host::runner::RunOptions options;
    options.jobPath = folder / "job.sps";
    options.outDir = folder / "out";
    options.quiet = true;
    // Missing, a directory, a FIFO nobody writes to (which must not block), a bad --dataset:
    // nothing runs and no output is written.
    for (auto const& data : {"absent.csv", "folder.csv", "pipe.csv", "absent.json"}) {
        options.dataPath = (folder / data).string();
        EXPECT_EQ(host::runner::runJobFile(options), host::runner::kExitCannotRun) << data;
        EXPECT_FALSE(fs::exists(folder / "out" / "output.json")) << data;
    }
    options.dataPath.clear();
    options.datasets = {"named=" + (folder / "pipe.csv").string()};
    EXPECT_EQ(host::runner::runJobFile(options), host::runner::kExitCannotRun);
    // An empty file can be read: the job runs and says what was wrong at the top.
    options.datasets.clear();
    options.dataPath = (folder / "empty.csv").string();
    EXPECT_EQ(host::runner::runJobFile(options), host::runner::kExitErrors);
    std::ifstream json(folder / "out" / "output.json");
    std::stringstream text;
    text << json.rdbuf();
    std::string const output = text.str();
    std::size_t const dataMessage = output.find("the file is empty");
    ASSERT_NE(dataMessage, std::string::npos);
    EXPECT_LT(dataMessage, output.find("GGRAPH"));
    host::dictionary::resetDatasets();
    fs::remove_all(folder);
}

TEST(JobRunner, LargeChartDataGoesBesideTheChartAndARerunLeavesNothingStale) {
    namespace fs = std::filesystem;
    fs::path folder = fs::temp_directory_path() / "ggraph_runner_csv_test";
    fs::remove_all(folder);
    fs::create_directories(folder / "out" / "charts");
    {
        std::ofstream csv(folder / "data.csv");
        csv << "x,y\n";
        for (int i = 0; i < 12; ++i) csv << i << "," << i * 2 << "\n";
    }
    std::ofstream(folder / "job.sps")
        << "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=x y /GRAPHSPEC SOURCE=INLINE.\n"
           "BEGIN GPL\n"
           "SOURCE: s = userSource(id(\"g\"))\n"
           "DATA: x = col(source(s), name(\"x\"))\n"
           "DATA: y = col(source(s), name(\"y\"))\n"
           "ELEMENT: point(position(x*y))\n"
           "END GPL.\n";
    // What an earlier run with two charts left behind.
    std::ofstream(folder / "out" / "charts" / "chart-002.svg") << "<svg/>";
    std::ofstream(folder / "out" / "output.json") << "{\"stale\": true}";

    host::runner::RunOptions options;
    options.jobPath = folder / "job.sps";
    options.dataPath = (folder / "data.csv").string();
    options.outDir = folder / "out";
    options.chartFormats = {"svg"};
    options.inlineRows = 10;
    options.quiet = true;
    ASSERT_EQ(host::runner::runJobFile(options), host::runner::kExitOk);
    host::dictionary::resetDatasets();

    EXPECT_FALSE(fs::exists(folder / "out" / "charts" / "chart-002.svg"));
    std::ifstream json(folder / "out" / "output.json");
    std::stringstream text;
    text << json.rdbuf();
    std::string const output = text.str();
    EXPECT_EQ(output.find("stale"), std::string::npos);
    EXPECT_NE(output.find("\"file\": \"charts/chart-001-g.csv\""), std::string::npos);
    EXPECT_NE(output.find("\"rowCount\": 12"), std::string::npos);
    std::ifstream csv(folder / "out" / "charts" / "chart-001-g.csv");
    std::string header;
    std::getline(csv, header);
    EXPECT_EQ(header.rfind("x,y", 0), 0u) << header;
    int lines = 0;
    for (std::string line; std::getline(csv, line);) ++lines;
    EXPECT_EQ(lines, 12);
    fs::remove_all(folder);
}
