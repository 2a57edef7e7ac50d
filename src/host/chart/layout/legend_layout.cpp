#include "host/chart/layout/legend_layout.h"

#include <algorithm>
#include <string>

#include "host/chart/layout/text_fit.h"

namespace host::chart {

namespace {

double entryHeight(LegendEntry const& e, double row) {
    return e.bar        ? kColorBarHeight + 14
           : e.heading  ? 6 + kTitleFont * 1.6
           : e.radius > 0 ? std::max(row, 2 * e.radius + 4)
                          : row;
}

// The room beside an entry's text: its swatch, circle or nothing.
double swatchWidth(LegendEntry const& e, LegendLayout const& legend) {
    return e.note || e.bar ? 0 : e.radius > 0 ? 2 * e.radius + 6 : legend.swatch + 6;
}

// Entries in columns of at most `avail` high, in a font of `font` on rows of `row`.
struct LegendFlow {
    std::vector<std::pair<std::size_t, std::size_t>> columns;  // entries [first, second)
    std::vector<double> widths;
    double width = 0;  // of them all, without the gaps
};

// The width of each entry's text in a font of `font` (headings in their own).
std::vector<double> textWidths(std::vector<LegendEntry> const& entries, TextMeasurer const& m,
                               double font) {
    std::vector<double> out;
    out.reserve(entries.size());
    for (auto const& e : entries) {
        double w = e.heading ? measureText(e.label, kTitleFont, m, true).width
                             : measureText(e.label, font, m).width;
        for (auto const& tick : e.barTicks)  // a colour bar: its labels beside it
            w = std::max(w, kColorBarWidth + 8 + measureText(tick.second, kTickFont, m).width);
        out.push_back(w);
    }
    return out;
}

LegendFlow flowLegend(std::vector<LegendEntry> const& entries, LegendLayout& legend,
                      std::vector<double> const& text, double font, double row, double avail) {
    legend.font = font;
    legend.row = row;
    LegendFlow f;
    double y = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        LegendEntry const& e = entries[i];
        double h = entryHeight(e, row);
        if (f.columns.empty() ||
            (y + h > avail && f.columns.back().second > f.columns.back().first)) {
            f.columns.push_back({i, i});
            f.widths.push_back(0);
            y = 0;
        }
        double swatch = swatchWidth(e, legend);
        f.widths.back() = std::max(f.widths.back(), swatch + text[i]);
        f.columns.back().second = i + 1;
        y += h;
    }
    for (double w : f.widths) f.width += w;
    return f;
}

// The same number of columns, of about equal height: the least height that keeps it.
LegendFlow balance(std::vector<LegendEntry> const& entries, LegendLayout& legend,
                   std::vector<double> const& text, LegendFlow flow, double avail) {
    std::size_t cols = flow.columns.size();
    if (cols < 2)
        return flow;
    double total = 0;
    for (auto const& e : entries) total += entryHeight(e, legend.row);
    for (double h = total / double(cols); h < avail; h += legend.row / 2) {
        LegendFlow f = flowLegend(entries, legend, text, legend.font, legend.row, h);
        if (f.columns.size() <= cols)
            return f;
    }
    return flow;
}

}  // namespace

double placeLegend(Spec const& spec, Layers const& ls, std::vector<LegendEntry> entries,
                   TextMeasurer const& m, double left, double right, double top, double bottom,
                   LegendLayout& legend) {
    legend.shown = !entries.empty() && !spec.legendHidden;
    if (!legend.shown)
        return 0;
    std::string sizeTitle =
        !spec.sizeLegendLabel.empty() ? spec.sizeLegendLabel : variableTitle(ls.sizeVar);
    std::string outlineTitle =
        !spec.outlineLegendLabel.empty() ? spec.outlineLegendLabel : variableTitle(ls.exteriorVar);
    // The legend's title names its first group of entries; each further group has a heading.
    bool outlinesFirst = !entries.front().key.empty() && entries.front().key[0] == kOutlineKey;
    std::string title = outlinesFirst                   ? outlineTitle
                        : spec.legendLabelSet           ? spec.legendLabel
                        : ls.colorVar                   ? variableTitle(ls.colorVar)
                        : ls.anyCells || ls.colorCounts ? "Count"
                        : entries.front().shape >= 0    ? variableTitle(ls.shapeVar)
                        : ls.sizeVar                    ? sizeTitle
                        : ls.alphaVar                   ? variableTitle(ls.alphaVar)
                        : ls.textureVar                 ? variableTitle(ls.textureVar)
                                                        : "";
    for (auto& e : entries)
        if (e.heading && e.key == std::string(1, kSizeKey) + "size")
            e.label = sizeTitle;
        else if (e.heading && e.key == std::string(1, kOutlineKey))
            e.label = outlineTitle;
    legend.lines = !ls.layers.empty() && ls.layers.front().element->type == "line";
    bool dashes = legend.lines && std::any_of(entries.begin(), entries.end(),
                                              [](LegendEntry const& e) { return e.shape >= 0; });
    legend.swatch = dashes ? 28 : 12;
    legend.y = top + 4;
    top = legend.y + (title.empty() ? 0 : kTitleFont * 1.6);
    double avail = std::max(kTitleFont * 2, bottom - top);
    // A graph placed on a page with others has its own width to share with its legend.
    double const across = spec.graphPlaced ? right - left : spec.width;
    double widest = across * 0.3, widestColumns = across * 0.45;
    // One column in the usual font; a long legend takes a smaller one, then columns.
    LegendFlow flow = flowLegend(entries, legend, textWidths(entries, m, 11), 11, 18, avail);
    if (flow.columns.size() > 1)
        flow = flowLegend(entries, legend, textWidths(entries, m, 9), 9, 14, avail);
    double gap = 10, least = 50;
    std::size_t cols = flow.columns.size();
    if (cols > 1 && flow.width > widestColumns) {
        // As many columns as the page has room for; what is left over is counted in a note.
        std::size_t fit =
            std::max<std::size_t>(1, std::size_t((widestColumns + gap) / (least + gap)));
        if (cols > fit) {
            std::size_t shown = flow.columns[fit - 1].second - 1;
            std::size_t more = entries.size() - shown;
            entries.resize(shown);
            entries.push_back(
                {"\x1dmore", std::to_string(more) + " more", Color{}, 0, false, -1, true});
            flow = flowLegend(entries, legend, textWidths(entries, m, 9), 9, 14, avail);
            cols = flow.columns.size();
        }
    }
    flow = balance(entries, legend, textWidths(entries, m, legend.font), flow, avail);
    double limit = cols > 1 ? widestColumns : widest;
    if (flow.width > limit)  // columns share the room alike; labels are cut to it
        for (auto& w : flow.widths)
            w = std::max(legend.swatch + 6, (limit - gap * double(cols - 1)) / double(cols));
    double w = 0;
    for (double c : flow.widths) w += c;
    w += gap * double(cols - 1);
    w = std::max(w, std::min(limit, measureText(title, kTitleFont, m, true).width));
    legend.x = right - w;
    legend.w = w;
    legend.title = title.empty() ? "" : fitText(title, w, kTitleFont, m, true);
    legend.at.resize(entries.size());
    double x = legend.x;
    for (std::size_t c = 0; c < cols; ++c) {
        double y = top;
        for (std::size_t i = flow.columns[c].first; i < flow.columns[c].second; ++i) {
            LegendEntry& e = entries[i];
            legend.at[i] = {x, y};
            double swatch = swatchWidth(e, legend);
            double size = e.heading ? kTitleFont : legend.font;
            e.label = fitText(e.label, flow.widths[c] - swatch, size, m, e.heading);
            y += entryHeight(e, legend.row);
        }
        x += flow.widths[c] + gap;
    }
    legend.entries = std::move(entries);
    return w + 16;
}

}  // namespace host::chart
