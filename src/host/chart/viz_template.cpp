// The template service: names and maps for a chart, and the conversion of a template of the
// library into chart XML.
#include "platform/viz_template.h"

#include <fmt/format.h>

#include "host/chart/chart_model.h"
#include "host/chart/template_library.h"
#include "host/files/file_io.h"
#include "host/maps/map_library.h"
#include "host/output/document.h"
#include "platform/chart.h"

namespace {

std::string text(char const* s) {
    return s ? s : "";
}

std::vector<std::string> texts(std::vector<std::string const*> const& list) {
    std::vector<std::string> out;
    for (auto const* s : list) out.push_back(s ? *s : std::string());
    return out;
}

std::optional<host::chart::ChartTemplate> locate(std::string const& name,
                                                 XViZTemplate::LOCATION location,
                                                 std::string const& directory, std::string& error) {
    using host::files::resolve;
    switch (location) {
        case XViZTemplate::LOCATION_FILE:
            return host::chart::readTemplateFile(resolve(name), error);
        case XViZTemplate::LOCATION_REPOSITORY:
            return host::chart::findTemplate(name, resolve(directory), error);
        case XViZTemplate::LOCATION_LOCAL:
            break;
    }
    return host::chart::findTemplate(name, host::chart::templateFolder(), error);
}

}  // namespace

XViZTemplate::XViZTemplate() = default;
XViZTemplate::~XViZTemplate() = default;

void XViZTemplate::setTemplateName(ChartString& name, LOCATION location) {
    templateName_ = name.toUTF8();
    templateLocation_ = location;
}

void XViZTemplate::setTemplateOrelDirectory(std::string const& directory) {
    templateDirectory_ = directory;
}

void XViZTemplate::addVariable(std::string const& key, std::string const& value, bool categorical,
                               std::string labelingVariable, std::string const& dataSetName,
                               KWEL_Format* format, char const* variableLabel, VARIABLE_TYPE type,
                               char const* mrSetName, bool weight, std::string const* countedValue,
                               bool enhancedDichotomy, std::vector<std::string const*> childNames,
                               std::vector<std::string const*> childLabels,
                               std::vector<std::string const*> childLabelingVariables) {
    Binding b;
    b.key = key;
    b.value = value;
    b.categorical = categorical;
    b.labelingVariable = std::move(labelingVariable);
    b.dataSetName = dataSetName;
    b.hasFormat = format != nullptr;
    b.format = format ? *format : 0;
    b.variableLabel = text(variableLabel);
    b.type = type;
    b.mrSetName = text(mrSetName);
    b.weight = weight;
    b.countedValue = countedValue ? *countedValue : std::string();
    b.enhancedDichotomy = enhancedDichotomy;
    b.childNames = texts(childNames);
    b.childLabels = texts(childLabels);
    b.childLabelingVariables = texts(childLabelingVariables);
    bindings_.push_back(std::move(b));
}

void XViZTemplate::setstyleSheetName(std::string const& name, LOCATION location) {
    styleSheetName_ = name;
    styleSheetLocation_ = location;
}

void XViZTemplate::setStyleSheetOrelDirectory(std::string const& directory) {
    styleSheetDirectory_ = directory;
}

void XViZTemplate::setDataMapName(std::string const& name, LOCATION location) {
    dataMap_.name = name;
    dataMap_.location = location;
}
void XViZTemplate::setDataMapOrelDirectory(std::string const& directory) {
    dataMap_.directory = directory;
}
void XViZTemplate::setRefMapName(std::string const& name, LOCATION location) {
    refMap_.name = name;
    refMap_.location = location;
}
void XViZTemplate::setRefMapOrelDirectory(std::string const& directory) {
    refMap_.directory = directory;
}
void XViZTemplate::setMapKey(std::string const& key) {
    mapKey_ = key;
}
void XViZTemplate::setShowAllFeatures(bool show) {
    showAllFeatures_ = show;
}

ChartString XViZTemplate::getDataMapName() const {
    return XUtility::ChartStringFromLocalCodePage(dataMap_.name);
}
ChartString XViZTemplate::getRefMapName() const {
    return XUtility::ChartStringFromLocalCodePage(refMap_.name);
}
std::string XViZTemplate::getDataMapFileName() const {
    return dataMap_.name;
}
std::string XViZTemplate::getRefMapFileName() const {
    return refMap_.name;
}
std::string XViZTemplate::getDataMapContents() const {
    return mapContents(dataMap_);
}
std::string XViZTemplate::getRefMapContents() const {
    return mapContents(refMap_);
}

// A map in a repository folder is the file of that name there; a local map is the map library's
// map of that name (or a GeoJSON file at that path).
std::string XViZTemplate::mapContents(MapName const& map) {
    if (map.name.empty())
        return {};
    if (map.location == LOCATION_LOCAL)
        return host::maps::mapText(map.name);
    if (map.location != LOCATION_REPOSITORY)
        return {};
    auto read = host::files::readFile(host::files::resolve(map.directory) / map.name);
    return read.ok ? read.bytes : std::string();
}

bool XViZTemplate::convert(std::string& first, std::string& second) {
    first.clear();
    second.clear();
    if (templateName_.empty())
        return false;  // a style sheet: nothing to convert here
    auto& out = host::output::current();
    std::string error;
    auto tmpl = locate(templateName_, templateLocation_, templateDirectory_, error);
    if (!tmpl) {
        out.addMessage(
            3, fmt::format("The template \"{}\" cannot be used: {}.", templateName_, error));
        return false;
    }
    std::vector<host::chart::SlotFill> fills;
    for (auto const& b : bindings_) {
        if (b.dataSetName.empty()) {
            // The command has no graph data set for the mapping to name.
            out.addMessage(3, fmt::format("The template \"{}\" has no data to draw: the variable "
                                          "{} of its slot \"{}\" is in no GRAPHDATASET.",
                                          tmpl->name, b.value, b.key));
            return false;
        }
        fills.push_back({b.key, b.value, b.dataSetName, b.categorical, b.weight});
    }
    host::chart::TemplateMaps maps{dataMap_.name, refMap_.name, mapKey_, showAllFeatures_};
    auto instance = host::chart::instantiate(*tmpl, fills, maps);
    for (auto const& w : instance.warnings) out.addMessage(2, w);
    if (instance.gpl.empty()) {
        out.addMessage(3, instance.error);
        return false;
    }
    XDocument document(instance.gpl, true, true);
    if (!document.implementationExists()) {
        out.addMessage(3, fmt::format("The template \"{}\" gives GPL that cannot be drawn: {}",
                                      tmpl->name, document.errorText()));
        return false;
    }
    // The labels the command found for what fills the slots; completion may add to them.
    for (auto const& b : bindings_) {
        if (b.variableLabel.empty())
            continue;
        for (auto& v : document.model().variables)
            if (v.column == b.value && v.label.empty())
                v.label = b.variableLabel;
    }
    first = document.getChartXML();
    return true;
}
