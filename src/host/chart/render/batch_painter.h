#pragma once
// Painting batches with Cairo. Many equal circles or markers are stamped from one drawn image
// straight into the pixels of an image surface; everything else is drawn mark by mark.

#include <cairo.h>
#include <pango/pangocairo.h>

#include <string>

#include "host/chart/scene/scene.h"

namespace host::chart {

// From this many marks of a batch on, markers are stamped where the surface allows it.
constexpr std::size_t kStampedMarks = 2000;

void paintBatch(cairo_t* cr, Batch const& batch);
// A Pango layout of a text in the renderers' font; the caller unrefs it.
PangoLayout* textLayout(cairo_t* cr, std::string const& text, double size, bool bold);
// The page's white ground, then every batch in order.
void paintScene(cairo_t* cr, Scene const& scene);

}  // namespace host::chart
