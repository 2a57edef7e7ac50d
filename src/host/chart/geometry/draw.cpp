#include "host/chart/geometry/draw.h"

#include <algorithm>
#include <cstdlib>

#include <fmt/format.h>

#include "host/chart/geometry/guides.h"
#include "host/chart/geometry/oblique.h"

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
    if (dc.spec.commandTexts)
        drawOuterFrame(dc.scene, model, dc.spec);
    std::vector<std::vector<std::vector<std::uint32_t>>> byPanel;
    if (layout.panelled)
        for (auto const& l : ls.layers) byPanel.push_back(rowsByPanel(l, dc.scales));
    for (std::size_t p = 0; p < layout.panels.size(); ++p) {
        PanelBox const& panel = layout.panels[p];
        PanelGeometry g{panel.plot, layout.transposed && !dc.spec.polarPlane, &dc.scales};
        g.polar = dc.spec.polarPlane;
        g.startAngle = dc.spec.startAngle;
        // mirror(): the panels of the first half run the other way, back to back with the rest.
        std::size_t columns = dc.scales.panelCol.size();
        g.flip = dc.spec.mirror && columns >= 2 && panel.col >= 0 &&
                 std::size_t(panel.col) < columns / 2;
        bool deep = dc.spec.dims == 3;
        Oblique box = obliqueBox(panel.plot, dc.scales);
        if (deep) {
            g.deep = &box;
            drawObliqueWalls(dc, layout, panel, box);
        } else {
            drawPanelBackground(dc, model, layout, panel, g);
        }
        for (std::size_t li = 0; li < ls.layers.size(); ++li) {
            Layer const& layer = ls.layers[li];
            ElementDef const* def = findElement(layer.element->type);
            if (!def)
                continue;
            RowSet rows{&layer.rows, layout.panelled ? &byPanel[li][p] : nullptr};
            std::vector<std::uint32_t> order;
            if (deep) {
                order = farToNear(layer, rows.picked, box);
                rows.picked = &order;
            }
            ElementDraw d{dc,
                          layer,
                          *layer.element,
                          g,
                          rows,
                          alphaOf(*layer.element),
                          constantColor(layer.element->color, defaultColor())};
            if (deep && layer.element->type == "interval")
                drawPrisms(d);
            else if (layer.cells)
                drawCells(d);  // two-way bins, whatever the element
            else if (layer.hexes)
                drawHexCells(d);
            else
                def->draw(d);
        }
        if (deep)
            drawObliqueAxes(dc, layout, panel, box);
        else
            drawPanelGuides(dc, layout, panel, g);
    }
    drawAxisTitles(dc.scene, layout);
    for (auto const& [line, count] : dc.labelsLeftOut)
        if (count.first > 0)
            dc.scene.warnings.push_back(fmt::format(
                "line {}: {} of {} point labels are left out: there is no room for them beside "
                "their points",
                line, count.first, count.second));
}

}  // namespace host::chart
