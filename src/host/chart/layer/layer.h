#pragma once
// Layers: an element's variables resolved against the frames, its rows grouped by panel and
// aesthetics and put through its statistic. A layer's rows are in data space; what a row
// stands for is given by codes into the layer's key tables.

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "host/chart/chart_model.h"
#include "host/chart/spec/chart_spec.h"
#include "host/chart/stats/chart_statistics.h"

class VarDataProcessor;

namespace host::chart {

// One datum to draw. A scatter holds one per case, so the fields are packed: 72 bytes.
struct Row {
    double xNum = 0;          // a continuous dimension 1 (the centre of a bin)
    double y = 0, y0 = 0;     // the value, and the other end of a range or a stack
    std::int32_t label = -1;  // into Layer::labels
    std::int32_t extra = -1;  // into Layer::bins for binned rows, Layer::boxes for box rows
    // Keys a page shows only a few of: a layer with more than kMaxSmallKeys of one is refused.
    std::int16_t x = -1;  // a categorical dimension 1: a code of Layer::x
    std::int16_t color = -1, cluster = -1, panelCol = -1, panelRow = -1, shape = -1, series = -1;
    std::int16_t size = -1, exterior = -1;  // categorical size and outline colour
    bool binned = false;
    bool ranged = false;  // an interval from y0 to y rather than from the base
    float dx = 0;         // point.jitter: an offset along a categorical dimension 1, in bands
    float cval = 0, sval = 0, tval = 0;  // the values of a continuous colour, size, transparency
    // Dimension 3 of three-dimensional coordinates: a value, or a code of Layer::depth.
    float z = 0;
};
static_assert(sizeof(Row) <= 72, "a Row per case: keep it packed");

constexpr std::int32_t kMaxSmallKeys = 32767;

// A bin along dimension 1 (and for a cell of a two-way bin, the weighted count of its cases).
struct Bin {
    double x0 = 0, x1 = 0, cell = 0;
};

// The keys a layer's codes stand for, and where each falls on its trained scale.
struct KeyTable {
    std::vector<std::string> keys;
    ChartVariableRecord const* var = nullptr;
    bool texts = false;                    // some key is a text: keys sort as texts
    std::vector<std::int32_t> scaleIndex;  // by code: the position on the scale, -1 for none

    std::string const& key(std::int32_t code) const;
    std::int32_t at(std::int32_t code) const {
        return code < 0 || std::size_t(code) >= scaleIndex.size() ? -1 : scaleIndex[code];
    }
};

// A plain scatter of many cases (one point element over two continuous dimensions, nothing
// else mapped) keeps its cases as two columns instead of a Row each: ten million Rows would
// take 720 MB. The point geometry turns the values into positions in place and hands the
// columns to its batch, so the cases are held once.
constexpr std::size_t kPlainPointsMin = 100000;
struct PlainPoints {
    bool on = false;
    std::vector<double> x, y;  // by case; y is kSysmis where the case is not drawn
    Row proto;                 // what every case shares: its colour, its series
};

struct Layer {
    ElementSpec const* element = nullptr;
    std::vector<Row> rows;
    // Instead of rows, for a plain scatter; emptied when it is drawn (hence mutable: drawing
    // takes the layers as they are otherwise).
    mutable PlainPoints plain;
    KeyTable x, cluster, panelCol, panelRow, color, shape, series, size, exterior;
    KeyTable depth;  // categories of dimension 3 in three dimensions
    // A categorical dimension 2: its rows' y hold codes of this table until the scales are
    // trained, then the category's place on the shared scale.
    KeyTable y;
    bool yCategorical = false;
    std::vector<std::string> labels;
    std::vector<Bin> bins;
    std::vector<BoxStats> boxes;
    std::vector<std::vector<std::int32_t>> outlierLabels;  // per box, parallel to its outliers
    bool hasColor = false;                                 // colour comes from a variable
    char colorScale = 0;      // a continuous colour: 'g'radient, 's'aturation, 'b'rightness
    bool sizeScale = false;   // a continuous size
    bool alphaScale = false;  // a continuous transparency
    bool cells = false;       // two-way bins, coloured by their counts
    bool hexes = false;       // hexagonal bins, coloured by their counts
    char cumulative = 0;      // running totals of counts ('c') or of their percentages ('p')
    // texture.pattern.interior of a variable: its categories are the layer's shapes, each
    // drawn with a hatching of its own.
    bool textured = false;
    // Of an interval layer: the smallest gap between the values of a continuous dimension 1 of
    // rows that are not bins (0 for fewer than two): bars there are as wide as their spacing
    // allows.
    double xGap = 0;
};

// All layers of a chart, with what the guides need to know of the variables they use.
struct Layers {
    std::vector<Layer> layers;
    std::deque<ElementSpec> fitElements;  // the fit lines of inline templates
    ChartVariableRecord const* xVar = nullptr;
    ChartVariableRecord const* yVar = nullptr;
    ChartVariableRecord const* colorVar = nullptr;
    ChartVariableRecord const* shapeVar = nullptr;
    ChartVariableRecord const* clusterVar = nullptr;
    ChartVariableRecord const* panelVar = nullptr;
    ChartVariableRecord const* panelRowVar = nullptr;
    std::vector<std::string> yNames;  // variables blended on dimension 2
    std::map<std::string, std::string> seriesLabels;
    std::string yStatistic;  // the statistic dimension 2 shows, for its title
    bool xCategorical = true;
    bool yCategorical = false;  // some layer has categories on dimension 2
    double cellMax = 0;  // the largest count of a two-way bin: the top of the colour gradient
    // The domains of continuous colours and sizes over all layers.
    double colorLo = 0, colorHi = 0, sizeLo = 0, sizeHi = 0;
    double sizeMin = 4, sizeMax = 24;  // the diameters the size scale maps to
    ChartVariableRecord const* sizeVar = nullptr;
    ChartVariableRecord const* exteriorVar = nullptr;
    double alphaLo = 0, alphaHi = 0;  // the domain of a continuous transparency
    ChartVariableRecord const* alphaVar = nullptr;
    ChartVariableRecord const* textureVar = nullptr;
    ChartVariableRecord const* zVar = nullptr;  // dimension 3 of three-dimensional coordinates
    bool zCategorical = false;
    bool anyCells = false;
    // sort.statistic of dimension 1: the statistic of each of its categories, by key.
    std::map<std::string, double> xSortValues;
    bool xSortByStatistic = false;
    bool colorCounts = false;  // a continuous colour of counts (color(summary.count()))
};

// Every element of the chart statements as a layer; what cannot be drawn is a warning naming its
// line.
Layers buildLayers(Spec& spec, ChartModel const& model, VarDataProcessor const* data,
                   std::vector<std::string>& warnings);

}  // namespace host::chart
