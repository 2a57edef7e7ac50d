// Graph specifications fed from files: GPL and VizML files join the chart route, images and PMML
// go out as they are, and a file without access is a warning that skips its specification only.
#include <gtest/gtest.h>
#include <sys/stat.h>

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
    // The host says why, then the command says what it skipped.
    auto messages = ofKind(items, "message");
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0]["level"], 2);
    EXPECT_EQ(messages[0]["text"], "file \"" + (folder_ / "missing.gpl").string() + "\" does not exist");
    EXPECT_EQ(messages[1]["level"], 2);
    EXPECT_EQ(messages[1]["text"], "File missing.gpl has no access...");
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
    ASSERT_EQ(warnings.size(), 2u);
    EXPECT_NE(warnings[0]["text"].get<std::string>().find("none.xml\" does not exist"), std::string::npos);
    EXPECT_EQ(warnings[1]["text"], "File model.xml,none.xml has no access...");
}

TEST_F(FileRoutes, FilesThatAreNoChartOrNoImageAreErrorsNamingTheFileAndTheJobGoesOn) {
    // Each case: the GRAPHSPEC, the level of the message that must name the file, and a part of
    // its text.
    write("root.xml", "<notachart/>");
    write("cut.xml", "<chart version=\"1\"><gpl>");
    write("nogpl.xml", "<chart version=\"99\"></chart>");
    write("bad.gpl", "ELEMENT: point(position(x*y)) \x01\xff");
    write("text.png", "just some text");
    write("empty.gpl", "");
    ASSERT_EQ(::mkfifo((folder_ / "pipe.gpl").c_str(), 0600), 0);
    struct Case {
        char const* spec;
        char const* file;
        int level;
        char const* text;
    } const cases[] = {
        {"VIZMLFILE(\"root.xml\")", "root.xml", 3, "the root element is not <chart>"},
        {"VIZMLFILE(\"cut.xml\")", "cut.xml", 3, "chart XML: "},
        {"VIZMLFILE(\"nogpl.xml\")", "nogpl.xml", 3, "has no <gpl> element"},
        {"GPLFILE(\"bad.gpl\")", "bad.gpl", 3, "GPL error at line 1"},
        {"IMAGEFILE(\"text.png\")", "text.png", 2, "is not a PNG, JPEG, BMP, GIF or SVG image"},
        {"GPLFILE(\"empty.gpl\")", "empty.gpl", 2, "is empty"},
        // Neither blocks nor fills memory: a FIFO nobody writes to and an endless device.
        {"GPLFILE(\"pipe.gpl\")", "pipe.gpl", 2, "is not a regular file (a FIFO)"},
        {"VIZMLFILE(\"/dev/zero\")", "/dev/zero", 2, "is not a regular file (a character device)"},
    };
    for (auto const& c : cases) {
        json items = run(std::string("/GRAPHSPEC SOURCE=") + c.spec + " /GRAPHSPEC SOURCE=GPLFILE(\"chart.gpl\")");
        EXPECT_EQ(ofKind(items, "chart").size(), 1u) << c.spec;
        bool named = false;
        for (auto const& m : ofKind(items, "message")) {
            std::string const text = m["text"];
            named |= m["level"] == c.level && text.find(c.file) != std::string::npos &&
                     text.find(c.text) != std::string::npos;
            // What the file holds is quoted safely.
            EXPECT_EQ(text.find_first_of("\x01\xff"), std::string::npos) << text;
        }
        EXPECT_TRUE(named) << c.spec << "\n" << items.dump(1);
    }
}
