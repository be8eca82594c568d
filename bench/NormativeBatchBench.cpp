// The batch normative calculation over the whole large network for one year, against the raw
// insert rate of the same kind of rows measured in the same run.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <vector>

#include "BenchSupport.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "normative/LVNormativMethodCalcUnit.h"

static void BM_NormativeBatchWholeNetwork(benchmark::State& state)
{
    QString error;
    auto database = TfdbDatabase::Open(bench::LargeDatabasePath(), error);
    if (!database) {
        state.SkipWithError(qPrintable(QStringLiteral("OZN3_BENCH_DB: ") + error));
        return;
    }
    TfdbTree* tree = database->GetTree();
    TSamplePeriodInfo year;
    for (const TSamplePeriodInfo& p : database->GetSamplePeriods()->Items())
        if (p.Period == 1 && year.Ident == 0)
            year = p;
    auto baselineDb = bench::FreshSchemaDatabase(QStringLiteral("baseline-normative.fdb"));
    // The median of three: a single measurement of the disk is too noisy to compare with.
    std::vector<double> baselines;
    for (int i = 0; i < 3; ++i)
        baselines.push_back(bench::RawInsertRate(*baselineDb, 20000));
    std::sort(baselines.begin(), baselines.end());
    const double baseline = baselines[1];

    std::vector<double> rates;
    int elements = 0;
    for (auto _ : state) {
        QObject context;
        bool done = false;
        TCalcEvents events;
        events.Finish = [&](int processed, const QString&) {
            elements = processed;
            done = true;
        };
        TCalcThread thread(&context, events, database.get(), tree, tree->GetItems(0)->GetIdent(), 7, year);
        QElapsedTimer timer;
        timer.start();
        thread.start();
        while (!done)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        thread.wait();
        rates.push_back(elements / (timer.nsecsElapsed() / 1e9));
    }
    std::sort(rates.begin(), rates.end());
    const double rate = rates[rates.size() / 2];
    state.counters["elements"] = elements;
    state.counters["elements_per_s"] = rate;
    state.counters["baseline_rows_per_s"] = baseline;
    state.counters["ratio_to_baseline"] = rate / baseline;
}
BENCHMARK(BM_NormativeBatchWholeNetwork)->Unit(benchmark::kMillisecond)->Iterations(5);
