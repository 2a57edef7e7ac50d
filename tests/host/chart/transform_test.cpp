#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>

#include <gtest/gtest.h>

#include "host/chart/frame/csv_source.h"
#include "host/chart/frame/expression.h"
#include "host/chart/frame/trans_statements.h"
#include "host/chart/frame/transforms.h"
#include "host/chart/gpl_syntax.h"
#include "host/dictionary/date_values.h"
#include "platform/var_data_processor.h"

using namespace host::chart::transform;

namespace {

struct Eval {
    std::map<std::string, ValueColumn> columns;
    std::size_t rows = 0;
    std::string error;

    Eval& number(std::string const& name, std::vector<double> v) {
        rows = v.size();
        columns[name] = ValueColumn::numeric(std::move(v));
        return *this;
    }
    Eval& text(std::string const& name, std::vector<std::string> v) {
        rows = v.size();
        ValueColumn c;
        c.text = true;
        c.missing.assign(v.size(), 0);
        c.texts = std::move(v);
        columns[name] = std::move(c);
        return *this;
    }
    std::optional<ValueColumn> run(std::string const& text) {
        auto expr = parseExpression(text);
        ValueColumn out;
        auto lookup = [&](std::string const& n) -> ValueColumn const* {
            auto it = columns.find(n);
            return it == columns.end() ? nullptr : &it->second;
        };
        if (!evaluate(expr, lookup, rows, out, error))
            return std::nullopt;
        return out;
    }
    // The numbers of a result, NaN where missing.
    std::vector<double> numbers(std::string const& text) {
        auto c = run(text);
        EXPECT_TRUE(c) << text << ": " << error;
        if (!c)
            return {};
        EXPECT_FALSE(c->text) << text;
        std::vector<double> out(c->size());
        for (std::size_t i = 0; i < out.size(); ++i) out[i] = c->missing[i] ? NAN : c->numbers[i];
        return out;
    }
};

void expectNumbers(std::vector<double> const& got, std::vector<double> const& want,
                   std::string const& what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    for (std::size_t i = 0; i < got.size(); ++i) {
        if (std::isnan(want[i]))
            EXPECT_TRUE(std::isnan(got[i])) << what << " row " << i << " gave " << got[i];
        else
            EXPECT_NEAR(got[i], want[i], 1e-12) << what << " row " << i;
    }
}

}  // namespace

TEST(Expression, ArithmeticPrecedenceAndPowers) {
    Eval e;
    e.number("x", {1, 2, NAN});
    expectNumbers(e.numbers("1 - x"), {0, -1, NAN}, "1 - x");
    expectNumbers(e.numbers("-x**2"), {-1, -4, NAN}, "unary minus binds looser than power");
    expectNumbers(e.numbers("2**3**2 + 0*x"), {512, 512, NAN}, "powers are right-associative");
    expectNumbers(e.numbers("2 ^ -1 + x * 3 / 2"), {2, 3.5, NAN}, "^ and a negative exponent");
    expectNumbers(e.numbers("(1 + x) * 2 - 10 / 4"), {1.5, 3.5, NAN}, "parentheses");
    expectNumbers(e.numbers("x / (x - 1)"), {NAN, 2, NAN}, "division by zero is missing");
    expectNumbers(e.numbers("1.5e1 - .5 + x"), {15.5, 16.5, NAN}, "number forms");
}

TEST(Expression, FunctionsAndMissingValues) {
    Eval e;
    e.number("x", {-2.5, 4, NAN}).number("y", {1, 10, 3});
    expectNumbers(e.numbers("abs(x)"), {2.5, 4, NAN}, "abs");
    expectNumbers(e.numbers("sqrt(x)"), {NAN, 2, NAN}, "sqrt of a negative is missing");
    expectNumbers(e.numbers("ln(y)"), {0, std::log(10.0), std::log(3.0)}, "ln");
    expectNumbers(e.numbers("log10(y) + exp(0)"), {1, 2, 1 + std::log10(3.0)}, "log10, exp");
    expectNumbers(e.numbers("round(x) + floor(2.7) * 10 + ceil(0.2) * 100"), {117, 124, NAN},
                  "round away from zero, floor, ceil");
    expectNumbers(e.numbers("min(x, y, 3)"), {-2.5, 3, NAN}, "min with a missing argument");
    expectNumbers(e.numbers("max(y, 2)"), {2, 10, 3}, "max");
    expectNumbers(e.numbers("LN(y) * 0 + 1"), {1, 1, 1}, "function names are case-blind");
}

TEST(Expression, ComparisonsLogicAndConditionals) {
    Eval e;
    e.number("x", {1, 5, NAN, 7});
    expectNumbers(e.numbers("x >= 5"), {0, 1, NAN, 1}, ">=");
    expectNumbers(e.numbers("x = 5 or x <> 5 and not x < 7"), {0, 1, NAN, 1},
                  "and binds tighter than or");
    // A missing side does not matter where the other side settles the result.
    expectNumbers(e.numbers("x > 3 and 0"), {0, 0, 0, 0}, "false and missing");
    expectNumbers(e.numbers("x > 3 | 1"), {1, 1, 1, 1}, "true or missing");
    expectNumbers(e.numbers("x > 3 ? x * 10 : -x"), {-1, 50, NAN, 70}, "?:");
    expectNumbers(e.numbers("if(x != 5, 1, 2)"), {1, 2, NAN, 1}, "if()");
}

TEST(Expression, TextsJoinAndCompare) {
    Eval e;
    e.text("g", {"a", "b"}).number("x", {1, NAN});
    auto c = e.run("g + \"-\" + x");
    ASSERT_TRUE(c) << e.error;
    ASSERT_TRUE(c->text);
    EXPECT_EQ(c->texts[0], "a-1");
    EXPECT_TRUE(c->missing[1]);
    // A text over a line break keeps the break as a blank; a doubled quote is a quote.
    c = e.run("x > 0 ? \"big\none\" : 'it''s small'");
    ASSERT_TRUE(c) << e.error;
    EXPECT_EQ(c->texts[0], "big one");
    EXPECT_TRUE(c->missing[1]);
    expectNumbers(e.numbers("g = \"b\""), {0, 1}, "text equality");
}

TEST(Expression, ErrorsSayWhereAndWhat) {
    Eval e;
    e.number("x", {1}).text("g", {"a"});
    struct Case {
        char const* text;
        char const* message;
    } const cases[] = {
        {"1 +", "line 1, column 4: expected a number, text, name or '(', found the end"},
        {"(x", "expected ')'"},
        {"x ? 1", "expected ':'"},
        {"nosuch(x)", "unknown function 'nosuch'"},
        {"sqrt(x, 2)", "sqrt takes 1 argument"},
        {"x # 2", "expected an operator or the end"},
        {"\"open", "text not closed"},
        {"y + 1", "'y' is not a variable"},
        {"g * 2", "arithmetic needs numbers"},
        {"g < 1", "a text is compared with a number"},
        {"x > 0 ? g : 1", "a text and a number"},
        {"", "the expression is empty"},
    };
    for (auto const& c : cases) {
        EXPECT_FALSE(e.run(c.text)) << c.text;
        EXPECT_NE(e.error.find(c.message), std::string::npos) << c.text << " gave: " << e.error;
    }
    // Deep nesting ends in an error, not a stack overflow.
    std::string deep(5000, '(');
    EXPECT_FALSE(e.run(deep + "1" + std::string(5000, ')')));
    EXPECT_NE(e.error.find("nested too deeply"), std::string::npos);
}

TEST(Expression, PositionsCountFromTheStatement) {
    auto p = parseExpression("1 +\n  * 2", 7, 20);
    EXPECT_EQ(p.error, "line 8, column 3: expected a number, text, name or '(', found '*'");
}

TEST(GplEval, ExpressionTextIsKeptWhole) {
    auto program = host::chart::gpl::parse(
        "SOURCE: s=userSource(id(\"d\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "TRANS: y = eval(x >= 5 ? \"high (5+)\" :\n  \"low\")\n"
        "TRANS: z=EVAL(1 - x)\n");
    ASSERT_FALSE(program.hasErrors()) << program.describe();
    ASSERT_EQ(program.statements.size(), 4u);
    auto const& y = program.statements[2];
    EXPECT_EQ(y.target, "y");
    EXPECT_EQ(y.body.key(), "eval");
    ASSERT_EQ(y.body.args.size(), 1u);
    EXPECT_EQ(y.body.args[0].value, "x >= 5 ? \"high (5+)\" :\n  \"low\"");
    EXPECT_EQ(y.body.args[0].line, 3);
    EXPECT_EQ(y.body.args[0].column, 17);
    EXPECT_EQ(program.statements[3].body.args[0].value, "1 - x");
}

TEST(Transforms, IterIndexCollapse) {
    std::vector<double> v;
    std::string error;
    ASSERT_TRUE(iterate(0, 1, 0.1, v, error));
    ASSERT_EQ(v.size(), 11u);
    EXPECT_NEAR(v.back(), 1, 1e-12);
    ASSERT_TRUE(iterate(10, 1, -4, v, error));
    EXPECT_EQ(v, (std::vector<double>{10, 6, 2}));
    EXPECT_FALSE(iterate(0, 1, 0, v, error));
    EXPECT_FALSE(iterate(0, 1, -1, v, error));
    EXPECT_NE(error.find("never reaches"), std::string::npos);
    EXPECT_FALSE(iterate(0, 1e12, 1, v, error));

    EXPECT_EQ(rowIndex(3), (std::vector<double>{1, 2, 3}));

    std::vector<std::string> cats = {"a", "a", "b", "c", "a", "", "a", "a", "a", "a"};
    std::vector<char> missing(cats.size(), 0);
    missing[5] = 1;
    // Shares of 9 counted rows: a 7/9, b and c 1/9 (11.1%).
    auto out = collapse(cats, missing, nullptr, {12, "Other"});
    EXPECT_EQ(out[2], "Other");
    EXPECT_EQ(out[3], "Other");
    EXPECT_EQ(out[0], "a");
    EXPECT_EQ(out[5], "");
    // By a sum variable, c carries most of the total.
    std::vector<double> sums = {1, 1, 1, 50, 1, 1, 1, 1, 1, 1};
    out = collapse(cats, missing, &sums, {5, "rest"});
    EXPECT_EQ(out[2], "rest");
    EXPECT_EQ(out[3], "c");
    EXPECT_EQ(out[0], "a");
}

TEST(TransStatements, RunInOrderAndReportTheirLine) {
    auto program = host::chart::gpl::parse(
        "SOURCE: s=userSource(id(\"d\"))\n"
        "DATA: x=col(source(s), name(\"x\"))\n"
        "DATA: g=col(source(s), name(\"g\"), unit.category())\n"
        "TRANS: y = eval(1 - x)\n"
        "TRANS: z = eval(y * 2 + nosuch)\n"
        "TRANS: i = index()\n"
        "TRANS: c = collapse(category(g), minimumPercent(30), otherValue(\"rest\"))\n"
        "TRANS: w = eval(i ** 2 + y)\n");
    ASSERT_FALSE(program.hasErrors()) << program.describe();
    std::map<std::string, ValueColumn> data;
    data["x"] = ValueColumn::numeric({1, 2, NAN, 4});
    data["g"].text = true;
    data["g"].texts = {"a", "a", "b", "a"};
    data["g"].missing = {0, 0, 0, 0};
    std::map<std::string, ValueColumn> out;
    std::vector<host::chart::gpl::Diagnostic> diags;
    evaluateTransStatements(
        program,
        [&](std::string const& n) -> ValueColumn const* {
            auto it = data.find(n);
            return it == data.end() ? nullptr : &it->second;
        },
        4, out, diags);
    ASSERT_EQ(diags.size(), 1u);
    EXPECT_EQ(diags[0].line, 5);
    EXPECT_EQ(diags[0].column, 25);
    EXPECT_EQ(diags[0].text, "TRANS z: 'nosuch' is not a variable");
    EXPECT_FALSE(out.count("z"));
    EXPECT_EQ(out["c"].texts, (std::vector<std::string>{"a", "a", "rest", "a"}));
    auto const& w = out["w"];
    EXPECT_EQ(w.numbers[0], 1);
    EXPECT_EQ(w.numbers[1], 3);
    EXPECT_TRUE(w.missing[2]);
    EXPECT_EQ(w.numbers[3], 13);

    std::vector<double> seq;
    host::chart::gpl::Diagnostic error;
    auto iter = host::chart::gpl::parse("DATA: i = iter(1, 2, 0.5)\nDATA: j = iter(1, \"a\")\n");
    ASSERT_EQ(iter.statements.size(), 2u);
    EXPECT_TRUE(evaluateIter(iter.statements[0].body, seq, error));
    EXPECT_EQ(seq, (std::vector<double>{1, 1.5, 2}));
    EXPECT_FALSE(evaluateIter(iter.statements[1].body, seq, error));
    EXPECT_EQ(error.line, 2);
}

TEST(CsvSource, ReadsColumnsByHeaderWithDates) {
    namespace fs = std::filesystem;
    fs::path dir = fs::temp_directory_path() / ("csv_source_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    std::ofstream(dir / "d.csv") << "name,score,day\nann,3.5,2024-01-02\nbob,,2024-01-03\n";
    VarDataProcessor vdp;
    std::string error;
    std::vector<std::string> warnings;
    ASSERT_TRUE(host::chart::readCsvSource((dir / "d.csv").string(), "s", vdp, error, warnings))
        << error;
    EXPECT_EQ(vdp.GetRowCount("s"), 2u);
    int score = vdp.FindVariable("s", "score"), name = vdp.FindVariable("s", "name");
    int day = vdp.FindVariable("s", "day");
    EXPECT_EQ(vdp.GetNumber("s", score, 0), 3.5);
    EXPECT_EQ(vdp.GetCellKind("s", score, 1), VarDataProcessor::CellKind::Missing);
    EXPECT_EQ(vdp.GetText("s", name, 1), "bob");
    EXPECT_EQ(vdp.GetNumber("s", day, 1), host::dictionary::valueFromCivil(2024, 1, 3));
    EXPECT_FALSE(
        host::chart::readCsvSource((dir / "none.csv").string(), "t", vdp, error, warnings));
    EXPECT_NE(error.find("none.csv"), std::string::npos) << error;
    fs::remove_all(dir);
}
