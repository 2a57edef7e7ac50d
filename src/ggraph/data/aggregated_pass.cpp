// The aggregated pass: the cases that pass the filters go into the cube, one split group at a
// time, and each cell that holds data becomes a row (or, transposed, one row per statistic) of
// the group's VarDataProcessor, with the error-bar limits beside the values.
#include <cstring>
#include <string>
#include <vector>

#include "ggraph/data/data_messages.h"
#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/data/ggraph_data_set_data.h"
#include "ggraph/procedure/report.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/aggregation.h"
#include "platform/chart_string.h"
#include "platform/data_source.h"
#include "platform/output.h"
#include "platform/var_data_processor.h"

namespace msg = ggraph::data_messages;

namespace {

// A string category's bytes: whole cells, so that the padding comes along and is trimmed off.
std::string categoryBytes(AggregationCategory const& category) {
    std::size_t length = category.stringLength <= 8 ? 8 : (category.stringLength + 7) / 8 * 8;
    return std::string(reinterpret_cast<char const*>(category.value), length);
}

ChartString trimmedText(std::string const& bytes) {
    ChartString text = XUtility::ChartStringFromLocalCodePage(bytes);
    text.trimSpaces(false);
    return text;
}

}  // namespace

unsigned int GGraphDataSet::populateAggregatedData(KWEL_InputCaseIterator* iterator) {
    auto& data = *d;
    if (iterator == nullptr || data.aggregationTable == nullptr) return 0;
    auto* procIterator = dynamic_cast<ProcDSIterator*>(iterator);
    unsigned int totalRows = 0;
    unsigned int totalCases = 0;
    bool startGroup = true;

    auto writeGroup = [&] {
        VarDataProcessor* vdp = data.getCurrVDP();
        // A plain iterator that gave no case has no group to write.
        if (vdp != nullptr) {
            vdp->AddDataSource(data.utf8SourceName, data.caseCount / 10 + 10);
            if (data.isVarsToCases()) {
                for (GGraphVariable* variable : data.variables) variable->addVDPVariable(vdp, data.utf8SourceName);
                vdp->AddVariable(data.utf8SourceName, data.summaryName.toUTF8(), nullptr);
                vdp->AddVariable(data.utf8SourceName, data.indexName.toUTF8(), nullptr);
            } else {
                for (GGraphVariable* variable : data.variables) variable->addVDPVariable(vdp, data.utf8SourceName);
                for (GGraphStatistic* statistic : data.statistics) {
                    vdp->AddVariable(data.utf8SourceName, statistic->GetUnicodeGPLLabel().toUTF8(), nullptr);
                    if (statistic->hasErrorBars()) {
                        vdp->AddVariable(data.utf8SourceName, statistic->GetUnicodeGPLLowLabel().toUTF8(), nullptr);
                        vdp->AddVariable(data.utf8SourceName, statistic->GetUnicodeGPLHighLabel().toUTF8(), nullptr);
                    }
                }
            }
            std::vector<AggregationCategory const*> categories;
            categories.reserve(data.aggregationVariables.size());
            populateVDP(0, categories);
        }
        ResetAggregator();
        totalRows += data.rowCount;
        totalCases += data.caseCount;
        data.rowCount = 0;
        data.caseCount = 0;
    };

    auto warnCaseLimit = [&] {
        BpNumber limit(static_cast<double>(data.caseLimit), BpHeading::Count);
        BpString source(data.utf8SourceName, false);
        ggraph::report(ggraph::kWarning, msg::kCaseLimitReached, {&limit, &source});
    };

    while (true) {
        if (iterator->NextCase() == 0) {
            // Under split processing the last group was written at its group end.
            if (procIterator == nullptr) writeGroup();
            break;
        }
        bool const groupEnd = procIterator != nullptr && procIterator->SplitGroupEnd();
        // A group-end step is no case beyond the limit: the limit shows at the next real case.
        if (data.GetCaseLimit(false) <= data.caseCount && !groupEnd) {
            warnCaseLimit();
            writeGroup();
            break;
        }
        if (startGroup) {
            data.createNewVDP();
            data.caseCount = 0;
            if (procIterator != nullptr && !data.saveSplitInfo(procIterator)) {
                while (!procIterator->SplitGroupEnd() && iterator->NextCase() != 0) {
                }
                data.popLastVDP();
                continue;
            }
        }
        if (groupEnd) {
            bool const full = data.GetCaseLimit(false) <= data.caseCount;
            writeGroup();
            startGroup = true;
            if (full) {
                // The limit ends the whole pass, later groups included.
                if (iterator->NextCase() != 0) warnCaseLimit();
                break;
            }
            continue;
        }
        if (data.dataSource == nullptr && data.getKWEL_DataSource() == nullptr) return 0;
        bool out = false;
        for (GGraphVariableFilter* filter : data.variableFilters) {
            if (!isMatchFilter(filter, iterator, data.dataSource)) {
                out = true;
                break;
            }
        }
        startGroup = false;
        if (!out) {
            data.aggregationTable->AddNewCase();
            ++data.caseCount;
            // With no filter to leave a case out, the cases after this one in its group go in as
            // one run, up to the case limit.
            if (procIterator != nullptr && data.variableFilters.empty() &&
                data.aggregationTable->TakesCaseRuns()) {
                std::int64_t const room =
                    static_cast<std::int64_t>(data.GetCaseLimit(false)) - data.caseCount;
                data.caseCount += static_cast<unsigned int>(
                    data.aggregationTable->AddCaseRun(*procIterator, room));
            }
        }
    }

    if (!data.variableFilters.empty()) {
        if (totalCases == 0) {
            std::string names;
            for (GGraphVariableFilter* filter : data.variableFilters) names += filter->GetVariableName() + " ";
            BpString list(names, true);
            ggraph::report(ggraph::kError, msg::kFilterExcludedAll, {&list});
        } else {
            for (GGraphVariableFilter* filter : data.variableFilters) {
                for (auto const& [value, count] : filter->getValueMatchedMap()) {
                    if (count == 0 && value != "ALL")
                        ggraph::report(ggraph::kWarning, msg::kFilterValueNotFound,
                                       {value, filter->GetVariableName()});
                }
            }
        }
    }
    return totalRows;
}

void GGraphDataSet::populateVDP(unsigned int depth, std::vector<AggregationCategory const*>& categories) {
    auto& data = *d;
    if (depth < data.aggregationVariables.size()) {
        // An empty dimension gives no rows. Combinations no case fell into give none either, so
        // they are passed over early: the walk costs what the cells are, not their cross product.
        std::vector<CubeAggregator*> const aggregators = data.aggregationTable->GetCubeAggregators();
        for (AggregationCategory const* category : data.aggregationVariables[depth]->GetDimension()->GetCategories()) {
            categories.push_back(category);
            if (aggregators.empty() || aggregators.front()->HasCellsUnder(categories)) populateVDP(depth + 1, categories);
            categories.pop_back();
        }
        return;
    }
    std::vector<CubeAggregator*> aggregators = data.aggregationTable->GetCubeAggregators();
    if (aggregators.empty()) return;
    StatValues* values = aggregators.front()->GetStatValues(categories, -1);
    if (values == nullptr) return;
    auto const n = static_cast<unsigned int>(data.statistics.size());
    VarDataProcessor* vdp = data.getCurrVDP();
    if (vdp == nullptr) return;
    bool const transposed = data.isVarsToCases();
    std::string const& source = data.utf8SourceName;

    if (!data.reportMissing) {
        for (std::size_t i = 0; i < categories.size() && i < data.variables.size(); ++i) {
            GGraphVariable const* variable = data.variables[i];
            if (!variable->isString() || variable->getVariableResolver() == nullptr) continue;
            std::string const bytes = categoryBytes(*categories[i]);
            if (bytes.find_first_not_of(' ') == std::string::npos) return;  // a blank category: no row
        }
    }

    for (std::size_t i = 0; i < categories.size() && i < data.variables.size(); ++i) {
        GGraphVariable* variable = data.variables[i];
        VariableResolver* resolver = variable->getVariableResolver();
        AggregationCategory const& category = *categories[i];
        bool const dichotomy = resolver != nullptr && resolver->getVariableType() == VariableResolver::DICHOTOMY_SET;
        if (resolver == nullptr || (!variable->isString() && !dichotomy)) {
            double const value = *category.value;
            variable->setNumericValue(value, data.rowCount);
            if (transposed) {
                for (unsigned int j = 0; j < n; ++j)
                    vdp->SetVariableValue(source, variable->GetVariableUnicodeName(), data.rowCount + j, value);
            }
            continue;
        }
        ChartString text;
        if (dichotomy) {
            // A dichotomy set shows the member variable's name.
            KWEL_Variable const* member = data.dataSource != nullptr ? data.dataSource->GetVariable(category.memberIndex)
                                                                     : nullptr;
            text = XUtility::ChartStringFromLocalCodePage(member != nullptr ? member->GetName() : "");
        } else {
            text = trimmedText(categoryBytes(category));
        }
        text.trimSpaces(false);
        std::string const utf8 = text.toUTF8();
        variable->setStringValue(utf8, data.rowCount);
        if (transposed) {
            for (unsigned int j = 0; j < n; ++j) variable->setStringValue(utf8, data.rowCount + j);
        }
    }

    for (unsigned int j = 0; j < n; ++j) {
        GGraphStatistic const* statistic = data.statistics[j];
        double const value = values->GetStatValue(static_cast<int>(j));
        if (!transposed) {
            vdp->SetVariableValue(source, statistic->GetUnicodeGPLLabel().toUTF8(), data.rowCount, value);
            if (statistic->hasErrorBars()) data.handleErrorBars(categories, j, *vdp, depth - 1, value);
        } else {
            vdp->SetVariableValue(source, data.indexName.toUTF8(), data.rowCount + j, static_cast<double>(j));
            vdp->SetVariableValue(source, data.summaryName.toUTF8(), data.rowCount + j, value);
            if (statistic->hasErrorBars()) data.handleErrorBars(categories, j, *vdp, 0, value);
        }
    }
    data.rowCount += transposed ? n : 1;
}

void GGraphDataSet::GGraphDataSetData::handleErrorBars(std::vector<AggregationCategory const*> categories,
                                                       unsigned int statistic, VarDataProcessor& vdp,
                                                       unsigned int lastVariable, double value) {
    if (statistic >= statistics.size()) return;
    GGraphStatistic const& stat = *statistics[statistic];
    AggregationResult result;
    double const subTotal = calculateSubTotal(categories, lastVariable, statistic, result, stat.hasCountErrorBars());
    ChartString lowLabel = stat.GetUnicodeGPLLowLabel();
    ChartString highLabel = stat.GetUnicodeGPLHighLabel();
    if (!lowName.empty()) lowLabel = lowName;
    if (!highName.empty()) highLabel = highName;
    double low = 0.0, high = 0.0;
    if (!stat.CalculateErrorBarIntervals(value, result, subTotal, low, high)) return;
    unsigned int const row = rowCount + (isVarsToCases() ? statistic : 0);
    vdp.SetVariableValue(utf8SourceName, lowLabel.toUTF8(), row, low);
    vdp.SetVariableValue(utf8SourceName, highLabel.toUTF8(), row, high);
}

double GGraphDataSet::GGraphDataSetData::calculateSubTotal(std::vector<AggregationCategory const*>& categories,
                                                           unsigned int lastVariable, unsigned int statistic,
                                                           AggregationResult& result, bool sumCategories) {
    auto const n = static_cast<int>(statistics.size());
    result = 0.0;
    std::vector<CubeAggregator*> aggregators = aggregationTable->GetCubeAggregators();
    if (aggregators.empty()) return 0.0;
    CubeAggregator* aggregator = aggregators.front();
    double subTotal = 0.0;
    if (StatValues* values = aggregator->GetStatValues(categories, -1)) {
        result = values->GetStatValue(n + 1 + static_cast<int>(statistic));
        subTotal = values->GetStatValue(n);
    }
    if (sumCategories && lastVariable < aggregationVariables.size()) {
        // The cell's own count is in the sum twice, once from above: required as it is.
        for (AggregationCategory const* category : aggregationVariables[lastVariable]->GetDimension()->GetCategories()) {
            categories.at(lastVariable) = category;
            if (StatValues* values = aggregator->GetStatValues(categories, -1)) subTotal += values->GetStatValue(n);
        }
    }
    return subTotal;
}
