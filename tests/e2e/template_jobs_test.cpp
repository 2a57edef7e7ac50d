// Charts from the template library: each shipped template filled from a job's MAPPING and drawn,
// the weight of a weighted data set, and what is said when a template cannot be filled.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <string>

#include "support/staff_jobs.h"

namespace {

using TemplateJobs = test::StaffJobs;

std::string job(std::string const& variables, std::string const& name, std::string const& mapping) {
    return "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=" + variables +
           " /GRAPHSPEC SOURCE=VIZTEMPLATE(NAME=\"" + name + "\"[LOCATION=LOCAL] MAPPING(" +
           mapping + ")).\n";
}

}  // namespace

TEST_F(TemplateJobs, EveryShippedTemplateIsDrawnFromItsMapping) {
    struct Case {
        char const* name;
        char const* variables;
        char const* mapping;
        char const* role;
        std::size_t marks;
    } const cases[] = {
        {"Bar", "dept MEAN(salary)", "\"x\"=\"dept\" \"y\"=\"MEAN_salary\"", "bar", 3},
        // Ten cases in three departments and two sexes, one case without a sex: six cells.
        {"Stacked Bar", "dept sex COUNT()", "\"x\"=\"dept\" \"y\"=\"COUNT\" \"color\"=\"sex\"",
         "bar", 6},
        {"Clustered Bar", "dept sex COUNT()", "\"x\"=\"dept\" \"y\"=\"COUNT\" \"color\"=\"sex\"",
         "bar", 6},
        {"Line", "dept MEAN(hours)", "\"x\"=\"dept\" \"y\"=\"MEAN_hours\"", "line", 1},
        {"Area", "dept MEAN(hours)", "\"x\"=\"dept\" \"y\"=\"MEAN_hours\"", "area", 1},
        {"Pie", "dept COUNT()", "\"categories\"=\"dept\" \"values\"=\"COUNT\"", "slice", 3},
        {"Pie", "dept", "\"categories\"=\"dept\"", "slice", 3},
        {"Scatterplot", "salary hours", "\"x\"=\"hours\" \"y\"=\"salary\"", "point", 9},
        {"Bubble", "salary hours shift", "\"x\"=\"hours\" \"y\"=\"salary\" \"size\"=\"shift\"",
         "point", 9},
        {"Histogram", "hours", "\"x\"=\"hours\"", "bar", 0},
        {"Boxplot", "dept salary", "\"x\"=\"dept\" \"y\"=\"salary\"", "box", 3},
        {"Heat Map", "salary hours", "\"x\"=\"hours\" \"y\"=\"salary\"", "cell", 0},
        {"2-D Dot Plot", "dept salary", "\"X\"=\"dept\" \"Y\"=\"salary\"", "point", 9},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        run(job(c.variables, c.name, c.mapping));
        ASSERT_EQ(charts.size(), 1u) << allMessages();
        EXPECT_FALSE(said("not drawn")) << allMessages();
        if (c.marks > 0)
            EXPECT_EQ(marks(charts[0], c.role), c.marks) << allMessages();
        else
            EXPECT_GT(marks(charts[0], c.role), 1u) << allMessages();
    }
}

TEST_F(TemplateJobs, BubblesAreSizedByTheirVariableWithASizeKey) {
    run(job("salary hours shift", "Bubble", "\"x\"=\"hours\" \"y\"=\"salary\" \"size\"=\"shift\""));
    ASSERT_EQ(charts.size(), 1u) << allMessages();
    std::string const svg = charts[0]["svg"];
    std::regex const circle("<circle class=\"(point|legend-swatch)\"[^>]* r=\"([0-9.]+)\"");
    std::set<std::string> pointRadii, keyRadii;
    for (std::sregex_iterator it(svg.begin(), svg.end(), circle), end; it != end; ++it)
        ((*it)[1] == "point" ? pointRadii : keyRadii).insert((*it)[2]);
    EXPECT_GE(pointRadii.size(), 3u) << svg;
    EXPECT_GE(keyRadii.size(), 2u) << svg;
    EXPECT_NE(svg.find(">Shift length</text>"), std::string::npos);  // the key titled by the label
}

TEST_F(TemplateJobs, AWeightedDataSetWeightsTheTemplate) {
    run("WEIGHT BY w.\n" + job("dept", "Pie", "\"categories\"=\"dept\""));
    ASSERT_EQ(charts.size(), 1u) << allMessages();
    auto const& variables = charts[0]["variables"];
    bool weight = false;
    for (auto const& v : variables) weight |= v["name"] == "$WEIGHT";
    EXPECT_TRUE(weight) << variables.dump();
    // Sales has four cases of weights 1, 2, 1, 1: five of twelve weighted cases.
    std::string const svg = charts[0]["svg"];
    EXPECT_NE(svg.find("41.7%"), std::string::npos);
}

TEST_F(TemplateJobs, WhatKeepsATemplateFromBeingDrawnIsSaid) {
    run(job("dept MEAN(salary)", "Bar", "\"x\"=\"dept\" \"colour\"=\"dept\""));
    EXPECT_TRUE(charts.empty());
    EXPECT_TRUE(
        said("The template \"Bar\" needs a variable for its slot \"y\" (values), and the "
             "MAPPING has none."))
        << allMessages();
    EXPECT_TRUE(said("The template \"Bar\" has no slot \"colour\"")) << allMessages();

    // Without a GRAPHDATASET there is nothing to draw from.
    run("GGRAPH /GRAPHSPEC SOURCE=VIZTEMPLATE(NAME=\"Histogram\"[LOCATION=LOCAL] "
        "MAPPING(\"x\"=\"hours\")).\n");
    EXPECT_TRUE(charts.empty());
    EXPECT_TRUE(
        said("The template \"Histogram\" has no data to draw: the variable hours of its "
             "slot \"x\" is in no GRAPHDATASET."))
        << allMessages();

    run(job("dept", "Radar", "\"x\"=\"dept\""));
    EXPECT_TRUE(charts.empty());
    EXPECT_TRUE(said("there is no template named \"Radar\"")) << allMessages();
    EXPECT_FALSE(said("does not support that source")) << allMessages();
}

TEST_F(TemplateJobs, TemplatesFromAFileOrAFolderAndPerSplitGroup) {
    namespace fs = std::filesystem;
    fs::path dir = fs::path(GGRAPH_BINARY_DIR) / "template_jobs_test";
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::ofstream(dir / "dots.ctpl")
        << "TEMPLATE: Dots\nSLOT: v role=values required continuous\n"
           "GPL:\nELEMENT: point(position(summary.count(bin.rect({v}))))\n";
    run("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=hours /GRAPHSPEC SOURCE=VIZTEMPLATE(NAME=\"" +
        (dir / "dots.ctpl").string() + "\"[LOCATION=FILE] MAPPING(\"v\"=\"hours\")).\n");
    ASSERT_EQ(charts.size(), 1u) << allMessages();
    EXPECT_GT(marks(charts[0], "point"), 1u);

    run("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=hours /GRAPHSPEC "
        "SOURCE=VIZTEMPLATE(NAME=\"dots\"[LOCATION=\"" +
        dir.string() + "\"] MAPPING(\"values\"=\"hours\")).\n");
    ASSERT_EQ(charts.size(), 1u) << allMessages();

    // One chart per split group: the label names the group, and a template chart gets no
    // subtitle from the command.
    run("SPLIT FILE SEPARATE BY region.\n" +
        job("dept MEAN(salary)", "Bar", "\"x\"=\"dept\" \"y\"=\"MEAN_salary\""));
    ASSERT_EQ(charts.size(), 2u) << allMessages();
    EXPECT_NE(charts[0]["description"].get<std::string>().find("region = north"), std::string::npos)
        << charts[0]["description"];
    EXPECT_EQ(charts[1]["subtitle"], "");
    EXPECT_EQ(marks(charts[0], "bar"), 3u);
}
