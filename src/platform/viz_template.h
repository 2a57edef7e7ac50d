#pragma once
// The ViZ template service: style sheets, maps and stored templates of the chart service.

#include <string>

// The kind of content a chart document carries; 3 is a PNG image.
enum ChartXMLContentSubType { CONTENT_SVG = 1, CONTENT_JPG = 2, CONTENT_PNG = 3, CONTENT_BMP = 4 };

class XViZTemplate {
public:
    enum LOCATION { LOCATION_LOCAL = 0, LOCATION_REPOSITORY = 1, LOCATION_FILE = 2 };

    XViZTemplate();
    virtual ~XViZTemplate();

    void setstyleSheetName(std::string const& name, LOCATION location);
    void setStyleSheetOrelDirectory(std::string const& directory);
    // Converts the style sheet for a chart document: `name` and `contents` are filled on
    // success. This host's chart engine applies no style sheets, so there is nothing to convert
    // and the result is false.
    bool convert(std::string& name, std::string& contents);
    std::string const& styleSheetName() const { return styleSheetName_; }
    LOCATION styleSheetLocation() const { return styleSheetLocation_; }
    std::string const& styleSheetDirectory() const { return styleSheetDirectory_; }

private:
    std::string styleSheetName_;
    LOCATION styleSheetLocation_ = LOCATION_LOCAL;
    std::string styleSheetDirectory_;
};
