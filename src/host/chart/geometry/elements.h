#pragma once
// Geometry: the rows of a layer, on its panel, as scene batches. One function per element
// type, found in a table by the element's name: a new element is one row and one function.

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "host/chart/layer/layer.h"
#include "host/chart/layout/layout.h"
#include "host/chart/layout/text_metrics.h"
#include "host/chart/scales/colors.h"
#include "host/chart/scales/scales.h"
#include "host/chart/scene/scene.h"

namespace host::chart {

// The rows of a layer that fall in one panel.
struct RowSet {
    std::vector<Row> const* all = nullptr;
    std::vector<std::uint32_t> const* picked = nullptr;  // null: every row
    std::size_t size() const { return picked ? picked->size() : all->size(); }
    Row const& operator[](std::size_t i) const { return picked ? (*all)[(*picked)[i]] : (*all)[i]; }
};

struct Oblique;

// Where things fall in one panel: dimension 1 along one axis, the values along the other.
struct PanelGeometry {
    Rect plot;
    bool tr = false;  // transposed: dimension 1 runs down the vertical axis
    Scales const* scales = nullptr;
    bool flip = false;  // the values run the other way (the mirrored panel of mirror())
    // A polar plane: what would be drawn in the plot rectangle is bent around a circle, the
    // first dimension the angle (clockwise from `startAngle` degrees past twelve o'clock) and
    // the values the distance from the centre.
    bool polar = false;
    double startAngle = 0;
    Oblique const* deep = nullptr;  // three dimensions: the box they are projected into

    double catExtent() const { return tr ? plot.h : plot.w; }
    double origin() const { return tr ? plot.y : plot.x; }  // where dimension 1 starts
    double valuePos(double v) const;
    double binPos(double v) const;  // a value of a continuous dimension 1
    // The band of a category (and its cluster) along dimension 1, from the origin.
    void band(std::int32_t xIndex, std::int32_t clusterIndex, double& start, double& width) const;
    double catCenter(std::size_t i, double extent) const;
    double catPos(Layer const& l, Row const& m) const;  // the page position of dimension 1
    Point at(double along, double value) const {
        return polar ? bend(along, value) : tr ? Point{value, along} : Point{along, value};
    }
    // In a polar plane: the centre, the radius of the largest value, and a position of the
    // plot rectangle bent around the centre.
    Point centre() const { return {plot.x + plot.w / 2, plot.y + plot.h / 2}; }
    double radius() const;
    Point bend(double along, double value) const;
    double baseValue() const;  // where bars stand
};

struct DrawContext {
    Scene& scene;
    Spec const& spec;
    Scales const& scales;
    Palette const& palette;
    TextMeasurer const& measurer;
    Layers const* layers = nullptr;
    // Point labels by element line: how many found no room beside their points, of how many.
    std::map<int, std::pair<std::size_t, std::size_t>> labelsLeftOut = {};
    // Where the last tick label of the horizontal axis ends, and the left edge of the panel that
    // drew it: the labels of a row of panels read as one axis and do not run into each other.
    double hLabelEnd = -1e9, hLabelPanel = 1e9;
};

// An element of a layer, drawn on one panel.
struct ElementDraw {
    DrawContext& dc;
    Layer const& layer;
    ElementSpec const& el;
    PanelGeometry const& g;
    RowSet rows;
    double alpha = 1;
    Color fixed;  // the element's own colour, for rows without one

    Color colorOf(Row const& m) const;
    std::int32_t categoryKey(Row const& m);  // the scene key of the row's category
    std::int32_t colorKey(Row const& m);     // ... of its colour
    std::int32_t groupKey(Row const& m);     // ... of its colour, or its cluster

    std::int32_t sceneKey(KeyTable const& table, std::vector<std::int32_t>& cache,
                          std::int32_t code);
    // Scene keys by code, found as they are first needed.
    std::vector<std::int32_t> xKeys_ = {}, colorKeys_ = {}, clusterKeys_ = {};
};

using DrawFunction = void (*)(ElementDraw& d);

struct ElementDef {
    char const* name;
    DrawFunction draw;
};

ElementDef const* findElement(std::string const& name);

// The element functions, one per file of geometry/.
void drawIntervals(ElementDraw& d);
void drawPoints(ElementDraw& d);
void drawLines(ElementDraw& d);  // line, path, area, polygon
void drawEdges(ElementDraw& d);
void drawBoxes(ElementDraw& d);
void drawPie(ElementDraw& d);
void drawCells(ElementDraw& d);
void drawHexCells(ElementDraw& d);

// Shared by the element functions.
Batch& addLine(Scene& scene, Role role, Point a, Point b, Color c, double width);
// The hatching of texture pattern k (0: solid, nothing drawn) over a rectangle, in a colour
// that shows on `under`.
void hatch(Scene& scene, double x, double y, double w, double h, int pattern, Color under);
void hatchShape(Scene& scene, std::vector<Point> const& outline, int pattern, Color under);
Batch& addText(Scene& scene, Role role, std::string const& text, double x, double y, double size,
               int anchor, Color color, bool bold = false, double angle = 0);

}  // namespace host::chart
