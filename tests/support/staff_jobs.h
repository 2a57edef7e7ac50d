#pragma once
// Whole jobs over tests/e2e/data/staff.csv: the charts and messages of their output.json form,
// and the marks of a chart's scene as its SVG carries them.

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"
#include "host/output/document.h"
#include "host/output/writers.h"
#include "host/runner/job_runner.h"

namespace test {

class StaffJobs : public ::testing::Test {
protected:
    void SetUp() override {
        auto loaded = host::dictionary::loadDataset(GGRAPH_SOURCE_DIR "/tests/e2e/data/staff.csv");
        ASSERT_TRUE(loaded.ok());
        host::dictionary::setActiveDataset(loaded.dataset);
    }
    void TearDown() override { host::dictionary::resetDatasets(); }

    void run(std::string const& job) {
        host::output::Document document;
        host::runner::runJobText(job, document, {});
        output = nlohmann::json::parse(host::output::toJson(document).dump());
        charts.clear();
        messages.clear();
        messageItems.clear();
        collect(output["items"]);
    }
    // Runs the job tests/e2e/NAME.sps.
    void runFile(std::string const& name) {
        std::ifstream file(std::string(GGRAPH_SOURCE_DIR "/tests/e2e/") + name + ".sps");
        std::stringstream text;
        text << file.rdbuf();
        run(text.str());
    }
    bool said(std::string const& part) const {
        for (auto const& m : messages)
            if (m.find(part) != std::string::npos)
                return true;
        return false;
    }
    std::string allMessages() const {
        std::string out;
        for (auto const& m : messages) out += m + "\n";
        return out;
    }
    // The marks of one role (bar, point, slice, ...) that the chart's scene holds.
    static std::size_t marks(nlohmann::json const& chart, std::string const& role) {
        std::string const svg = chart.value("svg", "");
        std::string const needle = "class=\"" + role + "\"";
        std::size_t n = 0;
        for (auto at = svg.find(needle); at != std::string::npos; at = svg.find(needle, at + 1))
            ++n;
        return n;
    }

    nlohmann::json output;
    std::vector<nlohmann::json> charts;
    std::vector<std::string> messages;       // their texts
    std::vector<nlohmann::json> messageItems;  // whole, with their levels

private:
    void collect(nlohmann::json const& items) {
        for (auto const& item : items) {
            if (item["kind"] == "chart")
                charts.push_back(item);
            if (item["kind"] == "message") {
                messages.push_back(item["text"]);
                messageItems.push_back(item);
            }
            if (item.contains("items"))
                collect(item["items"]);
        }
    }
};

}  // namespace test
