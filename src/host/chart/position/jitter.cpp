#include "host/chart/position/jitter.h"

#include <algorithm>

#include "host/chart/stats/point_layout.h"

namespace host::chart {

void jitterLayers(Layers& ls, Scales const& scales) {
    for (auto& l : ls.layers) {
        if (l.element->modifier != "jitter" || l.rows.empty())
            continue;
        auto offsets = stats::jitterOffsets(l.rows.size(), 0.35);
        if (scales.xCategorical) {
            for (std::size_t i = 0; i < l.rows.size(); ++i)
                l.rows[i].dx = static_cast<float>(offsets[i]);
            continue;
        }
        auto [lo, hi] =
            std::minmax_element(l.rows.begin(), l.rows.end(),
                                [](Row const& a, Row const& b) { return a.xNum < b.xNum; });
        double spread = (hi->xNum - lo->xNum) * 0.02 / 0.35;
        for (std::size_t i = 0; i < l.rows.size(); ++i) l.rows[i].xNum += offsets[i] * spread;
    }
}

}  // namespace host::chart
