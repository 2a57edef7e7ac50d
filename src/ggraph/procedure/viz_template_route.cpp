#include "ggraph/procedure/viz_template_route.h"

#include <string>
#include <vector>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/model/viz_template_mapping.h"
#include "ggraph/procedure/chart_document_route.h"
#include "ggraph/variables/ggraph_variable.h"
#include "platform/chart.h"
#include "platform/client.h"
#include "platform/viz_template.h"

namespace ggraph {
namespace {

// The marker under which the case weight reaches the template service, and the system
// variable that carries it.
constexpr char kWeightSlot[] = "dupRa6ej";
constexpr char kWeightVariable[] = "$WEIGHT";

// The command's mappings and one weight mapping for each weighted data set.
std::vector<ViZTemplateMapping> mappingsWithWeights(RouteContext& context, GraphSpec& spec) {
    std::vector<ViZTemplateMapping> mappings = spec.GetVIZTemplateMappings();
    if (!context.observer) return mappings;
    for (GGraphDataSet* dataSet : context.observer->getDataSets()) {
        std::vector<GGraphVariable*> const variables = dataSet->GetVariables();
        for (GGraphVariable const* variable : variables) {
            if (!variable->isWeightVariable()) continue;
            ViZTemplateMapping weight;
            weight.mappingKey = kWeightSlot;
            weight.mappingValue = kWeightVariable;
            weight.dataSetName = dataSet->GetSourceName();
            weight.categorical = false;
            weight.weightMapping = true;
            mappings.push_back(weight);
            break;
        }
    }
    return mappings;
}

void addMapping(XViZTemplate& converter, ViZTemplateMapping& m) {
    std::vector<std::string const*> names, labels, labelingVariables;
    for (MRChildren const& child : m.mrChildren) {
        names.push_back(&child.childName);
        labels.push_back(&child.childLabel);
        labelingVariables.push_back(&child.childLabelingVariable);
    }
    XViZTemplate::VARIABLE_TYPE type = XViZTemplate::VARIABLE_SINGLE;
    if (!m.mrSetName.empty())
        type = m.multipleCategories ? XViZTemplate::VARIABLE_CATEGORY_SET : XViZTemplate::VARIABLE_DICHOTOMY_SET;
    converter.addVariable(m.mappingKey, m.mappingValue, m.categorical, m.labelingVariable, m.dataSetName,
                          m.hasFormat ? &m.format : nullptr, m.variableLabel.c_str(), type, m.mrSetName.c_str(),
                          m.weightMapping, &m.countedValue, m.enhancedDichotomy, names, labels,
                          labelingVariables);
}

// The maps go to the converter; the reference map takes the data map's location and folder.
void nameMaps(XViZTemplate& converter, GraphSpec& spec) {
    if (!spec.hasViZMap() && !spec.hasViZRefMap()) return;
    std::string folder;
    XViZTemplate::LOCATION location = spec.GetViZMapLocation(folder);
    converter.setDataMapName(spec.GetVIZMap(), location);
    converter.setDataMapOrelDirectory(folder);
    std::string refFolder;
    XViZTemplate::LOCATION refLocation = spec.GetViZMapLocation(refFolder);
    converter.setRefMapName(spec.GetVIZRefMap(), refLocation);
    converter.setRefMapOrelDirectory(refFolder);
    converter.setMapKey(spec.getAttribute());
    converter.setShowAllFeatures(spec.getShowAllFeatures());
}

// A map file is fetched for a file location; the converter has the contents of the others.
void attachMaps(XDocument& document, XViZTemplate& converter, GraphSpec& spec) {
    std::string unused;
    if (spec.hasViZMap()) {
        std::string const name = converter.getDataMapName().toUTF8();
        if (spec.GetViZMapLocation(unused) == XViZTemplate::LOCATION_FILE)
            document.setVIZMap(name, FetchFile().fetch(converter.getDataMapFileName(), true, true));
        else
            document.setVIZMap(name, converter.getDataMapContents());
    }
    if (spec.hasViZRefMap()) {
        std::string const name = converter.getRefMapName().toUTF8();
        if (spec.GetViZRefMapLocation(unused) == XViZTemplate::LOCATION_FILE)
            document.setVIZRefMap(name, FetchFile().fetch(converter.getRefMapFileName(), true, true));
        else
            document.setVIZRefMap(name, converter.getRefMapContents());
    }
}

}  // namespace

RouteResult runVizTemplateRoute(RouteContext& context, GraphSpec& spec) {
    XDocument* document = nullptr;
    {
        XViZTemplate converter;
        ChartString name;
        name.assignUTF8(spec.GetVIZTemplate());
        std::string folder;
        XViZTemplate::LOCATION location = spec.GetViZTemplateLocation(folder);
        converter.setTemplateName(name, location);
        converter.setTemplateOrelDirectory(folder);

        std::vector<ViZTemplateMapping> mappings = mappingsWithWeights(context, spec);
        for (ViZTemplateMapping& mapping : mappings) addMapping(converter, mapping);

        std::string styleFolder;
        XViZTemplate::LOCATION styleLocation = spec.GetViZStyleSheetLocation(styleFolder);
        converter.setstyleSheetName(spec.GetVIZStyleSheet(), styleLocation);
        converter.setStyleSheetOrelDirectory(styleFolder);
        nameMaps(converter, spec);

        std::string chartXml, styleSheet;
        // The service reports why a template gives no chart; nothing more is said here.
        if (!converter.convert(chartXml, styleSheet) || chartXml.empty()) return RouteResult::Next;
        document = new XDocument(chartXml);
        document->setStyleSheet(spec.GetVIZStyleSheet(), styleSheet);
        document->setEditor(XDocument::EDITOR_TEMPLATE);
        attachMaps(*document, converter, spec);
    }
    return completeAndSend(context, spec, document);
}

}  // namespace ggraph
