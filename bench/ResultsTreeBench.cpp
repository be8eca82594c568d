// The results tree of the whole utility on the large network for one sample, against the raw fetch of the
// same query through the same connection, and the time to fill the results grid.
#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <algorithm>
#include <vector>

#include "BenchSupport.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "results/LVResultsModel.h"
#include "results/UnitLVResults.h"
#include "results/UnitLVResultsGrid.h"
#include "results/UnitLVResultsTree.h"

namespace {
struct Setup {
    std::unique_ptr<TfdbDatabase> database;
    int root = 0;
    TSamplePeriodInfo year;
};

Setup open(benchmark::State& state)
{
    Setup s;
    QString error;
    s.database = TfdbDatabase::Open(bench::LargeDatabasePath(), error);
    if (!s.database) {
        state.SkipWithError(qPrintable(QStringLiteral("OZN3_BENCH_DB: ") + error));
        return s;
    }
    auto q = s.database->GetDefaultConnection()->NewQuery();
    q->SetSQLText(QStringLiteral("select first 1 guid from \"AOEnergo\""));
    q->Open();
    s.root = q->Int(QStringLiteral("GUID"));
    for (const TSamplePeriodInfo& p : s.database->GetSamplePeriods()->Items())
        if (p.Period == 1)
            s.year = p;  // the latest year
    return s;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}
}  // namespace

static void BM_OpenWholeUtilityAgainstRawFetch(benchmark::State& state)
{
    Setup s = open(state);
    if (!s.database)
        return;
    ToznFDConnection& c = *s.database->GetDefaultConnection();
    std::vector<double> raw, tree;
    int rows = 0, nodes = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        auto q = c.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sResultRows));
        q->ParamByName(QStringLiteral("GUID"), s.root).ParamByName(QStringLiteral("CalcType"), 0);
        q->ParamByName(QStringLiteral("sd1"), s.year.SampleDate1)
            .ParamByName(QStringLiteral("sd2"), s.year.SampleDate2);
        q->ParamByName(QStringLiteral("Period"), 1);
        rows = 0;
        q->Open();
        const int fields = q->FieldCount();
        for (; !q->Eof(); q->Next()) {
            for (int f = 0; f < fields; ++f)
                benchmark::DoNotOptimize(q->Value(f));
            ++rows;
        }
        raw.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        TPesResultsLV t(0, 0, QString(), nullptr);
        QString error;
        t.Open(c, s.root, 0, s.year.SampleDate1, s.year.SampleDate2, 1, error);
        tree.push_back(timer.nsecsElapsed() / 1e6);
        nodes = t.CountRecords();
    }
    state.counters["rows"] = rows;
    state.counters["nodes"] = nodes;
    state.counters["raw_fetch_ms"] = median(raw);
    state.counters["open_ms"] = median(tree);
    state.counters["ratio_to_raw_fetch"] = median(tree) / median(raw);
}
BENCHMARK(BM_OpenWholeUtilityAgainstRawFetch)->Unit(benchmark::kMillisecond)->Iterations(3);

static void BM_FillResultsGrid(benchmark::State& state)
{
    Setup s = open(state);
    if (!s.database)
        return;
    std::vector<double> ms;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        TfrmLVResultsGrid grid;
        grid.Init(s.database.get(), s.root);
        ms.push_back(timer.nsecsElapsed() / 1e6);
        benchmark::DoNotOptimize(grid.Model()->rowCount());
    }
    state.counters["init_and_fill_ms"] = median(ms);
}
BENCHMARK(BM_FillResultsGrid)->Unit(benchmark::kMillisecond)->Iterations(3);
