// The numeric options of a GPL program that no chart can use, checked when the program is read.
#include <gtest/gtest.h>

#include <string>

#include "host/chart/chart_model.h"

namespace {

struct Built {
    bool ok;
    std::string messages;
};

Built build(std::string const& body) {
    host::chart::ChartModel model;
    host::chart::buildFromGpl(model, "SOURCE: s=userSource(id(\"d\"))\nDATA: x=col(source(s), name(\"x\"))\n"
                                     "DATA: g=col(source(s), name(\"g\"), unit.category())\n" + body);
    return {model.ok, model.program.describe()};
}

}  // namespace

TEST(GplOptions, ValuesNoChartCanUseStopTheChartAndReplacedOnesAreNamed) {
    struct Case {
        char const* body;
        bool ok;             // the chart is made
        char const* message;  // a part of what is said about it
    } const cases[] = {
        {"ELEMENT: interval(position(summary.count(bin.rect(x, binCount(0)))))", false,
         "binCount and binWidth must be positive: binCount(0)"},
        {"ELEMENT: interval(position(summary.count(bin.rect(x, binWidth(0)))))", false,
         "binCount and binWidth must be positive: binWidth(0)"},
        {"ELEMENT: interval(position(summary.count(bin.rect(x, binCount(1e12)))))", true,
         "binCount(1000000000000) is too large: at most 10000 bins"},
        {"ELEMENT: interval(position(region.confi.mean(g*x, alpha(-1))))", false,
         "alpha(-1): the confidence level must be above 0 and below 1"},
        {"ELEMENT: interval(position(region.confi.mean(g*x, alpha(100))))", false, "alpha(100)"},
        {"ELEMENT: interval(position(region.confi.mean(g*x, alpha(2))))", true,
         "alpha(2) is read as a confidence level of 2%"},
        {"DATA: x=col(source(s), name(\"y\"))\nELEMENT: point(position(g*x))", false,
         "'x' is declared again; it was declared at line 2"},
    };
    for (auto const& c : cases) {
        auto built = build(c.body);
        EXPECT_EQ(built.ok, c.ok) << c.body << "\n" << built.messages;
        auto const at = built.messages.find(c.message);
        EXPECT_NE(at, std::string::npos) << c.body << "\n" << built.messages;
        // Said once.
        EXPECT_EQ(built.messages.find(c.message, at + 1), std::string::npos) << built.messages;
    }
    // What a chart can use passes without a word. Scale options (a log base, min above max) are
    // the scale's own to judge: chart_refusals_test.
    for (char const* body : {"ELEMENT: interval(position(summary.count(bin.rect(x, binCount(20)))))",
                             "ELEMENT: interval(position(region.confi.mean(g*x, alpha(0.9))))",
                             "ELEMENT: interval(position(region.confi.mean(g*x, alpha(95))))",
                             "SCALE: log(dim(2), base(2))\nELEMENT: point(position(g*x))"}) {
        auto built = build(body);
        EXPECT_TRUE(built.ok) << body;
        EXPECT_EQ(built.messages, "") << body;
    }
}
