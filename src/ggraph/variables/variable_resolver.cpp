#include "ggraph/variables/variable_resolver.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ggraph/variables/variable_resolver_data.h"
#include "platform/data_source.h"
#include "platform/host_procedure.h"

namespace {

bool hasStringFormat(KWEL_Variable const* variable) {
    if (!variable)
        return false;
    FormatType type{};
    int width = 0;
    int decimals = 0;
    variable->GetFormatEx(type, width, decimals);
    return type == FMT_A;
}

unsigned stringFormatWidth(KWEL_Variable const* variable) {
    if (!variable)
        return 0;
    FormatType type{};
    int width = 0;
    int decimals = 0;
    variable->GetFormatEx(type, width, decimals);
    return type == FMT_A && width > 0 ? static_cast<unsigned>(width) : 0;
}

}  // namespace

VariableResolver::VariableResolver() : d(std::make_unique<VariableResolverData>()) {}
VariableResolver::~VariableResolver() = default;

bool VariableResolver::resolveVariable(KWEL_DataSource const* source, int index) {
    d->dataSource = source;
    if (!source || index < 0)
        return false;
    d->variableIndex = index;
    d->variable = source->GetVariable(index);
    d->variableType = DICTIONARY_VARIABLE;
    return true;
}

bool VariableResolver::resolveVariable(KWEL_DataSource const* source, std::string const& name) {
    d->dataSource = source;
    if (!source)
        return false;
    int index = source->FindVarIndex(name.c_str(), 0);
    if (index >= 0)
        return resolveVariable(source, index);
    if (name.empty() || name[0] != '$')
        return false;

    VariableSets sets(*source, VARSETS_MULTIPLE_RESPONSE);
    auto match = std::find_if(sets.begin(), sets.end(), [&](VariableSet const& set) {
        return KWELMBstricmp_A(set.GetName(VariableSet::CHANGECASE_DISPLAY).c_str(),
                               name.c_str()) == 0;
    });
    if (match == sets.end())
        return false;

    // Members missing from the dictionary are dropped without a word.
    for (std::string const& member : match->GetVariableNames(VariableSet::CHANGECASE_NONE)) {
        int memberIndex = source->FindVarIndex(member.c_str(), 0);
        if (memberIndex >= 0)
            d->variableIndexList.push_back(memberIndex);
    }
    d->variableIndex = source->ColumnCount() + static_cast<int>(match - sets.begin());

    auto setName = [&] {
        d->mrSetName = match->GetLabel();
        if (d->mrSetName.empty())
            d->mrSetName = match->GetName(VariableSet::CHANGECASE_DISPLAY);
    };
    switch (match->GetType()) {
        case VariableSet::CATEGORY_SET:
            d->variableType = CATEGORY_SET;
            setName();
            break;
        case VariableSet::DICHOTOMY_SET: {
            d->variableType = DICHOTOMY_SET;
            setName();
            d->enhancedDichotomy =
                match->qIsEnhancedDichotomy() && match->qUseVariableCategoryLabels();
            std::string const& text = match->GetValue();
            if (!isString()) {
                d->countedValue.assign(1, std::strtod(text.c_str(), nullptr));
                d->countedValueLength = 8;
            } else {
                unsigned length = getStringLength();
                d->countedValueLength = length <= 8 ? 1 : static_cast<int>((length + 7) >> 3);
                d->countedValue.assign(static_cast<std::size_t>(d->countedValueLength), 0.0);
                char* buffer = reinterpret_cast<char*>(d->countedValue.data());
                int bufferBytes = d->countedValueLength * kObsBytes;
                std::memset(buffer, ' ', static_cast<std::size_t>(bufferBytes));
                // A counted value longer than the members could never match; it is cut to the
                // buffer rather than written past it.
                int n = std::min(static_cast<int>(text.size()), bufferBytes);
                KWELMBCopyToFixed_A(buffer, n, text.c_str(), n);
            }
            break;
        }
        default:
            break;
    }
    return true;
}

int VariableResolver::getVariableType() const {
    return d->variableType;
}
int VariableResolver::getVariableIndex() const {
    return d->variableIndex;
}
KWEL_Variable* VariableResolver::getKWELVariable() const {
    return d->variable;
}
std::string const& VariableResolver::getMRSetName() const {
    return d->mrSetName;
}

OBS const* VariableResolver::getCountedValue(int& length) const {
    length = d->countedValueLength;
    return d->countedValue.empty() ? nullptr : d->countedValue.data();
}

bool VariableResolver::isEnhancedDichotomy() const {
    return d->enhancedDichotomy;
}
std::vector<int> VariableResolver::getVariableIndexList() const {
    return d->variableIndexList;
}

bool VariableResolver::isString() const {
    switch (d->variableType) {
        case DICTIONARY_VARIABLE:
            return hasStringFormat(d->variable);
        case CATEGORY_SET:
        case DICHOTOMY_SET:
            if (d->variableIndexList.empty() || !d->dataSource)
                return false;
            return hasStringFormat(d->dataSource->GetVariable(d->variableIndexList.front()));
        default:
            return false;
    }
}

unsigned VariableResolver::getStringLength() const {
    switch (d->variableType) {
        case DICTIONARY_VARIABLE:
            return stringFormatWidth(d->variable);
        case CATEGORY_SET:
            if (d->variableIndexList.empty() || !d->dataSource)
                return 0;
            return stringFormatWidth(d->dataSource->GetVariable(d->variableIndexList.front()));
        case DICHOTOMY_SET: {
            // A dichotomy set shows its members' names, so a numeric member counts with its
            // name's length.
            unsigned longest = 0;
            for (int index : d->variableIndexList) {
                KWEL_Variable const* member =
                    d->dataSource ? d->dataSource->GetVariable(index) : nullptr;
                if (!member)
                    continue;
                int type = member->GetType();
                unsigned length = type == 0 ? static_cast<unsigned>(std::strlen(member->GetName()))
                                            : static_cast<unsigned>(type);
                longest = std::max(longest, length);
            }
            return longest;
        }
        default:
            return 0;
    }
}
