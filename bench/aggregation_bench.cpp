// The aggregation engine over 10 million generated cases: two break variables (10 and 5
// categories), COUNT and MEAN of one variable, and the same with MEDIAN. Reports cases per
// second (items_per_second).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>

#include "host/dictionary/dataset.h"
#include "platform/aggregation.h"
#include "platform/data_source.h"

namespace {

constexpr std::int64_t kCases = 10'000'000;

std::shared_ptr<host::dictionary::Dataset> const& dataset() {
    static std::shared_ptr<host::dictionary::Dataset> data = [] {
        auto d = std::make_shared<host::dictionary::Dataset>();
        d->cases = kCases;
        host::dictionary::addVariable(*d, "a", 0);
        host::dictionary::addVariable(*d, "b", 0);
        host::dictionary::addVariable(*d, "x", 0);
        std::uint64_t state = 0x9E3779B97F4A7C15ull;
        for (std::int64_t i = 0; i < kCases; ++i) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            auto const row = static_cast<std::size_t>(i);
            d->columns[0][row] = static_cast<double>(state % 10);
            d->columns[1][row] = static_cast<double>((state >> 8) % 5);
            d->columns[2][row] = static_cast<double>((state >> 16) % 100000) / 100.0;
        }
        return d;
    }();
    return data;
}

void run(benchmark::State& state, bool median) {
    KWEL_DataSource source(dataset());
    for (auto _ : state) {
        std::unique_ptr<KWEL_InputCaseIterator> iterator(source.CreateInputCaseIterator(0));
        AggregationTable table(*iterator, false, false, -1);
        AggregationCube* cube = table.CreateCube();
        AggregationVariable a(0, "a"), b(1, "b");
        cube->AddCategoricalVariable(&a, TableEncryptionCodes::ROW);
        cube->AddCategoricalVariable(&b, TableEncryptionCodes::ROW);
        cube->CreateCubeAggregator();
        std::vector<AggregationStatistic> stats{AggregationStatistic(TableEncryptionCodes::STAT_COUNT),
                                                AggregationStatistic(TableEncryptionCodes::STAT_MEAN)};
        if (median) stats.emplace_back(TableEncryptionCodes::STAT_MEDIAN);
        for (auto& s : stats) s.SetVarIndex(2);
        cube->AddScaleStatistics(stats);
        auto* proc = static_cast<ProcDSIterator*>(iterator.get());
        while (iterator->NextCase()) {
            if (!proc->SplitGroupEnd()) table.AddNewCase();
        }
        double total = 0;
        auto* aggregator = table.GetCubeAggregators().front();
        for (auto const* ca : a.GetDimension()->GetCategories())
            for (auto const* cb : b.GetDimension()->GetCategories())
                if (StatValues* v = aggregator->GetStatValues({ca, cb}, -1)) total += v->GetStatValue(1);
        benchmark::DoNotOptimize(total);
    }
    state.SetItemsProcessed(state.iterations() * kCases);
}

void CountMean(benchmark::State& state) { run(state, false); }
void CountMeanMedian(benchmark::State& state) { run(state, true); }

}  // namespace

BENCHMARK(CountMean)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(CountMeanMedian)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_MAIN();
