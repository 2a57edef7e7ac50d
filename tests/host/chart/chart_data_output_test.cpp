// A chart's rows in its output item: inline up to the limit, a CSV file beside the chart above it.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

#include "host/chart/chart_data_output.h"
#include "platform/var_data_processor.h"

namespace fs = std::filesystem;
using host::chart::chartData;
using host::chart::DataFiles;

namespace {

std::string readAll(fs::path const& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class ChartDataOutput : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / "ggraph_chart_data_output_test";
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    DataFiles files(std::size_t inlineRows) const {
        return {folder_, "charts/", "chart-007", inlineRows};
    }

    fs::path folder_;
};

}  // namespace

TEST_F(ChartDataOutput, CsvHoldsEachKindOfCellAsAReaderExpects) {
    VarDataProcessor data;
    double const sysmis = -std::numeric_limits<double>::max();
    data.SetVariableValue("s", "x", 0, 1.5);
    data.SetVariableValue("s", "x", 1, 1e21);
    data.SetVariableValue("s", "x", 2, sysmis);
    data.SetVariableValue("s", "x", 3, std::nan(""));
    data.SetVariableValue("s", "x", 4, 0.1);
    data.SetStringVariableValue("s", "label, \"quoted\"", 0, "a,b");
    data.SetStringVariableValue("s", "label, \"quoted\"", 1, "say \"hi\"");
    data.SetStringVariableValue("s", "label, \"quoted\"", 2, "two\nlines");
    data.SetStringVariableValue("s", "label, \"quoted\"", 3, "");
    data.SetStringVariableValue("s", "label, \"quoted\"", 4, " padded ");
    std::string error;
    ASSERT_TRUE(host::chart::writeSourceCsv(data, "s", folder_ / "s.csv", error)) << error;
    // Missing and non-finite numbers are empty fields; an empty text is "" so that it differs
    // from a missing one; numbers are written in their shortest exact form.
    EXPECT_EQ(readAll(folder_ / "s.csv"),
              "x,\"label, \"\"quoted\"\"\"\n"
              "1.5,\"a,b\"\n"
              "1e+21,\"say \"\"hi\"\"\"\n"
              ",\"two\nlines\"\n"
              ",\"\"\n"
              "0.1,\" padded \"\n");
}

TEST_F(ChartDataOutput, SourcesAboveTheLimitGoToFilesAndTheRestStaysInline) {
    VarDataProcessor data;
    for (unsigned r = 0; r < 5; ++r) data.SetVariableValue("small", "v", r, r);
    for (unsigned r = 0; r < 6; ++r) {
        data.SetVariableValue("big one/2", "v", r, r * 10);
        data.SetVariableValue("big one:2", "w", r, r);
    }

    auto const out = chartData(&data, files(5));
    EXPECT_EQ(out.json["small"]["rows"].size(), 5u);  // at the limit: inline
    EXPECT_FALSE(out.json["small"].contains("file"));

    // Two names that read the same in a file name each get a file of their own.
    auto const& first = out.json["big one/2"];
    auto const& second = out.json["big one:2"];
    EXPECT_EQ(first["file"], "charts/chart-007-big_one_2.csv");
    EXPECT_EQ(second["file"], "charts/chart-007-big_one_2-2.csv");
    EXPECT_EQ(first["rowCount"], 6);
    EXPECT_EQ(first["columns"], nlohmann::json({"v"}));
    EXPECT_FALSE(first.contains("rows"));
    EXPECT_EQ(out.files, (std::vector<std::string>{"charts/chart-007-big_one_2.csv",
                                                   "charts/chart-007-big_one_2-2.csv"}));
    EXPECT_EQ(readAll(folder_ / "chart-007-big_one_2.csv"), "v\n0\n10\n20\n30\n40\n50\n");
    EXPECT_TRUE(out.problems.empty());

    // With nowhere to write files, everything stays inline.
    auto const nowhere = chartData(&data, DataFiles{{}, "", "", 5});
    EXPECT_EQ(nowhere.json["big one/2"]["rows"].size(), 6u);
    EXPECT_TRUE(nowhere.files.empty());
}

TEST_F(ChartDataOutput, AFileThatCannotBeWrittenIsReportedNotNamed) {
    VarDataProcessor data;
    for (unsigned r = 0; r < 3; ++r) data.SetVariableValue("s", "v", r, r);
    DataFiles where = files(1);
    where.folder = folder_ / "no such folder";
    auto const out = chartData(&data, where);
    ASSERT_EQ(out.problems.size(), 1u);
    EXPECT_NE(out.problems[0].find("no such folder"), std::string::npos);
    EXPECT_FALSE(out.json["s"].contains("file"));
    EXPECT_EQ(out.json["s"]["rowCount"], 3);
    EXPECT_TRUE(out.files.empty());
}
