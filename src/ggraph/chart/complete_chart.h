#pragma once
// Brings a chart document into step with the command's data sets: labels, short labels,
// creators, chart statistics, number formats and value relabels of its variables, and the
// document's label, templates, CSV files and fit lines.

#include <vector>

class AggregationStatistic;
class FacSTDictionary;
class GGraphDataSet;
class GGraphSettings;
class GGraphVariable;
class GraphSpec;
class RelabelString;
class XDocument;
class XGraph;
class XVariable;

class CompleteChart {
public:
    CompleteChart() = default;

    bool Complete(XDocument* document, GGraphSettings& settings, GraphSpec& spec,
                  FacSTDictionary* dictionary, RelabelString& relabel);
    bool UpdateVariables(XDocument& document, std::vector<GGraphDataSet*>& dataSets,
                         FacSTDictionary* dictionary, RelabelString& relabel, bool apply);
    void UpdateVariable(XVariable& x, GGraphVariable* v, FacSTDictionary* dictionary, bool apply);
    void setStatistic(AggregationStatistic* statistic, XVariable& x);
    void UpdateTransposedChart(GGraphDataSet* dataSet, FacSTDictionary* dictionary, XGraph& graph);
};
