// The rows that `ggraph render` draws a chart from: bad rows files are errors naming the file,
// line and column; rows that do not fit their columns are drawn with a warning.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/chart/chart_cli.h"
#include "platform/entries.h"

namespace {

namespace fs = std::filesystem;

std::string chartXml() {
    std::string const gpl =
        "SOURCE: s=userSource(id(\"d\"))\nDATA: x=col(source(s), name(\"x\"))\n"
        "DATA: y=col(source(s), name(\"y\"))\nELEMENT: point(position(x*y))\n";
    auto converted = host::chart::gplToXml(gpl, convertGPLToChartXML(gpl));
    EXPECT_EQ(converted.exitCode, 0) << converted.error;
    return converted.output;
}

}  // namespace

TEST(ChartCli, RowsThatCannotBeReadAreErrorsAndRaggedOnesWarnings) {
    fs::path const out = fs::temp_directory_path() / ("ggraph_chart_cli_" + std::to_string(::getpid()));
    std::string const xml = chartXml();
    struct Case {
        char const* rows;
        int exitCode;
        char const* message;
    } const cases[] = {
        {"", 1, "rows.json:1:1: error: not valid JSON"},
        {"{\"d\": {\"columns\": [\"x\",\"y\"],\n \"rows\": [[1,2],", 1, "rows.json:2:"},
        {"{\"d\": {\"columns\": [\"x\",\"y\"], \"rows\": [[1,1e999]]}}", 1,
         "rows.json:1:42: error: the number 1e999 is out of range"},
        {"[1, 2]", 1, "rows.json: error: the rows must be a JSON object of sources"},
        {"{\"d\": {\"columns\": [\"x\",\"y\"], \"rows\": [[1],[2,3,4],[{\"a\":1},[2]],[5,6]]}}", 0,
         "rows.json: warning: 2 row(s) of source 'd' do not hold one value per column (2)"},
    };
    for (auto const& c : cases) {
        auto r = host::chart::renderChart(xml, c.rows, out.string(), "svg", "rows.json");
        EXPECT_EQ(r.exitCode, c.exitCode) << c.rows << "\n" << r.error;
        EXPECT_NE(r.error.find(c.message), std::string::npos) << c.rows << "\n" << r.error;
    }
    // No rows file at all is no rows.
    auto none = host::chart::renderChart(xml, "", out.string(), "svg");
    EXPECT_EQ(none.exitCode, 0) << none.error;
    fs::remove_all(out);
}
