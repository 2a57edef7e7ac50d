// The statistics that must stay near-linear: loess over 100,000 points and a kernel density
// over a million cases, each evaluated on the grid a chart draws (200 points).
#include <benchmark/benchmark.h>

#include <cmath>

#include "host/chart/stats/density.h"
#include "host/chart/stats/smoothers.h"

namespace {

namespace st = host::chart::stats;

st::Points scatter(std::size_t n) {
    st::Points p;
    p.x.resize(n);
    p.y.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        double t = static_cast<double>((i * 7919) % n) / static_cast<double>(n);
        p.x[i] = t * 100;
        p.y[i] = std::sin(t * 6) * 20 + static_cast<double>(i % 13);
    }
    return p;
}

void loess100k(benchmark::State& state) {
    auto p = scatter(100000);
    auto at = st::grid(0, 100, 200);
    double span = static_cast<double>(state.range(0)) / 100;
    for (auto _ : state) benchmark::DoNotOptimize(st::loess(p, span, at));
}
BENCHMARK(loess100k)->Arg(30)->Arg(75)->Unit(benchmark::kMillisecond);

void kernelDensity1M(benchmark::State& state) {
    std::vector<double> v(1000000);
    for (std::size_t i = 0; i < v.size(); ++i)
        v[i] = std::sin(static_cast<double>(i) * 0.37) * 10 + static_cast<double>(i % 101) * 0.1;
    auto k = static_cast<st::Kernel>(state.range(0));
    auto at = st::grid(-15, 25, 200);
    for (auto _ : state) {
        double h = st::ruleOfThumbBandwidth(v, {}, k);
        benchmark::DoNotOptimize(st::kernelDensity(v, {}, k, h, at));
    }
}
BENCHMARK(kernelDensity1M)
    ->Arg(static_cast<int>(st::Kernel::Normal))
    ->Arg(static_cast<int>(st::Kernel::Epanechnikov))
    ->Unit(benchmark::kMillisecond);

void smoothingSpline100k(benchmark::State& state) {
    auto p = scatter(100000);
    auto at = st::grid(0, 100, 200);
    for (auto _ : state) benchmark::DoNotOptimize(st::smoothingSpline(p, 0, at));
}
BENCHMARK(smoothingSpline100k)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
