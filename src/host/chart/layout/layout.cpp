#include "host/chart/layout/layout.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/chart/layout/legend_layout.h"
#include "host/chart/layout/text_fit.h"

namespace host::chart {

std::string variableTitle(ChartVariableRecord const* var) {
    return !var ? "" : var->label.empty() ? var->name : var->label;
}

namespace {

constexpr double kMargin = 14;

struct Room {
    double left, right, top, bottom;
};

std::string axisTitle(Spec& spec, int dim, ChartVariableRecord const* var, Layers const& ls) {
    AxisGuide const& g = spec.axes[dim];
    if (g.labelSet)
        return g.label;
    std::string const& stat = ls.yStatistic;
    if (dim == 2 && !stat.empty() && !var)
        return stat.find("cumulative") != std::string::npos
                   ? (stat.find("percent") != std::string::npos ? "Cumulative Percent"
                                                                : "Cumulative Count")
               : stat.find("percent") != std::string::npos ? "Percent"
               : stat.rfind("density.", 0) == 0            ? "Density"
                                                           : "Count";
    if (dim == 2 && ls.yNames.size() > 1)
        return "";
    return variableTitle(var);
}

void placeTitles(Spec const& spec, ChartModel const& model, TextMeasurer const& m, Room& room,
                 Layout& out) {
    // A title too long for the page goes on over a second line.
    auto add = [&](std::string const& s, double size, bool bold, Role role) {
        for (auto const& line : wrapText(s, room.right - room.left, size, m, bold)) {
            out.texts.push_back({role, line, (room.left + room.right) / 2, room.top + size, size,
                                 bold, 0, 0, kTextColor});
            room.top += measureText(line, size, m, bold).height + 4;
        }
    };
    add(spec.title, 16, true, Role::Title);
    add(model.subtitleSet && spec.commandTexts ? model.subtitle : spec.subtitle, 13, false,
        Role::Subtitle);
    add(spec.subsubtitle, 12, false, Role::Subsubtitle);
    // The footnote from the bottom up: its last line lowest.
    auto foot = wrapText(spec.footnote, room.right - room.left, 10, m);
    for (auto line = foot.rbegin(); line != foot.rend(); ++line) {
        out.texts.push_back({Role::Footnote, *line, room.left, room.bottom - 2, 10, false, -1, 0,
                             Color{0.4, 0.4, 0.4, 1}});
        room.bottom -= measureText(*line, 10, m).height + 2;
    }
    if (!foot.empty())
        room.bottom -= 4;
    if (room.top > kMargin)
        room.top += 6;
}

// Room for the axes: the vertical one's labels and title on the left, the horizontal one's
// (rotated when they would overlap) and title below.
void placeAxes(Spec const& spec, TextMeasurer const& m, std::size_t columns, Room& room,
               Layout& out) {
    AxisLayout const &h = out.h, &v = out.v;
    auto guide = [&](int dim) {
        auto it = spec.axes.find(dim);
        return it == spec.axes.end() ? AxisGuide{} : it->second;
    };
    AxisGuide const hGuide = guide(h.dim), vGuide = guide(v.dim);
    constexpr double kRad = 3.14159265358979323846 / 180;
    out.vAngle = vGuide.angled ? vGuide.labelAngle : 0;
    double vSin = std::fabs(std::sin(out.vAngle * kRad)),
           vCos = std::fabs(std::cos(out.vAngle * kRad));
    double vLabelWidth = 0;
    for (auto const& t : v.ticks) {
        TextSize size = measureText(t.text, kTickFont, m);
        vLabelWidth = std::max(vLabelWidth, size.width * vCos + size.height * vSin);
    }
    out.vLabelWidth =
        std::min(vLabelWidth, 0.3 * (spec.graphPlaced ? room.right - room.left : spec.width));
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
    if (hGuide.angled) {  // label.angle: as asked, even when the labels would fit
        out.hAngle = hGuide.labelAngle;
        out.rotate = out.hAngle != 0;
    } else {
        out.rotate = h.categorical && hMaxLabel > band * 0.92;
    }
    double hSin = std::max(0.2, std::fabs(std::sin(out.hAngle * kRad)));
    double hCos = std::fabs(std::cos(out.hAngle * kRad));
    out.maxRotated = std::min(hMaxLabel, spec.height * 0.3 / hSin);
    out.hLabelHeight = out.rotate ? out.maxRotated * hSin + tickTextHeight * hCos : tickTextHeight;
    if (!h.hidden && !h.categorical && !h.ticks.empty() && !out.rotate) {
        // The last tick label is centred under the plot's right end: keep it on the page.
        double half = measureText(h.ticks.back().text, kTickFont, m).width / 2;
        room.right -= std::max(0.0, half - kMargin + 2);
    }
    if (!h.hidden) {
        room.bottom -= out.hLabelHeight + 8;
        // A title wider than the plots goes on over a second line.
        if (!h.title.empty())
            out.hTitleLines = wrapText(h.title, room.right - room.left, kTitleFont, m, true);
        for (std::size_t i = 0; i < out.hTitleLines.size(); ++i)
            room.bottom -= kTitleFont * (i == 0 ? 1.4 : 1.2) + (i == 0 ? 4 : 0);
    } else {
        room.bottom -= 4;
    }
    // The vertical title along the plots' height, on a second line when it is longer; the
    // room of that line is taken from the plots' width.
    if (!v.hidden && !v.title.empty())
        out.vTitleLines = wrapText(v.title, room.bottom - room.top, kTitleFont, m, true);
    if (out.vTitleLines.size() > 1)
        room.left += kTitleFont * 1.2 * double(out.vTitleLines.size() - 1);
}

// Three dimensions: the third axis recedes from the plot's lower right corner, its labels and
// title beyond it on the right.
void placeDepthAxis(Spec& spec, Layers const& ls, Scales const& scales, TextMeasurer const& m,
                    Room& room, Layout& out) {
    AxisGuide const& g = spec.axes[3];
    out.d.dim = 3;
    out.d.hidden = g.hidden;
    out.d.ticksHidden = g.ticksHidden;
    out.d.title = g.labelSet ? g.label : variableTitle(ls.zVar);
    out.d.ticks = tickTexts(3, scales, ls);
    if (out.d.hidden)
        return;
    for (auto const& t : out.d.ticks)
        out.dLabelWidth = std::max(out.dLabelWidth, measureText(t.text, kTickFont, m).width);
    room.right -= out.dLabelWidth + 12 + (out.d.title.empty() ? 0 : kTitleFont * 2);
}

// Graphs in one column (or row) of the page keep their plots' edges in line.
void alignRoom(Spec const& spec, Room& room) {
    if (spec.alignLeft > 0)
        room.left = std::max(room.left, spec.alignLeft);
    if (spec.alignRight > 0)
        room.right = std::min(room.right, spec.alignRight);
    if (spec.alignTop > 0)
        room.top = std::max(room.top, spec.alignTop);
    if (spec.alignBottom > 0)
        room.bottom = std::min(room.bottom, spec.alignBottom);
}

// With wrap() the panels of one factor fill rows of a grid about as wide as it is high.
std::size_t wrappedColumns(Spec const& spec, Scales const& scales) {
    std::size_t n = scales.panelCol.size();
    if (!spec.wrap || !scales.panelRow.empty() || n < 3)
        return std::max<std::size_t>(1, n);
    return static_cast<std::size_t>(std::ceil(std::sqrt(double(n))));
}

void placePanels(Spec const& spec, Scales const& scales, TextMeasurer const& m, Room const& room,
                 Layout& out, std::vector<std::string>& warnings) {
    std::size_t cols = wrappedColumns(spec, scales);
    std::size_t rows = std::max<std::size_t>(1, scales.panelRow.size());
    std::size_t count = scales.panelCol.size();
    bool wrapped = cols < count;
    if (wrapped)
        rows = (count + cols - 1) / cols;
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
            std::size_t index = wrapped ? r * cols + c : c;  // on the panel scale
            if (wrapped && index >= count)
                break;
            PanelBox p;
            p.plot = {room.left + double(c) * (panelW + gap),
                      room.top + header + double(r) * (panelH + header + gap), panelW, panelH};
            p.col = scales.panelCol.empty() ? -1 : std::int32_t(index);
            p.row = scales.panelRow.empty() ? -1 : std::int32_t(r);
            p.firstColumn = c == 0;
            // A wrapped panel with none below it carries the axis of its column.
            p.lastRow = r + 1 == rows || (wrapped && index + cols >= count);
            if (out.panelled) {
                std::string head =
                    p.col >= 0 ? scales.panelCol.label(scales.panelCol.keys[index]) : "";
                if (p.row >= 0)
                    head +=
                        (head.empty() ? "" : ", ") + scales.panelRow.label(scales.panelRow.keys[r]);
                p.header = fitText(head, panelW, kTickFont, m);
            }
            out.panels.push_back(std::move(p));
        }
}

// sameRatio(): a unit of the data as long across as up; each plot shrinks to keep it so,
// standing on its bottom left corner.
void keepSameRatio(Spec const& spec, Scales const& scales, Layout& out,
                   std::vector<std::string>& warnings) {
    if (!spec.sameRatio)
        return;
    LinScale const &x = scales.xLin, &y = scales.yLin;
    if (scales.xCategorical || x.log || y.log || x.exponent != 1 || y.exponent != 1) {
        warnings.push_back(
            fmt::format("line {}: sameRatio() needs linear scales on both axes; it is ignored",
                        spec.coordLine));
        return;
    }
    double across = out.transposed ? y.hi - y.lo : x.hi - x.lo;
    double up = out.transposed ? x.hi - x.lo : y.hi - y.lo;
    if (!(across > 0 && up > 0))
        return;
    for (auto& p : out.panels) {
        double unit = std::min(p.plot.w / across, p.plot.h / up);
        double h = up * unit;
        p.plot.y += p.plot.h - h;
        p.plot.w = across * unit;
        p.plot.h = h;
    }
}

}  // namespace

Layout layoutChart(Spec& spec, ChartModel const& model, Layers const& ls, Scales const& scales,
                   std::vector<LegendEntry> legend, TextMeasurer const& m,
                   std::vector<std::string>& warnings) {
    Layout out;
    std::string xTitle = axisTitle(spec, 1, ls.xVar, ls);
    if (ls.clusterVar)
        xTitle = spec.axes[3].labelSet ? spec.axes[3].label : variableTitle(ls.clusterVar);
    std::string yTitle = axisTitle(spec, 2, ls.yVar, ls);
    // Which axis is horizontal: dimension 1 unless transposed. A pie has no axes.
    // A polar plane draws its guides around its circle.
    bool bent = spec.polar || spec.polarPlane;
    bool xHidden = spec.axes[1].hidden || bent, yHidden = spec.axes[2].hidden || bent;
    bool tr = out.transposed = spec.transpose && !spec.polarPlane;
    out.h.dim = tr ? 2 : 1;
    out.v.dim = tr ? 1 : 2;
    out.h.hidden = tr ? yHidden : xHidden;
    out.v.hidden = tr ? xHidden : yHidden;
    out.h.title = tr ? yTitle : xTitle;
    out.v.title = tr ? xTitle : yTitle;
    auto categorical = [&](int dim) {
        return dim == 1 ? scales.xCategorical : scales.yCategorical;
    };
    out.h.categorical = categorical(out.h.dim);
    out.v.categorical = categorical(out.v.dim);
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
    if (bent)
        out.v.grid = out.h.grid = false;  // a pie has no value axis to guide

    Room room{kMargin, spec.width - kMargin, kMargin, spec.height - kMargin};
    if (spec.graphPlaced) {
        room.left = std::max(kMargin, spec.graphX * spec.width);
        room.top = std::max(kMargin, spec.graphY * spec.height);
        room.right = std::min(room.right, (spec.graphX + spec.graphW) * spec.width);
        room.bottom = std::min(room.bottom, (spec.graphY + spec.graphH) * spec.height);
    }
    placeTitles(spec, model, m, room, out);
    room.right -=
        placeLegend(spec, ls, std::move(legend), m, room.left, room.right, room.top, room.bottom,
                    out.legend);
    placeAxes(spec, m, wrappedColumns(spec, scales), room, out);
    if (spec.dims == 3)
        placeDepthAxis(spec, ls, scales, m, room, out);
    alignRoom(spec, room);
    placePanels(spec, scales, m, room, out, warnings);
    keepSameRatio(spec, scales, out, warnings);
    out.left = room.left;
    out.right = room.right;
    out.top = room.top;
    out.bottom = room.bottom;
    return out;
}

}  // namespace host::chart
