// GRAPHSPEC: sources, presentation keywords, style sheets, maps and templates.
#include <gtest/gtest.h>

#include "support/parse_harness.h"

namespace {

std::string withBlock(std::string const& command) {
    return command + "\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n";
}

std::string location(GraphSpec const& spec, XViZTemplate::LOCATION (GraphSpec::*get)(std::string&) const,
                     XViZTemplate::LOCATION& where) {
    std::string folder;
    where = (spec.*get)(folder);
    return folder;
}

}  // namespace

TEST(GraphSpecSubcommand, FileSourcesKeepTheLastNameExceptGeoJsonFiles) {
    auto run = test::parse(
        "GGRAPH /GRAPHSPEC SOURCE=GPLFILE(\"a.gpl\") SOURCE=GPLFILE(\"b.gpl\")\n"
        " /GRAPHSPEC SOURCE=VIZJSONTEMPLATE(\"t.json\") SOURCE=GEOJSONFILE(\"g1\") "
        "SOURCE=GEOJSONFILE('g2')\n"
        " /GRAPHSPEC SOURCE=IMAGEFILE(\"i.png\") /GRAPHSPEC SOURCE=PMMLFILE(\"m.xml\")\n"
        " /GRAPHSPEC SOURCE=VIZMLFILE(\"v.xml\") /GRAPHSPEC SOURCE=VIZJSONFILE(\"j.json\").\n");
    ASSERT_TRUE(run->parsed);
    EXPECT_EQ(run->spec(0).getSource(), GraphSpec::SOURCE_GPLFILE);
    EXPECT_EQ(run->spec(0).GetGPLFile(), "b.gpl");
    EXPECT_EQ(run->spec(1).getSource(), GraphSpec::SOURCE_VIZJSONTEMPLATE);
    EXPECT_EQ(run->spec(1).GetViZJSONTemplate(), "t.json");
    ASSERT_EQ(run->spec(1).getNumGeoJSONFiles(), 2u);
    EXPECT_EQ(run->spec(1).getGEOJSONFile(1), "g2");
    EXPECT_EQ(run->spec(1).getGEOJSONFile(2), "");
    EXPECT_EQ(run->spec(2).GetImageFile(), "i.png");
    EXPECT_EQ(run->spec(2).getSource(), GraphSpec::SOURCE_IMAGEFILE);
    EXPECT_EQ(run->spec(3).getSource(), GraphSpec::SOURCE_PMMLFILE);
    EXPECT_EQ(run->spec(4).GetViZmlFile(), "v.xml");
    EXPECT_EQ(run->spec(5).getSource(), GraphSpec::SOURCE_VIZJSONFILE);
    EXPECT_TRUE(run->messages().empty());
}

TEST(GraphSpecSubcommand, FileFormWithoutParenthesisSwallowsTheNameAndStaysInline) {
    auto run = test::parse(withBlock("GGRAPH /GRAPHSPEC SOURCE=GPLFILE \"a.gpl\"."));
    ASSERT_TRUE(run->parsed);
    EXPECT_EQ(run->spec(0).getSource(), GraphSpec::SOURCE_INLINE);
    EXPECT_EQ(run->spec(0).GetGPLFile(), "");
    EXPECT_FALSE(run->spec(0).GetGPLSpecification().empty());  // read as an inline block
}

TEST(GraphSpecSubcommand, FileFormEndingTheSubcommandLeavesTheSpecificationInline) {
    for (char const* command : {"GGRAPH /GRAPHSPEC SOURCE=GPLFILE.",
                                "GGRAPH /GRAPHSPEC SOURCE=GPLFILE /FITLINE TOTAL=YES."}) {
        auto run = test::parse(withBlock(command));
        ASSERT_TRUE(run->parsed) << command;
        EXPECT_TRUE(run->messages().empty()) << command;
        EXPECT_EQ(run->spec(0).getSource(), GraphSpec::SOURCE_INLINE);
        EXPECT_FALSE(run->spec(0).GetGPLSpecification().empty()) << command;
    }
}

TEST(GraphSpecSubcommand, UnclosedFileFormReportsUnbalancedParentheses) {
    auto run = test::parse("GGRAPH /GRAPHSPEC SOURCE=GPLFILE(\"a.gpl\" EDITABLE=NO.\n");
    EXPECT_FALSE(run->parsed);
    EXPECT_EQ(run->onlyMessage().text,
              "Unbalanced parentheses in effect, parameter GPLFILE, subcommand GRAPHSPEC ...");
    EXPECT_TRUE(run->settings().GetGraphSpecs().empty());
}

TEST(GraphSpecSubcommand, PresentationKeywords) {
    auto run = test::parse(withBlock(
        "GGRAPH /GRAPHSPEC SOURCE=INLINE EDITABLE=NO LABEL='Sales' + ' by region' "
        "DEFAULTTEMPLATE=no TEMPLATE=[\"a.sgt\" \"b.sgt\"] INLINETEMPLATE=\"<x/>\" "
        "IMAGEFORMAT=JPG."));
    ASSERT_TRUE(run->parsed);
    GraphSpec& spec = run->spec(0);
    EXPECT_FALSE(spec.getEditable());
    EXPECT_EQ(spec.GetOutputLabel(), "Sales by region");
    EXPECT_FALSE(spec.getApplyDefaultTemplates());
    EXPECT_EQ(spec.GetTemplates(), (std::vector<std::string>{"a.sgt", "b.sgt"}));
    EXPECT_EQ(spec.GetInlineTemplates(), (std::vector<std::string>{"<x/>"}));
    EXPECT_EQ(spec.getImageType(), CONTENT_PNG);  // IMAGEFORMAT is checked, never stored

    auto empty = test::parse(withBlock("GGRAPH /GRAPHSPEC TEMPLATE=[] TEMPLATE=\"x\"."));
    EXPECT_FALSE(empty->parsed);  // TEMPLATE twice
    auto gif = test::parse(withBlock("GGRAPH /GRAPHSPEC IMAGEFORMAT=GIF."));
    EXPECT_EQ(gif->onlyMessage().text, "SubCmd GRAPHSPEC. Unknown token GIF.");
    auto open = test::parse(withBlock("GGRAPH /GRAPHSPEC TEMPLATE=[\"a\" \"b\"."));
    EXPECT_FALSE(open->parsed);
    EXPECT_EQ(open->onlyMessage().text, "Incomplete subCmd GRAPHSPEC.");
}

TEST(GraphSpecSubcommand, StyleSheetNeedsItsBracket) {
    auto run = test::parse(withBlock("GGRAPH /GRAPHSPEC VIZSTYLESHEET=\"s\"[X=1 LOCATION=\"repo/dir\"]."));
    ASSERT_TRUE(run->parsed);
    XViZTemplate::LOCATION where;
    EXPECT_EQ(location(run->spec(0), &GraphSpec::GetViZStyleSheetLocation, where), "repo/dir");
    EXPECT_EQ(where, XViZTemplate::LOCATION_REPOSITORY);
    EXPECT_EQ(run->spec(0).GetVIZStyleSheet(), "s");
    EXPECT_EQ(run->spec(0).getViZStyleSheetOrig(), "s");

    auto noBracket = test::parse(withBlock("GGRAPH /GRAPHSPEC VIZSTYLESHEET=\"s\" LABEL=\"x\"."));
    EXPECT_FALSE(noBracket->parsed);
    EXPECT_EQ(noBracket->onlyMessage().text, "SubCmd GRAPHSPEC. Unknown token LABEL.");
    // Running out of tokens anywhere in a style sheet or a map is one report.
    for (char const* open : {"VIZSTYLESHEET=\"s\"", "VIZSTYLESHEET=\"s\"[LOCATION",
                             "VIZSTYLESHEET=\"s\"[LOCATION=LOCAL", "VIZMAP=\"m\"",
                             "VIZMAP=\"m\"[TYPE", "VIZMAP=\"m\"[TYPE=", "VIZMAP=\"m\"[TYPE=DATA"}) {
        auto bare = test::parse(withBlock(std::string("GGRAPH /GRAPHSPEC ") + open + "."));
        EXPECT_FALSE(bare->parsed) << open;
        EXPECT_EQ(bare->onlyMessage().text, "Incomplete subCmd GRAPHSPEC.") << open;
    }
}

TEST(GraphSpecSubcommand, MapsTakeTheLocationKnownWhenTheirTypeIsRead) {
    auto run = test::parse(withBlock(
        "GGRAPH /GRAPHSPEC VIZMAP=\"m\"[LOCATION=\"p\" TYPE=DATA MAPKEY=\"k\"] "
        "VIZMAP=\"r\"[TYPE=REFERENCE LOCATION=LOCAL]."));
    ASSERT_TRUE(run->parsed) << run->onlyMessage().text;
    GraphSpec& spec = run->spec(0);
    EXPECT_TRUE(spec.hasViZMap());
    EXPECT_EQ(spec.GetVIZMap(), "");  // filled only by validation
    EXPECT_EQ(spec.getViZMapOrig(), "m");
    XViZTemplate::LOCATION where;
    EXPECT_EQ(location(spec, &GraphSpec::GetViZMapLocation, where), "p");
    EXPECT_EQ(where, XViZTemplate::LOCATION_REPOSITORY);
    EXPECT_EQ(spec.getViZRefMapOrig(), "r");
    // The reference map was typed before its own LOCATION: it keeps the location before it.
    EXPECT_EQ(location(spec, &GraphSpec::GetViZRefMapLocation, where), "p");
    EXPECT_EQ(where, XViZTemplate::LOCATION_REPOSITORY);
    EXPECT_EQ(spec.getAttribute(), "k");

    auto untyped = test::parse(withBlock("GGRAPH /GRAPHSPEC VIZMAP=\"m\"[MAPKEY=\"k\"]."));
    ASSERT_TRUE(untyped->parsed);
    EXPECT_EQ(untyped->spec(0).getViZMapOrig(), "m");
    EXPECT_EQ(location(untyped->spec(0), &GraphSpec::GetViZMapLocation, where), "");
    EXPECT_EQ(where, XViZTemplate::LOCATION_FILE);

    auto third = test::parse(withBlock(
        "GGRAPH /GRAPHSPEC VIZMAP=\"a\"[TYPE=DATA] VIZMAP=\"b\"[TYPE=REFERENCE] VIZMAP=\"c\"[TYPE=DATA]."));
    EXPECT_EQ(third->onlyMessage().text, "SubCmd GRAPHSPEC has duplicate VIZMAP attribute.");
    auto twoKeys = test::parse(withBlock("GGRAPH /GRAPHSPEC VIZMAP=\"m\"[MAPKEY=\"k\" MAPKEY=\"l\"]."));
    EXPECT_EQ(twoKeys->onlyMessage().text, "SubCmd GRAPHSPEC has duplicate MAPKEY attribute.");
}

TEST(GraphSpecSubcommand, TemplateSourceWithMappings) {
    auto run = test::parse(
        "GGRAPH /GRAPHSPEC SOURCE=VIZTEMPLATE(NAME=\"t\"[LOCATION=LOCAL] "
        "MAPPING(\"a\"=\"b\"[DATASET=\"d\"] c=\"é\")).\n");
    ASSERT_TRUE(run->parsed);
    GraphSpec& spec = run->spec(0);
    EXPECT_EQ(spec.getSource(), GraphSpec::SOURCE_VIZTEMPLATE);
    EXPECT_EQ(spec.GetVIZTemplate(), "t");
    auto const& mappings = spec.GetVIZTemplateMappings();
    ASSERT_EQ(mappings.size(), 2u);
    EXPECT_EQ(mappings[0].mappingKey, "a");
    EXPECT_EQ(mappings[0].dataSetName, "d");
    EXPECT_EQ(mappings[1].mappingKey, "c");
    EXPECT_EQ(mappings[1].mappingValue, "é");
    EXPECT_EQ(mappings[1].dataSetName, "");
    // A dataset named in a mapping must exist.
    EXPECT_FALSE(run->validated);
    EXPECT_EQ(run->onlyMessage().text, "The specified dataset d does not exist.");

    auto nameless = test::parse("GGRAPH /GRAPHSPEC SOURCE=VIZTEMPLATE(MAPPING(\"a\"=\"b\")).\n");
    EXPECT_FALSE(nameless->parsed);
    EXPECT_TRUE(nameless->messages().empty());  // refused in silence
}

TEST(GraphSpecSubcommand, GraphSpecClearsAnEarlierDescription) {
    auto before = test::parse(withBlock("GGRAPH /DESCRIPTION TEXT=HEATMAP /GRAPHSPEC SOURCE=INLINE."), "DM");
    ASSERT_TRUE(before->parsed);
    EXPECT_EQ(before->settings().getSmartHelp(), GGraphSettings::SMART_HELP_NONE);
    auto after = test::parse(withBlock("GGRAPH /GRAPHSPEC SOURCE=INLINE /DESCRIPTION TEXT=HEATMAP."), "DM");
    EXPECT_EQ(after->settings().getSmartHelp(), GGraphSettings::SMART_HELP_HEATMAP);
}
