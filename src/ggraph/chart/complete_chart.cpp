#include "ggraph/chart/complete_chart.h"

#include <exception>
#include <string>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/model/ggraph_settings.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/procedure/report.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/relabel_string.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/chart.h"
#include "platform/dictionary.h"
#include "platform/host_procedure.h"
#include "platform/messages.h"

namespace {

constexpr char kInfiniteErrorBars[] = "Infinite error bars have been removed from the chart...";
constexpr char kTotalFit[] = "<addFitLine rsquared=\"true\" target=\"pair\" type=\"linear\"/>";
constexpr char kSubgroupFit[] = "<addFitLine rsquared=\"true\" target=\"subgroup\" type=\"linear\"/>";
// The day-and-time format, which durations are shown in.
constexpr int kDurationFormat = 0x19000C;

ChartString fromLocal(std::string const& text) { return XUtility::ChartStringFromLocalCodePage(text); }
ChartString fromUtf8(std::string const& text) {
    ChartString result;
    result.assignUTF8(text);
    return result;
}

// The number format of a statistic's chart variable; a negative digit count means the format
// comes from the duration format or from the summarised variable.
void applyNumberFormat(XVariable& x, int digits, bool duration, KWEL_Variable const* variable,
                       ChartString const& prefix, ChartString const& suffix) {
    if (digits < 0) {
        if (duration) x.setFormat(kDurationFormat);
        else if (variable != nullptr) x.setFormatBasedOnKWELVariable(*variable);
        return;
    }
    x.SetNumberFormat(static_cast<unsigned long>(digits), true, prefix.xc_str(), suffix.xc_str());
}

}  // namespace

bool CompleteChart::Complete(XDocument* document, GGraphSettings& settings, GraphSpec& spec,
                             FacSTDictionary* dictionary, RelabelString& relabel) {
    if (!document->implementationExists()) return false;

    ChartString label = fromLocal(spec.GetOutputLabel());
    if (label.empty()) label = XUtility::ChartStringFromOLANG(dictionary->LookUp("Graph", 0));
    document->SetDescription(label.xc_str());
    if (!spec.getEditable()) document->setEditable(XDocument::EDITABLE_NO);

    bool const apply = spec.getApplyDefaultTemplates();
    if (!apply) {
        document->setNoDefaultTemplates(1);
    } else {
        for (std::string const& file : spec.GetTemplates()) document->addTemplateFile(&file);
        ChartString owner = fromLocal("GGRAPH");
        document->setDefaultTemplateOwner(owner.xc_str());
    }
    for (std::string const& file : settings.GetCSVFiles()) document->addCSVFile(&file);

    std::vector<GGraphDataSet*>& aggregated = settings.GetAggregatedDataSets();
    std::vector<GGraphDataSet*>& unaggregated = settings.GetUnAggregatedDataSets();
    UpdateVariables(*document, aggregated, dictionary, relabel, apply);
    UpdateVariables(*document, unaggregated, dictionary, relabel, apply);

    // Domains are brought up to date after all relabels are in.
    document->getGraph()->UpdateCategoricalDomains();
    document->getGraph()->copyVariableFormats();

    std::string const totalFit = kTotalFit, subgroupFit = kSubgroupFit;
    if (settings.hasTotalFit()) document->addInlineTemplate(&totalFit);
    if (settings.hasSubgroupFit()) document->addInlineTemplate(&subgroupFit);
    // The user's inline templates come after the fit lines.
    for (std::string const& xml : spec.GetInlineTemplates()) document->addInlineTemplate(&xml);
    return true;
}

bool CompleteChart::UpdateVariables(XDocument& document, std::vector<GGraphDataSet*>& dataSets,
                                    FacSTDictionary* dictionary, RelabelString& relabel, bool apply) {
    XGraph& graph = *document.getGraph();
    bool result = false;
    for (GGraphDataSet* dataSet : dataSets) {
        ChartString const source = fromLocal(dataSet->GetSourceName());
        if (!graph.doesSourceExist(source)) continue;

        if (dataSet->isTransposed()) {
            UpdateTransposedChart(dataSet, dictionary, graph);
            result = true;
        } else if (apply) {
            std::vector<GGraphStatistic*> statistics = dataSet->GetStatistics();
            for (GGraphStatistic* s : statistics) {
                try {
                    XVariable x = graph.getVariable(s->GetUnicodeGPLLabel(), 0);
                    result = true;
                    x.setLabel(fromUtf8(s->GetSummaryVariableLabel()));
                    x.setCreator(XVariable::CREATOR_ORDINARY);
                    setStatistic(s->GetAggregationStatistic(), x);

                    KWEL_Variable* var = s->GetSummaryVariable();
                    ChartString prefix, suffix;
                    int digits = 0;
                    if (!x.doesFormatExist() && var != nullptr) {
                        digits = s->getMinFractionDigits();
                        prefix = s->getPrefix();
                        suffix = s->getSuffix();
                        applyNumberFormat(x, digits, s->useDTIME(), var, prefix, suffix);
                    }

                    if (s->IsCaseValueStatistic()) {
                        double value = 0.0;
                        std::string caseText, labelText;
                        for (unsigned n = 0; relabel.getCaseValueRelabelContent(
                                 s->GetSummaryVariableIndex(), n, value, caseText, labelText);
                             ++n) {
                            ChartString text = fromLocal(caseText);
                            text.trimSpaces(true);
                            if (text.empty()) text.append(u" ");
                            ChartString key;
                            key.assignDouble(value, 16);
                            x.addRelabel(key.xc_str(), text.xc_str());
                            // A value label replaces the case's text.
                            if (!labelText.empty()) x.addRelabel(key.xc_str(), fromLocal(labelText).xc_str());
                        }
                    }

                    if (s->hasErrorBars()) {
                        if (s->isErrorBarInfinite()) ggraph::report(ggraph::kWarning, kInfiniteErrorBars);
                        try {
                            ChartString lowName, highName;
                            if (!dataSet->getTransposeHighLowVarNames(lowName, highName)) {
                                lowName = s->GetUnicodeGPLLowLabel();
                                highName = s->GetUnicodeGPLHighLabel();
                            }
                            ChartString lowLabel, highLabel;
                            s->GetLowHighVariableLabels(lowLabel, highLabel);
                            XVariable low = graph.getVariable(lowName, 0);
                            low.setLabel(lowLabel);
                            low.setCreator(XVariable::CREATOR_ERRORBAR);
                            low.setStatistic(XVariable::STAT_MIN, 0, 0, 0, false);
                            XVariable high = graph.getVariable(highName, 0);
                            high.setLabel(highLabel);
                            high.setCreator(XVariable::CREATOR_ERRORBAR);
                            high.setStatistic(XVariable::STAT_MAX, 0, 0, 0, false);
                            for (XVariable* end : {&low, &high})
                                applyNumberFormat(*end, digits, s->useDTIME(), var, prefix, suffix);
                        } catch (KwelGoToCaller const&) {
                            throw;
                        } catch (...) {
                            // The chart has no error-bar variables: the bars' work ends here.
                        }
                    }
                } catch (KwelGoToCaller const&) {
                    throw;
                } catch (...) {
                    // A statistic the chart does not use: the next one is taken.
                }
            }
        }

        bool weightSeen = false;
        GGraphVariable* weightVariable = nullptr;
        for (GGraphVariable* v : dataSet->GetVariables()) {
            ChartString const name = fromUtf8(v->GetVariableUnicodeName());
            unsigned instance = 0;
            for (;; ++instance) {
                try {
                    XVariable x = graph.getVariable(name, instance);
                    UpdateVariable(x, v, dictionary, apply);
                    result = true;
                    weightSeen = weightSeen || x.isWeightVariable();
                } catch (KwelGoToCaller const&) {
                    throw;
                } catch (...) {
                    break;  // no further instance of the variable in the chart
                }
            }
            if (instance != 0 || !apply) continue;
            if (v->isCaseNumVariable()) {
                XVariable x = graph.addCaseNumberVariable(dataSet->GetSourceName());
                UpdateVariable(x, v, dictionary, true);
            } else if (v->isWeightVariable()) {
                weightVariable = v;
            } else if (dataSet->IsDataSetAggregated() || !dataSet->isTransposed()) {
                VariableResolver* resolver = v->getVariableResolver();
                KWEL_Variable* k = resolver != nullptr ? resolver->getKWELVariable() : nullptr;
                if (k == nullptr) continue;
                bool const categorical = k->GetMeasurementLevel() != MEASURE_SCALE;
                XVariable x = graph.addDataVariable(source, categorical, name);
                UpdateVariable(x, v, dictionary, true);
            }
        }
        // The weight comes last, and not at all when a chart variable already acts as it.
        if (!weightSeen && weightVariable != nullptr) {
            XVariable x = graph.addWeightVariable(dataSet->GetSourceName());
            UpdateVariable(x, weightVariable, dictionary, apply);
        }
        graph.tweakExpressionVars();
    }
    return result;
}
