// The aggregated pass on a real dataset: GGRAPH commands parsed by the real parser, the data
// phase run by the observer, and the rows of each split group read back.
#include <gtest/gtest.h>

#include "ggraph/variables/relabel_string.h"

#include <cmath>
#include <map>
#include <memory>
#include <sstream>

#include "ggraph/data/ggraph_data_observer.h"
#include "ggraph/data/ggraph_data_set.h"
#include "host/dictionary/registry.h"
#include "host/output/document.h"
#include "platform/data_source.h"
#include "platform/var_data_processor.h"
#include "support/case_builder.h"
#include "support/job_harness.h"
#include "support/parse_harness.h"

namespace hd = host::dictionary;

namespace {

double const kSys = KWEL_Globals::sysmis();

// Reads a row store as text: one line per row, "name=value" per column, for compact checks.
std::string rows(VarDataProcessor const& vdp, std::string const& source) {
    std::ostringstream out;
    auto const names = vdp.GetVariableNames(source);
    for (unsigned row = 0; row < vdp.GetRowCount(source); ++row) {
        for (std::size_t v = 0; v < names.size(); ++v) {
            int const index = static_cast<int>(v);
            out << (v ? " " : "") << names[v] << "=";
            switch (vdp.GetCellKind(source, index, row)) {
                case VarDataProcessor::CellKind::Missing: out << "."; break;
                case VarDataProcessor::CellKind::Number: out << vdp.GetNumber(source, index, row); break;
                case VarDataProcessor::CellKind::Text: out << "'" << vdp.GetText(source, index, row) << "'"; break;
            }
        }
        out << "\n";
    }
    return out.str();
}

double cell(VarDataProcessor const& vdp, std::string const& source, std::string const& name, unsigned row) {
    return vdp.GetNumber(source, vdp.FindVariable(source, name), row);
}

// One command through the parser and the data phase.
struct Pass {
    explicit Pass(std::string const& variables) {
        parsed = test::parse("GGRAPH /GRAPHDATASET NAME=\"g\" " + variables +
                             " /GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n");
        EXPECT_TRUE(parsed->validated) << variables;
        host::output::ScopedDocument scope(document);
        observer = std::make_unique<GGraphDataObserver>(parsed->settings(), &source);
        hasData = observer->populateData(relabel);
    }
    RelabelString relabel;
    std::vector<VarDataProcessor*> groups() {
        std::vector<VarDataProcessor*> all;
        GGraphDataSet* set = observer->getDataSet("g");
        if (set == nullptr) return all;
        set->resetData();
        while (VarDataProcessor* vdp = set->getData()) all.push_back(vdp);
        return all;
    }
    std::vector<std::string> messages(int level) const {
        std::vector<std::string> out;
        for (auto const& item : document.items())
            if (item.kind == host::output::ItemKind::Message && item.level == level) out.push_back(item.text);
        return out;
    }
    std::unique_ptr<test::ParsedCommand> parsed;
    ProcedureDataSource source;
    host::output::Document document;
    std::unique_ptr<GGraphDataObserver> observer;
    bool hasData = false;
};

class AggregatedPass : public ::testing::Test {
protected:
    // jobcat 1..3 (3 has no case with a valid salary under listwise tests), a string region
    // with a blank value, a split variable and a dichotomy set.
    void SetUp() override {
        hd::resetDatasets();
        test::CaseBuilder data(10);
        data.numeric("jobcat", {2, 1, 2, 1, 2, 1, 2, 1, 2, 2});
        data.numeric("salary", {2, 1, 4, 3, 4, 3, 5, 3, 7, 8});
        data.text("region", 6, {"north", "south", "north", "", "south", "south", "north", "north", "north", "south"});
        data.numeric("sp", {1, 1, 1, 1, 1, 2, 2, 2, 2, kSys});
        data.numeric("own_car", {1, 0, 1, 1, 0, 0, 1, 0, 1, 1});
        data.numeric("own_bike", {0, 0, 1, 1, 1, 0, 0, 0, 0, 1});
        data.set("$own", 2, {"own_car", "own_bike"}, "1");
        int car = hd::findVariable(*data.data(), "own_car");
        data.label(car, 0, "no");
        data.label(car, 1, "yes");
        data.variable(car).measure = MEASURE_NOMINAL;
        builder_ = std::make_unique<test::CaseBuilder>(data);
        hd::setActiveDataset(data.data());
    }
    void TearDown() override { hd::resetDatasets(); }
    std::unique_ptr<test::CaseBuilder> builder_;
};

}  // namespace

TEST_F(AggregatedPass, FunctionsWithErrorBarsOneRowPerCell) {
    Pass pass("VARIABLES=jobcat MEANCI(salary, 95) MEDIAN(salary) COUNT() SUM(salary) PTILE(salary, 25)");
    EXPECT_TRUE(pass.hasData);
    auto groups = pass.groups();
    ASSERT_EQ(groups.size(), 1u);
    // jobcat 1: salary {1,3,3,3}; jobcat 2: {2,4,4,5,7,8}. Means and quartiles from Python's
    // statistics module (quantiles(method='exclusive')); the interval is mean -/+ t * se with
    // scipy.stats.t.ppf(0.975, 3) = 3.182446305284263 and t.ppf(0.975, 5) = 2.570581835636314.
    std::string const expected =
        "jobcat=1 MEANCI_salary_95=2.5 MEANCI_salary_95_LOW=0.908777 MEANCI_salary_95_HIGH=4.09122 "
        "MEDIAN_salary=3 COUNT=4 SUM_salary=10 PTILE_salary_25=1.5\n"
        "jobcat=2 MEANCI_salary_95=5 MEANCI_salary_95_LOW=2.7008 MEANCI_salary_95_HIGH=7.2992 "
        "MEDIAN_salary=4.5 COUNT=6 SUM_salary=30 PTILE_salary_25=3.5\n";
    EXPECT_EQ(rows(*groups[0], "g"), expected);
    EXPECT_NEAR(cell(*groups[0], "g", "MEANCI_salary_95_LOW", 0), 2.5 - 3.182446305284263 * 0.5, 1e-9);
    EXPECT_NEAR(cell(*groups[0], "g", "MEANCI_salary_95_HIGH", 1),
                5 + 2.570581835636314 * std::sqrt(4.8 / 6), 1e-9);
}

TEST_F(AggregatedPass, CountIntervalsMedianIntervalsAndVarsToCases) {
    Pass counts("VARIABLES=jobcat COUNTCI(95)");
    auto groups = counts.groups();
    ASSERT_EQ(groups.size(), 1u);
    // The interval of 4 out of a subtotal of 14 (the cell counted twice, as the pass sums it):
    // 14 * scipy.stats.beta.ppf([0.025, 0.975], 4.5, 10.5).
    VarDataProcessor const& c = *groups[0];
    EXPECT_EQ(cell(c, "g", "COUNTCI_95", 0), 4.0);
    double const low = cell(c, "g", "COUNTCI_95_LOW", 0), high = cell(c, "g", "COUNTCI_95_HIGH", 0);
    EXPECT_GT(low, 0.0);
    EXPECT_LT(low, 4.0);
    EXPECT_GT(high, 4.0);

    Pass transposed("VARIABLES=jobcat MEAN(salary) MEDIANCI(salary, 95) TRANSFORM=VARSTOCASES");
    auto t = transposed.groups();
    ASSERT_EQ(t.size(), 1u);
    // Two statistics: two rows per cell, index 0 and 1. The median interval of {2,4,4,5,7,8}
    // (n = 6, k = 1 by the binomial CDF, computed by hand) is x(1) .. x(6); jobcat 1 has n = 4,
    // too few for 95%, so its ends are infinite and become the lowest double.
    std::string const text = rows(*t[0], "g");
    EXPECT_NE(text.find("jobcat=2 #SUMMARY=5 #INDEX=0"), std::string::npos) << text;
    EXPECT_NE(text.find("jobcat=2 #SUMMARY=4.5 #INDEX=1 #LOW=2 #HIGH=8"), std::string::npos) << text;
    EXPECT_EQ(t[0]->GetRowCount("g"), 4u);
}

TEST_F(AggregatedPass, FiltersWithTheirClosingMessages) {
    Pass some("VARIABLES=jobcat COUNT() DATAFILTER=own_car(VALUES=1 7)");
    auto groups = some.groups();
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(rows(*groups[0], "g"), "jobcat=1 COUNT=1\njobcat=2 COUNT=5\n");
    EXPECT_EQ(some.messages(2), (std::vector<std::string>{
        "Specified value 7 for variable own_car on DATAFILTER keyword of subcommand GRAPHDATASET is not found in "
        "the data."}));

    Pass none("VARIABLES=jobcat COUNT() DATAFILTER=own_car(VALUES=7)");
    EXPECT_FALSE(none.hasData);
    EXPECT_EQ(none.messages(3), (std::vector<std::string>{
        "No data to graph because all values of filter field own_car have been excluded."}));
    EXPECT_TRUE(none.messages(2).empty());
}

TEST_F(AggregatedPass, ReportMissingDecidesOnBlankStringsAndMissingNumbers) {
    // By hand: north in five cases, south in four, one blank.
    Pass hidden("VARIABLES=region COUNT()");
    EXPECT_EQ(rows(*hidden.groups()[0], "g"), "region='north' COUNT=5\nregion='south' COUNT=4\n");
    Pass shown("VARIABLES=region COUNT() REPORTMISSING=YES");
    EXPECT_EQ(rows(*shown.groups()[0], "g"), "region='' COUNT=1\nregion='north' COUNT=5\nregion='south' COUNT=4\n");

    hd::variableAt(*hd::activeDataset(), 0).missingNumbers = {1};  // jobcat 1 is user-missing
    Pass numeric("VARIABLES=jobcat COUNT()");
    EXPECT_EQ(rows(*numeric.groups()[0], "g"), "jobcat=2 COUNT=6\n");
    Pass kept("VARIABLES=jobcat COUNT() REPORTMISSING=YES");
    EXPECT_EQ(rows(*kept.groups()[0], "g"), "jobcat=1 COUNT=4\njobcat=2 COUNT=6\n");
}

TEST_F(AggregatedPass, CaseLimitWarnsOnlyBeyondTheLimit) {
    Pass exact("VARIABLES=jobcat COUNT() CASELIMIT=10");
    EXPECT_TRUE(exact.messages(2).empty());
    Pass limited("VARIABLES=jobcat COUNT() CASELIMIT=3");
    EXPECT_EQ(limited.messages(2), (std::vector<std::string>{"Only the first 3 cases from the g data set have been used."}));
    EXPECT_EQ(rows(*limited.groups()[0], "g"), "jobcat=1 COUNT=1\njobcat=2 COUNT=2\n");
}

TEST_F(AggregatedPass, DichotomyCategoriesAreNamedByTheirMembers) {
    Pass pass("VARIABLES=$own COUNT()");
    // own_car holds 1 in six cases, own_bike in four (counted by hand).
    EXPECT_EQ(rows(*pass.groups()[0], "g"), "$own='own_car' COUNT=6\n$own='own_bike' COUNT=4\n");
}

TEST_F(AggregatedPass, SplitGroupsSkipTheOneWithAMissingSplitValue) {
    auto& data = *hd::activeDataset();
    data.split = {hd::findVariable(data, "sp")};
    data.groups.reset();
    Pass pass("VARIABLES=jobcat MEAN(salary)");
    auto groups = pass.groups();
    ASSERT_EQ(groups.size(), 2u);  // sp = 1 and sp = 2; the case with no sp value is left out
    EXPECT_EQ(rows(*groups[0], "g"), "jobcat=1 MEAN_salary=2\njobcat=2 MEAN_salary=3.33333\n");
    EXPECT_EQ(rows(*groups[1], "g"), "jobcat=1 MEAN_salary=3\njobcat=2 MEAN_salary=6\n");
    GGraphDataSet* set = pass.observer->getDataSet("g");
    set->resetData();
    set->getData();
    EXPECT_EQ(set->getSplitNames(), (std::vector<std::string>{"sp"}));
    EXPECT_EQ(set->getSplitCategories(), (std::vector<std::string>{"1"}));
    EXPECT_TRUE(set->containsSplits());
    EXPECT_EQ(pass.observer->getDataSet("G"), nullptr);  // names match byte for byte

    Pass kept("VARIABLES=jobcat MEAN(salary) REPORTMISSING=YES");
    auto all = kept.groups();
    ASSERT_EQ(all.size(), 3u);
    GGraphDataSet* keptSet = kept.observer->getDataSet("g");
    keptSet->resetData();
    for (int i = 0; i < 3; ++i) keptSet->getData();
    EXPECT_EQ(keptSet->getSplitCategories(), (std::vector<std::string>{"Missing"}));
}

TEST_F(AggregatedPass, SplitGroupsGatheredFromAcrossTheFile) {
    // Split by jobcat, whose values alternate: each group's cases are rows far apart, and
    // they go into the cube as runs of the group's own order.
    auto& data = *hd::activeDataset();
    data.split = {hd::findVariable(data, "jobcat")};
    data.groups.reset();
    Pass pass("VARIABLES=region MEAN(salary)");
    auto groups = pass.groups();
    ASSERT_EQ(groups.size(), 2u);
    // Groups in the order first met. jobcat 2: rows 0, 2, 4, 6, 8, 9; jobcat 1: rows 1, 3, 5,
    // 7 (the blank region is no row).
    EXPECT_EQ(rows(*groups[0], "g"), "region='north' MEAN_salary=4.5\nregion='south' MEAN_salary=6\n");
    EXPECT_EQ(rows(*groups[1], "g"), "region='north' MEAN_salary=3\nregion='south' MEAN_salary=2\n");
}

TEST_F(AggregatedPass, NoValidCasesEndsTheRunEarly) {
    auto run = test::runJob(
        "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=jobcat COUNT() DATAFILTER=own_car(VALUES=7) /GRAPHSPEC SOURCE=INLINE.\n"
        "BEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n");
    EXPECT_EQ(run->messages(2), (std::vector<std::string>{"There are no valid cases..."}));
    EXPECT_EQ(run->texts(host::output::ItemKind::Trace), (std::vector<std::string>{"Starting GGraph Procedure"}));
}
