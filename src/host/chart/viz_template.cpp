#include "platform/viz_template.h"

XViZTemplate::XViZTemplate() = default;
XViZTemplate::~XViZTemplate() = default;

void XViZTemplate::setstyleSheetName(std::string const& name, LOCATION location) {
    styleSheetName_ = name;
    styleSheetLocation_ = location;
}

void XViZTemplate::setStyleSheetOrelDirectory(std::string const& directory) {
    styleSheetDirectory_ = directory;
}

bool XViZTemplate::convert(std::string& name, std::string& contents) {
    name.clear();
    contents.clear();
    return false;
}
