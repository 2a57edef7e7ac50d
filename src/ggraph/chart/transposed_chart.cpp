// The variables of a transposed chart (TRANSFORM=VARSTOCASES): the summary, the index that says
// which statistic or variable a row belongs to, and the ends of the error bars.
#include <string>
#include <vector>

#include "ggraph/chart/complete_chart.h"
#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "platform/aggregation.h"
#include "platform/chart.h"
#include "platform/dictionary.h"
#include "platform/messages.h"

namespace {

constexpr int kDurationFormat = 0x19000C;

// A variable's dictionary label, or its name when it has none; empty without a variable.
ChartString displayText(KWEL_Variable const* variable) {
    if (variable == nullptr) return ChartString();
    char const* label = variable->GetLabel();
    return XBaseElement::ChartStringFromLocalCodePage(label != nullptr ? label : variable->GetName());
}

// What the stacked statistics have in common.
struct Common {
    KWEL_Variable* variable = nullptr;
    int code = 0;
    ChartString prefix, suffix;
    int digits = 0;
    bool duration = false;
    bool sameVariable = true;
    bool sameStatistic = true;
};

Common commonOf(std::vector<GGraphStatistic*> const& statistics) {
    Common c;
    if (statistics.empty()) return c;
    GGraphStatistic* first = statistics.front();
    c.variable = first->GetSummaryVariable();
    c.code = first->GetAggregationStatistic()->GetSummaryStatistic();
    c.prefix = first->getPrefix();
    c.suffix = first->getSuffix();
    c.digits = first->getMinFractionDigits();
    c.duration = first->useDTIME();
    for (std::size_t i = 1; i < statistics.size(); ++i) {
        GGraphStatistic* s = statistics[i];
        if (s->GetSummaryVariable() != c.variable) c.sameVariable = false;
        if (s->GetAggregationStatistic()->GetSummaryStatistic() != c.code) c.sameStatistic = false;
        if (s->getMinFractionDigits() != c.digits) c.digits = 0;
        if (!s->getPrefix().equals(c.prefix)) c.prefix.clear();
        if (!s->getSuffix().equals(c.suffix)) c.suffix.clear();
        if (s->useDTIME() != c.duration) c.duration = false;
    }
    return c;
}

void applyFormat(XVariable& x, Common const& c) {
    if (c.digits < 0) {
        if (c.duration) x.setFormat(kDurationFormat);
        else if (c.variable != nullptr) x.setFormatBasedOnKWELVariable(*c.variable);
        return;
    }
    x.SetNumberFormat(static_cast<unsigned long>(c.digits), true, c.prefix.xc_str(), c.suffix.xc_str());
}

ChartString lookUp(FacSTDictionary* dictionary, char const* key) {
    return XBaseElement::ChartStringFromOLANG(dictionary->LookUp(key, 0));
}

}  // namespace

void CompleteChart::UpdateTransposedChart(GGraphDataSet* dataSet, FacSTDictionary* dictionary,
                                          XGraph& graph) {
    std::vector<GGraphStatistic*> const statistics = dataSet->GetStatistics();
    Common common = commonOf(statistics);
    ChartString summaryName, indexName, lowName, highName;
    dataSet->getTransposedNames(summaryName, indexName, lowName, highName);

    try {
        XVariable summary = graph.getVariable(summaryName, 0);
        XVariable index = graph.getVariable(indexName, 0);
        for (GGraphStatistic* s : statistics) setStatistic(s->GetAggregationStatistic(), summary);
        summary.setCreator(XVariable::CREATOR_ORDINARY);
        index.setCreator(XVariable::CREATOR_ORDINARY);
        ChartString const variablesText = lookUp(dictionary, "Variables");
        ChartString const statisticsText = lookUp(dictionary, "Statistics");
        ChartString const valueText = lookUp(dictionary, "E60801");

        if (common.sameStatistic) {
            // One function for all: it names the values, the variables name the index.
            summary.setLabel(statistics.empty()
                                 ? valueText
                                 : XBaseElement::ChartStringFromLocalCodePage(
                                       statistics.back()->GetSummaryFunctionLabel()));
            index.setLabel(common.sameVariable && common.variable != nullptr ? displayText(common.variable)
                                                                             : variablesText);
            for (std::size_t i = 0; i < statistics.size(); ++i) {
                common.variable = statistics[i]->GetSummaryVariable();
                index.addRelabel(static_cast<unsigned>(i), displayText(common.variable).xc_str());
            }
            if (!dataSet->IsDataSetAggregated() && dataSet->isTransposed()) {
                unsigned n = 0;
                for (GGraphVariable* v : dataSet->GetVariables()) {
                    if (v->isCaseNumVariable()) continue;
                    index.addRelabel(n++, XBaseElement::ChartStringFromLocalCodePage(v->GetKWELLabel()).xc_str());
                }
            }
        } else if (common.sameVariable) {
            // One variable for all: it names the values, the functions name the index.
            if (common.variable != nullptr) summary.setLabel(displayText(common.variable));
            index.setLabel(statisticsText);
            for (std::size_t i = 0; i < statistics.size(); ++i) {
                index.addRelabel(static_cast<unsigned>(i),
                                 XBaseElement::ChartStringFromLocalCodePage(
                                     statistics[i]->GetSummaryFunctionLabel())
                                     .xc_str());
            }
        } else {
            summary.setLabel(valueText);
            index.setLabel(variablesText);
            for (std::size_t i = 0; i < statistics.size(); ++i) {
                ChartString label;
                label.assignUTF8(statistics[i]->GetSummaryVariableLabel());
                index.addRelabel(static_cast<unsigned>(i), label.xc_str());
            }
        }
        applyFormat(summary, common);
    } catch (...) {
        // A chart without the summary or index variable goes on to the error bars.
    }

    try {
        XVariable low = graph.getVariable(lowName, 0);
        XVariable high = graph.getVariable(highName, 0);
        low.setCreator(XVariable::CREATOR_ORDINARY);
        high.setCreator(XVariable::CREATOR_ORDINARY);
        applyFormat(low, common);
        applyFormat(high, common);
    } catch (...) {
        // A chart without error bars ends here.
    }
}
