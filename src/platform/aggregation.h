#pragma once
// Aggregation services: the statistic codes, one statistic of a cube, one computed value, the
// cube over break variables with its statistics, and the distribution functions behind error
// bars.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/dictionary.h"

class KWEL_InputCaseIterator;
class ProcDSIterator;

class TableEncryptionCodes {
public:
    // The codes of the summary statistics. The values are fixed: the command library stores them
    // and compares with them.
    enum StatisticCodes {
        STAT_NONE = 0,  // not a statistic: an unsupported function
        STAT_COUNT = 1,
        STAT_MAXIMUM = 178,
        STAT_MEAN = 179,
        STAT_SEMEAN = 182,
        STAT_MEDIAN = 187,
        STAT_GMEDIAN = 195,
        STAT_MINIMUM = 197,
        STAT_MODE = 200,
        STAT_STDDEV = 203,
        STAT_SUM = 205,
        STAT_VALIDN = 222,
        STAT_VARIANCE = 231,
        STAT_RESPONSES = 289,
        STAT_PCTRESPONSES = 369,
        STAT_MEDIAN_CI = 466,
        STAT_PTILE = 468,
        STAT_GPTILE = 476,
        STAT_PCT_LT = 478,
        STAT_N_LT = 480,
        STAT_PCT_LE = 482,
        STAT_N_LE = 484,
        STAT_PCT_GT = 486,
        STAT_N_GT = 488,
        STAT_PCT_GE = 490,
        STAT_N_GE = 492,
        STAT_PCT_EQ = 494,
        STAT_N_EQ = 496,
        STAT_PCT_IN = 498,
        STAT_N_IN = 500,
        STAT_CASEVALUE = 2000,  // raw case values: not aggregated
    };
    // Where a break variable stands in a table. Every position makes the same cells here.
    enum DimensionPosition { ROW = 0, COLUMN = 1, LAYER = 2 };
};

// One statistic of an aggregation cube: its code, the variable it summarises and its parameters
// (limits of the counts and percentages, the cut point of a percentile).
class AggregationStatistic {
public:
    explicit AggregationStatistic(TableEncryptionCodes::StatisticCodes code);

    TableEncryptionCodes::StatisticCodes GetSummaryStatistic() const;
    // The dictionary index of the summarised variable; -1 when none was set.
    void SetVarIndex(int index);
    int GetVarIndex() const;
    void SetLowerLimit(double limit);
    double GetLowerLimit() const;
    void SetUpperLimit(double limit);
    double GetUpperLimit() const;
    // The percentile's cut point, in percent (0 < p < 100).
    void SetPTileCutPoint(double cutPoint);
    double GetPTileCutPoint() const;
    // The level of the median's confidence interval, in percent (95 unless set).
    void SetCIMedian(double level);
    double GetCIMedian() const;

private:
    TableEncryptionCodes::StatisticCodes code_;
    int varIndex_ = -1;
    double lowerLimit_ = 0.0;
    double upperLimit_ = 0.0;
    double cutPoint_ = 0.0;
    double ciMedian_ = 95.0;
};

// One computed value of a cell. Most statistics have one value; an interval statistic (the
// median's confidence interval) also has its two ends.
class AggregationResult {
public:
    AggregationResult() = default;
    explicit AggregationResult(double value);
    AggregationResult(double value, double value1, double value2);
    AggregationResult& operator=(double value);

    operator double() const;
    double GetValue1() const;
    double GetValue2() const;

private:
    double value_ = 0.0;
    double value1_ = 0.0;
    double value2_ = 0.0;
};

// One category of a break variable. `value` points to the category's cell: a double for a
// numeric category, blank-padded bytes (`stringLength` of them are the value) for a string one.
// For a dichotomy set a category stands for one member, whose dictionary index is `memberIndex`.
// Records live as long as their dimension's categories, until the next ResetAggregator.
struct AggregationCategory {
    std::uint32_t stringLength = 0;
    OBS const* value = nullptr;
    std::int32_t memberIndex = -1;
    std::uint32_t id = 0;  // the engine's own number for the category
};

// The categories of one break variable, as the cases have shown them.
class TableDimension {
public:
    TableDimension();
    virtual ~TableDimension();
    TableDimension(TableDimension const&) = delete;
    TableDimension& operator=(TableDimension const&) = delete;

    // Responses count a value met twice in one case's set members twice when true.
    void SetComputingCounts(bool counting);
    bool GetComputingCounts() const;
    // The categories in ascending order: numbers by value, strings by their bytes, dichotomy
    // members in the order of the set. Valid until the next case is added.
    virtual std::vector<AggregationCategory const*> const& GetCategories();

    struct Data;
    Data& data() { return *d; }

private:
    std::unique_ptr<Data> d;
};

// A break variable: one dictionary variable. The subclasses are the multiple-response sets.
class AggregationVariable {
public:
    enum class Kind { Variable, CategorySet, DichotomySet };

    AggregationVariable(int index, std::string const& label);
    virtual ~AggregationVariable();
    AggregationVariable(AggregationVariable const&) = delete;
    AggregationVariable& operator=(AggregationVariable const&) = delete;

    // True keeps cases with a missing value (system or user) out of every cell.
    virtual void SetExcludeMissing(bool exclude);
    bool GetExcludeMissing() const { return excludeMissing_; }
    virtual TableDimension* GetDimension();

    Kind GetKind() const { return kind_; }
    std::string const& GetLabel() const { return label_; }
    // The dictionary indices: one for a variable, the members for a set.
    std::vector<int> const& GetIndices() const { return indices_; }

protected:
    AggregationVariable(Kind kind, std::vector<int> indices, std::string const& label);

private:
    Kind kind_;
    std::vector<int> indices_;
    std::string label_;
    bool excludeMissing_ = true;
    TableDimension dimension_;
};

// A category set: each case falls into the categories of its members' values.
class AggregationMCSet : public AggregationVariable {
public:
    AggregationMCSet(std::vector<int> const& indices, std::string const& label);
};

// A dichotomy set: each case falls into the members that hold the counted value.
class AggregationMDSet : public AggregationVariable {
public:
    // `length` is 8 (bytes) for a numeric counted value, the number of 8-byte cells for a string.
    AggregationMDSet(std::vector<int> const& indices, std::string const& label,
                     OBS const* countedValue, int length, bool countLabels);
    // The counted value's cells: one for numeric members, `length` for string ones. The
    // caller's buffer is read here, once, and must live until then.
    std::vector<OBS> const& GetCountedValue(bool stringMembers);

private:
    OBS const* countedSource_;
    std::vector<OBS> counted_;
    int countedLength_;
    bool copied_ = false;
    bool countLabels_;
};

// The values of one cell, in the order of the statistics handed to the cube.
class StatValues {
public:
    explicit StatValues(std::vector<AggregationResult> values);
    // A position out of range gives the system-missing value.
    AggregationResult GetStatValue(int position) const;

private:
    std::vector<AggregationResult> values_;
};

// Reads the cells of a cube back.
class CubeAggregator {
public:
    struct Engine;
    explicit CubeAggregator(Engine& engine);
    // The values of the cell with these categories, one per break variable in cube order; null
    // when no case fell into it. The object stays valid until ResetAggregator.
    StatValues* GetStatValues(std::vector<AggregationCategory const*> const& cell, int layer);
    // Whether some cell has these categories for its first break variables: a reader walking
    // the categories passes over the rest of a combination that holds no cell.
    bool HasCellsUnder(std::vector<AggregationCategory const*> const& prefix);

private:
    Engine& engine_;
};

// One cube: break variables and the statistics to compute in each cell of their categories.
class AggregationCube {
public:
    AggregationCube(KWEL_InputCaseIterator& iterator, bool variablewise);
    ~AggregationCube();
    AggregationCube(AggregationCube const&) = delete;
    AggregationCube& operator=(AggregationCube const&) = delete;

    // The caller keeps ownership of the variable, which must outlive the cube.
    void AddCategoricalVariable(AggregationVariable* variable,
                                TableEncryptionCodes::DimensionPosition position);
    CubeAggregator* CreateCubeAggregator();
    // Statistics of summary variables (each names its variable by SetVarIndex).
    void AddScaleStatistics(std::vector<AggregationStatistic> const& statistics);
    // Statistics over the categories alone, with the variable whose responses they count.
    void AddCategoryStatistics(std::vector<AggregationStatistic> const& statistics,
                               AggregationVariable* first);

    void AddCase();
    bool TakesCaseRuns() const;
    // The cases at the iterator's positions [first, first + count).
    void AddCaseRun(ProcDSIterator const& iterator, std::int64_t first, std::int64_t count);
    void Reset();
    CubeAggregator* Aggregator() const;

private:
    std::unique_ptr<CubeAggregator::Engine> engine_;
    std::unique_ptr<CubeAggregator> aggregator_;
};

// A table of cubes fed from one case iterator. Weights are not applied.
class AggregationTable {
public:
    // `variablewise` false is listwise: a case missing any summary variable is left out of
    // every statistic. `flag` and `weightIndex` are accepted and not used.
    AggregationTable(KWEL_InputCaseIterator& iterator, bool flag, bool variablewise,
                     int weightIndex);
    ~AggregationTable();
    AggregationTable(AggregationTable const&) = delete;
    AggregationTable& operator=(AggregationTable const&) = delete;

    AggregationCube* CreateCube();
    // Adds the iterator's current case to every cube.
    void AddNewCase();
    // True when every cube has taken a case and can take the cases after it as a run:
    // AddCaseRun then steps `iterator` over up to `most` further cases of its current split
    // group (never onto the group's end) and adds them all, as AddNewCase would one by one.
    // Gives the number of cases added.
    bool TakesCaseRuns() const;
    std::int64_t AddCaseRun(ProcDSIterator& iterator, std::int64_t most);
    std::vector<CubeAggregator*> GetCubeAggregators();
    // Empties the cells and the categories and keeps the definitions.
    void ResetAggregator();

private:
    KWEL_InputCaseIterator& iterator_;
    bool variablewise_;
    std::vector<std::unique_ptr<AggregationCube>> cubes_;
};

// Inverse distribution functions. A domain error (no degrees of freedom, a probability outside
// (0, 1), a shape parameter that is not positive) gives KWEL_Globals::infinity().
class CtaDistFun {
public:
    // The quantile of Student's t distribution.
    static double IdfT(double probability, double degreesOfFreedom);
    // The quantile of the beta distribution with shapes a and b.
    static double IdfBet(double const& probability, double const& a, double const& b);
};
