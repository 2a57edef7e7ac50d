#pragma once
// One summary function of a VARIABLES list: its code, parameters, bound variable, error bars,
// GPL names, labels and number format hints.

#include <memory>
#include <string>

#include "platform/aggregation.h"
#include "platform/chart_string.h"

class FacSTDictionary;
class KWEL_DataSource;
class KWEL_Variable;

class GGraphStatistic {
public:
    enum ErrorBarType { CONFIDENCE_INTERVAL = 0, STANDARD_DEVIATION = 1, STANDARD_ERROR = 2 };

    // `name` as written, in any case; an unknown name makes an unsupported statistic (code 0).
    GGraphStatistic(std::string const& name, FacSTDictionary* dictionary);
    // Copies own their AggregationStatistic as well, so that each copy may be destroyed.
    GGraphStatistic(GGraphStatistic const& other);
    GGraphStatistic& operator=(GGraphStatistic const& other);
    ~GGraphStatistic();

    AggregationStatistic* GetAggregationStatistic() const;
    KWEL_Variable* GetSummaryVariable() const;
    int GetSummaryVariableIndex() const;
    bool IsCaseValueStatistic() const;
    bool getCountDuplicates() const;
    bool hasErrorBars() const;
    double getErrorBarParameter() const;
    bool isErrorBarInfinite() const;
    // True for every count, with or without error bars.
    bool hasCountErrorBars() const;
    bool IsSupportedStatistic() const;
    bool IsParametricStatistic() const;
    bool IsAggregatedStatistic() const;
    // Required parameters (the variable counts as one); `optional` receives the optional count.
    unsigned getParameterCount(unsigned int& optional) const;
    // The code the aggregation computes beside the main one to make the interval; 0 for none.
    unsigned getErrorBarStatistic() const;

    // The first parameter: the variable's name, or the level of COUNTCI and PCTCI, or DUP/NODUP.
    void SetMainParameter(std::string const& text, double value);
    // Numeric parameters after the first, from position 1.
    void SetNumericParameter(unsigned int position, double value, std::string const& text);
    // Binds the summary variable; false (with a message) when it is missing or unsuitable.
    [[nodiscard]] bool ResolveVariableParameter(KWEL_DataSource const* source);

    // `value` the statistic, `result` the getErrorBarStatistic() value, `total` the cases behind
    // it. False when no interval applies; infinite ends are set to the lowest double either way.
    bool CalculateErrorBarIntervals(double value, AggregationResult result, double total,
                                    double& low, double& high) const;
    // A standard deviation of dates or times, shown as a duration.
    bool useDTIME() const;
    // Fraction digits of the chart's number format; -1 where the variable's own format applies.
    int getMinFractionDigits() const;

    // Names from the command; the derived names are computed at the first query and kept.
    void SetGPLLabel(std::string const& label);
    void SetGPLLowLabel(std::string const& label);
    void SetGPLHighLabel(std::string const& label);
    ChartString const& GetUnicodeGPLLabel() const;
    ChartString const& GetUnicodeGPLLowLabel() const;
    ChartString const& GetUnicodeGPLHighLabel() const;
    std::string GetSummaryFunctionLabel();
    // UTF-8.
    std::string GetSummaryVariableLabel();
    // The labels of the interval's ends. For a mean this turns the statistic into a MEANSD
    // (errorBarType 1): interval work must be done before it is called.
    bool GetLowHighVariableLabels(ChartString& low, ChartString& high) const;
    ChartString getPrefix() const;
    ChartString getSuffix() const;

    struct GGraphStatisticData;

private:
    std::unique_ptr<GGraphStatisticData> d;
};
