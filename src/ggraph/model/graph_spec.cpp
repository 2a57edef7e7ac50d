#include "ggraph/model/graph_spec.h"

#include <vector>

#include "platform/chart_string.h"
#include "platform/host_procedure.h"

namespace {
// Names enter the model in the local code page and are kept as UTF-8.
std::string transcode(std::string const& text) {
    return XUtility::ChartStringFromLocalCodePage(text).toUTF8();
}
}  // namespace

struct GraphSpec::GraphSpecData {
    std::vector<std::string> templates;
    std::vector<std::string> inlineTemplates;
    bool editable = true;
    // IMAGEFORMAT is checked by the parser but never stored: the type stays PNG on purpose.
    ChartXMLContentSubType imageType = CONTENT_PNG;
    SOURCE source = SOURCE_INLINE;
    std::string gplSpecification;
    bool applyDefaultTemplates = true;
    std::string outputLabel;
    std::string vizmlFile;
    std::string vizJsonFile;
    std::string vizJsonTemplate;
    std::vector<std::string> geoJsonFiles;
    std::string gplFile;
    std::string vizTemplate;
    mutable std::vector<ViZTemplateMapping> vizTemplateMappings;
    XViZTemplate::LOCATION vizTemplateLocation = XViZTemplate::LOCATION_LOCAL;
    std::string vizTemplateDirectory;
    std::string vizStyleSheet;
    std::string vizStyleSheetOrig;
    XViZTemplate::LOCATION vizStyleSheetLocation = XViZTemplate::LOCATION_LOCAL;
    std::string vizStyleSheetDirectory;
    std::string vizMap;
    std::string vizMapOrig;
    // Maps default to a file, templates and style sheets to local: intended.
    XViZTemplate::LOCATION vizMapLocation = XViZTemplate::LOCATION_FILE;
    std::string vizMapDirectory;
    std::string vizRefMap;
    std::string vizRefMapOrig;
    XViZTemplate::LOCATION vizRefMapLocation = XViZTemplate::LOCATION_FILE;
    std::string vizRefMapDirectory;
    std::string attribute;
    bool showAllFeatures = false;
    std::string imageFile;
    std::string pmmlFile;

    // The full name of an accessible file, or an empty string.
    static std::string expandAndValidateFile(std::string const& name) {
        std::vector<char> buffer(kFileSpecBufferSize + 1, '\0');
        int exists = 0, sizeKiB = 0, isRegular = 0, isReadable = 0, length = 0;
        ValidateFileSpecificationEx(name.c_str(), static_cast<int>(name.size()), 0, buffer.data(),
                                    exists, sizeKiB, isRegular, isReadable, length);
        if (exists == 0) return std::string();
        return std::string(buffer.data());
    }

    static bool validate(std::string const& orig, std::string& validated,
                         XViZTemplate::LOCATION location) {
        if (orig.empty()) return !validated.empty();
        std::string name = orig;
        if (location == XViZTemplate::LOCATION_FILE) name = expandAndValidateFile(name);
        validated = transcode(name);
        return !validated.empty();
    }
};

GraphSpec::GraphSpec() : d(std::make_unique<GraphSpecData>()) {}
GraphSpec::~GraphSpec() = default;

std::vector<std::string> const& GraphSpec::GetTemplates() const { return d->templates; }
void GraphSpec::AddTemplate(std::string const& name) { d->templates.push_back(name); }
std::vector<std::string> const& GraphSpec::GetInlineTemplates() const { return d->inlineTemplates; }
void GraphSpec::AddInlineTemplate(std::string const& text) { d->inlineTemplates.push_back(text); }
bool GraphSpec::getEditable() const { return d->editable; }
void GraphSpec::setEditable(bool editable) { d->editable = editable; }
ChartXMLContentSubType GraphSpec::getImageType() const { return d->imageType; }
void GraphSpec::setImageType(ChartXMLContentSubType type) { d->imageType = type; }
GraphSpec::SOURCE GraphSpec::getSource() const { return d->source; }
void GraphSpec::setSource(SOURCE source) { d->source = source; }
std::string const& GraphSpec::GetGPLSpecification() const { return d->gplSpecification; }
void GraphSpec::SetGPLSpecification(std::string const& gpl) { d->gplSpecification = gpl; }
bool GraphSpec::getApplyDefaultTemplates() const { return d->applyDefaultTemplates; }
void GraphSpec::setApplyDefaultTemplates(bool apply) { d->applyDefaultTemplates = apply; }
std::string const& GraphSpec::GetOutputLabel() const { return d->outputLabel; }
void GraphSpec::SetOutputLabel(std::string const& label) { d->outputLabel = label; }

// The single-name file setters replace what stood there, in spite of their names.
std::string const& GraphSpec::GetViZmlFile() const { return d->vizmlFile; }
void GraphSpec::AddViZMlFile(std::string const& name) { d->vizmlFile = name; }
std::string const& GraphSpec::GetViZJSONFile() const { return d->vizJsonFile; }
void GraphSpec::AddViZJSONFile(std::string const& name) { d->vizJsonFile = name; }
std::string const& GraphSpec::GetViZJSONTemplate() const { return d->vizJsonTemplate; }
void GraphSpec::AddViZJSONTemplate(std::string const& name) { d->vizJsonTemplate = name; }
std::string const& GraphSpec::GetGPLFile() const { return d->gplFile; }
void GraphSpec::AddGPLFile(std::string const& name) { d->gplFile = name; }
std::string const& GraphSpec::GetImageFile() const { return d->imageFile; }
void GraphSpec::AddImageFile(std::string const& name) { d->imageFile = name; }
std::string const& GraphSpec::GetPMMLFile() const { return d->pmmlFile; }
void GraphSpec::AddPMMLFile(std::string const& name) { d->pmmlFile = name; }
unsigned long GraphSpec::getNumGeoJSONFiles() const { return d->geoJsonFiles.size(); }
std::string GraphSpec::getGEOJSONFile(unsigned long index) const {
    return index < d->geoJsonFiles.size() ? d->geoJsonFiles[index] : std::string();
}
void GraphSpec::AddGEOJSONFile(std::string const& name) { d->geoJsonFiles.push_back(name); }

std::string const& GraphSpec::getAttribute() const { return d->attribute; }
void GraphSpec::SetAttribute(std::string attribute) { d->attribute = std::move(attribute); }
bool GraphSpec::getShowAllFeatures() const { return d->showAllFeatures; }
void GraphSpec::setShowAllFeatures(bool show) { d->showAllFeatures = show; }

std::vector<ViZTemplateMapping>& GraphSpec::GetVIZTemplateMappings() const {
    return d->vizTemplateMappings;
}
void GraphSpec::SetViZTemplateMappings(std::vector<ViZTemplateMapping> const& mappings) {
    d->vizTemplateMappings = mappings;
}

std::string const& GraphSpec::GetVIZTemplate() const { return d->vizTemplate; }
void GraphSpec::SetVIZTemplate(std::string const& name) { d->vizTemplate = transcode(name); }
XViZTemplate::LOCATION GraphSpec::GetViZTemplateLocation(std::string& directory) const {
    directory = d->vizTemplateDirectory;
    return d->vizTemplateLocation;
}
void GraphSpec::SetViZTemplateLocation(XViZTemplate::LOCATION location,
                                       std::string const& directory) {
    d->vizTemplateLocation = location;
    d->vizTemplateDirectory = transcode(directory);
}

std::string const& GraphSpec::GetVIZStyleSheet() const { return d->vizStyleSheet; }
std::string const& GraphSpec::getViZStyleSheetOrig() const { return d->vizStyleSheetOrig; }
void GraphSpec::SetVIZStyleSheet(std::string const& name) {
    d->vizStyleSheet = transcode(name);
    d->vizStyleSheetOrig = name;
}
bool GraphSpec::hasViZStyleSheet() const { return !d->vizStyleSheet.empty(); }
XViZTemplate::LOCATION GraphSpec::GetViZStyleSheetLocation(std::string& directory) const {
    directory = d->vizStyleSheetDirectory;
    return d->vizStyleSheetLocation;
}
void GraphSpec::SetViZStyleSheetLocation(XViZTemplate::LOCATION location,
                                         std::string const& directory) {
    d->vizStyleSheetLocation = location;
    d->vizStyleSheetDirectory = transcode(directory);
}

std::string const& GraphSpec::GetVIZMap() const { return d->vizMap; }
std::string const& GraphSpec::getViZMapOrig() const { return d->vizMapOrig; }
void GraphSpec::SetVIZMap(std::string const& name) { d->vizMapOrig = name; }
// Looks at the Orig field, unlike hasViZStyleSheet: intended.
bool GraphSpec::hasViZMap() const { return !d->vizMapOrig.empty(); }
XViZTemplate::LOCATION GraphSpec::GetViZMapLocation(std::string& directory) const {
    directory = d->vizMapDirectory;
    return d->vizMapLocation;
}
void GraphSpec::SetViZMapLocation(XViZTemplate::LOCATION location, std::string const& directory) {
    d->vizMapLocation = location;
    d->vizMapDirectory = transcode(directory);
}

std::string const& GraphSpec::GetVIZRefMap() const { return d->vizRefMap; }
std::string const& GraphSpec::getViZRefMapOrig() const { return d->vizRefMapOrig; }
void GraphSpec::SetVIZRefMap(std::string const& name) { d->vizRefMapOrig = name; }
bool GraphSpec::hasViZRefMap() const { return !d->vizRefMapOrig.empty(); }
XViZTemplate::LOCATION GraphSpec::GetViZRefMapLocation(std::string& directory) const {
    directory = d->vizRefMapDirectory;
    return d->vizRefMapLocation;
}
void GraphSpec::SetViZRefMapLocation(XViZTemplate::LOCATION location,
                                     std::string const& directory) {
    d->vizRefMapLocation = location;
    d->vizRefMapDirectory = transcode(directory);
}

bool GraphSpec::validateVIZStyleSheet() {
    if (d->vizStyleSheetOrig.empty()) return !d->vizStyleSheet.empty();
    if (d->vizStyleSheetLocation == XViZTemplate::LOCATION_FILE)
        d->vizStyleSheet = GraphSpecData::expandAndValidateFile(d->vizStyleSheetOrig);
    // A local or repository name was transcoded on entry and is transcoded again: intended.
    d->vizStyleSheet = transcode(d->vizStyleSheet);
    return !d->vizStyleSheet.empty();
}

bool GraphSpec::validateVIZMap() {
    return GraphSpecData::validate(d->vizMapOrig, d->vizMap, d->vizMapLocation);
}

bool GraphSpec::validateVIZRefMap() {
    return GraphSpecData::validate(d->vizRefMapOrig, d->vizRefMap, d->vizRefMapLocation);
}
