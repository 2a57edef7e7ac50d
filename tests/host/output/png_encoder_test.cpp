// The PNG encoder: what it writes reads back as the same pixels, at every setting.
#include <gtest/gtest.h>

#include <cairo.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "host/output/png_encoder.h"

using host::output::PngFilter;

namespace {

struct Reader {
    std::string const* bytes;
    std::size_t at = 0;
};

cairo_status_t readBytes(void* closure, unsigned char* data, unsigned int length) {
    auto* reader = static_cast<Reader*>(closure);
    if (reader->at + length > reader->bytes->size())
        return CAIRO_STATUS_READ_ERROR;
    std::memcpy(data, reader->bytes->data() + reader->at, length);
    reader->at += length;
    return CAIRO_STATUS_SUCCESS;
}

// Pixels as 0xRRGGBB, row after row.
std::vector<std::uint32_t> decode(std::string const& png, int& width, int& height) {
    Reader reader{&png};
    cairo_surface_t* s = cairo_image_surface_create_from_png_stream(readBytes, &reader);
    std::vector<std::uint32_t> out;
    if (cairo_surface_status(s) == CAIRO_STATUS_SUCCESS) {
        width = cairo_image_surface_get_width(s);
        height = cairo_image_surface_get_height(s);
        for (int y = 0; y < height; ++y) {
            auto const* row = reinterpret_cast<std::uint32_t const*>(
                cairo_image_surface_get_data(s) + y * cairo_image_surface_get_stride(s));
            for (int x = 0; x < width; ++x) out.push_back(row[x] & 0xFFFFFFu);
        }
    }
    cairo_surface_destroy(s);
    return out;
}

}  // namespace

TEST(PngEncoder, PixelsReadBackUnchangedAtEverySetting) {
    // Rows padded beyond their pixels, as image surfaces are; the padding must not leak in.
    int const width = 5, height = 3, stride = 32;
    std::vector<unsigned char> memory(static_cast<std::size_t>(stride) * height, 0xAB);
    std::vector<std::uint32_t> expected;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            std::uint32_t const colour = (0x10u * x) << 16 | (0x40u * y) << 8 | (x * y * 7u);
            // The unused top byte holds junk, which must not matter.
            std::uint32_t const word = 0x5A000000u | colour;
            std::memcpy(memory.data() + y * stride + x * 4, &word, 4);
            expected.push_back(colour);
        }
    host::output::PixelRows const pixels{memory.data(), width, height, stride};
    for (int level : {0, 2, 9})
        for (PngFilter filter : {PngFilter::None, PngFilter::Sub, PngFilter::Up}) {
            std::string png, error;
            ASSERT_TRUE(host::output::encodePng(pixels, png, error, {level, filter})) << error;
            int w = 0, h = 0;
            EXPECT_EQ(decode(png, w, h), expected) << "level " << level;
            EXPECT_EQ(w, width);
            EXPECT_EQ(h, height);
        }
}

TEST(PngEncoder, ALargePictureCompressedInBandsReadsBackWhole) {
    // Large enough to be cut into bands; rows differ, so a wrong join or filter shows.
    int const width = 1000, height = 900;
    std::vector<std::uint32_t> words(static_cast<std::size_t>(width) * height);
    std::uint32_t state = 12345;
    for (std::size_t i = 0; i < words.size(); ++i) {
        state = state * 1103515245u + 12345u;
        words[i] = (i % 7 == 0) ? (state >> 8) & 0xFFFFFFu : static_cast<std::uint32_t>(i / width);
    }
    host::output::PixelRows const pixels{reinterpret_cast<unsigned char const*>(words.data()),
                                         width, height, width * 4};
    for (PngFilter filter : {PngFilter::None, PngFilter::Up}) {
        std::string png, error;
        ASSERT_TRUE(host::output::encodePng(pixels, png, error, {2, filter})) << error;
        int w = 0, h = 0;
        EXPECT_TRUE(decode(png, w, h) == words);
    }
}

TEST(PngEncoder, FailuresNameTheFile) {
    std::uint32_t pixel = 0xFFFFFF;
    host::output::PixelRows const pixels{reinterpret_cast<unsigned char const*>(&pixel), 1, 1, 4};
    std::string error;
    EXPECT_FALSE(host::output::writePngFile(pixels, "/nonexistent-folder/x.png", error));
    EXPECT_NE(error.find("/nonexistent-folder/x.png"), std::string::npos) << error;
    error.clear();
    std::string png;
    EXPECT_FALSE(host::output::encodePng({nullptr, 0, 0, 0}, png, error));
    EXPECT_FALSE(error.empty());
}
