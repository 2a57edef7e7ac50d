#pragma once
// What one GRAPHSPEC subcommand says: where the graph's definition comes from and how it is
// presented.

#include <memory>
#include <string>
#include <vector>

#include "ggraph/model/viz_template_mapping.h"
#include "platform/viz_template.h"

class GraphSpec {
public:
    enum SOURCE {
        SOURCE_INLINE = 0,
        SOURCE_GPLFILE = 1,
        SOURCE_VIZMLFILE = 2,
        SOURCE_VIZJSONFILE = 3,
        SOURCE_VIZJSONTEMPLATE = 4,
        SOURCE_VIZTEMPLATE = 5,
        SOURCE_IMAGEFILE = 6,
        SOURCE_PMMLFILE = 7,
    };

    GraphSpec();
    ~GraphSpec();
    GraphSpec(GraphSpec const&) = delete;
    GraphSpec& operator=(GraphSpec const&) = delete;

    std::vector<std::string> const& GetTemplates() const;
    void AddTemplate(std::string const& name);
    std::vector<std::string> const& GetInlineTemplates() const;
    void AddInlineTemplate(std::string const& text);
    bool getEditable() const;
    void setEditable(bool editable);
    ChartXMLContentSubType getImageType() const;
    void setImageType(ChartXMLContentSubType type);
    SOURCE getSource() const;
    void setSource(SOURCE source);
    std::string const& GetGPLSpecification() const;
    void SetGPLSpecification(std::string const& gpl);
    bool getApplyDefaultTemplates() const;
    void setApplyDefaultTemplates(bool apply);
    std::string const& GetOutputLabel() const;
    void SetOutputLabel(std::string const& label);

    std::string const& GetViZmlFile() const;
    void AddViZMlFile(std::string const& name);
    std::string const& GetViZJSONFile() const;
    void AddViZJSONFile(std::string const& name);
    std::string const& GetViZJSONTemplate() const;
    void AddViZJSONTemplate(std::string const& name);
    std::string const& GetGPLFile() const;
    void AddGPLFile(std::string const& name);
    std::string const& GetImageFile() const;
    void AddImageFile(std::string const& name);
    std::string const& GetPMMLFile() const;
    void AddPMMLFile(std::string const& name);
    unsigned long getNumGeoJSONFiles() const;
    std::string getGEOJSONFile(unsigned long index) const;
    void AddGEOJSONFile(std::string const& name);

    std::string const& getAttribute() const;
    void SetAttribute(std::string attribute);
    bool getShowAllFeatures() const;
    void setShowAllFeatures(bool show);

    std::vector<ViZTemplateMapping>& GetVIZTemplateMappings() const;
    void SetViZTemplateMappings(std::vector<ViZTemplateMapping> const& mappings);

    std::string const& GetVIZTemplate() const;
    void SetVIZTemplate(std::string const& name);
    XViZTemplate::LOCATION GetViZTemplateLocation(std::string& directory) const;
    void SetViZTemplateLocation(XViZTemplate::LOCATION location, std::string const& directory);

    std::string const& GetVIZStyleSheet() const;
    std::string const& getViZStyleSheetOrig() const;
    void SetVIZStyleSheet(std::string const& name);
    bool hasViZStyleSheet() const;
    XViZTemplate::LOCATION GetViZStyleSheetLocation(std::string& directory) const;
    void SetViZStyleSheetLocation(XViZTemplate::LOCATION location, std::string const& directory);

    std::string const& GetVIZMap() const;
    std::string const& getViZMapOrig() const;
    void SetVIZMap(std::string const& name);
    bool hasViZMap() const;
    XViZTemplate::LOCATION GetViZMapLocation(std::string& directory) const;
    void SetViZMapLocation(XViZTemplate::LOCATION location, std::string const& directory);

    std::string const& GetVIZRefMap() const;
    std::string const& getViZRefMapOrig() const;
    void SetVIZRefMap(std::string const& name);
    bool hasViZRefMap() const;
    XViZTemplate::LOCATION GetViZRefMapLocation(std::string& directory) const;
    void SetViZRefMapLocation(XViZTemplate::LOCATION location, std::string const& directory);

    [[nodiscard]] bool validateVIZStyleSheet();
    [[nodiscard]] bool validateVIZMap();
    [[nodiscard]] bool validateVIZRefMap();

    struct GraphSpecData;

private:
    std::unique_ptr<GraphSpecData> d;
};
