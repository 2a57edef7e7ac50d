#include "host/chart/layout/page_graphs.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

namespace host::chart {

namespace {

// Graphs in one column of the page have the same left and right; rounding keeps equal
// percentages equal.
long placeKey(double start, double extent) {
    return std::lround(start * 1e5) * 1000003L + std::lround(extent * 1e5);
}

bool placedPlot(GraphRun const& r) {
    return r.drawable && !r.spec.titlesOnly && r.spec.graphPlaced;
}

// The continuous variable along one direction of the page (horizontal or not), with the
// dimension that carries it; none for categories, counts, logarithms and dates.
struct Along {
    ChartVariableRecord const* var = nullptr;
    int dim = 0;
};

Along along(GraphRun const& r, bool horizontal) {
    int dim = (horizontal != r.spec.transpose) ? 1 : 2;
    Along a{nullptr, dim};
    LinScale const& s = dim == 1 ? r.scales.xLin : r.scales.yLin;
    if (s.log || s.time || s.exponent != 1)
        return a;
    if (dim == 1 && !r.scales.xCategorical && r.scales.cluster.empty())
        a.var = r.layers.xVar;
    if (dim == 2 && r.layers.yNames.size() <= 1)
        a.var = r.layers.yVar;
    return a;
}

}  // namespace

bool shareRanges(GraphRuns& runs) {
    struct Share {
        double lo = std::numeric_limits<double>::infinity(), hi = -lo;
        std::vector<std::pair<GraphRun*, int>> members;  // the graph and its dimension
    };
    std::map<std::tuple<bool, long, std::string>, Share> shares;
    for (auto& r : runs) {
        if (!placedPlot(*r))
            continue;
        Spec const& sp = r->spec;
        for (bool horizontal : {true, false}) {
            Along a = along(*r, horizontal);
            if (!a.var)
                continue;
            long place =
                horizontal ? placeKey(sp.graphX, sp.graphW) : placeKey(sp.graphY, sp.graphH);
            Share& s = shares[{horizontal, place, a.var->name}];
            LinScale const& lin = a.dim == 1 ? r->scales.xLin : r->scales.yLin;
            s.lo = std::min(s.lo, lin.lo);
            s.hi = std::max(s.hi, lin.hi);
            s.members.emplace_back(r.get(), a.dim);
        }
    }
    bool changed = false;
    for (auto& [key, s] : shares) {
        if (s.members.size() < 2 || !(s.lo < s.hi))
            continue;
        for (auto [run, dim] : s.members) {
            ScaleSpec& sc = run->spec.scales[dim];
            if (sc.type.empty())
                sc.type = "linear";
            // A graph's own limits stand.
            if (sc.hasMin || sc.hasMax)
                continue;
            sc.hasMin = sc.hasMax = true;
            sc.min = s.lo;
            sc.max = s.hi;
            trainValueScales(run->layers, run->spec, run->scales);
            changed = true;
        }
    }
    return changed;
}

void alignPlots(GraphRuns& runs) {
    struct Edges {
        double first = 0, second = std::numeric_limits<double>::infinity();
        int count = 0;
    };
    std::map<long, Edges> columns, rows;
    for (auto& r : runs) {
        if (!placedPlot(*r))
            continue;
        Spec const& sp = r->spec;
        Layout const& l = r->layout;
        Edges& c = columns[placeKey(sp.graphX, sp.graphW)];
        c.first = std::max(c.first, l.left);
        c.second = std::min(c.second, l.right);
        ++c.count;
        Edges& w = rows[placeKey(sp.graphY, sp.graphH)];
        w.first = std::max(w.first, l.top);
        w.second = std::min(w.second, l.bottom);
        ++w.count;
    }
    for (auto& r : runs) {
        if (!placedPlot(*r))
            continue;
        Spec& sp = r->spec;
        Edges const& c = columns[placeKey(sp.graphX, sp.graphW)];
        if (c.count > 1 && c.first < c.second) {
            sp.alignLeft = c.first;
            sp.alignRight = c.second;
        }
        Edges const& w = rows[placeKey(sp.graphY, sp.graphH)];
        if (w.count > 1 && w.first < w.second) {
            sp.alignTop = w.first;
            sp.alignBottom = w.second;
        }
    }
}

}  // namespace host::chart
