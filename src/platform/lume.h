#pragma once
// The JSON chart sender: a chart given as JSON (a file, or a template text
// with GeoJSON files for its map layers), drawn by the chart engine and put into the output.

#include <memory>
#include <string>

class xLume {
public:
    xLume();
    ~xLume();
    xLume(xLume const&) = delete;
    xLume& operator=(xLume const&) = delete;

    // Reads the JSON chart from the named file; false when it cannot be read.
    bool setViZJSON(std::string const& file);
    // The JSON chart's text itself.
    void setViZJSONTemplate(std::string const& text);
    // A GeoJSON file for the template's map layers; false when it cannot be read.
    bool addGeoJSON(std::string const& file);
    void SetDescription(unsigned short const* text);
    void sendChart() const;

private:
    struct Data;
    std::unique_ptr<Data> d;
};
