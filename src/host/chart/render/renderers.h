#pragma once
// Painting a scene: SVG with real text (and big batches of marks as pictures inside it), and
// Cairo for PNG and PDF.

#include <string>

#include "host/chart/scene/scene.h"

namespace host::chart {

// A PNG holds at most this many pixels (160 MB as it is drawn): a bigger page is drawn at a
// smaller scale.
constexpr double kMaxPngPixels = 40e6;
// The device pixels per scene pixel a PNG of `scene` is drawn at when `asked` is wanted.
double pngScaleFor(Scene const& scene, double asked);

std::string writeSvg(Scene const& scene);
// `scale` device pixels per scene pixel. False with `error` when the file can't be written.
[[nodiscard]] bool writePng(Scene const& scene, std::string const& path, double scale,
                            std::string& error);
// The PNG file's bytes, made in memory; empty when Cairo fails.
std::string pngBytes(Scene const& scene, double scale);
[[nodiscard]] bool writePdf(Scene const& scene, std::string const& path, std::string& error);

}  // namespace host::chart
