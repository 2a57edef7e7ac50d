// The parser frame: dispatch of subcommands, the helpers' messages and what ends a parse.
#include <gtest/gtest.h>

#include "support/parse_harness.h"

namespace {

constexpr char kBlock[] = "BEGIN GPL\nELEMENT: point(position(x*y))\nEND GPL.\n";

std::string job(std::string const& command) { return command + "\n" + kBlock; }

}  // namespace

TEST(ParserFrame, CommandWithoutSubcommandsParsesButIsRefusedByValidation) {
    auto run = test::parse("GGRAPH.\n");
    EXPECT_TRUE(run->parsed);
    EXPECT_FALSE(run->validated);
    EXPECT_EQ(run->onlyMessage().text,
              "The GGRAPH command must contain at least one GRAPHSPEC subcommand.");
    EXPECT_EQ(run->onlyMessage().level, 3);
}

TEST(ParserFrame, KeywordsMatchInAnyCaseAndBegingplIsIgnored) {
    auto run = test::parse(job("ggraph /graphspec source=inline /begingpl."));
    ASSERT_TRUE(run->parsed);
    EXPECT_TRUE(run->validated);
    ASSERT_EQ(run->settings().GetGraphSpecs().size(), 1u);
    EXPECT_EQ(run->spec(0).GetGPLSpecification(), "ELEMENT: point(position(x*y))\n");
    EXPECT_TRUE(run->messages().empty());
}

TEST(ParserFrame, UnknownSubcommandEndsTheParse) {
    auto run = test::parse(job("GGRAPH /GRAPHSPEC SOURCE=INLINE /STYLE COLOR=BLUE."));
    EXPECT_FALSE(run->parsed);
    EXPECT_EQ(run->onlyMessage().text, "SubCmd GGraph. Unknown token STYLE.");
    EXPECT_EQ(run->onlyMessage().level, 3);
}

TEST(ParserFrame, DescriptionIsRefusedOutsideTheRfmContext) {
    auto run = test::parse(job("GGRAPH /GRAPHSPEC SOURCE=INLINE /DESCRIPTION TEXT=SCATTER."));
    EXPECT_FALSE(run->parsed);
    EXPECT_EQ(run->onlyMessage().text, "SubCmd GGraph. Unknown token DESCRIPTION.");

    auto rfm = test::parse(job("GGRAPH /GRAPHSPEC SOURCE=INLINE /DESCRIPTION TEXT=SCATTER."), "dm");
    EXPECT_TRUE(rfm->parsed);
    EXPECT_EQ(rfm->settings().getCommandName(), GGraphSettings::COMMAND_RFM);
    EXPECT_EQ(rfm->settings().getSmartHelp(), GGraphSettings::SMART_HELP_SCATTER);
}

TEST(ParserFrame, EmptySubcommandIsAWarningAndTheParseGoesOn) {
    auto run = test::parse(job("GGRAPH /FRAME /GRAPHSPEC SOURCE=INLINE."));
    EXPECT_TRUE(run->parsed);
    EXPECT_EQ(run->onlyMessage().text, "Incomplete subCmd FRAME.");
    EXPECT_EQ(run->onlyMessage().level, 2);
    EXPECT_EQ(run->settings().GetGraphSpecs().size(), 1u);
}

TEST(ParserFrame, SubcommandsLimitedToOneMayStillRepeat) {
    auto run = test::parse(job("GGRAPH /GRAPHSPEC /FRAME INNER=YES /FRAME INNER=NO."));
    EXPECT_TRUE(run->parsed);
    EXPECT_EQ(run->settings().GetInnerFrame(), GGraphSettings::TEMPL_PARAM_NO);
}

TEST(ParserFrame, HelperMessagesNameTheSubcommandAndTheKeyword) {
    struct Case {
        char const* command;
        char const* text;
    } const cases[] = {
        {"GGRAPH /GRAPHSPEC SOURCE INLINE.", "SubCmd GRAPHSPEC. Equal sign required after SOURCE."},
        {"GGRAPH /GRAPHSPEC EDITABLE=YES EDITABLE=NO.",
         "SubCmd GRAPHSPEC has duplicate EDITABLE attribute."},
        {"GGRAPH /GRAPHSPEC 'SOURCE'=INLINE.", "SubCmd GRAPHSPEC. Unknown token SOURCE."},
        {"GGRAPH /GRAPHSPEC SOURCE=INLINE /COLORCYCLE COLOR1(1 2).",
         "SubCmd COLORCYCLE. Three integers required for COLOR1."},
    };
    for (auto const& c : cases) {
        auto run = test::parse(job(c.command));
        EXPECT_FALSE(run->parsed) << c.command;
        EXPECT_EQ(run->onlyMessage().text, c.text) << c.command;
        EXPECT_EQ(run->onlyMessage().level, 3) << c.command;
    }
}
