#pragma once
// The data block of VariableResolver; used only inside src/ggraph/variables.

#include <string>
#include <vector>

#include "platform/data_source.h"
#include "platform/dictionary.h"

struct VariableResolverData {
    KWEL_DataSource const* dataSource = nullptr;
    KWEL_Variable* variable = nullptr;
    int variableIndex = -1;
    std::vector<int> variableIndexList;
    std::vector<OBS> countedValue;  // empty: none
    int countedValueLength = 0;
    std::string mrSetName;
    bool enhancedDichotomy = false;
    int variableType = 0;
};
