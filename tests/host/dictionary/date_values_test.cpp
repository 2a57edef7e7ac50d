// Dates in the data: ISO 8601 text to the command language's date values and back, and date
// columns read from CSV with and without a dictionary.
#include <gtest/gtest.h>

#include <unistd.h>
#include <filesystem>
#include <fstream>

#include "host/dictionary/dataset.h"
#include "host/dictionary/date_values.h"
#include "host/dictionary/describe.h"
#include "host/dictionary/formats.h"
#include "host/dictionary/loader.h"

namespace hd = host::dictionary;

TEST(DateValues, IsoTextToSecondsSince1582) {
    // The first day of the count is 0; the Unix epoch lies 141,428 days later.
    EXPECT_EQ(hd::parseIsoDate("1582-10-14"), 0.0);
    EXPECT_EQ(hd::parseIsoDate("1970-01-01"), 141428.0 * 86400);
    EXPECT_EQ(hd::parseIsoDate("2000-02-29"), hd::valueFromCivil(2000, 2, 29));
    hd::DateKind kind;
    auto dt = hd::parseIsoDate(" 2024-03-01T09:30:15.5 ", &kind);
    ASSERT_TRUE(dt);
    EXPECT_EQ(kind, hd::DateKind::DateTime);
    EXPECT_EQ(*dt, hd::valueFromCivil(2024, 3, 1) + 9 * 3600 + 30 * 60 + 15.5);
    EXPECT_EQ(hd::parseIsoDate("2024-03-01 11:30+02:00"), hd::parseIsoDate("2024-03-01T09:30Z"));
    EXPECT_EQ(hd::parseIsoTime("23:59:59"), 86399.0);
    EXPECT_EQ(hd::parseIsoTime("07:05"), 7 * 3600.0 + 300);

    for (char const* bad :
         {"2023-02-29", "1900-02-29", "2024-13-01", "2024-04-31", "2024-1-01", "2024-03-01T24:00",
          "2024-03-01T10:60", "2024-03-01x", "01/03/2024", "", "2024-03-01T10:00+2"})
        EXPECT_FALSE(hd::parseIsoDate(bad)) << bad;
    EXPECT_FALSE(hd::parseDateValue("2024-03-01T10:00", hd::DateKind::Date));

    // Back to calendar parts, also before the start of the count.
    for (auto [y, m, d] : {std::tuple{1582, 10, 14}, {1600, 2, 29}, {2024, 12, 31}, {1500, 1, 1}}) {
        auto t = hd::civilFromValue(hd::valueFromCivil(y, m, d, 3723));
        EXPECT_EQ(std::tuple(t.year, t.month, t.day, t.hour, t.minute), std::tuple(y, m, d, 1, 2));
        EXPECT_DOUBLE_EQ(t.second, 3);
    }
    EXPECT_EQ(hd::isoText(*hd::parseIsoDate("2024-03-01T09:30:05"), hd::DateKind::DateTime),
              "2024-03-01 09:30:05");
    EXPECT_EQ(hd::isoText(3600 * 25 + 61, hd::DateKind::Time), "25:01:01");
}

namespace {

class DateColumns : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ =
            std::filesystem::temp_directory_path() / ("date_columns_" + std::to_string(::getpid()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    std::string write(std::string const& name, std::string const& text) {
        auto path = dir_ / name;
        std::ofstream(path) << text;
        return path.string();
    }
    static std::string messages(hd::LoadResult const& r) {
        std::string out;
        for (auto const& m : r.messages) out += m.toString() + "\n";
        return out;
    }
    static hd::Variable const& var(hd::LoadResult const& r, std::size_t i) {
        return r.dataset->variables[i]->hostData();
    }
    static double cell(hd::LoadResult const& r, std::size_t column, std::size_t row) {
        return r.dataset->columns[column][row];
    }

    std::filesystem::path dir_;
};

}  // namespace

TEST_F(DateColumns, DictionaryTypesAndDateFormatsReadIsoText) {
    std::string csv = write("d.csv",
                            "day,at,clock,stamp,plain\n"
                            "2024-01-31,2024-01-31T08:00:00,08:15,2024-02-01,x\n"
                            "2024-02-30,2024-02-01 09:00,25:00,13000000000,y\n"
                            ",,,,z\n");
    write("d.csv.json",
          R"({"fields": [
               {"name": "day", "type": "date"},
               {"name": "at", "type": "datetime"},
               {"name": "clock", "type": "time"},
               {"name": "stamp", "type": "number", "printFormat": {"type": "ADATE", "width": 10}},
               {"name": "plain", "type": "string"}]})");
    auto r = hd::loadDataset(csv);
    ASSERT_TRUE(r.ok()) << messages(r);
    EXPECT_EQ(var(r, 0).width, 0);
    EXPECT_EQ(hd::formatToString(var(r, 0).format), "SDATE10");
    EXPECT_EQ(hd::formatToString(var(r, 1).format), "YMDHMS19");
    EXPECT_EQ(hd::formatToString(var(r, 2).format), "TIME8");
    EXPECT_EQ(hd::formatToString(var(r, 3).format), "ADATE10");  // the dictionary's own format
    EXPECT_EQ(cell(r, 0, 0), hd::valueFromCivil(2024, 1, 31));
    EXPECT_EQ(cell(r, 1, 1), hd::valueFromCivil(2024, 2, 1, 9 * 3600));
    EXPECT_EQ(cell(r, 2, 0), 8 * 3600 + 15 * 60);
    EXPECT_EQ(cell(r, 3, 0), hd::valueFromCivil(2024, 2, 1));
    EXPECT_EQ(cell(r, 3, 1), 13000000000.0);  // a number is a date value already
    double const sysmis = KWEL_Globals::sysmis();
    EXPECT_EQ(cell(r, 0, 2), sysmis);  // empty
    // Bad values are missing, reported with the line they stand on.
    EXPECT_EQ(cell(r, 0, 1), sysmis);
    EXPECT_EQ(cell(r, 2, 1), sysmis);
    std::string text = messages(r);
    EXPECT_NE(text.find("d.csv:3: warning: column \"day\": \"2024-02-30\" is not a date"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("\"25:00\" is not a time"), std::string::npos) << text;
    EXPECT_EQ(var(r, 4).width, 1);

    // A record over several lines moves the lines of those after it.
    std::string notes = write("m.csv",
                              "note,day\n"
                              "\"one\ntwo\nthree\",2024-01-31\n"
                              "\n"
                              "plain,2024-02-30\n");
    write("m.csv.json", R"({"fields": [{"name": "note", "type": "string"},
                                       {"name": "day", "type": "date"}]})");
    auto m = hd::loadDataset(notes);
    ASSERT_TRUE(m.ok()) << messages(m);
    EXPECT_NE(messages(m).find("m.csv:6: warning: column \"day\": \"2024-02-30\""),
              std::string::npos)
        << messages(m);
}

TEST_F(DateColumns, IsoColumnsWithoutDictionaryAreInferred) {
    std::string csv = write("n.csv",
                            "when,stamp,mixed,code\n"
                            "2024-05-01,2024-05-01,2024-05-01,2024\n"
                            "2024-05-02,2024-05-02T12:00:00,soon,2025\n"
                            ",2024-05-03,2024-05-03,2026\n");
    auto r = hd::loadDataset(csv);
    ASSERT_TRUE(r.ok()) << messages(r);
    EXPECT_TRUE(r.messages.empty()) << messages(r);
    EXPECT_EQ(hd::formatToString(var(r, 0).format), "SDATE10");
    EXPECT_EQ(cell(r, 0, 1), hd::valueFromCivil(2024, 5, 2));
    EXPECT_EQ(hd::formatToString(var(r, 1).format), "YMDHMS19");  // one date-time makes all so
    EXPECT_EQ(cell(r, 1, 1), hd::valueFromCivil(2024, 5, 2, 12 * 3600));
    EXPECT_NE(var(r, 2).width, 0);  // one value is no date: the column stays text
    EXPECT_EQ(hd::formatToString(var(r, 3).format).substr(0, 1), "F");
    // describe shows the date format.
    EXPECT_NE(hd::describeJson(*r.dataset).find("\"SDATE10\""), std::string::npos);
}
