// The LV feeder editor on the large network: opening on the substation with the most LV feeders, and the
// recalculation of a sample after a keystroke.
#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <QLineEdit>
#include <algorithm>
#include <vector>

#include "BenchSupport.h"
#include "feeders/DataMod.h"
#include "feeders/LVFidersUnit.h"
#include "host/Connection.h"
#include "host/Database.h"

namespace {
int busiestSubstation(ToznFDConnection& c)
{
    auto q = c.NewQuery();
    q->SetSQLText(R"(select first 1 "OwnerGUID" from "LVFiders" group by "OwnerGUID" order by count(*) desc)");
    q->Open();
    return q->Int(QStringLiteral("OwnerGUID"));
}

double percentile(std::vector<double> v, double p)
{
    std::sort(v.begin(), v.end());
    return v[static_cast<size_t>(p * (v.size() - 1))];
}
}  // namespace

static void BM_OpenEditorOnBusiestSubstation(benchmark::State& state)
{
    auto database = bench::OpenLargeDatabase(state);
    if (!database)
        return;
    ToznFDConnection& c = *database->GetDefaultConnection();
    const int node = busiestSubstation(c);
    std::vector<double> ms;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        TLVFidersForm form(nullptr, c);
        form.SetRepData(new TRep_Data(&form, c));
        form.SetNode(node);
        form.OpenFiders();
        ms.push_back(timer.nsecsElapsed() / 1e6);
        benchmark::DoNotOptimize(form.NodeFound());
    }
    state.counters["median_ms"] = percentile(ms, 0.5);
    state.counters["worst_ms"] = percentile(ms, 1.0);
}
BENCHMARK(BM_OpenEditorOnBusiestSubstation)->Unit(benchmark::kMillisecond)->Iterations(5);

static void BM_RecalculateAfterKeystroke(benchmark::State& state)
{
    auto database = bench::OpenLargeDatabase(state);
    if (!database)
        return;
    ToznFDConnection& c = *database->GetDefaultConnection();
    TLVFidersForm form(nullptr, c);
    form.SetRepData(new TRep_Data(&form, c));
    form.SetNode(busiestSubstation(c));
    form.OpenFiders();
    QLineEdit* current = form.Edit(QStringLiteral("EditIA"));
    std::vector<double> us;
    us.reserve(10000);
    for (auto _ : state) {
        for (int i = 0; i < 10000; ++i) {
            const QString text = QString::number(80 + i % 40);
            current->setText(text);
            QElapsedTimer timer;
            timer.start();
            emit current->textEdited(text);  // the edit recalculates the sample
            us.push_back(timer.nsecsElapsed() / 1e3);
        }
    }
    state.counters["edits"] = static_cast<double>(us.size());
    state.counters["median_us"] = percentile(us, 0.5);
    state.counters["p99_us"] = percentile(us, 0.99);
    state.counters["worst_us"] = percentile(us, 1.0);
}
BENCHMARK(BM_RecalculateAfterKeystroke)->Unit(benchmark::kMillisecond)->Iterations(1);
