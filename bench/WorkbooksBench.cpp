// The workbooks of the whole utility on the large network: the generalised data of every substation for the
// year of the normative inputs, and the energy measurements of every substation and LV feeder; each read from the
// database, written and read back.
#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <QTemporaryDir>

#include "BenchSupport.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "import/LVZamerData.h"
#include "import/LVZamerSocial.h"

namespace {
struct Timings {
    double read = 0, write = 0, readBack = 0;
};

std::unique_ptr<TfdbDatabase> open(benchmark::State& state)
{
    QString error;
    auto database = TfdbDatabase::Open(bench::LargeDatabasePath(), error);
    if (!database)
        state.SkipWithError(qPrintable(QStringLiteral("OZN3_BENCH_DB: ") + error));
    return database;
}

TSamplePeriodInfo year(TfdbDatabase& database, bool first)
{
    TSamplePeriodInfo found;
    for (const TSamplePeriodInfo& p : database.GetSamplePeriods()->Items())
        if (p.Period == 1 && (found.isEmpty() || !first))
            found = p;
    return found;
}
}  // namespace

static void BM_GeneralisedDataOfEverySubstation(benchmark::State& state)
{
    auto database = open(state);
    if (!database)
        return;
    ToznFDConnection& c = *database->GetDefaultConnection();
    const int root = database->GetTree()->GetItems(0)->GetIdent();
    QTemporaryDir dir;
    int rows = 0;
    Timings t;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        TNodeSocialHigh high;
        high.Open(c, root, 5, year(*database, true));
        t.read = timer.restart();
        QString error;
        high.WriteWorkbook(dir.filePath("social.xlsx"), true, true, error);
        t.write = timer.restart();
        high.ReadWorkbook(dir.filePath("social.xlsx"), error);
        t.readBack = timer.elapsed();
        rows = high.Count();
    }
    state.counters["rows"] = rows;
    state.counters["open_ms"] = t.read;
    state.counters["write_ms"] = t.write;
    state.counters["read_back_ms"] = t.readBack;
}
BENCHMARK(BM_GeneralisedDataOfEverySubstation)->Iterations(1)->Unit(benchmark::kMillisecond);

static void BM_EnergyMeasurementsOfTheUtility(benchmark::State& state)
{
    auto database = open(state);
    if (!database)
        return;
    ToznFDConnection& c = *database->GetDefaultConnection();
    QTemporaryDir dir;
    int rows = 0;
    Timings t;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        TLVZamerData data;
        data.Load(c, database->GetTree()->GetItems(0), year(*database, false).Ident, 8760, true);
        t.read = timer.restart();
        QString error;
        data.WriteWorkbook(dir.filePath("w.xlsx"), error);
        t.write = timer.restart();
        data.ReadWorkbook(dir.filePath("w.xlsx"), error);
        t.readBack = timer.elapsed();
        rows = static_cast<int>(data.Records().size());
    }
    state.counters["rows"] = rows;
    state.counters["load_ms"] = t.read;
    state.counters["write_ms"] = t.write;
    state.counters["read_back_ms"] = t.readBack;
}
BENCHMARK(BM_EnergyMeasurementsOfTheUtility)->Iterations(1)->Unit(benchmark::kMillisecond);
