#pragma once
// The data block of a graph data set. Used only by the data sets' own files.

#include <string>
#include <vector>

#include "ggraph/data/ggraph_data_set.h"
#include "platform/aggregation.h"
#include "platform/chart_string.h"
#include "platform/data_source.h"

struct GGraphDataSet::GGraphDataSetData {
    GGraphDataSetData(ProcedureDataSource const* source, FacSTDictionary* dict);
    GGraphDataSetData(GGraphDataSetData const&) = default;
    GGraphDataSetData& operator=(GGraphDataSetData const&) = default;
    void release();

    FacSTDictionary* dictionary;
    std::string dataSetHandle;
    ProcedureDataSource const* procedureDataSource;
    KWEL_DataSource const* dataSource = nullptr;
    UserCaseFileSpec caseFileSpec;
    UserInputCaseFile* inputCaseFile = nullptr;
    std::string sourceName;
    std::string utf8SourceName;
    std::vector<GGraphVariable*> variables;
    std::vector<GGraphStatistic*> statistics;
    std::vector<GGraphVariableFilter*> variableFilters;
    std::vector<VariableInfo*> variableInfos;
    bool reportMissing = false;
    bool listwise = true;
    bool setwise = false;  // never set true: SETWISE behaves as VARIABLEWISE on purpose
    unsigned int caseLimit = 0;
    ChartString summaryName;
    ChartString indexName;
    ChartString lowName;
    ChartString highName;
    bool hasParametricStatistic = false;
    bool hasCategoryStatistic = false;
    bool usesCSV = false;
    AggregationTable* aggregationTable = nullptr;
    std::vector<AggregationVariable*> aggregationVariables;
    unsigned int caseCount = 0;
    unsigned int rowCount = 0;
    KWEL_InputCaseIterator* caseIterator = nullptr;
    std::vector<SplitInfo> splits;
    int currentVDP = -1;
    mutable int dataCursor = -1;
    std::vector<std::string> uniqueNames;
    std::vector<std::string> uniqueReNames;

    // The case limit; with none, 0 or the largest count as asked.
    unsigned int GetCaseLimit(bool zeroWhenUnlimited) const;
    bool isVarsToCases() const;
    VarDataProcessor* createNewVDP();
    void popLastVDP();
    VarDataProcessor* getCurrVDP() const;
    KWEL_DataSource const* getKWEL_DataSource();
    bool UnknownVariable(std::string const& name);

    // The aggregated pass.
    double calculateSubTotal(std::vector<AggregationCategory const*>& categories, unsigned int lastVariable,
                             unsigned int statistic, AggregationResult& result, bool sumCategories);
    void handleErrorBars(std::vector<AggregationCategory const*> categories, unsigned int statistic,
                         VarDataProcessor& vdp, unsigned int lastVariable, double value);
    // Split groups: fills the current group's descriptions; false when the group is skipped.
    bool saveSplitInfo(ProcDSIterator* iterator);
};

namespace ggraph {
// Reads a number from the front of the text as a stream read does; 0 when there is none. `ok`
// is true when the whole text was the number.
double stringToDouble(std::string const& text, bool& ok);
}  // namespace ggraph
