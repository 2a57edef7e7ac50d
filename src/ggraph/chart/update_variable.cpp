// One chart variable brought into step with the variable or statistic behind it.
#include <string>

#include "ggraph/chart/complete_chart.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/aggregation.h"
#include "platform/chart.h"
#include "platform/dictionary.h"
#include "platform/messages.h"

using Codes = TableEncryptionCodes;

void CompleteChart::UpdateVariable(XVariable& x, GGraphVariable* v, FacSTDictionary* dictionary,
                                   bool apply) {
    if (v->isCaseNumVariable()) {
        x.setLabel(XBaseElement::ChartStringFromOLANG(dictionary->LookUp("Case Number", 0)));
        x.setCreator(XVariable::CREATOR_SYSTEM);
    } else if (v->isWeightVariable()) {
        x.setLabel(XBaseElement::ChartStringFromOLANG(dictionary->LookUp("Weight", 0)));
        x.setCreator(XVariable::CREATOR_SYSTEM);
        x.setCategorical(false);
    } else if (!apply) {
        return;  // not even value relabels
    } else {
        // A label the GPL gave is kept.
        if (x.getLabel().empty()) x.setLabel(XBaseElement::ChartStringFromLocalCodePage(v->GetKWELLabel()));
        x.setShortLabel(XBaseElement::ChartStringFromLocalCodePage(v->GetKWELName()));
        x.setCreator(XVariable::CREATOR_ORDINARY);
        VariableResolver* resolver = v->getVariableResolver();
        if (!x.doesFormatExist() && resolver != nullptr && resolver->getKWELVariable() != nullptr)
            x.setFormatBasedOnKWELVariable(*resolver->getKWELVariable());
    }

    VariableResolver* resolver = v->getVariableResolver();
    if (!x.getCategorical() || resolver == nullptr) return;
    int const type = resolver->getVariableType();
    if (type == 1) {
        KWEL_Variable* k = resolver->getKWELVariable();
        if (k == nullptr) return;
        x.setKWELVariable(*k);
        KWEL_ValueLabelMap labels = k->GetValueLabels();
        labels.Reset();
        OBS const* cell = nullptr;
        char const* text = nullptr;
        while (labels.GetNextPair(cell, text) != 0) {
            if (text == nullptr) continue;
            ChartString label = XBaseElement::ChartStringFromLocalCodePage(text);
            if (!v->isString()) {
                x.addRelabel(*cell, label.xc_str());
                continue;
            }
            std::string value(reinterpret_cast<char const*>(cell), resolver->getStringLength());
            while (!value.empty() && value.back() == ' ') value.pop_back();
            x.addRelabel(XBaseElement::ChartStringFromLocalCodePage(value).xc_str(), label.xc_str());
        }
    } else if (type == 2 || type == 3) {
        for (auto const& record : resolver->getMRSetRelabelData()) {
            ChartString key, label;
            if (type == 2) key.assignDouble(record.value, 16);
            else key.assignUTF8(record.name);
            label.assignUTF8(record.label);
            x.addRelabel(key.xc_str(), label.xc_str());
        }
    }
}

namespace {

struct StatisticMapping {
    int code;
    XVariable::ENUM_statistic chart;
    // Which parameters go to the chart: none, the lower limit as a, the two limits as b and c,
    // or the cut point as a; and the flag of the grouped statistics.
    enum { kNone, kLowerAsA, kLimitsAsBC, kCutPointAsA } arguments;
    bool flag;
};

// PTILE reads the lower limit while GPTILE reads the cut point: intended, not to be tidied.
constexpr StatisticMapping kMappings[] = {
    {Codes::STAT_COUNT, XVariable::STAT_COUNT, StatisticMapping::kNone, false},
    {Codes::STAT_RESPONSES, XVariable::STAT_COUNT, StatisticMapping::kNone, false},
    {Codes::STAT_PCTRESPONSES, XVariable::STAT_COUNT, StatisticMapping::kNone, false},
    {Codes::STAT_MEAN, XVariable::STAT_MEAN, StatisticMapping::kNone, false},
    {Codes::STAT_MEDIAN, XVariable::STAT_MEDIAN, StatisticMapping::kNone, false},
    {Codes::STAT_MODE, XVariable::STAT_MODE, StatisticMapping::kNone, false},
    {Codes::STAT_SUM, XVariable::STAT_SUM, StatisticMapping::kNone, false},
    {Codes::STAT_STDDEV, XVariable::STAT_SD, StatisticMapping::kNone, false},
    {Codes::STAT_VARIANCE, XVariable::STAT_VARIANCE, StatisticMapping::kNone, false},
    {Codes::STAT_MINIMUM, XVariable::STAT_MIN, StatisticMapping::kNone, false},
    {Codes::STAT_MAXIMUM, XVariable::STAT_MAX, StatisticMapping::kNone, false},
    {Codes::STAT_PCT_GT, XVariable::STAT_PCT_GT, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_PCT_LT, XVariable::STAT_PCT_LT, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_PTILE, XVariable::STAT_PTILE, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_N_GT, XVariable::STAT_N_GT, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_N_LT, XVariable::STAT_N_LT, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_PCT_IN, XVariable::STAT_PCT_IN, StatisticMapping::kLimitsAsBC, false},
    {Codes::STAT_N_IN, XVariable::STAT_N_IN, StatisticMapping::kLimitsAsBC, false},
    {Codes::STAT_GMEDIAN, XVariable::STAT_GMEDIAN, StatisticMapping::kLowerAsA, true},
    {Codes::STAT_GPTILE, XVariable::STAT_GPTILE, StatisticMapping::kCutPointAsA, true},
    {Codes::STAT_PCT_LE, XVariable::STAT_PCT_LE, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_N_LE, XVariable::STAT_N_LE, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_PCT_GE, XVariable::STAT_PCT_GE, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_N_GE, XVariable::STAT_N_GE, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_PCT_EQ, XVariable::STAT_PCT_EQ, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_N_EQ, XVariable::STAT_N_EQ, StatisticMapping::kLowerAsA, false},
    {Codes::STAT_VALIDN, XVariable::STAT_VALIDN, StatisticMapping::kNone, false},
};

}  // namespace

void CompleteChart::setStatistic(AggregationStatistic* statistic, XVariable& x) {
    if (statistic == nullptr) return;
    int const code = statistic->GetSummaryStatistic();
    for (StatisticMapping const& m : kMappings) {
        if (m.code != code) continue;
        double a = 0, b = 0, c = 0;
        switch (m.arguments) {
            case StatisticMapping::kNone: break;
            case StatisticMapping::kLowerAsA: a = statistic->GetLowerLimit(); break;
            case StatisticMapping::kLimitsAsBC:
                b = statistic->GetLowerLimit();
                c = statistic->GetUpperLimit();
                break;
            case StatisticMapping::kCutPointAsA: a = statistic->GetPTileCutPoint(); break;
        }
        x.setStatistic(m.chart, a, b, c, m.flag);
        return;
    }
    // Any other code, CASEVALUE among them, leaves the variable as it is.
}
