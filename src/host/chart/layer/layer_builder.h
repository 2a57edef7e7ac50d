#pragma once
// The builder of layers, shared by the files of layer/: what an element asks for (its plan),
// the columns it reads, the groups of a summary, and the steps from columns to rows.
// build_layer.cpp plans and resolves the columns, collect_rows.cpp turns cases into rows and
// summaries, derived_rows.cpp makes rows from rows (smoothers, fit lines, heat-map cells).

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <fmt/format.h>

#include "host/chart/frame/frame.h"
#include "host/chart/layer/layer.h"
#include "host/chart/spec/position_algebra.h"
#include "host/chart/stats/registry.h"

namespace host::chart::layer_build {

using gpl::Node;

// What an element asks for, with its dimensions put in their places.
struct Plan {
    ElementSpec const* element = nullptr;
    Position pos;
    std::vector<Factor> factors;
    bool summary = false, percent = false, countOnly = false, density = false, twoWay = false;
    bool mergeSeries = false;  // the variables of dimension 2 are the ends of one interval
    // A smoother over the rows of the summary the position names inside it.
    std::string outerStatistic;
    gpl::Node const* outerCall = nullptr;
    std::size_t clusterIndex = 99, panelIndex = 2;
    std::size_t depthIndex = 99;  // dimension 3 of three-dimensional coordinates
};

struct Columns {
    std::optional<Column> x, cluster, panelCol, panelRow, color, shape, label, split, weight, size,
        exterior, transparency;
    std::optional<Column> depth;
    std::vector<std::pair<std::string, Column>> ys;
    std::vector<double> xEdges, yEdges;  // bins shared by all panels and groups
};

// The key a group of a summary is found by.
struct GroupKey {
    std::int64_t a = 0, b = 0;  // dimension 1: a category code, a bin, or a number's bits
    std::int32_t cluster, panelCol, panelRow, color, shape, series, size, exterior;
    bool operator==(GroupKey const&) const = default;
};
struct GroupKeyHash {
    std::size_t operator()(GroupKey const& k) const {
        std::uint64_t h = 1469598103934665603ull;
        auto mix = [&](std::uint64_t v) { h = (h ^ v) * 1099511628211ull; };
        mix(std::uint64_t(k.a));
        mix(std::uint64_t(k.b));
        for (std::int32_t v :
             {k.cluster, k.panelCol, k.panelRow, k.color, k.shape, k.series, k.size, k.exterior})
            mix(std::uint32_t(v));
        return h;
    }
};

// The groups of a summary, found by their key as the cases come.
struct Groups {
    std::vector<Group> list;
    std::unordered_map<GroupKey, std::size_t, GroupKeyHash> index;
};

std::int64_t bitsOf(double v);
// Bin edges over every row of a column, so that all panels and groups share them.
std::vector<double> edgesOf(Column const& c, BinOptions const& options);
// The smallest gap between the values of a continuous dimension 1 (0 for fewer than two).
double smallestGap(std::vector<Row> const& rows);
void useTable(KeyTable& t, std::optional<Column> const& c);
// label("Outlier"): one text for every mark.
bool literalLabel(ElementSpec const& e);
// color(summary.count()): each mark coloured by the number of cases it stands for.
bool countColor(ElementSpec const& e);
// color("Observed"): a text rather than a variable or a colour constant.
bool literalColor(ElementSpec const& e);

class LayerBuilder {
public:
    LayerBuilder(Spec& spec, ChartModel const& model, DataView const& view, Layers& out,
                 std::vector<std::string>& warnings)
        : spec_(spec), model_(model), view_(view), out_(out), warnings_(warnings) {}

    void add(ElementSpec const& element);
    bool anyNumericX = false;

private:
    void warn(ElementSpec const& e, std::string const& text) {
        warnings_.push_back(fmt::format("line {}: {}", e.line, text));
    }
    std::optional<Plan> plan(ElementSpec const& element);
    bool planDepth(Plan& p);
    bool loadColumns(Plan const& plan, Columns& cols);
    bool loadAesthetics(Plan const& plan, Columns& cols);
    bool checkColumns(Plan const& plan, Columns& cols);
    void noteVariables(Plan const& plan, Columns const& cols);
    void setTables(Plan const& plan, Columns const& cols, Layer& layer);
    void collectRows(Plan const& plan, Columns const& cols, Layer& layer);
    bool continuousValues(Columns const& cols, Layer const& layer, std::size_t r, Row& m);
    bool plainPoints(Plan const& plan, Columns const& cols) const;
    static void takePlainPoints(Columns& cols, Layer& layer);
    void addCase(Plan const& plan, Columns const& cols, Column const* yc, Row m, std::size_t r,
                 double y, bool yMissing, double w, bool groupsByX, Groups& groups, Layer& layer);
    void summarize(Plan const& plan, Columns const& cols, std::vector<Group>& groups, Layer& layer);
    void hexSize(Plan const& plan, Columns const& cols, StatContext& context) const;
    void smoothRows(Plan const& plan, Layer& layer);
    std::vector<double> densityEdges(ElementSpec const& element, Plan const& plan,
                                     Columns const& cols, bool& percent) const;
    void fitLines(Layer const& points, ElementSpec const& element);
    void countCells(Layer& layer);
    std::string weightName(std::string const& source) const;
    std::int32_t labelCode(Columns const& cols, Layer& layer, std::size_t r);

    Spec& spec_;
    ChartModel const& model_;
    DataView const& view_;
    Layers& out_;
    std::vector<std::string>& warnings_;
    std::unordered_map<std::string, std::int32_t> numericLabels_;
    bool colorSeen_ = false, sizeSeen_ = false, alphaSeen_ = false;
    // The domain of a continuous aesthetic over every layer.
    static void widen(double& lo, double& hi, double v, bool& seen) {
        lo = seen ? std::min(lo, v) : v;
        hi = seen ? std::max(hi, v) : v;
        seen = true;
    }
};

}  // namespace host::chart::layer_build
