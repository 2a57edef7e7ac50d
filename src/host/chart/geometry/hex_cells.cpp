// Hexagonal bins: each hexagon around its centre, coloured by its count.

#include "host/chart/geometry/elements.h"
#include "host/chart/spec/chart_spec.h"
#include "host/chart/stats/point_layout.h"

namespace host::chart {

void drawHexCells(ElementDraw& d) {
    PanelGeometry const& g = d.g;
    Style st;
    st.stroke = {1, 1, 1, 1};  // neighbours stay apart
    st.strokeWidth = 0.5;
    for (std::size_t i = 0; i < d.rows.size(); ++i) {
        Row const& m = d.rows[i];
        Bin const& bin = d.layer.bins[std::size_t(m.extra)];
        double cx = (bin.x0 + bin.x1) / 2, cy = (m.y0 + m.y) / 2;
        std::vector<Point> outline;
        for (auto const& [x, y] : stats::hexCorners(cx, cy, bin.x1 - bin.x0, (m.y - m.y0) / 2))
            outline.push_back(g.at(g.binPos(x), g.valuePos(y)));
        Batch& cells = d.dc.scene.batch(MarkKind::Polygon, Role::Cell, st);
        cells.addPath(outline);
        cells.setFill(d.dc.palette.cell(bin.cell));
        cells.setMeaning(d.dc.scene.key(numberKey(cx)), d.dc.scene.key(numberKey(cy)), bin.cell);
    }
}

}  // namespace host::chart
