// The template library: reading template files, finding them by name, and filling their slots.
#include "host/chart/template_library.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace hc = host::chart;
namespace fs = std::filesystem;

namespace {

constexpr char kTemplate[] =
    "# a comment\n"
    "TEMPLATE: Two Groups\n"
    "DESCRIPTION: for the tests\n"
    "FUTURE: a key of a later version\n"
    "SLOT: x     role=categories required categorical\n"
    "SLOT: y     role=values     required continuous\n"
    "SLOT: Color role=color      optional any\n"
    "GPL:\n"
    "ELEMENT: interval(position({x}*{y}){?color:, color.interior({color})}{!color:, "
    "color(color.red)})\n"
    "GUIDE: text.title(label(\"{{braces}}\"))\n";

hc::ChartTemplate parsed(std::string const& text) {
    std::string error;
    auto t = hc::parseTemplate(text, "t.ctpl", error);
    EXPECT_TRUE(t) << error;
    return t ? *t : hc::ChartTemplate{};
}

std::string parseError(std::string const& text) {
    std::string error;
    EXPECT_FALSE(hc::parseTemplate(text, "t.ctpl", error)) << text;
    return error;
}

}  // namespace

TEST(TemplateLibrary, ReadsHeaderSlotsAndBody) {
    auto t = parsed(kTemplate);
    EXPECT_EQ(t.name, "Two Groups");
    ASSERT_EQ(t.slots.size(), 3u);
    EXPECT_TRUE(t.slots[0].required);
    EXPECT_EQ(t.slots[0].kind, hc::TemplateSlot::Kind::Categorical);
    EXPECT_EQ(t.slots[1].role, "values");
    EXPECT_FALSE(t.slots[2].required);
    EXPECT_EQ(t.slot("COLOR"), &t.slots[2]);
    EXPECT_EQ(t.slotFor("Values"), &t.slots[1]);  // by its role
    EXPECT_EQ(t.slotFor("size"), nullptr);
    EXPECT_EQ(t.bodyLine, 9);

    EXPECT_EQ(parseError("SLOT: x\nGPL:\n"), "t.ctpl, line 2: the template has no TEMPLATE: name");
    EXPECT_EQ(parseError("TEMPLATE: a\nSLOT: x\n"),
              "t.ctpl, line 2: the template has no GPL: line before its body");
    EXPECT_EQ(parseError("TEMPLATE: a\nSLOT: x\nSLOT: X\nGPL:\n"),
              "t.ctpl, line 3: the slot 'X' is declared twice");
    EXPECT_EQ(parseError("TEMPLATE: a\nSLOT: x mandatory\nGPL:\n"),
              "t.ctpl, line 2: unknown word 'mandatory' in slot 'x'");
    EXPECT_EQ(parseError("TEMPLATE: a\nSLOT: 2x\nGPL:\n"),
              "t.ctpl, line 2: a slot needs a name of letters, digits and _, found '2x'");
    EXPECT_EQ(parseError("TEMPLATE: a\njust words\nGPL:\n"),
              "t.ctpl, line 2: expected KEY: value or GPL:, found 'just words'");
}

TEST(TemplateLibrary, FillsSlotsWithSourcesDataAndWeights) {
    auto t = parsed(kTemplate);
    std::vector<hc::SlotFill> fills = {
        {"X", "dept", "g", false, false},  // the slot's kind wins over the mapping's
        {"y", "MEAN_salary", "g", true, false},
        {"color", "sex", "h", true, false},
        {"dupRa6ej", "$WEIGHT", "h", false, true},
        {"dupRa6ej", "$WEIGHT", "unused", false, true},
    };
    auto filled = hc::instantiate(t, fills, {});
    ASSERT_TRUE(filled.error.empty()) << filled.error;
    EXPECT_TRUE(filled.warnings.empty());
    EXPECT_EQ(filled.gpl,
              "SOURCE: s=userSource(id(\"g\"))\n"
              "SOURCE: s2=userSource(id(\"h\"), weight(dupRa6ej_2))\n"
              "DATA: dupRa6ej_2=col(source(s2), name(\"$WEIGHT\"))\n"
              "DATA: x=col(source(s), name(\"dept\"), unit.category())\n"
              "DATA: y=col(source(s), name(\"MEAN_salary\"))\n"
              "DATA: Color=col(source(s2), name(\"sex\"), unit.category())\n"
              "ELEMENT: interval(position(x*y), color.interior(Color))\n"
              "GUIDE: text.title(label(\"{braces}\"))\n");

    // Without the optional slot its alternative is taken; a slot the template lacks is left
    // out with a warning, and a second mapping of a slot too.
    auto plain = hc::instantiate(
        t, {{"x", "a\"b", "g", true, false}, {"y", "v", "g", false, false},
            {"size", "v", "g", false, false}, {"y", "w", "g", false, false}},
        {});
    EXPECT_NE(plain.gpl.find("name(\"a\\\"b\")"), std::string::npos) << plain.gpl;
    EXPECT_NE(plain.gpl.find("position(x*y), color(color.red))"), std::string::npos) << plain.gpl;
    ASSERT_EQ(plain.warnings.size(), 2u);
    EXPECT_EQ(plain.warnings[0],
              "The template \"Two Groups\" has no slot \"size\"; that mapping is not used.");

    auto missing = hc::instantiate(t, {{"color", "sex", "g", true, false}}, {});
    EXPECT_TRUE(missing.gpl.empty());
    EXPECT_EQ(missing.error,
              "The template \"Two Groups\" needs a variable for its slot \"x\" (categories), and "
              "the MAPPING has none. The template \"Two Groups\" needs a variable for its slot "
              "\"y\" (values), and the MAPPING has none.");
}

TEST(TemplateLibrary, BodyFaultsAndMapPlaceholders) {
    auto body = [](std::string const& gpl) {
        return parsed("TEMPLATE: t\nSLOT: k role=key required categorical\nSLOT: o optional\n"
                      "GPL:\n" +
                      gpl);
    };
    hc::TemplateMaps maps{"UnitedStates", "", "NAME", true};
    auto map = hc::instantiate(body("ELEMENT: polygon(position({k}), map({map}, {mapkey}, {showall}))"),
                               {{"k", "state", "g", true, false}}, maps);
    EXPECT_NE(map.gpl.find("map(\"UnitedStates\", \"NAME\", true)"), std::string::npos) << map.gpl;

    struct {
        char const* gpl;
        char const* error;
    } const faults[] = {
        {"ELEMENT: point({o})", "t.ctpl, line 5: the optional slot 'o' is used outside {?o:...}"},
        {"\nELEMENT: point({z})", "t.ctpl, line 6: unknown placeholder '{z}'"},
        {"ELEMENT: point({?z:x})", "t.ctpl, line 5: 'z' is not a slot of the template"},
        {"ELEMENT: point({?o x})", "t.ctpl, line 5: '{?o x}' needs a ':' after the slot"},
        {"ELEMENT: point({k)", "t.ctpl, line 5: a '{' without its '}'"},
        {"ELEMENT: point(k})", "t.ctpl, line 5: a '}' without its '{'"},
    };
    for (auto const& f : faults) {
        auto r = hc::instantiate(body(f.gpl), {{"k", "state", "g", true, false}}, maps);
        EXPECT_TRUE(r.gpl.empty()) << f.gpl;
        EXPECT_EQ(r.error, f.error);
    }
}

TEST(TemplateLibrary, FindsTemplatesByNameOrFile) {
    fs::path dir = fs::path(GGRAPH_BINARY_DIR) / "template_library_test";
    fs::remove_all(dir);
    fs::create_directories(dir);
    std::ofstream(dir / "dots.ctpl") << "TEMPLATE: 2-D Dot Plot\nGPL:\nELEMENT: point(position(1))\n";
    std::ofstream(dir / "broken.ctpl") << "no header\n";
    std::string error;
    for (char const* name : {"2-D Dot Plot", "2d dot plot", "2_D-DOT_PLOT", "dots", "dots.ctpl"}) {
        auto t = hc::findTemplate(name, dir, error);
        ASSERT_TRUE(t) << name << ": " << error;
        EXPECT_EQ(t->name, "2-D Dot Plot");
    }
    EXPECT_FALSE(hc::findTemplate("Radar", dir, error));
    EXPECT_EQ(error, "there is no template named \"Radar\" in " + dir.string());
    EXPECT_FALSE(hc::findTemplate("broken", dir, error));  // found, and its fault is told
    EXPECT_NE(error.find("broken.ctpl, line 1"), std::string::npos) << error;
    EXPECT_FALSE(hc::findTemplate("Bar", dir / "none", error));
    EXPECT_NE(error.find("cannot be read"), std::string::npos);

    // Every shipped template reads without a fault.
    int shipped = 0;
    for (auto const& entry : fs::directory_iterator(hc::templateFolder())) {
        ++shipped;
        EXPECT_TRUE(hc::readTemplateFile(entry.path(), error)) << error;
    }
    EXPECT_GE(shipped, 12);
}
