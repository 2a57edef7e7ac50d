// Preparation of an aggregated data set: the AggregationTable with one cube whose break
// variables are the data set's variables and whose statistics are its summary functions, with
// the counts and error-bar statistics behind error bars appended after them.
#include <vector>

#include "ggraph/data/data_messages.h"
#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/data/ggraph_data_set_data.h"
#include "ggraph/procedure/report.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/aggregation.h"

namespace msg = ggraph::data_messages;

namespace {

using Codes = TableEncryptionCodes;

AggregationVariable* makeBreakVariable(VariableResolver const& resolver, std::string const& label) {
    switch (resolver.getVariableType()) {
        case VariableResolver::CATEGORY_SET:
            return new AggregationMCSet(resolver.getVariableIndexList(), label);
        case VariableResolver::DICHOTOMY_SET: {
            int length = 0;
            OBS const* counted = resolver.getCountedValue(length);
            return new AggregationMDSet(resolver.getVariableIndexList(), label, counted, length, false);
        }
        case VariableResolver::DICTIONARY_VARIABLE:
            return new AggregationVariable(resolver.getVariableIndex(), label);
        default:
            return nullptr;  // completion only adds resolved variables
    }
}

}  // namespace

bool GGraphDataSet::PrepareForDataPass(KWEL_InputCaseIterator* iterator, bool flag) {
    if (d->aggregationTable != nullptr) return false;  // prepared once
    d->caseIterator = iterator;
    if (!IsDataSetAggregated() || iterator == nullptr) return false;

    d->aggregationTable = new AggregationTable(*iterator, flag, !d->listwise, -1);
    AggregationCube* cube = d->aggregationTable->CreateCube();

    for (GGraphVariable* variable : d->variables) {
        if (IsInDataFilterList(variable)) continue;  // a filter variable is no break variable
        VariableResolver* resolver = variable->getVariableResolver();
        if (resolver == nullptr) continue;
        AggregationVariable* breakVariable = makeBreakVariable(*resolver, variable->GetGPLLabel());
        if (breakVariable == nullptr) continue;
        bool const scale = variable->getMeasurmentLevel() == GGraphVariable::SCALE;
        breakVariable->SetExcludeMissing(scale ? true : !d->reportMissing);
        cube->AddCategoricalVariable(breakVariable, Codes::ROW);
        d->aggregationVariables.push_back(breakVariable);
    }
    cube->CreateCubeAggregator();

    std::vector<AggregationStatistic> list;
    if (!d->hasParametricStatistic) {
        if (d->aggregationVariables.empty()) {
            ggraph::report(ggraph::kError, msg::kNoBreakVariable);
            return false;  // the table stays in place
        }
        AggregationVariable* first = d->aggregationVariables.front();
        bool errorBars = false;
        unsigned errorBarCode = 0;
        for (GGraphStatistic* statistic : d->statistics) {
            list.push_back(*statistic->GetAggregationStatistic());
            first->GetDimension()->SetComputingCounts(statistic->getCountDuplicates());
            if (statistic->hasErrorBars()) {
                errorBarCode = statistic->getErrorBarStatistic();
                errorBars = true;
            }
        }
        if (errorBars) {
            // Every error-bar entry carries the last statistic's code and no variable: intended.
            list.emplace_back(Codes::STAT_COUNT);
            for (std::size_t i = 0; i < d->statistics.size(); ++i)
                list.emplace_back(static_cast<Codes::StatisticCodes>(errorBarCode));
        }
        cube->AddCategoryStatistics(list, first);
        return true;
    }

    int summaryIndex = -1;
    bool errorBars = false;
    for (GGraphStatistic* statistic : d->statistics) {
        if (statistic->IsParametricStatistic() && summaryIndex == -1)
            summaryIndex = statistic->GetSummaryVariableIndex();
        if (statistic->hasErrorBars()) errorBars = true;
    }
    if (d->hasCategoryStatistic) {
        for (GGraphStatistic* statistic : d->statistics) {
            if (!statistic->IsParametricStatistic())
                statistic->GetAggregationStatistic()->SetVarIndex(summaryIndex);
        }
    }
    for (GGraphStatistic* statistic : d->statistics) list.push_back(*statistic->GetAggregationStatistic());
    if (errorBars) {
        AggregationStatistic count(Codes::STAT_COUNT);
        count.SetVarIndex(summaryIndex);
        list.push_back(count);
        for (GGraphStatistic* statistic : d->statistics) {
            AggregationStatistic bar(static_cast<Codes::StatisticCodes>(statistic->getErrorBarStatistic()));
            bar.SetVarIndex(statistic->GetAggregationStatistic()->GetVarIndex());
            if (statistic->GetAggregationStatistic()->GetSummaryStatistic() == Codes::STAT_MEDIAN)
                bar.SetCIMedian(statistic->getErrorBarParameter() * 100.0);
            list.push_back(bar);
        }
    }
    cube->AddScaleStatistics(list);
    return true;
}
