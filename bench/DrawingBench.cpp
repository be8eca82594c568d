// The layout of a feeder's drawing: a tidy radial tree of 100 to 5000 sections (random trees, each node hung on
// any node before it, as the largest schemes of a city district come). The drawing is laid out anew each time a
// feeder is shown, so this is a part of the panel's reaction to a click in the tree.
#include <benchmark/benchmark.h>

#include <QRandomGenerator>
#include <vector>

#include "feeders/SchemeLayout038.h"

static void BM_RadialLayoutOfARandomTree(benchmark::State& state)
{
    QRandomGenerator random(38);
    std::vector<int> parent{-1};
    for (int i = 1; i < state.range(0); ++i)
        parent.push_back(static_cast<int>(random.bounded(i)));
    for (auto _ : state)
        benchmark::DoNotOptimize(feeders::RadialTreeLayout(parent));
    state.counters["sections"] = static_cast<double>(parent.size() - 1);
}
BENCHMARK(BM_RadialLayoutOfARandomTree)->Arg(101)->Arg(1001)->Arg(5001)->Unit(benchmark::kMillisecond);
