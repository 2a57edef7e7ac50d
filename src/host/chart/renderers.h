#pragma once
// Painting a scene: SVG text with real <text> elements, and Cairo for PNG and PDF.

#include <string>

#include "host/chart/scene.h"

namespace host::chart {

std::string writeSvg(Scene const& scene);
// `scale` device pixels per scene pixel. False with `error` when the file can't be written.
[[nodiscard]] bool writePng(Scene const& scene, std::string const& path, double scale,
                            std::string& error);
// The PNG file's bytes, made in memory; empty when Cairo fails.
std::string pngBytes(Scene const& scene, double scale);
[[nodiscard]] bool writePdf(Scene const& scene, std::string const& path, std::string& error);

}  // namespace host::chart
