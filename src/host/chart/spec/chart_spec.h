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
};

struct ScaleSpec {
    std::string type;  // linear, log, cat
    bool hasMin = false, hasMax = false;
    double min = 0, max = 0;
    std::vector<double> includeNumbers;
    std::vector<std::string> includeValues;
    std::vector<std::string> sortValues;
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
    gpl::Node const* label = nullptr;
    gpl::Node const* split = nullptr;
    std::string missing = "gap";
    bool closed = false;
    bool fitLine = false;  // a fit line added by a template, labelled with its R squared
    int line = 0;
};

struct RefLine {
    int dim = 2;
    double value = 0;
    std::string colorHex = "#D62728";
    std::string label;
};

struct Spec {
    double width = 640, height = 480;
    std::vector<ElementSpec> elements;
    std::map<int, ScaleSpec> scales;
    ColorScaleSpec colorScale;
    bool transpose = false;
    int clusterDim = 0;
    std::map<int, AxisGuide> axes;
    std::string legendLabel;
    bool legendLabelSet = false;
    std::string sizeLegendLabel;       // legend(aesthetic(aesthetic.size), label(...))
    double sizeMin = 4, sizeMax = 24;  // diameters of a size scale, in pixels
    bool legendHidden = false;
    std::string title, subtitle, subsubtitle, footnote;
    std::vector<RefLine> refLines;
    bool polar = false;  // polar.theta: pies
    bool wrap = false;   // rect(..., wrap()): the panels of one factor wrapped into rows
    double startAngle = 0;
    bool graphPlaced = false;  // GRAPH: begin(origin(), scale()) as fractions of the page
    double graphX = 0, graphY = 0, graphW = 1, graphH = 1;
    bool totalFit = false, subgroupFit = false;  // fit lines asked for by inline templates
    std::string fitType = "linear";              // linear, quadratic, cubic, loess
    bool elementsRefused = false;                // a coordinate system the engine cannot draw
    std::string gradientLow = "#DEEBF7", gradientHigh = "#08519C";  // counts of two-way bins
};

Spec readSpec(gpl::Program const& program, std::vector<std::string>& warnings);

// Values of function arguments.
std::string labelOf(gpl::Node const& call);  // the text of label("...")
int dimOf(gpl::Node const& call);            // dim(n), 0 without one
// A length: a number with a unit (px, pt, in, cm, %), fractions of `relativeTo` for bare
// numbers up to 1.
double sizeValue(gpl::Node const& n, double relativeTo, double fallback);
// The first argument of option(...) of a call, or `fallback`.
double numberOption(gpl::Node const* call, char const* option, double fallback);
// A number as the 16-digit text that category keys of numbers use.
std::string numberKey(double v);

}  // namespace host::chart
