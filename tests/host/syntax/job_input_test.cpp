#include "host/syntax/job_input.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using host::syntax::Command;
using host::syntax::JobInput;

TEST(JobInput, SplitsAJobAsPeopleWriteIt) {
    // BOM, CRLF, trailing blanks and tabs, slash in column 1, comma continuation, period alone
    // on its line, lower-case keywords, indented BEGIN GPL and END GPL., a blank after it.
    JobInput job(
        "\xEF\xBB\xBF* Sales chart for\r\n"
        "  the board.\r\n"
        "GET FILE='sales.sav'.  \t\r\n"
        "ggraph\r\n"
        "  /graphdataset name=\"g\" variables=region COUNT()\r\n"
        "/GRAPHSPEC source=inline\r\n"
        ".\r\n"
        "  BEGIN GPL\r\n"
        "  SOURCE: s=userSource(id(\"g\"))\r\n"
        "\r\n"
        "  END GPL. \r\n"
        "VALUE LABELS region 1 'Nord' 2 'Süd'\r\n"
        "  , 3 '東京'.\r\n"
        "COMMENT that's all\r\n"
        "\r\n"
        "FREQUENCIES region\r\n");
    auto commands = job.commands();
    ASSERT_EQ(commands.size(), 7u);

    EXPECT_EQ(commands[0].kind, Command::Kind::Comment);
    EXPECT_EQ(commands[0].words, std::vector<std::string>{"*"});
    EXPECT_EQ(commands[0].lastLine, 2);

    EXPECT_TRUE(commands[1].startsWith({"GET", "FILE"}));
    EXPECT_EQ(commands[1].text, "GET FILE='sales.sav'.");

    Command const& ggraph = commands[2];
    EXPECT_EQ(ggraph.kind, Command::Kind::Ordinary);
    EXPECT_EQ(ggraph.words, std::vector<std::string>{"GGRAPH"});
    EXPECT_EQ(ggraph.firstLine, 4);
    EXPECT_EQ(ggraph.lastLine, 7);
    EXPECT_TRUE(ggraph.terminated);
    EXPECT_EQ(ggraph.body.substr(0, 3), "\n  ");
    EXPECT_EQ(ggraph.bodyLine, 4);
    EXPECT_EQ(ggraph.bodyColumn, 7);

    // Read from the top, the block is a command of its own, blank line included.
    EXPECT_EQ(commands[3].kind, Command::Kind::GplBlock);
    EXPECT_EQ(commands[3].words, (std::vector<std::string>{"BEGIN", "GPL"}));
    EXPECT_EQ(commands[3].firstLine, 8);
    EXPECT_EQ(commands[3].lastLine, 11);

    EXPECT_TRUE(commands[4].startsWith({"VALUE", "LABELS"}));
    EXPECT_EQ(commands[4].lastLine, 13);
    EXPECT_NE(commands[4].text.find("東京"), std::string::npos);

    EXPECT_EQ(commands[5].kind, Command::Kind::Comment);  // the apostrophe opens no quote
    EXPECT_EQ(commands[5].lastLine, 14);                  // a blank line ends it
    EXPECT_TRUE(commands[6].startsWith({"FREQUENCIES", "REGION"}));
    EXPECT_FALSE(commands[6].terminated);
}

TEST(JobInput, WhatEndsACommand) {
    // A period inside quotes or a comment ends nothing; a line opening a GPL block does.
    JobInput job(
        "TITLE 'a.'\n"
        "  'b'. /* done. */\n"
        "GGRAPH /GRAPHSPEC SOURCE=INLINE\n"
        "BEGIN GPL\n"
        "END GPL\n"
        "SPLIT FILE BY a.\n"
        "/* a note\n"
        " still the note */\n"
        "ADD VALUE LABELS x 1 'one'.");
    auto commands = job.commands();
    ASSERT_EQ(commands.size(), 6u);
    EXPECT_EQ(commands[0].lastLine, 2);
    EXPECT_EQ(commands[1].lastLine, 3);
    EXPECT_FALSE(commands[1].terminated);
    EXPECT_EQ(commands[2].kind, Command::Kind::GplBlock);
    EXPECT_TRUE(commands[3].startsWith({"SPLIT", "FILE", "BY"}));
    EXPECT_EQ(commands[4].kind, Command::Kind::Comment);
    EXPECT_EQ(commands[4].lastLine, 8);
    EXPECT_TRUE(commands[5].startsWith({"ADD", "VALUE", "LABELS"}));
}

TEST(JobInput, AnOpenQuoteOrBlockDoesNotSwallowTheNextCommand) {
    JobInput job(
        "VALUE LABELS x 1 'one.\n"
        "GGRAPH /X.\n"
        "BEGIN GPL\n"
        "SOURCE: s=userSource(id(\"d\"))\n"
        "  ggraph /Y.\n"
        "BEGIN GPL\n"
        "ELEMENT: x\n"
        "END GPL\n"
        "END GPL.\n");
    auto commands = job.commands();
    ASSERT_EQ(commands.size(), 6u);
    EXPECT_EQ(commands[0].lastLine, 1);  // the period was meant to end it
    EXPECT_TRUE(commands[0].terminated);
    EXPECT_EQ(commands[2].kind, Command::Kind::GplBlock);
    EXPECT_EQ(commands[2].lastLine, 4);  // cut in front of the next GGRAPH
    EXPECT_FALSE(commands[2].terminated);
    EXPECT_TRUE(commands[3].startsWith({"GGRAPH"}));
    EXPECT_EQ(commands[4].lastLine, 8);
    EXPECT_TRUE(commands[4].terminated);
    EXPECT_TRUE(commands[5].startsWith({"END", "GPL"}));
}

TEST(JobInput, LinesAndResumingAtAnyLine) {
    JobInput job("A.\r\rB\rC.\n\n\n");
    EXPECT_EQ(job.lineCount(), 6u);
    EXPECT_EQ(job.line(2), "B");
    auto second = job.commandAt(1);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->firstLine, 3);
    EXPECT_EQ(second->text, "B\nC.");
    EXPECT_FALSE(job.commandAt(4));
    EXPECT_FALSE(job.commandAt(99));
}

TEST(JobInput, MalformedJobsEndCleanly) {
    EXPECT_TRUE(JobInput("").commands().empty());
    EXPECT_TRUE(JobInput("\xEF\xBB\xBF \r\n\t\n").commands().empty());

    // The job ends inside a quote, and inside a GPL block.
    JobInput open("GGRAPH /GRAPHSPEC SOURCE=GPLFILE('x.gpl");
    auto commands = open.commands();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_FALSE(commands[0].terminated);
    JobInput block("BEGIN GPL\nELEMENT: point(position(x*y))\n");
    auto blocks = block.commands();
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(blocks[0].kind, Command::Kind::GplBlock);
    EXPECT_FALSE(blocks[0].terminated);
    EXPECT_EQ(blocks[0].lastLine, 2);

    // Binary garbage becomes valid UTF-8, each bad byte reported with its place, bounded.
    std::string garbage("GG\0RAPH\xC3(\n", 10);
    for (int i = 0; i < 100000; ++i) garbage += static_cast<char>((i * 131 + 7) % 256);
    JobInput binary(garbage);
    ASSERT_FALSE(binary.diagnostics().empty());
    EXPECT_EQ(binary.diagnostics()[0].line, 1);
    EXPECT_EQ(binary.diagnostics()[0].column, 3);
    EXPECT_EQ(binary.diagnostics()[1].column, 8);
    EXPECT_LE(binary.diagnostics().size(), 11u);
    EXPECT_NE(binary.diagnostics()[1].text.find("column 8"), std::string::npos);
    for (auto const& c : binary.commands()) EXPECT_EQ(c.text.find('\0'), std::string::npos);

    // A 10 MB line is one command.
    std::string longLine = "GGRAPH /GRAPHSPEC SOURCE=INLINE LABEL='" +
                           std::string(10 * 1024 * 1024, 'x') + "'.\nNEXT.";
    JobInput big(longLine);
    auto bigCommands = big.commands();
    ASSERT_EQ(bigCommands.size(), 2u);
    EXPECT_TRUE(bigCommands[0].terminated);
    EXPECT_EQ(bigCommands[1].words, std::vector<std::string>{"NEXT"});
}

}  // namespace
