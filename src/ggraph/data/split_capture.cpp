// Split groups: the names, labels and value texts of the split variables for a group's chart
// title, taken from the group's first case, and the decision whether the group is kept.
#include <string>

#include "ggraph/data/data_messages.h"
#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/data/ggraph_data_set_data.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/chart_string.h"
#include "platform/data_source.h"
#include "platform/messages.h"

namespace msg = ggraph::data_messages;

namespace {

std::string trimmedBytes(OBS const* cell, int width) {
    std::string text(reinterpret_cast<char const*>(cell), static_cast<std::size_t>(width > 0 ? width : 0));
    std::size_t const last = text.find_last_not_of(' ');
    text.resize(last == std::string::npos ? 0 : last + 1);
    return text;
}

// The filter's text of a value: numbers as rendered, strings right-trimmed (a blank value keeps
// its width).
std::string filterText(OBS const* cell, bool isString, int width) {
    if (!isString) {
        ChartString number;
        number.assignDouble(*cell, 16);
        return number.toUTF8();
    }
    std::string text(reinterpret_cast<char const*>(cell), static_cast<std::size_t>(width > 0 ? width : 0));
    std::size_t const last = text.find_last_not_of(' ');
    if (text.size() >= 2 && last != std::string::npos && last + 1 < text.size()) text.resize(last + 1);
    return text;
}

}  // namespace

bool GGraphDataSet::GGraphDataSetData::saveSplitInfo(ProcDSIterator* iterator) {
    KWEL_DataSource const* source = getKWEL_DataSource();
    if (source == nullptr) return true;
    int const count = source->SplitVariableCount();
    if (count == 0) return true;  // one group, with empty descriptions
    if (iterator == nullptr) return true;

    if (!reportMissing) {
        for (int position = 0; position < count; ++position) {
            int const index = source->SplitVariableIndex(static_cast<unsigned>(position));
            auto* resolver = new VariableResolver();
            if (!resolver->resolveVariable(source, index)) {
                delete resolver;
                continue;
            }
            GGraphVariable variable(resolver);
            KWEL_Variable const* var = resolver->getKWELVariable();
            OBS const* obs = iterator->GetObsPointer(static_cast<unsigned>(index));
            FormatType type{};
            int width = 0, decimals = 0;
            if (var != nullptr) var->GetFormatEx(type, width, decimals);
            std::string text;
            bool const isString = variable.isString() && type == FMT_A;
            if (isString && obs != nullptr) text = trimmedBytes(obs, width);
            bool const missing = var != nullptr && obs != nullptr && var->IsMissing(obs) == 1;
            // The temporary variable has no level, so a missing split value always refuses.
            if ((missing || (isString && text.empty())) && variable.getMeasurmentLevel() != GGraphVariable::SCALE)
                return false;
            for (GGraphVariableFilter* filter : variableFilters) {
                if (filter->GetVariableName() != variable.GetVariableName()) continue;
                if (obs == nullptr || var == nullptr) return false;
                bool const stringValue = var->GetType() != 0;
                std::string const value = filterText(obs, stringValue, width);
                KWEL_ValueLabelMap labels = var->GetValueLabels();
                bool const hasLabel = (stringValue ? labels.GetLabel(value) : labels.GetLabel(obs)) != nullptr;
                bool matched = false;
                for (std::string const& listed : filter->getValueList()) {
                    // An exact text match is not counted here; only a match by number is.
                    if (listed == value) {
                        matched = true;
                        break;
                    }
                    if (!stringValue) {
                        bool ok = false;
                        if (ggraph::stringToDouble(value, ok) == ggraph::stringToDouble(listed, ok)) {
                            ++filter->getValueMatchedMap()[listed];
                            matched = true;
                            break;
                        }
                    }
                }
                if (!filter->isIncludeALL() && !(filter->isIncludeULV() && !hasLabel) && !matched) return false;
            }
        }
    }

    if (currentVDP < 0 || currentVDP >= static_cast<int>(splits.size())) return true;
    SplitInfo& split = splits[static_cast<std::size_t>(currentVDP)];
    for (int position = 0; position < count; ++position) {
        int const index = source->SplitVariableIndex(static_cast<unsigned>(position));
        KWEL_Variable const* var = source->GetVariable(index);
        if (var == nullptr) continue;
        split.names.emplace_back(var->GetName());
        split.labels.emplace_back(var->GetLabel() != nullptr ? var->GetLabel() : var->GetName());
        OBS const* obs = iterator->GetObsPointer(static_cast<unsigned>(index));
        std::string text;
        char const* label = obs != nullptr ? var->GetValueLabels().GetLabel(obs) : nullptr;
        if (label != nullptr) {
            text = label;
        } else {
            FormatType type{};
            int width = 0, decimals = 0;
            var->GetFormatEx(type, width, decimals);
            if (type == FMT_A) {
                text = obs != nullptr ? trimmedBytes(obs, width) : std::string();
                if (text.empty()) text = dictionary->LookUp(msg::kMissingSplitValue);
            } else if (obs == nullptr || var->IsMissing(obs) == 1) {
                text = dictionary->LookUp(msg::kMissingSplitValue);
            } else {
                ChartString number;
                number.assignDouble(*obs, 16);
                text = number.toUTF8();
            }
        }
        split.categories.push_back(text);
    }
    return true;
}
