#include "host/chart/position/stack.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "host/chart/frame/frame.h"

namespace host::chart {

void stackLayers(Layers& ls, Scales const& scales) {
    for (auto& l : ls.layers) {
        if (l.element->modifier != "stack")
            continue;
        std::stable_sort(l.rows.begin(), l.rows.end(), [&](Row const& a, Row const& b) {
            return l.color.at(a.color) < l.color.at(b.color);
        });
        std::map<std::array<std::int64_t, 4>, std::pair<double, double>> base;
        for (auto& m : l.rows) {
            if (m.y == kSysmis)
                continue;
            std::int64_t along = 0;
            if (scales.xCategorical)
                along = l.x.at(m.x);
            else
                std::memcpy(&along, &m.xNum, sizeof along);
            auto& b = base[{along, l.cluster.at(m.cluster), l.panelCol.at(m.panelCol),
                            l.panelRow.at(m.panelRow)}];
            double& edge = m.y >= 0 ? b.first : b.second;
            m.y0 = edge;
            m.y = edge + m.y;
            edge = m.y;
        }
    }
}

}  // namespace host::chart
