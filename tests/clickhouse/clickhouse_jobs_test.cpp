// Whole jobs over a table on local ClickHouse servers (started by the suite's fixture): every
// statistic gives the cells that the in-process cube gives over the same CSV, a Distributed table
// over two shards gives the same charts as one table, and a server that fails costs its own
// command and nothing else.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "host/clickhouse/connection.h"
#include "host/dictionary/job_data.h"
#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"
#include "host/dictionary/remote_source.h"
#include "host/output/writers.h"
#include "host/runner/job_runner.h"

namespace {

using nlohmann::json;

std::string const kSource = GGRAPH_SOURCE_DIR "/tests/clickhouse/data/";

std::string readFile(std::string const& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    std::string content = text.str();
    while (!content.empty() && (content.back() == '\n' || content.back() == ' '))
        content.pop_back();
    return content;
}

struct Outcome {
    json charts = json::array();  // the data of each chart, in order
    json svgs = json::array();
    std::vector<std::string> errors;
    std::vector<std::string> warnings;
};

// Runs a job with the active dataset at `data` and gives what its charts hold.
Outcome run(std::string const& job, std::string const& data,
            std::vector<std::string> const& named = {},
            std::vector<std::string> const& dictionaries = {kSource + "survey.csv.json"}) {
    Outcome outcome;
    auto loaded = host::dictionary::loadJobData(data, named, dictionaries);
    for (auto const& message : loaded.messages) {
        (message.level == host::dictionary::Diagnostic::Error ? outcome.errors : outcome.warnings)
            .push_back(message.toString());
    }
    host::output::Document document;
    host::runner::runJobText(job, document, {});
    json const output = json::parse(host::output::toJson(document).dump());
    std::function<void(json const&)> walk = [&](json const& items) {
        for (json const& item : items) {
            if (item["kind"] == "chart") {
                outcome.charts.push_back(item.value("data", json()));
                outcome.svgs.push_back(item.value("svg", ""));
            }
            if (item["kind"] == "message")
                (item["level"] == 3 ? outcome.errors : outcome.warnings).push_back(item["text"]);
            if (item.contains("items"))
                walk(item["items"]);
        }
    };
    walk(output["items"]);
    host::dictionary::resetDatasets();
    return outcome;
}

// Equal up to the last bits of sums taken in another order.
::testing::AssertionResult same(json const& a, json const& b, std::string const& where = "") {
    if (a.is_number() && b.is_number()) {
        double const x = a.get<double>(), y = b.get<double>();
        if (x == y || std::fabs(x - y) <= 1e-9 * std::max({1.0, std::fabs(x), std::fabs(y)}))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << where << ": " << x << " != " << y;
    }
    if (a.type() != b.type() || a.size() != b.size())
        return ::testing::AssertionFailure()
               << where << ": " << a.dump().substr(0, 300) << " != " << b.dump().substr(0, 300);
    if (a.is_array()) {
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (auto r = same(a[i], b[i], where + "[" + std::to_string(i) + "]"); !r)
                return r;
        }
        return ::testing::AssertionSuccess();
    }
    if (a.is_object()) {
        for (auto const& [key, value] : a.items()) {
            if (!b.contains(key))
                return ::testing::AssertionFailure() << where << ": no " << key;
            if (auto r = same(value, b[key], where + "." + key); !r)
                return r;
        }
        return ::testing::AssertionSuccess();
    }
    return a == b ? ::testing::AssertionSuccess()
                  : ::testing::AssertionFailure() << where << ": " << a << " != " << b;
}

// One GGRAPH command over one data set, the chart naming its first two columns.
std::string job(std::string const& variables, std::string const& first, std::string const& second,
                std::string const& before = "") {
    return before + "GGRAPH\n  /GRAPHDATASET NAME=\"g\" VARIABLES=" + variables +
           "\n  /GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL\n  SOURCE: s = userSource(id(\"g\"))\n"
           "  DATA: a = col(source(s), name(\"" +
           first +
           "\"), unit.category())\n"
           "  DATA: b = col(source(s), name(\"" +
           second +
           "\"))\n"
           "  ELEMENT: point(position(a*b))\nEND GPL.\n";
}

class ClickHouseJobs : public ::testing::Test {
protected:
    void SetUp() override {
        char const* dir = std::getenv("GGRAPH_TEST_CLICKHOUSE_DIR");
        if (dir == nullptr)
            GTEST_SKIP() << "GGRAPH_TEST_CLICKHOUSE_DIR is not set: run through ctest";
        std::string const base = dir;
        if (std::ifstream skip(base + "/skip"); skip)
            GTEST_SKIP() << readFile(base + "/skip");
        single_ = readFile(base + "/single.url");
        sharded_ = readFile(base + "/sharded.url");
        ASSERT_FALSE(single_.empty());
    }
    std::string table(std::string const& name, bool sharded = false) const {
        return (sharded ? sharded_ : single_) + "/default." + name;
    }
    // The job over the CSV and over the table give the same charts, and at least one.
    void expectSameCells(std::string const& text) {
        SCOPED_TRACE(text);
        Outcome const local = run(text, kSource + "survey.csv");
        Outcome const remote = run(text, table("survey"));
        EXPECT_EQ(local.errors, remote.errors);
        ASSERT_FALSE(local.charts.empty());
        EXPECT_TRUE(same(local.charts, remote.charts));
    }

    std::string single_;
    std::string sharded_;
};

TEST_F(ClickHouseJobs, EveryStatisticGivesTheCellsOfTheInProcessCube) {
    // Listwise: a case missing x or y leaves every statistic, the count included.
    expectSameCells(
        job("cat COUNT() MINIMUM(x) MAXIMUM(x) VALIDN(x) SUM(x) MEAN(y) STDDEV(x) VARIANCE(y) "
            "MEDIAN(x) GMEDIAN(y) MODE(x) PTILE(x, 10) GPTILE(y, 90) MISSING=LISTWISE",
            "cat", "COUNT"));
    // Variablewise, with every limit statistic on a string break variable.
    expectSameCells(
        job("sex COUNT() PLT(x, 40) PGT(x, 60) NLT(x, 40) NGT(x, 60) PIN(x, 40, 60) NIN(x, 40, 60) "
            "NLE(y, 3) PLE(y, 3) NEQ(y, 2) PEQ(y, 2) NGE(x, 50) PGE(x, 50) MEDIAN(y) "
            "MISSING=VARIABLEWISE",
            "sex", "COUNT"));
    // Error bars: the mean's and the median's intervals, the standard error and deviation.
    expectSameCells(job("cat COUNT() MEANCI(x, 95) MEDIANCI(y, 90)", "cat", "COUNT"));
    expectSameCells(job("cat COUNT() MEANSE(x, 2) MEANSD(y, 1)", "cat", "COUNT"));
    expectSameCells(job("region COUNTCI(95)", "region", "COUNTCI_95"));
    // Missing categories reported, over two break variables.
    expectSameCells(job("cat sex COUNT() MEAN(x) REPORTMISSING=YES", "cat", "COUNT"));
}

TEST_F(ClickHouseJobs, WeightsSplitsFiltersAndSetsGiveTheSameCells) {
    expectSameCells(job("region COUNT() MEAN(x) MEDIAN(y)", "region", "COUNT",
                        "SPLIT FILE BY grp.\nWEIGHT BY w.\nMISSING VALUES y (0).\n"));
    expectSameCells(
        job("cat region COUNT() MEAN(x) PTILE(y, 75) DATAFILTER=region(VALUES=\"north\" \"east\")",
            "cat", "COUNT"));
    expectSameCells(job("$picks COUNT() RESPONSES() PCTRESPONSES()", "$picks", "COUNT"));
    expectSameCells(job("$owns COUNT() MEAN(x)", "$owns", "COUNT"));
    // A case limit is read from the cases themselves, in the table's order.
    expectSameCells(job("cat COUNT() MEAN(x) CASELIMIT=50", "cat", "COUNT"));
}

TEST_F(ClickHouseJobs, CaseLevelPassReadsTheSameCases) {
    std::string const text = job("x y", "x", "y");
    Outcome local = run(text, kSource + "survey.csv");
    Outcome remote = run(text, table("survey"));
    ASSERT_EQ(local.charts.size(), 1u);
    ASSERT_EQ(remote.charts.size(), 1u);
    // A table has no order of its own: the cases are compared as a set. (The server reads some
    // decimals of the CSV one bit off, so values compare with the tolerance.)
    auto rows = [](Outcome const& outcome) {
        json list = outcome.charts[0]["g"]["rows"];
        for (json& row : list) row.erase(2);  // the case number
        std::sort(list.begin(), list.end());
        return list;
    };
    EXPECT_TRUE(same(rows(local), rows(remote)));
}

TEST_F(ClickHouseJobs, TwoShardsGiveTheChartsOfOneTable) {
    for (std::string const& text :
         {job("cat COUNT() MEAN(x) MEDIAN(y) MODE(x) PGT(x, 50)", "cat", "MEAN_x"),
          job("region COUNT() MEANCI(x, 95)", "region", "COUNT", "SPLIT FILE BY grp.\n")}) {
        SCOPED_TRACE(text);
        Outcome const one = run(text, table("survey"));
        Outcome const two = run(text, table("survey", true));
        EXPECT_TRUE(two.errors.empty());
        ASSERT_FALSE(one.charts.empty());
        EXPECT_TRUE(same(one.charts, two.charts));
        EXPECT_EQ(one.svgs, two.svgs);
    }
}

TEST_F(ClickHouseJobs, FailuresAreReportedAndCostNothingElse) {
    // The first command reads a table on a server, the second the active dataset, a CSV.
    std::string const text =
        "GGRAPH\n  /GRAPHDATASET NAME=\"g\" DATASET=remote VARIABLES=cat COUNT()\n"
        "  /GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL\n  SOURCE: s = userSource(id(\"g\"))\n"
        "  DATA: a = col(source(s), name(\"cat\"), unit.category())\n"
        "  DATA: b = col(source(s), name(\"COUNT\"))\n  ELEMENT: interval(position(a*b))\nEND "
        "GPL.\n" +
        job("sex COUNT()", "sex", "COUNT");
    std::string const csv = kSource + "survey.csv";
    Outcome missing = run(text, csv, {"remote=" + table("nosuch")}, {});
    ASSERT_FALSE(missing.errors.empty());
    EXPECT_NE(missing.errors[0].find("default.nosuch"), std::string::npos) << missing.errors[0];
    EXPECT_EQ(missing.charts.size(), 1u);

    // Nothing listens on port 1: the refusal comes at once.
    auto const start = std::chrono::steady_clock::now();
    Outcome refused = run(text, csv, {"remote=clickhouse://127.0.0.1:1/default.survey"}, {});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    ASSERT_FALSE(refused.errors.empty());
    EXPECT_NE(refused.errors[0].find("did not answer"), std::string::npos) << refused.errors[0];
    EXPECT_EQ(refused.charts.size(), 1u);

    // A table that goes away after it was opened: the pass reports it, the next command draws.
    std::string error;
    host::clickhouse::Connection server(*host::clickhouse::parseAddress(table("survey"), error),
                                        {});
    ASSERT_TRUE(server.query("CREATE TABLE default.brief AS default.survey").ok);
    ASSERT_TRUE(server.query("INSERT INTO default.brief SELECT * FROM default.survey").ok);
    ASSERT_TRUE(host::dictionary::loadJobData(csv, {"remote=" + table("brief")}).ok);
    ASSERT_TRUE(server.query("DROP TABLE default.brief").ok);
    host::output::Document document;
    host::runner::runJobText(text, document, {});
    std::string const output = host::output::toJson(document).dump();
    host::dictionary::resetDatasets();
    EXPECT_NE(output.find("could not be read"), std::string::npos);
    EXPECT_NE(output.find("\"kind\":\"chart\""), std::string::npos);

    // A column of a type that cannot be read is left out with a warning; the others work.
    Outcome odd = run(job("k MEAN(v)", "k", "MEAN_v"), table("odd"), {}, {});
    EXPECT_TRUE(odd.errors.empty());
    ASSERT_FALSE(odd.warnings.empty());
    EXPECT_NE(odd.warnings[0].find("Array(String)"), std::string::npos) << odd.warnings[0];
    ASSERT_EQ(odd.charts.size(), 1u);
    EXPECT_EQ(odd.charts[0]["g"]["rows"], json::parse("[[1.0, 3.0], [2.0, 4.0]]"));

    // Credentials are sent: a user the server does not know is refused by name.
    setenv("GGRAPH_CLICKHOUSE_USER", "nobody", 1);
    Outcome stranger = run(job("cat COUNT()", "cat", "COUNT"), table("survey"));
    unsetenv("GGRAPH_CLICKHOUSE_USER");
    ASSERT_FALSE(stranger.errors.empty());
    EXPECT_NE(stranger.errors[0].find("nobody"), std::string::npos) << stranger.errors[0];
}

TEST_F(ClickHouseJobs, ATableWithoutDictionaryGivesOneFromItsColumns) {
    auto loaded = host::dictionary::loadSource(table("odd"), "");
    ASSERT_TRUE(loaded.ok());
    auto const& variables = loaded.dataset->variables;
    ASSERT_EQ(variables.size(), 3u);  // the array column is left out
    auto const& k = variables[0]->hostData();
    auto const& e = variables[1]->hostData();
    auto const& v = variables[2]->hostData();
    EXPECT_EQ(k.name, "k");
    EXPECT_EQ(k.width, 0);
    EXPECT_EQ(e.name, "e");
    EXPECT_EQ(e.width, 6);  // the longest name of the enumeration
    EXPECT_EQ(v.label, "Value");
    EXPECT_EQ(v.format, KwelFormatPack(FMT_F, 8, 2));
    EXPECT_EQ(loaded.dataset->remote->caseCount(), 3);
}

TEST_F(ClickHouseJobs, SlowQueriesEndAtTheTimeLimit) {
    setenv("GGRAPH_CLICKHOUSE_TIMEOUT", "1", 1);
    std::string error;
    auto address = host::clickhouse::parseAddress(table("survey"), error);
    ASSERT_TRUE(address) << error;
    host::clickhouse::Connection connection(*address, {});
    unsetenv("GGRAPH_CLICKHOUSE_TIMEOUT");
    auto const start = std::chrono::steady_clock::now();
    auto const answer = connection.query("SELECT sleep(3)");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2900));
    EXPECT_FALSE(answer.ok);
    EXPECT_FALSE(answer.error.empty());
}

}  // namespace
