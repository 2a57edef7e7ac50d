// Whole jobs that draw maps and JSON charts: choropleths over the shipped maps with their
// unmatched keys reported, JSON charts from inline values and from a CSV file, and a JSON chart
// template whose second GeoJSON file is missing.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include <nlohmann/json.hpp>

#include "host/dictionary/loader.h"
#include "host/dictionary/registry.h"
#include "host/output/writers.h"
#include "host/runner/job_runner.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class MapJobs : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() /
                  (std::string("ggraph_map_jobs_") +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override {
        host::dictionary::resetDatasets();
        fs::remove_all(folder_);
    }
    void write(std::string const& name, std::string const& text) {
        std::ofstream(folder_ / name, std::ios::binary) << text;
    }
    void load(std::string const& csv) {
        write("data.csv", csv);
        auto loaded = host::dictionary::loadDataset((folder_ / "data.csv").string());
        ASSERT_TRUE(loaded.ok());
        host::dictionary::setActiveDataset(loaded.dataset);
    }
    json run(std::string const& job) {
        host::output::Document document;
        host::runner::JobOptions options;
        options.jobFolder = folder_;
        host::runner::runJobText(job, document, options);
        json items = json::array();
        flatten(json::parse(host::output::toJson(document).dump())["items"], items);
        return items;
    }
    static void flatten(json const& items, json& out) {
        for (auto const& item : items) {
            out.push_back(item);
            if (item.contains("items"))
                flatten(item["items"], out);
        }
    }
    static std::vector<json> ofKind(json const& items, std::string const& kind) {
        std::vector<json> out;
        for (auto const& item : items)
            if (item["kind"] == kind)
                out.push_back(item);
        return out;
    }
    static std::vector<std::string> warnings(json const& items) {
        std::vector<std::string> out;
        for (auto const& m : ofKind(items, "message"))
            if (m["level"] == 2)
                out.push_back(m["text"]);
        return out;
    }
    // How many marks of a role the chart's SVG holds.
    static std::size_t marks(json const& chart, std::string const& role) {
        std::string const svg = chart["svg"];
        std::string const needle = "class=\"" + role + "\"";
        std::size_t n = 0;
        for (auto at = svg.find(needle); at != std::string::npos; at = svg.find(needle, at + 1))
            ++n;
        return n;
    }
    fs::path folder_;
};

constexpr char kMeansGpl[] =
    "BEGIN GPL\n"
    "SOURCE: s = userSource(id(\"graphdataset\"))\n"
    "SOURCE: m = mapSource(map(\"%MAP%\"), key(\"name\"), showAllFeatures())\n"
    "DATA: place = col(source(s), name(\"place\"), unit.category())\n"
    "DATA: income = col(source(s), name(\"MEAN_income\"))\n"
    "ELEMENT: polygon(position(feature(place)), color.interior(income))\n"
    "END GPL.\n";

std::string meansJob(std::string const& map) {
    std::string gpl = kMeansGpl;
    gpl.replace(gpl.find("%MAP%"), 5, map);
    return "GGRAPH /GRAPHDATASET NAME=\"graphdataset\" VARIABLES=place MEAN(income)\n"
           "  /GRAPHSPEC SOURCE=INLINE.\n" +
           gpl;
}

// The template route: VIZMAP names the shipped map, MAPKEY its key property.
std::string templateJob(std::string const& variables, std::string const& name,
                        std::string const& mapping, std::string const& map) {
    return "GGRAPH /GRAPHDATASET NAME=\"graphdataset\" VARIABLES=" + variables +
           "\n  /GRAPHSPEC SOURCE=VIZTEMPLATE(NAME=\"" + name + "\"[LOCATION=LOCAL] MAPPING(" +
           mapping + "))\n  VIZMAP=\"" + map +
           "\"[LOCATION=LOCAL TYPE=DATA MAPKEY=\"name\" SHOWALLFEATURES=YES].\n";
}

TEST_F(MapJobs, AChoroplethOfMeansOverTheStates) {
    load("place,income\nCalifornia,10\ncalifornia,20\nNEW YORK,40\nTexas,5\nWashington DC,7\n");
    json items = run(templateJob("place MEAN(income)", "Choropleth of Means",
                                 "\"key\"=\"place\" \"color\"=\"MEAN_income\"", "UnitedStates"));
    auto charts = ofKind(items, "chart");
    ASSERT_EQ(charts.size(), 1u);
    // California's two cases are one mean; New York matches without regard to case.
    EXPECT_EQ(marks(charts[0], "feature"), 3u);
    EXPECT_GE(marks(charts[0], "feature-no-data"), 48u);
    std::string const svg = charts[0]["svg"];
    EXPECT_NE(svg.find("legend-gradient"), std::string::npos);
    auto said = warnings(items);
    ASSERT_EQ(said.size(), 1u);
    EXPECT_NE(said[0].find("1 key of 'key' matches no feature of map 'UnitedStates' by 'name': "
                           "Washington DC"),
              std::string::npos)
        << said[0];
}

TEST_F(MapJobs, AChoroplethOfMeansOverTheCountriesReportsUnmatchedKeys) {
    load("place,income\nFrance,3\nGermany,4\nJapan,5\nAtlantis,1\nGondor,2\nBrazil,\n");
    json items = run(meansJob("World"));
    auto charts = ofKind(items, "chart");
    ASSERT_EQ(charts.size(), 1u);
    EXPECT_EQ(marks(charts[0], "feature"), 3u);
    EXPECT_EQ(warnings(items),
              (std::vector<std::string>{"Chart: line 5: 2 keys of 'place' match no feature of map "
                                        "'World' by 'name': Atlantis, Gondor"}));
}

TEST_F(MapJobs, EveryMapTemplateIsDrawnFromItsMapping) {
    load(
        "place,income,kind,lon,lat\nOhio,3,a,-83,40\nOhio,5,b,-82.5,39.9\nIowa,4,a,-93.6,41.6\n"
        "Maine,1,b,-69.8,44.3\n");
    struct Case {
        char const* name;
        char const* variables;
        char const* mapping;
        char const* role;
        std::size_t marks;
    } const cases[] = {
        {"Choropleth of Values", "place kind", "\"key\"=\"place\" \"color\"=\"kind\"", "feature",
         3},
        {"Choropleth of Counts", "place", "\"key\"=\"place\"", "feature", 3},
        {"Choropleth of Counts", "place COUNT()", "\"key\"=\"place\" \"count\"=\"COUNT\"",
         "feature", 3},
        {"Choropleth of Means", "place income", "\"key\"=\"place\" \"color\"=\"income\"", "feature",
         3},
        {"Choropleth of Sums", "place SUM(income)", "\"key\"=\"place\" \"color\"=\"SUM_income\"",
         "feature", 3},
        {"Coordinates on a Map", "lon lat kind",
         "\"longitude\"=\"lon\" \"latitude\"=\"lat\" \"color\"=\"kind\"", "point", 4},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        json items = run(templateJob(c.variables, c.name, c.mapping, "United States"));
        auto charts = ofKind(items, "chart");
        ASSERT_EQ(charts.size(), 1u);
        EXPECT_EQ(marks(charts[0], c.role), c.marks);
        EXPECT_TRUE(warnings(items).empty()) << warnings(items)[0];
    }
}

TEST_F(MapJobs, JsonChartsFromInlineValuesAndFromACsvFile) {
    load("x\n1\n");
    write("inline.json", R"({"data": {"values": [{"k": "a", "n": 1}, {"k": "b", "n": 2}]},
                             "mark": "bar", "title": "Inline",
                             "encoding": {"x": {"field": "k", "type": "nominal"},
                                          "y": {"field": "n", "type": "quantitative"}}})");
    fs::create_directories(folder_ / "charts_in");
    write("charts_in/sales.csv", "region,amount\nNorth,5\nSouth,7\nNorth,1\n");
    write("charts_in/sales.json", R"({"data": {"url": "sales.csv"}, "mark": "bar",
                             "encoding": {"x": {"field": "region", "type": "nominal"},
                                          "y": {"field": "amount", "aggregate": "sum"}}})");
    json items =
        run("GGRAPH /GRAPHSPEC SOURCE=VIZJSONFILE(\"inline.json\") LABEL=\"Mine\""
            " /GRAPHSPEC SOURCE=VIZJSONFILE(\"charts_in/sales.json\")"
            " /GRAPHSPEC SOURCE=VIZJSONFILE(\"none.json\").\n");
    auto charts = ofKind(items, "chart");
    ASSERT_EQ(charts.size(), 2u);
    EXPECT_EQ(charts[0]["description"], "Mine");
    EXPECT_EQ(marks(charts[0], "bar"), 2u);
    EXPECT_EQ(charts[1]["description"], "Graph");
    // The CSV's rows, summed by region, relative to the chart file's folder.
    auto const& rows = charts[1]["data"]["jsonchart1"];
    ASSERT_EQ(rows["rows"].size(), 2u);
    EXPECT_EQ(marks(charts[1], "bar"), 2u);
    EXPECT_EQ(warnings(items), (std::vector<std::string>{"File none.json has no access..."}));
}

TEST_F(MapJobs, AJsonTemplateWithAMissingGeoJsonFileWarnsOnceAndDrawsOneChart) {
    load("x\n1\n");
    auto square = [](int x, char const* name, int pop) {
        return "{\"type\": \"Feature\", \"properties\": {\"name\": \"" + std::string(name) +
               "\", \"pop\": " + std::to_string(pop) +
               "}, \"geometry\": {\"type\": \"Polygon\", "
               "\"coordinates\": [[[" +
               std::to_string(x) + ",40],[" + std::to_string(x + 1) + ",40],[" +
               std::to_string(x + 1) + ",41],[" + std::to_string(x) + ",41],[" + std::to_string(x) +
               ",40]]]}}";
    };
    write("one.geojson", square(0, "One", 5));
    write("three.geojson", square(2, "Three", 9));
    write("map.json", R"({"mark": "geoshape", "title": "Squares",
                          "encoding": {"color": {"field": "pop", "type": "quantitative"}}})");
    json items = run(
        "GGRAPH /GRAPHSPEC SOURCE=VIZJSONTEMPLATE(\"map.json\") SOURCE=GEOJSONFILE(\"one.geojson\")"
        " SOURCE=GEOJSONFILE(\"two.geojson\") SOURCE=GEOJSONFILE(\"three.geojson\").\n");
    auto charts = ofKind(items, "chart");
    ASSERT_EQ(charts.size(), 1u);
    EXPECT_EQ(marks(charts[0], "feature"), 2u);
    EXPECT_EQ(warnings(items), (std::vector<std::string>{"File two.geojson has no access..."}));

    // GeoJSON files without a template: the route ends at the template, whose name is empty.
    json alone = run("GGRAPH /GRAPHSPEC SOURCE=GEOJSONFILE(\"one.geojson\").\n");
    EXPECT_TRUE(ofKind(alone, "chart").empty());
    EXPECT_EQ(warnings(alone), (std::vector<std::string>{"File  has no access..."}));
}

}  // namespace
