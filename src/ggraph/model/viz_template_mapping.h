#pragma once
// Value records of a ViZ template's variable bindings.

#include <string>
#include <vector>

#include "platform/dictionary_format.h"

// One member of a multiple-response set, as the template service needs it. UTF-8 texts.
struct MRChildren {
    std::string childName;
    std::string childLabel;
    std::string childLabelingVariable;
};

// One MAPPING entry of a VIZTEMPLATE source: a template slot and what fills it.
struct ViZTemplateMapping {
    std::string mappingKey;
    std::string mappingValue;
    std::string variableLabel;
    std::string dataSetName;
    std::string labelingVariable;
    std::string mrSetName;
    std::string countedValue;
    KWEL_Format format = 0;
    bool hasFormat = false;
    bool categorical = true;
    bool multipleCategories = false;
    bool weightMapping = false;
    bool enhancedDichotomy = false;
    std::vector<MRChildren> mrChildren;
};
