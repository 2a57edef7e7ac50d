// The aggregation engine over 10 million generated cases: two break variables (10 and 5
// categories), COUNT and MEAN of one variable, and the same with MEDIAN; and the bar chart of
// means' shape, MEAN of one variable by a one-letter text (10 categories) or by a number (1,000). Reports cases per
// second (items_per_second) and the memory the filled cube holds (held_MB).
// `--write-data FILE` writes the cases (columns a, b, x as raw float64, one after the other) and
// FILE.cells, our COUNT, MEAN and MEDIAN per cell, for the pandas peer of bench/run.sh.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include "host/dictionary/dataset.h"
#include "platform/aggregation.h"
#include "platform/data_source.h"

namespace {

// GGRAPH_AGG_CASES overrides the count, for profiling runs under a simulator.
std::int64_t const kCases = [] {
    char const* text = std::getenv("GGRAPH_AGG_CASES");
    return text != nullptr ? std::atoll(text) : std::int64_t{10'000'000};
}();

std::shared_ptr<host::dictionary::Dataset> const& dataset() {
    static std::shared_ptr<host::dictionary::Dataset> data = [] {
        auto d = std::make_shared<host::dictionary::Dataset>();
        d->cases = kCases;
        host::dictionary::addVariable(*d, "a", 0);
        host::dictionary::addVariable(*d, "b", 0);
        host::dictionary::addVariable(*d, "x", 0);
        host::dictionary::addVariable(*d, "g", 1);
        host::dictionary::addVariable(*d, "k", 0);
        std::uint64_t state = 0x9E3779B97F4A7C15ull;
        for (std::int64_t i = 0; i < kCases; ++i) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            auto const row = static_cast<std::size_t>(i);
            d->columns[0][row] = static_cast<double>(state % 10);
            d->columns[1][row] = static_cast<double>((state >> 8) % 5);
            d->columns[2][row] = static_cast<double>((state >> 16) % 100000) / 100.0;
            char const letter = static_cast<char>('A' + (state >> 40) % 10);
            std::memcpy(&d->columns[3][row], &letter, 1);
            d->columns[4][row] = static_cast<double>((state >> 24) % 1000);
        }
        return d;
    }();
    return data;
}

// MEAN of x by one break: the text g (10 codes), as the bar chart of means asks for it, or the
// number k (1,000 codes).
void breakMean(benchmark::State& state, int breakVariable) {
    dataset();
    for (auto _ : state) {
        KWEL_DataSource source(dataset());
        std::unique_ptr<KWEL_InputCaseIterator> iterator(source.CreateInputCaseIterator(0));
        AggregationTable table(*iterator, false, false, -1);
        AggregationCube* cube = table.CreateCube();
        AggregationVariable g(breakVariable, "g");
        cube->AddCategoricalVariable(&g, TableEncryptionCodes::ROW);
        cube->CreateCubeAggregator();
        std::vector<AggregationStatistic> stats{AggregationStatistic(TableEncryptionCodes::STAT_MEAN)};
        stats[0].SetVarIndex(2);
        cube->AddScaleStatistics(stats);
        auto* proc = static_cast<ProcDSIterator*>(iterator.get());
        while (iterator->NextCase()) {  // the first case, then the rest as one run
            if (proc->SplitGroupEnd())
                continue;
            table.AddNewCase();
            if (table.TakesCaseRuns())
                table.AddCaseRun(*proc, kCases);
        }
        double total = 0;
        auto* aggregator = table.GetCubeAggregators().front();
        for (auto const* category : g.GetDimension()->GetCategories())
            if (StatValues* v = aggregator->GetStatValues({category}, -1))
                total += v->GetStatValue(0);
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * kCases);
}

void TextBreakMean(benchmark::State& state) { breakMean(state, 3); }
void NumberBreakMean(benchmark::State& state) { breakMean(state, 4); }

// Resident memory now, in bytes.
double residentBytes() {
    long pages = 0, resident = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

// One pass as the command makes it. `visit(a, b, values)` sees every cell met, in category order.
template <typename Visit>
void aggregate(bool median, Visit&& visit) {
    KWEL_DataSource source(dataset());
    std::unique_ptr<KWEL_InputCaseIterator> iterator(source.CreateInputCaseIterator(0));
    AggregationTable table(*iterator, false, false, -1);
    AggregationCube* cube = table.CreateCube();
    AggregationVariable a(0, "a"), b(1, "b");
    cube->AddCategoricalVariable(&a, TableEncryptionCodes::ROW);
    cube->AddCategoricalVariable(&b, TableEncryptionCodes::ROW);
    cube->CreateCubeAggregator();
    std::vector<AggregationStatistic> stats{AggregationStatistic(TableEncryptionCodes::STAT_COUNT),
                                            AggregationStatistic(TableEncryptionCodes::STAT_MEAN)};
    if (median)
        stats.emplace_back(TableEncryptionCodes::STAT_MEDIAN);
    for (auto& s : stats) s.SetVarIndex(2);
    cube->AddScaleStatistics(stats);
    auto* proc = static_cast<ProcDSIterator*>(iterator.get());
    while (iterator->NextCase()) {  // the first case, then the rest as one run, as the command does
        if (proc->SplitGroupEnd())
            continue;
        table.AddNewCase();
        if (table.TakesCaseRuns())
            table.AddCaseRun(*proc, kCases);
    }
    auto* aggregator = table.GetCubeAggregators().front();
    for (auto const* ca : a.GetDimension()->GetCategories())
        for (auto const* cb : b.GetDimension()->GetCategories())
            if (StatValues* v = aggregator->GetStatValues({ca, cb}, -1))
                visit(*ca->value, *cb->value, *v);
}

void run(benchmark::State& state, bool median) {
    dataset();
    double held = 0;
    for (auto _ : state) {
        double const before = residentBytes();
        double total = 0;
        bool first = true;
        aggregate(median, [&](double, double, StatValues const& v) {
            if (first)
                held = std::max(held, residentBytes() - before);  // the cube is full here
            first = false;
            total += v.GetStatValue(1);
        });
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * kCases);
    state.counters["held_MB"] = held / 1e6;
}

void CountMean(benchmark::State& state) { run(state, false); }
void CountMeanMedian(benchmark::State& state) { run(state, true); }

int writeData(std::string const& path) {
    auto const& data = *dataset();
    std::FILE* out = std::fopen(path.c_str(), "wb");
    if (out == nullptr)
        return 1;
    for (int column = 0; column < 3; ++column)
        std::fwrite(data.columns[column].data(), sizeof(double), static_cast<std::size_t>(kCases),
                    out);
    std::fclose(out);
    std::FILE* cells = std::fopen((path + ".cells").c_str(), "w");
    if (cells == nullptr)
        return 1;
    std::fprintf(cells, "a,b,count,mean,median\n");
    aggregate(true, [&](double a, double b, StatValues const& v) {
        std::fprintf(cells, "%g,%g,%.17g,%.17g,%.17g\n", a, b,
                     static_cast<double>(v.GetStatValue(0)), static_cast<double>(v.GetStatValue(1)),
                     static_cast<double>(v.GetStatValue(2)));
    });
    std::fclose(cells);
    return 0;
}

}  // namespace

BENCHMARK(CountMean)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(CountMeanMedian)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(TextBreakMean)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(NumberBreakMean)->Unit(benchmark::kMillisecond)->Iterations(5);

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--write-data") == 0)
        return writeData(argv[2]);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
