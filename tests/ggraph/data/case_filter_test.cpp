// The case filter on a real dataset, case by case.
#include <gtest/gtest.h>

#include <memory>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "platform/data_source.h"
#include "support/employees.h"
#include "support/parse_harness.h"

namespace {

// The ids of the cases that pass the data set's filter `index`, in the order the data gives them
// (the employees are split by region: north 1 3 6, then south 2 4 5).
std::vector<int> passingIds(GGraphDataSet& set, GGraphVariableFilter* filter) {
    KWEL_DataSource const* source = set.getKWEL_DataSource();
    std::unique_ptr<KWEL_InputCaseIterator> cases(source->CreateInputCaseIterator(0));
    std::vector<int> ids;
    while (cases->NextCase() != 0) {
        auto* split = dynamic_cast<ProcDSIterator*>(cases.get());
        if (split != nullptr && split->SplitGroupEnd()) continue;
        if (set.isMatchFilter(filter, cases.get(), source))
            ids.push_back(static_cast<int>(*cases->GetObsPointer(0)));
    }
    return ids;
}

class CaseFilter : public test::EmployeesTest {
protected:
    GGraphDataSet& parseSet(std::string const& subcommand) {
        run_ = test::parse("GGRAPH /GRAPHDATASET NAME=\"g\" " + subcommand +
                           " /GRAPHSPEC.\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n");
        EXPECT_TRUE(run_->parsed) << run_->onlyMessage().text;
        return *run_->settings().GetAggregatedDataSets().at(0);
    }
    std::unique_ptr<test::ParsedCommand> run_;
};

using Ids = std::vector<int>;

}  // namespace

TEST_F(CaseFilter, ListedValuesPassAndAFilterOnTheFirstVariableCountsTwice) {
    GGraphDataSet& second = parseSet("VARIABLES=gender jobcat COUNT() DATAFILTER=jobcat(VALUES=1 3)");
    GGraphVariableFilter* filter = second.GetVariableFilters()[0];
    EXPECT_EQ(passingIds(second, filter), (Ids{1, 3, 6, 4}));
    EXPECT_EQ(filter->getValueMatchedMap()["1"], 3u);
    EXPECT_EQ(filter->getValueMatchedMap()["3"], 1u);

    GGraphDataSet& first = parseSet("VARIABLES=jobcat gender COUNT() DATAFILTER=jobcat(VALUES=1)");
    GGraphVariableFilter* counted = first.GetVariableFilters()[0];
    EXPECT_EQ(passingIds(first, counted), (Ids{1, 3, 6}));
    EXPECT_EQ(counted->getValueMatchedMap()["1"], 6u);  // looked at twice: intended
}

TEST_F(CaseFilter, UnlabeledValuesPassUnlessExcluded) {
    // Gender is labelled f and m; case 6 holds a blank, which has no label.
    GGraphDataSet& included = parseSet("VARIABLES=jobcat gender COUNT() DATAFILTER=gender(VALUES=\"m\")");
    EXPECT_EQ(passingIds(included, included.GetVariableFilters()[0]), (Ids{1, 6, 4}));
    GGraphDataSet& excluded =
        parseSet("VARIABLES=jobcat gender COUNT() DATAFILTER=gender(VALUES=\"m\" UNLABELED=EXCLUDE)");
    EXPECT_EQ(passingIds(excluded, excluded.GetVariableFilters()[0]), (Ids{1, 4}));
    GGraphDataSet& all = parseSet("VARIABLES=jobcat gender COUNT() DATAFILTER=gender(VALUES=ALL UNLABELED=EXCLUDE)");
    EXPECT_EQ(passingIds(all, all.GetVariableFilters()[0]), (Ids{1, 3, 6, 2, 4, 5}));
    EXPECT_EQ(all.GetVariableFilters()[0]->getValueMatchedMap()["ALL"], 0u);
}

TEST_F(CaseFilter, NumbersCompareByValueStringsByTrimmedText) {
    GGraphDataSet& set = parseSet("VARIABLES=jobcat region COUNT()");
    std::string salary = "salary";
    GGraphVariableFilter byNumber(salary);
    byNumber.setIncludeULV(false);
    byNumber.getValueList() = {"5.7e4", "abc"};  // abc reads as 0, which no salary holds
    EXPECT_EQ(passingIds(set, &byNumber), (Ids{1}));

    std::string region = "region";
    GGraphVariableFilter byText(region);
    byText.setIncludeULV(false);
    byText.getValueList() = {"south"};  // the data's "south" is blank-padded to 8 bytes
    EXPECT_EQ(passingIds(set, &byText), (Ids{2, 4, 5}));

    std::string nowhere = "nosuch";
    GGraphVariableFilter unknown(nowhere);
    unknown.getValueList() = {"1"};
    EXPECT_TRUE(passingIds(set, &unknown).empty());
}

TEST_F(CaseFilter, DichotomySetPassesOnItsCountedValue) {
    GGraphDataSet& set = parseSet("VARIABLES=jobcat $owns COUNT()");
    std::string owns = "$owns";
    GGraphVariableFilter filter(owns);
    filter.setIncludeULV(false);
    filter.getValueList() = {"2"};  // the filter's own list is not consulted for a dichotomy set
    EXPECT_EQ(passingIds(set, &filter), (Ids{1, 3, 2, 5}));
    EXPECT_EQ(filter.getValueMatchedMap()["1"], 4u);
}
