// The unaggregated pass on an in-memory dataset: GGRAPH commands parsed and validated by the real
// parser, the data phase run by the observer, and the rows of each split group read back.
#include <gtest/gtest.h>

#include "ggraph/variables/relabel_string.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "ggraph/data/ggraph_data_observer.h"
#include "ggraph/data/ggraph_data_set.h"
#include "host/dictionary/registry.h"
#include "host/output/document.h"
#include "platform/data_source.h"
#include "platform/var_data_processor.h"
#include "support/case_builder.h"
#include "support/job_harness.h"
#include "support/parse_harness.h"
#include "support/vdp_rows.h"

namespace hd = host::dictionary;

namespace {

double const kSys = KWEL_Globals::sysmis();

// One whole command (without its GPL block) through the parser, validation and the data phase.
struct Pass {
    explicit Pass(std::string const& command) {
        parsed = test::parse(command + "\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n");
        EXPECT_TRUE(parsed->validated) << command;
        host::output::ScopedDocument scope(document);
        observer = std::make_unique<GGraphDataObserver>(parsed->settings(), &source);
        hasData = observer->populateData(relabel);
    }
    // A data set "g" with the given GRAPHDATASET words and an inline spec.
    static std::string inlineCommand(std::string const& words) {
        return "GGRAPH /GRAPHDATASET NAME=\"g\" " + words + " /GRAPHSPEC SOURCE=INLINE.";
    }
    std::vector<std::string> groups() {
        std::vector<std::string> all;
        GGraphDataSet* set = observer->getDataSet("g");
        if (set == nullptr)
            return all;
        set->resetData();
        while (VarDataProcessor* vdp = set->getData()) all.push_back(test::rows(*vdp, "g"));
        return all;
    }
    std::string only() {
        auto all = groups();
        EXPECT_EQ(all.size(), 1u);
        return all.empty() ? std::string() : all.front();
    }
    std::vector<std::string> messages(int level) const {
        std::vector<std::string> out;
        for (auto const& item : document.items())
            if (item.kind == host::output::ItemKind::Message && item.level == level)
                out.push_back(item.text);
        return out;
    }
    RelabelString relabel;
    std::unique_ptr<test::ParsedCommand> parsed;
    ProcedureDataSource source;
    host::output::Document document;
    std::unique_ptr<GGraphDataObserver> observer;
    bool hasData = false;
};

long lineCount(std::string const& text) {
    return std::count(text.begin(), text.end(), '\n');
}

Pass inlinePass(std::string const& words) {
    return Pass(Pass::inlineCommand(words));
}

class UnaggregatedPass : public ::testing::Test {
protected:
    // Six cases. x lacks case 3, y is user-missing (99) in case 2, c user-missing (9) in case 4,
    // g blank in case 4, own_car and own_bike each lack one case.
    void SetUp() override {
        hd::resetDatasets();
        test::CaseBuilder data(6);
        data.numeric("x", {1, 2, kSys, 4, 5, 6});
        int y = data.numeric("y", {10, 99, 30, 40, 50, 60});
        int c = data.numeric("c", {1, 2, 1, 9, 2, 2});
        data.text("g", 1, {"m", "f", "m", " ", "f", "m"});
        data.text("name", 6, {"ann", "bob", "cy", "dee", "ed", "flo"});
        data.numeric("w", {1, 2, 1, 1, 1, 3});
        data.numeric("sp", {1, kSys, 1, kSys, 2, 2});
        data.numeric("own_car", {1, 0, kSys, 1, 0, 1});
        data.numeric("own_bike", {0, 1, 1, kSys, 0, 0});
        data.set("$own", 2, {"own_car", "own_bike"}, "1");
        data.variable(y).missingNumbers = {99};
        data.variable(c).missingNumbers = {9};
        data.variable(c).measure = MEASURE_NOMINAL;
        data.label(y, 30, "thirty");
        // Unlabelled values pass any DATAFILTER, so c labels all of its values.
        data.label(c, 1, "one");
        data.label(c, 2, "two");
        data.label(c, 9, "unknown");
        builder_ = std::make_unique<test::CaseBuilder>(data);
        hd::setActiveDataset(data.data());
    }
    void TearDown() override { hd::resetDatasets(); }
    std::unique_ptr<test::CaseBuilder> builder_;
};

}  // namespace

TEST_F(UnaggregatedPass, ListwiseDeletesTheRowAndTheNextCaseTakesItsNumber) {
    auto listwise = inlinePass("VARIABLES=x y");
    EXPECT_TRUE(listwise.hasData);
    EXPECT_EQ(
        listwise.only(),
        "x=1 y=10 $CASENUM=1\nx=4 y=40 $CASENUM=4\nx=5 y=50 $CASENUM=5\nx=6 y=60 $CASENUM=6\n");

    auto variablewise = inlinePass("VARIABLES=x y MISSING=VARIABLEWISE");
    EXPECT_EQ(variablewise.only(),
              "x=1 y=10 $CASENUM=1\nx=2 y=. $CASENUM=2\nx=. y=30 $CASENUM=3\n"
              "x=4 y=40 $CASENUM=4\nx=5 y=50 $CASENUM=5\nx=6 y=60 $CASENUM=6\n");
    EXPECT_TRUE(variablewise.messages(2).empty());
    EXPECT_TRUE(variablewise.messages(3).empty());
}

TEST_F(UnaggregatedPass, ReportMissingKeepsUserMissingCategoriesButNotScaleValues) {
    // c is user-missing in case 4 and keeps its value; x has the SCALE level and shows as system
    // missing; y has no level in the command, so its user-missing 99 stays as it is.
    auto shown = inlinePass("VARIABLES=c x[LEVEL=SCALE] y REPORTMISSING=YES");
    EXPECT_EQ(shown.only(),
              "c=1 x=1 y=10 $CASENUM=1\nc=2 x=2 y=99 $CASENUM=2\nc=1 x=. y=30 $CASENUM=3\n"
              "c=9 x=4 y=40 $CASENUM=4\nc=2 x=5 y=50 $CASENUM=5\nc=2 x=6 y=60 $CASENUM=6\n");

    auto hidden = inlinePass("VARIABLES=c");
    EXPECT_EQ(hidden.only(),
              "c=1 $CASENUM=1\nc=2 $CASENUM=2\nc=1 $CASENUM=3\nc=2 $CASENUM=5\nc=2 $CASENUM=6\n");
}

TEST_F(UnaggregatedPass, BlankStringsAreMissingAndTextsAreTrimmed) {
    auto listwise = inlinePass("VARIABLES=g name");
    EXPECT_EQ(
        listwise.only(),
        "g='m' name='ann' $CASENUM=1\ng='f' name='bob' $CASENUM=2\ng='m' name='cy' $CASENUM=3\n"
        "g='f' name='ed' $CASENUM=5\ng='m' name='flo' $CASENUM=6\n");
    auto variablewise = inlinePass("VARIABLES=g MISSING=VARIABLEWISE");
    EXPECT_NE(variablewise.only().find("g=. $CASENUM=4\n"), std::string::npos)
        << variablewise.only();
    auto reported = inlinePass("VARIABLES=g REPORTMISSING=YES");
    EXPECT_NE(reported.only().find("g=' ' $CASENUM=4\n"), std::string::npos) << reported.only();
}

TEST_F(UnaggregatedPass, WeightColumnFollowsTheCaseNumber) {
    hd::activeDataset()->weight = hd::findVariable(*hd::activeDataset(), "w");
    auto pass = inlinePass("VARIABLES=x");
    EXPECT_EQ(pass.only(),
              "x=1 $CASENUM=1 $WEIGHT=1\nx=2 $CASENUM=2 $WEIGHT=2\nx=4 $CASENUM=4 $WEIGHT=1\n"
              "x=5 $CASENUM=5 $WEIGHT=1\nx=6 $CASENUM=6 $WEIGHT=3\n");
}

TEST_F(UnaggregatedPass, MultipleResponseChildrenMissingUnderListwiseKeepTheRow) {
    // Only a template spec may chart a set case by case; its mapping brings in the members.
    Pass pass(
        "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=$own "
        "/GRAPHSPEC SOURCE=VIZTEMPLATE(NAME=\"t\"[LOCATION=LOCAL] MAPPING(\"cat\"=\"$own\")).");
    EXPECT_EQ(pass.only(),
              "$CASENUM=1 own_car=1 own_bike=0\n$CASENUM=2 own_car=0 own_bike=1\n"
              "$CASENUM=3 own_car=. own_bike=1\n$CASENUM=4 own_car=1 own_bike=.\n"
              "$CASENUM=5 own_car=0 own_bike=0\n$CASENUM=6 own_car=1 own_bike=0\n");
}

TEST_F(UnaggregatedPass, CaseValuesBecomeCaseNumbersWithTheirRelabels) {
    // y's index in the dataset is 1.
    auto hidden = inlinePass("VARIABLES=name CASEVALUE(y)");
    EXPECT_EQ(hidden.only(),
              "name='ann' $CASENUM=1 CASEVALUE_y=1\nname='bob' $CASENUM=2 CASEVALUE_y=.\n"
              "name='cy' $CASENUM=3 CASEVALUE_y=3\nname='dee' $CASENUM=4 CASEVALUE_y=4\n"
              "name='ed' $CASENUM=5 CASEVALUE_y=5\nname='flo' $CASENUM=6 CASEVALUE_y=6\n");
    double value = 0;
    std::string text, label;
    ASSERT_TRUE(hidden.relabel.getCaseValueRelabelContent(1, 1, value, text, label));
    EXPECT_EQ(value, 3.0);  // case 2 is user-missing and left out of the store
    EXPECT_EQ(text, "30");
    EXPECT_EQ(label, "thirty");
    EXPECT_FALSE(hidden.relabel.getCaseValueRelabelContent(1, 5, value, text, label));

    auto shown = inlinePass("VARIABLES=name CASEVALUE(y) REPORTMISSING=YES");
    EXPECT_NE(shown.only().find("name='bob' $CASENUM=2 CASEVALUE_y=2\n"), std::string::npos);
    ASSERT_TRUE(shown.relabel.getCaseValueRelabelContent(1, 1, value, text, label));
    EXPECT_EQ(value, 2.0);
    EXPECT_EQ(text, "99");

    // A deleted case still reaches the store: x is missing in case 3.
    auto deleted = inlinePass("VARIABLES=x CASEVALUE(y)");
    EXPECT_EQ(deleted.groups().front().find("$CASENUM=3"), std::string::npos);
    ASSERT_TRUE(deleted.relabel.getCaseValueRelabelContent(1, 1, value, text, label));
    EXPECT_EQ(value, 3.0);
}

TEST_F(UnaggregatedPass, TransposedDataSetsGiveOneRowPerVariable) {
    auto listwise = inlinePass("VARIABLES=x y TRANSFORM=VARSTOCASES");
    EXPECT_EQ(listwise.only(),
              "#SUMMARY=1 #INDEX=0 $CASENUM=1\n#SUMMARY=10 #INDEX=1 $CASENUM=1\n"
              "#SUMMARY=4 #INDEX=0 $CASENUM=4\n#SUMMARY=40 #INDEX=1 $CASENUM=4\n"
              "#SUMMARY=5 #INDEX=0 $CASENUM=5\n#SUMMARY=50 #INDEX=1 $CASENUM=5\n"
              "#SUMMARY=6 #INDEX=0 $CASENUM=6\n#SUMMARY=60 #INDEX=1 $CASENUM=6\n");
    auto variablewise = inlinePass("VARIABLES=x name TRANSFORM=VARSTOCASES MISSING=VARIABLEWISE");
    std::string const text = variablewise.only();
    EXPECT_NE(text.find("#SUMMARY=2 #INDEX=0 $CASENUM=2\n#SUMMARY='bob' #INDEX=1 $CASENUM=2\n"
                        "#SUMMARY=. #INDEX=0 $CASENUM=3\n#SUMMARY='cy' #INDEX=1 $CASENUM=3\n"),
              std::string::npos)
        << text;
    EXPECT_EQ(lineCount(text), 12);
}

TEST_F(UnaggregatedPass, FiltersKeepMatchingCasesAndReportWhatNeverMatched) {
    auto some = inlinePass("VARIABLES=x DATAFILTER=c(VALUES=1 7)");
    EXPECT_EQ(some.only(), "x=1 $CASENUM=1\n");  // case 3 matches but lacks x
    EXPECT_EQ(some.messages(2),
              (std::vector<std::string>{
                  "Specified value 7 for variable c on DATAFILTER keyword of subcommand "
                  "GRAPHDATASET is not found in the data."}));

    auto none = inlinePass("VARIABLES=x DATAFILTER=c(VALUES=7)");
    EXPECT_FALSE(none.hasData);
    EXPECT_EQ(none.messages(3),
              (std::vector<std::string>{
                  "No data to graph because all values of filter field c have been excluded."}));
    EXPECT_EQ(none.messages(2).size(), 1u);  // the never-met value is reported as well
}

TEST_F(UnaggregatedPass, NoCasesAndNoFiltersStillSayNoDataToGraph) {
    hd::resetDatasets();
    test::CaseBuilder empty(0);
    empty.numeric("x", {});
    hd::setActiveDataset(empty.data());
    auto pass = inlinePass("VARIABLES=x");
    EXPECT_FALSE(pass.hasData);
    EXPECT_EQ(pass.messages(3),
              (std::vector<std::string>{
                  "No data to graph because all values of filter field have been excluded."}));
}

TEST_F(UnaggregatedPass, SplitGroupsWithAMissingValueAreRefusedUnlessReported) {
    auto& data = *hd::activeDataset();
    data.split = {hd::findVariable(data, "sp")};
    data.groups.reset();
    auto pass = inlinePass("VARIABLES=x");
    // Groups come in order of first appearance: sp = 1, the missing one, sp = 2.
    EXPECT_EQ(pass.groups(),
              (std::vector<std::string>{"x=1 $CASENUM=1\n", "x=5 $CASENUM=5\nx=6 $CASENUM=6\n"}));
    GGraphDataSet* set = pass.observer->getDataSet("g");
    set->resetData();
    set->getData();
    set->getData();
    EXPECT_EQ(set->getSplitCategories(), (std::vector<std::string>{"2"}));
    EXPECT_TRUE(pass.messages(3).empty());

    auto kept = inlinePass("VARIABLES=x REPORTMISSING=YES");
    EXPECT_EQ(kept.groups(), (std::vector<std::string>{"x=1 $CASENUM=1\nx=. $CASENUM=3\n",
                                                       "x=2 $CASENUM=2\nx=4 $CASENUM=4\n",
                                                       "x=5 $CASENUM=5\nx=6 $CASENUM=6\n"}));

    // The last group loses every case to the filter, but earlier groups matched: no message.
    auto filtered = inlinePass("VARIABLES=x DATAFILTER=c(VALUES=1)");
    EXPECT_EQ(filtered.groups(), (std::vector<std::string>{"x=1 $CASENUM=1\n", ""}));
    EXPECT_TRUE(filtered.messages(3).empty());
}

TEST_F(UnaggregatedPass, CaseLimitCountsKeptRowsAndWarnsOnlyTwoCasesBeyond) {
    auto exact = inlinePass("VARIABLES=name CASELIMIT=5");
    EXPECT_EQ(lineCount(exact.only()), 5);
    EXPECT_TRUE(exact.messages(2).empty());  // the aggregated pass would warn here

    auto limited = inlinePass("VARIABLES=name CASELIMIT=4");
    EXPECT_EQ(
        limited.messages(2),
        (std::vector<std::string>{"Only the first 4 cases from the g data set have been used."}));
    EXPECT_NE(limited.only().find("name='dee' $CASENUM=4\n"), std::string::npos);

    // Case 3 costs no place: the three rows are cases 1, 2 and 4, then 5 and 6 are left over.
    auto kept = inlinePass("VARIABLES=x CASELIMIT=3");
    EXPECT_EQ(kept.only(), "x=1 $CASENUM=1\nx=2 $CASENUM=2\nx=4 $CASENUM=4\n");
    EXPECT_EQ(kept.messages(2).size(), 1u);
}

TEST_F(UnaggregatedPass, CaseValueChartShowsTheCasesThroughTheirRelabels) {
    auto run = test::runJob(
        "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=x CASEVALUE(y) /GRAPHSPEC SOURCE=INLINE.\n"
        "BEGIN GPL\nSOURCE: s=userSource(id(\"g\"))\nDATA: x=col(source(s), name(\"x\"))\n"
        "DATA: CASEVALUE_y=col(source(s), name(\"CASEVALUE_y\"), unit.category())\n"
        "ELEMENT: point(position(x*CASEVALUE_y))\nEND GPL.\n");
    host::output::Item const* chart = nullptr;
    for (auto const* item : run->flat())
        if (item->kind == host::output::ItemKind::Chart) chart = item;
    ASSERT_NE(chart, nullptr);
    nlohmann::json const& payload = *chart->payload;
    nlohmann::json relabels;
    for (auto const& variable : payload["variables"])
        if (variable["name"] == "CASEVALUE_y") relabels = variable["relabels"];
    // Case 2 is user-missing and has none; case 3 is charted nowhere (x is missing) but its
    // value was met, and its value label takes the place of its text.
    nlohmann::json const expected = nlohmann::json::parse(R"([
        {"value": "1", "label": "10"}, {"value": "3", "label": "thirty"},
        {"value": "4", "label": "40"}, {"value": "5", "label": "50"}, {"value": "6", "label": "60"}])");
    EXPECT_EQ(relabels, expected) << payload["variables"].dump();
    EXPECT_EQ(payload["data"]["g"]["rows"].size(), 5u) << payload["data"].dump();
}
