#pragma once
// Layout: the page from the outside in. Titles and footnote, the legend on the right, room for
// the axes' labels and titles, then the grid of panels and the plot rectangle of each.

#include <string>
#include <vector>

#include "host/chart/chart_model.h"
#include "host/chart/layer/layer.h"
#include "host/chart/layout/text_metrics.h"
#include "host/chart/scales/colors.h"
#include "host/chart/scales/scales.h"
#include "host/chart/scales/tick_labels.h"
#include "host/chart/scene/scene.h"

namespace host::chart {

struct Rect {
    double x = 0, y = 0, w = 0, h = 0;
};

struct PlacedText {
    Role role = Role::Title;
    std::string text;
    double x = 0, y = 0;
    double size = 12;
    bool bold = false;
    int anchor = 0;
    double angle = 0;
    Color color;
};

struct AxisLayout {
    int dim = 1;
    bool hidden = false;
    bool categorical = false;
    bool ticksHidden = false;
    bool grid = false;
    std::string title;
    std::vector<TickText> ticks;
};

struct LegendLayout {
    bool shown = false;
    double x = 0, y = 0, w = 0;
    std::string title;
    bool lines = false;          // swatches as lines, for a chart of lines
    double swatch = 12;          // the width of a swatch: longer for dashed lines
    double font = 11, row = 18;  // smaller for long legends
    std::vector<LegendEntry> entries;
    std::vector<Point> at;  // the top left of each entry: long legends run in columns
};

struct PanelBox {
    Rect plot;
    std::int32_t col = -1, row = -1;  // indices on the panel scales, -1 without panels
    bool firstColumn = true, lastRow = true;
    std::string header;
};

struct Layout {
    std::vector<PlacedText> texts;  // titles and the footnote
    LegendLayout legend;
    AxisLayout h, v;  // the horizontal and the vertical axis
    AxisLayout d;     // dimension 3 of three-dimensional coordinates, receding into the page
    double dLabelWidth = 0;
    bool transposed = false;
    double vLabelWidth = 0, hLabelHeight = 0, maxRotated = 0;
    std::vector<std::string> hTitleLines;  // the horizontal axis's title, wrapped to the plots
    std::vector<std::string> vTitleLines;  // the vertical axis's, wrapped to their height
    bool rotate = false;  // the labels of the horizontal axis turned hAngle degrees
    double hAngle = 45;   // counterclockwise; long category labels turn 45 degrees
    double vAngle = 0;    // the labels of the vertical axis, turned as label.angle asks
    bool panelled = false;
    std::vector<PanelBox> panels;
    double left = 0, right = 0, top = 0, bottom = 0;  // the area of the panels
};

constexpr double kTickFont = 11, kTitleFont = 12;
constexpr double kColorBarWidth = 14, kColorBarHeight = 120;  // a continuous colour's legend
const Color kTextColor{0.2, 0.2, 0.2, 1};

// A variable's label, or its name without one.
std::string variableTitle(ChartVariableRecord const* var);

Layout layoutChart(Spec& spec, ChartModel const& model, Layers const& layers, Scales const& scales,
                   std::vector<LegendEntry> legend, TextMeasurer const& measurer,
                   std::vector<std::string>& warnings);

}  // namespace host::chart
