#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "host/messages/string_table.h"
#include "host/output/document.h"
#include "platform/host_procedure.h"
#include "platform/messages.h"
#include "platform/output.h"

using host::output::Document;
using host::output::ItemKind;
using host::output::ScopedDocument;

TEST(StringTable, DictionaryGivesTableTextsAndUnknownKeysAsThemselves) {
    auto* path = PathFactory::getPathInstance(3);
    ASSERT_NE(path, nullptr);
    EXPECT_EQ(path, PathFactory::getPathInstance(3));  // the host keeps the object
    FacSTDictionary dictionary(path->getPath());
    dictionary.SetProcedure("GGRAPH");

    EXPECT_EQ(dictionary.LookUp("E60868"), "Count");
    EXPECT_EQ(dictionary.LookUp("E60712", 0), "Missing");
    EXPECT_EQ(dictionary.LookUp("Graph"), "Graph");
    EXPECT_EQ(dictionary.LookUp("no such key ^1"), "no such key ^1");
    EXPECT_EQ(dictionary.LookUp(""), "");
    // The command library's own texts stand as it words them.
    EXPECT_EQ(dictionary.LookUp("File ^1 has no access..."), "File ^1 has no access...");
}

TEST(StringTable, EveryDescriptionKeyHasAnExplanation) {
    for (char const* key : {"DM Bin Count Smart Help", "DM Heat Map Smart Help",
                            "DM Histogram Smart Help", "DM Scatterplot Smart Help"}) {
        ASSERT_TRUE(host::messages::hasEntry(key)) << key;
        auto text = host::messages::lookUp(key);
        EXPECT_GT(text.size(), 120u) << key;
        EXPECT_EQ(text.back(), '.') << key;
    }
}

TEST(StringTable, MessageCellsLookUpKeysButNotData) {
    Document document;
    ScopedDocument scope(document);
    BpComposite message("E60801 of ^1 ^2", true);  // the pattern itself is no key
    message.Add(BpString("E703", false));            // data that happens to be a key stays
    message.Add(BpString("E60868", true));           // a key given as a cell is looked up
    message.Finish();
    BpError(message, BP_SHOW_OUTPUT, BP_LEVEL_ERROR);
    BpError(BpString("E60712", true), BP_SHOW_OUTPUT, BP_LEVEL_WARNING);

    auto const& items = document.items();
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].text, "E60801 of E703 Count");
    EXPECT_EQ(items[1].level, 2);
    EXPECT_EQ(items[1].text, "Missing");
}

TEST(StringTable, HostErrorNinetyNineIsAnErrorAboutBeginGpl) {
    Document document;
    ScopedDocument scope(document);
    document.setCurrentLine(7);
    std::int64_t number = 99, show = 2, code = -4;
    backenderror_(number, show, code);
    ASSERT_EQ(document.items().size(), 1u);
    auto const& message = document.items()[0];
    EXPECT_EQ(message.kind, ItemKind::Message);
    EXPECT_EQ(message.level, 3);
    EXPECT_EQ(message.line, 7);
    EXPECT_EQ(message.text.rfind("BEGIN GPL must follow a GGRAPH command", 0), 0u);

    // Show 1 is the log: a trace line, not a message. Unknown numbers still name themselves.
    number = 12345;
    show = 1;
    backenderror_(number, show, code);
    ASSERT_EQ(document.items().size(), 2u);
    EXPECT_EQ(document.items()[1].kind, ItemKind::Trace);
    EXPECT_NE(document.items()[1].text.find("12345"), std::string::npos);
    EXPECT_EQ(document.messageCount(3), 1);
}
