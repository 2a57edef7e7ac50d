// The chart engine on two sizes that matter: a bar chart of 50 categories and a scatter of a
// million points, each to SVG and to PNG.
#include <benchmark/benchmark.h>

#include <cmath>
#include <string>

#include "host/chart/chart_render.h"
#include "host/chart/render/renderers.h"
#include "platform/chart.h"
#include "platform/var_data_processor.h"

namespace {

std::string const kBar = R"(SOURCE: s=userSource(id("g"))
DATA: c=col(source(s), name("c"), unit.category())
DATA: v=col(source(s), name("v"))
ELEMENT: interval(position(c*v)))";

std::string const kScatter = R"(SOURCE: s=userSource(id("g"))
DATA: x=col(source(s), name("x"))
DATA: y=col(source(s), name("y"))
ELEMENT: point(position(x*y), size(size."2px")))";

void fillBar(VarDataProcessor& vdp) {
    for (unsigned i = 0; i < 50; ++i) {
        vdp.SetStringVariableValue("g", "c", i, "Category " + std::to_string(i));
        vdp.SetVariableValue("g", "v", i, 10 + (i * 37) % 90);
    }
}

void fillScatter(VarDataProcessor& vdp) {
    for (unsigned i = 0; i < 1000000; ++i) {
        vdp.SetVariableValue("g", "x", i, std::sin(i * 0.001) * 100 + i % 97);
        vdp.SetVariableValue("g", "y", i, std::cos(i * 0.0007) * 50 + i % 89);
    }
}

template <void (*Fill)(VarDataProcessor&)>
void run(benchmark::State& state, std::string const& gpl, bool png) {
    XDocument doc(gpl, true, true);
    VarDataProcessor vdp;
    Fill(vdp);
    auto measurer = host::chart::makePangoMeasurer();
    std::string path = "/tmp/ggraph-bench.png", error;
    for (auto _ : state) {
        auto scene = host::chart::buildScene(doc.model(), &vdp, *measurer);
        if (png) {
            if (!host::chart::writePng(scene, path, 1, error))
                state.SkipWithError(error.c_str());
        } else {
            benchmark::DoNotOptimize(host::chart::writeSvg(scene));
        }
    }
}

void BarSvg(benchmark::State& s) {
    run<fillBar>(s, kBar, false);
}
void BarPng(benchmark::State& s) {
    run<fillBar>(s, kBar, true);
}
void ScatterSvg(benchmark::State& s) {
    run<fillScatter>(s, kScatter, false);
}
void ScatterPng(benchmark::State& s) {
    run<fillScatter>(s, kScatter, true);
}

}  // namespace

BENCHMARK(BarSvg)->Unit(benchmark::kMillisecond);
BENCHMARK(BarPng)->Unit(benchmark::kMillisecond);
BENCHMARK(ScatterSvg)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(ScatterPng)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK_MAIN();
