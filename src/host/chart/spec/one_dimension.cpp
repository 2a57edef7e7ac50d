#include "host/chart/spec/one_dimension.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/chart/spec/position_algebra.h"

namespace host::chart {

namespace {

// A statistic that counts the variable's cases makes the second dimension itself.
bool countsCases(Position const& p) {
    std::string const& s = p.statistic;
    return p.kind == StatKind::Density || p.kind == StatKind::Percent || s == "summary.count" ||
           s == "region.confi.count" || s == "region.confi.percent.count" ||
           (p.binned && s.empty());
}

}  // namespace

void settleOneDimension(Spec& spec, std::vector<std::string>& warnings) {
    if (spec.dims != 1)
        return;
    bool values = false, counts = false;
    for (auto& e : spec.elements) {
        Position p = readPosition(*e.position);
        if (!p.error.empty())
            continue;  // said when the element's layer is built
        if (p.factors.size() + p.nests.size() != 1) {
            warnings.push_back(fmt::format(
                "line {}: the coordinates have one dimension and this position has {}; it is "
                "drawn in two",
                e.line, p.factors.size() + p.nests.size()));
            continue;
        }
        if (countsCases(p))
            counts = true;
        else
            e.alongValues = values = true;
    }
    if (!values)
        return;
    if (counts) {
        // The bars of a count stand on the variable's axis; values would need that axis too.
        std::erase_if(spec.elements, [&](ElementSpec const& e) {
            if (e.alongValues)
                warnings.push_back(fmt::format(
                    "line {}: values along one dimension cannot be drawn beside a count of it "
                    "yet; the element is left out",
                    e.line));
            return e.alongValues;
        });
        return;
    }
    // The variable's dimension is drawn as the value dimension, horizontally unless the
    // coordinates say transpose().
    spec.transpose = !spec.transpose;
    spec.axes[2] = spec.axes[1];
    spec.axes[1] = AxisGuide{};
    spec.axes[1].hidden = true;
    if (auto s = spec.scales.find(1); s != spec.scales.end()) {
        spec.scales[2] = s->second;
        spec.scales.erase(1);
    } else {
        spec.scales.erase(2);
    }
    std::erase_if(spec.refLines, [](RefLine const& r) { return r.dim != 1; });
    for (auto& r : spec.refLines) r.dim = 2;
}

}  // namespace host::chart
