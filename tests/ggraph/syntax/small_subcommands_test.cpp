// FITLINE, FRAME, GRIDLINES, COLORCYCLE and DESCRIPTION.
#include <gtest/gtest.h>

#include "support/parse_harness.h"

namespace {

std::string withBlock(std::string const& subcommands) {
    return "GGRAPH /GRAPHSPEC SOURCE=INLINE " + subcommands +
           ".\nBEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n";
}

}  // namespace

TEST(SmallSubcommands, FitlineBadValueIsReportedButTheOtherFitStillCounts) {
    auto run = test::parse(withBlock("/FITLINE TOTAL=MAYBE SUBGROUP=YES"));
    EXPECT_TRUE(run->parsed);
    EXPECT_EQ(run->onlyMessage().text, "SubCmd FITLINE. Unknown token MAYBE.");
    EXPECT_FALSE(run->settings().hasTotalFit());
    EXPECT_TRUE(run->settings().hasSubgroupFit());

    // NO never takes a fit back.
    auto sticky = test::parse(withBlock("/FITLINE TOTAL=YES /FITLINE TOTAL=NO"));
    EXPECT_TRUE(sticky->settings().hasTotalFit());
    auto twice = test::parse(withBlock("/FITLINE TOTAL=YES TOTAL=NO"));
    EXPECT_EQ(twice->onlyMessage().text, "SubCmd FITLINE has duplicate TOTAL attribute.");
}

TEST(SmallSubcommands, FrameAndGridlinesSetBothValuesEachTime) {
    auto run = test::parse(withBlock("/GRIDLINES XAXIS=YES /FRAME INNER=YES /FRAME OUTER=NO"));
    ASSERT_TRUE(run->parsed);
    EXPECT_EQ(run->settings().GetXAxisGridlines(), GGraphSettings::TEMPL_PARAM_YES);
    EXPECT_EQ(run->settings().GetYAxisGridlines(), GGraphSettings::TEMPL_PARAM_DEFAULT);
    EXPECT_EQ(run->settings().GetOuterFrame(), GGraphSettings::TEMPL_PARAM_NO);
    EXPECT_EQ(run->settings().GetInnerFrame(), GGraphSettings::TEMPL_PARAM_DEFAULT);

    auto bad = test::parse(withBlock("/FRAME OUTER=MAYBE"));
    EXPECT_FALSE(bad->parsed);
    EXPECT_EQ(bad->onlyMessage().text, "SubCmd FRAME. Unknown token MAYBE.");
    auto cut = test::parse(withBlock("/GRIDLINES XAXIS="));
    EXPECT_FALSE(cut->parsed);
    EXPECT_EQ(cut->onlyMessage().text, "Incomplete subCmd GRIDLINES.");
}

TEST(SmallSubcommands, ColorCycleIsSortedByIndexAndAppliedWhole) {
    auto run = test::parse(withBlock("/COLORCYCLE COLOR7(0 255 0) COLOR3(255 0 0)"));
    ASSERT_TRUE(run->parsed);
    auto const& colors = run->settings().GetColorSpecs();
    ASSERT_EQ(colors.size(), 2u);
    EXPECT_EQ(colors[0].colorIndex, 3);
    EXPECT_EQ(colors[0].red, 255);
    EXPECT_EQ(colors[1].colorIndex, 7);
    EXPECT_EQ(colors[1].green, 255);

    struct Case {
        char const* colors;
        char const* text;
    } const failures[] = {
        {"COLOR0(1 2 3)", "SubCmd COLORCYCLE. Unknown token COLOR0."},
        {"COLORX(1 2 3)", "SubCmd COLORCYCLE. Unknown token COLORX."},
        {"COLOR(1 2 3)", "SubCmd COLORCYCLE. Unknown token COLOR."},
        {"COLOR1(1 2 3) COLOR01(4 5 6)", "SubCmd COLORCYCLE has duplicate COLOR01 attribute."},
        {"COLOR1(1 2)", "SubCmd COLORCYCLE. Three integers required for COLOR1."},
        {"COLOR1(1 2 3 4)", "SubCmd COLORCYCLE. Three integers required for COLOR1."},
    };
    for (auto const& c : failures) {
        auto bad = test::parse(withBlock(std::string("/COLORCYCLE COLOR2(9 9 9) ") + c.colors));
        EXPECT_FALSE(bad->parsed) << c.colors;
        EXPECT_EQ(bad->onlyMessage().text, c.text) << c.colors;
        EXPECT_TRUE(bad->settings().GetColorSpecs().empty()) << c.colors;
    }
    // The range and the parenthesis are the token service's stock messages.
    auto range = test::parse(withBlock("/COLORCYCLE COLOR1(1 2 256)"));
    EXPECT_FALSE(range->parsed);
    EXPECT_EQ(range->onlyMessage().level, 3);
    EXPECT_NE(range->onlyMessage().text.find("256"), std::string::npos);
    auto paren = test::parse(withBlock("/COLORCYCLE COLOR1 1 2 3"));
    EXPECT_FALSE(paren->parsed);
    EXPECT_NE(paren->onlyMessage().text.find("COLORCYCLE"), std::string::npos);
}

TEST(SmallSubcommands, DescriptionValues) {
    auto quoted = test::parse(withBlock("/DESCRIPTION 'TEXT'=BINCOUNT"), "DM");
    EXPECT_TRUE(quoted->parsed);
    EXPECT_EQ(quoted->settings().getSmartHelp(), GGraphSettings::SMART_HELP_BINCOUNT);
    auto bad = test::parse(withBlock("/DESCRIPTION TEXT=PIE"), "DM");
    EXPECT_FALSE(bad->parsed);
    EXPECT_EQ(bad->settings().getSmartHelp(), GGraphSettings::SMART_HELP_NONE);
    auto extra = test::parse(withBlock("/DESCRIPTION TEXT=HISTOGRAM MORE"), "DM");
    EXPECT_EQ(extra->onlyMessage().text, "SubCmd DESCRIPTION. Unknown token MORE.");
    auto cut = test::parse(withBlock("/DESCRIPTION TEXT="), "DM");
    EXPECT_EQ(cut->onlyMessage().text, "Incomplete subCmd DESCRIPTION.");
}
