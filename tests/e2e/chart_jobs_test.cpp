// Whole jobs over a CSV with its dictionary: the chart items of output.json, as a reader of the
// charts needs them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/staff_jobs.h"

namespace {

using nlohmann::json;

class ChartJobs : public test::StaffJobs {
protected:
    void run(std::string const& name) { runFile(name); }
    static json const& variable(json const& chart, std::string const& name) {
        for (auto const& v : chart["variables"]) {
            if (v["name"] == name) return v;
        }
        // Every field a test reads, empty, so that a missing variable fails its checks cleanly.
        static json const none = {{"label", ""}, {"shortLabel", ""}, {"creator", -1},
                                  {"categorical", nullptr}, {"relabels", json::array()},
                                  {"statistic", {{"code", -1}, {"a", 0}, {"b", 0}, {"c", 0}}},
                                  {"format", {{"prefix", ""}, {"suffix", ""}}}};
        ADD_FAILURE() << "no chart variable " << name;
        return none;
    }
    static std::string relabel(json const& v, std::string const& value) {
        for (auto const& r : v["relabels"]) {
            if (r["value"] == value) return r["label"];
        }
        return "";
    }
    std::vector<std::string> messageTexts(int level) const {
        std::vector<std::string> out;
        for (auto const& m : messageItems) {
            if (m["level"] == level) out.push_back(m["text"]);
        }
        return out;
    }
};

}  // namespace

TEST_F(ChartJobs, AggregatedChartIsLabelledFromTheDictionary) {
    run("labels");
    ASSERT_EQ(charts.size(), 1u);
    json const& chart = charts[0];
    EXPECT_EQ(chart["description"], "Graph");
    EXPECT_EQ(chart["send"], json::array({true, false, false}));

    json const& dept = variable(chart, "dept");
    EXPECT_EQ(dept["label"], "Department");
    EXPECT_EQ(dept["shortLabel"], "dept");
    EXPECT_EQ(dept["creator"], 0);
    EXPECT_EQ(relabel(dept, "2"), "Research");

    json const& mean = variable(chart, "mean");
    EXPECT_EQ(mean["label"], "Mean Annual salary");
    EXPECT_EQ(mean["statistic"]["code"], 2);
    EXPECT_EQ(mean["format"]["prefix"], "$");

    json const& low = variable(chart, "lo");
    EXPECT_EQ(low["creator"], 2);
    EXPECT_EQ(low["statistic"]["code"], 8);
    EXPECT_EQ(low["label"], "Mean Annual salary Std. Deviation (0.9) Low");
    EXPECT_EQ(variable(chart, "hi")["statistic"]["code"], 9);

    json const& pin = variable(chart, "PIN_salary_40000_50000");
    EXPECT_EQ(pin["statistic"]["code"], 18);
    EXPECT_EQ(pin["statistic"]["b"], 40000.0);
    EXPECT_EQ(pin["statistic"]["c"], 50000.0);
    EXPECT_EQ(pin["format"]["suffix"], "%");
    EXPECT_EQ(variable(chart, "COUNT")["label"], "Count");

    // The dichotomy set's categories are relabelled by its members' labels.
    json const& langs = variable(chart, "$langs");
    EXPECT_EQ(langs["categorical"], true);
    EXPECT_EQ(relabel(langs, "speaks_fr"), "Speaks French");

    // The rows hold the counts per department: Sales 4, Research 3, Board 3.
    json const& rows = chart["data"]["pay"]["rows"];
    ASSERT_FALSE(rows.empty());
}

TEST_F(ChartJobs, TemplatesFitLinesAndTheNoDefaultTemplatesPath) {
    run("templates");
    ASSERT_EQ(charts.size(), 2u);
    json const& with = charts[0];
    EXPECT_EQ(with["description"], "With templates");
    EXPECT_EQ(with["editable"], false);
    EXPECT_EQ(with["templates"], json::array({"a.sgt", "b.sgt"}));
    EXPECT_EQ(with["defaultTemplates"]["owner"], "GGRAPH");
    ASSERT_EQ(with["inlineTemplates"].size(), 3u);
    EXPECT_EQ(with["inlineTemplates"][0], "<addFitLine rsquared=\"true\" target=\"pair\" type=\"linear\"/>");
    EXPECT_EQ(with["inlineTemplates"][1], "<addFitLine rsquared=\"true\" target=\"subgroup\" type=\"linear\"/>");
    EXPECT_EQ(with["inlineTemplates"][2], "<mine/>");

    json const& without = charts[1];
    EXPECT_EQ(without["defaultTemplates"]["off"], true);
    EXPECT_TRUE(without["templates"].empty());
    // No statistic is completed, ordinary variables are left as they are.
    EXPECT_EQ(variable(without, "MEAN_salary")["label"], "");
    EXPECT_TRUE(variable(without, "dept")["relabels"].empty());
}

TEST_F(ChartJobs, SplitGroupsGiveOneChartEachAndAMissingDataSetIsAnError) {
    run("split");
    // north then south; the second specification on the same split data set gets no chart.
    ASSERT_EQ(charts.size(), 2u);
    EXPECT_EQ(charts[0]["description"], "Staff ; region = north");
    EXPECT_EQ(charts[0]["subtitle"], "Region: north");
    EXPECT_EQ(charts[0]["send"], json::array({true, false, false}));
    EXPECT_EQ(charts[1]["description"], "Staff ; region = south");
    EXPECT_EQ(charts[1]["send"], json::array({true, true, false}));
    EXPECT_EQ(messageTexts(3), std::vector<std::string>{
                                   "A graph specification refers to graph data set other, but graph "
                                   "data set other does not exist."});
}

TEST_F(ChartJobs, TwoDataSetsMergeIntoOneChartAndAChartWithoutDataSetsIsRefused) {
    run("merged");
    ASSERT_EQ(charts.size(), 1u);
    json const& data = charts[0]["data"];
    EXPECT_TRUE(data.contains("a"));
    EXPECT_TRUE(data.contains("b"));
    EXPECT_EQ(variable(charts[0], "MEAN_hours")["label"], "Mean Weekly hours");
    EXPECT_EQ(messageTexts(3), std::vector<std::string>{
                                   "A graph specification refers to graph data set nowhere, but graph "
                                   "data set nowhere does not exist."});
}

TEST_F(ChartJobs, TransposedChartNamesItsStatisticsAndVariables) {
    run("transposed");
    ASSERT_EQ(charts.size(), 1u);
    json const& chart = charts[0];
    EXPECT_EQ(variable(chart, "value")["label"], "Mean");
    json const& which = variable(chart, "which");
    EXPECT_EQ(which["label"], "Variables");
    EXPECT_EQ(relabel(which, "0"), "Annual salary");
    EXPECT_EQ(relabel(which, "1"), "Weekly hours");
    EXPECT_EQ(variable(chart, "lo")["creator"], 0);
    EXPECT_EQ(chart["data"]["t"]["rows"].size(), 2u);
}

TEST_F(ChartJobs, InfiniteErrorBarsAreDroppedWithAWarning) {
    run("infinite");
    ASSERT_EQ(charts.size(), 1u);
    EXPECT_EQ(messageTexts(2),
              std::vector<std::string>{"Infinite error bars have been removed from the chart..."});
    // The group of the one case without a sex keeps its mean; its interval ends are missing.
    bool sawMissingEnd = false;
    for (auto const& row : charts[0]["data"]["g"]["rows"]) {
        if (row[2].is_null() || row[3].is_null()) sawMissingEnd = true;
    }
    EXPECT_TRUE(sawMissingEnd);
}

TEST_F(ChartJobs, TheSpreadOfATimeVariableTakesTheDurationFormat) {
    run("duration");
    ASSERT_EQ(charts.size(), 1u);
    // The day-and-time format word (type 25, width 0, 12 decimals).
    EXPECT_EQ(variable(charts[0], "STDDEV_shift")["format"]["packed"], 0x19000C);
    // A mean keeps the variable's own time format.
    EXPECT_EQ(variable(charts[0], "MEAN_shift")["format"]["packed"].get<int>() >> 16, 21);
}

TEST_F(ChartJobs, SplitAndUnsplitDataSetsDoNotMix) {
    auto other = host::dictionary::loadDataset(GGRAPH_SOURCE_DIR "/tests/e2e/data/staff.csv");
    ASSERT_TRUE(other.ok());
    host::dictionary::addNamedDataset("other", other.dataset);
    run("mixed");
    EXPECT_EQ(messageTexts(3),
              std::vector<std::string>{"Can not mix graph data sets if one graph data set has a split file active."});
    // The first data set decides: the chart goes out once per split group.
    EXPECT_EQ(charts.size(), 2u);
}
