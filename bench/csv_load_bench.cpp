// Loading a large CSV into the case store. `--generate FILE ROWS` writes the test file; without
// it, the benchmark loads the file named by GGRAPH_BENCH_CSV. bench/run.sh runs both and the
// peer (pandas.read_csv) in the same run and prints the ratio.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "host/dictionary/loader.h"

namespace {

// Six columns: an id, two decimals (the second missing now and then), a short string, a count
// and a signed ratio.
int generate(char const* path, long rows) {
    std::FILE* out = std::fopen(path, "wb");
    if (!out) {
        std::perror(path);
        return 1;
    }
    std::fputs("id,x,y,group,count,ratio\n", out);
    std::uint64_t state = 0x9E3779B97F4A7C15ull;
    auto next = [&state] {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    };
    char line[160];
    for (long row = 1; row <= rows; ++row) {
        std::uint64_t const a = next();
        std::uint64_t const b = next();
        double const x = static_cast<double>(a % 10000000) / 1000.0;
        double const ratio = static_cast<double>(static_cast<long>(b % 2000001) - 1000000) / 1e6;
        char y[32] = "";
        if (a % 53 != 0)
            std::snprintf(y, sizeof y, "%.2f", static_cast<double>(b % 100000) / 100.0);
        int const n = std::snprintf(line, sizeof line, "%ld,%.3f,%s,grp%02d,%d,%.6f\n", row, x, y,
                                    static_cast<int>(b % 40), static_cast<int>(a % 1000), ratio);
        std::fwrite(line, 1, static_cast<std::size_t>(n), out);
    }
    return std::fclose(out) == 0 ? 0 : 1;
}

void BM_LoadCsv(benchmark::State& state) {
    char const* path = std::getenv("GGRAPH_BENCH_CSV");
    if (!path) {
        state.SkipWithError("set GGRAPH_BENCH_CSV to the file to load");
        return;
    }
    auto const bytes = static_cast<double>(std::filesystem::file_size(path));
    std::int64_t rows = 0;
    for (auto _ : state) {
        auto result = host::dictionary::loadDataset(path);
        if (!result.ok()) {
            state.SkipWithError("the file could not be loaded");
            return;
        }
        rows = result.dataset->cases;
        benchmark::DoNotOptimize(result.dataset->columns.data());
    }
    state.counters["MB/s"] =
        benchmark::Counter(bytes / 1e6, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["rows/s"] = benchmark::Counter(static_cast<double>(rows),
                                                  benchmark::Counter::kIsIterationInvariantRate);
    state.counters["rows"] = static_cast<double>(rows);
}
// Rates are per CPU second: the machines this runs on are often shared, and wall-clock time
// then measures the neighbours. The JSON output has the wall-clock time too.
BENCHMARK(BM_LoadCsv)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::strcmp(argv[1], "--generate") == 0)
        return generate(argv[2], std::atol(argv[3]));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
