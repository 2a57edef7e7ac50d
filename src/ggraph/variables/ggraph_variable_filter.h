#pragma once
// One DATAFILTER entry: the variable, whether user-missing values and all values are kept, the
// value texts written, and how often the data pass matched each.

#include <map>
#include <string>
#include <vector>

class GGraphVariableFilter {
public:
    explicit GGraphVariableFilter(std::string& variableName) : variableName(variableName) {}

    std::string GetVariableName() const { return variableName; }
    bool isIncludeULV() const { return includeULV; }
    void setIncludeULV(bool include) { includeULV = include; }
    bool isIncludeALL() const { return includeALL; }
    void setIncludeALL(bool include) { includeALL = include; }
    std::vector<std::string>& getValueList() { return valueList; }
    std::vector<std::string> const& getValueList() const { return valueList; }
    std::map<std::string, unsigned int>& getValueMatchedMap() { return valueMatchedMap; }

private:
    std::string variableName;
    bool includeULV = true;
    bool includeALL = false;
    std::vector<std::string> valueList;
    std::map<std::string, unsigned int> valueMatchedMap;
};
