// The case filter of DATAFILTER: does the current case pass, with the count of each listed value
// that was met.
#include <sstream>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/data/ggraph_data_set_data.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/chart_string.h"
#include "platform/data_source.h"
#include "platform/dictionary.h"

namespace ggraph {

double stringToDouble(std::string const& text, bool& ok) {
    std::istringstream stream(text);
    double value = 0.0;
    stream >> value;
    if (stream.fail()) {
        ok = false;
        return 0.0;
    }
    ok = stream.peek() == std::char_traits<char>::eof();
    return value;
}

}  // namespace ggraph

namespace {

// What a filter has found so far for one case.
struct FilterState {
    bool hasLabel = false;
    bool matched = false;
};

// The case's value as the text that listed values are compared with.
std::string valueText(KWEL_Variable const& variable, OBS const* cell, bool isString) {
    std::string text;
    if (!isString) {
        ChartString number;
        number.assignDouble(*cell, 16);
        text = number.toUTF8();
    } else {
        FormatType type{};
        int width = 0, decimals = 0;
        variable.GetFormatEx(type, width, decimals);
        text.assign(reinterpret_cast<char const*>(cell), static_cast<std::size_t>(width > 0 ? width : 0));
    }
    // Right-trim; a text of blanks only stays at full width.
    std::size_t last = text.find_last_not_of(' ');
    if (text.size() >= 2 && last != std::string::npos && last + 1 < text.size()) text.resize(last + 1);
    return text;
}

bool hasValueLabel(KWEL_Variable const& variable, OBS const* cell, std::string const& text,
                   bool isString) {
    KWEL_ValueLabelMap labels = variable.GetValueLabels();
    return (isString ? labels.GetLabel(text) : labels.GetLabel(cell)) != nullptr;
}

void compareWithList(std::string const& text, bool isString,
                     std::vector<std::string> const& values,
                     std::map<std::string, unsigned int>& counts, FilterState& state) {
    for (std::string const& listed : values) {
        bool match = listed == text;
        if (!match && !isString) {
            // The callers do not look at ok: a listed word counts as 0, "12abc" as 12.
            bool ok = false;
            match = ggraph::stringToDouble(text, ok) == ggraph::stringToDouble(listed, ok);
        }
        if (match) {
            ++counts[listed];
            state.matched = true;
            return;
        }
    }
}

bool passes(GGraphVariableFilter const& filter, FilterState const& state) {
    return filter.isIncludeALL() || (filter.isIncludeULV() && !state.hasLabel) || state.matched;
}

}  // namespace

bool GGraphDataSet::isMatchFilter(GGraphVariableFilter* filter, KWEL_InputCaseIterator* iterator,
                                  KWEL_DataSource const* source) {
    std::string const filterName = filter->GetVariableName();
    FilterState state;
    bool result = false;

    // Stage one: the data set's own variables, from the last to the first.
    auto const& variables = d->variables;
    auto const& infos = d->variableInfos;
    long answered = -1;
    for (long i = static_cast<long>(variables.size()) - 1; i >= 0; --i) {
        GGraphVariable const* v = variables[static_cast<std::size_t>(i)];
        bool byInfo = i < static_cast<long>(infos.size()) && infos[static_cast<std::size_t>(i)]->name == filterName;
        if (v->GetVariableName() == filterName || byInfo) {
            answered = i;
            break;
        }
    }
    if (answered >= 0) {
        GGraphVariable const* v = variables[static_cast<std::size_t>(answered)];
        VariableResolver* resolver = v->getVariableResolver();
        if (resolver != nullptr) {
            int const type = resolver->getVariableType();
            std::vector<int> indices = type == 2 || type == 3 ? resolver->getVariableIndexList()
                                                              : std::vector<int>{resolver->getVariableIndex()};
            // A dichotomy set passes on its counted value "1"; the filter's own list is not used.
            std::vector<std::string> dichotomy{"1"};
            std::vector<std::string>& values = type == 3 ? dichotomy : filter->getValueList();
            for (int index : indices) {
                KWEL_Variable const* variable = source->GetVariable(index);
                OBS const* cell = iterator->GetObsPointer(static_cast<unsigned>(index));
                if (variable == nullptr || cell == nullptr) continue;
                bool const isString = variable->GetType() != 0;
                std::string const text = valueText(*variable, cell, isString);
                if (hasValueLabel(*variable, cell, text, isString)) state.hasLabel = true;
                if (!values.empty())
                    compareWithList(text, isString, values, filter->getValueMatchedMap(), state);
                if (passes(*filter, state)) {
                    result = true;
                    break;
                }
            }
        }
        // A filter on the first variable is looked at twice, with what it found carried over,
        // so its values count double: required behaviour.
        if (answered != 0) return result;
    }

    // Stage two: the source's columns.
    int const columns = source->ColumnCount();
    if (columns == 0) return result;
    for (int column = 0; column < columns; ++column) {
        auto* resolver = new VariableResolver();
        if (!resolver->resolveVariable(source, column)) {
            delete resolver;
            continue;
        }
        GGraphVariable candidate(resolver);
        if (candidate.GetVariableName() != filterName) continue;
        KWEL_Variable const* variable = resolver->getKWELVariable();
        OBS const* cell = iterator->GetObsPointer(static_cast<unsigned>(column));
        if (variable == nullptr || cell == nullptr) return result;
        bool const isString = variable->GetType() != 0;
        std::string const text = valueText(*variable, cell, isString);
        if (hasValueLabel(*variable, cell, text, isString)) state.hasLabel = true;
        if (!filter->getValueList().empty())
            compareWithList(text, isString, filter->getValueList(), filter->getValueMatchedMap(), state);
        return passes(*filter, state);
    }
    return result;
}

bool GGraphDataSet::IsUniqueFilter(GGraphVariableFilter* filter) const {
    std::string const name = filter->GetVariableName();
    for (GGraphVariableFilter const* existing : d->variableFilters) {
        if (existing->GetVariableName() == name) return false;
    }
    return true;
}

bool GGraphDataSet::IsInDataFilterList(GGraphVariable const* variable) const {
    std::string const name = variable->GetVariableName();
    for (GGraphVariableFilter const* filter : d->variableFilters) {
        if (filter->GetVariableName() == name) return true;
    }
    return false;
}
