#include "host/chart/layout/layout.h"

#include <algorithm>
#include <cmath>

#include "host/chart/layout/text_fit.h"

namespace host::chart {

namespace {

constexpr double kMargin = 14;

struct Room {
    double left, right, top, bottom;
};

std::string varTitle(ChartVariableRecord const* var) {
    return !var ? "" : var->label.empty() ? var->name : var->label;
}

std::string axisTitle(Spec& spec, int dim, ChartVariableRecord const* var, Layers const& ls) {
    AxisGuide const& g = spec.axes[dim];
    if (g.labelSet)
        return g.label;
    std::string const& stat = ls.yStatistic;
    if (dim == 2 && !stat.empty() && !var)
        return stat.find("percent") != std::string::npos ? "Percent"
               : stat == "density.normal"                ? "Density"
                                                         : "Count";
    if (dim == 2 && ls.yNames.size() > 1)
        return "";
    return varTitle(var);
}

void placeTitles(Spec const& spec, ChartModel const& model, TextMeasurer const& m, Room& room,
                 Layout& out) {
    auto add = [&](std::string const& s, double size, bool bold, Role role) {
        if (s.empty())
            return;
        out.texts.push_back({role, fitText(s, room.right - room.left, size, m, bold),
                             spec.width / 2, room.top + size, size, bold, 0, 0, kTextColor});
        room.top += measureText(s, size, m, bold).height + 4;
    };
    add(spec.title, 16, true, Role::Title);
    add(model.subtitleSet ? model.subtitle : spec.subtitle, 13, false, Role::Subtitle);
    add(spec.subsubtitle, 12, false, Role::Subsubtitle);
    if (!spec.footnote.empty()) {
        out.texts.push_back({Role::Footnote,
                             fitText(spec.footnote, room.right - room.left, 10, m),
                             room.left,
                             room.bottom - 2,
                             10,
                             false,
                             -1,
                             0,
                             {0.4, 0.4, 0.4, 1}});
        room.bottom -= measureText(spec.footnote, 10, m).height + 6;
    }
    if (room.top > kMargin)
        room.top += 6;
}

void placeLegend(Spec const& spec, Layers const& ls, std::vector<LegendEntry> entries,
                 TextMeasurer const& m, Room& room, LegendLayout& legend) {
    legend.shown = !entries.empty() && !spec.legendHidden;
    if (!legend.shown)
        return;
    std::string title = spec.legendLabelSet ? spec.legendLabel
                        : ls.colorVar       ? varTitle(ls.colorVar)
                        : ls.anyCells       ? "Count"
                                            : "";
    double w = measureText(title, kTitleFont, m, true).width;
    for (auto const& e : entries) w = std::max(w, 18 + measureText(e.label, kTickFont, m).width);
    w = std::min(w, spec.width * 0.3);
    legend.x = room.right - w;
    legend.y = room.top + 4;
    legend.w = w;
    legend.title = title.empty() ? "" : fitText(title, w, kTitleFont, m, true);
    for (auto& e : entries) e.label = fitText(e.label, w - 18, kTickFont, m);
    legend.entries = std::move(entries);
    legend.lines = !ls.layers.empty() && ls.layers.front().element->type == "line";
    room.right -= w + 16;
}

// Room for the axes: the vertical one's labels and title on the left, the horizontal one's
// (rotated when they would overlap) and title below.
void placeAxes(Spec const& spec, TextMeasurer const& m, std::size_t columns, Room& room,
               Layout& out) {
    AxisLayout const &h = out.h, &v = out.v;
    double vLabelWidth = 0;
    for (auto const& t : v.ticks)
        vLabelWidth = std::max(vLabelWidth, measureText(t.text, kTickFont, m).width);
    out.vLabelWidth = std::min(vLabelWidth, spec.width * 0.3);
    if (!v.hidden) {
        room.left += out.vLabelWidth + 8;
        if (!v.title.empty())
            room.left += kTitleFont * 1.4 + 4;
    }
    double tickTextHeight = m.measure("0", kTickFont, false).height;
    double plotWidthGuess = (room.right - room.left) / double(columns);
    double band = h.categorical && !h.ticks.empty() ? plotWidthGuess / double(h.ticks.size())
                                                    : plotWidthGuess;
    double hMaxLabel = 0;
    for (auto const& t : h.ticks)
        hMaxLabel = std::max(hMaxLabel, measureText(t.text, kTickFont, m).width);
    out.rotate = h.categorical && hMaxLabel > band * 0.92;
    out.maxRotated = std::min(hMaxLabel, spec.height * 0.3 / 0.7071);
    out.hLabelHeight =
        out.rotate ? out.maxRotated * 0.7071 + tickTextHeight * 0.7071 : tickTextHeight;
    if (!h.hidden) {
        room.bottom -= out.hLabelHeight + 8;
        if (!h.title.empty())
            room.bottom -= kTitleFont * 1.4 + 4;
    } else {
        room.bottom -= 4;
    }
    if (!h.hidden && !h.categorical && !h.ticks.empty()) {
        // The last tick label is centred under the plot's right end: keep it on the page.
        double half = measureText(h.ticks.back().text, kTickFont, m).width / 2;
        room.right -= std::max(0.0, half - kMargin + 2);
    }
}

void placePanels(Scales const& scales, TextMeasurer const& m, Room const& room, Layout& out,
                 std::vector<std::string>& warnings) {
    std::size_t cols = std::max<std::size_t>(1, scales.panelCol.size());
    std::size_t rows = std::max<std::size_t>(1, scales.panelRow.size());
    out.panelled = !scales.panelCol.empty() || !scales.panelRow.empty();
    double header = out.panelled ? kTickFont * 1.6 : 0;
    double gap = out.panelled ? 12 : 0;
    double panelW = (room.right - room.left - gap * double(cols - 1)) / double(cols);
    double panelH =
        (room.bottom - room.top - header * double(rows) - gap * double(rows - 1)) / double(rows);
    if (panelW < 20 || panelH < 20) {
        warnings.push_back("the page is too small for this chart");
        panelW = std::max(panelW, 20.0);
        panelH = std::max(panelH, 20.0);
    }
    out.panels.reserve(cols * rows);
    for (std::size_t r = 0; r < rows; ++r)
        for (std::size_t c = 0; c < cols; ++c) {
            PanelBox p;
            p.plot = {room.left + double(c) * (panelW + gap),
                      room.top + header + double(r) * (panelH + header + gap), panelW, panelH};
            p.col = scales.panelCol.empty() ? -1 : std::int32_t(c);
            p.row = scales.panelRow.empty() ? -1 : std::int32_t(r);
            p.firstColumn = c == 0;
            p.lastRow = r + 1 == rows;
            if (out.panelled) {
                std::string head = p.col >= 0 ? scales.panelCol.label(scales.panelCol.keys[c]) : "";
                if (p.row >= 0)
                    head +=
                        (head.empty() ? "" : ", ") + scales.panelRow.label(scales.panelRow.keys[r]);
                p.header = fitText(head, panelW, kTickFont, m);
            }
            out.panels.push_back(std::move(p));
        }
}

}  // namespace

Layout layoutChart(Spec& spec, ChartModel const& model, Layers const& ls, Scales const& scales,
                   std::vector<LegendEntry> legend, TextMeasurer const& m,
                   std::vector<std::string>& warnings) {
    Layout out;
    std::string xTitle = axisTitle(spec, 1, ls.xVar, ls);
    if (ls.clusterVar)
        xTitle = spec.axes[3].labelSet ? spec.axes[3].label : varTitle(ls.clusterVar);
    std::string yTitle = axisTitle(spec, 2, ls.yVar, ls);
    // Which axis is horizontal: dimension 1 unless transposed. A pie has no axes.
    bool tr = out.transposed = spec.transpose;
    bool xHidden = spec.axes[1].hidden || spec.polar, yHidden = spec.axes[2].hidden || spec.polar;
    out.h.dim = tr ? 2 : 1;
    out.v.dim = tr ? 1 : 2;
    out.h.hidden = tr ? yHidden : xHidden;
    out.v.hidden = tr ? xHidden : yHidden;
    out.h.title = tr ? yTitle : xTitle;
    out.v.title = tr ? xTitle : yTitle;
    out.h.categorical = out.h.dim == 1 && scales.xCategorical;
    out.v.categorical = out.v.dim == 1 && scales.xCategorical;
    out.h.ticksHidden = spec.axes[out.h.dim].ticksHidden;
    out.v.ticksHidden = spec.axes[out.v.dim].ticksHidden;
    out.h.ticks = tickTexts(out.h.dim, scales, ls);
    out.v.ticks = tickTexts(out.v.dim, scales, ls);
    // Gridlines: the value axis by default; the document's settings and the guides override.
    out.v.grid = !out.v.categorical || spec.axes[out.v.dim].gridlinesSet;
    out.h.grid = spec.axes[out.h.dim].gridlinesSet;
    if (model.yGridlines)
        out.v.grid = model.yGridlines == 1;
    if (model.xGridlines)
        out.h.grid = model.xGridlines == 1;
    if (spec.polar)
        out.v.grid = out.h.grid = false;  // a pie has no value axis to guide

    Room room{kMargin, spec.width - kMargin, kMargin, spec.height - kMargin};
    if (spec.graphPlaced) {
        room.left = std::max(kMargin, spec.graphX * spec.width);
        room.top = std::max(kMargin, spec.graphY * spec.height);
        room.right = std::min(room.right, (spec.graphX + spec.graphW) * spec.width);
        room.bottom = std::min(room.bottom, (spec.graphY + spec.graphH) * spec.height);
    }
    placeTitles(spec, model, m, room, out);
    placeLegend(spec, ls, std::move(legend), m, room, out.legend);
    placeAxes(spec, m, std::max<std::size_t>(1, scales.panelCol.size()), room, out);
    placePanels(scales, m, room, out, warnings);
    out.left = room.left;
    out.right = room.right;
    out.top = room.top;
    out.bottom = room.bottom;
    return out;
}

}  // namespace host::chart
