#include "host/chart/gpl_syntax.h"

#include <string>

#include <gtest/gtest.h>

namespace gpl = host::chart::gpl;

namespace {

gpl::Program ok(std::string const& text) {
    auto p = gpl::parse(text);
    EXPECT_FALSE(p.hasErrors()) << p.describe();
    return p;
}

std::string errors(std::string const& text) {
    auto p = gpl::parse(text);
    EXPECT_TRUE(p.hasErrors()) << text;
    return p.describe();
}

}  // namespace

TEST(GplParser, EveryStatementAndTheDocumentedExamples) {
    auto p = ok(R"(COMMENT: a comment (with "quotes"
PAGE: begin(scale(600px, 400px))
SOURCE: s=userSource(id("graphdataset"), missing.listwise())
DATA: jobcat=col(source(s), name("jobcat"), unit.category())
DATA: MEAN_salary=col(source(s), name("MEAN_salary"))
TRANS: y = eval(a + b)
GUIDE: axis(dim(1), label("Employment Category"))
SCALE: linear(dim(2), include(0))
COORD: rect(dim(1,2), cluster(3,0))
ELEMENT: interval(position(jobcat*MEAN_salary), shape.interior(shape.square))
GRAPH: end()
PAGE: end())");
    ASSERT_EQ(p.statements.size(), 12u);
    EXPECT_EQ(p.statements[0].comment, "a comment (with \"quotes\"");
    EXPECT_EQ(p.statements[2].target, "s");
    EXPECT_EQ(p.statements[3].target, "jobcat");
    auto const& el = p.statements[9];
    EXPECT_EQ(el.keyword, "ELEMENT");
    EXPECT_EQ(el.line, 10);
    ASSERT_EQ(el.body.kind, gpl::Node::Kind::Call);
    EXPECT_EQ(el.body.name, "interval");
    auto const* pos = el.body.find("position");
    ASSERT_NE(pos, nullptr);
    EXPECT_EQ(pos->args[0].kind, gpl::Node::Kind::Cross);
    auto const& scale = p.statements[1].body.args[0];
    EXPECT_EQ(scale.args[0].number, 600);
    EXPECT_EQ(scale.args[0].value, "px");

    for (char const* example : {
             "ELEMENT: interval(position(summary.count(bin.rect(salary))), "
             "shape.interior(shape.square))\nELEMENT: line(position(density.normal(salary)), "
             "color(color.black))",
             "ELEMENT: schema(position(bin.quantile.letter(gender*salary)), label(id))",
             "COORD: polar.theta(startAngle(0))\nELEMENT: "
             "interval.stack(position(summary.percent(COUNT*1, base.all())), "
             "color.interior(jobcat))",
             "ELEMENT: interval(position(region.spread.range(INDEX*(LOW+HIGH))), "
             "shape.interior(shape.ibeam))",
             "ELEMENT: polygon(position(bin.rect(x*y)), color.interior(summary.count()))",
             "SCALE: cat(aesthetic(aesthetic.color.interior), map((\"a\", color.red), (\"b\", "
             "color.blue)))",
             "GUIDE: form.line(position(*, 50), color(color.red), label(\"target\"))",
             "SCALE: linear(aesthetic(aesthetic.size), aestheticMinimum(size.\"2px\"))",
         })
        ok(example);
}

TEST(GplParser, AlgebraPrecedenceNestOverCrossOverBlend) {
    auto p = ok("ELEMENT: point(position(a+b*c/d))");
    auto const& e = p.statements[0].body.args[0].args[0];
    ASSERT_EQ(e.kind, gpl::Node::Kind::Blend);
    EXPECT_EQ(e.args[0].name, "a");
    ASSERT_EQ(e.args[1].kind, gpl::Node::Kind::Cross);
    EXPECT_EQ(e.args[1].args[0].name, "b");
    ASSERT_EQ(e.args[1].args[1].kind, gpl::Node::Kind::Nest);
    EXPECT_EQ(e.args[1].args[1].args[1].name, "d");

    auto q = ok("ELEMENT: point(position((a+b)*c))");
    auto const& f = q.statements[0].body.args[0].args[0];
    ASSERT_EQ(f.kind, gpl::Node::Kind::Cross);
    EXPECT_EQ(f.args[0].kind, gpl::Node::Kind::Blend);
    // 1 is the unity variable; * alone means every value.
    auto r = ok("ELEMENT: interval(position(x*1))\nGUIDE: form.line(position(*, -2.5e1))");
    EXPECT_EQ(r.statements[0].body.args[0].args[0].args[1].number, 1);
    EXPECT_EQ(r.statements[1].body.args[0].args[0].kind, gpl::Node::Kind::Star);
    EXPECT_EQ(r.statements[1].body.args[0].args[1].number, -25);
}

TEST(GplParser, LexicalForms) {
    auto p =
        ok("GUIDE: text.title(label(\"say \\\"hi\\\" and \"\"yo\"\"\", \"\tÄé\"))\n"
           "SCALE: linear(dim(2), min(.5), max(1.), origin(10%), delta(2cm))\n"
           "ELEMENT: point(color(color.\"FF8800\"), size(size.\"12px\"))\n"
           "element: Point (position(Größe*$CASENUM*#INDEX*@x))\n"
           "GUIDE: text.footnote(label(\"over\ntwo lines\"))");
    auto const& label = p.statements[0].body.args[0];
    EXPECT_EQ(label.args[0].value, "say \"hi\" and \"yo\"");
    EXPECT_EQ(label.args[1].value, "\tÄé");
    auto const& scale = p.statements[1].body;
    EXPECT_DOUBLE_EQ(scale.args[1].args[0].number, 0.5);
    EXPECT_DOUBLE_EQ(scale.args[2].args[0].number, 1.0);
    EXPECT_EQ(scale.args[3].args[0].value, "%");
    EXPECT_EQ(scale.args[4].args[0].value, "cm");
    auto const& color = p.statements[2].body.args[0].args[0];
    EXPECT_EQ(color.kind, gpl::Node::Kind::Constant);
    EXPECT_EQ(color.name, "color");
    EXPECT_EQ(color.value, "FF8800");
    EXPECT_EQ(p.statements[3].keyword, "ELEMENT");
    EXPECT_EQ(p.statements[3].body.key(), "point");
    EXPECT_EQ(p.statements[4].body.args[0].args[0].value, "over two lines");
}

TEST(GplParser, LeniencyForPublishedJobsWarns) {
    // Surplus ')', missing ')', an open string closed at the next ')', a keyword alone on its line.
    auto p =
        ok("ELEMENT: interval(position(a*b)))\n"
           "ELEMENT: point(position(a*b)\n"
           "GUIDE: axis(dim(1), label(\"Open string), null())\n"
           "GUIDE:\n  axis(dim(2))");
    ASSERT_EQ(p.statements.size(), 4u);
    EXPECT_EQ(p.diagnostics.size(), 3u) << p.describe();
    EXPECT_EQ(p.statements[2].body.args[1].args[0].value, "Open string");
    EXPECT_EQ(p.statements[3].body.name, "axis");
    EXPECT_NE(p.describe().find("line 1, column 33: surplus ')'"), std::string::npos)
        << p.describe();
}

TEST(GplParser, ErrorsNamePositionAndWhatWasExpected) {
    EXPECT_NE(errors("").find("empty"), std::string::npos);
    EXPECT_NE(errors("   \n\n").find("empty"), std::string::npos);
    EXPECT_NE(errors("BOGUS: x(1)").find("line 1, column 1: unknown statement 'BOGUS'"),
              std::string::npos);
    EXPECT_NE(errors("DATA: x=col(source(s)\n  name(\"x\"))")
                  .find("line 2, column 3: expected ',' or ')' in the arguments of 'col', found "
                        "'name'"),
              std::string::npos);
    EXPECT_NE(errors("DATA: col(source(s))").find("expected '=' after 'col'"), std::string::npos);
    EXPECT_NE(errors("ELEMENT: point(position(a*))").find("found ')'"), std::string::npos);
    EXPECT_NE(errors("ELEMENT: point(position(a ; b))").find("unexpected character ';'"),
              std::string::npos);
    EXPECT_NE(errors("GUIDE: axis(label(\"never closed").find("string not closed"),
              std::string::npos);
    EXPECT_NE(errors("interval(position(a*b))").find("expected a statement keyword"),
              std::string::npos);
    std::string deep = "ELEMENT: point(position(" + std::string(100000, '(') + "a" +
                       std::string(100000, ')') + "))";
    EXPECT_NE(errors(deep).find("nested too deeply"), std::string::npos);
    // One bad statement does not hide the next one's error.
    auto p = gpl::parse("ELEMENT: point(,)\nSCALE: linear(dim(1) dim(2))");
    EXPECT_EQ(p.diagnostics.size(), 2u) << p.describe();
}

TEST(GplParser, LongOperatorChainsAreRefusedBeforeTheTreeGetsTooDeepToWalk) {
    auto chain = [](std::string const& op, int n, std::string const& around) {
        std::string text = "x";
        for (int i = 1; i < n; ++i) text += op + "x";
        return "ELEMENT: point(position(" + around.substr(0, around.size() / 2) + text +
               around.substr(around.size() / 2) + "))";
    };
    for (std::string const op : {"*", "+", "/"}) {
        // As long as any chart could use, and far longer.
        ok(chain(op, 1000, ""));
        std::string const message = errors(chain(op, 100000, "()"));
        EXPECT_NE(message.find("too deep: more than 1024 operators"), std::string::npos) << message;
    }
    // Calls inside chains inside calls count together.
    std::string mixed = "a";
    for (int i = 0; i < 200; ++i) mixed = "f(" + mixed + "*b*c*d*e*g)";
    EXPECT_NE(errors("ELEMENT: point(position(" + mixed + "))").find("too deep"), std::string::npos);
}

TEST(GplParser, MessagesQuoteBytesOfTheProgramSafely) {
    std::string const message = errors("ELEMENT: point(position(x*y)) \x01\xff\n");
    EXPECT_NE(message.find("\\x01"), std::string::npos) << message;
    EXPECT_EQ(message.find_first_of("\x01\xff"), std::string::npos) << message;
}
