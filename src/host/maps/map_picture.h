#pragma once
// What a map chart shows, before it is projected and laid out: the shapes with their colours,
// the points, the legend and the titles. map_chart.cpp fills it from the program and the rows;
// layoutMap turns it into a scene.

#include <string>
#include <vector>

#include "host/chart/chart_model.h"
#include "host/chart/layout/text_metrics.h"
#include "host/chart/scene/scene.h"
#include "host/maps/geojson.h"
#include "host/maps/projection.h"

namespace host::maps {

// A feature's polygons, drawn as one shape.
struct Shape {
    Feature const* feature = nullptr;
    chart::Color fill;
    std::string role;      // "feature", "feature-no-data", "reference"
    std::string category;  // the feature's key
    double value = 0;
};

struct PointMark {
    LonLat at;
    chart::Color fill;
    double radius = 3.5;
    std::string category;
    double value = 0;
};

// A sequential colour scale from `low` to `high`; or, for categories, a swatch per category.
struct MapLegend {
    enum class Kind { None, Gradient, Categories } kind = Kind::None;
    std::string title;
    double low = 0, high = 0;
    chart::NumberFormat format;
    std::vector<std::pair<std::string, chart::Color>> categories;
    bool noData = false;  // a grey swatch for features without data
};

struct MapPicture {
    std::vector<Shape> shapes;
    std::vector<PointMark> points;
    MapLegend legend;
    std::string title, subtitle, footnote;
    double width = 640, height = 480;
};

// The colour of a value on the sequential scale, t from 0 to 1.
chart::Color sequentialColor(double t);
chart::Color noDataColor();

chart::Scene layoutMap(MapPicture const& picture, Projection const& projection,
                       chart::TextMeasurer const& measurer);

}  // namespace host::maps
