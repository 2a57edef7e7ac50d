#include "host/output/png_encoder.h"

#include <bit>
#include <cerrno>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <png.h>

namespace host::output {
namespace {

// What the libpng callbacks reach. Plain data only: libpng reports errors by longjmp, which
// must not cross anything with a destructor.
struct Sink {
    std::string* bytes = nullptr;
    std::FILE* file = nullptr;
    bool writeFailed = false;
    char message[256] = {};
};

void onError(png_structp png, png_const_charp text) {
    auto* sink = static_cast<Sink*>(png_get_error_ptr(png));
    std::snprintf(sink->message, sizeof sink->message, "%s", text ? text : "libpng error");
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void onWrite(png_structp png, png_bytep data, png_size_t length) {
    auto* sink = static_cast<Sink*>(png_get_io_ptr(png));
    if (sink->bytes) {
        sink->bytes->append(reinterpret_cast<char const*>(data), length);
    } else if (std::fwrite(data, 1, length, sink->file) != length) {
        sink->writeFailed = true;
        png_error(png, "the file could not be written");
    }
}

void onFlush(png_structp) {}

int filterMask(PngFilter filter) {
    switch (filter) {
        case PngFilter::None:
            return PNG_FILTER_NONE;
        case PngFilter::Sub:
            return PNG_FILTER_SUB;
        case PngFilter::Up:
            return PNG_FILTER_UP;
        case PngFilter::Paeth:
            return PNG_FILTER_PAETH;
        case PngFilter::All:
            return PNG_ALL_FILTERS;
    }
    return PNG_FILTER_UP;
}

// Returns false with sink.message set when libpng gave up.
bool encode(PixelRows const& pixels, Sink& sink, PngSettings const& settings) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, onError, onWarning);
    if (!png) {
        std::snprintf(sink.message, sizeof sink.message, "out of memory");
        return false;
    }
    png_infop info = png_create_info_struct(png);
    if (!info || setjmp(png_jmpbuf(png))) {
        if (!sink.message[0])
            std::snprintf(sink.message, sizeof sink.message, "out of memory");
        png_destroy_write_struct(&png, info ? &info : nullptr);
        return false;
    }
    png_set_write_fn(png, &sink, onWrite, onFlush);
    png_set_compression_level(png, settings.level < 0 ? 0 : settings.level > 9 ? 9 : settings.level);
    png_set_compression_buffer_size(png, 1 << 16);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, filterMask(settings.filter));
    png_set_IHDR(png, info, static_cast<png_uint_32>(pixels.width),
                 static_cast<png_uint_32>(pixels.height), 8, PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    png_write_info(png, info);
    // Each pixel is one native 32-bit word: in memory B G R x on a little-endian machine,
    // x R G B on a big-endian one. libpng drops the unused byte and puts the rest in order.
    if constexpr (std::endian::native == std::endian::little) {
        png_set_bgr(png);
        png_set_filler(png, 0, PNG_FILLER_AFTER);
    } else {
        png_set_filler(png, 0, PNG_FILLER_BEFORE);
    }
    for (int y = 0; y < pixels.height; ++y)
        png_write_row(png, pixels.data + static_cast<std::ptrdiff_t>(y) * pixels.stride);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

bool checkPixels(PixelRows const& pixels, std::string& error) {
    if (!pixels.data || pixels.width <= 0 || pixels.height <= 0 ||
        pixels.stride < pixels.width * 4) {
        error = "there is no picture to encode";
        return false;
    }
    return true;
}

}  // namespace

bool encodePng(PixelRows const& pixels, std::string& out, std::string& error,
               PngSettings const& settings) {
    if (!checkPixels(pixels, error))
        return false;
    Sink sink;
    sink.bytes = &out;
    if (!encode(pixels, sink, settings)) {
        error = sink.message;
        return false;
    }
    return true;
}

bool writePngFile(PixelRows const& pixels, std::string const& path, std::string& error,
                  PngSettings const& settings) {
    if (!checkPixels(pixels, error))
        return false;
    Sink sink;
    sink.file = std::fopen(path.c_str(), "wb");
    if (!sink.file) {
        error = "could not write " + path + ": " + std::strerror(errno);
        return false;
    }
    bool ok = encode(pixels, sink, settings);
    int const writeErrno = errno;
    if (std::fclose(sink.file) != 0 && ok) {
        ok = false;
        std::snprintf(sink.message, sizeof sink.message, "%s", std::strerror(errno));
    }
    if (!ok) {
        error = "could not write " + path + ": " +
                (sink.writeFailed ? std::string(std::strerror(writeErrno)) : sink.message);
        std::remove(path.c_str());
        return false;
    }
    return true;
}

}  // namespace host::output
