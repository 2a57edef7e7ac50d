#include "host/output/table_layout.h"

#include <string>
#include <vector>

namespace host::output {
namespace {

std::string const* valueAt(TableData const& table, int dimension, int category) {
    // The last Cell call for a category wins, as a cell that is set twice shows its second value.
    std::string const* found = nullptr;
    for (auto const& value : table.values)
        if (value.dimension == dimension && value.category == category)
            found = &value.text;
    return found;
}

}  // namespace

void layOutCells(TableData& table) {
    table.cells.clear();
    for (int d = 0; d < static_cast<int>(table.dimensions.size()); ++d) {
        auto const& dimension = table.dimensions[d];
        int const count = static_cast<int>(dimension.categories.size());
        bool const labelled = count > 1;
        if (dimension.place == 1) {
            std::vector<std::string> labels;
            std::vector<std::string> row;
            for (int c = 0; c < count; ++c) {
                auto const* text = valueAt(table, d, c);
                if (!text)
                    continue;
                labels.push_back(dimension.categories[c]);
                row.push_back(*text);
            }
            if (row.empty())
                continue;
            if (labelled)
                table.cells.push_back(std::move(labels));
            table.cells.push_back(std::move(row));
        } else {
            // Layers have no page of their own in a flat document: they read like rows.
            for (int c = 0; c < count; ++c) {
                auto const* text = valueAt(table, d, c);
                if (!text)
                    continue;
                if (labelled)
                    table.cells.push_back({dimension.categories[c], *text});
                else
                    table.cells.push_back({*text});
            }
        }
    }
}

}  // namespace host::output
