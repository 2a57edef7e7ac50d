// The checks after the parse and the fill of template mappings, on the employees dataset.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/model/viz_template_mapping.h"
#include "ggraph/variables/ggraph_variable.h"
#include "support/employees.h"
#include "support/parse_harness.h"

namespace {

std::string const kBlock = "\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n";

std::string templateSpec(std::string const& mappings, std::string const& more = "") {
    return "/GRAPHSPEC SOURCE=VIZTEMPLATE(NAME=\"t\"[LOCATION=LOCAL] MAPPING(" + mappings + "))" +
           more;
}

class CompleteAndValidate : public test::EmployeesTest {};

}  // namespace

TEST_F(CompleteAndValidate, SingleVariablesGetFormatLevelLabelAndSharedLabelingVariable) {
    auto run = test::parse(
        "GGRAPH /GRAPHDATASET NAME=\"u\" VARIABLES=jobcat gender salary region "
        "/GRAPHDATASET NAME=\"s\" VARIABLES=jobcat[NAME=\"job\" LEVEL=SCALE] "
        "/GRAPHDATASET NAME=\"a\" VARIABLES=jobcat COUNT() " +
        templateSpec(
            "\"x\"=\"jobcat\" \"y\"=\"salary\" \"z\"=\"gender\" \"w\"=\"region\" \"v\"=\"jobcat\" "
            "\"s\"=\"job\" \"c\"=\"COUNT\"[DATASET=\"a\"] \"d\"=\"COUNT\" \"n\"=\"nosuch\"") +
        ".\n");
    ASSERT_TRUE(run->validated) << run->onlyMessage().text;
    auto const& m = run->spec(0).GetVIZTemplateMappings();
    ASSERT_EQ(m.size(), 9u);

    // jobcat: ordinal in the dictionary, with value labels and a label.
    EXPECT_EQ(m[0].dataSetName, "u");
    EXPECT_TRUE(m[0].categorical);
    EXPECT_TRUE(m[0].hasFormat);
    EXPECT_EQ(m[0].variableLabel, "Employment category");
    EXPECT_EQ(m[0].labelingVariable.rfind("labelingVariable_", 0), 0u);
    // The second mapping of jobcat shares the labeling variable; gender gets its own.
    EXPECT_EQ(m[4].labelingVariable, m[0].labelingVariable);
    EXPECT_TRUE(m[2].categorical);
    EXPECT_FALSE(m[2].labelingVariable.empty());
    EXPECT_NE(m[2].labelingVariable, m[0].labelingVariable);
    // salary: scale in the dictionary, no level in the command.
    EXPECT_FALSE(m[1].categorical);
    EXPECT_TRUE(m[1].labelingVariable.empty());
    EXPECT_EQ(m[1].variableLabel, "Current salary");
    EXPECT_EQ(KwelFormatType(m[1].format), FMT_DOLLAR);
    // region: nominal but no value labels and no label.
    EXPECT_TRUE(m[3].categorical);
    EXPECT_TRUE(m[3].labelingVariable.empty());
    EXPECT_TRUE(m[3].variableLabel.empty());
    // The command's SCALE wins over the dictionary's ordinal.
    EXPECT_FALSE(m[5].categorical);
    EXPECT_TRUE(m[5].labelingVariable.empty());
    // A statistic named with its data set is not categorical; without the qualifier the mapping
    // takes the first unaggregated data set and its statistics are not looked at.
    EXPECT_EQ(m[6].dataSetName, "a");
    EXPECT_FALSE(m[6].categorical);
    EXPECT_FALSE(m[6].hasFormat);
    EXPECT_EQ(m[7].dataSetName, "u");
    EXPECT_TRUE(m[7].categorical);
    // A label that matches nothing keeps its defaults, silently.
    EXPECT_TRUE(m[8].categorical);
    EXPECT_FALSE(m[8].hasFormat);
    EXPECT_TRUE(run->messages().empty());
}

TEST_F(CompleteAndValidate, VariablesOfAggregatedDataSetsAreNotSearched) {
    auto run = test::parse("GGRAPH /GRAPHDATASET NAME=\"a\" VARIABLES=salary COUNT() " +
                           templateSpec("\"x\"=\"salary\"") + ".\n");
    ASSERT_TRUE(run->validated);
    ViZTemplateMapping const& m = run->spec(0).GetVIZTemplateMappings()[0];
    EXPECT_EQ(m.dataSetName, "a");
    EXPECT_TRUE(m.categorical);  // scale in the dictionary, but never looked at
    EXPECT_FALSE(m.hasFormat);
}

TEST_F(CompleteAndValidate, MultipleResponseMappingsBringTheirMembersIntoTheDataSet) {
    auto run = test::parse(
        "GGRAPH /GRAPHDATASET NAME=\"m\" VARIABLES=$bought /GRAPHDATASET NAME=\"n\" "
        "VARIABLES=$owns " +
        templateSpec("\"a\"=\"$bought\" \"b\"=\"$owns\"") + ".\n");
    ASSERT_TRUE(run->validated) << run->onlyMessage().text;
    auto const& m = run->spec(0).GetVIZTemplateMappings();
    ASSERT_EQ(m.size(), 2u);

    EXPECT_TRUE(m[0].categorical);
    EXPECT_TRUE(m[0].multipleCategories);
    EXPECT_EQ(m[0].mrSetName, "$bought");  // no label: the set's name
    EXPECT_TRUE(m[0].countedValue.empty());
    ASSERT_EQ(m[0].mrChildren.size(), 2u);
    EXPECT_EQ(m[0].mrChildren[0].childName, "bought_a");
    EXPECT_FALSE(m[0].mrChildren[0].childLabelingVariable.empty());  // bought_a has value labels
    EXPECT_TRUE(m[0].mrChildren[1].childLabelingVariable.empty());

    EXPECT_TRUE(m[1].categorical);
    EXPECT_FALSE(m[1].multipleCategories);
    EXPECT_EQ(m[1].mrSetName, "Vehicles owned");
    EXPECT_EQ(m[1].countedValue, "1");
    ASSERT_EQ(m[1].mrChildren.size(), 2u);
    EXPECT_EQ(m[1].mrChildren[1].childName, "own_bike");
    EXPECT_EQ(m[1].mrChildren[1].childLabel, "Owns a bike");

    // The members join the data sets as children of their set, behind $CASENUM and $WEIGHT.
    auto const& sets = run->settings().GetUnAggregatedDataSets();
    ASSERT_EQ(sets.size(), 2u);
    std::vector<std::string> children;
    for (GGraphDataSet* set : sets)
        for (GGraphVariable* variable : set->GetVariables())
            if (variable->isMRChild())
                children.push_back(set->GetSourceName() + ":" + variable->GetKWELName());
    EXPECT_EQ(children,
              (std::vector<std::string>{"m:bought_a", "m:bought_b", "n:own_car", "n:own_bike"}));
}

TEST_F(CompleteAndValidate, DataSetNamesOfMappings) {
    auto none = test::parse("GGRAPH " + templateSpec("\"x\"=\"y\"") + ".\n");
    ASSERT_TRUE(none->validated);
    EXPECT_EQ(none->spec(0).GetVIZTemplateMappings()[0].dataSetName, "");

    auto aggregatedOnly = test::parse("GGRAPH /GRAPHDATASET NAME=\"a\" VARIABLES=jobcat COUNT() " +
                                      templateSpec("\"x\"=\"y\"") + ".\n");
    ASSERT_TRUE(aggregatedOnly->validated);
    EXPECT_EQ(aggregatedOnly->spec(0).GetVIZTemplateMappings()[0].dataSetName, "a");

    auto unknown = test::parse("GGRAPH /GRAPHDATASET NAME=\"a\" VARIABLES=jobcat COUNT() " +
                               templateSpec("\"x\"=\"y\"[DATASET=\"A\"]") + ".\n");
    EXPECT_FALSE(unknown->validated);
    EXPECT_EQ(unknown->onlyMessage().level, 3);
    EXPECT_EQ(unknown->onlyMessage().text, "The specified dataset A does not exist.");
}

TEST_F(CompleteAndValidate, SetsInUnaggregatedDataSetsNeedAFunctionOutsideTemplates) {
    std::string const message =
        "An aggregation function must be specified when using multiple response sets.";
    auto inlineSpec = test::parse(
        "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=$owns /GRAPHSPEC SOURCE=INLINE." + kBlock);
    EXPECT_FALSE(inlineSpec->validated);
    EXPECT_EQ(inlineSpec->onlyMessage().level, 3);
    EXPECT_EQ(inlineSpec->onlyMessage().text, message);

    // A file spec fails even next to a template spec that could use the set.
    auto mixed = test::parse("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=$owns " +
                             templateSpec("\"a\"=\"$owns\"") +
                             " /GRAPHSPEC SOURCE=GPLFILE(\"chart.gpl\").\n");
    EXPECT_FALSE(mixed->validated);
    EXPECT_EQ(mixed->onlyMessage().text, message);

    auto aggregated = test::parse(
        "GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=$owns COUNT() /GRAPHSPEC SOURCE=INLINE." +
        kBlock);
    EXPECT_TRUE(aggregated->validated);
}

TEST_F(CompleteAndValidate, MapAndStyleSheetFilesOfTemplates) {
    std::string const readable = GGRAPH_SOURCE_DIR "/tests/data/dictionary/employees.csv";
    auto unreadable = test::parse(
        "GGRAPH " + templateSpec("\"x\"=\"y\"", " VIZMAP=\"nosuch.json\"[TYPE=DATA MAPKEY=\"k\"]") +
        ".\n");
    EXPECT_FALSE(unreadable->validated);
    EXPECT_EQ(unreadable->onlyMessage().text, "File nosuch.json has no access...");
    EXPECT_EQ(unreadable->onlyMessage().level, 3);

    auto noKey = test::parse(
        "GGRAPH " + templateSpec("\"x\"=\"y\"", " VIZMAP=\"" + readable + "\"[TYPE=DATA]") + ".\n");
    EXPECT_FALSE(noKey->validated);
    EXPECT_EQ(noKey->onlyMessage().text, "A map must be specified...");

    auto reference =
        test::parse("GGRAPH " +
                    templateSpec("\"x\"=\"y\"", " VIZMAP=\"" + readable +
                                                    "\"[TYPE=DATA MAPKEY=\"k\"] "
                                                    "VIZMAP=\"gone.json\"[TYPE=REFERENCE]") +
                    ".\n");
    EXPECT_FALSE(reference->validated);
    EXPECT_EQ(reference->onlyMessage().text, "File gone.json has no access...");

    auto style = test::parse(
        "GGRAPH " + templateSpec("\"x\"=\"y\"", " VIZSTYLESHEET=\"gone.css\"[LOCATION=FILE]") +
        ".\n");
    EXPECT_FALSE(style->validated);
    EXPECT_EQ(style->onlyMessage().text, "File gone.css has no access...");
    EXPECT_EQ(style->onlyMessage().level, 2);  // a warning, and still the end of the command

    // Other sources never look at maps.
    auto inlineSpec =
        test::parse("GGRAPH /GRAPHSPEC SOURCE=INLINE VIZMAP=\"nosuch.json\"[TYPE=DATA]." + kBlock);
    EXPECT_TRUE(inlineSpec->validated);
}
