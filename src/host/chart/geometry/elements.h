#pragma once
// Geometry: the rows of a layer, on its panel, as scene batches. One function per element
// type, found in a table by the element's name: a new element is one row and one function.

#include <cstdint>
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

// Where things fall in one panel: dimension 1 along one axis, the values along the other.
struct PanelGeometry {
    Rect plot;
    bool tr = false;  // transposed: dimension 1 runs down the vertical axis
    Scales const* scales = nullptr;

    double catExtent() const { return tr ? plot.h : plot.w; }
    double origin() const { return tr ? plot.y : plot.x; }  // where dimension 1 starts
    double valuePos(double v) const;
    double binPos(double v) const;  // a value of a continuous dimension 1
    // The band of a category (and its cluster) along dimension 1, from the origin.
    void band(std::int32_t xIndex, std::int32_t clusterIndex, double& start, double& width) const;
    double catCenter(std::size_t i, double extent) const;
    double catPos(Layer const& l, Row const& m) const;  // the page position of dimension 1
    Point at(double along, double value) const {
        return tr ? Point{value, along} : Point{along, value};
    }
    double baseValue() const;  // where bars stand
};

struct DrawContext {
    Scene& scene;
    Spec const& spec;
    Scales const& scales;
    Palette const& palette;
    TextMeasurer const& measurer;
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

// Shared by the element functions.
Batch& addLine(Scene& scene, Role role, Point a, Point b, Color c, double width);
Batch& addText(Scene& scene, Role role, std::string const& text, double x, double y, double size,
               int anchor, Color color, bool bold = false, double angle = 0);

}  // namespace host::chart
