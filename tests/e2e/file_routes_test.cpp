// Graph specifications fed from files: GPL and VizML files join the chart route, images and PMML
// go out as they are, and a file without access is a warning that skips its specification only.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"
#include "host/output/writers.h"
#include "host/runner/job_runner.h"
#include "platform/chart.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr char kGpl[] =
    "SOURCE: s = userSource(id(\"g\"))\n"
    "DATA: dept = col(source(s), name(\"dept\"), unit.category())\n"
    "DATA: n = col(source(s), name(\"COUNT\"))\n"
    "ELEMENT: interval(position(dept*n))\n";

class FileRoutes : public ::testing::Test {
protected:
    void SetUp() override {
        // One folder per test: CTest runs tests side by side.
        folder_ = fs::temp_directory_path() /
                  (std::string("ggraph_file_routes_") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
        write("chart.gpl", kGpl);
        write("chart.xml", XDocument(kGpl, true, true).getChartXML());
        write("logo.png", std::string("\x89PNG\r\n\x1a\n", 8) + "not really pixels");
        write("model.xml", "<PMML/>");
        auto loaded = host::dictionary::loadDataset(GGRAPH_SOURCE_DIR "/tests/e2e/data/staff.csv");
        ASSERT_TRUE(loaded.ok());
        host::dictionary::setActiveDataset(loaded.dataset);
    }
    void TearDown() override {
        host::dictionary::resetDatasets();
        fs::remove_all(folder_);
    }
    void write(std::string const& name, std::string const& text) {
        std::ofstream(folder_ / name, std::ios::binary) << text;
    }
    // Runs one GGRAPH command with the given GRAPHSPEC subcommands; relative names are taken
    // from the test's folder, as from a job file's.
    json run(std::string const& specs) {
        host::output::Document document;
        host::runner::JobOptions options;
        options.jobFolder = folder_;
        host::runner::runJobText("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=dept COUNT() " + specs + ".\n",
                                 document, options);
        json items = json::array();
        flatten(json::parse(host::output::toJson(document).dump())["items"], items);
        return items;
    }
    static void flatten(json const& items, json& out) {
        for (auto const& item : items) {
            out.push_back(item);
            if (item.contains("items")) flatten(item["items"], out);
        }
    }
    static std::vector<json> ofKind(json const& items, std::string const& kind) {
        std::vector<json> out;
        for (auto const& item : items) {
            if (item["kind"] == kind) out.push_back(item);
        }
        return out;
    }
    fs::path folder_;
};

}  // namespace

TEST_F(FileRoutes, GplAndVizmlFilesMakeChartsAndAMissingFileSkipsOnlyItsSpecification) {
    json items = run(
        "/GRAPHSPEC SOURCE=GPLFILE(\"missing.gpl\") /GRAPHSPEC SOURCE=GPLFILE(\"chart.gpl\") LABEL=\"From GPL\" "
        "/GRAPHSPEC SOURCE=VIZMLFILE(\"chart.xml\")");
    auto charts = ofKind(items, "chart");
    ASSERT_EQ(charts.size(), 2u);
    EXPECT_EQ(charts[0]["description"], "From GPL");
    EXPECT_EQ(charts[1]["description"], "Graph");
    // Completed like an inline chart: the department is labelled from the dictionary.
    EXPECT_EQ(charts[1]["data"]["g"]["rows"].size(), 3u);
    auto messages = ofKind(items, "message");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]["level"], 2);
    EXPECT_EQ(messages[0]["text"], "File missing.gpl has no access...");
}

TEST_F(FileRoutes, ImagesAndPmmlGoOutAsTheyAre) {
    json items = run("/GRAPHSPEC SOURCE=IMAGEFILE(\"logo.png\") LABEL=\"Logo\" /GRAPHSPEC SOURCE=PMMLFILE(\"model.xml\")");
    auto images = ofKind(items, "image");
    ASSERT_EQ(images.size(), 1u);
    EXPECT_EQ(images[0]["description"], "Logo");
    EXPECT_EQ(images[0]["dataUri"].get<std::string>().rfind("data:image/png;base64,iVBORw0K", 0), 0u);
    auto messages = ofKind(items, "clientMessage");
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]["messageType"], 56);
    ASSERT_EQ(messages[0]["parts"].size(), 2u);
    EXPECT_EQ(messages[0]["parts"][0]["text"], "Graph");
    EXPECT_EQ(messages[0]["parts"][1]["key"], 1);
    EXPECT_EQ(messages[0]["parts"][1]["text"], "<PMML/>");

    // Two PMML names of which the second is missing: one warning naming both, nothing sent.
    json missing = run("/GRAPHSPEC SOURCE=PMMLFILE(\"model.xml,none.xml\")");
    EXPECT_TRUE(ofKind(missing, "clientMessage").empty());
    auto warnings = ofKind(missing, "message");
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0]["text"], "File model.xml,none.xml has no access...");
}
