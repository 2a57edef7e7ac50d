#include "host/chart/renderers.h"
#include "host/output/writers.h"

#include <fmt/format.h>

#include "host/chart/text_metrics.h"

namespace host::chart {

namespace {

// SVG text is escaped as the report escapes its own text.
std::string escape(std::string const& s) { return host::output::escapeHtml(s); }

std::string paint(char const* attribute, Color const& c) {
    if (c.a <= 0)
        return fmt::format(" {}=\"none\"", attribute);
    std::string out = fmt::format(" {}=\"{}\"", attribute, c.hex());
    if (c.a < 1)
        out += fmt::format(" {}-opacity=\"{:.3g}\"", attribute, c.a);
    return out;
}

std::string strokeOf(Primitive const& p) {
    if (p.strokeWidth <= 0 || p.stroke.a <= 0)
        return "";
    std::string out =
        paint("stroke", p.stroke) + fmt::format(" stroke-width=\"{:.3g}\"", p.strokeWidth);
    if (!p.dash.empty()) {
        out += " stroke-dasharray=\"";
        for (std::size_t i = 0; i < p.dash.size(); ++i)
            out += fmt::format("{}{:.3g}", i ? "," : "", p.dash[i]);
        out += "\"";
    }
    return out;
}

std::string points(std::vector<Point> const& pts) {
    std::string out;
    out.reserve(pts.size() * 14);
    for (auto const& p : pts) {
        if (!out.empty())
            out += ' ';
        out += fmt::format("{:.2f},{:.2f}", p.x, p.y);
    }
    return out;
}

// The rings of a polygon as one path, so that holes stay open under the even-odd rule.
std::string ringPath(Primitive const& p) {
    std::string out;
    out.reserve(p.points.size() * 14);
    for (std::size_t i = 0, ring = 0; i < p.points.size(); ++i) {
        bool const starts = i == 0 || (ring < p.ringStarts.size() && p.ringStarts[ring] == i);
        if (starts && i > 0) {
            out += "Z";
            ++ring;
        }
        out += fmt::format("{}{:.2f},{:.2f}", starts ? "M" : (i ? " " : ""), p.points[i].x,
                           p.points[i].y);
    }
    return out + "Z";
}

}  // namespace

std::string writeSvg(Scene const& scene) {
    std::string out = fmt::format(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:g}\" height=\"{1:g}\" "
        "viewBox=\"0 0 {0:g} {1:g}\" font-family=\"{2}, sans-serif\">\n"
        "<rect width=\"100%\" height=\"100%\" fill=\"#FFFFFF\"/>\n",
        scene.width, scene.height, kFontFamily);
    for (auto const& p : scene.items) {
        std::string cls = p.role.empty() ? "" : fmt::format(" class=\"{}\"", escape(p.role));
        switch (p.kind) {
            case Primitive::Kind::Rect:
                out += fmt::format(
                    "<rect{} x=\"{:.2f}\" y=\"{:.2f}\" width=\"{:.2f}\" "
                    "height=\"{:.2f}\"{}{}/>\n",
                    cls, p.x, p.y, p.w, p.h, paint("fill", p.fill), strokeOf(p));
                break;
            case Primitive::Kind::Circle:
                out += fmt::format("<circle{} cx=\"{:.2f}\" cy=\"{:.2f}\" r=\"{:.2f}\"{}{}/>\n",
                                   cls, p.x, p.y, p.w, paint("fill", p.fill), strokeOf(p));
                break;
            case Primitive::Kind::Polyline:
                out += fmt::format(
                    "<polyline{} points=\"{}\" fill=\"none\"{} "
                    "stroke-linejoin=\"round\"/>\n",
                    cls, points(p.points), strokeOf(p));
                break;
            case Primitive::Kind::Polygon:
                if (!p.ringStarts.empty()) {
                    out += fmt::format("<path{} d=\"{}\" fill-rule=\"evenodd\"{}{}/>\n", cls,
                                       ringPath(p), paint("fill", p.fill), strokeOf(p));
                    break;
                }
                out += fmt::format("<polygon{} points=\"{}\"{}{}/>\n", cls, points(p.points),
                                   paint("fill", p.fill), strokeOf(p));
                break;
            case Primitive::Kind::Text: {
                char const* anchor = p.anchor < 0 ? "start" : p.anchor > 0 ? "end" : "middle";
                std::string transform =
                    p.angle != 0 ? fmt::format(" transform=\"rotate({:g} {:.2f} {:.2f})\"", p.angle,
                                               p.x, p.y)
                                 : "";
                out += fmt::format(
                    "<text{} x=\"{:.2f}\" y=\"{:.2f}\" font-size=\"{:g}\" text-anchor=\"{}\"{}{}{}>"
                    "{}</text>\n",
                    cls, p.x, p.y, p.fontSize, anchor, p.bold ? " font-weight=\"bold\"" : "",
                    paint("fill", p.fill), transform, escape(p.text));
                break;
            }
        }
    }
    out += "</svg>\n";
    return out;
}

}  // namespace host::chart
