#include "ggraph/procedure/chart_document_route.h"

#include <memory>
#include <string>
#include <vector>

#include "ggraph/chart/complete_chart.h"
#include "ggraph/data/ggraph_data_observer.h"
#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/model/ggraph_settings.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/procedure/report.h"
#include "platform/chart.h"
#include "platform/var_data_processor.h"
#include "platform/viz_template.h"

namespace ggraph {
namespace {

constexpr char kDataSetMissing[] =
    "A graph specification refers to graph data set ^1, but graph data set ^2 does not exist.";
constexpr char kMixedSplits[] =
    "Can not mix graph data sets if one graph data set has a split file active.";

ChartString fromUtf8(std::string const& text) {
    ChartString result;
    result.assignUTF8(text);
    return result;
}

// Binds the chart's source to the data set's handle when the rows have a source.
void bindHandle(XDocument& document, VarDataProcessor& data, GGraphDataSet const& dataSet) {
    std::vector<std::string> sources;
    if (data.GetSourceNames(sources) > 0)
        document.SetDataHandle(fromUtf8(sources.front()), fromUtf8(dataSet.GetDataSetHandle()));
}

void sendUnsplit(XDocument& document, std::vector<GGraphDataSet*> const& dataSets) {
    VarDataProcessor* merged = nullptr;
    for (GGraphDataSet* dataSet : dataSets) {
        dataSet->resetData();
        VarDataProcessor* data = dataSet->getData();
        if (data == nullptr) continue;
        bindHandle(document, *data, *dataSet);
        // The others join the first, in place; nothing undoes the merge.
        if (merged != nullptr) merged->AddVDP(*data);
        else merged = data;
    }
    document.SetChartData(merged);
    document.Send(true, false, false);
}

void sendSplit(XDocument& document, GraphSpec& spec, GGraphDataSet& dataSet) {
    XGraph& graph = *document.getGraph();
    bool const ownSubtitle = graph.doesSubTitleExist();
    std::string const description = document.GetDescription().toUTF8();
    GraphSpec::SOURCE const source = spec.getSource();
    // No resetData here: split data is read once, and a later specification on the same data
    // set gets no chart. Intended.
    bool later = false;
    for (VarDataProcessor* data = dataSet.getData(); data != nullptr; data = dataSet.getData()) {
        document.SetChartData(data);
        bindHandle(document, *data, dataSet);
        std::string label = spec.GetOutputLabel().empty() ? description : spec.GetOutputLabel();
        std::string subtitle;
        auto const& names = dataSet.getSplitNames();
        auto const& labels = dataSet.getSplitLabels();
        auto const& categories = dataSet.getSplitCategories();
        bool const replaceSubtitle = !ownSubtitle || source == GraphSpec::SOURCE_VIZMLFILE;
        if (!names.empty()) label += " ";
        for (std::size_t i = 0; i < names.size(); ++i) {
            std::string const category = i < categories.size() ? categories[i] : std::string();
            label += "; " + names[i] + " = " + category;
            if (replaceSubtitle) {
                if (i > 0) subtitle += ", ";
                subtitle += (i < labels.size() ? labels[i] : names[i]) + ": " + category;
            }
        }
        document.SetDescription(XUtility::ChartStringFromLocalCodePage(label).xc_str());
        if ((!ownSubtitle && source != GraphSpec::SOURCE_VIZTEMPLATE) ||
            source == GraphSpec::SOURCE_VIZMLFILE)
            graph.SetSubTitle(XUtility::ChartStringFromLocalCodePage(subtitle).xc_str());
        document.Send(true, later, false);
        later = true;
    }
}

}  // namespace

XDocument* makeInlineDocument(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet) {
    auto* document = new XDocument(spec.GetGPLSpecification(), true, true);
    if (!styleSheet.styleSheetName().empty()) {
        std::string unused, contents;
        // Without a converted style sheet the chart goes out without it.
        if (styleSheet.convert(unused, contents)) document->setStyleSheet(styleSheet.styleSheetName(), contents);
    }
    GGraphSettings& settings = *context.settings;
    // The command's own positions are not passed on: COLOR3 and COLOR7 become 1 and 2.
    int position = 1;
    for (auto const& color : settings.GetColorSpecs())
        document->AddColorSpec(XDocument::ColorSpec(position++, color.red, color.green, color.blue));
    document->SetOuterFrame(static_cast<XDocument::TEMPL_PARAM_ACT>(settings.GetOuterFrame()));
    document->SetInnerFrame(static_cast<XDocument::TEMPL_PARAM_ACT>(settings.GetInnerFrame()));
    document->SetXAxisGridlines(static_cast<XDocument::TEMPL_PARAM_ACT>(settings.GetXAxisGridlines()));
    document->SetYAxisGridlines(static_cast<XDocument::TEMPL_PARAM_ACT>(settings.GetYAxisGridlines()));
    return document;
}

RouteResult completeAndSend(RouteContext& context, GraphSpec& spec, XDocument* document) {
    // An unmade document is passed over in silence. The route's document ends here on every way
    // out.
    std::unique_ptr<XDocument> owned(document);
    if (document == nullptr || !document->implementationExists()) return RouteResult::Next;
    CompleteChart completer;
    (void)completer.Complete(document, *context.settings, spec, context.dictionary, *context.relabel);

    std::vector<std::string> const sources = document->getGraph()->getUserSourceNames();
    if (sources.empty()) {
        // The chart carries its data in itself.
        document->Send(true, false, false);
        return RouteResult::Next;
    }
    if (context.observer == nullptr) {
        report(kError, kDataSetMissing, {sources.front(), sources.front()});
        return RouteResult::EndWalk;
    }
    std::vector<GGraphDataSet*> dataSets;
    for (std::string const& source : sources) {
        GGraphDataSet* dataSet = context.observer->getDataSet(source);
        if (dataSet == nullptr) {
            report(kError, kDataSetMissing, {source, source});
            break;
        }
        dataSets.push_back(dataSet);
    }
    // With the first source missing there is nothing to send.
    if (dataSets.empty()) return RouteResult::Next;
    bool const split = dataSets.front()->containsSplits();
    for (std::size_t i = 1; i < dataSets.size(); ++i) {
        if (dataSets[i]->containsSplits() != split) report(kError, kMixedSplits);
    }
    if (split) sendSplit(*document, spec, *dataSets.front());
    else sendUnsplit(*document, dataSets);
    return RouteResult::Next;
}

}  // namespace ggraph
