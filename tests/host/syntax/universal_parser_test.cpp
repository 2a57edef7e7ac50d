#include <gtest/gtest.h>

#include <string>

#include "host/output/document.h"
#include "host/syntax/current_command.h"
#include "platform/host_procedure.h"
#include "platform/output.h"
#include "platform/tokens.h"

namespace {

using host::output::Document;
using host::output::ScopedDocument;

// Subcommands as "NAME[tok tok] NAME[...]", the result of the split, and the messages.
struct Split {
    int result = 0;
    std::string shape;
    std::vector<host::output::Item> messages;
};

Split split(TokenSequenceBase& tokens) {
    Document document;
    ScopedDocument scope(document);
    CommandSpec spec;
    CommandDescriptor descriptor;
    descriptor.setSubComArbitrary(true);
    Split out;
    out.result = UniversalParser(tokens, spec, descriptor).getCommandSpecifications();
    for (int i = 0; i < spec.getSubComListSize(); ++i) {
        SubComObj const* sub = spec.getSubComObj(i);
        if (i > 0)
            out.shape += ' ';
        out.shape += sub->getSubComName() + "[";
        for (int k = 0; k < sub->getTokenListSize(); ++k) {
            if (k > 0)
                out.shape += ' ';
            out.shape += sub->getTokenObj(k)->getString();
        }
        out.shape += "]";
    }
    out.messages = document.items();
    return out;
}

Split split(std::string const& body) {
    KWEL_TokenSequence tokens(body);
    return split(tokens);
}

TEST(UniversalParser, SplitsIntoSubcommands) {
    // The first subcommand needs no slash; an equals sign behind a name goes with the name;
    // slashes inside brackets stay tokens; commas are dropped.
    auto s = split(
        "GRAPHDATASET NAME=\"g\" VARIABLES=PTILE(x,95)[NAME=\"a/b\"] /graphspec "
        "source=inline\n/FITLINE=TOTAL=YES /STYLE = x /FRAME\n.");
    EXPECT_EQ(s.result, 0);
    EXPECT_EQ(s.shape,
              "GRAPHDATASET[NAME = g VARIABLES = PTILE ( x 95 ) [ NAME = a/b ]] "
              "graphspec[source = inline] FITLINE[TOTAL = YES] STYLE[x] FRAME[]");
    EXPECT_TRUE(s.messages.empty());

    EXPECT_EQ(split("").shape, "");
    EXPECT_EQ(split(" /A (1 / 2) /B").shape, "A[( 1 / 2 )] B[]");
    EXPECT_EQ(split("/A ) / B").shape, "A[)] B[]");  // a stray closer opens no bracket
}

TEST(UniversalParser, ReportsWhatItCannotSplit) {
    auto noName = split("/GRAPHSPEC SOURCE=INLINE\n  / = 3");
    EXPECT_NE(noName.result, 0);
    ASSERT_EQ(noName.messages.size(), 1u);
    EXPECT_EQ(noName.messages[0].level, 3);
    EXPECT_EQ(noName.messages[0].text,
              "Line 2, column 3: A subcommand name must follow the slash.");

    auto trailing = split("/FRAME INNER=YES /");
    EXPECT_NE(trailing.result, 0);

    auto literalFirst = split("'x' /A");
    EXPECT_NE(literalFirst.result, 0);
    EXPECT_NE(literalFirst.messages[0].text.find("subcommand name is expected"), std::string::npos);

    auto openQuote = split("/GRAPHSPEC SOURCE=GPLFILE('x.gpl)");
    EXPECT_NE(openQuote.result, 0);
    ASSERT_EQ(openQuote.messages.size(), 1u);
    EXPECT_EQ(openQuote.messages[0].text.rfind("Line 1, column 27: ", 0), 0u);

    // A replaced byte warns and the command goes on.
    auto byte = split("/A x\xFF");
    EXPECT_EQ(byte.result, 0);
    ASSERT_EQ(byte.messages.size(), 1u);
    EXPECT_EQ(byte.messages[0].level, 2);
}

TEST(UniversalParser, ReadsTheCurrentCommandOfTheRunner) {
    host::syntax::JobInput job(
        "GGRAPH\n  /GRAPHDATASET NAME=\"g\"\n  /GRAPHSPEC SOURCE=INLINE.\nSPLIT FILE BY a b.");
    host::syntax::setCurrentInput(&job);
    auto commands = job.commands();
    host::syntax::setCurrentCommand(commands[0]);
    KWEL_TokenSequence current(true);
    auto s = split(current);
    EXPECT_EQ(s.shape, "GRAPHDATASET[NAME = g] GRAPHSPEC[SOURCE = INLINE]");

    host::syntax::setCurrentCommand(commands[1], 2);
    KWEL_TokenSequence split2(true);
    ASSERT_TRUE(split2.Next());
    EXPECT_STREQ(split2.Current()->getString(), "BY");
    EXPECT_EQ(split2.Current()->line(), 4);
    EXPECT_EQ(split2.Current()->column(), 12);

    KWEL_TokenSequence none(false);
    EXPECT_FALSE(none.Next());
    EXPECT_EQ(none.Current(), nullptr);
    host::syntax::setCurrentInput(nullptr);
    KWEL_TokenSequence cleared(true);
    EXPECT_FALSE(cleared.Next());
}

TEST(ParserMessage, StockMessagesSayWhatAndWhere) {
    Document document;
    ScopedDocument scope(document);
    ParserMessage message;
    message.SetCommandName("GGraph");
    message.SetProcedureTitle("GGraph");
    message.ParenRequired("COLORCYCLE");
    message.ParamValueBreakBdry(256, 0, UPSpecTypes::LOWER_INCLUSIVE, 255,
                                UPSpecTypes::UPPER_INCLUSIVE, "COLOR1", "COLORCYCLE");
    message.ParamValueBreakBdry(0.5, 0, UPSpecTypes::LOWER_EXCLUSIVE, 1,
                                UPSpecTypes::UPPER_EXCLUSIVE, "LEVEL", "X");
    auto const& items = document.items();
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].level, 3);
    EXPECT_EQ(items[0].text, "GGraph: the COLORCYCLE subcommand needs a left parenthesis here.");
    EXPECT_EQ(items[1].level, 3);
    EXPECT_EQ(items[1].text,
              "GGraph: the value 256 of COLOR1 in the COLORCYCLE subcommand is out of range: it "
              "must be at least 0 and at most 255.");
    EXPECT_NE(items[2].text.find("greater than 0 and less than 1"), std::string::npos);
}

TEST(ValidateKWELName, ClassifiesNames) {
    EXPECT_EQ(ValidateKWELName("jobcat"), 0);
    EXPECT_EQ(ValidateKWELName("Größe_2.a"), 0);
    EXPECT_EQ(ValidateKWELName("売上"), 0);
    EXPECT_EQ(ValidateKWELName("$mrset"), 1);
    EXPECT_EQ(ValidateKWELName("#tmp"), 2);
    EXPECT_EQ(ValidateKWELName("@x"), 100);
    EXPECT_EQ(ValidateKWELName(""), -1);
    EXPECT_EQ(ValidateKWELName(nullptr), -1);
    EXPECT_EQ(ValidateKWELName(std::string(65, 'a').c_str()), -2);
    EXPECT_EQ(ValidateKWELName(std::string(64, 'a').c_str()), 0);
    EXPECT_EQ(ValidateKWELName("1abc"), -3);
    EXPECT_EQ(ValidateKWELName("_abc"), -3);
    EXPECT_EQ(ValidateKWELName("$"), -3);
    EXPECT_EQ(ValidateKWELName("a-b"), -4);
    EXPECT_EQ(ValidateKWELName("a\xFF"), -4);
    EXPECT_EQ(ValidateKWELName("abc."), -5);
    EXPECT_EQ(ValidateKWELName("with"), -6);
    EXPECT_EQ(ValidateKWELName("To"), -6);
    EXPECT_EQ(ValidateKWELName("TOTAL"), 0);
}

}  // namespace
