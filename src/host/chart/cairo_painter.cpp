#include "host/chart/renderers.h"

#include <cmath>
#include <memory>
#include <vector>

#include <cairo-pdf.h>
#include <cairo.h>
#include <pango/pangocairo.h>

#include "host/chart/text_metrics.h"

namespace host::chart {

namespace {

void setColor(cairo_t* cr, Color const& c) {
    cairo_set_source_rgba(cr, c.r, c.g, c.b, c.a);
}

void strokePath(cairo_t* cr, Primitive const& p) {
    if (p.strokeWidth <= 0 || p.stroke.a <= 0)
        return;
    setColor(cr, p.stroke);
    cairo_set_line_width(cr, p.strokeWidth);
    cairo_set_dash(cr, p.dash.empty() ? nullptr : p.dash.data(), static_cast<int>(p.dash.size()),
                   0);
    cairo_stroke_preserve(cr);
    cairo_set_dash(cr, nullptr, 0, 0);
}

PangoLayout* layoutFor(cairo_t* cr, std::string const& text, double size, bool bold) {
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

void drawCircle(cairo_t* cr, Primitive const& p, double x, double y) {
    cairo_arc(cr, x, y, p.w, 0, 2 * M_PI);
    if (p.fill.a > 0) {
        setColor(cr, p.fill);
        cairo_fill_preserve(cr);
    }
    strokePath(cr, p);
}

// Many points of one look are stamped from one small image drawn once, which is far quicker
// than rasterising each circle; below this count each is drawn for itself.
constexpr std::size_t kStampedCircles = 5000;

class CircleStamps {
public:
    CircleStamps(cairo_t* cr) {
        cairo_surface_t* target = cairo_get_target(cr);
        enabled_ = cairo_surface_get_type(target) == CAIRO_SURFACE_TYPE_IMAGE;
        // Device pixels per scene pixel, from the surface and the drawing's own scale.
        double deviceX = 1, deviceY = 1;
        cairo_surface_get_device_scale(target, &deviceX, &deviceY);
        cairo_matrix_t matrix;
        cairo_get_matrix(cr, &matrix);
        scaleX_ = deviceX * matrix.xx;
        scaleY_ = deviceY * matrix.yy;
        enabled_ = enabled_ && matrix.xy == 0 && matrix.yx == 0 && scaleX_ > 0 && scaleY_ > 0;
    }
    ~CircleStamps() {
        for (auto& stamp : stamps_) cairo_surface_destroy(stamp.surface);
    }
    bool enabled() const { return enabled_; }

    void paint(cairo_t* cr, Primitive const& p) {
        Stamp const& stamp = stampFor(p);
        // On whole device pixels, unfiltered: a smeared stamp would grow every point's edge.
        double const x = std::round((p.x - stamp.half) * scaleX_) / scaleX_;
        double const y = std::round((p.y - stamp.half) * scaleY_) / scaleY_;
        cairo_set_source_surface(cr, stamp.surface, x, y);
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
        cairo_paint(cr);
    }

private:
    struct Stamp {
        double radius, strokeWidth;
        Color fill, stroke;
        cairo_surface_t* surface;
        double half;
    };
    static bool same(Color const& a, Color const& b) {
        return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
    }
    Stamp const& stampFor(Primitive const& p) {
        for (auto const& stamp : stamps_) {
            if (stamp.radius == p.w && stamp.strokeWidth == p.strokeWidth && same(stamp.fill, p.fill) &&
                same(stamp.stroke, p.stroke))
                return stamp;
        }
        double const half = p.w + p.strokeWidth + 1;
        int const width = static_cast<int>(std::ceil(2 * half * scaleX_));
        int const height = static_cast<int>(std::ceil(2 * half * scaleY_));
        cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
        cairo_surface_set_device_scale(surface, scaleX_, scaleY_);
        cairo_t* stampCr = cairo_create(surface);
        drawCircle(stampCr, p, half, half);
        cairo_destroy(stampCr);
        stamps_.push_back({p.w, p.strokeWidth, p.fill, p.stroke, surface, half});
        return stamps_.back();
    }

    bool enabled_ = false;
    double scaleX_ = 1, scaleY_ = 1;
    std::vector<Stamp> stamps_;
};

void paintScene(cairo_t* cr, Scene const& scene) {
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    std::size_t circles = 0;
    for (auto const& p : scene.items) circles += p.kind == Primitive::Kind::Circle && p.dash.empty();
    CircleStamps stamps(cr);
    bool const stamped = stamps.enabled() && circles >= kStampedCircles;
    for (auto const& p : scene.items) {
        cairo_new_path(cr);
        if (stamped && p.kind == Primitive::Kind::Circle && p.dash.empty()) {
            stamps.paint(cr, p);
            continue;
        }
        switch (p.kind) {
            case Primitive::Kind::Rect:
                cairo_rectangle(cr, p.x, p.y, p.w, p.h);
                if (p.fill.a > 0) {
                    setColor(cr, p.fill);
                    cairo_fill_preserve(cr);
                }
                strokePath(cr, p);
                break;
            case Primitive::Kind::Circle:
                drawCircle(cr, p, p.x, p.y);
                break;
            case Primitive::Kind::Polyline:
            case Primitive::Kind::Polygon:
                for (std::size_t i = 0, ring = 0; i < p.points.size(); ++i) {
                    bool const starts = i == 0 || (ring < p.ringStarts.size() && p.ringStarts[ring] == i);
                    if (starts && i > 0) {
                        cairo_close_path(cr);
                        ++ring;
                    }
                    (starts ? cairo_move_to : cairo_line_to)(cr, p.points[i].x, p.points[i].y);
                }
                if (p.kind == Primitive::Kind::Polygon) {
                    cairo_close_path(cr);
                    if (p.fill.a > 0) {
                        setColor(cr, p.fill);
                        cairo_set_fill_rule(cr, p.ringStarts.empty() ? CAIRO_FILL_RULE_WINDING
                                                                     : CAIRO_FILL_RULE_EVEN_ODD);
                        cairo_fill_preserve(cr);
                    }
                }
                strokePath(cr, p);
                break;
            case Primitive::Kind::Text: {
                PangoLayout* layout = layoutFor(cr, p.text, p.fontSize, p.bold);
                PangoRectangle logical;
                pango_layout_get_pixel_extents(layout, nullptr, &logical);
                double baseline = pango_layout_get_baseline(layout) / double(PANGO_SCALE);
                double dx = p.anchor < 0 ? 0 : p.anchor > 0 ? -logical.width : -logical.width / 2.0;
                cairo_save(cr);
                cairo_translate(cr, p.x, p.y);
                if (p.angle != 0)
                    cairo_rotate(cr, p.angle * M_PI / 180);
                cairo_move_to(cr, dx, -baseline);
                setColor(cr, p.fill.a > 0 ? p.fill : Color{0, 0, 0, 1});
                pango_cairo_show_layout(cr, layout);
                cairo_restore(cr);
                g_object_unref(layout);
                break;
            }
        }
        cairo_new_path(cr);
    }
}

class PangoMeasurer : public TextMeasurer {
public:
    PangoMeasurer()
        : surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 1, 1)),
          cr_(cairo_create(surface_)) {}
    ~PangoMeasurer() override {
        cairo_destroy(cr_);
        cairo_surface_destroy(surface_);
    }
    TextSize measure(std::string const& text, double fontSize, bool bold) const override {
        PangoLayout* layout = layoutFor(cr_, text, fontSize, bold);
        PangoRectangle logical;
        pango_layout_get_pixel_extents(layout, nullptr, &logical);
        g_object_unref(layout);
        return {double(logical.width), double(logical.height)};
    }

private:
    cairo_surface_t* surface_;
    cairo_t* cr_;
};

}  // namespace

std::unique_ptr<TextMeasurer> makePangoMeasurer() {
    return std::make_unique<PangoMeasurer>();
}

bool writePng(Scene const& scene, std::string const& path, double scale, std::string& error) {
    int w = static_cast<int>(std::ceil(scene.width * scale));
    int h = static_cast<int>(std::ceil(scene.height * scale));
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
    cairo_t* cr = cairo_create(surface);
    cairo_scale(cr, scale, scale);
    paintScene(cr, scene);
    cairo_destroy(cr);
    cairo_status_t status = cairo_surface_write_to_png(surface, path.c_str());
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) {
        error = "could not write " + path + ": " + cairo_status_to_string(status);
        return false;
    }
    return true;
}

std::string pngBytes(Scene const& scene, double scale) {
    int w = static_cast<int>(std::ceil(scene.width * scale));
    int h = static_cast<int>(std::ceil(scene.height * scale));
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
    cairo_t* cr = cairo_create(surface);
    cairo_scale(cr, scale, scale);
    paintScene(cr, scene);
    cairo_destroy(cr);
    std::string bytes;
    auto append = [](void* closure, unsigned char const* data, unsigned int length) {
        static_cast<std::string*>(closure)->append(reinterpret_cast<char const*>(data), length);
        return CAIRO_STATUS_SUCCESS;
    };
    if (cairo_surface_write_to_png_stream(surface, append, &bytes) != CAIRO_STATUS_SUCCESS) bytes.clear();
    cairo_surface_destroy(surface);
    return bytes;
}

bool writePdf(Scene const& scene, std::string const& path, std::string& error) {
    cairo_surface_t* surface = cairo_pdf_surface_create(path.c_str(), scene.width, scene.height);
    cairo_t* cr = cairo_create(surface);
    paintScene(cr, scene);
    cairo_destroy(cr);
    cairo_surface_finish(surface);
    cairo_status_t status = cairo_surface_status(surface);
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) {
        error = "could not write " + path + ": " + cairo_status_to_string(status);
        return false;
    }
    return true;
}

}  // namespace host::chart
