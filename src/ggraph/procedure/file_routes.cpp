#include "ggraph/procedure/file_routes.h"

#include <string>

#include "ggraph/model/graph_spec.h"
#include "ggraph/procedure/chart_document_route.h"
#include "ggraph/procedure/report.h"
#include "platform/chart.h"
#include "platform/client.h"
#include "platform/lume.h"
#include "platform/messages.h"

namespace ggraph {
namespace {

constexpr char kNoAccess[] = "File ^1 has no access...";

void reportNoAccess(std::string const& name) { report(kWarning, kNoAccess, {name}); }

// The output's label: the LABEL of the GRAPHSPEC, or the table's text for "Graph".
ChartString outputLabel(RouteContext& context, GraphSpec& spec) {
    std::string label = spec.GetOutputLabel();
    if (label.empty()) label = context.dictionary->LookUp("Graph");
    return XUtility::ChartStringFromLocalCodePage(label);
}

void attachStyleSheet(XDocument& document, XViZTemplate& styleSheet) {
    if (styleSheet.styleSheetName().empty()) return;
    std::string unused, contents;
    if (styleSheet.convert(unused, contents)) document.setStyleSheet(styleSheet.styleSheetName(), contents);
}

}  // namespace

RouteResult runGplFileRoute(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet) {
    std::string const text = FetchFile().fetch(spec.GetGPLFile(), true, true);
    if (text.empty()) {
        reportNoAccess(spec.GetGPLFile());
        return RouteResult::Next;
    }
    auto* document = new XDocument(text, true, true);
    attachStyleSheet(*document, styleSheet);
    // The command's colours, frames and gridlines belong to inline charts alone.
    return completeAndSend(context, spec, document);
}

RouteResult runVizmlFileRoute(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet) {
    std::string const text = FetchFile().fetch(spec.GetViZmlFile(), true, true);
    if (text.empty()) {
        reportNoAccess(spec.GetViZmlFile());
        return RouteResult::Next;
    }
    auto* document = new XDocument(text);
    attachStyleSheet(*document, styleSheet);
    return completeAndSend(context, spec, document);
}

RouteResult runVizJsonFileRoute(RouteContext& context, GraphSpec& spec) {
    xLume lume;
    if (!lume.setViZJSON(spec.GetViZJSONFile())) {
        reportNoAccess(spec.GetViZJSONFile());
        return RouteResult::Next;
    }
    ChartString const label = outputLabel(context, spec);
    lume.SetDescription(label.xc_str());
    lume.sendChart();
    return RouteResult::Next;
}

RouteResult runVizJsonTemplateRoute(RouteContext& context, GraphSpec& spec) {
    xLume lume;
    // GEOJSONFILE sources without a VIZJSONTEMPLATE end here, with an empty name.
    std::string const text = FetchFile().fetch(spec.GetViZJSONTemplate(), true, true);
    if (text.empty()) {
        reportNoAccess(spec.GetViZJSONTemplate());
        return RouteResult::Next;
    }
    lume.setViZJSONTemplate(text);
    // A GeoJSON file that can't be read is reported and passed over; the chart goes out anyway.
    for (unsigned long i = 0; i < spec.getNumGeoJSONFiles(); ++i)
        if (!lume.addGeoJSON(spec.getGEOJSONFile(i)))
            reportNoAccess(spec.getGEOJSONFile(i));
    ChartString const label = outputLabel(context, spec);
    lume.SetDescription(label.xc_str());
    lume.sendChart();
    return RouteResult::Next;
}

RouteResult runImageFileRoute(RouteContext& context, GraphSpec& spec) {
    std::string const content = FetchFile().fetch(spec.GetImageFile(), true, true);
    if (content.empty()) {
        reportNoAccess(spec.GetImageFile());
        return RouteResult::Next;
    }
    XImage image;
    // The type is always the GRAPHSPEC's default: IMAGEFORMAT is checked, never stored.
    image.setImageInline(spec.getImageType(), content);
    ChartString const label = outputLabel(context, spec);
    image.SetDescription(label.xc_str());
    image.sendImage();
    return RouteResult::Next;
}

RouteResult runPmmlFileRoute(RouteContext& context, GraphSpec& spec) {
    std::string const names = spec.GetPMMLFile();
    // The first comma parts two names; a further comma belongs to the second, no blanks trimmed.
    std::size_t const comma = names.find(',');
    bool const two = comma != std::string::npos;
    FetchFile fetcher;
    std::string const first = fetcher.fetch(two ? names.substr(0, comma) : names, true, true);
    std::string const second = two ? fetcher.fetch(names.substr(comma + 1), true, true) : std::string();
    if (first.empty() || (two && second.empty())) {
        reportNoAccess(names);
        return RouteResult::Next;
    }
    MessageHandler message;
    message.setMessageType(IPC_PMML);
    message.addMessageContents(outputLabel(context, spec).toUTF8(), 0, false);
    if (two) {
        message.addMessageContents(first, 3, true);
        message.addMessageContents(second, 4, true);
    } else {
        message.addMessageContents(first, 1, true);
    }
    message.sendMessage();
    return RouteResult::Next;
}

}  // namespace ggraph
