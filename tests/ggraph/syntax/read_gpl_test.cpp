// The inline GPL reader over the real card reader.
#include <gtest/gtest.h>

#include "support/parse_harness.h"

namespace {
constexpr char kMissing[] = "An inline graph specification was expected but not found.";
}

TEST(ReadGpl, CommentsAndBlankLinesBeforeTheBlockAreSkipped) {
    auto run = test::parse(
        "GGRAPH /GRAPHSPEC SOURCE=INLINE.\n"
        "\n"
        "* a comment that runs\n"
        "  over two lines.\n"
        "/* a line comment\n"
        "  begin gpl\n"
        "   ELEMENT: interval(position(a*b))   \n"
        "\n"
        "x\n"
        "  GUIDE: axis(dim(1))\n"
        "end gpl.\n");
    ASSERT_TRUE(run->parsed) << run->onlyMessage().text;
    // Leading blanks stay, trailing blanks go, blank lines and a lone character in column 1 vanish.
    EXPECT_EQ(run->spec(0).GetGPLSpecification(),
              "   ELEMENT: interval(position(a*b))\n  GUIDE: axis(dim(1))\n");
    auto cards = run->echoedCards();
    ASSERT_FALSE(cards.empty());
    EXPECT_EQ(cards.front(), "  begin gpl");
    EXPECT_EQ(cards.back(), "end gpl.");
}

TEST(ReadGpl, EndGplCountsAnywhereInALineAndTextAfterItIsLost) {
    auto run = test::parse(
        "GGRAPH /GRAPHSPEC SOURCE=INLINE.\n"
        "BEGIN GPL\n"
        "ELEMENT: point(position(x*y)) END GPL. trailing words\n");
    ASSERT_TRUE(run->parsed);
    // The blank in front of END GPL is kept: only text behind the last column before it goes.
    EXPECT_EQ(run->spec(0).GetGPLSpecification(), "ELEMENT: point(position(x*y)) \n");
}

TEST(ReadGpl, TextOnTheBeginLineStartsTheGplWithoutALineEnd) {
    auto run = test::parse(
        "GGRAPH /GRAPHSPEC SOURCE=INLINE.\n"
        "BEGIN GPL ELEMENT: point(\n"
        "position(x*y))\n"
        "END GPL.\n");
    ASSERT_TRUE(run->parsed);
    std::string gpl = run->spec(0).GetGPLSpecification();
    EXPECT_EQ(gpl.rfind(" ELEMENT: point(", 0), 0u);
    EXPECT_NE(gpl.find("position(x*y))\n"), std::string::npos);

    // Opening and closing on one line stores the text and counts as not found.
    auto oneLine = test::parse("GGRAPH /GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL ELEMENT: x END GPL.\n");
    EXPECT_FALSE(oneLine->parsed);
    EXPECT_EQ(oneLine->onlyMessage().text, kMissing);
}

TEST(ReadGpl, SlineLinesAreSkippedOnlyWhenLongEnough) {
    auto run = test::parse(
        "GGRAPH /GRAPHSPEC SOURCE=INLINE.\n"
        "BEGIN GPL\n"
        "_SLINE OFF.\n"
        "_SLINE 1\n"
        "ELEMENT: point(position(x*y))\n"
        "END GPL.\n");
    ASSERT_TRUE(run->parsed);
    EXPECT_EQ(run->spec(0).GetGPLSpecification(), "_SLINE 1\nELEMENT: point(position(x*y))\n");
}

TEST(ReadGpl, MissingBlockIsReportedAndTheLineGoesBackToTheJob) {
    auto run = test::parse("GGRAPH /GRAPHSPEC SOURCE=INLINE.\nFREQUENCIES x.\n");
    EXPECT_FALSE(run->parsed);
    EXPECT_EQ(run->onlyMessage().text, kMissing);
    EXPECT_EQ(run->onlyMessage().level, 3);
    EXPECT_EQ(run->spec(0).GetGPLSpecification(), "");

    auto glued = test::parse("GGRAPH /GRAPHSPEC SOURCE=INLINE.\nBEGINGPL\nELEMENT: x\nEND GPL.\n");
    EXPECT_FALSE(glued->parsed);

    auto unterminated = test::parse("GGRAPH /GRAPHSPEC SOURCE=INLINE.\nBEGIN GPL\nELEMENT: x\n");
    EXPECT_FALSE(unterminated->parsed);
    EXPECT_EQ(unterminated->spec(0).GetGPLSpecification(), "ELEMENT: x\n");

    auto nothing = test::parse("GGRAPH /GRAPHSPEC SOURCE=INLINE.\n");
    EXPECT_FALSE(nothing->parsed);
    EXPECT_EQ(nothing->onlyMessage().text, kMissing);
}

TEST(ReadGpl, BlocksFollowInTheOrderOfTheirGraphSpecs) {
    auto run = test::parse(
        "GGRAPH /GRAPHSPEC SOURCE=INLINE /GRAPHSPEC SOURCE=GPLFILE(\"f.gpl\") /GRAPHSPEC EDITABLE=NO.\n"
        "BEGIN GPL\nELEMENT: a\nEND GPL.\n"
        "BEGIN GPL\nELEMENT: b\nEND GPL.\n");
    ASSERT_TRUE(run->parsed);
    EXPECT_EQ(run->spec(0).GetGPLSpecification(), "ELEMENT: a\n");
    EXPECT_EQ(run->spec(2).GetGPLSpecification(), "ELEMENT: b\n");
}
