#include "host/syntax/tokenizer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using host::syntax::tokenize;

// "W:x" word, "L:x" literal, "N:x" number, "O:x" operator, blank-separated.
std::string shape(std::string_view text) {
    std::string out;
    for (auto const& t : tokenize(text).tokens) {
        if (!out.empty())
            out += ' ';
        switch (t.getType()) {
            case TokenInfoObj::KIND_WORD:
                out += "W:";
                break;
            case TokenInfoObj::KIND_LITERAL:
                out += "L:";
                break;
            case TokenInfoObj::KIND_NUMBER:
                out += "N:";
                break;
            default:
                out += "O:";
                break;
        }
        out += t.getString();
    }
    return out;
}

TEST(Tokenizer, WordsLiteralsNumbersAndOperators) {
    EXPECT_EQ(shape("GGRAPH /GRAPHDATASET NAME=\"g\" VARIABLES=jobcat COUNT()."),
              "W:GGRAPH O:/ W:GRAPHDATASET W:NAME O:= L:g W:VARIABLES O:= W:jobcat W:COUNT "
              "O:( O:)");
    // Commas are tokens here; the splitter drops them.
    EXPECT_EQ(shape("PTILE(x,95)"), "W:PTILE O:( W:x O:, N:95 O:)");
    EXPECT_EQ(shape("a<=b >= c ~= d <> e ** 2 & f | ~g [h]"),
              "W:a O:<= W:b O:>= W:c O:~= W:d O:<> W:e O:** N:2 O:& W:f O:| O:~ W:g O:[ W:h "
              "O:]");
    EXPECT_EQ(shape("$mrset #tmp @x v_1.a$b"), "W:$mrset W:#tmp W:@x W:v_1.a$b");
    EXPECT_EQ(shape("Größe 売上高 café"), "W:Größe W:売上高 W:café");
    EXPECT_EQ(shape("'it''s' \"say \"\"hi\"\"\" 'a\"b'"), "L:it's L:say \"hi\" L:a\"b");
}

TEST(Tokenizer, PeriodsEndCommandsNotWords) {
    EXPECT_EQ(shape("x = y."), "W:x O:= W:y");
    EXPECT_EQ(shape("SOURCE=INLINE\n.\n"), "W:SOURCE O:= W:INLINE");  // period alone on a line
    EXPECT_EQ(shape("a.b. c"), "W:a.b O:. W:c");                      // mid-text: an operator
    EXPECT_EQ(shape("x 5."), "W:x N:5");
    // Inside parentheses a trailing period is part of the number, not an operator.
    EXPECT_EQ(shape("MEANCI(x, 95.)[name=\"M\"]."), "W:MEANCI O:( W:x O:, N:95. O:) O:[ W:name O:= L:M O:]");
    EXPECT_DOUBLE_EQ(tokenize("f(95.)").tokens[2].getNumeric(), 95.0);
    EXPECT_EQ(shape("f(1.) 2."), "W:f O:( N:1. O:) N:2");
    EXPECT_EQ(shape("f(1.a)"), "W:f O:( N:1 O:. W:a O:)");
    EXPECT_EQ(shape("'ends with.'"), "L:ends with.");
}

TEST(Tokenizer, NumbersAndTheirSigns) {
    auto r = tokenize("1 2.5 .5 1e3 1.5E-2 -4 (-7) a-2 a - 2 1 -2 x[-1]");
    EXPECT_TRUE(r.diagnostics.empty());
    EXPECT_EQ(shape("1 2.5 .5 1e3 1.5E-2 -4 (-7)"),
              "N:1 N:2.5 N:.5 N:1e3 N:1.5E-2 N:-4 O:( N:-7 O:)");
    EXPECT_EQ(shape("a-2"), "W:a O:- N:2");
    EXPECT_EQ(shape("a - 2"), "W:a O:- N:2");
    EXPECT_EQ(shape("1 -2"), "N:1 N:-2");
    EXPECT_EQ(shape("x[-1]"), "W:x O:[ N:-1 O:]");
    EXPECT_DOUBLE_EQ(r.tokens[4].getNumeric(), 0.015);

    auto ints = tokenize("255 -3 2.0 2.5 3000000000");
    EXPECT_TRUE(ints.tokens[0].IsInteger());
    EXPECT_EQ(ints.tokens[1].getInteger(), -3);
    EXPECT_TRUE(ints.tokens[2].IsInteger());
    EXPECT_FALSE(ints.tokens[3].IsInteger());
    EXPECT_FALSE(ints.tokens[4].IsInteger());  // beyond int
    EXPECT_EQ(ints.tokens[0].getOperatorCode(), TokenSequenceBase::OP_NONE);

    auto huge = tokenize("1e999 1e-999");
    ASSERT_EQ(huge.diagnostics.size(), 1u);
    EXPECT_NE(huge.diagnostics[0].text.find("too large"), std::string::npos);
    EXPECT_EQ(huge.tokens[1].getNumeric(), 0.0);
}

TEST(Tokenizer, JoinedLiteralsAcrossLines) {
    EXPECT_EQ(shape("LABEL='a' + 'b'\n   + \"c\""), "W:LABEL O:= L:abc");
    // A plus that joins nothing stays an operator.
    EXPECT_EQ(shape("'a' + b"), "L:a O:+ W:b");
    EXPECT_EQ(shape("1 + 2"), "N:1 O:+ N:2");
}

TEST(Tokenizer, KindsAndOperatorCodesOfTheTokenModel) {
    auto r = tokenize("a = ( ) [ ] 'x' 5");
    ASSERT_EQ(r.tokens.size(), 8u);
    EXPECT_EQ(r.tokens[0].getType(), 2);
    EXPECT_TRUE(r.tokens[0].IsString());
    EXPECT_TRUE(r.tokens[0].IsVarName());
    EXPECT_EQ(r.tokens[1].getType(), 5);
    EXPECT_EQ(r.tokens[1].getOperatorCode(), 3);
    EXPECT_EQ(r.tokens[2].getOperatorCode(), 13);
    EXPECT_EQ(r.tokens[3].getOperatorCode(), 14);
    EXPECT_EQ(r.tokens[4].getOperatorCode(), 36);
    EXPECT_EQ(r.tokens[5].getOperatorCode(), 37);
    EXPECT_EQ(r.tokens[6].getType(), 4);
    EXPECT_TRUE(r.tokens[6].IsLiteral());
    EXPECT_EQ(r.tokens[6].getOperatorCode(), 0);
    EXPECT_TRUE(r.tokens[7].IsNumber());
    EXPECT_FALSE(tokenize("BY").tokens[0].IsVarName());  // reserved word
}

TEST(Tokenizer, LinesAndColumnsCountCharacters) {
    auto r = tokenize("GGRAPH\r\n  /GRAPHSPEC\tSOURCE = INLINE\n  é= 'x'", 7);
    ASSERT_GE(r.tokens.size(), 9u);
    EXPECT_EQ(r.tokens[0].line(), 7);
    EXPECT_EQ(r.tokens[1].line(), 8);
    EXPECT_EQ(r.tokens[1].column(), 3);
    EXPECT_EQ(r.tokens[3].column(), 14);  // a tab is one column
    EXPECT_EQ(r.tokens[6].line(), 9);
    EXPECT_EQ(r.tokens[7].column(), 4);  // é is one column, not two bytes
}

TEST(Tokenizer, CommentsAreSkipped) {
    EXPECT_EQ(shape("a /* note */ b /* to the end of the line\nc"), "W:a W:b W:c");
}

TEST(Tokenizer, ProblemsAreDiagnosticsWithPlaces) {
    auto r = tokenize("NAME='open\n  X=1", 3);
    ASSERT_EQ(r.diagnostics.size(), 1u);
    EXPECT_TRUE(r.diagnostics[0].error);
    EXPECT_EQ(r.diagnostics[0].line, 3);
    EXPECT_EQ(r.diagnostics[0].column, 6);
    EXPECT_NE(r.diagnostics[0].text.find("no closing '"), std::string::npos);
    EXPECT_EQ(shape("NAME='open\n  X=1"), "W:NAME O:= L:open W:X O:= N:1");  // goes on

    auto bytes = tokenize(
        "ab\xFF"
        "c 'd\xC3'");
    EXPECT_FALSE(bytes.hasErrors());  // replaced bytes only warn
    ASSERT_EQ(bytes.diagnostics.size(), 2u);
    EXPECT_EQ(bytes.diagnostics[0].column, 3);
    EXPECT_EQ(std::string(bytes.tokens[0].getString()),
              "ab\xEF\xBF\xBD"
              "c");

    auto quotes = tokenize("TITLE=\xE2\x80\x9CSales\xE2\x80\x9D ! %");
    EXPECT_TRUE(quotes.hasErrors());
    EXPECT_NE(quotes.diagnostics[0].text.find("typographic quote"), std::string::npos);
    EXPECT_NE(quotes.diagnostics[2].text.find("'!'"), std::string::npos);
}

TEST(Tokenizer, GarbageIsBoundedAndLinear) {
    std::string garbage;
    for (int i = 0; i < 200000; ++i) garbage += static_cast<char>((i * 37 + 11) % 256);
    auto r = tokenize(garbage);
    EXPECT_LE(r.diagnostics.size(), 51u);  // the rest is counted in one line
    EXPECT_NE(r.diagnostics.back().text.find("more problems"), std::string::npos);

    std::string longLine = "x='" + std::string(10 * 1024 * 1024, 'a') + "'.";
    auto big = tokenize(longLine);
    ASSERT_EQ(big.tokens.size(), 3u);
    EXPECT_EQ(std::string(big.tokens[2].getString()).size(), 10u * 1024 * 1024);
}

}  // namespace
