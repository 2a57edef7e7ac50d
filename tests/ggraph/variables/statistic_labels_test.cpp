#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "ggraph/variables/ggraph_statistic.h"
#include "platform/dictionary.h"
#include "platform/messages.h"
#include "small_dictionary.h"

namespace {

class StatisticLabelsTest : public ::testing::Test {
protected:
    StatisticLabelsTest() {
        dict.variable("Salary", 0, FMT_DOLLAR, 0)
            .variable("income", 0, FMT_F, 2, "Income")
            .variable("rating")
            .variable("name", 10)
            .variable("euro", 0, FMT_CCB, 2);
    }

    // A statistic as the parser leaves it: the name, the variable, the numbers, then bound.
    std::unique_ptr<GGraphStatistic> make(char const* function, char const* variable = nullptr,
                                          std::initializer_list<double> numbers = {}) {
        auto statistic = std::make_unique<GGraphStatistic>(function, &table);
        if (variable)
            statistic->SetMainParameter(variable, 0);
        unsigned position = 1;
        for (double number : numbers)
            statistic->SetNumericParameter(position++, number, std::to_string(number));
        EXPECT_TRUE(statistic->ResolveVariableParameter(dict.source())) << function;
        return statistic;
    }

    test::SmallDictionary dict;
    FacSTDictionary table{""};
};

TEST_F(StatisticLabelsTest, LabelsReadAsAReaderSeesThem) {
    struct {
        std::unique_ptr<GGraphStatistic> statistic;
        char const* function;
        char const* variable;
    } const cases[] = {
        {make("count"), "Count", "Count"},
        {make("mean", "salary"), "Mean", "Mean Salary"},
        {make("MEAN", "income"), "Mean", "Mean Income"},  // the label wins over the name
        {make("maximum", "salary"), "Maximum", "Maximum Salary"},
        {make("minimum", "salary"), "Minimum", "Minimum Salary"},
        {make("median", "salary"), "Median", "Median Salary"},
        {make("gmedian", "salary"), "Group Median", "Group Median Salary"},
        {make("mode", "salary"), "Mode", "Mode Salary"},
        {make("stddev", "salary"), "Std. Deviation", "Std. Deviation Salary"},
        {make("sum", "salary"), "Sum", "Sum Salary"},
        {make("validn", "salary"), "Valid N", "Valid N Salary"},
        {make("variance", "salary"), "Variance", "Variance Salary"},
        {make("casevalue", "name"), "Case Value", "Case Value name"},
        {make("ptile", "salary", {25}), "Ptile 25", "Ptile 25 Salary"},
        {make("gptile", "salary", {2.5}), "Group Ptile 2.5", "Group Ptile 2.5 Salary"},
        {make("plt", "rating", {3}), "% < 3", "% < 3 rating"},
        {make("nlt", "rating", {3}), "N < 3", "N < 3 rating"},
        {make("ple", "rating", {3}), "% <= 0", "% <= 0 rating"},  // PLE sets the lower limit
        {make("ngt", "rating", {1000000}), "N > 1e+06", "N > 1e+06 rating"},
        {make("pge", "rating", {4}), "% >= 4", "% >= 4 rating"},
        {make("neq", "rating", {2}), "N = 2", "N = 2 rating"},
        {make("pin", "rating", {1, 5}), "% in (1,5)", "% in (1,5) rating"},
        {make("nin", "rating", {1.5, 4}), "N in (1.5,4)", "N in (1.5,4) rating"},
        {make("meanci", "income"), "Mean", "Mean Income"},
        {make("countci"), "Count", "Count"},
        {make("pctci"), "Count", "Percent"},
        {make("pctresponses"), "", "Percent Responses "},
        {make("responses"), "Responses", "Responses "},
        {make("nonsense"), "", ""},
    };
    for (auto const& row : cases) {
        SCOPED_TRACE(row.variable);
        EXPECT_EQ(row.statistic->GetSummaryFunctionLabel(), row.function);
        EXPECT_EQ(row.statistic->GetSummaryVariableLabel(), row.variable);
    }
}

TEST_F(StatisticLabelsTest, PercentInRangeOverALabelledVariable) {
    test::SmallDictionary labelled;
    labelled.variable("rating", 0, FMT_F, 0, "Rating");
    GGraphStatistic pin("PIN", &table);
    pin.SetMainParameter("rating", 0);
    pin.SetNumericParameter(1, 1, "1");
    pin.SetNumericParameter(2, 5, "5");
    ASSERT_TRUE(pin.ResolveVariableParameter(labelled.source()));
    EXPECT_EQ(pin.GetSummaryVariableLabel(), "% in (1,5) Rating");
    EXPECT_EQ(pin.GetUnicodeGPLLabel().toUTF8(), "PIN_rating_1_5");
}

TEST_F(StatisticLabelsTest, AnEmptyLabelIsALabel) {
    // Present but empty: used as it is, not replaced by the name.
    test::SmallDictionary blanked;
    blanked.variable("score", 0, FMT_F, 0, "");
    GGraphStatistic mean("mean", &table);
    mean.SetMainParameter("score", 0);
    ASSERT_TRUE(mean.ResolveVariableParameter(blanked.source()));
    EXPECT_EQ(mean.GetSummaryVariableLabel(), "Mean ");
}

TEST_F(StatisticLabelsTest, GplNamesAreDerivedOnceUnlessGiven) {
    EXPECT_EQ(make("mean", "salary")->GetUnicodeGPLLabel().toUTF8(), "MEAN_Salary");
    EXPECT_EQ(make("responses")->GetUnicodeGPLLabel().toUTF8(), "RESPONSES_NODUP");
    auto dup = std::make_unique<GGraphStatistic>("pctResponses", &table);
    dup->SetMainParameter("dup", 0);
    EXPECT_EQ(dup->GetUnicodeGPLLabel().toUTF8(), "PCTRESPONSES_DUP");
    EXPECT_EQ(make("meanci", "rating")->GetUnicodeGPLLabel().toUTF8(), "MEANCI_rating_95");
    EXPECT_EQ(make("meansd", "rating")->GetUnicodeGPLLabel().toUTF8(), "MEANSD_rating_200");
    EXPECT_EQ(make("ptile", "rating", {2.5})->GetUnicodeGPLLabel().toUTF8(), "PTILE_rating_2.5");
    // One-limit functions are named by the upper limit, which most of them leave at 0.
    EXPECT_EQ(make("nlt", "rating", {3})->GetUnicodeGPLLabel().toUTF8(), "NLT_rating_3");
    EXPECT_EQ(make("pgt", "rating", {3})->GetUnicodeGPLLabel().toUTF8(), "PGT_rating_0");
    EXPECT_EQ(make("count")->GetUnicodeGPLLabel().toUTF8(), "COUNT");
    EXPECT_EQ(make("pctci")->GetUnicodeGPLLabel().toUTF8(), "PCTCI_95");

    // The first query fixes the name.
    GGraphStatistic ptile("ptile", &table);
    ptile.SetMainParameter("rating", 0);
    ptile.SetNumericParameter(1, 10, "10");
    EXPECT_EQ(ptile.GetUnicodeGPLLabel().toUTF8(), "PTILE_rating_10");
    ptile.SetNumericParameter(1, 90, "90");
    EXPECT_EQ(ptile.GetUnicodeGPLLabel().toUTF8(), "PTILE_rating_10");
    // A name from the command wins; the label is computed all the same.
    ptile.SetGPLLabel("p90");
    EXPECT_EQ(ptile.GetUnicodeGPLLabel().toUTF8(), "p90");
    EXPECT_EQ(ptile.GetSummaryVariableLabel(), "Ptile 90 rating");
}

TEST_F(StatisticLabelsTest, IntervalEndNames) {
    auto meanci = make("MeanCI", "rating");
    EXPECT_EQ(meanci->GetUnicodeGPLLowLabel().toUTF8(), "MeanCI_rating_95_LOW");
    EXPECT_EQ(meanci->GetUnicodeGPLHighLabel().toUTF8(), "MeanCI_rating_95_HIGH");
    auto pctci = make("pctci");
    EXPECT_EQ(pctci->GetUnicodeGPLLowLabel().toUTF8(), "pctci_95_LOW");  // no variable part
    auto medianci = make("medianci", "rating", {90});
    EXPECT_EQ(medianci->GetUnicodeGPLHighLabel().toUTF8(), "medianci_rating_90_HIGH");

    // Given names survive, with error bars and without; without, nothing is derived.
    auto given = make("meansd", "rating");
    given->SetGPLLowLabel("lo");
    EXPECT_EQ(given->GetUnicodeGPLLowLabel().toUTF8(), "lo");
    EXPECT_EQ(given->GetUnicodeGPLHighLabel().toUTF8(), "meansd_rating_200_HIGH");
    auto mean = make("mean", "rating");
    EXPECT_TRUE(mean->GetUnicodeGPLLowLabel().empty());
    mean->SetGPLHighLabel("hi");
    EXPECT_EQ(mean->GetUnicodeGPLHighLabel().toUTF8(), "hi");
}

TEST_F(StatisticLabelsTest, IntervalEndLabelsAndTheMeanSideEffect) {
    ChartString low, high;
    auto meanci = make("meanci", "income");
    EXPECT_EQ(meanci->getErrorBarStatistic(), 182u);
    ASSERT_TRUE(meanci->GetLowHighVariableLabels(low, high));
    EXPECT_EQ(low.toUTF8(), "Mean Income Std. Deviation (0.95) Low");
    EXPECT_EQ(high.toUTF8(), "Mean Income Std. Deviation (0.95) High");
    // The query turned the statistic into standard deviations: a multiplier of 0.95 now.
    EXPECT_EQ(meanci->getErrorBarStatistic(), 203u);
    double l = 0, h = 0;
    ASSERT_TRUE(meanci->CalculateErrorBarIntervals(10, AggregationResult(2), 30, l, h));
    EXPECT_DOUBLE_EQ(l, 10 - 2 * 0.95);
    EXPECT_DOUBLE_EQ(h, 10 + 2 * 0.95);

    auto meansd = make("meansd", "salary", {3});
    ASSERT_TRUE(meansd->GetLowHighVariableLabels(low, high));
    EXPECT_EQ(low.toUTF8(), "Mean Salary Std. Deviation (3) Low");

    auto medianci = make("medianci", "income", {90});
    ASSERT_TRUE(medianci->GetLowHighVariableLabels(low, high));
    EXPECT_EQ(low.toUTF8(), "Median Income 90% CI Low");
    EXPECT_EQ(high.toUTF8(), "Median Income 90% CI High");
    EXPECT_EQ(medianci->getErrorBarStatistic(), 466u);

    auto countci = std::make_unique<GGraphStatistic>("countci", &table);
    countci->SetMainParameter("99.5", 99.5);
    ASSERT_TRUE(countci->GetLowHighVariableLabels(low, high));
    EXPECT_EQ(low.toUTF8(), "Count 99.5% CI Low");
    ASSERT_TRUE(make("pctci")->GetLowHighVariableLabels(low, high));
    EXPECT_EQ(high.toUTF8(), "Percent 95% CI High");

    ChartString untouchedLow = XUtility::ChartStringFromLocalCodePage("keep");
    ChartString untouchedHigh = untouchedLow;
    EXPECT_FALSE(make("mean", "income")->GetLowHighVariableLabels(untouchedLow, untouchedHigh));
    EXPECT_EQ(untouchedLow.toUTF8(), "keep");
    EXPECT_EQ(untouchedHigh.toUTF8(), "keep");
}

TEST_F(StatisticLabelsTest, PrefixesAndSuffixes) {
    currencyFormat::SetCCX(1, "EUR ", " net");
    EXPECT_EQ(make("sum", "salary")->getPrefix().toUTF8(), "$");
    EXPECT_EQ(make("sum", "salary")->getSuffix().toUTF8(), "");
    EXPECT_EQ(make("validn", "salary")->getPrefix().toUTF8(), "");
    EXPECT_EQ(make("casevalue", "salary")->getPrefix().toUTF8(), "$");
    EXPECT_EQ(make("mean", "euro")->getPrefix().toUTF8(), "EUR ");
    EXPECT_EQ(make("mean", "euro")->getSuffix().toUTF8(), " net");
    EXPECT_EQ(make("mean", "rating")->getPrefix().toUTF8(), "");
    EXPECT_EQ(make("pctresponses")->getSuffix().toUTF8(), "%");
    EXPECT_EQ(make("pin", "salary", {1, 2})->getSuffix().toUTF8(), "%");
    EXPECT_EQ(make("pin", "salary", {1, 2})->getPrefix().toUTF8(), "");
    EXPECT_EQ(make("count")->getSuffix().toUTF8(), "");
    EXPECT_EQ(GGraphStatistic("mean", &table).getPrefix().toUTF8(), "");  // no variable, no prefix
    currencyFormat::SetCCX(1, "", "");
}

}  // namespace
