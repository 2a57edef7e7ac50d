#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "host/output/document.h"
#include "platform/host_procedure.h"
#include "platform/output.h"

using host::output::Document;
using host::output::ItemKind;
using host::output::ScopedDocument;

namespace {
using Rows = std::vector<std::vector<std::string>>;
}

TEST(OutputTables, DescriptionTableBecomesOneHiddenTitleRow) {
    Document document;
    ScopedDocument scope(document);
    {
        BpProcedure procedure("RFM Analysis", 2);
        BpPivotTable table = procedure.PivotTable(BpString("Description: RFM Heat Map", true),
                                                  BpString("DescriptionRFMHeatMap", true), true);
        table.MinDataColumnWidth(450);
        table.MaxDataColumnWidth(450);
        table.HideTitle();
        BpDimension dimension =
            table.Dimension(BpString("Contents", true), static_cast<BpPivotTable::Sort>(2));
        dimension.Position(static_cast<BpDimension::Place>(0), 1, true, true);
        BpCategory category = dimension.Category(BpString("Contents", true));
        category.Cell(BpString("DM Heat Map Smart Help", true));
    }
    ASSERT_EQ(document.items().size(), 1u);
    auto const& procedure = document.items()[0];
    EXPECT_EQ(procedure.text, "RFM Analysis");
    ASSERT_EQ(procedure.children.size(), 1u);
    auto const& item = procedure.children[0];
    ASSERT_EQ(item.kind, ItemKind::Table);
    EXPECT_EQ(item.table.title, "Description: RFM Heat Map");
    EXPECT_EQ(item.table.subtype, "DescriptionRFMHeatMap");
    EXPECT_TRUE(item.table.titleHidden);
    EXPECT_EQ(item.table.minDataColumnWidth, 450);
    EXPECT_EQ(item.table.maxDataColumnWidth, 450);
    ASSERT_EQ(item.table.cells.size(), 1u);
    ASSERT_EQ(item.table.cells[0].size(), 1u);
    EXPECT_NE(item.table.cells[0][0].find("heat map"), std::string::npos);
}

TEST(OutputTables, CategoriesLayOutAsRowsOrColumnsWithGroupLabels) {
    Document document;
    ScopedDocument scope(document);
    BpProcedure procedure("GGraph", 2);
    auto table = procedure.PivotTable(BpString("t", false), BpString("s", false), true);
    auto rows = table.Dimension(BpString("Statistics", false), BpPivotTable::SORT_AS_ENTERED);
    rows.Position(BpDimension::PLACE_ROW, 1, true, true);
    rows.Category(BpString("N", false)).Cell(BpNumber(12, BpHeading::Count));
    auto group = rows.Group(BpString("Spread", false));
    group.Category(BpString("Range", false)).Cell(BpNumber(2.5, BpHeading::General));
    auto category = rows.Category(BpString("Mean", false));  // a cell set twice keeps the last
    category.Cell(BpString("1", false));
    category.Cell(BpString("3", false));
    EXPECT_EQ(document.table(table.handle()).cells,
              (Rows{{"N", "12"}, {"Spread / Range", "2.5"}, {"Mean", "3"}}));

    auto columns = procedure.PivotTable(BpString("c", false), BpString("s", false), true);
    auto dimension = columns.Dimension(BpString("Values", false), BpPivotTable::SORT_NONE);
    dimension.Position(BpDimension::PLACE_COLUMN, 1, true, true);
    dimension.Category(BpString("a", false)).Cell(BpString("1", false));
    dimension.Category(BpString("b", false)).Cell(BpString("2", false));
    EXPECT_EQ(document.table(columns.handle()).cells, (Rows{{"a", "b"}, {"1", "2"}}));
}

TEST(OutputTables, ProceduresNestAndAFailureLeavesWhatWasProduced) {
    Document document;
    ScopedDocument scope(document);
    try {
        BpProcedure outer("GGraph", 2);
        ChartBase::printDebugInfo("Starting GGraph Procedure");
        {
            BpProcedure inner("Inner", 2);
            BpError(BpString("first", false), BP_SHOW_OUTPUT, BP_LEVEL_WARNING);
        }
        BpProcedure open("Left open", 2);
        throw KwelGoToCaller("stop");
    } catch (KwelGoToCaller const&) {
    }
    document.closeAll();
    document.addCommand("NEXT.");

    auto const& items = document.items();
    ASSERT_EQ(items.size(), 2u);
    auto const& outer = items[0];
    ASSERT_EQ(outer.children.size(), 3u);
    EXPECT_EQ(outer.children[0].kind, ItemKind::Trace);
    EXPECT_EQ(outer.children[0].text, "Starting GGraph Procedure");
    EXPECT_EQ(outer.children[1].text, "Inner");
    EXPECT_EQ(outer.children[1].children.at(0).text, "first");
    EXPECT_EQ(outer.children[2].text, "Left open");
    EXPECT_EQ(items[1].kind, ItemKind::Command);  // lands at top level once all are closed
}
