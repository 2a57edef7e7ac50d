#include "host/dictionary/dataset.h"

#include <cstring>
#include <string_view>
#include <unordered_map>

namespace host::dictionary {

namespace {

char upperAscii(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

std::string trimRight(std::string_view text) {
    std::size_t end = text.size();
    while (end > 0 && text[end - 1] == ' ') --end;
    return std::string(text.substr(0, end));
}

std::string upper(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = upperAscii(c);
    return out;
}

bool equalsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (upperAscii(a[i]) != upperAscii(b[i]))
            return false;
    }
    return true;
}

int cellsPerValue(Variable const& variable) {
    return variable.width == 0 ? 1 : ObsCellsForWidth(variable.width);
}

void setDefaultFormat(Variable& variable) {
    if (variable.width == 0) {
        variable.format = KwelFormatPack(FMT_F, 8, 2);
        variable.measure = MEASURE_SCALE;
    } else {
        variable.format = KwelFormatPack(FMT_A, variable.width > 255 ? 255 : variable.width, 0);
        variable.measure = MEASURE_NOMINAL;
    }
}

int addVariable(Dataset& dataset, std::string name, int width) {
    auto data = std::make_unique<Variable>();
    data->name = std::move(name);
    data->width = width;
    data->labels = std::make_shared<ValueLabels>(ValueLabels{width, {}});
    setDefaultFormat(*data);
    Cells column;
    std::size_t const cells =
        static_cast<std::size_t>(cellsPerValue(*data)) * static_cast<std::size_t>(dataset.cases);
    if (width == 0) {
        column.assign(cells, KWEL_Globals::sysmis());
    } else {
        column.resize(cells);
        if (cells > 0)
            std::memset(column.data(), ' ', cells * sizeof(OBS));
    }
    return appendVariable(dataset, std::move(data), std::move(column));
}

int appendVariable(Dataset& dataset, std::unique_ptr<Variable> variable, Cells cells) {
    int const index = static_cast<int>(dataset.variables.size());
    dataset.nameIndex.try_emplace(upper(variable->name), index);
    dataset.variables.push_back(std::make_unique<KWEL_Variable>(std::move(variable)));
    dataset.columns.push_back(std::move(cells));
    return index;
}

Variable& variableAt(Dataset& dataset, int index) {
    return dataset.variables.at(static_cast<std::size_t>(index))->hostData();
}

int findVariable(Dataset const& dataset, std::string const& name) {
    if (dataset.nameIndex.size() == dataset.variables.size()) {
        auto const found = dataset.nameIndex.find(upper(name));
        return found == dataset.nameIndex.end() ? -1 : found->second;
    }
    for (std::size_t i = 0; i < dataset.variables.size(); ++i) {
        if (equalsNoCase(dataset.variables[i]->hostData().name, name))
            return static_cast<int>(i);
    }
    return -1;
}

std::shared_ptr<ProcDSIterator::Groups const> splitGroups(Dataset& dataset) {
    if (dataset.groups)
        return dataset.groups;
    auto groups = std::make_shared<ProcDSIterator::Groups>();
    if (dataset.cases > 0 && dataset.split.empty()) {
        groups->ends.push_back(dataset.cases);
    } else if (dataset.cases > 0) {
        // Group keys are the raw cells of the split variables; -0 is folded into 0 so that
        // equal numbers meet.
        std::unordered_map<std::string, std::size_t> groupOf;
        std::vector<std::vector<std::int64_t>> members;
        std::string key;
        for (std::int64_t row = 0; row < dataset.cases; ++row) {
            key.clear();
            for (int index : dataset.split) {
                auto const& variable = variableAt(dataset, index);
                std::size_t const n = static_cast<std::size_t>(cellsPerValue(variable));
                OBS const* cell = dataset.columns[static_cast<std::size_t>(index)].data() +
                                  n * static_cast<std::size_t>(row);
                if (variable.width == 0) {
                    double value = *cell == 0.0 ? 0.0 : *cell;
                    key.append(reinterpret_cast<char const*>(&value), sizeof value);
                } else {
                    key.append(reinterpret_cast<char const*>(cell), n * sizeof(OBS));
                }
            }
            auto [it, inserted] = groupOf.try_emplace(key, members.size());
            if (inserted)
                members.emplace_back();
            members[it->second].push_back(row);
        }
        groups->order.reserve(static_cast<std::size_t>(dataset.cases));
        for (auto const& group : members) {
            groups->order.insert(groups->order.end(), group.begin(), group.end());
            groups->ends.push_back(static_cast<std::int64_t>(groups->order.size()));
        }
    }
    dataset.groups = groups;
    return groups;
}

ValueLabels::Entry makeLabelEntry(Variable const& variable, double number, std::string const& text,
                                  std::string label) {
    ValueLabels::Entry entry;
    entry.label = std::move(label);
    if (variable.width == 0) {
        entry.number = number;
        entry.cell.assign(1, number);
    } else {
        entry.text = trimRight(text.substr(0, static_cast<std::size_t>(variable.width)));
        entry.cell.resize(static_cast<std::size_t>(ObsCellsForWidth(variable.width)));
        char* bytes = reinterpret_cast<char*>(entry.cell.data());
        std::memset(bytes, ' ', entry.cell.size() * sizeof(OBS));
        std::memcpy(bytes, entry.text.data(), entry.text.size());
    }
    return entry;
}

}  // namespace host::dictionary
