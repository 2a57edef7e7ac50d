#pragma once
// One graph data set: which data it reads, its variables and summary functions, its filters,
// its missing-value rules, and the rows it fills for each split group.

#include <memory>
#include <string>
#include <vector>

#include "platform/chart_string.h"

struct AggregationCategory;
class FacSTDictionary;
class GGraphStatistic;
class GGraphVariable;
class GGraphVariableFilter;
class KWEL_DataSource;
class KWEL_InputCaseIterator;
class ProcDSIterator;
class ProcedureDataSource;
class RelabelString;
class VarDataProcessor;

class GGraphDataSet {
public:
    enum MISSING { LISTWISE = 0, VARIABLEWISE = 1, SETWISE = 2 };
    enum REPORTMISSING { NO = 0, YES = 1 };
    enum MEASUREMENT_LEVEL { UNSPECIFIED = 0, SCALE = 1, NOMINAL = 2, ORDINAL = 3, FLAG = 4, TYPELESS = 5 };

    // One declared name of the variable list: a variable, or the words ALL or TO.
    struct VariableInfo {
        std::string name;
        std::string rename;
        MEASUREMENT_LEVEL level = UNSPECIFIED;
    };

    // One split group: its rows and, in parallel, the split variables' names, labels and values.
    struct SplitInfo {
        VarDataProcessor* vdp = nullptr;  // owned by the data set, not by the record
        std::vector<std::string> names;
        std::vector<std::string> labels;
        std::vector<std::string> categories;
    };

    GGraphDataSet(ProcedureDataSource const* source, FacSTDictionary* dictionary);
    // A data set owns its variables, statistics, filters and rows; a copy would share them and
    // free them twice, and nothing in the command copies one.
    GGraphDataSet(GGraphDataSet const& other) = delete;
    GGraphDataSet& operator=(GGraphDataSet const& other) = delete;
    ~GGraphDataSet();

    std::string const& GetDataSetHandle() const;
    void SetDataSetHandle(std::string const& handle);
    std::string const& GetSourceName() const;
    void SetSourceName(std::string const& name);
    std::vector<GGraphVariable*>& GetVariables() const;
    std::vector<GGraphStatistic*>& GetStatistics() const;
    void SetCaseLimit(unsigned int limit);
    void setUsesCSVFile();
    bool usesCSVFile() const;
    void SetMissing(MISSING missing);
    MISSING GetMissing() const;
    void SetReportMissing(REPORTMISSING report);
    bool GetReportMissing() const;

    GGraphVariable* GetVariable(unsigned int index) const;
    KWEL_DataSource const* getKWEL_DataSource();
    int getWeightVarIdx() const;
    bool IsDataSetAggregated() const;
    bool FetchData() const;
    void ResetAggregator();

    // Builds the aggregation cube of an aggregated data set; true when the pass may run.
    [[nodiscard]] bool PrepareForDataPass(KWEL_InputCaseIterator* iterator, bool flag);
    // The aggregated pass: reads the cases and writes one row per cell of each split group.
    // Gives the number of rows written.
    unsigned int populateAggregatedData(KWEL_InputCaseIterator* iterator);
    void populateVDP(unsigned int depth, std::vector<AggregationCategory const*>& categories);
    // The unaggregated pass: one row per case that stays, for each split group; case values of
    // CASEVALUE statistics go to `relabel`. Gives the rows of the last group.
    unsigned int populateUnAggregatedData(RelabelString& relabel);

    bool isTransposed() const;
    void setTranspose(std::string const& summary, std::string const& index, std::string const& low,
                      std::string const& high);
    bool getTransposeHighLowVarNames(ChartString& low, ChartString& high) const;
    bool getTransposedNames(ChartString& summary, ChartString& index, ChartString& low,
                            ChartString& high) const;

    void AddVariable(std::string const& name, std::string const& rename, MEASUREMENT_LEVEL level);
    void AddVariable(GGraphVariable* variable);
    void AddStatistic(GGraphStatistic* statistic);
    void AddVariableFilter(GGraphVariableFilter* filter);
    std::vector<GGraphVariableFilter*> const& GetVariableFilters() const;
    std::vector<VariableInfo*> const& GetVariableInfos() const;

    // Binds the declared names to the dictionary.
    [[nodiscard]] bool CompleteDataSet();
    // False when the name was seen before; lists it either way (and among renames when asked).
    bool isNameUnique(std::string const& name, bool isRename);
    bool isReNameUnique(std::string const& name) const;

    // The case filter.
    bool isMatchFilter(GGraphVariableFilter* filter, KWEL_InputCaseIterator* iterator,
                       KWEL_DataSource const* source);
    bool IsUniqueFilter(GGraphVariableFilter* filter) const;
    bool IsInDataFilterList(GGraphVariable const* variable) const;

    // Reading the rows back, one split group at a time.
    void resetData();
    VarDataProcessor* getData() const;
    std::vector<std::string> const& getSplitNames() const;
    std::vector<std::string> const& getSplitLabels() const;
    std::vector<std::string> const& getSplitCategories() const;
    bool containsSplits() const;

    struct GGraphDataSetData;
    GGraphDataSetData& data() const { return *d; }

private:
    std::unique_ptr<GGraphDataSetData> d;
};
