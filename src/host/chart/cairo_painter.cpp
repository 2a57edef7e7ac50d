#include "host/chart/render/renderers.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include <cairo-pdf.h>
#include <cairo.h>
#include <pango/pangocairo.h>

#include "host/chart/layout/text_metrics.h"
#include "host/chart/render/batch_painter.h"
#include "host/output/png_encoder.h"

namespace host::chart {

namespace {

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
        PangoLayout* layout = textLayout(cr_, text, fontSize, bold);
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

namespace {
// The pixels of a drawn RGB24 image surface, for the PNG encoder.
output::PixelRows pixelRows(cairo_surface_t* surface) {
    cairo_surface_flush(surface);
    return {cairo_image_surface_get_data(surface), cairo_image_surface_get_width(surface),
            cairo_image_surface_get_height(surface), cairo_image_surface_get_stride(surface)};
}

}  // namespace

double pngScaleFor(Scene const& scene, double asked) {
    double const pixels = scene.width * asked * scene.height * asked;
    if (!(pixels > kMaxPngPixels))
        return asked;
    return asked * std::sqrt(kMaxPngPixels / pixels);
}

namespace {

// The scene painted on an RGB24 surface at `scale` device pixels per scene pixel (at most
// kMaxPngPixels of them); the caller destroys it.
cairo_surface_t* paintedSurface(Scene const& scene, double scale) {
    scale = pngScaleFor(scene, scale);
    int w = std::max(1, static_cast<int>(std::ceil(scene.width * scale)));
    int h = std::max(1, static_cast<int>(std::ceil(scene.height * scale)));
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
    cairo_t* cr = cairo_create(surface);
    cairo_scale(cr, scale, scale);
    paintScene(cr, scene);
    cairo_destroy(cr);
    return surface;
}

}  // namespace

bool writePng(Scene const& scene, std::string const& path, double scale, std::string& error) {
    cairo_surface_t* surface = paintedSurface(scene, scale);
    bool const ok = output::writePngFile(pixelRows(surface), path, error);
    cairo_surface_destroy(surface);
    return ok;
}

std::string pngBytes(Scene const& scene, double scale) {
    cairo_surface_t* surface = paintedSurface(scene, scale);
    std::string bytes, error;
    if (!output::encodePng(pixelRows(surface), bytes, error))
        bytes.clear();
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
