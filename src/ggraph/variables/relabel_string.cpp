#include "ggraph/variables/relabel_string.h"

#include <cstring>
#include <sstream>

#include "ggraph/variables/variable_resolver.h"

struct RelabelString::RelabelStringData {
    std::vector<RelabelCaseValueStringData> records;
};

RelabelString::RelabelString() : d(std::make_unique<RelabelStringData>()) {}
// The records go with the store; each run makes its own.
RelabelString::~RelabelString() = default;

void RelabelString::AddCaseValueRelabel(double value, OBS* cell, int index,
                                        VariableResolver const* resolver) {
    RelabelCaseValueStringData record;
    record.value = value;
    record.index = index;
    if (cell) {
        double number;
        std::memcpy(&number, cell, sizeof number);
        std::ostringstream out;
        out.precision(16);
        out << number;
        if (out)
            record.text = out.str();
    }
    if (resolver && cell) {
        if (KWEL_Variable const* variable = resolver->getKWELVariable()) {
            FormatType type{};
            int width = 0;
            int decimals = 0;
            variable->GetFormatEx(type, width, decimals);
            // A string keeps its trailing blanks here; chart completion trims them.
            if (type == FMT_A && width > 0) {
                record.text.assign(reinterpret_cast<char const*>(cell),
                                   static_cast<std::size_t>(width));
            }
        }
        record.label = resolver->getValueLabel("", cell);
    }
    d->records.push_back(std::move(record));
}

bool RelabelString::getCaseValueRelabelContent(int index, unsigned int n, double& value,
                                               std::string& text, std::string& label) const {
    unsigned int seen = 0;
    for (auto const& record : d->records) {
        if (record.index != index)
            continue;
        if (seen++ == n) {
            value = record.value;
            text = record.text;
            label = record.label;
            return true;
        }
    }
    return false;
}

Mark::Mark(std::string const& name) : name_(name) {}
Mark::~Mark() = default;
void Mark::addValue(double) {}
void Mark::addValue(std::string const&) {}
