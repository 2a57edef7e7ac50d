// JSON chart specifications drawn through the engine: the rows and GPL they become, checked on
// the scene; what the subset lacks is named.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "host/vizjson/json_rows.h"
#include "host/vizjson/vega_lite.h"
#include "support/scene_rows.h"

namespace {

using host::vizjson::translateText;

host::chart::Scene draw(host::vizjson::Translation& t) {
    EXPECT_FALSE(t.gpl.empty());
    XDocument doc(t.gpl, true, true);
    for (auto const& [name, contents] : t.maps) doc.setVIZMap(name, contents);
    return test::scene(doc, t.rows.get());
}

std::vector<double> values(host::chart::Scene const& s, std::string const& role) {
    std::vector<double> out;
    for (auto const& m : test::marks(s, role)) out.push_back(m.value);
    return out;
}

TEST(VegaLite, BarsOfAnAggregateOverInlineValues) {
    auto t = translateText(R"({
      "data": {"values": [{"a": "x", "b": 2}, {"a": "y", "b": 5}, {"a": "x", "b": 4}, {"a": "y", "b": null}]},
      "mark": "bar",
      "encoding": {"x": {"field": "a", "type": "nominal"},
                   "y": {"field": "b", "type": "quantitative", "aggregate": "mean"}},
      "title": "Means"})",
                           ".");
    EXPECT_TRUE(t.warnings.empty()) << t.warnings[0];
    EXPECT_EQ(t.description, "Means");
    auto s = draw(t);
    EXPECT_EQ(values(s, "bar"), (std::vector<double>{3, 5}));
    EXPECT_EQ(test::texts(s, "title"), (std::vector<std::string>{"Means"}));
}

TEST(VegaLite, AHistogramCountsBinsAndMonthsKeepTheirOrder) {
    auto t = translateText(R"({
      "data": {"values": [{"v": 1}, {"v": 2}, {"v": 2.5}, {"v": 9}]},
      "mark": "bar",
      "encoding": {"x": {"field": "v", "bin": {"maxbins": 2}}, "y": {"aggregate": "count"}}})",
                           ".");
    auto s = draw(t);
    auto counts = values(s, "bar");
    EXPECT_EQ(counts, (std::vector<double>{3, 1}));

    auto months = translateText(R"({
      "data": {"values": [{"d": "2021-03-05", "n": 1}, {"d": "2021-01-09", "n": 2}, {"d": "2020-03-01", "n": 4}]},
      "mark": "line",
      "encoding": {"x": {"field": "d", "timeUnit": "month"}, "y": {"field": "n", "aggregate": "sum"}}})",
                                ".");
    EXPECT_NE(months.gpl.find("sort.values(\"Jan\", \"Feb\", \"Mar\""), std::string::npos)
        << months.gpl;
    auto ms = draw(months);
    EXPECT_EQ(test::texts(ms, "tick-label-1"), (std::vector<std::string>{"Jan", "Mar"}));
}

TEST(VegaLite, RowsFromACsvFileAndWarningsForWhatTheSubsetLacks) {
    auto dir = std::filesystem::temp_directory_path() / "vega_lite_test";
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "pets.csv") << "kind,n\ncat,3\ndog,\"4\"\n\"bird, small\",1\n";
    auto t = translateText(R"({
      "data": {"url": "pets.csv"},
      "transform": [{"filter": "datum.n > 1"}],
      "mark": {"type": "point", "tooltip": true},
      "encoding": {"x": {"field": "kind", "type": "nominal"}, "y": {"field": "n", "type": "quantitative"},
                   "opacity": {"value": 0.5}}})",
                           dir.string());
    EXPECT_EQ(t.warnings, (std::vector<std::string>{
                              "\"transform\" is not supported; it is ignored",
                              "encoding channel \"opacity\" is not supported; it is ignored"}));
    auto s = draw(t);
    EXPECT_EQ(values(s, "point").size(), 3u);

    auto missing = translateText(R"({"data": {"url": "none.csv"}, "mark": "tick",
                                     "encoding": {"x": {"field": "a"}}})",
                                 dir.string());
    EXPECT_EQ(missing.warnings,
              (std::vector<std::string>{"data.url \"none.csv\" cannot be read",
                                        "mark \"tick\" is not supported; the layer is left out"}));
    EXPECT_TRUE(missing.gpl.empty());
    EXPECT_EQ(translateText("{not json", ".").warnings,
              (std::vector<std::string>{"the JSON chart is not valid JSON"}));
}

TEST(VegaLite, ArcsAreSlicesOfAPie) {
    auto t = translateText(R"({"data": {"values": [{"c": "a", "n": 1}, {"c": "b", "n": 3}]},
      "mark": "arc", "encoding": {"theta": {"field": "n", "type": "quantitative"},
                                  "color": {"field": "c", "type": "nominal"}}})",
                           ".");
    auto s = draw(t);
    EXPECT_EQ(values(s, "slice"), (std::vector<double>{25, 75}));
}

TEST(VegaLite, RectsAreHeatMapCellsOfBinnedCounts) {
    auto t = translateText(
        R"({"data": {"values": [{"a": 1, "b": 1}, {"a": 1.2, "b": 1.1}, {"a": 9, "b": 9}]},
      "mark": "rect", "encoding": {"x": {"field": "a", "bin": {"maxbins": 2}, "type": "quantitative"},
                                   "y": {"field": "b", "bin": true, "type": "quantitative"},
                                   "color": {"aggregate": "count"}}})",
        ".");
    EXPECT_TRUE(t.warnings.empty()) << t.warnings[0];
    auto s = draw(t);
    std::vector<double> counts = values(s, "cell");
    std::sort(counts.begin(), counts.end());
    EXPECT_EQ(counts, (std::vector<double>{1, 2}));
    // Cells of a category and a number are not drawn, and the warning says so.
    auto mixed =
        translateText(R"({"data": {"values": [{"a": "x", "b": 2, "v": 1}]}, "mark": "rect",
      "encoding": {"x": {"field": "a", "type": "nominal"}, "y": {"field": "b", "type": "quantitative"},
                   "color": {"field": "v", "type": "quantitative"}}})",
                      ".");
    ASSERT_EQ(mixed.warnings.size(), 1u);
    EXPECT_NE(mixed.warnings[0].find("left out"), std::string::npos);
    EXPECT_TRUE(mixed.gpl.empty());
}

TEST(VegaLite, RectsOfTwoCategoriesAreCellsColouredByTheirAggregate) {
    auto t = translateText(R"({"data": {"values": [{"a": "x", "b": "p", "v": 1},
        {"a": "x", "b": "p", "v": 3}, {"a": "x", "b": "q", "v": 5}, {"a": "y", "b": "p", "v": 7}]},
      "mark": "rect",
      "encoding": {"x": {"field": "a", "type": "nominal"}, "y": {"field": "b", "type": "ordinal"},
                   "color": {"field": "v", "type": "quantitative", "aggregate": "mean"}}})",
                           ".");
    EXPECT_TRUE(t.warnings.empty()) << t.warnings[0];
    // A row per pair of categories with its mean, a polygon over both categories coloured by it.
    EXPECT_NE(t.gpl.find("ELEMENT: polygon(position(v2*v3), color.interior(v1))"),
              std::string::npos)
        << t.gpl;
    EXPECT_NE(t.gpl.find("label(\"Mean of v\")"), std::string::npos) << t.gpl;
    std::vector<std::string> sources;
    t.rows->GetSourceNames(sources);
    EXPECT_EQ(t.rows->GetRowCount(sources.at(0)), 3u);
    // Drawn: a cell per pair that occurs, coloured by its mean, on two axes of categories.
    auto s = draw(t);
    EXPECT_EQ(test::marks(s, "polygon").size(), 3u);
    EXPECT_EQ(test::marks(s, "tick-label-1").size(), 2u);
    EXPECT_EQ(test::marks(s, "tick-label-2").size(), 2u);
    EXPECT_TRUE(s.warnings.empty()) << s.warnings[0];
}

TEST(VegaLite, GeoshapeLayersTakeTheGivenGeoJsonAndColourByAProperty) {
    std::string const a = R"({"type": "Feature", "properties": {"name": "A", "pop": 10},
      "geometry": {"type": "Polygon", "coordinates": [[[0,0],[1,0],[1,1],[0,1],[0,0]]]}})";
    std::string const b = R"({"type": "FeatureCollection", "features": [
      {"type": "Feature", "properties": {"name": "B", "pop": 20},
       "geometry": {"type": "Polygon", "coordinates": [[[2,0],[3,0],[3,1],[2,1],[2,0]]]}},
      {"type": "Feature", "properties": {"name": "C"},
       "geometry": {"type": "Polygon", "coordinates": [[[4,0],[5,0],[5,1],[4,1],[4,0]]]}}]})";
    auto t = translateText(R"({"layer": [{"mark": "geoshape",
       "encoding": {"color": {"field": "properties.pop", "type": "quantitative"}}}]})",
                           ".", {{"a.geojson", a}, {"b.geojson", b}});
    EXPECT_TRUE(t.warnings.empty()) << t.warnings[0];
    auto s = draw(t);
    EXPECT_EQ(values(s, "feature"), (std::vector<double>{10, 20}));
    EXPECT_EQ(test::marks(s, "feature-no-data").size(), 1u);
}

TEST(JsonRows, TimeUnitsCutDatesAndCsvCellsKeepTheirKind) {
    using host::vizjson::timeUnitValue;
    EXPECT_EQ(timeUnitValue("2021-03-05", "year"), 2021);
    EXPECT_EQ(timeUnitValue("2021-03-05T10:30", "yearmonth"), "2021-03");
    EXPECT_EQ(timeUnitValue("2021-03-05", "day"), "Fri");
    EXPECT_EQ(timeUnitValue("2021-11-05", "quarter"), "Q4");
    EXPECT_EQ(timeUnitValue(86400000.0 * 31, "month"), "Feb");
    EXPECT_TRUE(timeUnitValue("soon", "year").is_null());
    EXPECT_TRUE(timeUnitValue("2021-13-01", "month").is_null());
    auto rows = host::vizjson::parseCsv("a,b\n1,x\n\"2,5\",\n");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["a"], 1.0);
    EXPECT_EQ(rows[0]["b"], "x");
    EXPECT_EQ(rows[1]["a"], "2,5");
    EXPECT_TRUE(rows[1]["b"].is_null());
    EXPECT_EQ(host::vizjson::fieldValue({{"properties", {{"pop", 3}}}}, "properties.pop"), 3);
    EXPECT_EQ(host::vizjson::fieldValue({{"a.b", 4}}, "a\\.b"), 4);
}

}  // namespace

TEST(VegaLite, PointsSizedByAFieldHaveASizeKey) {
    auto t = translateText(R"({"data": {"values": [{"a": 1, "b": 2, "n": 10},
                                                   {"a": 2, "b": 1, "n": 40}]},
      "mark": "circle",
      "encoding": {"x": {"field": "a", "type": "quantitative"},
                   "y": {"field": "b", "type": "quantitative"},
                   "size": {"field": "n", "type": "quantitative", "title": "People"}}})",
                           ".");
    EXPECT_TRUE(t.warnings.empty()) << t.warnings[0];
    auto s = draw(t);
    auto p = test::marks(s, "point");
    ASSERT_EQ(p.size(), 2u);
    EXPECT_LT(p[0].w, p[1].w);  // n 10 < 40
    EXPECT_EQ(test::texts(s, "legend-title"), std::vector<std::string>{"People"});
}
