#include "ggraph/variables/ggraph_statistic.h"

#include <cfloat>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/output/document.h"
#include "platform/dictionary.h"
#include "platform/messages.h"
#include "small_dictionary.h"

namespace {

// Collects what the statistic reports during the test.
class Reports {
public:
    Reports() : scope_(document_) {}
    std::vector<std::string> errors() const {
        std::vector<std::string> out;
        for (auto const& item : document_.items())
            if (item.kind == host::output::ItemKind::Message && item.level == 3)
                out.push_back(item.text);
        return out;
    }
    std::size_t count() const { return document_.items().size(); }

private:
    host::output::Document document_;
    host::output::ScopedDocument scope_;
};

struct Row {
    char const* name;
    int code;
    unsigned required;
    unsigned optional;
    bool errorBars;
    double parameter;
    unsigned errorBarStatistic;
    bool parametric;
    bool aggregated;
};

TEST(GGraphStatisticTest, FunctionTable) {
    Row const rows[] = {
        {"casevalue", 2000, 1, 0, false, 0, 0, true, false},
        {"Count", 1, 0, 0, false, 0, 0, false, true},
        {"responses", 289, 0, 1, false, 0, 0, false, true},
        {"PctResponses", 369, 0, 1, false, 0, 0, false, true},
        {"MINIMUM", 197, 1, 0, false, 0, 0, true, true},
        {"maximum", 178, 1, 0, false, 0, 0, true, true},
        {"validn", 222, 1, 0, false, 0, 0, true, true},
        {"sum", 205, 1, 0, false, 0, 0, true, true},
        {"mean", 179, 1, 0, false, 0, 0, true, true},
        {"stddev", 203, 1, 0, false, 0, 0, true, true},
        {"variance", 231, 1, 0, false, 0, 0, true, true},
        {"median", 187, 1, 0, false, 0, 0, true, true},
        {"gmedian", 195, 1, 0, false, 0, 0, true, true},
        {"mode", 200, 1, 0, false, 0, 0, true, true},
        {"ptile", 468, 2, 0, false, 0, 0, true, true},
        {"gptile", 476, 2, 0, false, 0, 0, true, true},
        {"plt", 478, 2, 0, false, 0, 0, true, true},
        {"pgt", 486, 2, 0, false, 0, 0, true, true},
        {"nlt", 480, 2, 0, false, 0, 0, true, true},
        {"ngt", 488, 2, 0, false, 0, 0, true, true},
        {"pin", 498, 3, 0, false, 0, 0, true, true},
        {"nin", 500, 3, 0, false, 0, 0, true, true},
        {"nle", 484, 2, 0, false, 0, 0, true, true},
        {"ple", 482, 2, 0, false, 0, 0, true, true},
        {"neq", 496, 2, 0, false, 0, 0, true, true},
        {"peq", 494, 2, 0, false, 0, 0, true, true},
        {"nge", 492, 2, 0, false, 0, 0, true, true},
        {"pge", 490, 2, 0, false, 0, 0, true, true},
        {"MeanCI", 179, 1, 1, true, 0.95, 182, true, true},
        {"meansd", 179, 1, 1, true, 2.0, 203, true, true},
        {"meanse", 179, 1, 1, true, 2.0, 182, true, true},
        {"medianci", 187, 1, 1, true, 0.95, 466, true, true},
        {"countci", 1, 0, 1, true, 0.95, 1, false, true},
        {"pctci", 1, 0, 1, true, 0.95, 1, false, true},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        GGraphStatistic statistic(row.name, nullptr);
        EXPECT_TRUE(statistic.IsSupportedStatistic());
        EXPECT_EQ(statistic.GetAggregationStatistic()->GetSummaryStatistic(), row.code);
        unsigned optional = 99;
        EXPECT_EQ(statistic.getParameterCount(optional), row.required);
        EXPECT_EQ(optional, row.optional);
        EXPECT_EQ(statistic.hasErrorBars(), row.errorBars);
        EXPECT_DOUBLE_EQ(statistic.getErrorBarParameter(), row.parameter);
        EXPECT_EQ(statistic.getErrorBarStatistic(), row.errorBarStatistic);
        EXPECT_EQ(statistic.IsParametricStatistic(), row.parametric);
        EXPECT_EQ(statistic.IsAggregatedStatistic(), row.aggregated);
        EXPECT_EQ(statistic.IsCaseValueStatistic(), row.code == 2000);
        EXPECT_EQ(statistic.hasCountErrorBars(), row.code == 1);
        EXPECT_FALSE(statistic.getCountDuplicates());
        EXPECT_FALSE(statistic.isErrorBarInfinite());
    }
    GGraphStatistic unknown("average", nullptr);
    EXPECT_FALSE(unknown.IsSupportedStatistic());
    unsigned optional = 99;
    EXPECT_EQ(unknown.getParameterCount(optional), 0u);
    EXPECT_EQ(optional, 0u);

    // A copy owns its own aggregation statistic.
    auto* original = new GGraphStatistic("ptile", nullptr);
    original->SetNumericParameter(1, 25, "25");
    GGraphStatistic copy(*original);
    delete original;
    EXPECT_EQ(copy.GetAggregationStatistic()->GetPTileCutPoint(), 25.0);
}

TEST(GGraphStatisticTest, MainParameterChecks) {
    Reports reports;

    GGraphStatistic dup("RESPONSES", nullptr), nodup("pctresponses", nullptr),
        bad("responses", nullptr);
    dup.SetMainParameter("dup", 0);
    EXPECT_TRUE(dup.getCountDuplicates());
    dup.SetMainParameter("nodup", 0);
    EXPECT_FALSE(dup.getCountDuplicates());
    nodup.SetMainParameter("DUP", 0);
    EXPECT_TRUE(nodup.getCountDuplicates());
    EXPECT_TRUE(reports.errors().empty());
    bad.SetMainParameter("salary", 0);
    EXPECT_EQ(reports.errors(),
              std::vector<std::string>{
                  "The RESPONSES() function can only accept DUP or NODUP as a parameter."});

    GGraphStatistic fifty("countci", nullptr), high("CountCI", nullptr), low("pctci", nullptr),
        edge("pctci", nullptr);
    fifty.SetMainParameter("50", 50);
    EXPECT_DOUBLE_EQ(fifty.getErrorBarParameter(), 0.5);
    edge.SetMainParameter("99.99", 99.99);
    EXPECT_DOUBLE_EQ(edge.getErrorBarParameter(), 0.9999);
    EXPECT_EQ(reports.errors().size(), 1u);
    high.SetMainParameter("100", 100);
    low.SetMainParameter("49.9", 49.9);
    EXPECT_DOUBLE_EQ(high.getErrorBarParameter(), 0.95);
    EXPECT_DOUBLE_EQ(low.getErrorBarParameter(), 0.95);
    auto errors = reports.errors();
    ASSERT_EQ(errors.size(), 3u);
    EXPECT_EQ(errors[1], "The CountCI function contains an invalid numeric parameter (100).");
    EXPECT_EQ(errors[2], "The pctci function contains an invalid numeric parameter (49.9).");
    // The level of a count is not its variable.
    EXPECT_EQ(fifty.GetUnicodeGPLLabel().toUTF8(), "COUNTCI_50");

    // A negative value on an error-bar function reports, and the name is taken all the same.
    GGraphStatistic meanci("meanci", nullptr);
    meanci.SetMainParameter("-3", -3);
    EXPECT_EQ(reports.errors().back(),
              "The meanci function contains an invalid numeric parameter (-3).");
    EXPECT_EQ(meanci.GetUnicodeGPLLabel().toUTF8(), "MEANCI_-3_95");
}

TEST(GGraphStatisticTest, NumericParameterChecks) {
    Reports reports;
    GGraphStatistic ptile("ptile", nullptr), zero("ptile", nullptr), hundred("gptile", nullptr);
    ptile.SetNumericParameter(1, 0.5, "0.5");
    EXPECT_EQ(ptile.GetAggregationStatistic()->GetPTileCutPoint(), 0.5);
    zero.SetNumericParameter(1, 0, "0");
    hundred.SetNumericParameter(1, 100, "100");
    EXPECT_EQ(zero.GetAggregationStatistic()->GetPTileCutPoint(), 0.0);
    EXPECT_EQ(hundred.GetAggregationStatistic()->GetPTileCutPoint(), 0.0);
    EXPECT_EQ(reports.errors(),
              (std::vector<std::string>{
                  "The ptile function contains an invalid numeric parameter (0).",
                  "The gptile function contains an invalid numeric parameter (100)."}));

    // PLT and NLT set the upper limit, every other one-limit function the lower one.
    for (char const* name : {"plt", "nlt"}) {
        GGraphStatistic statistic(name, nullptr);
        statistic.SetNumericParameter(1, 7, "7");
        EXPECT_EQ(statistic.GetAggregationStatistic()->GetUpperLimit(), 7.0) << name;
        EXPECT_EQ(statistic.GetAggregationStatistic()->GetLowerLimit(), 0.0) << name;
    }
    for (char const* name : {"ple", "nle", "pgt", "ngt", "pge", "nge", "peq", "neq"}) {
        GGraphStatistic statistic(name, nullptr);
        statistic.SetNumericParameter(1, 7, "7");
        EXPECT_EQ(statistic.GetAggregationStatistic()->GetLowerLimit(), 7.0) << name;
        EXPECT_EQ(statistic.GetAggregationStatistic()->GetUpperLimit(), 0.0) << name;
    }

    // PIN with reversed limits reports and keeps the lower upper limit.
    GGraphStatistic pin("pin", nullptr), nin("NIN", nullptr);
    pin.SetNumericParameter(1, 1, "1");
    pin.SetNumericParameter(2, 5, "5");
    EXPECT_EQ(pin.GetAggregationStatistic()->GetLowerLimit(), 1.0);
    EXPECT_EQ(pin.GetAggregationStatistic()->GetUpperLimit(), 5.0);
    EXPECT_EQ(reports.errors().size(), 2u);
    nin.SetNumericParameter(1, 5, "5");
    nin.SetNumericParameter(2, 1, "1");
    EXPECT_EQ(nin.GetAggregationStatistic()->GetUpperLimit(), 1.0);
    EXPECT_EQ(reports.errors().back(),
              "The NIN function contains an invalid numeric parameter (1).");

    // Levels and multipliers of the mean and median forms; no range check here.
    GGraphStatistic meanci("meanci", nullptr), meansd("meansd", nullptr), meanse("meanse", nullptr),
        medianci("medianci", nullptr);
    meanci.SetNumericParameter(1, 120, "120");
    meansd.SetNumericParameter(1, 3, "3");
    meanse.SetNumericParameter(1, 3, "3");
    medianci.SetNumericParameter(1, 90, "90");
    EXPECT_DOUBLE_EQ(meanci.getErrorBarParameter(), 1.2);
    EXPECT_DOUBLE_EQ(meansd.getErrorBarParameter(), 3.0);
    EXPECT_DOUBLE_EQ(meanse.getErrorBarParameter(), 3.0);
    EXPECT_DOUBLE_EQ(medianci.getErrorBarParameter(), 0.9);
    EXPECT_EQ(reports.errors().size(), 3u);
}

TEST(GGraphStatisticTest, ResolveVariableParameterAgainstADictionary) {
    test::SmallDictionary dict;
    dict.variable("Salary", 0, FMT_DOLLAR, 0).variable("name", 12).variable("q1").variable("q2");
    dict.set("$qs", VariableSet::CATEGORY_SET, "Questions", {"q1", "q2"});
    Reports reports;

    GGraphStatistic mean("MEAN", nullptr);
    mean.SetMainParameter("salary", 0);
    ASSERT_TRUE(mean.ResolveVariableParameter(dict.source()));
    EXPECT_EQ(mean.GetSummaryVariable(), dict.at(0));
    EXPECT_EQ(mean.GetSummaryVariableIndex(), 0);
    EXPECT_EQ(mean.GetUnicodeGPLLabel().toUTF8(), "MEAN_Salary");  // the dictionary's case

    GGraphStatistic unknown("mean", nullptr);
    unknown.SetMainParameter("wages", 0);
    EXPECT_FALSE(unknown.ResolveVariableParameter(dict.source()));
    EXPECT_EQ(reports.errors().back(), "The specified variable wages does not exist.");

    // Only CASEVALUE takes a string variable; MINIMUM, MAXIMUM and MODE do not.
    for (char const* name : {"minimum", "MAXIMUM", "mode", "count"}) {
        GGraphStatistic statistic(name, nullptr);
        statistic.SetMainParameter("NAME", 0);
        if (std::string(name) == "count") {
            EXPECT_TRUE(statistic.ResolveVariableParameter(dict.source()));  // nothing to bind
            continue;
        }
        EXPECT_FALSE(statistic.ResolveVariableParameter(dict.source())) << name;
        EXPECT_EQ(reports.errors().back(), "Summary functions (" + std::string(name) +
                                               ") cannot be used with string variables (name).");
    }
    std::size_t before = reports.errors().size();
    GGraphStatistic caseValue("casevalue", nullptr);
    caseValue.SetMainParameter("name", 0);
    EXPECT_TRUE(caseValue.ResolveVariableParameter(dict.source()));
    EXPECT_EQ(caseValue.GetSummaryVariable(), dict.at(1));

    // A set resolves too; it has no dictionary variable and its index lies past the columns.
    GGraphStatistic setMean("mean", nullptr);
    setMean.SetMainParameter("$QS", 0);
    EXPECT_TRUE(setMean.ResolveVariableParameter(dict.source()));
    EXPECT_EQ(setMean.GetSummaryVariable(), nullptr);
    EXPECT_EQ(setMean.GetSummaryVariableIndex(), 4);

    // Functions without a variable bind nothing, even with no data source.
    for (char const* name : {"count", "responses", "pctresponses", "countci", "pctci"}) {
        GGraphStatistic statistic(name, nullptr);
        EXPECT_TRUE(statistic.ResolveVariableParameter(nullptr)) << name;
        EXPECT_EQ(statistic.GetSummaryVariableIndex(), -1);
    }
    EXPECT_EQ(reports.errors().size(), before);
}

// Reference values by mpmath 1.2.1 (Debian python3-mpmath) at 40 digits: the quantiles found by
// bisection on the regularised incomplete beta function (the t distribution's CDF through it).
//   t(0.975, 19) = 2.0930240544083098; 12 -/+ 1.2 * t(0.95, 4)
//   = 9.4417838564080196, 14.55821614359198 100 * beta([0.025, 0.975], 30.5, 70.5)
//   = 21.684142861880505, 39.454650663077321 40 * beta([0.05, 0.95], 5.5, 35.5)
//   = 2.3544147904395343, 9.193689577756953
// (SciPy 1.10.1's t.ppf differs from these in the ninth digit; mpmath agrees with the closed form
// tan(0.475 pi) for one degree of freedom.)
TEST(GGraphStatisticTest, ErrorBarIntervals) {
    double low = 1, high = 1;
    GGraphStatistic meanci("meanci", nullptr);
    ASSERT_TRUE(meanci.CalculateErrorBarIntervals(50, AggregationResult(2.5), 20, low, high));
    EXPECT_NEAR(low, 50 - 2.5 * 2.0930240544083098, 1e-12);
    EXPECT_NEAR(high, 50 + 2.5 * 2.0930240544083098, 1e-12);
    meanci.SetNumericParameter(1, 90, "90");
    ASSERT_TRUE(meanci.CalculateErrorBarIntervals(12, AggregationResult(1.2), 5, low, high));
    EXPECT_NEAR(low, 9.4417838564080196, 1e-12);
    EXPECT_NEAR(high, 14.55821614359198, 1e-12);

    GGraphStatistic meansd("meansd", nullptr), meanse("meanse", nullptr);
    ASSERT_TRUE(meansd.CalculateErrorBarIntervals(10, AggregationResult(3), 8, low, high));
    EXPECT_DOUBLE_EQ(low, 4);
    EXPECT_DOUBLE_EQ(high, 16);
    meanse.SetNumericParameter(1, 1.5, "1.5");
    ASSERT_TRUE(meanse.CalculateErrorBarIntervals(10, AggregationResult(2), 8, low, high));
    EXPECT_DOUBLE_EQ(low, 7);
    EXPECT_DOUBLE_EQ(high, 13);

    // The median's interval is the pair the aggregation found.
    GGraphStatistic medianci("medianci", nullptr);
    ASSERT_TRUE(medianci.CalculateErrorBarIntervals(5, AggregationResult(0, 3, 8), 11, low, high));
    EXPECT_EQ(low, 3);
    EXPECT_EQ(high, 8);
    medianci.SetNumericParameter(1, 90, "90");
    EXPECT_TRUE(medianci.CalculateErrorBarIntervals(5, AggregationResult(0, 3, 8), 11, low, high));

    GGraphStatistic countci("countci", nullptr), pctci("pctci", nullptr);
    ASSERT_TRUE(countci.CalculateErrorBarIntervals(30, AggregationResult(30), 100, low, high));
    EXPECT_NEAR(low, 21.684142861880505, 1e-10);
    EXPECT_NEAR(high, 39.454650663077321, 1e-10);
    pctci.SetMainParameter("90", 90);
    ASSERT_TRUE(pctci.CalculateErrorBarIntervals(5, AggregationResult(5), 40, low, high));
    EXPECT_NEAR(low, 2.3544147904395343, 1e-10);
    EXPECT_NEAR(high, 9.193689577756953, 1e-10);

    // No interval: without error bars, and for a median asked for anything but a CI.
    GGraphStatistic mean("mean", nullptr);
    EXPECT_FALSE(mean.CalculateErrorBarIntervals(10, AggregationResult(3), 8, low, high));
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 0);
    EXPECT_FALSE(GGraphStatistic("sum", nullptr)
                     .CalculateErrorBarIntervals(1, AggregationResult(1), 1, low, high));
    EXPECT_FALSE(mean.isErrorBarInfinite());
}

TEST(GGraphStatisticTest, InfiniteEndsDropOut) {
    double const lowest = -1.7976931348623157e+308;
    double low = 0, high = 0;
    // One case: no degrees of freedom, t is infinite; both ends go to the lowest double.
    GGraphStatistic meanci("meanci", nullptr);
    EXPECT_TRUE(meanci.CalculateErrorBarIntervals(10, AggregationResult(2), 1, low, high));
    EXPECT_EQ(low, lowest);
    EXPECT_EQ(high, lowest);
    EXPECT_TRUE(meanci.isErrorBarInfinite());

    // Only the high end infinite: the low end stays, and the interval counts as computed.
    GGraphStatistic medianci("medianci", nullptr);
    double const inf = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(medianci.CalculateErrorBarIntervals(5, AggregationResult(5, 2, inf), 9, low, high));
    EXPECT_EQ(low, 2);
    EXPECT_EQ(high, lowest);
    EXPECT_TRUE(medianci.isErrorBarInfinite());

    // The largest double counts as infinite at either sign, as does a level past 100%.
    GGraphStatistic other("medianci", nullptr);
    EXPECT_TRUE(
        other.CalculateErrorBarIntervals(5, AggregationResult(5, -DBL_MAX, DBL_MAX), 9, low, high));
    EXPECT_EQ(low, lowest);
    EXPECT_EQ(high, lowest);
    GGraphStatistic wide("meanci", nullptr);
    wide.SetNumericParameter(1, 120, "120");
    EXPECT_TRUE(wide.CalculateErrorBarIntervals(10, AggregationResult(2), 30, low, high));
    EXPECT_EQ(high, lowest);

    // Counts beyond the total have no beta quantile.
    GGraphStatistic countci("countci", nullptr);
    EXPECT_TRUE(countci.CalculateErrorBarIntervals(50, AggregationResult(50), 10, low, high));
    EXPECT_EQ(low, lowest);
    EXPECT_TRUE(countci.isErrorBarInfinite());

    GGraphStatistic finite("countci", nullptr);
    EXPECT_TRUE(finite.CalculateErrorBarIntervals(3, AggregationResult(3), 10, low, high));
    EXPECT_FALSE(finite.isErrorBarInfinite());

    // One case with no spread: 0 times an infinite t is NaN, which is written as it is and
    // raises no warning.
    GGraphStatistic flat("meanci", nullptr);
    EXPECT_TRUE(flat.CalculateErrorBarIntervals(10, AggregationResult(0), 1, low, high));
    EXPECT_TRUE(std::isnan(low));
    EXPECT_TRUE(std::isnan(high));
    EXPECT_FALSE(flat.isErrorBarInfinite());
}

TEST(GGraphStatisticTest, FormatsDecideDurationsAndFractionDigits) {
    test::SmallDictionary dict;
    // 0 date, 1 F8.2, 2 DOLLAR with 16 decimals, 3 string, 4 COMMA8.1, 5 CCB, 6 F with 3
    // decimals, 7 dot-grouped (32), 8 MTIME (85), 9 type 16 (none of the number looks).
    dict.variable("born", 0, FMT_DATE, 0)
        .variable("plain", 0, FMT_F, 2)
        .variable("cash", 0, FMT_DOLLAR, 16)
        .variable("text", 6)
        .variable("grouped", 0, FMT_COMMA, 1)
        .variable("euro", 0, FMT_CCB, 2)
        .variable("three", 0, FMT_F, 3)
        .variable("dotted", 0, FMT_DOT, 2)
        .variable("span", 0, FMT_MTIME, 0)
        .variable("other", 0, 16, 3);
    auto bound = [&](char const* function, char const* variable) {
        auto statistic = std::make_unique<GGraphStatistic>(function, nullptr);
        statistic->SetMainParameter(variable, 0);
        EXPECT_TRUE(statistic->ResolveVariableParameter(dict.source()))
            << function << " " << variable;
        return statistic;
    };

    EXPECT_TRUE(bound("stddev", "born")->useDTIME());
    EXPECT_TRUE(bound("stddev", "span")->useDTIME());
    EXPECT_FALSE(bound("stddev", "plain")->useDTIME());
    EXPECT_FALSE(bound("mean", "born")->useDTIME());
    EXPECT_FALSE(GGraphStatistic("stddev", nullptr).useDTIME());

    // Dates, times and strings: variance 3, everything else the variable's own format.
    EXPECT_EQ(bound("variance", "born")->getMinFractionDigits(), 3);
    EXPECT_EQ(bound("mean", "born")->getMinFractionDigits(), -1);
    EXPECT_EQ(bound("validn", "born")->getMinFractionDigits(), -1);
    EXPECT_EQ(bound("casevalue", "text")->getMinFractionDigits(), -1);

    // By code, on a number look.
    EXPECT_EQ(bound("stddev", "three")->getMinFractionDigits(), 4);
    EXPECT_EQ(bound("mean", "three")->getMinFractionDigits(), 3);
    EXPECT_EQ(bound("stddev", "cash")->getMinFractionDigits(), 16);
    EXPECT_EQ(bound("stddev", "grouped")->getMinFractionDigits(), 2);
    EXPECT_EQ(bound("ptile", "euro")->getMinFractionDigits(), 2);
    EXPECT_EQ(bound("stddev", "euro")->getMinFractionDigits(), 3);
    EXPECT_EQ(bound("stddev", "dotted")->getMinFractionDigits(), 3);
    // Any other type: the decimals as they are, for a standard deviation too.
    EXPECT_EQ(bound("stddev", "other")->getMinFractionDigits(), 3);
    EXPECT_EQ(bound("sum", "three")->getMinFractionDigits(), 3);
    EXPECT_EQ(bound("casevalue", "cash")->getMinFractionDigits(), 16);
    EXPECT_EQ(bound("variance", "plain")->getMinFractionDigits(), 3);

    // Without a variable the code alone decides.
    struct {
        char const* name;
        int digits;
    } const byCode[] = {
        {"count", 0},     {"validn", 0},   {"responses", 0}, {"nlt", 0},  {"nle", 0},
        {"ngt", 0},       {"nge", 0},      {"neq", 0},       {"nin", 0},  {"pctresponses", 1},
        {"plt", 1},       {"ple", 1},      {"pgt", 1},       {"pge", 1},  {"peq", 1},
        {"pin", 1},       {"variance", 3}, {"sum", 0},       {"mean", 0}, {"stddev", 0},
        {"nonsense", -1},
    };
    for (auto const& row : byCode)
        EXPECT_EQ(GGraphStatistic(row.name, nullptr).getMinFractionDigits(), row.digits)
            << row.name;
}

}  // namespace
