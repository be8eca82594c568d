// The LV regime calculation on the large network: the calculation core alone on one core (sections per
// second), and the whole run of one interval (read, calculate, write) against the raw insert of the same
// number of rows through the same connection, measured in the same run.
#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <algorithm>

#include "BenchSupport.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"

namespace {
int lastYear(TfdbDatabase& database)
{
    int ident = 0;
    for (const TSamplePeriodInfo& p : database.GetSamplePeriods()->Items())
        if (p.Period == 1)
            ident = p.Ident;
    return ident;
}

fider::TRegimeRequest request(int sample)
{
    fider::TRegimeRequest r;
    r.SampleIdent = sample;
    r.Mode = fider::TLoadMode::HeadCurrents;
    r.CalcType = 7;  // a run of its own beside the demo's ordinary ones
    return r;
}

// Rows per second of plain inserts of section results (the commonest row of a run) on a connection.
double rawInsertRate(ToznFDConnection& c, int rows)
{
    c.StartTransaction(false);
    auto parent = c.NewQuery();
    parent->SetSQLText(QStringLiteral("insert into \"LVResults\" (\"Ident\", \"GUID\", \"SampleIdent\", \"CalcType\") "
                                      "values (999999999, 0, 0, 99)"));
    parent->ExecSQL();
    auto q = c.NewQuery();
    q->SetSQLText(QStringLiteral("insert into \"LVPResultsL\" (\"Ident\", \"GUID\", \"I\", \"dU\", \"dP\", \"IA\", "
                                 "\"IB\", \"IC\", \"IN\", \"dQ\") values (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < rows; ++i) {
        const double v = 1.0 + i % 97;
        for (int k = 0; k < 10; ++k)
            q->ParamByIndex(k, k == 0 ? QVariant(999999999) : k == 1 ? QVariant(i) : QVariant(v * k));
        q->ExecSQL();
    }
    const double rate = rows / (timer.nsecsElapsed() / 1e9);
    c.Rollback();
    return rate;
}
}  // namespace

static void BM_RegimeCoreSectionsPerSecond(benchmark::State& state)
{
    auto database = bench::OpenLargeDatabase(state);
    if (!database)
        return;
    const QList<int> fiders = fider::LVFidersUnder(*database->GetTree(), database->GetTree()->GetItems(0)->GetIdent());
    std::vector<fider::TFiderJob> jobs =
        fider::TRegimeReader(*database->GetDefaultConnection(), 0.5, 0.9).Read(fiders, request(lastYear(*database)));
    // The feeders with schemes of their own; those without are one section each.
    std::erase_if(jobs, [](const fider::TFiderJob& j) { return j.Fider.Equivalent || !j.Problems.isEmpty(); });
    long sections = 0;
    for (const fider::TFiderJob& j : jobs)
        sections += static_cast<long>(j.Fider.Lines.size());
    std::vector<double> rates;
    int ok = 0;
    long sweeps = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        ok = 0;
        sweeps = 0;
        for (const fider::TFiderJob& j : jobs) {
            const fider::TCalcWInfoHHCommon run = fider::CalculateRegime(j.Fider, j.Settings);
            ok += run.Ok() ? 1 : 0;
            sweeps += run.Power.Sweeps;
        }
        rates.push_back(sections / (timer.nsecsElapsed() / 1e9));
    }
    std::sort(rates.begin(), rates.end());
    state.counters["feeders"] = static_cast<double>(jobs.size());
    state.counters["calculated"] = ok;
    state.counters["sections"] = static_cast<double>(sections);
    // The median, and the best: the machine's neighbours slow single runs by a fifth now and then.
    state.counters["sections_per_s"] = rates[rates.size() / 2];
    state.counters["best_sections_per_s"] = rates.back();
    state.counters["sweeps_per_feeder"] = ok ? static_cast<double>(sweeps) / ok : 0;
}
BENCHMARK(BM_RegimeCoreSectionsPerSecond)->Unit(benchmark::kMillisecond)->Iterations(10);

static void BM_RegimeWholeNetworkAgainstRawInsert(benchmark::State& state)
{
    auto database = bench::OpenLargeDatabase(state);
    if (!database)
        return;
    const QList<int> fiders = fider::LVFidersUnder(*database->GetTree(), database->GetTree()->GetItems(0)->GetIdent());
    fider::TRegimeRequest r = request(lastYear(*database));
    std::unique_ptr<ToznFDConnection> connection = database->NewConnection();
    auto removeRuns = [&] {
        connection->StartTransaction(false);
        auto q = connection->NewQuery();
        q->SetSQLText(QStringLiteral("delete from \"LVResults\" where \"CalcType\"=%1").arg(r.CalcType));
        q->ExecSQL();
        connection->Commit();
    };
    removeRuns();
    fider::TRegimeBatchResult first, again;
    double baseline = 0;
    for (auto _ : state) {
        // A first run of its calculation type only writes; a second one replaces the first run's rows.
        first = fider::RunRegimeBatch(*connection, 0.5, 0.9, fiders, r, {});
        again = fider::RunRegimeBatch(*connection, 0.5, 0.9, fiders, r, {});
        if (!first.Failure.isEmpty() || !again.Failure.isEmpty()) {
            state.SkipWithError(qPrintable(first.Failure + again.Failure));
            return;
        }
        baseline = rawInsertRate(*connection, first.Rows);
        removeRuns();
    }
    // The whole run: reading the interval, calculating and writing, over the rows it wrote.
    const double rate = first.Rows / first.Seconds;
    const double replacing = again.Rows / again.Seconds;
    state.counters["feeders"] = first.Total;
    state.counters["calculated"] = first.Calculated;
    state.counters["rows"] = first.Rows;
    state.counters["read_s"] = first.ReadSeconds;
    state.counters["total_s"] = first.Seconds;
    state.counters["rows_per_s"] = rate;
    state.counters["write_rows_per_s"] = first.Rows / (first.Seconds - first.ReadSeconds);
    state.counters["replace_total_s"] = again.Seconds;
    state.counters["replace_rows_per_s"] = replacing;
    state.counters["raw_rows_per_s"] = baseline;
    state.counters["ratio"] = baseline > 0 ? rate / baseline : 0;
}
BENCHMARK(BM_RegimeWholeNetworkAgainstRawInsert)->Unit(benchmark::kMillisecond)->Iterations(1);
