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

// One datum to draw.
struct Row {
    double xNum = 0;       // a continuous dimension 1 (the centre of a bin)
    double y = 0, y0 = 0;  // the value, and the other end of a range or a stack
    std::int32_t x = -1;   // a categorical dimension 1: a code of Layer::x
    std::int32_t cluster = -1, panelCol = -1, panelRow = -1, color = -1, shape = -1, series = -1;
    std::int32_t label = -1;  // into Layer::labels
    std::int32_t extra = -1;  // into Layer::bins for binned rows, Layer::boxes for box rows
    float dx = 0;  // point.jitter: an offset along a categorical dimension 1, in bands
    float cval = 0, sval = 0;  // the values of a continuous colour and size
    bool binned = false;
    bool ranged = false;  // an interval from y0 to y rather than from the base
};

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

struct Layer {
    ElementSpec const* element = nullptr;
    std::vector<Row> rows;
    KeyTable x, cluster, panelCol, panelRow, color, shape, series;
    std::vector<std::string> labels;
    std::vector<Bin> bins;
    std::vector<BoxStats> boxes;
    std::vector<std::vector<std::int32_t>> outlierLabels;  // per box, parallel to its outliers
    bool hasColor = false;                                 // colour comes from a variable
    char colorScale = 0;  // a continuous colour: 'g'radient, 's'aturation, 'b'rightness
    bool sizeScale = false;  // a continuous size
    bool cells = false;                                    // two-way bins, coloured by their counts
};

// All layers of a chart, with what the guides need to know of the variables they use.
struct Layers {
    std::vector<Layer> layers;
    std::deque<ElementSpec> fitElements;  // the fit lines of inline templates
    ChartVariableRecord const* xVar = nullptr;
    ChartVariableRecord const* yVar = nullptr;
    ChartVariableRecord const* colorVar = nullptr;
    ChartVariableRecord const* clusterVar = nullptr;
    ChartVariableRecord const* panelVar = nullptr;
    ChartVariableRecord const* panelRowVar = nullptr;
    std::vector<std::string> yNames;  // variables blended on dimension 2
    std::map<std::string, std::string> seriesLabels;
    std::string yStatistic;  // the statistic dimension 2 shows, for its title
    bool xCategorical = true;
    double cellMax = 0;  // the largest count of a two-way bin: the top of the colour gradient
    // The domains of continuous colours and sizes over all layers.
    double colorLo = 0, colorHi = 0, sizeLo = 0, sizeHi = 0;
    double sizeMin = 4, sizeMax = 24;  // the diameters the size scale maps to
    ChartVariableRecord const* sizeVar = nullptr;
    bool anyCells = false;
};

// Every element of the chart statements as a layer; what cannot be drawn is a warning naming its line.
Layers buildLayers(Spec& spec, ChartModel const& model, VarDataProcessor const* data,
                   std::vector<std::string>& warnings);

}  // namespace host::chart
