#include "host/chart/geometry/draw.h"

#include <algorithm>
#include <cstdlib>

#include "host/chart/geometry/guides.h"

namespace host::chart {

namespace {

// The rows of a layer by panel (row-major over the panel grid), each row listed once.
std::vector<std::vector<std::uint32_t>> rowsByPanel(Layer const& l, Scales const& s) {
    std::size_t cols = std::max<std::size_t>(1, s.panelCol.size());
    std::size_t rows = std::max<std::size_t>(1, s.panelRow.size());
    std::vector<std::vector<std::uint32_t>> out(cols * rows);
    for (std::size_t i = 0; i < l.rows.size(); ++i) {
        Row const& m = l.rows[i];
        std::int32_t c = s.panelCol.empty() ? 0 : l.panelCol.at(m.panelCol);
        std::int32_t r = s.panelRow.empty() ? 0 : l.panelRow.at(m.panelRow);
        if (c < 0 || r < 0)
            continue;  // a layer without the panels' variable
        out[std::size_t(r) * cols + std::size_t(c)].push_back(static_cast<std::uint32_t>(i));
    }
    return out;
}

double alphaOf(ElementSpec const& el) {
    if (!el.transparency || el.transparency->args.empty())
        return 1;
    auto const& a = el.transparency->args[0];
    double t =
        a.kind == gpl::Node::Kind::Constant ? std::strtod(a.value.c_str(), nullptr) : a.number;
    return 1 - std::clamp(t, 0.0, 1.0);
}

}  // namespace

void drawChart(DrawContext& dc, ChartModel const& model, Layers const& ls, Layout const& layout) {
    drawTitles(dc.scene, layout);
    drawLegend(dc.scene, layout.legend);
    drawOuterFrame(dc.scene, model, dc.spec);
    std::vector<std::vector<std::vector<std::uint32_t>>> byPanel;
    if (layout.panelled)
        for (auto const& l : ls.layers) byPanel.push_back(rowsByPanel(l, dc.scales));
    for (std::size_t p = 0; p < layout.panels.size(); ++p) {
        PanelBox const& panel = layout.panels[p];
        PanelGeometry g{panel.plot, layout.transposed, &dc.scales};
        drawPanelBackground(dc, model, layout, panel, g);
        for (std::size_t li = 0; li < ls.layers.size(); ++li) {
            Layer const& layer = ls.layers[li];
            ElementDef const* def = findElement(layer.element->type);
            if (!def)
                continue;
            RowSet rows{&layer.rows, layout.panelled ? &byPanel[li][p] : nullptr};
            ElementDraw d{dc,
                          layer,
                          *layer.element,
                          g,
                          rows,
                          alphaOf(*layer.element),
                          constantColor(layer.element->color, defaultColor())};
            if (layer.cells)
                drawCells(d);  // two-way bins, whatever the element
            else
                def->draw(d);
        }
        drawPanelGuides(dc, layout, panel, g);
    }
    drawAxisTitles(dc.scene, layout, dc.measurer);
}

}  // namespace host::chart
