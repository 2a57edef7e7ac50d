#include "host/chart/render/batch_painter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <deque>
#include <vector>

#include "host/chart/layout/text_metrics.h"
#include "host/chart/render/raster_layer.h"
#include "host/chart/render/renderers.h"

namespace host::chart {

namespace {

void setColor(cairo_t* cr, Color const& c) {
    cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a);
}

void strokePath(cairo_t* cr, Style const& s) {
    if (s.strokeWidth <= 0 || s.stroke.a <= 0)
        return;
    setColor(cr, s.stroke);
    cairo_set_line_width(cr, s.strokeWidth);
    cairo_set_dash(cr, s.dash.empty() ? nullptr : s.dash.data(), static_cast<int>(s.dash.size()),
                   0);
    cairo_stroke_preserve(cr);
    cairo_set_dash(cr, nullptr, 0, 0);
}

void fillPath(cairo_t* cr, Color const& fill) {
    if (fill.a <= 0)
        return;
    setColor(cr, fill);
    cairo_fill_preserve(cr);
}

// A circle or a marker of the batch's shape, filled and outlined.
void drawMarker(cairo_t* cr, Batch const& b, double x, double y, double r, Color const& fill) {
    cairo_new_path(cr);
    if (b.kind == MarkKind::Circle || b.style.shape == MarkerShape::Circle) {
        cairo_arc(cr, x, y, r, 0, 2 * M_PI);
    } else {
        auto outline = markerOutline(b.style.shape, x, y, r);
        for (std::size_t i = 0; i < outline.size(); ++i)
            (i ? cairo_line_to : cairo_move_to)(cr, outline[i].x, outline[i].y);
        cairo_close_path(cr);
    }
    fillPath(cr, fill);
    strokePath(cr, b.style);
    cairo_new_path(cr);
}

// Stamps: a marker of each colour and radius drawn once into a small image, then copied into
// the target's pixels for every mark. Only for an image target drawn without rotation.
class Stamper {
public:
    explicit Stamper(cairo_t* cr) : target_(cairo_get_target(cr)) {
        cairo_format_t format = cairo_image_surface_get_format(target_);
        enabled_ = cairo_surface_get_type(target_) == CAIRO_SURFACE_TYPE_IMAGE &&
                   (format == CAIRO_FORMAT_RGB24 || format == CAIRO_FORMAT_ARGB32);
        double deviceX = 1, deviceY = 1;
        if (enabled_)
            cairo_surface_get_device_scale(target_, &deviceX, &deviceY);
        cairo_matrix_t m;
        cairo_get_matrix(cr, &m);
        sx_ = deviceX * m.xx;
        sy_ = deviceY * m.yy;
        tx_ = deviceX * m.x0;
        ty_ = deviceY * m.y0;
        enabled_ = enabled_ && m.xy == 0 && m.yx == 0 && sx_ > 0 && sy_ > 0;
    }
    ~Stamper() {
        for (auto& s : stamps_) cairo_surface_destroy(s.surface);
    }
    bool enabled() const { return enabled_; }
    void paint(Batch const& b);

private:
    struct Stamp {
        Color fill;
        double radius = 0;
        cairo_surface_t* surface = nullptr;
        int width = 0, height = 0;
        double half = 0;
        // Per row: the columns that hold ink, and within them the run that is opaque.
        std::vector<std::pair<int, int>> spans, solid;
    };
    Stamp const& stampFor(Batch const& b, Color const& fill, double radius);
    void blit(Stamp const& s, double x, double y, unsigned char* data, int stride, int width,
              int height);

    cairo_surface_t* target_;
    bool enabled_ = false;
    double sx_ = 1, sy_ = 1, tx_ = 0, ty_ = 0;
    std::deque<Stamp> stamps_;  // a deque: stamps found earlier stay where they are
};

Stamper::Stamp const& Stamper::stampFor(Batch const& b, Color const& fill, double radius) {
    for (auto const& s : stamps_)
        if (s.radius == radius && s.fill == fill)
            return s;
    Stamp s;
    s.fill = fill;
    s.radius = radius;
    // Room for the mark and its antialiased edge; markers reach further than their radius.
    bool circle = b.kind == MarkKind::Circle || b.style.shape == MarkerShape::Circle;
    s.half = radius * (circle ? 1 : 1.35) + b.style.strokeWidth + 1;
    s.width = static_cast<int>(std::ceil(2 * s.half * sx_));
    s.height = static_cast<int>(std::ceil(2 * s.half * sy_));
    s.surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, s.width, s.height);
    cairo_surface_set_device_scale(s.surface, sx_, sy_);
    cairo_t* cr = cairo_create(s.surface);
    drawMarker(cr, b, s.half, s.half, radius, fill);
    cairo_destroy(cr);
    cairo_surface_flush(s.surface);
    unsigned char const* data = cairo_image_surface_get_data(s.surface);
    int stride = cairo_image_surface_get_stride(s.surface);
    for (int row = 0; row < s.height; ++row) {
        auto const* p = reinterpret_cast<std::uint32_t const*>(data + row * stride);
        int first = 0, last = s.width;
        while (first < last && (p[first] >> 24) == 0) ++first;
        while (last > first && (p[last - 1] >> 24) == 0) --last;
        s.spans.emplace_back(first, last);
        int a = first, e = first;  // the longest opaque run
        for (int col = first; col < last;) {
            int end = col;
            while (end < last && (p[end] >> 24) == 255) ++end;
            if (end - col > e - a)
                a = col, e = end;
            col = end + 1;
        }
        s.solid.emplace_back(a, e);
    }
    stamps_.push_back(std::move(s));
    return stamps_.back();
}

// The stamp over the target's pixels at whole device pixels (a smeared stamp would grow every
// mark's edge): premultiplied source over destination.
void Stamper::blit(Stamp const& s, double x, double y, unsigned char* data, int stride, int width,
                   int height) {
    double fx = std::round((x - s.half) * sx_ + tx_), fy = std::round((y - s.half) * sy_ + ty_);
    if (!(fx > -s.width && fx < width && fy > -s.height && fy < height))
        return;  // off the surface, or not a number
    int x0 = static_cast<int>(fx), y0 = static_cast<int>(fy);
    unsigned char const* src = cairo_image_surface_get_data(s.surface);
    int srcStride = cairo_image_surface_get_stride(s.surface);
    int cy0 = std::max(0, -y0), cy1 = std::min(s.height, height - y0);
    for (int row = cy0; row < cy1; ++row) {
        auto const* sp = reinterpret_cast<std::uint32_t const*>(src + row * srcStride);
        auto* dp = reinterpret_cast<std::uint32_t*>(data + (y0 + row) * stride) + x0;
        int cx0 = std::max(s.spans[std::size_t(row)].first, -x0);
        int cx1 = std::min(s.spans[std::size_t(row)].second, width - x0);
        int s0 = std::max(s.solid[std::size_t(row)].first, cx0);
        int s1 = std::min(s.solid[std::size_t(row)].second, cx1);
        if (s1 > s0)
            std::memcpy(dp + s0, sp + s0, std::size_t(s1 - s0) * 4);
        for (int col = cx0; col < cx1; ++col) {
            if (col == s0 && s1 > s0) {
                col = s1 - 1;
                continue;
            }
            std::uint32_t p = sp[col];
            std::uint32_t a = p >> 24;
            if (a == 255) {
                dp[col] = p;
                continue;
            }
            // Two channels at a time: d * (255 - a) / 255, rounded, plus the source.
            std::uint32_t d = dp[col], inv = 255 - a;
            std::uint32_t rb = (d & 0x00FF00FFu) * inv + 0x00800080u;
            std::uint32_t ag = ((d >> 8) & 0x00FF00FFu) * inv + 0x00800080u;
            rb = ((rb + ((rb >> 8) & 0x00FF00FFu)) >> 8) & 0x00FF00FFu;
            ag = ((ag + ((ag >> 8) & 0x00FF00FFu)) >> 8) & 0x00FF00FFu;
            dp[col] = p + (rb | (ag << 8));
        }
    }
}

void Stamper::paint(Batch const& b) {
    cairo_surface_flush(target_);
    unsigned char* data = cairo_image_surface_get_data(target_);
    int stride = cairo_image_surface_get_stride(target_);
    int width = cairo_image_surface_get_width(target_);
    int height = cairo_image_surface_get_height(target_);
    // The stamp of each colour, found once: most batches have one radius.
    std::vector<Stamp const*> byColor(std::max<std::size_t>(1, b.colors.size()), nullptr);
    for (std::size_t i = 0; i < b.size(); ++i) {
        double r = b.radiusAt(i);
        Stamp const* s;
        if (b.w.empty()) {
            std::size_t c = i < b.color.size() ? b.color[i] : 0;
            Stamp const*& cached = byColor[c];
            if (!cached)
                cached = &stampFor(b, b.fillAt(i), r);
            s = cached;
        } else {
            s = &stampFor(b, b.fillAt(i), r);
        }
        blit(*s, b.x[i], b.y[i], data, stride, width, height);
    }
    cairo_surface_mark_dirty(target_);
}

void paintRects(cairo_t* cr, Batch const& b) {
    for (std::size_t i = 0; i < b.size(); ++i) {
        cairo_new_path(cr);
        cairo_rectangle(cr, b.x[i], b.y[i], b.w[i], b.h[i]);
        fillPath(cr, b.fillAt(i));
        strokePath(cr, b.style);
    }
    cairo_new_path(cr);
}

void paintPaths(cairo_t* cr, Batch const& b) {
    bool closed = b.kind == MarkKind::Polygon;
    cairo_set_fill_rule(cr, b.rings.empty() ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
    auto ring = b.rings.begin();
    for (std::size_t i = 0; i < b.size(); ++i) {
        cairo_new_path(cr);
        for (std::size_t k = b.start[i]; k < b.pointsEnd(i); ++k) {
            bool const starts = k == b.start[i] || (ring != b.rings.end() && *ring == k);
            if (starts && k > b.start[i]) {
                cairo_close_path(cr);
                ++ring;
            }
            (starts ? cairo_move_to : cairo_line_to)(cr, b.points[k].x, b.points[k].y);
        }
        if (closed) {
            cairo_close_path(cr);
            fillPath(cr, b.fillAt(i));
        }
        strokePath(cr, b.style);
    }
    cairo_new_path(cr);
}

void paintTexts(cairo_t* cr, Batch const& b) {
    Style const& s = b.style;
    for (std::size_t i = 0; i < b.size(); ++i) {
        PangoLayout* layout = textLayout(cr, b.text[i], s.fontSize, s.bold);
        PangoRectangle logical;
        pango_layout_get_pixel_extents(layout, nullptr, &logical);
        double baseline = pango_layout_get_baseline(layout) / double(PANGO_SCALE);
        double dx = s.anchor < 0 ? 0 : s.anchor > 0 ? -logical.width : -logical.width / 2.0;
        cairo_save(cr);
        cairo_translate(cr, b.x[i], b.y[i]);
        if (s.angle != 0)
            cairo_rotate(cr, s.angle * M_PI / 180);
        cairo_move_to(cr, dx, -baseline);
        Color fill = b.fillAt(i);
        setColor(cr, fill.a > 0 ? fill : Color{0, 0, 0, 1});
        pango_cairo_show_layout(cr, layout);
        cairo_restore(cr);
        g_object_unref(layout);
    }
}

bool imageTarget(cairo_t* cr) {
    return cairo_surface_get_type(cairo_get_target(cr)) == CAIRO_SURFACE_TYPE_IMAGE;
}

// A batch of very many marks on a vector surface (PDF) goes in as one picture of them, as in
// the SVG, so that the file stays small.
void paintPicture(cairo_t* cr, Batch const& b) {
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    cairo_clip_extents(cr, &x1, &y1, &x2, &y2);
    RasterSurface r = rasterSurface(b, x2, y2);
    if (!r.surface)
        return;
    int w = cairo_image_surface_get_width(r.surface), h = cairo_image_surface_get_height(r.surface);
    cairo_save(cr);
    cairo_translate(cr, r.x, r.y);
    cairo_scale(cr, r.w / w, r.h / h);
    cairo_set_source_surface(cr, r.surface, 0, 0);
    cairo_paint(cr);
    cairo_restore(cr);
    cairo_surface_destroy(r.surface);
}

}  // namespace

PangoLayout* textLayout(cairo_t* cr, std::string const& text, double size, bool bold) {
    PangoLayout* layout = pango_cairo_create_layout(cr);
    PangoFontDescription* font = pango_font_description_new();
    pango_font_description_set_family(font, kFontFamily);
    pango_font_description_set_absolute_size(font, size * PANGO_SCALE);
    pango_font_description_set_weight(font, bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    pango_layout_set_font_description(layout, font);
    pango_font_description_free(font);
    pango_layout_set_text(layout, text.c_str(), static_cast<int>(text.size()));
    return layout;
}

void paintBatch(cairo_t* cr, Batch const& b) {
    if (b.kind != MarkKind::Text && b.size() >= kPictureMarks && !imageTarget(cr))
        return paintPicture(cr, b);
    switch (b.kind) {
        case MarkKind::Rect:
            paintRects(cr, b);
            break;
        case MarkKind::Circle:
        case MarkKind::Marker: {
            if (b.size() >= kStampedMarks && b.style.dash.empty()) {
                Stamper stamps(cr);
                if (stamps.enabled()) {
                    stamps.paint(b);
                    break;
                }
            }
            for (std::size_t i = 0; i < b.size(); ++i)
                drawMarker(cr, b, b.x[i], b.y[i], b.radiusAt(i), b.fillAt(i));
            break;
        }
        case MarkKind::Polyline:
        case MarkKind::Polygon:
            paintPaths(cr, b);
            break;
        case MarkKind::Text:
            paintTexts(cr, b);
            break;
    }
}

void paintScene(cairo_t* cr, Scene const& scene) {
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    for (auto const& b : scene.batches) paintBatch(cr, b);
}

}  // namespace host::chart
