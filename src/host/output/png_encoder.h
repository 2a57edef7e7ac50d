#pragma once
// PNG files from drawn pixels. Chart pictures are mostly flat colour, so a fast zlib level with
// a cheap row filter gives files close to the smallest at a fraction of the time that the
// default settings take; a large picture is compressed in two bands at once.

#include <cstddef>
#include <string>

namespace host::output {

// Opaque pixels as 32-bit words 0x??RRGGBB in the machine's byte order (the top byte is
// ignored), `stride` bytes from one row to the next.
struct PixelRows {
    unsigned char const* data = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
};

// The row filters, by their number in the file.
enum class PngFilter : unsigned char { None = 0, Sub = 1, Up = 2 };

struct PngSettings {
    int level = 2;  // zlib level, 0 (stored) to 9
    PngFilter filter = PngFilter::Up;
};

// Appends the PNG of `pixels` to `out`. False, with `error` set, when there is no picture or
// compression fails.
bool encodePng(PixelRows const& pixels, std::string& out, std::string& error,
               PngSettings const& settings = {});

// Writes the PNG of `pixels` to `path`.
bool writePngFile(PixelRows const& pixels, std::string const& path, std::string& error,
                  PngSettings const& settings = {});

}  // namespace host::output
