#include "host/chart/render/raster_layer.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <cairo.h>

#include "host/chart/render/batch_painter.h"

namespace host::chart {

namespace {

constexpr double kPixelBudget = 6e6;  // device pixels of one picture at most

struct Box {
    double x0 = std::numeric_limits<double>::infinity(), y0 = x0, x1 = -x0, y1 = -x0;
    void add(double x, double y, double pad) {
        if (!std::isfinite(x) || !std::isfinite(y))
            return;
        x0 = std::min(x0, x - pad);
        y0 = std::min(y0, y - pad);
        x1 = std::max(x1, x + pad);
        y1 = std::max(y1, y + pad);
    }
};

Box extentOf(Batch const& b) {
    Box box;
    double stroke = b.style.strokeWidth + 1;
    for (std::size_t i = 0; i < b.size(); ++i) {
        switch (b.kind) {
            case MarkKind::Rect:
                box.add(b.x[i], b.y[i], stroke);
                box.add(b.x[i] + b.w[i], b.y[i] + b.h[i], stroke);
                break;
            case MarkKind::Circle:
            case MarkKind::Marker:
                box.add(b.x[i], b.y[i], b.radiusAt(i) * 1.35 + stroke);
                break;
            case MarkKind::Polyline:
            case MarkKind::Polygon:
                for (std::size_t k = b.start[i]; k < b.pointsEnd(i); ++k)
                    box.add(b.points[k].x, b.points[k].y, stroke);
                break;
            case MarkKind::Text:
                box.add(b.x[i], b.y[i], b.style.fontSize * 20);
                break;
        }
    }
    return box;
}

}  // namespace

RasterImage rasterizeBatch(Batch const& batch, double pageWidth, double pageHeight) {
    RasterImage out;
    Box box = extentOf(batch);
    double x0 = std::max(0.0, std::floor(box.x0)), y0 = std::max(0.0, std::floor(box.y0));
    double x1 = std::min(pageWidth, std::ceil(box.x1)),
           y1 = std::min(pageHeight, std::ceil(box.y1));
    if (!(x1 > x0 && y1 > y0))
        return out;
    double scale = std::clamp(std::sqrt(kPixelBudget / ((x1 - x0) * (y1 - y0))), 1.0, 2.0);
    int w = static_cast<int>(std::ceil((x1 - x0) * scale));
    int h = static_cast<int>(std::ceil((y1 - y0) * scale));
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    cairo_t* cr = cairo_create(surface);
    cairo_scale(cr, scale, scale);
    cairo_translate(cr, -x0, -y0);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    paintBatch(cr, batch);
    cairo_destroy(cr);
    auto append = [](void* closure, unsigned char const* data, unsigned int length) {
        static_cast<std::string*>(closure)->append(reinterpret_cast<char const*>(data), length);
        return CAIRO_STATUS_SUCCESS;
    };
    if (cairo_surface_write_to_png_stream(surface, append, &out.png) != CAIRO_STATUS_SUCCESS)
        out.png.clear();
    cairo_surface_destroy(surface);
    out.x = x0;
    out.y = y0;
    out.w = x1 - x0;
    out.h = y1 - y0;
    return out;
}

}  // namespace host::chart
