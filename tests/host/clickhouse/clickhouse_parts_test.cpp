// The parts of the ClickHouse source that need no server: addresses, credentials, the server's
// answers, the columns a command reads, and the screening of missing values in SQL.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "host/clickhouse/connection.h"
#include "host/clickhouse/job_columns.h"
#include "host/clickhouse/query_builder.h"
#include "host/clickhouse/remote_table.h"
#include "host/clickhouse/tsv.h"
#include "host/dictionary/job_data.h"
#include "host/dictionary/loader.h"
#include "host/syntax/tokenizer.h"

namespace hc = host::clickhouse;

namespace {

TEST(ClickHouseAddress, ReadsHostPortDatabaseAndTableAndRefusesTheRest) {
    std::string error;
    auto full = hc::parseAddress("clickhouse://db.example:9123/sales.orders", error);
    ASSERT_TRUE(full) << error;
    EXPECT_EQ(full->host, "db.example");
    EXPECT_EQ(full->port, 9123);
    EXPECT_EQ(full->database, "sales");
    EXPECT_EQ(full->table, "orders");
    auto shortForm = hc::parseAddress("clickhouse://localhost/orders", error);
    ASSERT_TRUE(shortForm) << error;
    EXPECT_EQ(shortForm->port, 8123);
    EXPECT_EQ(shortForm->database, "default");

    for (char const* bad :
         {"clickhouse://host:80x/db.t", "clickhouse://host:0/db.t", "clickhouse://host:8123/",
          "clickhouse:///db.t", "clickhouse://host:8123/db."}) {
        error.clear();
        EXPECT_FALSE(hc::parseAddress(bad, error)) << bad;
        EXPECT_NE(error.find(bad), std::string::npos) << error;
    }
    EXPECT_FALSE(hc::isAddress("data/clickhouse.csv"));
    EXPECT_EQ(hc::quoteName("a`b"), "`a\\`b`");
    EXPECT_EQ(hc::quoteText("it's"), "'it\\'s'");
}

TEST(ClickHouseCredentials, ComeFromTheEnvironmentOrAFile) {
    setenv("GGRAPH_CLICKHOUSE_USER", "ann", 1);
    setenv("GGRAPH_CLICKHOUSE_PASSWORD", "pw", 1);
    std::string error;
    auto fromEnvironment = hc::credentialsFromEnvironment(error);
    EXPECT_EQ(fromEnvironment.user, "ann");
    EXPECT_EQ(fromEnvironment.password, "pw");

    auto const file = std::filesystem::temp_directory_path() / "ggraph-credentials-test";
    std::ofstream(file) << "# for the warehouse\nuser = bob\npassword= s3 cret \n";
    setenv("GGRAPH_CLICKHOUSE_CREDENTIALS", file.c_str(), 1);
    auto fromFile = hc::credentialsFromEnvironment(error);
    EXPECT_TRUE(error.empty()) << error;
    EXPECT_EQ(fromFile.user, "bob");
    EXPECT_EQ(fromFile.password, "s3 cret");
    std::filesystem::remove(file);
    hc::credentialsFromEnvironment(error);
    EXPECT_NE(error.find("cannot be read"), std::string::npos);
    unsetenv("GGRAPH_CLICKHOUSE_CREDENTIALS");
    unsetenv("GGRAPH_CLICKHOUSE_USER");
    unsetenv("GGRAPH_CLICKHOUSE_PASSWORD");
}

TEST(ClickHouseAnswers, FieldsEscapesNullsNumbersAndArrays) {
    hc::TsvReader reader("1\ta\\tb\\\\c\t\\N\n-inf\t\t[1.5,-2,3e2]\n");
    std::vector<std::string_view> fields;
    ASSERT_TRUE(reader.next(fields));
    ASSERT_EQ(fields.size(), 3u);
    EXPECT_EQ(hc::number(fields[0]), 1.0);
    EXPECT_EQ(hc::unescape(fields[1]), "a\tb\\c");
    EXPECT_TRUE(hc::isNull(fields[2]));
    EXPECT_FALSE(hc::number(fields[2]));
    ASSERT_TRUE(reader.next(fields));
    EXPECT_EQ(hc::number(fields[0]), -INFINITY);
    EXPECT_EQ(fields[1], "");
    std::vector<double> values;
    ASSERT_TRUE(hc::numberArray(fields[2], values));
    EXPECT_EQ(values, (std::vector<double>{1.5, -2.0, 300.0}));
    EXPECT_TRUE(hc::numberArray("[]", values));
    EXPECT_TRUE(values.empty());
    EXPECT_FALSE(hc::numberArray("[1,x]", values));
    EXPECT_FALSE(hc::number("12abc"));
    EXPECT_TRUE(std::isnan(*hc::number("nan")));
    EXPECT_FALSE(reader.next(fields));
}

TEST(ClickHouseTypes, NumbersStringsAndTheRest) {
    EXPECT_EQ(hc::columnKind("Nullable(Int64)"), hc::ColumnKind::Number);
    EXPECT_EQ(hc::columnKind("Decimal(9, 2)"), hc::ColumnKind::Number);
    EXPECT_EQ(hc::columnKind("LowCardinality(String)"), hc::ColumnKind::String);
    EXPECT_EQ(hc::columnKind("FixedString(3)"), hc::ColumnKind::String);
    EXPECT_EQ(hc::columnKind("Enum8('a' = 1)"), hc::ColumnKind::String);
    EXPECT_EQ(hc::columnKind("Array(Float64)"), hc::ColumnKind::Unsupported);
    EXPECT_EQ(hc::columnKind("DateTime"), hc::ColumnKind::Unsupported);
}

class ClickHouseColumns : public ::testing::Test {
protected:
    void SetUp() override {
        auto loaded =
            host::dictionary::loadDataset(GGRAPH_SOURCE_DIR "/tests/clickhouse/data/survey.csv");
        ASSERT_TRUE(loaded.ok());
        dataset_ = loaded.dataset;
    }
    hc::JobColumns columns(std::string const& command) {
        return hc::jobColumns(*dataset_, host::syntax::tokenize(command).tokens);
    }
    std::vector<std::string> names(std::vector<int> const& indices) {
        std::vector<std::string> list;
        for (int index : indices)
            list.push_back(dataset_->variables[static_cast<std::size_t>(index)]->hostData().name);
        return list;
    }
    std::shared_ptr<host::dictionary::Dataset> dataset_;
};

TEST_F(ClickHouseColumns, AreTheVariablesTheCommandNames) {
    auto plain = columns(
        "/GRAPHDATASET NAME=\"g\" VARIABLES=cat MEAN(x) DATAFILTER=region(VALUES=\"north\") "
        "CASELIMIT=50 /GRAPHSPEC SOURCE=INLINE");
    EXPECT_EQ(names(plain.used), (std::vector<std::string>{"cat", "region", "x"}));
    EXPECT_EQ(names(plain.filtered), (std::vector<std::string>{"region"}));
    EXPECT_EQ(plain.caseLimit, 50);

    // Ranges, sets by their members, split and weight variables, and ALL.
    dataset_->split = {1};
    dataset_->weight = 7;
    auto ranged = columns("/GRAPHDATASET VARIABLES=sex TO x $owns COUNT()");
    EXPECT_EQ(names(ranged.used),
              (std::vector<std::string>{"grp", "sex", "region", "x", "w", "d1", "d2"}));
    EXPECT_TRUE(ranged.filtered.empty());
    EXPECT_FALSE(ranged.caseLimit);
    EXPECT_EQ(columns("/GRAPHDATASET VARIABLES=ALL").used.size(), dataset_->variables.size());
}

TEST_F(ClickHouseColumns, ScreenMissingValuesAsTheDictionaryDefinesThem) {
    host::dictionary::Variable x;
    x.missingNumbers = {999};
    x.hasMissingRange = true;
    x.missingLow = -99;
    x.missingHigh = -90;
    std::string const test = hc::validExpression({"x", true}, x);
    EXPECT_NE(test.find("isNotNull(`x`)"), std::string::npos) << test;
    EXPECT_NE(test.find("NOT IN (toFloat64(999))"), std::string::npos) << test;
    EXPECT_NE(test.find(">= toFloat64(-99) AND"), std::string::npos) << test;
    // A column that can hold neither NULL nor NaN, without missing values, needs no test.
    EXPECT_EQ(hc::validExpression(hc::remoteColumn("k", "Int32"), host::dictionary::Variable{}),
              "1");
    EXPECT_EQ(hc::validExpression(hc::remoteColumn("v", "Float64"), host::dictionary::Variable{}),
              "(NOT isNaN(`v`))");

    // The slots are the numeric summary variables, as the cube makes them; keys put splits first.
    host::aggregation::CubePlan plan;
    plan.breaks.push_back({AggregationVariable::Kind::CategorySet, {10, 11}});
    AggregationStatistic median(TableEncryptionCodes::STAT_MEDIAN);
    median.SetVarIndex(5);
    AggregationStatistic above(TableEncryptionCodes::STAT_PCT_GT);
    above.SetVarIndex(6);
    AggregationStatistic ofText(TableEncryptionCodes::STAT_MEAN);
    ofText.SetVarIndex(3);
    plan.statistics = {AggregationStatistic(TableEncryptionCodes::STAT_COUNT), median, above,
                       ofText};
    dataset_->split = {1};
    hc::JobColumns job;
    job.filtered = {4};
    hc::GroupSpec const spec = hc::groupSpec(plan, *dataset_, job);
    EXPECT_EQ(spec.keys, (std::vector<int>{1, 10, 11, 4}));
    ASSERT_EQ(spec.slots.size(), 2u);
    EXPECT_TRUE(spec.slots[0].keepValues);
    EXPECT_FALSE(spec.slots[1].keepValues);
    EXPECT_EQ(spec.limitStatistics, (std::vector<std::size_t>{2}));
}

TEST(ClickHouseOpen, ABadAddressOrServerGivesAFatalDatasetAndAnError) {
    for (std::string const& address :
         {"clickhouse://host:nope/db.t", "clickhouse://127.0.0.1:1/db.t"}) {
        auto result = host::dictionary::loadSource(address, "");
        EXPECT_FALSE(result.ok());
        ASSERT_FALSE(result.messages.empty());
        EXPECT_EQ(result.messages.back().level, host::dictionary::Diagnostic::Error);
        EXPECT_EQ(result.messages.back().file, address);
    }
}

}  // namespace
