#pragma once
// The ViZ template service: style sheets, maps and stored templates of the chart service.

#include <string>
#include <vector>

#include "platform/chart_string.h"
#include "platform/dictionary_format.h"

// The kind of content a chart document carries; 3 is a PNG image.
enum ChartXMLContentSubType { CONTENT_SVG = 1, CONTENT_JPG = 2, CONTENT_PNG = 3, CONTENT_BMP = 4 };

class XViZTemplate {
public:
    enum LOCATION { LOCATION_LOCAL = 0, LOCATION_REPOSITORY = 1, LOCATION_FILE = 2 };
    // What fills a slot: a variable, a dichotomy set or a category set.
    enum VARIABLE_TYPE { VARIABLE_SINGLE = 0, VARIABLE_DICHOTOMY_SET = 1, VARIABLE_CATEGORY_SET = 2 };

    // One slot binding, as addVariable receives it.
    struct Binding {
        std::string key;
        std::string value;  // the column of the data set's rows
        bool categorical = true;
        std::string labelingVariable;
        std::string dataSetName;
        bool hasFormat = false;
        KWEL_Format format = 0;
        std::string variableLabel;
        VARIABLE_TYPE type = VARIABLE_SINGLE;
        std::string mrSetName;
        bool weight = false;
        std::string countedValue;
        bool enhancedDichotomy = false;
        std::vector<std::string> childNames, childLabels, childLabelingVariables;
    };

    XViZTemplate();
    virtual ~XViZTemplate();

    void setTemplateName(ChartString& name, LOCATION location);
    void setTemplateOrelDirectory(std::string const& directory);
    void addVariable(std::string const& key, std::string const& value, bool categorical,
                     std::string labelingVariable, std::string const& dataSetName,
                     KWEL_Format* format, char const* variableLabel, VARIABLE_TYPE type,
                     char const* mrSetName, bool weight, std::string const* countedValue,
                     bool enhancedDichotomy, std::vector<std::string const*> childNames,
                     std::vector<std::string const*> childLabels,
                     std::vector<std::string const*> childLabelingVariables);

    void setstyleSheetName(std::string const& name, LOCATION location);
    void setStyleSheetOrelDirectory(std::string const& directory);
    void setDataMapName(std::string const& name, LOCATION location);
    void setDataMapOrelDirectory(std::string const& directory);
    void setRefMapName(std::string const& name, LOCATION location);
    void setRefMapOrelDirectory(std::string const& directory);
    void setMapKey(std::string const& key);
    void setShowAllFeatures(bool show);

    // With a template named: converts it into chart XML (first) and a style sheet text
    // (second), reporting what keeps it from being drawn. Without one: converts the style sheet
    // for a chart document; this host's chart engine applies no style sheets, so there is
    // nothing to convert and the result is false.
    bool convert(std::string& first, std::string& second);

    ChartString getDataMapName() const;
    ChartString getRefMapName() const;
    // The map's file, for LOCATION_FILE.
    std::string getDataMapFileName() const;
    std::string getRefMapFileName() const;
    // The map's contents, for the other locations; empty when it cannot be found.
    std::string getDataMapContents() const;
    std::string getRefMapContents() const;

    std::string const& styleSheetName() const { return styleSheetName_; }
    LOCATION styleSheetLocation() const { return styleSheetLocation_; }
    std::string const& styleSheetDirectory() const { return styleSheetDirectory_; }
    std::string const& templateName() const { return templateName_; }
    LOCATION templateLocation() const { return templateLocation_; }
    std::string const& templateDirectory() const { return templateDirectory_; }
    std::vector<Binding> const& bindings() const { return bindings_; }
    std::string const& mapKey() const { return mapKey_; }
    bool showAllFeatures() const { return showAllFeatures_; }

private:
    struct MapName {
        std::string name;
        LOCATION location = LOCATION_FILE;
        std::string directory;
    };
    static std::string mapContents(MapName const& map);

    std::string templateName_;
    LOCATION templateLocation_ = LOCATION_LOCAL;
    std::string templateDirectory_;
    std::vector<Binding> bindings_;
    std::string styleSheetName_;
    LOCATION styleSheetLocation_ = LOCATION_LOCAL;
    std::string styleSheetDirectory_;
    MapName dataMap_, refMap_;
    std::string mapKey_;
    bool showAllFeatures_ = false;
};
