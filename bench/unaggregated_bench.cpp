// The unaggregated pass over 10 million generated cases: two numeric variables and the case
// number copied into a row store, with 1% of one variable missing (listwise: the row is reused),
// and the same with a string variable. Reports cases per second (items_per_second).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/relabel_string.h"
#include "host/dictionary/dataset.h"
#include "host/dictionary/registry.h"
#include "platform/data_source.h"
#include "platform/dictionary.h"
#include "platform/var_data_processor.h"

namespace {

constexpr std::int64_t kCases = 10'000'000;

std::shared_ptr<host::dictionary::Dataset> const& dataset() {
    static std::shared_ptr<host::dictionary::Dataset> data = [] {
        auto d = std::make_shared<host::dictionary::Dataset>();
        d->cases = kCases;
        host::dictionary::addVariable(*d, "x", 0);
        host::dictionary::addVariable(*d, "y", 0);
        int const s = host::dictionary::addVariable(*d, "s", 8);
        static char const* const words[] = {"north   ", "south   ", "east    ", "west    "};
        std::uint64_t state = 0x9E3779B97F4A7C15ull;
        for (std::int64_t i = 0; i < kCases; ++i) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            auto const row = static_cast<std::size_t>(i);
            d->columns[0][row] =
                state % 100 == 0 ? KWEL_Globals::sysmis() : static_cast<double>(state % 1000);
            d->columns[1][row] = static_cast<double>((state >> 16) % 100000) / 100.0;
            std::memcpy(&d->columns[static_cast<std::size_t>(s)][row], words[(state >> 8) % 4], 8);
        }
        return d;
    }();
    return data;
}

void run(benchmark::State& state, bool withString) {
    host::dictionary::setActiveDataset(dataset());
    ProcedureDataSource source;
    unsigned int rows = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto set = std::make_unique<GGraphDataSet>(&source, nullptr);
        set->SetDataSetHandle("*");
        set->SetSourceName("g");
        set->AddVariable("x", "", GGraphDataSet::UNSPECIFIED);
        set->AddVariable("y", "", GGraphDataSet::UNSPECIFIED);
        if (withString)
            set->AddVariable("s", "", GGraphDataSet::UNSPECIFIED);
        if (!set->CompleteDataSet()) {
            state.SkipWithError("the data set did not bind");
            break;
        }
        set->AddVariable(new GGraphVariable(GGraphVariable::SYSVAR_CASENUM, nullptr));
        RelabelString relabel;
        state.ResumeTiming();
        rows = set->populateUnAggregatedData(relabel);
        benchmark::DoNotOptimize(rows);
        state.PauseTiming();
        set.reset();  // the row store is freed outside the timing
        state.ResumeTiming();
    }
    state.counters["rows"] = rows;
    state.SetItemsProcessed(state.iterations() * kCases);
    host::dictionary::resetDatasets();
}

void TwoNumbers(benchmark::State& state) {
    run(state, false);
}
void TwoNumbersAndAString(benchmark::State& state) {
    run(state, true);
}

}  // namespace

BENCHMARK(TwoNumbers)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(TwoNumbersAndAString)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK_MAIN();
