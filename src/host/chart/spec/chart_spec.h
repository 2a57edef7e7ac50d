#pragma once
// The chart as its statements describe it: page, scales, coordinates, guides and elements,
// read from the parsed program with warnings for what cannot be drawn.

#include <map>
#include <string>
#include <vector>

#include "host/chart/gpl_syntax.h"

namespace host::chart {

struct AxisGuide {
    bool hidden = false;
    bool ticksHidden = false;
    bool gridlines = false;
    bool gridlinesSet = false;
    double delta = 0;
    bool hasStart = false;
    double start = 0;
    bool opposite = false;
    std::string label;
    bool labelSet = false;
    bool angled = false;  // label.angle(a): tick labels turned a degrees counterclockwise
    double labelAngle = 0;
};

// The size of a mark: a bare number or px is a diameter in pixels, a percentage a share of the
// plot's smaller side, other units as for any length.
struct MarkSize {
    double px = 0;     // when `share` is 0
    double share = 0;  // of the plot's smaller side
    double on(double side) const { return share > 0 ? share * side : px; }
};

struct ScaleSpec {
    std::string type;  // linear, log, cat
    bool hasMin = false, hasMax = false;
    double min = 0, max = 0;
    std::vector<double> includeNumbers;
    std::vector<std::string> includeValues;
    std::vector<std::string> sortValues;
    bool sortData = false;      // sort.data(): categories in the order the data has them
    std::string sortStatistic;  // sort.statistic(summary.mean(y)): by a statistic of each
    std::string sortVariable;   // ... of this variable (none: the cases are counted)
    int line = 0;               // of the SCALE statement
    bool reverse = false;
    double base = 10;
    double exponent = 0.5;  // pow
};

struct ColorScaleSpec {
    std::map<std::string, std::string> map;  // category -> colour name or hex
    ScaleSpec categories;                    // include() of the colour's categories
};

struct ElementSpec {
    std::string type;      // a row of the element table: interval, point, line, ...
    std::string modifier;  // stack, dodge, dodge.symmetric, jitter
    gpl::Node const* position = nullptr;
    gpl::Node const* color = nullptr;  // interior colour
    gpl::Node const* shade = nullptr;  // color.saturation or color.brightness of a variable
    gpl::Node const* exterior = nullptr;
    gpl::Node const* shape = nullptr;
    gpl::Node const* size = nullptr;
    gpl::Node const* transparency = nullptr;
    gpl::Node const* texture = nullptr;  // texture.pattern.interior of a variable
    gpl::Node const* label = nullptr;
    gpl::Node const* split = nullptr;
    std::string missing = "gap";
    bool closed = false;
    bool fitLine = false;      // a fit line added by a template, labelled with its R squared
    bool alongValues = false;  // one variable of values in one dimension: unity on dimension 1
    int line = 0;
};

struct RefLine {
    int dim = 2;
    double value = 0;
    std::string colorHex = "#D62728";
    std::string label;
};

// The document's data-label template: marks labelled by their values, or by a variable.
struct DataLabelSpec {
    bool on = false;
    std::string variable;  // a chart variable; empty for the marks' values
};

struct Spec {
    double width = 640, height = 480;
    std::vector<ElementSpec> elements;
    std::map<int, ScaleSpec> scales;
    ColorScaleSpec colorScale;
    bool transpose = false;
    int dims = 2;  // of the coordinates: rect(dim(1)), rect(dim(1,2)), rect(dim(1,2,3))
    int clusterDim = 0;
    std::map<int, AxisGuide> axes;
    std::string legendLabel;
    bool legendLabelSet = false;
    std::string sizeLegendLabel;       // legend(aesthetic(aesthetic.size), label(...))
    std::string outlineLegendLabel;    // legend(aesthetic(aesthetic.color.exterior), label(...))
    MarkSize sizeMin{4}, sizeMax{24};  // the diameters of a size scale
    ScaleSpec sizeCategories;          // sort.values() and reverse() of a categorical size
    bool legendHidden = false;
    std::string title, subtitle, subsubtitle, footnote;
    std::vector<RefLine> refLines;
    bool polar = false;       // polar.theta: pies
    bool polarPlane = false;  // polar(dim(1,2)): dimension 1 the angle, dimension 2 the radius
    bool mirror = false;      // mirror(): the first of two panels runs the other way
    bool sameRatio = false;   // one unit as long on both axes
    int coordLine = 0;        // of the COORD statement
    bool wrap = false;        // rect(..., wrap()): the panels of one factor wrapped into rows
    double startAngle = 0;
    bool graphPlaced = false;  // GRAPH: begin(origin(), scale()) as fractions of the page
    double graphX = 0, graphY = 0, graphW = 1, graphH = 1;
    bool titlesOnly = false;   // a graph without elements among others: its titles only
    bool commandTexts = true;  // the command's own subtitle and the page frame go with this graph
    // Set where graphs of one column or row of the page line up: the edges of the area of the
    // panels, in page pixels (0: free).
    double alignLeft = 0, alignRight = 0, alignTop = 0, alignBottom = 0;
    bool totalFit = false, subgroupFit = false;  // fit lines asked for by inline templates
    std::string fitType = "linear";              // linear, quadratic, cubic, loess
    DataLabelSpec dataLabels;
    bool elementsRefused = false;  // a coordinate system the engine cannot draw
    std::string gradientLow = "#DEEBF7", gradientHigh = "#08519C";  // counts of two-way bins
};

// The graphs of the page: each GRAPH: begin(origin(), scale()) ... GRAPH: end() block with its
// own statements, placed where its begin() says. Statements outside every block make a graph
// of the whole page, drawn beneath the others (only its titles when it has no element). A
// program without blocks is one graph.
std::vector<Spec> readGraphs(gpl::Program const& program, std::vector<std::string>& warnings);

// Values of function arguments.
std::string labelOf(gpl::Node const& call);  // the text of label("...")
int dimOf(gpl::Node const& call);            // dim(n), 0 without one
// A length: a number with a unit (px, pt, in, cm, %), fractions of `relativeTo` for bare
// numbers up to 1.
double sizeValue(gpl::Node const& n, double relativeTo, double fallback);
MarkSize markSize(gpl::Node const& n, double fallbackPx);
// The first argument of option(...) of a call, or `fallback`.
double numberOption(gpl::Node const* call, char const* option, double fallback);
// A number as the 16-digit text that category keys of numbers use.
std::string numberKey(double v);

}  // namespace host::chart
