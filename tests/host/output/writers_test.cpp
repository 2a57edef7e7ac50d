#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "host/files/file_io.h"
#include "host/output/document.h"
#include "host/output/writers.h"
#include "platform/output.h"

using host::output::Document;
using host::output::Item;
using host::output::ItemKind;
using host::output::ScopedDocument;

namespace {

// A command, a procedure with a trace, a warning, a table and a chart, then an error outside.
void fillSmallDocument(Document& document) {
    ScopedDocument scope(document);
    document.addCommand("GGRAPH /GRAPHSPEC SOURCE=INLINE.", 1);
    {
        BpProcedure procedure("GGraph", 2);
        document.addTrace("Starting GGraph Procedure");
        BpError(BpString("Incomplete subCmd FRAME.", true), BP_SHOW_OUTPUT, BP_LEVEL_WARNING);
        auto table = procedure.PivotTable(BpString("Description: <x> & \"y\"", false),
                                          BpString("Sub", false), true);
        table.HideTitle();
        auto dimension =
            table.Dimension(BpString("Contents", false), BpPivotTable::SORT_AS_ENTERED);
        dimension.Position(BpDimension::PLACE_ROW, 1, true, true);
        dimension.Category(BpString("Contents", false)).Cell(BpString("a <b> cell", false));
        Item chart;
        chart.kind = ItemKind::Chart;
        chart.payload = std::make_shared<nlohmann::json const>(nlohmann::json{
            {"description", "Count of jobcat"},
            {"svg", "<?xml version=\"1.0\"?><svg xmlns=\"http://www.w3.org/2000/svg\"/>"}});
        document.add(std::move(chart));
    }
    document.addMessage(3, "Bad <script>alert('x')</script> & more", 4);
}

}  // namespace

TEST(OutputWriters, JsonHasTheDocumentedShape) {
    Document document;
    fillSmallDocument(document);
    std::ostringstream out;
    host::output::writeJson(document, out);
    auto const expected = R"({
  "format": "ggraph-output/1",
  "items": [
    {"kind": "command", "text": "GGRAPH /GRAPHSPEC SOURCE=INLINE."},
    {"kind": "procedure", "title": "GGraph", "items": [
      {"kind": "trace", "text": "Starting GGraph Procedure"},
      {"kind": "message", "level": 2, "text": "Incomplete subCmd FRAME."},
      {"kind": "table", "title": "Description: <x> & \"y\"", "subtype": "Sub",
       "titleHidden": true, "cells": [["a <b> cell"]]},
      {"kind": "chart", "description": "Count of jobcat",
       "svg": "<?xml version=\"1.0\"?><svg xmlns=\"http://www.w3.org/2000/svg\"/>"}
    ]},
    {"kind": "message", "level": 3, "text": "Bad <script>alert('x')</script> & more"}
  ]
})";
    auto const written = nlohmann::ordered_json::parse(out.str());
    EXPECT_EQ(written, nlohmann::ordered_json::parse(expected));
    EXPECT_EQ(written["items"][1].begin().key(), "kind");  // "kind" leads every item

    // Bytes of a job that are not UTF-8 must not cost the whole file.
    Document bad;
    bad.addCommand("TITLE 'caf\xe9'.");
    std::ostringstream badOut;
    host::output::writeJson(bad, badOut);
    EXPECT_EQ(nlohmann::json::parse(badOut.str())["items"][0]["text"], "TITLE 'caf\uFFFD'.");
}

TEST(OutputWriters, HtmlIsSelfContainedEscapedAndHasEachItem) {
    Document document;
    fillSmallDocument(document);
    std::ostringstream out;
    host::output::HtmlOptions options;
    options.title = "job <1>.sps";
    host::output::writeHtml(document, out, options);
    auto const html = out.str();

    auto has = [&](std::string const& text) { return html.find(text) != std::string::npos; };
    EXPECT_TRUE(has("<title>job &lt;1&gt;.sps</title>"));
    EXPECT_TRUE(has("<pre class=\"command\""));
    EXPECT_TRUE(has("GGRAPH /GRAPHSPEC SOURCE=INLINE."));
    EXPECT_TRUE(has("<section class=\"procedure\""));
    EXPECT_TRUE(has("Starting GGraph Procedure"));
    EXPECT_TRUE(has("class=\"message warning\""));
    EXPECT_TRUE(has("class=\"message error\""));
    EXPECT_TRUE(has("Bad &lt;script&gt;alert(&#39;x&#39;)&lt;/script&gt; &amp; more"));
    EXPECT_FALSE(has("<script"));
    EXPECT_TRUE(has("<td>a &lt;b&gt; cell</td>"));
    EXPECT_FALSE(has("<figcaption>Description:"));  // the title is hidden in the body...
    EXPECT_TRUE(has("Description: &lt;x&gt; &amp; &quot;y&quot;</a>"));  // ...not in the outline
    EXPECT_TRUE(has("<div class=\"svg\"><svg xmlns=\"http://www.w3.org/2000/svg\"/></div>"));
    EXPECT_FALSE(has("<?xml"));
    EXPECT_TRUE(has("1 error, 1 warning"));
    // Self-contained: nothing is fetched from elsewhere.
    EXPECT_FALSE(has("<link"));
    EXPECT_FALSE(has("src=\"http"));
}

TEST(OutputWriters, ConsoleShowsWarningsAndErrorsWithTheirLine) {
    std::ostringstream err;
    host::output::ConsoleSink sink(err);
    Document document;
    document.addSink(&sink);
    document.addMessage(1, "a note");
    document.addMessage(2, "watch out");
    document.setCurrentLine(12);
    document.addMessage(3, "two\nlines");
    EXPECT_EQ(err.str(), "Warning: watch out\nError: line 12: two\n                lines\n");
}

TEST(OutputWriters, FilesAreReplacedWholeOrNotAtAll) {
    auto const folder = std::filesystem::temp_directory_path() / "ggraph-writers-test";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    auto const path = folder / "output.json";

    Document document;
    fillSmallDocument(document);
    ASSERT_TRUE(host::output::writeOutputs(document, folder).ok);
    EXPECT_TRUE(std::filesystem::exists(folder / "report.html"));
    auto const first = host::files::readFile(path);
    ASSERT_TRUE(first.ok);
    EXPECT_EQ(nlohmann::json::parse(first.bytes)["format"], "ggraph-output/1");

    // A writer that fails half way leaves the old file and no temporary behind.
    auto const failed = host::files::writeFileAtomically(path, [](std::ostream& out) {
        out << "half";
        throw std::runtime_error("disk trouble");
    });
    EXPECT_FALSE(failed.ok);
    EXPECT_NE(failed.error.find("disk trouble"), std::string::npos);
    EXPECT_EQ(host::files::readFile(path).bytes, first.bytes);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder),
                            std::filesystem::directory_iterator()),
              2);

    auto const missing = host::output::writeJsonFile(document, folder / "no" / "output.json");
    EXPECT_FALSE(missing.ok);
    EXPECT_NE(missing.error.find("output.json"), std::string::npos);
    std::filesystem::remove_all(folder);
}

TEST(OutputWriters, HtmlJoinsEchoedLinesAndShowsPictureCharts) {
    Document document;
    document.addCommand("GGRAPH /GRAPHSPEC.", 1);
    document.addCommand("BEGIN GPL", 2);
    document.addCommand("END GPL.", 3);
    Item chart;
    chart.kind = ItemKind::Chart;
    chart.payload = std::make_shared<nlohmann::json const>(
        nlohmann::json{{"description", "Many points"}, {"png", "data:image/png;base64,AAAA"}});
    document.add(chart);
    std::ostringstream html;
    writeHtml(document, html);
    std::string const page = html.str();
    // The three echoed lines stand in one listing.
    EXPECT_NE(page.find("GGRAPH /GRAPHSPEC.\nBEGIN GPL\nEND GPL."), std::string::npos);
    EXPECT_NE(page.find("<img alt=\"Many points\" src=\"data:image/png;base64,AAAA\">"), std::string::npos);
    EXPECT_EQ(page.find("This chart has no drawing"), std::string::npos);
}
