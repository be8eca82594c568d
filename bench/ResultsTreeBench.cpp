// The LV results as a user opens them on the large network: the whole utility and one district, from choosing
// the object to a filled grid, each against the engine's own flat scan of the same rows in the same run (the
// results and their balance rows of the interval, aggregated inside the engine); the results tree alone; the
// peak memory of the process; and the JSON command on the utility with its time and peak memory.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <algorithm>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

#include "BenchSupport.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/InitOZN.h"
#include "host/SamplePeriods.h"
#include "results/LVResultsModel.h"
#include "results/UnitLVResults.h"
#include "results/UnitLVResultsGrid.h"
#include "results/UnitLVResultsTree.h"

namespace {
struct Setup {
    std::unique_ptr<TfdbDatabase> database;
    int utility = 0, district = 0;
    TSamplePeriodInfo year;
};

Setup open(benchmark::State& state)
{
    Setup s;
    s.database = bench::OpenLargeDatabase(state);
    if (!s.database)
        return s;
    auto q = s.database->GetDefaultConnection()->NewQuery();
    q->SetSQLText(QStringLiteral("select first 1 guid from \"AOEnergo\""));
    q->Open();
    s.utility = q->Int(QStringLiteral("GUID"));
    // The last district: the one the former level query reached last.
    q->SetSQLText(QStringLiteral("select max(guid) from res"));
    q->Open();
    s.district = q->Value(0).toInt();
    for (const TSamplePeriodInfo& p : s.database->GetSamplePeriods()->Items())
        if (p.Period == 1)
            s.year = p;  // the latest year
    // The grid shows the latest sample with results; the tree is read for the same one.
    Init(true)->SaveIntParam(QStringLiteral("LVResultsGrid"), QStringLiteral("SampleIdent"), s.year.Ident);
    return s;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// The engine's flat scan of the interval's results and balance rows with their feeders and substations,
// every value the results read summed inside the engine (one row fetched): what reading them cannot beat. For a
// district, the results with one of its balance rows, found by their index.
double flatScanMs(ToznFDConnection& c, const TSamplePeriodInfo& year, int district)
{
    static const char* const result[] = {"T",      "UA",     "UB",     "UC",          "IA",
                                         "IB",     "IC",     "ImaxA",  "ImaxB",       "ImaxC",
                                         "CosFiA", "CosFiB", "CosFiC", "Temperature", "U2A",
                                         "U2B",    "U2C",    "Lm",     "L23",         "L1",
                                         "Kdp",    "sqrKfg", "Krazv",  "HeadEndSize", "HeadEndLength",
                                         "dWdop",  "dPdop"};
    static const char* const power[] = {"Pgen",   "Qgen",   "dP",         "dQ",         "Pfakt",     "Qfakt",
                                        "Pcalc",  "Qcalc",  "LsumP",      "LsumC",      "LsumP_off", "LsumC_off",
                                        "NLineP", "NLineC", "NLineP_off", "NLineC_off", "NAbonents"};
    static const char* const energy[] = {"Wa_gen", "Wr_gen", "Wafakt", "Wrfakt", "Wacalc", "Wrcalc", "dWa", "dWr"};
    auto sum = [](const char* alias, const auto& columns) {
        QStringList terms;
        for (const char* c : columns)
            terms << QStringLiteral("coalesce(%1.\"%2\", 0)").arg(QLatin1String(alias), QLatin1String(c));
        return QStringLiteral("sum(%1)").arg(terms.join(QLatin1Char('+')));
    };
    const QString from = district == 0 ? QStringLiteral("from \"SamplesDates\" sd join \"LVResults\" mv on "
                                                        "mv.\"SampleIdent\"=sd.\"Ident\" ")
                                       : QStringLiteral("from (select distinct pb.\"Ident\" from \"LVPResultsAdd\" pb "
                                                        "where pb.res=:RES) sel join \"LVResults\" mv on "
                                                        "mv.\"Ident\"=sel.\"Ident\" join \"SamplesDates\" sd on "
                                                        "sd.\"Ident\"=mv.\"SampleIdent\" ");
    QElapsedTimer timer;
    timer.start();
    auto q = c.NewQuery();
    q->SetSQLText(
        QStringLiteral("select count(*), %1, %2, %3, count(distinct nod.guid) ")
            .arg(sum("mv", result), sum("pa", power), sum("wa", energy)) +
        from +
        QStringLiteral("and coalesce(mv.\"CalcType\", 0)=0 join \"Periods\" per on per.\"Ident\"=sd.\"Period\" "
                       "join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" left join \"LVWResultsAdd\" wa on "
                       "wa.\"Ident\"=pa.\"Ident\" and wa.\"Balance\"=pa.\"Balance\" and wa.res=pa.res "
                       "join \"LVFiders\" lf on lf.guid=mv.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "
                       "where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 and sd.\"Period\"=1"));
    q->ParamByName(QStringLiteral("sd1"), year.SampleDate1).ParamByName(QStringLiteral("sd2"), year.SampleDate2);
    if (district != 0)
        q->ParamByName(QStringLiteral("RES"), district);
    q->Open();
    benchmark::DoNotOptimize(q->Value(0));
    return timer.nsecsElapsed() / 1e6;
}

// The process's peak resident memory so far, MB.
double peakRssMb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024;
    return 0;
}

// Choosing an object in the grid until it is filled, the tree alone, and the flat scan, medians of the runs.
void openObject(benchmark::State& state, bool wholeUtility)
{
    Setup s = open(state);
    if (!s.database)
        return;
    ToznFDConnection& c = *s.database->GetDefaultConnection();
    const int object = wholeUtility ? s.utility : s.district;
    std::vector<double> flat, tree, grid;
    int nodes = 0;
    for (auto _ : state) {
        flat.push_back(flatScanMs(c, s.year, wholeUtility ? 0 : s.district));
        QElapsedTimer timer;
        timer.start();
        {
            TPesResultsLV t(0, 0, QString(), nullptr);
            QString error;
            t.Open(c, object, 0, s.year.SampleDate1, s.year.SampleDate2, 1, error);
            nodes = t.CountRecords();
        }
        tree.push_back(timer.nsecsElapsed() / 1e6);
        timer.start();
        TfrmLVResultsGrid form;
        form.Init(s.database.get(), object);
        benchmark::DoNotOptimize(form.Model()->rowCount());
        grid.push_back(timer.nsecsElapsed() / 1e6);
    }
    state.counters["nodes"] = nodes;
    state.counters["flat_scan_ms"] = median(flat);
    state.counters["tree_ms"] = median(tree);
    state.counters["grid_ms"] = median(grid);
    state.counters["grid_to_flat_scan"] = median(grid) / median(flat);
    state.counters["peak_rss_mb"] = peakRssMb();
}
}  // namespace

// Goal: the district's grid within 0.5 s.
static void BM_District(benchmark::State& state) { openObject(state, false); }
BENCHMARK(BM_District)->Unit(benchmark::kMillisecond)->Iterations(3);

// Goals: the utility's grid within 2.5 times the flat scan and 2.5 s; the process under 300 MB at its peak.
static void BM_WholeUtility(benchmark::State& state) { openObject(state, true); }
BENCHMARK(BM_WholeUtility)->Unit(benchmark::kMillisecond)->Iterations(3);

// "ozn3 results --json" on the utility: its time and the peak memory of its process.
static void BM_ResultsJsonCommand(benchmark::State& state)
{
    Setup s = open(state);
    if (!s.database)
        return;
    s.database.reset();  // the embedded engine lets one process open the database at a time
    const QString app = QCoreApplication::applicationDirPath() + QStringLiteral("/../bin/ozn3");
    std::vector<double> ms;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        QProcess p;
        p.setStandardOutputFile(QProcess::nullDevice());
        p.start(app, {QStringLiteral("results"), QStringLiteral("--db"), bench::LargeDatabasePath(),
                      QStringLiteral("--guid"), QString::number(s.utility), QStringLiteral("--sample"),
                      QString::number(s.year.Ident), QStringLiteral("--json")});
        if (!p.waitForFinished(600000) || p.exitCode() != 0) {
            state.SkipWithError(qPrintable(QStringLiteral("ozn3 results: ") + p.readAllStandardError()));
            return;
        }
        ms.push_back(timer.nsecsElapsed() / 1e6);
    }
    rusage children{};
    getrusage(RUSAGE_CHILDREN, &children);
    state.counters["json_ms"] = median(ms);
    state.counters["json_peak_rss_mb"] = children.ru_maxrss / 1024.0;
}
BENCHMARK(BM_ResultsJsonCommand)->Unit(benchmark::kMillisecond)->Iterations(2);
