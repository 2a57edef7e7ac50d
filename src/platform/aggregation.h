#pragma once
// Aggregation services: the statistic codes, one statistic of a cube, one computed value, and the
// distribution functions behind error bars.

#include <cstdint>

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

private:
    TableEncryptionCodes::StatisticCodes code_;
    int varIndex_ = -1;
    double lowerLimit_ = 0.0;
    double upperLimit_ = 0.0;
    double cutPoint_ = 0.0;
};

// One computed value of a cell. Most statistics have one value; an interval statistic (the
// median's confidence interval) also has its two ends.
class AggregationResult {
public:
    AggregationResult() = default;
    explicit AggregationResult(double value);
    AggregationResult(double value, double value1, double value2);

    operator double() const;
    double GetValue1() const;
    double GetValue2() const;

private:
    double value_ = 0.0;
    double value1_ = 0.0;
    double value2_ = 0.0;
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
