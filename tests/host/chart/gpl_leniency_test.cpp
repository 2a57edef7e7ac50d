// GPL as published jobs write it: faults whose intent is plain are read with a warning that names
// the place, and the chart is drawn.
#include <string>

#include <gtest/gtest.h>

#include "host/chart/chart_model.h"
#include "host/chart/gpl_syntax.h"
#include "support/scene_rows.h"

namespace gpl = host::chart::gpl;

namespace {

using test::fill;

std::string warnings(XDocument& doc) {
    return doc.model().program.describe();
}

}  // namespace

TEST(GplLeniency, SurplusCloseInsideAStatementKeepsTheArgumentsAfterIt) {
    auto p =
        gpl::parse("ELEMENT: interval.stack(position(summary.percent(COUNT))), color.interior(v))");
    ASSERT_FALSE(p.hasErrors()) << p.describe();
    auto const& body = p.statements.at(0).body;
    ASSERT_EQ(body.args.size(), 2u);
    EXPECT_EQ(body.args[1].name, "color.interior");
    EXPECT_NE(p.describe().find("line 1, column 57: surplus ')'"), std::string::npos)
        << p.describe();
    // A comma after a complete statement that is not a call is still an error.
    EXPECT_TRUE(gpl::parse("ELEMENT: a, b").hasErrors());

    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
        "DATA: v=col(source(s), name(\"v\"), unit.category())\n"
        "DATA: n=col(source(s), name(\"n\"))\n"
        "ELEMENT: interval.stack(position(c*n)), color.interior(v))",
        true, true);
    VarDataProcessor vdp;
    fill(vdp, "g", {"c", "v", "n"}, {{"a", "x", 1.0}, {"a", "y", 2.0}, {"b", "x", 3.0}});
    auto s = test::scene(doc, &vdp);
    EXPECT_EQ(test::marks(s, "bar").size(), 3u);
    EXPECT_FALSE(test::marks(s, "legend-label").empty());  // the colour was read
    EXPECT_NE(warnings(doc).find("line 5, column 38"), std::string::npos) << warnings(doc);
}

TEST(GplLeniency, NameBrokenOverTwoLinesIsOneName) {
    auto p = gpl::parse(
        "DATA: Monthlyhouseholdexpen\n"
        "    ditureperperson=col(source(s), name(\"m\"))\n"
        "ELEMENT: point(position(summary.me\n"
        "   an(Monthlyhouseholdexpen\n"
        "    ditureperperson)))");
    ASSERT_FALSE(p.hasErrors()) << p.describe();
    EXPECT_EQ(p.statements[0].target, "Monthlyhouseholdexpenditureperperson");
    auto const& position = p.statements[1].body.args.at(0);
    EXPECT_EQ(position.args.at(0).name, "summary.mean");
    EXPECT_EQ(position.args[0].args.at(0).name, "Monthlyhouseholdexpenditureperperson");
    EXPECT_NE(p.describe().find("line 2, column 5: the name 'Monthlyhouseholdexpen'"),
              std::string::npos)
        << p.describe();
    // A name over a thousand lines is read whole, and its messages quote only its start: were
    // each to quote the name so far, the messages would grow with the square of its length.
    std::string longName = "ELEMENT: point(position(x*y), a";
    for (int i = 0; i < 1000; ++i) longName += "\nbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb";
    auto joined = gpl::parse(longName + ")");
    ASSERT_FALSE(joined.diagnostics.empty());
    for (auto const& d : joined.diagnostics) EXPECT_LT(d.text.size(), 300u) << d.text;
    // Names on the same line, or a blank line apart, are not joined.
    EXPECT_TRUE(gpl::parse("ELEMENT: point(position(a b))").hasErrors());
    EXPECT_TRUE(gpl::parse("ELEMENT: point(position(a\n\nb))").hasErrors());

    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: region=col(source(s), name(\"region\"), unit.category())\n"
        "DATA: Monthlyhouseholdexpen\n"
        "    ditureperperson=col(source(s), name(\"m\"))\n"
        "ELEMENT: interval(position(region*Monthlyhouseholdexpen\n"
        "    ditureperperson))",
        true, true);
    VarDataProcessor vdp;
    fill(vdp, "g", {"region", "m"}, {{"n", 10.0}, {"s", 20.0}});
    EXPECT_EQ(test::marks(test::scene(doc, &vdp), "bar").size(), 2u);
    EXPECT_NE(warnings(doc).find("line 6, column 5"), std::string::npos) << warnings(doc);
}

TEST(GplLeniency, UndeclaredNameIsAColumnOfTheOnlyUserSource) {
    XDocument doc(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
        "ELEMENT: interval(position(c*count))",
        true, true);
    VarDataProcessor vdp;
    fill(vdp, "g", {"c", "count"}, {{"a", 4.0}, {"b", 6.0}});
    auto s = test::scene(doc, &vdp);
    EXPECT_EQ(test::marks(s, "bar").size(), 2u);
    EXPECT_NE(warnings(doc).find("line 3, column 30: variable 'count' is used but never declared; "
                                 "it is read from the column 'count' of source 's'"),
              std::string::npos)
        << warnings(doc);

    // Two sources leave it ambiguous: still an error.
    XDocument two(
        "SOURCE: s=userSource(id(\"g\"))\n"
        "SOURCE: t=userSource(id(\"h\"))\n"
        "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
        "ELEMENT: interval(position(c*count))",
        true, true);
    EXPECT_FALSE(two.implementationExists());
    EXPECT_NE(two.errorText().find("'count' is used but never declared"), std::string::npos);
}
