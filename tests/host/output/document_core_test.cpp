#include <gtest/gtest.h>

#include "host/output/document.h"
#include "platform/output.h"

using host::output::Document;
using host::output::ItemKind;
using host::output::ScopedDocument;

TEST(DocumentCore, MessagesLandInTheOpenProcedureWithPlaceholdersFilled) {
    Document document;
    ScopedDocument scope(document);
    document.addCommand("GGRAPH.", 3);
    int procedure = document.openProcedure("GGraph");
    BpComposite text("SubCmd ^1. Unknown token ^2.", true);
    text.Add(BpString("GGraph", false));
    text.Add(BpString("^1 STYLE", false));  // data is never rescanned for placeholders
    text.Finish();
    BpError(text, BP_SHOW_OUTPUT, BP_LEVEL_ERROR);
    BpError(BpString("Incomplete subCmd FRAME.", true), BP_SHOW_OUTPUT, BP_LEVEL_WARNING);
    document.closeProcedure(procedure);
    document.addTrace("after");

    auto const& items = document.items();
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].kind, ItemKind::Command);
    ASSERT_EQ(items[1].kind, ItemKind::Procedure);
    ASSERT_EQ(items[1].children.size(), 2u);
    EXPECT_EQ(items[1].children[0].text, "SubCmd GGraph. Unknown token ^1 STYLE.");
    EXPECT_EQ(items[1].children[0].level, 3);
    EXPECT_EQ(items[1].children[1].level, 2);
    EXPECT_EQ(items[2].kind, ItemKind::Trace);
    EXPECT_EQ(document.highestLevel(), 3);
    EXPECT_EQ(document.messageCount(2), 1);
}

TEST(DocumentCore, TablesAreFilledInPlaceAndClosingAnOuterBlockClosesInnerOnes) {
    Document document;
    int outer = document.openProcedure("outer");
    document.openProcedure("inner");
    int table = document.addTable({});
    document.table(table).cells.push_back({"a"});
    document.closeProcedure(outer);
    document.addTrace("top");
    ASSERT_EQ(document.items().size(), 2u);
    EXPECT_EQ(document.items()[0].children[0].children[0].table.cells[0][0], "a");
    EXPECT_THROW(document.table(9999), std::out_of_range);
}

TEST(DocumentCore, NumbersReadInTheirFormat) {
    EXPECT_EQ(BpNumber(1000, BpHeading::Count).GetText(), "1000");
    EXPECT_EQ(BpNumber(2.5, BpHeading::General).GetText(), "2.5");
}
