#include "host/chart/position/cumulative.h"

#include <algorithm>
#include <array>
#include <map>
#include <vector>

#include "host/chart/frame/frame.h"
#include "host/chart/stats/point_layout.h"

namespace host::chart {

void cumulateLayers(Layers& ls, Scales const& scales) {
    for (auto& l : ls.layers) {
        if (!l.cumulative)
            continue;
        std::map<std::array<std::int32_t, 5>, std::vector<Row*>> runs;
        for (auto& m : l.rows)
            if (m.y != kSysmis)
                runs[{l.panelCol.at(m.panelCol), l.panelRow.at(m.panelRow), l.cluster.at(m.cluster),
                      l.color.at(m.color), m.series}]
                    .push_back(&m);
        for (auto& [key, rows] : runs) {
            std::stable_sort(rows.begin(), rows.end(), [&](Row const* a, Row const* b) {
                return scales.xCategorical ? l.x.at(a->x) < l.x.at(b->x) : a->xNum < b->xNum;
            });
            std::vector<double> counts;
            for (auto const* m : rows) counts.push_back(m->y);
            auto totals = stats::cumulative(counts, l.cumulative == 'p');
            for (std::size_t i = 0; i < rows.size(); ++i) rows[i]->y = totals[i];
        }
    }
}

}  // namespace host::chart
