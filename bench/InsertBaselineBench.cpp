// The raw insert rate of "LVWResultsB" rows on the embedded database: the baseline of the benchmarks.
#include <benchmark/benchmark.h>

#include <QCoreApplication>

#include "BenchSupport.h"
#include "host/Database.h"

static void BM_RawInsertLVWResultsB(benchmark::State& state)
{
    auto database = bench::FreshSchemaDatabase(QStringLiteral("baseline.fdb"));
    const int rows = static_cast<int>(state.range(0));
    double rate = 0;
    for (auto _ : state)
        rate = bench::RawInsertRate(*database, rows);
    state.SetItemsProcessed(state.iterations() * rows);
    state.counters["rows_per_s"] = rate;
}
BENCHMARK(BM_RawInsertLVWResultsB)->Arg(20000)->Unit(benchmark::kMillisecond)->Iterations(3);
