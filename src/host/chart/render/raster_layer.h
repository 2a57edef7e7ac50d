#pragma once
// A batch of very many marks as one picture: what the SVG writer embeds instead of writing
// each mark, so that a chart of a million points stays a small file.

#include <string>

#include "host/chart/scene/scene.h"

namespace host::chart {

struct RasterImage {
    double x = 0, y = 0, w = 0, h = 0;  // where the picture goes on the page
    std::string png;                    // its PNG bytes; empty when nothing could be drawn
};

// The batch's marks on a transparent picture over the part of the page they cover, at two
// device pixels per page pixel (fewer for a very large page).
RasterImage rasterizeBatch(Batch const& batch, double pageWidth, double pageHeight);

}  // namespace host::chart
