// Procedure blocks and pivot tables of the output: they write into the current document.
#include "platform/output.h"

#include <string>
#include <utility>
#include <vector>

#include "host/output/document.h"
#include "host/output/table_layout.h"

namespace {

host::output::TableData& tableOf(int handle) {
    return host::output::current().table(handle);
}

// A category inside groups reads with its groups in front: "Group / Category".
std::string qualifiedLabel(host::output::TableData const& table, std::vector<int> const& path,
                           std::string const& label) {
    // The innermost group's label already carries those of the groups around it.
    if (path.size() < 2)
        return label;
    return table.dimensions.at(path.at(0)).categories.at(path.back()) + " / " + label;
}

}  // namespace

BpHeading::~BpHeading() = default;

BpPivotTable BpHeading::PivotTable(BpCellText const& title, BpCellText const& subtype,
                                   bool /*visible*/) {
    // Every table is shown: a flat document has no hidden layer to put an invisible one in.
    host::output::TableData table;
    table.title = title.GetText();
    table.subtype = subtype.GetText();
    return BpPivotTable(host::output::current().addTable(std::move(table)));
}

BpProcedure::BpProcedure(std::string title, int /*kind*/)
    : handle_(host::output::current().openProcedure(std::move(title))) {}

BpProcedure::~BpProcedure() {
    try {
        host::output::current().closeProcedure(handle_);
    } catch (...) {
        // A destructor that runs during unwinding must not throw; closeAll tidies up after.
    }
}

BpPivotTable::BpPivotTable(int tableHandle) : handle_(tableHandle) {}

void BpPivotTable::MinDataColumnWidth(int width) {
    tableOf(handle_).minDataColumnWidth = width;
}

void BpPivotTable::MaxDataColumnWidth(int width) {
    tableOf(handle_).maxDataColumnWidth = width;
}

void BpPivotTable::HideTitle() {
    tableOf(handle_).titleHidden = true;
}

BpDimension BpPivotTable::Dimension(BpCellText const& name, Sort /*sort*/) {
    // Categories keep the order in which they were made, which is what every sort the command
    // library asks for (as entered) gives.
    auto& table = tableOf(handle_);
    host::output::TableData::Dimension dimension;
    dimension.name = name.GetText();
    table.dimensions.push_back(std::move(dimension));
    return BpDimension(handle_, static_cast<int>(table.dimensions.size()) - 1);
}

BpGroup::BpGroup(int tableHandle, std::vector<int> path)
    : table_(tableHandle), path_(std::move(path)) {}

BpCategory BpGroup::Category(BpCellText const& label) {
    auto& table = tableOf(table_);
    auto& categories = table.dimensions.at(path_.at(0)).categories;
    categories.push_back(qualifiedLabel(table, path_, label.GetText()));
    auto path = path_;
    path.push_back(static_cast<int>(categories.size()) - 1);
    return BpCategory(table_, std::move(path));
}

BpGroup BpGroup::Group(BpCellText const& label) {
    // A group is a category of its dimension that holds no value; its label leads those of its
    // members.
    auto& table = tableOf(table_);
    auto& categories = table.dimensions.at(path_.at(0)).categories;
    categories.push_back(qualifiedLabel(table, path_, label.GetText()));
    auto path = path_;
    path.push_back(static_cast<int>(categories.size()) - 1);
    return BpGroup(table_, std::move(path));
}

BpDimension::BpDimension(int tableHandle, int dimensionIndex)
    : BpGroup(tableHandle, {dimensionIndex}) {}

void BpDimension::Position(Place place, int /*order*/, bool /*showLabel*/,
                           bool /*showCategories*/) {
    auto& table = tableOf(table_);
    table.dimensions.at(path_.at(0)).place = place;
    host::output::layOutCells(table);
}

BpCategory::BpCategory(int tableHandle, std::vector<int> path)
    : table_(tableHandle), path_(std::move(path)) {}

void BpCategory::Cell(BpCellText const& value) {
    auto& table = tableOf(table_);
    table.values.push_back({path_.at(0), path_.back(), value.GetText()});
    host::output::layOutCells(table);
}
