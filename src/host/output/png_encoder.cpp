#include "host/output/png_encoder.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include <zlib.h>

namespace host::output {
namespace {

// The picture is cut into bands of rows, each filtered and compressed by itself (on a thread of
// its own when there is more than one) and joined into one zlib stream, as parallel gzip does:
// every band but the last ends on a byte boundary without closing the stream. Below this many
// pixels one band does it all.
constexpr long kPixelsPerBand = 400000;
constexpr int kMostBands = 2;

struct Band {
    int firstRow = 0;
    int rows = 0;
    std::vector<unsigned char> compressed;
    uLong adler = 1;
    uLong length = 0;  // bytes before compression
    bool ok = true;
};

// One row as PNG scan line bytes: R G B per pixel from the native 32-bit words.
void toRgb(PixelRows const& pixels, int y, unsigned char* to) {
    unsigned char const* from = pixels.data + static_cast<std::ptrdiff_t>(y) * pixels.stride;
    for (int x = 0; x < pixels.width; ++x, from += 4) {
        std::uint32_t word;
        std::memcpy(&word, from, sizeof word);
        *to++ = static_cast<unsigned char>(word >> 16);
        *to++ = static_cast<unsigned char>(word >> 8);
        *to++ = static_cast<unsigned char>(word);
    }
}

// The filter byte and the filtered row, from this row and the one above (null for the first).
void filterRow(PngFilter filter, unsigned char const* row, unsigned char const* above,
               std::size_t bytes, unsigned char* out) {
    if (filter == PngFilter::Up && !above)
        filter = PngFilter::None;
    out[0] = static_cast<unsigned char>(filter);
    unsigned char* to = out + 1;
    switch (filter) {
        case PngFilter::None:
            std::memcpy(to, row, bytes);
            break;
        case PngFilter::Sub:
            std::memcpy(to, row, std::min<std::size_t>(3, bytes));
            for (std::size_t i = 3; i < bytes; ++i)
                to[i] = static_cast<unsigned char>(row[i] - row[i - 3]);
            break;
        case PngFilter::Up:
            for (std::size_t i = 0; i < bytes; ++i)
                to[i] = static_cast<unsigned char>(row[i] - above[i]);
            break;
    }
}

// Deflates what `z` holds with `flush`, growing `out` as it fills. A chart compresses to a few
// per cent of its pixels: room for the worst case would only be zeroed pages never written.
bool deflateInto(z_stream& z, int flush, std::vector<unsigned char>& out) {
    for (;;) {
        if (z.avail_out == 0) {
            std::size_t const used = out.size();  // full
            out.resize(std::max<std::size_t>(used * 2, 64 * 1024));
            z.next_out = out.data() + used;
            z.avail_out = static_cast<uInt>(out.size() - used);
        }
        int const status = deflate(&z, flush);
        if (status == Z_STREAM_ERROR)
            return false;
        if (flush == Z_FINISH ? status == Z_STREAM_END : z.avail_in == 0 && z.avail_out != 0)
            return true;
    }
}

void compressBand(PixelRows const& pixels, PngSettings const& settings, bool last, Band& band) {
    std::size_t const bytes = static_cast<std::size_t>(pixels.width) * 3;
    std::vector<unsigned char> row(bytes), above(bytes), line(bytes + 1);
    z_stream z{};
    // Raw deflate: the zlib header and check value are written once for all bands.
    if (deflateInit2(&z, std::clamp(settings.level, 0, 9), Z_DEFLATED, -15, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        band.ok = false;
        return;
    }
    z.avail_out = 0;  // deflateInto makes the first room
    if (band.firstRow > 0)
        toRgb(pixels, band.firstRow - 1, above.data());
    for (int r = 0; r < band.rows && band.ok; ++r) {
        int const y = band.firstRow + r;
        toRgb(pixels, y, row.data());
        filterRow(settings.filter, row.data(), y > 0 ? above.data() : nullptr, bytes, line.data());
        band.adler = adler32(band.adler, line.data(), static_cast<uInt>(line.size()));
        band.length += line.size();
        z.next_in = line.data();
        z.avail_in = static_cast<uInt>(line.size());
        bool const end = r + 1 == band.rows;
        int const flush = !end ? Z_NO_FLUSH : last ? Z_FINISH : Z_SYNC_FLUSH;
        band.ok = deflateInto(z, flush, band.compressed);
        row.swap(above);
    }
    band.compressed.resize(band.compressed.size() - z.avail_out);
    deflateEnd(&z);
}

void putBigEndian(std::vector<unsigned char>& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<unsigned char>(value >> shift));
}

void putChunk(std::vector<unsigned char>& out, char const type[4], unsigned char const* data,
              std::size_t length) {
    putBigEndian(out, static_cast<std::uint32_t>(length));
    std::size_t const start = out.size();
    out.insert(out.end(), type, type + 4);
    if (length)
        out.insert(out.end(), data, data + length);
    uLong const crc = crc32(0, out.data() + start, static_cast<uInt>(out.size() - start));
    putBigEndian(out, static_cast<std::uint32_t>(crc));
}

bool encodeBytes(PixelRows const& pixels, PngSettings const& settings,
                 std::vector<unsigned char>& png, std::string& error) {
    if (!pixels.data || pixels.width <= 0 || pixels.height <= 0 ||
        pixels.stride < pixels.width * 4 || pixels.width > (1 << 24)) {
        error = "there is no picture to encode";
        return false;
    }
    long const total = static_cast<long>(pixels.width) * pixels.height;
    int const bands = static_cast<int>(
        std::clamp<long>(total / kPixelsPerBand, 1, std::min(kMostBands, pixels.height)));
    std::vector<Band> parts(static_cast<std::size_t>(bands));
    for (int b = 0; b < bands; ++b) {
        parts[b].firstRow = pixels.height * b / bands;
        parts[b].rows = pixels.height * (b + 1) / bands - parts[b].firstRow;
    }
    std::vector<std::thread> helpers;
    for (int b = 1; b < bands; ++b)
        helpers.emplace_back(compressBand, std::cref(pixels), std::cref(settings), b + 1 == bands,
                             std::ref(parts[b]));
    compressBand(pixels, settings, bands == 1, parts[0]);
    for (auto& helper : helpers) helper.join();

    std::vector<unsigned char> idat = {0x78, 0x5E};  // deflate, 32 KB window, a fast level
    uLong adler = 1;
    for (auto const& part : parts) {
        if (!part.ok) {
            error = "the picture could not be compressed";
            return false;
        }
        idat.insert(idat.end(), part.compressed.begin(), part.compressed.end());
        adler = adler32_combine(adler, part.adler, static_cast<z_off_t>(part.length));
    }
    putBigEndian(idat, static_cast<std::uint32_t>(adler));

    static constexpr unsigned char kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    png.assign(std::begin(kSignature), std::end(kSignature));
    std::vector<unsigned char> header;
    putBigEndian(header, static_cast<std::uint32_t>(pixels.width));
    putBigEndian(header, static_cast<std::uint32_t>(pixels.height));
    header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, adaptive, no interlace
    putChunk(png, "IHDR", header.data(), header.size());
    constexpr std::size_t kChunk = 1 << 20;
    for (std::size_t at = 0; at < idat.size(); at += kChunk)
        putChunk(png, "IDAT", idat.data() + at, std::min(kChunk, idat.size() - at));
    putChunk(png, "IEND", nullptr, 0);
    return true;
}

}  // namespace

bool encodePng(PixelRows const& pixels, std::string& out, std::string& error,
               PngSettings const& settings) {
    std::vector<unsigned char> png;
    if (!encodeBytes(pixels, settings, png, error))
        return false;
    out.append(reinterpret_cast<char const*>(png.data()), png.size());
    return true;
}

bool writePngFile(PixelRows const& pixels, std::string const& path, std::string& error,
                  PngSettings const& settings) {
    std::vector<unsigned char> png;
    if (!encodeBytes(pixels, settings, png, error))
        return false;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) {
        error = "could not write " + path + ": " + std::strerror(errno);
        return false;
    }
    bool ok = std::fwrite(png.data(), 1, png.size(), file) == png.size();
    int const writeErrno = errno;
    ok = std::fclose(file) == 0 && ok;
    if (!ok) {
        error = "could not write " + path + ": " + std::strerror(writeErrno ? writeErrno : errno);
        std::remove(path.c_str());
    }
    return ok;
}

}  // namespace host::output
