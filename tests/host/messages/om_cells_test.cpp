#include "platform/om_cells.h"

#include <gtest/gtest.h>

namespace {

TEST(OmCellsTest, SubstitutesPlaceholdersInOrder) {
    OmMemoryRegion region;
    {
        OmComposite composite(OmStringCell("% in (^1,^2) ^3", &region, false), &region, false);
        composite.Add(OmStringCell("1", &region, false));
        composite.Add(OmStringCell("5", &region, false));
        composite.Add(OmStringCell("Rating", &region, false));
        EXPECT_EQ(composite.GetText(), "% in (^1,^2) ^3");  // nothing filled before Substitute
        composite.End();
        composite.Add(OmStringCell("ignored", &region, false));
        OmParseTreeNode* tree = reinterpret_cast<OmParseTreeNode*>(&region);
        composite.Substitute(&tree, false);
        EXPECT_EQ(tree, nullptr);
        EXPECT_EQ(composite.GetText(), "% in (1,5) Rating");

        // A placeholder without a cell stays as written; a caret without a digit is text.
        OmComposite partial(OmStringCell("^1 of ^2 ^ ^x", nullptr, false), nullptr, false);
        partial.Add(OmStringCell("one", nullptr, false));
        partial.End();
        partial.Substitute(nullptr, false);
        EXPECT_EQ(partial.GetText(), "one of ^2 ^ ^x");

        // Filled cells may themselves be composites; copies carry their parts.
        OmComposite outer(OmStringCell("[^1]", &region, false), &region, false);
        outer.Add(composite);
        outer.End();
        OmComposite copy(outer);
        copy.Substitute(nullptr, false);
        EXPECT_EQ(copy.GetText(), "[% in (1,5) Rating]");
        EXPECT_GT(region.LiveCells(), 0u);
    }
    EXPECT_EQ(region.LiveCells(), 0u);
}

TEST(OmCellsTest, TableCellsReadAsTheTableText) {
    // "E60868" has a text of its own; a key the table lacks reads as itself.
    EXPECT_EQ(OmStringCell("E60868", nullptr, true).GetText(), "Count");
    EXPECT_EQ(OmStringCell("E60868", nullptr, false).GetText(), "E60868");
    OmComposite composite(OmStringCell("Count ^1% CI Low", nullptr, true), nullptr, true);
    composite.Add(OmStringCell("95", nullptr, false));
    composite.End();
    composite.Substitute(nullptr, false);
    EXPECT_EQ(composite.GetText(), "Count 95% CI Low");
}

}  // namespace
