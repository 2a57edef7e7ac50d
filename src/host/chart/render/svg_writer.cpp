#include <algorithm>

#include <fmt/format.h>

#include "host/chart/layout/text_metrics.h"
#include "host/chart/render/raster_layer.h"
#include "host/chart/render/renderers.h"
#include "host/files/base64.h"
#include "host/output/writers.h"

namespace host::chart {

namespace {

// SVG text is escaped as the report escapes its own text.
std::string escape(std::string const& s) {
    return host::output::escapeHtml(s);
}

std::string paint(char const* attribute, Color const& c) {
    if (c.a <= 0)
        return fmt::format(" {}=\"none\"", attribute);
    std::string out = fmt::format(" {}=\"{}\"", attribute, c.hex());
    if (c.a < 1)
        out += fmt::format(" {}-opacity=\"{:.3g}\"", attribute, c.a);
    return out;
}

std::string strokeOf(Style const& s) {
    if (s.strokeWidth <= 0 || s.stroke.a <= 0)
        return "";
    std::string out =
        paint("stroke", s.stroke) + fmt::format(" stroke-width=\"{:.3g}\"", s.strokeWidth);
    if (!s.dash.empty()) {
        out += " stroke-dasharray=\"";
        for (std::size_t i = 0; i < s.dash.size(); ++i)
            out += fmt::format("{}{:.3g}", i ? "," : "", s.dash[i]);
        out += "\"";
    }
    return out;
}

void points(std::string& out, std::vector<Point> const& pts, std::size_t from, std::size_t to) {
    for (std::size_t k = from; k < to; ++k)
        fmt::format_to(std::back_inserter(out), "{}{:.2f},{:.2f}", k > from ? " " : "", pts[k].x,
                       pts[k].y);
}

// The rings of polygon `i` as one path, so that holes stay open under the even-odd rule.
void ringPath(std::string& out, Batch const& b, std::size_t i) {
    auto ring = std::lower_bound(b.rings.begin(), b.rings.end(), b.start[i]);
    for (std::size_t k = b.start[i]; k < b.pointsEnd(i); ++k) {
        bool const starts = k == b.start[i] || (ring != b.rings.end() && *ring == k);
        if (starts && k > b.start[i]) {
            out += 'Z';
            ++ring;
        }
        fmt::format_to(std::back_inserter(out), "{}{:.2f},{:.2f}", starts ? "M" : " ",
                       b.points[k].x, b.points[k].y);
    }
    out += 'Z';
}

void writeMark(std::string& out, Batch const& b, std::size_t i, char const* cls,
               std::string const& stroke) {
    auto sink = std::back_inserter(out);
    switch (b.kind) {
        case MarkKind::Rect:
            fmt::format_to(sink,
                           "<rect class=\"{}\" x=\"{:.2f}\" y=\"{:.2f}\" width=\"{:.2f}\" "
                           "height=\"{:.2f}\"{}{}/>\n",
                           cls, b.x[i], b.y[i], b.w[i], b.h[i], paint("fill", b.fillAt(i)), stroke);
            break;
        case MarkKind::Circle:
            fmt::format_to(sink,
                           "<circle class=\"{}\" cx=\"{:.2f}\" cy=\"{:.2f}\" r=\"{:.2f}\"{}{}/>\n",
                           cls, b.x[i], b.y[i], b.radiusAt(i), paint("fill", b.fillAt(i)), stroke);
            break;
        case MarkKind::Marker: {
            auto outline = markerOutline(b.style.shape, b.x[i], b.y[i], b.radiusAt(i));
            fmt::format_to(sink, "<polygon class=\"{}\" points=\"", cls);
            points(out, outline, 0, outline.size());
            fmt::format_to(std::back_inserter(out), "\"{}{}/>\n", paint("fill", b.fillAt(i)),
                           stroke);
            break;
        }
        case MarkKind::Polyline:
            fmt::format_to(sink, "<polyline class=\"{}\" points=\"", cls);
            points(out, b.points, b.start[i], b.pointsEnd(i));
            fmt::format_to(std::back_inserter(out),
                           "\" fill=\"none\"{} stroke-linejoin=\"round\"/>\n", stroke);
            break;
        case MarkKind::Polygon:
            if (!b.rings.empty()) {
                fmt::format_to(sink, "<path class=\"{}\" d=\"", cls);
                ringPath(out, b, i);
                fmt::format_to(std::back_inserter(out), "\" fill-rule=\"evenodd\"{}{}/>\n",
                               paint("fill", b.fillAt(i)), stroke);
                break;
            }
            fmt::format_to(sink, "<polygon class=\"{}\" points=\"", cls);
            points(out, b.points, b.start[i], b.pointsEnd(i));
            fmt::format_to(std::back_inserter(out), "\"{}{}/>\n", paint("fill", b.fillAt(i)),
                           stroke);
            break;
        case MarkKind::Text: {
            Style const& s = b.style;
            char const* anchor = s.anchor < 0 ? "start" : s.anchor > 0 ? "end" : "middle";
            std::string transform = s.angle != 0
                                        ? fmt::format(" transform=\"rotate({:g} {:.2f} {:.2f})\"",
                                                      s.angle, b.x[i], b.y[i])
                                        : "";
            fmt::format_to(sink,
                           "<text class=\"{}\" x=\"{:.2f}\" y=\"{:.2f}\" font-size=\"{:g}\" "
                           "text-anchor=\"{}\"{}{}{}>{}</text>\n",
                           cls, b.x[i], b.y[i], s.fontSize, anchor,
                           s.bold ? " font-weight=\"bold\"" : "", paint("fill", b.fillAt(i)),
                           transform, escape(b.text[i]));
            break;
        }
    }
}

// A batch of very many marks as one picture, in the place of its marks.
bool writeRaster(std::string& out, Batch const& b, Scene const& scene) {
    RasterImage image = rasterizeBatch(b, scene.width, scene.height);
    if (image.png.empty())
        return false;
    fmt::format_to(std::back_inserter(out),
                   "<image class=\"{}\" x=\"{:g}\" y=\"{:g}\" width=\"{:g}\" height=\"{:g}\" "
                   "preserveAspectRatio=\"none\" href=\"data:image/png;base64,",
                   roleName(b.role), image.x, image.y, image.w, image.h);
    out += files::base64(image.png);
    out += "\"/>\n";
    return true;
}

}  // namespace

std::string writeSvg(Scene const& scene) {
    std::string out = fmt::format(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:g}\" height=\"{1:g}\" "
        "viewBox=\"0 0 {0:g} {1:g}\" font-family=\"{2}, sans-serif\">\n"
        "<rect width=\"100%\" height=\"100%\" fill=\"#FFFFFF\"/>\n",
        scene.width, scene.height, kFontFamily);
    for (auto const& b : scene.batches) {
        if (b.size() >= kPictureMarks && b.kind != MarkKind::Text && writeRaster(out, b, scene))
            continue;
        char const* cls = roleName(b.role);
        std::string stroke = strokeOf(b.style);
        out.reserve(out.size() + b.size() * 80);
        for (std::size_t i = 0; i < b.size(); ++i) writeMark(out, b, i, cls, stroke);
    }
    out += "</svg>\n";
    return out;
}

}  // namespace host::chart
