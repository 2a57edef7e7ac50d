#pragma once
// Painting a scene: SVG with real text (and big batches of marks as pictures inside it), and
// Cairo for PNG and PDF.

#include <string>

#include "host/chart/scene/scene.h"

namespace host::chart {

// A batch of at least this many marks goes into the SVG as one picture of its marks, so that
// the file stays small; axes and text stay vector.
constexpr std::size_t kSvgRasterMarks = 10000;

std::string writeSvg(Scene const& scene);
// `scale` device pixels per scene pixel. False with `error` when the file can't be written.
[[nodiscard]] bool writePng(Scene const& scene, std::string const& path, double scale,
                            std::string& error);
// The PNG file's bytes, made in memory; empty when Cairo fails.
std::string pngBytes(Scene const& scene, double scale);
[[nodiscard]] bool writePdf(Scene const& scene, std::string const& path, std::string& error);

}  // namespace host::chart
