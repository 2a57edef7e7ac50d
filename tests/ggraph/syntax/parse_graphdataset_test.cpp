// GRAPHDATASET through the real tokenizer against a real dictionary: keywords, variable lists,
// summary functions, TRANSFORM, CSVFILE and DATAFILTER, and what lands in the model.
#include <gtest/gtest.h>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/data/ggraph_data_set_data.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "platform/aggregation.h"
#include "support/employees.h"
#include "support/parse_harness.h"

namespace {

constexpr char kBlock[] = "\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n";

std::unique_ptr<test::ParsedCommand> parseDataSet(std::string const& subcommand) {
    return test::parse("GGRAPH /GRAPHDATASET " + subcommand + " /GRAPHSPEC SOURCE=INLINE." + kBlock);
}

GGraphDataSet* onlyDataSet(test::ParsedCommand& run) {
    auto& aggregated = run.settings().GetAggregatedDataSets();
    auto& unaggregated = run.settings().GetUnAggregatedDataSets();
    EXPECT_EQ(aggregated.size() + unaggregated.size(), 1u);
    if (!aggregated.empty()) return aggregated.front();
    return unaggregated.empty() ? nullptr : unaggregated.front();
}

std::vector<std::string> variableNames(GGraphDataSet const& dataSet) {
    std::vector<std::string> names;
    for (GGraphVariable const* v : dataSet.GetVariables()) names.push_back(v->GetVariableName());
    return names;
}

using Names = std::vector<std::string>;

}  // namespace

class GraphDataSetSubcommand : public test::EmployeesTest {};

TEST_F(GraphDataSetSubcommand, KeywordsFillTheDataSetAndItIsFiledByItsFunctions) {
    auto run = parseDataSet(
        "NAME=\"sales\" DATASET=* VARIABLES=jobcat MEAN(salary) MISSING=VARIABLEWISE "
        "REPORTMISSING=YES CASELIMIT=100");
    ASSERT_TRUE(run->parsed) << run->onlyMessage().text;
    EXPECT_TRUE(run->messages().empty());
    ASSERT_EQ(run->settings().GetAggregatedDataSets().size(), 1u);
    GGraphDataSet& set = *run->settings().GetAggregatedDataSets()[0];
    EXPECT_EQ(set.GetSourceName(), "sales");
    EXPECT_EQ(set.GetDataSetHandle(), "*");
    EXPECT_EQ(set.GetMissing(), GGraphDataSet::VARIABLEWISE);
    EXPECT_TRUE(set.GetReportMissing());
    EXPECT_EQ(set.data().GetCaseLimit(true), 100u);
    EXPECT_EQ(variableNames(set), (Names{"jobcat"}));
    ASSERT_EQ(set.GetStatistics().size(), 1u);
    EXPECT_EQ(set.GetStatistics()[0]->GetAggregationStatistic()->GetSummaryStatistic(),
              TableEncryptionCodes::STAT_MEAN);

    // Without a summary function the data set is case-level: the case number and the weight
    // variable of the data follow the listed variables.
    auto cases = parseDataSet("NAME=\"c\" VARIABLES=salary jobcat");
    GGraphDataSet* unaggregated = onlyDataSet(*cases);
    ASSERT_NE(unaggregated, nullptr);
    ASSERT_EQ(unaggregated->GetVariables().size(), 4u);
    EXPECT_TRUE(unaggregated->GetVariables()[2]->isCaseNumVariable());
    EXPECT_TRUE(unaggregated->GetVariables()[3]->isWeightVariable());
}

TEST_F(GraphDataSetSubcommand, BadKeywordValues) {
    auto pairwise = parseDataSet("NAME=\"g\" VARIABLES=jobcat COUNT() MISSING=PAIRWISE");
    EXPECT_TRUE(pairwise->parsed);  // reported, and the subcommand still completes
    EXPECT_EQ(pairwise->onlyMessage().text, "SubCmd GRAPHDATASET. Unknown token PAIRWISE.");
    EXPECT_EQ(onlyDataSet(*pairwise)->GetMissing(), GGraphDataSet::LISTWISE);

    struct Case {
        char const* subcommand;
        char const* text;
    } const failures[] = {
        {"NAME=\"g\" CASELIMIT=-1 VARIABLES=jobcat",
         "The value of the CASELIMIT keyword must be a non-negative integer value."},
        {"NAME=\"g\" CASELIMIT=2.5 VARIABLES=jobcat",
         "The value of the CASELIMIT keyword must be a non-negative integer value."},
        {"NAME=\"1st\" VARIABLES=jobcat",
         "The GRAPHDATASET subcommand contains an invalid value (1st) for the NAME keyword."},
        {"VARIABLES=jobcat", "Missing dataSet."},
        {"NAME=\"g\" CSVFILE=\"a.csv\" CSVFILES=\"b.csv\"",
         "SubCmd GRAPHDATASET has duplicate CSVFILES attribute."},
        {"NAME=\"g\" DATASET=other VARIABLES=jobcat",
         "The specified KWEL dataset handle other doesn't exist."},
        {"NAME=\"g\" VARIABLES=nosuch", "The specified variable nosuch does not exist."},
    };
    for (auto const& c : failures) {
        auto run = parseDataSet(c.subcommand);
        EXPECT_FALSE(run->parsed) << c.subcommand;
        EXPECT_EQ(run->onlyMessage().text, c.text) << c.subcommand;
        EXPECT_EQ(run->settings().GetDataSetCount(), 0) << c.subcommand;
    }

    auto empty = test::parse(std::string("GGRAPH /GRAPHDATASET /GRAPHSPEC SOURCE=INLINE.") + kBlock);
    EXPECT_TRUE(empty->parsed);
    EXPECT_EQ(empty->onlyMessage().text, "Incomplete subCmd GRAPHDATASET.");
    EXPECT_EQ(empty->settings().GetDataSetCount(), 0);
}

TEST_F(GraphDataSetSubcommand, UnnamedAndSameNamedDataSets) {
    auto run = test::parse(
        "GGRAPH /GRAPHDATASET NAME=\"a\" VARIABLES=jobcat COUNT() /GRAPHDATASET NAME=\"a\" "
        "VARIABLES=salary /GRAPHSPEC." + std::string(kBlock));
    ASSERT_TRUE(run->parsed);
    // The later data set replaces the earlier one, in whichever list that stood.
    EXPECT_TRUE(run->settings().GetAggregatedDataSets().empty());
    ASSERT_EQ(run->settings().GetUnAggregatedDataSets().size(), 1u);
    EXPECT_EQ(variableNames(*run->settings().GetUnAggregatedDataSets()[0]).front(), "salary");
}

TEST_F(GraphDataSetSubcommand, VariableListsWithAllRangesRenamesAndLevels) {
    auto all = parseDataSet("NAME=\"g\" VARIABLES=jobcat[NAME=\"Job\" LEVEL=SCALE] ALL COUNT()");
    ASSERT_TRUE(all->parsed) << all->onlyMessage().text;
    GGraphDataSet* set = onlyDataSet(*all);
    Names names = variableNames(*set);
    ASSERT_EQ(names.size(), 10u);
    EXPECT_EQ(names[0], "Job");  // the first mention wins, with its label and level
    EXPECT_EQ(set->GetVariables()[0]->getMeasurmentLevel(), GGraphVariable::SCALE);
    EXPECT_EQ(names[1], "id");
    EXPECT_EQ(names[2], "gender");

    auto range = parseDataSet("NAME=\"g\" VARIABLES=gender TO salary own_car TO own_bike COUNT()");
    ASSERT_TRUE(range->parsed);
    EXPECT_EQ(variableNames(*onlyDataSet(*range)), (Names{"gender", "jobcat", "salary", "own_car", "own_bike"}));

    auto chained = parseDataSet("NAME=\"g\" VARIABLES=id TO jobcat TO region COUNT()");
    ASSERT_TRUE(chained->parsed);
    EXPECT_EQ(variableNames(*onlyDataSet(*chained)), (Names{"id", "gender", "jobcat", "salary", "region"}));

    auto reversed = parseDataSet("NAME=\"g\" VARIABLES=salary TO gender COUNT()");
    EXPECT_FALSE(reversed->parsed);
    EXPECT_EQ(reversed->onlyMessage().level, 3);
    EXPECT_NE(reversed->onlyMessage().text.find("range"), std::string::npos);

    struct Case {
        char const* list;
        char const* text;
        int level;
        bool parsed;
    } const cases[] = {
        {"jobcat[NAME=\"b\"] TO salary", "Can not rename range of variables", 3, false},
        {"ALL[LEVEL=SCALE]", "Can not rename range of variables", 3, false},
        {"jobcat jobcat", "The variable name jobcat is duplicated.", 2, true},
        {"jobcat[NAME=\"salary\"] salary", "The variable name salary must be unique", 2, false},
        {"jobcat[LEVEL=INTERVAL]", "SubCmd GRAPHDATASET. Unknown token INTERVAL.", 3, false},
        {"jobcat[NAME=b]", "SubCmd GRAPHDATASET. Unknown token b.", 3, false},
        {"jobcat[RENAME=\"x\" NAME=\"y\"]", "SubCmd GRAPHDATASET has duplicate NAME attribute.", 3, false},
        {"jobcat 12", "SubCmd GRAPHDATASET. Unknown token 12.", 3, false},
    };
    for (auto const& c : cases) {
        auto run = parseDataSet(std::string("NAME=\"g\" VARIABLES=") + c.list + " COUNT()");
        EXPECT_EQ(run->parsed, c.parsed) << c.list;
        ASSERT_FALSE(run->messages().empty()) << c.list;
        EXPECT_EQ(run->messages().front().text, c.text) << c.list;
        EXPECT_EQ(run->messages().front().level, c.level) << c.list;
    }

    // A list may end where the next keyword starts, and may be empty.
    auto early = parseDataSet("VARIABLES=NAME=\"x\"");
    EXPECT_TRUE(early->parsed);
    EXPECT_TRUE(early->messages().empty());
}

TEST_F(GraphDataSetSubcommand, SummaryFunctionArgumentFormsAndQualifiers) {
    auto run = parseDataSet(
        "NAME=\"g\" VARIABLES=jobcat MEANCI(salary 90)[NAME=\"m\" LOW=\"lo\" HIGH=\"hi\"] "
        "PTILE(salary 25) PIN(salary 1 5) RESPONSES(DUP) COUNT()[LEVEL=SCALE] mean(salary)");
    ASSERT_TRUE(run->parsed) << run->onlyMessage().text;
    auto const& statistics = onlyDataSet(*run)->GetStatistics();
    ASSERT_EQ(statistics.size(), 6u);
    EXPECT_EQ(statistics[0]->GetUnicodeGPLLabel().toUTF8(), "m");
    EXPECT_EQ(statistics[0]->GetUnicodeGPLLowLabel().toUTF8(), "lo");
    EXPECT_EQ(statistics[0]->GetUnicodeGPLHighLabel().toUTF8(), "hi");
    EXPECT_DOUBLE_EQ(statistics[1]->GetAggregationStatistic()->GetPTileCutPoint(), 25.0);
    EXPECT_TRUE(statistics[3]->getCountDuplicates());

    struct Case {
        char const* call;
        char const* text;
    } const wrong[] = {
        {"COUNT(salary)", "COUNT has the wrong number of parameters g."},
        {"PTILE(salary)", "PTILE has the wrong number of parameters g."},
        {"PTILE(salary 50 60)", "PTILE has the wrong number of parameters g."},
        {"PIN(salary 1)", "PIN has the wrong number of parameters g."},
        {"BOGUS(salary)", "BOGUS is an unknown function g."},
    };
    for (auto const& c : wrong) {
        auto bad = parseDataSet(std::string("NAME=\"g\" VARIABLES=jobcat ") + c.call);
        EXPECT_FALSE(bad->parsed) << c.call;
        EXPECT_EQ(bad->onlyMessage().text, c.text) << c.call;
    }
    auto twice = parseDataSet("NAME=\"g\" VARIABLES=jobcat COUNT()[NAME=\"n\"] COUNT()[NAME=\"n\"]");
    EXPECT_FALSE(twice->parsed);
    EXPECT_EQ(twice->onlyMessage().text, "The variable name n must be unique");
    auto cut = test::parse(std::string("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=jobcat COUNT(.") + kBlock);
    EXPECT_FALSE(cut->parsed);
    EXPECT_TRUE(cut->messages().empty());
}

TEST_F(GraphDataSetSubcommand, TransformForms) {
    ChartString summary, index, low, high;
    auto list = parseDataSet(
        "NAME=\"g\" VARIABLES=MEAN(salary) MEAN(jobcat) TRANSFORM=VARSTOCASES(SUMMARY=\"s\" INDEX=\"i\"]");
    ASSERT_TRUE(list->parsed) << list->onlyMessage().text;
    ASSERT_TRUE(onlyDataSet(*list)->getTransposedNames(summary, index, low, high));
    EXPECT_EQ(summary.toUTF8(), "s");
    EXPECT_EQ(index.toUTF8(), "i");
    EXPECT_EQ(low.toUTF8(), "#LOW");

    // The keywords of the list match by their text, quoted or not.
    auto quoted = parseDataSet(
        "NAME=\"g\" VARIABLES=MEAN(salary) TRANSFORM=VARSTOCASES(\"SUMMARY\"=\"s\" 'low'=\"l\")");
    ASSERT_TRUE(quoted->parsed) << quoted->onlyMessage().text;
    ASSERT_TRUE(onlyDataSet(*quoted)->getTransposedNames(summary, index, low, high));
    EXPECT_EQ(summary.toUTF8(), "s");
    EXPECT_EQ(low.toUTF8(), "l");
    EXPECT_EQ(index.toUTF8(), "#INDEX");

    auto bare = parseDataSet("NAME=\"g\" VARIABLES=MEAN(salary) TRANSFORM=VARSTOCASES");
    ASSERT_TRUE(bare->parsed);
    ASSERT_TRUE(onlyDataSet(*bare)->getTransposedNames(summary, index, low, high));
    EXPECT_EQ(summary.toUTF8(), "#SUMMARY");

    auto no = parseDataSet("NAME=\"g\" VARIABLES=MEAN(salary) TRANSFORM=NO");
    EXPECT_FALSE(onlyDataSet(*no)->isTransposed());

    // Without VARIABLES the message is reported and the subcommand goes on.
    auto alone = parseDataSet("NAME=\"g\" TRANSFORM=NO");
    ASSERT_FALSE(alone->messages().empty());
    EXPECT_EQ(alone->messages().front().text,
              "An aggregation function must be used when specifying TRANSFORM=VARSTOCASES in the * "
              "graph data set.");

    auto empty = parseDataSet("NAME=\"g\" VARIABLES=MEAN(salary) TRANSFORM=VARSTOCASES()");
    EXPECT_FALSE(empty->parsed);
    EXPECT_EQ(empty->onlyMessage().text, "SubCmd GRAPHDATASET. Unknown token (.");
}

TEST_F(GraphDataSetSubcommand, CsvFileLists) {
    auto run = parseDataSet("NAME=\"g\" CSVFILE=[\"a.csv\" \"b.csv\"] VARIABLES=whatever");
    ASSERT_TRUE(run->parsed) << run->onlyMessage().text;
    EXPECT_EQ(run->settings().GetCSVFiles(), (Names{"a.csv", "b.csv"}));
    EXPECT_TRUE(onlyDataSet(*run)->usesCSVFile());  // its variables are not looked up
    auto empty = parseDataSet("NAME=\"g\" CSVFILES=[] VARIABLES=jobcat");
    EXPECT_TRUE(empty->parsed);
    EXPECT_TRUE(empty->settings().GetCSVFiles().empty());
    auto open = parseDataSet("NAME=\"g\" CSVFILE=[\"a.csv\"");
    EXPECT_EQ(open->onlyMessage().text, "Incomplete subCmd GRAPHDATASET.");
}

TEST_F(GraphDataSetSubcommand, DataFilterLists) {
    auto run = parseDataSet(
        "NAME=\"g\" VARIABLES=jobcat COUNT() DATAFILTER=jobcat(VALUES=1 2 UNLABELED=EXCLUDE) "
        "gender(UNLABELED=INCLUDE VALUES=\"m\") region(VALUES=ALL) CASELIMIT=5");
    ASSERT_TRUE(run->parsed) << run->onlyMessage().text;
    GGraphDataSet* set = onlyDataSet(*run);
    auto const& filters = set->GetVariableFilters();
    ASSERT_EQ(filters.size(), 3u);
    EXPECT_EQ(filters[0]->getValueList(), (Names{"1", "2"}));
    EXPECT_FALSE(filters[0]->isIncludeULV());
    EXPECT_TRUE(filters[1]->isIncludeULV());
    EXPECT_EQ(filters[1]->getValueList(), (Names{"m"}));
    EXPECT_TRUE(filters[2]->isIncludeALL());
    EXPECT_EQ(set->data().GetCaseLimit(true), 5u);

    auto allThenNumber = parseDataSet("NAME=\"g\" VARIABLES=jobcat COUNT() DATAFILTER=jobcat(VALUES=ALL 1)");
    ASSERT_TRUE(allThenNumber->parsed);
    EXPECT_FALSE(onlyDataSet(*allThenNumber)->GetVariableFilters()[0]->isIncludeALL());

    struct Case {
        char const* filter;
        char const* text;
    } const failures[] = {
        {"jobcat(UNLABELED=MAYBE)",
         "The GRAPHDATASET subcommand contains an invalid value (MAYBE) for the DATAFILTER keyword."},
        {"salary(VALUES=1)",
         "Variable salary specified for keyword DATAFILTER of subcommand GRAPHDATASET must be "
         "categorical (nominal or ordinal)."},
        {"jobcat(VALUES=1) jobcat(VALUES=2) CASELIMIT=3", "The variable name jobcat is duplicated."},
    };
    for (auto const& c : failures) {
        auto bad = parseDataSet(std::string("NAME=\"g\" VARIABLES=jobcat COUNT() DATAFILTER=") + c.filter);
        EXPECT_FALSE(bad->parsed) << c.filter;
        EXPECT_EQ(bad->onlyMessage().text, c.text) << c.filter;
    }
    // A VALUES list that ends the subcommand is reported; the level check still runs, and the
    // unclosed filter is left out of a data set that is otherwise complete. (Inside the open
    // parenthesis a slash does not end the subcommand: only the end of the command does.)
    auto lastSubcommand = [](std::string const& subcommand) {
        return test::parse("GGRAPH /GRAPHSPEC SOURCE=INLINE /GRAPHDATASET " + subcommand + "." + kBlock);
    };
    auto open = lastSubcommand("NAME=\"g\" VARIABLES=jobcat COUNT() DATAFILTER=jobcat(VALUES=");
    EXPECT_TRUE(open->parsed);
    EXPECT_EQ(open->onlyMessage().text, "Incomplete subCmd GRAPHDATASET.");
    EXPECT_TRUE(onlyDataSet(*open)->GetVariableFilters().empty());
    auto openScale = lastSubcommand("NAME=\"g\" VARIABLES=jobcat COUNT() DATAFILTER=salary(VALUES=");
    EXPECT_FALSE(openScale->parsed);
    ASSERT_EQ(openScale->messages().size(), 2u);
    EXPECT_EQ(openScale->messages()[1].text,
              "Variable salary specified for keyword DATAFILTER of subcommand GRAPHDATASET must be "
              "categorical (nominal or ordinal).");

    // As the end of the subcommand the last filter is added without the uniqueness test.
    auto last = parseDataSet("NAME=\"g\" VARIABLES=jobcat COUNT() DATAFILTER=jobcat(VALUES=1) jobcat(VALUES=2)");
    EXPECT_TRUE(last->parsed);
    EXPECT_EQ(onlyDataSet(*last)->GetVariableFilters().size(), 2u);
}
