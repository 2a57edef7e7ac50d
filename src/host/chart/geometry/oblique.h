#pragma once
// Three dimensions in oblique projection: dimensions 1 and 2 on the front face as on a flat
// chart, dimension 3 receding up and to the right at 45 degrees. The floor, the back wall and
// the left wall behind the data carry the gridlines, so that a point's depth reads against
// them.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "host/chart/geometry/elements.h"

namespace host::chart {

struct Oblique {
    Rect front;             // the front face: dimensions 1 and 2 at the nearest depth
    double dx = 0, dy = 0;  // how far the farthest depth lies to the right and up
    Scales const* scales = nullptr;

    // A place of the box, each coordinate a share of its dimension's range from 0 to 1.
    Point unit(double u, double v, double t) const {
        return {front.x + u * front.w + t * dx, front.y + front.h - v * front.h - t * dy};
    }
    // The share of a value of dimension 1 or 3, or of the index of a category on a categorical
    // one: the middle of its band.
    double shareX(double v) const {
        return scales->xCategorical ? (v + 0.5) / double(std::max<std::size_t>(1, scales->x.size()))
                                    : scales->xLin.map(v, 0, 1);
    }
    double shareZ(double v) const {
        return !scales->z.empty() ? (v + 0.5) / double(scales->z.size())
                                  : scales->zLin.map(v, 0, 1);
    }
    // Where a row lies in depth, from 0 at the front to 1 at the back.
    double depthOf(Layer const& layer, Row const& m) const {
        return !scales->z.empty() ? shareZ(layer.depth.at(std::int32_t(m.z))) : shareZ(m.z);
    }
    // Whether a point lies inside the box (the scales' limits can leave values out).
    bool holds(double x, double y, double z) const {
        auto in = [](double t) { return t >= -1e-9 && t <= 1 + 1e-9; };
        return in(scales->xLin.map(x, 0, 1)) && in(scales->yLin.map(y, 0, 1)) &&
               in(scales->zLin.map(z, 0, 1));
    }
    Point at(double x, double y, double z) const {
        return unit(scales->xLin.map(x, 0, 1), scales->yLin.map(y, 0, 1),
                    scales->zLin.map(z, 0, 1));
    }
};

// The box of a panel's plot: its depth about two fifths of the plot's smaller side.
Oblique obliqueBox(Rect const& plot, Scales const& scales);

// The rows of a layer in a panel from the farthest to the nearest, and from left to right at
// one depth, so that near marks are drawn over far ones.
std::vector<std::uint32_t> farToNear(Layer const& layer, std::vector<std::uint32_t> const* picked,
                                     Oblique const& box);

// Bars as boxes standing in the cells of the two categorical dimensions: a front, a top and a
// right side.
void drawPrisms(ElementDraw& d);

// Under the data: the panel's header, the walls and their gridlines.
void drawObliqueWalls(DrawContext& dc, Layout const& layout, PanelBox const& panel,
                      Oblique const& box);
// Over the data: the three axes, with the title of the third (the other two are the layout's).
void drawObliqueAxes(DrawContext& dc, Layout const& layout, PanelBox const& panel,
                     Oblique const& box);

}  // namespace host::chart
