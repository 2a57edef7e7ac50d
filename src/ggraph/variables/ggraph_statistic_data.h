#pragma once
// The data block of GGraphStatistic; used only inside src/ggraph/variables.

#include <memory>
#include <string>

#include "ggraph/variables/ggraph_statistic.h"
#include "platform/aggregation.h"
#include "platform/chart_string.h"

struct GGraphStatistic::GGraphStatisticData {
    std::unique_ptr<AggregationStatistic> aggregationStatistic;
    FacSTDictionary* dictionary = nullptr;
    ChartString functionName;
    ChartString gplLabel;
    std::string summaryVariableName;
    KWEL_Variable* summaryVariable = nullptr;
    bool countDuplicates = false;
    bool caseValueStatistic = false;
    bool errorBars = false;
    bool percentErrorBars = false;
    int errorBarType = CONFIDENCE_INTERVAL;
    double errorBarParameter = 0.0;
    ChartString gplLowLabel;
    ChartString gplHighLabel;
    bool errorBarInfinite = false;
    // The parameter counts of the function's table row.
    unsigned requiredParameters = 0;
    unsigned optionalParameters = 0;

    int code() const { return aggregationStatistic->GetSummaryStatistic(); }
    // The summary variable's format type and decimals; 0 and 0 without a variable.
    void format(int& type, int& decimals) const;
};
