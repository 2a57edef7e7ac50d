// The streamed output.json against the library's own serialiser: the same bytes for the same
// content, whatever the strings hold.
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "host/output/document.h"
#include "host/output/json_text.h"
#include "host/output/writers.h"

using host::output::Document;
using host::output::Item;
using host::output::ItemKind;
using Ordered = nlohmann::ordered_json;

namespace {

std::string reference(std::string const& text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

TEST(JsonStream, StringsAreEscapedAsTheReferenceSerialiserDoes) {
    static constexpr char kControls[] = "controls \b\f\n\r\t \x01\x1f\x7f and a NUL \0 inside";
    std::string const cases[] = {
        "",
        "plain",
        "quote \" backslash \\ slash /",
        std::string(kControls, sizeof kControls - 1),
        "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80",  // 2-, 3- and 4-byte characters
        "lone \x80 continuation",
        "latin-1 caf\xe9!",
        "cut short \xe2\x82",                  // a 3-byte character missing its last byte
        "cut short then ascii \xe2\x82x",      // the byte that broke it is read again
        "overlong \xc0\x80 and \xe0\x80\x80",  // forms that spell a character too long
        "surrogate \xed\xa0\x80",
        "beyond U+10FFFF \xf4\x90\x80\x80, \xf5\x80",
        "\xff\xfe",
    };
    for (auto const& text : cases) EXPECT_EQ(host::output::jsonString(text), reference(text));
}

TEST(JsonStream, DocumentIsLaidOutAsAnIndentedDumpOfTheSameContent) {
    Document document;
    document.addCommand("GGRAPH \"x\".");
    int const procedure = document.openProcedure("GGraph");
    document.addTrace("Starting");
    document.addMessage(2, "watch \xe9");
    host::output::TableData table;
    table.title = "T";
    table.cells = {{"a", "b"}, {}, {"c"}};
    document.addTable(table);
    host::output::TableData empty;
    document.addTable(empty);
    Item chart;
    chart.kind = ItemKind::Chart;
    chart.payload = std::make_shared<nlohmann::json const>(nlohmann::json{
        {"kind", "ignored"},
        {"description", "d"},
        {"data", {{"g", {{"columns", {"x", "y"}}, {"rows", {{1, nullptr}, {2.5, "t\n"}}}}}}},
        {"files", nlohmann::json::array()},
        {"send", {true, false, false}},
        {"empty", nlohmann::json::object()}});
    document.add(chart);
    int const inner = document.openProcedure("Inner");
    document.closeProcedure(inner);
    document.closeProcedure(procedure);

    Ordered expected = {
        {"format", "ggraph-output/1"},
        {"items",
         {{{"kind", "command"}, {"text", "GGRAPH \"x\"."}},
          {{"kind", "procedure"},
           {"title", "GGraph"},
           {"items",
            {{{"kind", "trace"}, {"text", "Starting"}},
             {{"kind", "message"}, {"level", 2}, {"text", "watch \xef\xbf\xbd"}},
             {{"kind", "table"},
              {"title", "T"},
              {"subtype", ""},
              {"titleHidden", false},
              {"cells", Ordered::array({{"a", "b"}, Ordered::array(), {"c"}})}},
             {{"kind", "table"},
              {"title", ""},
              {"subtype", ""},
              {"titleHidden", false},
              {"cells", Ordered::array()}},
             // Payload fields follow "kind" in key order.
             {{"kind", "chart"},
              {"data", {{"g", {{"columns", {"x", "y"}}, {"rows", {{1, nullptr}, {2.5, "t\n"}}}}}}},
              {"description", "d"},
              {"empty", Ordered::object()},
              {"files", Ordered::array()},
              {"send", {true, false, false}}},
             {{"kind", "procedure"}, {"title", "Inner"}, {"items", Ordered::array()}}}}}}}};

    std::ostringstream out;
    host::output::writeJson(document, out);
    EXPECT_EQ(out.str(), expected.dump(2) + "\n");
    EXPECT_EQ(host::output::toJson(document), expected);
}
