// The rows that `ggraph render` draws a chart from: bad rows files are errors naming the file,
// line and column; rows that do not fit their columns are drawn with a warning.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
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

TEST(ChartCli, RowsOfABigSourceAreReadFromTheCsvFileItNames) {
    fs::path const dir = fs::temp_directory_path() / ("ggraph_chart_cli_csv_" + std::to_string(::getpid()));
    fs::create_directories(dir / "charts");
    {
        std::ofstream csv(dir / "charts" / "chart-001-d.csv");
        csv << "x,y,$CASENUM\n1,2,1\n2,,2\n3,4.5,3\n4,5,4\n";
    }
    std::string const rowsPath = (dir / "output-rows.json").string();
    auto render = [&](std::string const& rows) {
        return host::chart::renderChart(chartXml(), rows, (dir / "out").string(), "svg", rowsPath);
    };
    auto drawn = render(R"({"d": {"columns": ["x", "y", "$CASENUM"],
                                "file": "charts/chart-001-d.csv", "rowCount": 4}})");
    ASSERT_EQ(drawn.exitCode, 0) << drawn.error;
    EXPECT_EQ(drawn.error, "");
    std::ifstream svgFile(drawn.output.substr(0, drawn.output.find('\n')));
    std::string const svg((std::istreambuf_iterator<char>(svgFile)), {});
    std::size_t points = 0;
    for (auto at = svg.find("class=\"point\""); at != std::string::npos;
         at = svg.find("class=\"point\"", at + 1))
        ++points;
    EXPECT_EQ(points, 3u) << svg;  // the row without y is not drawn

    // A count that differs is said; a file that is not there stops the render.
    auto miscounted = render(R"({"d": {"columns": ["x", "y"], "file": "charts/chart-001-d.csv",
                                     "rowCount": 7}})");
    EXPECT_EQ(miscounted.exitCode, 0);
    EXPECT_NE(miscounted.error.find("holds 4 rows of source 'd', not the 7 that rowCount says"),
              std::string::npos)
        << miscounted.error;
    auto missing = render(R"({"d": {"columns": ["x", "y"], "file": "charts/none.csv"}})");
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.error.find("the rows of source 'd' are to come from"), std::string::npos)
        << missing.error;
    fs::remove_all(dir);
}
