// PNG encoding of chart pictures: our encoder at each zlib level and row filter against Cairo's
// own writer, with the size of each result. Usage: png_bench PICTURE.png [...] [benchmark flags]
// (any PNG will do; bench/run.sh passes the charts of the small bench job).
#include <benchmark/benchmark.h>

#include <cairo.h>

#include <cstdio>
#include <string>
#include <vector>

#include "host/output/png_encoder.h"

namespace {

using host::output::PngFilter;

struct Picture {
    std::string name;
    cairo_surface_t* surface = nullptr;
};

std::vector<Picture>& pictures() {
    static std::vector<Picture> all;
    return all;
}

// The picture drawn onto an opaque surface, as the chart renderer leaves it.
cairo_surface_t* load(char const* path) {
    cairo_surface_t* read = cairo_image_surface_create_from_png(path);
    if (cairo_surface_status(read) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(read);
        return nullptr;
    }
    int const w = cairo_image_surface_get_width(read);
    int const h = cairo_image_surface_get_height(read);
    cairo_surface_t* opaque = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
    cairo_t* cr = cairo_create(opaque);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_set_source_surface(cr, read, 0, 0);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_destroy(read);
    cairo_surface_flush(opaque);
    return opaque;
}

host::output::PixelRows rows(cairo_surface_t* s) {
    return {cairo_image_surface_get_data(s), cairo_image_surface_get_width(s),
            cairo_image_surface_get_height(s), cairo_image_surface_get_stride(s)};
}

void ours(benchmark::State& state, Picture const* picture, int level, PngFilter filter) {
    std::string bytes, error;
    for (auto _ : state) {
        bytes.clear();
        if (!host::output::encodePng(rows(picture->surface), bytes, error, {level, filter}))
            state.SkipWithError(error.c_str());
    }
    state.counters["KB"] = static_cast<double>(bytes.size()) / 1024.0;
}

void cairos(benchmark::State& state, Picture const* picture) {
    std::string bytes;
    auto append = [](void* closure, unsigned char const* data, unsigned int length) {
        static_cast<std::string*>(closure)->append(reinterpret_cast<char const*>(data), length);
        return CAIRO_STATUS_SUCCESS;
    };
    for (auto _ : state) {
        bytes.clear();
        cairo_surface_write_to_png_stream(picture->surface, append, &bytes);
    }
    state.counters["KB"] = static_cast<double>(bytes.size()) / 1024.0;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (int i = 1; i < argc; ++i) {
        cairo_surface_t* s = load(argv[i]);
        if (!s) {
            std::fprintf(stderr, "%s is not a PNG that could be read\n", argv[i]);
            return 2;
        }
        pictures().push_back({argv[i], s});
    }
    if (pictures().empty()) {
        std::fprintf(stderr, "usage: png_bench PICTURE.png [...]\n");
        return 2;
    }
    struct Named {
        char const* name;
        PngFilter filter;
    };
    Named const filters[] = {
        {"none", PngFilter::None}, {"sub", PngFilter::Sub}, {"up", PngFilter::Up}};
    for (auto const& picture : pictures()) {
        benchmark::RegisterBenchmark(("cairo/" + picture.name).c_str(), cairos, &picture);
        for (int level : {1, 2, 3, 6})
            for (auto const& f : filters)
                benchmark::RegisterBenchmark(
                    ("ours/level" + std::to_string(level) + "/" + f.name + "/" + picture.name)
                        .c_str(),
                    ours, &picture, level, f.filter);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (auto const& picture : pictures()) cairo_surface_destroy(picture.surface);
    return 0;
}
