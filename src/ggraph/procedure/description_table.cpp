#include "ggraph/procedure/description_table.h"

#include "platform/output.h"

namespace ggraph {
namespace {

struct DescriptionTable {
    char const* title;
    char const* subtype;
    char const* cell;
};

constexpr DescriptionTable kTables[] = {
    {"Description: RFM Bin Counts Chart", "DescriptionRFMBinCountsChart", "DM Bin Count Smart Help"},
    {"Description: RFM Heat Map", "DescriptionRFMHeatMap", "DM Heat Map Smart Help"},
    {"Description: RFM Histograms", "DescriptionRFMHistograms", "DM Histogram Smart Help"},
    {"Description: RFM Scatterplots", "DescriptionRFMScatterplots", "DM Scatterplot Smart Help"},
};

constexpr int kColumnWidth = 450;

}  // namespace

void printDescriptionTable(BpHeading& procedure, int smartHelp) {
    if (smartHelp < 1 || smartHelp > 4) return;
    DescriptionTable const& row = kTables[smartHelp - 1];
    BpPivotTable table =
        procedure.PivotTable(BpString(row.title, true), BpString(row.subtype, true), true);
    table.MinDataColumnWidth(kColumnWidth);
    table.MaxDataColumnWidth(kColumnWidth);
    table.HideTitle();
    BpDimension dimension = table.Dimension(BpString("Contents", true), BpPivotTable::SORT_AS_ENTERED);
    dimension.Position(BpDimension::PLACE_ROW, 1, true, true);
    BpCategory category = dimension.Category(BpString("Contents", true));
    category.Cell(BpString(row.cell, true));
}

}  // namespace ggraph
