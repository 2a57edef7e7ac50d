// The labels of case values for relabelling: VariableResolver::getValueLabel and
// getMRSetRelabelData.
#include <algorithm>
#include <cstring>

#include "ggraph/variables/variable_resolver.h"
#include "ggraph/variables/variable_resolver_data.h"
#include "platform/chart_string.h"
#include "platform/data_source.h"
#include "platform/host_procedure.h"

namespace {

std::string localToUtf8(char const* text) {
    return XUtility::ChartStringFromLocalCodePage(text).toUTF8();
}

// A label from the variable's value labels: by cell when there is one, else by text.
char const* lookUp(KWEL_Variable const* variable, std::string const& text, OBS const* cell) {
    if (!variable)
        return nullptr;
    KWEL_ValueLabelMap labels(variable->GetValueLabels());
    labels.Reset();
    return cell ? labels.GetLabel(cell) : labels.GetLabel(text);
}

}  // namespace

std::string VariableResolver::getValueLabel(std::string const& text, OBS const* cell) const {
    std::string result;
    switch (d->variableType) {
        case DICTIONARY_VARIABLE: {
            if (char const* label = lookUp(d->variable, text, cell))
                result = localToUtf8(label);
            break;
        }
        case CATEGORY_SET: {
            if (!d->dataSource)
                break;
            // The first member that labels the value wins.
            for (int index : d->variableIndexList) {
                if (char const* label = lookUp(d->dataSource->GetVariable(index), text, cell)) {
                    result = localToUtf8(label);
                    break;
                }
            }
            break;
        }
        case DICHOTOMY_SET: {
            if (!d->dataSource || !cell)
                break;
            // The cell is as wide as the set's string length; a member's display width never
            // reads past it.
            std::size_t const capacity =
                static_cast<std::size_t>(ObsCellsForWidth(static_cast<int>(getStringLength()))) *
                sizeof(OBS);
            char const* bytes = reinterpret_cast<char const*>(cell);
            for (int index : d->variableIndexList) {
                KWEL_Variable const* member = d->dataSource->GetVariable(index);
                if (!member)
                    continue;
                std::size_t width =
                    static_cast<std::size_t>(std::max(0, member->GetDisplayWidth()));
                if (width > capacity)
                    width = capacity;
                std::string name(bytes, width);
                while (!name.empty() && name.back() == ' ') name.pop_back();
                if (name.empty())
                    name = " ";
                if (KWELMBstricmp_A(name.c_str(), member->GetName()) != 0)
                    continue;
                if (!d->enhancedDichotomy) {
                    if (char const* label = member->GetLabel())
                        result = localToUtf8(label);
                } else if (!d->countedValue.empty()) {
                    KWEL_ValueLabelMap labels(member->GetValueLabels());
                    if (char const* label = labels.GetLabel(d->countedValue.data())) {
                        // Taken as it stands, not through the local code page.
                        ChartString direct;
                        direct.assignUTF8(label);
                        result = direct.toUTF8();
                    }
                }
                break;
            }
            break;
        }
        default:
            break;
    }
    return result;
}

std::vector<VariableResolverRelabelData> VariableResolver::getMRSetRelabelData() const {
    std::vector<VariableResolverRelabelData> result;
    if (!d->dataSource)
        return result;
    if (d->variableType == CATEGORY_SET) {
        for (int index : d->variableIndexList) {
            KWEL_Variable const* member = d->dataSource->GetVariable(index);
            if (!member)
                continue;
            KWEL_ValueLabelMap labels(member->GetValueLabels());
            labels.Reset();
            OBS const* cell = nullptr;
            char const* label = nullptr;
            while (labels.GetNextPair(cell, label)) {
                if (!label || !cell)
                    continue;
                double value;
                std::memcpy(&value, cell, sizeof value);
                bool known = false;
                for (auto const& record : result) known = known || record.value == value;
                if (!known)
                    result.push_back({value, std::string(), localToUtf8(label)});
            }
        }
    } else if (d->variableType == DICHOTOMY_SET) {
        for (int index : d->variableIndexList) {
            KWEL_Variable const* member = d->dataSource->GetVariable(index);
            if (!member)
                continue;
            std::string const name = member->GetName();
            if (!d->enhancedDichotomy) {
                if (char const* label = member->GetLabel())
                    result.push_back({0.0, name, localToUtf8(label)});
                continue;
            }
            std::string label;
            if (!d->countedValue.empty()) {
                KWEL_ValueLabelMap labels(member->GetValueLabels());
                if (char const* text = labels.GetLabel(d->countedValue.data()))
                    label = localToUtf8(text);
            }
            result.push_back({0.0, name, label});  // enhanced: a record also without a label
        }
    }
    return result;
}
