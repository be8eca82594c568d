// The regime by metering profiles on the large network. On one core, the section-steps per second of the step
// solver on the demo's feeders with schemes, beside the snapshot calculation (CalculateRegime) called once per
// step on the same feeders and loads, measured in the same run. Then the whole network for the year on every core,
// profiles read from the database and runs written included, with the largest resident memory of the process.
#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <algorithm>
#include <sys/resource.h>
#include <thread>
#include <time.h>

#include "BenchSupport.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"
#include "host/fider/RegimeStore.h"
#include "host/fider/Topology038.h"
#include "host/profiles/ProfileBatch.h"
#include "host/profiles/ProfileImport.h"
#include "host/profiles/ProfileLoads.h"
#include "host/profiles/ProfileRegime.h"
#include "host/profiles/ProfileStore.h"

namespace {
int lastYear(TfdbDatabase& database)
{
    int ident = 0;
    for (const TSamplePeriodInfo& p : database.GetSamplePeriods()->Items())
        if (p.Period == 1)
            ident = p.Ident;
    return ident;
}

// Seconds of processor time this thread has used: the rate of one core even while the machine's other work
// takes turns with it.
double threadSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec + t.tv_nsec / 1e9;
}

// Seconds of processor time of the whole process, every thread and the embedded engine's work included.
double processSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec + usage.ru_stime.tv_usec / 1e6;
}

double maxResidentMb()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024.0;
}

struct SchemeFeeders {
    std::vector<fider::TFiderJob> jobs;
    std::vector<std::vector<profiles::TStoredProfile>> own;
    QHash<int, profiles::TStoredProfile> typical;
    profiles::TProfileInterval interval;
    long sections = 0;  // energised sections of all the feeders
};

// The feeders with schemes of the last year with their profiles; `every` takes one in so many.
SchemeFeeders readSchemeFeeders(TfdbDatabase& database, int every)
{
    SchemeFeeders s;
    const int sample = lastYear(database);
    const QList<int> fiders = fider::LVFidersUnder(*database.GetTree(), database.GetTree()->GetItems(0)->GetIdent());
    fider::TRegimeRequest request;
    request.SampleIdent = sample;
    request.Mode = fider::TLoadMode::Profiles;
    ToznFDConnection& c = *database.GetDefaultConnection();
    std::vector<fider::TFiderJob> jobs = fider::TRegimeReader(c, 0.5, 0.9).Read(fiders, request);
    std::erase_if(jobs, [](const fider::TFiderJob& j) { return j.Fider.Equivalent || !j.Problems.isEmpty(); });
    profiles::TProfileStore store(c);
    QStringList problems;
    for (profiles::TStoredProfile& p : store.ReadTypical(sample, problems))
        s.typical.insert(p.Guid, std::move(p));
    for (const profiles::TProfileInterval& i : profiles::ReadIntervals(c))
        if (i.Ident == sample)
            s.interval = i;
    for (size_t i = 0; i < jobs.size(); i += every) {
        const fider::TFiderTopology topology = fider::TFiderTopology::Build(jobs[i].Fider);
        for (int pos = 1; pos < topology.Count(); ++pos)
            s.sections += topology.Energised[pos] ? 1 : 0;
        s.own.push_back(store.ReadFider(sample, jobs[i].Fider.Guid, problems));
        jobs[i].Settings.Kdp = 1;
        s.jobs.push_back(std::move(jobs[i]));
    }
    return s;
}

const profiles::TStoredProfile* typicalOf(const SchemeFeeders& s, const fider::TFiderJob& job)
{
    const auto it = s.typical.constFind(job.Fider.LoadKind);
    return it == s.typical.constEnd() ? nullptr : &*it;
}
}  // namespace

// Section-steps per second on one core: the step solver over the whole year of every second scheme feeder,
// and the snapshot calculation once per step over the first two days of the same feeders.
static void BM_ProfileStepsAgainstSnapshotPerStep(benchmark::State& state)
{
    auto database = bench::OpenLargeDatabase(state);
    if (!database)
        return;
    const SchemeFeeders s = readSchemeFeeders(*database, 2);
    constexpr int kSnapshotSteps = 48;
    double stepsRate = 0, snapshotRate = 0, steps = 0, stepsWall = 0, snapshotWall = 0;
    int ok = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        double cpu = threadSeconds();
        double sectionSteps = 0;
        ok = 0;
        for (size_t i = 0; i < s.jobs.size(); ++i) {
            const fider::TCalcWInfoHHCommon run = profiles::CalculateProfileRegime(
                s.jobs[i].Fider, s.jobs[i].Settings, s.own[i], typicalOf(s, s.jobs[i]), s.interval);
            if (!run.Ok())
                continue;
            ++ok;
            const fider::TFiderTopology topology = fider::TFiderTopology::Build(s.jobs[i].Fider);
            int sections = 0;
            for (int pos = 1; pos < topology.Count(); ++pos)
                sections += topology.Energised[pos] ? 1 : 0;
            sectionSteps += static_cast<double>(sections) * run.Profile->Steps;
        }
        stepsRate = sectionSteps / (threadSeconds() - cpu);
        stepsWall = sectionSteps / (timer.nsecsElapsed() / 1e9);
        steps = sectionSteps;

        // Today's way: the loads of each step given to the snapshot calculation, one call per step.
        timer.restart();
        cpu = threadSeconds();
        double snapshotSectionSteps = 0;
        for (size_t i = 0; i < s.jobs.size(); ++i) {
            const fider::TFiderJob& job = s.jobs[i];
            const fider::TFiderTopology topology = fider::TFiderTopology::Build(job.Fider);
            const profiles::TFiderSteps loads =
                profiles::BuildFiderSteps(job.Fider, topology, s.own[i], typicalOf(s, job), s.interval, 0.9);
            int sections = 0;
            for (int pos = 1; pos < topology.Count(); ++pos)
                sections += topology.Energised[pos] ? 1 : 0;
            fider::TFiderHHInfo step = job.Fider;
            fider::TRegimeSettings one = job.Settings;
            one.Mode = fider::TLoadMode::Loads;
            one.Regime = fider::TRegimeKind::Middle;
            one.T = loads.StepHours();
            one.SqrKfg = 1;
            for (int t = 0; t < std::min(kSnapshotSteps, loads.Steps); ++t) {
                for (size_t c = 0; c < step.Consumers.size(); ++c) {
                    const bool load = loads.Consumers[c].HasLoad();
                    step.Consumers[c].Wa = load ? loads.Active(static_cast<int>(c), t) / 1000 : qQNaN();
                    step.Consumers[c].Wr = load ? loads.Reactive(static_cast<int>(c), t) / 1000 : qQNaN();
                }
                benchmark::DoNotOptimize(fider::CalculateRegime(step, one));
                snapshotSectionSteps += sections;
            }
        }
        snapshotRate = snapshotSectionSteps / (threadSeconds() - cpu);
        snapshotWall = snapshotSectionSteps / (timer.nsecsElapsed() / 1e9);
    }
    state.counters["feeders"] = static_cast<double>(s.jobs.size());
    state.counters["calculated"] = ok;
    state.counters["section_steps"] = steps;
    state.counters["steps_per_s"] = stepsRate;
    state.counters["snapshot_per_s"] = snapshotRate;
    state.counters["ratio"] = snapshotRate > 0 ? stepsRate / snapshotRate : 0;
    state.counters["steps_wall_per_s"] = stepsWall;
    state.counters["snapshot_wall_per_s"] = snapshotWall;
}
BENCHMARK(BM_ProfileStepsAgainstSnapshotPerStep)->Unit(benchmark::kMillisecond)->Iterations(1);

// The whole network for a year of hourly steps on every core: read, calculated and written.
static void BM_ProfileWholeNetworkYear(benchmark::State& state)
{
    auto database = bench::OpenLargeDatabase(state);
    if (!database)
        return;
    const QList<int> fiders = fider::LVFidersUnder(*database->GetTree(), database->GetTree()->GetItems(0)->GetIdent());
    fider::TRegimeRequest request;
    request.SampleIdent = lastYear(*database);
    request.Mode = fider::TLoadMode::Profiles;
    request.CalcType = 8;  // runs of their own beside the demo's ordinary ones
    std::unique_ptr<ToznFDConnection> connection = database->NewConnection();
    auto removeRuns = [&] {
        connection->StartTransaction(false);
        auto q = connection->NewQuery();
        q->SetSQLText(QStringLiteral("delete from \"LVResults\" where \"CalcType\"=%1").arg(request.CalcType));
        q->ExecSQL();
        connection->Commit();
    };
    removeRuns();
    const double before = maxResidentMb();
    fider::TRegimeBatchResult result;
    double cpu = 0;
    for (auto _ : state) {
        cpu = processSeconds();
        result = profiles::RunProfileBatch(*connection, 0.9, fiders, request, {});
        cpu = processSeconds() - cpu;
        if (!result.Failure.isEmpty()) {
            state.SkipWithError(qPrintable(result.Failure));
            return;
        }
    }
    state.counters["threads"] = std::thread::hardware_concurrency();
    state.counters["feeders"] = result.Total;
    state.counters["calculated"] = result.Calculated;
    state.counters["refused"] = result.Refused;
    state.counters["rows"] = result.Rows;
    state.counters["read_s"] = result.ReadSeconds;
    state.counters["total_s"] = result.Seconds;
    // What the run took of the machine: over two cores, the least time it can take when it has them to itself.
    state.counters["cpu_s"] = cpu;
    state.counters["cpu_s_per_core"] = cpu / std::max(1u, std::thread::hardware_concurrency());
    state.counters["rss_before_mb"] = before;
    state.counters["rss_max_mb"] = maxResidentMb();
    removeRuns();
}
BENCHMARK(BM_ProfileWholeNetworkYear)->Unit(benchmark::kMillisecond)->Iterations(1);

// A million lines of readings (114 consumers, a year of hours) read and checked from a CSV file: the time, and how
// much the process's largest resident memory grew, against the file's size.
static void BM_ProfileImportMillionLines(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("readings.csv"));
    profiles::TProfileTargets targets;
    targets.AddFider(1, QStringLiteral("Л-1"));
    constexpr int kConsumers = 114;
    for (int c = 0; c < kConsumers; ++c)
        targets.AddNode(1, 100 + c, QStringLiteral("Дом %1").arg(c + 1), true);
    const profiles::TMinute start = profiles::MinuteOf(QDateTime(QDate(2025, 1, 1), QTime(0, 0), Qt::UTC));
    std::vector<profiles::TProfileInterval> intervals{{1, QStringLiteral("2025г."), start, start + 8760 * 60}};
    {
        QFile f(file);
        f.open(QIODevice::WriteOnly);
        f.write("Линия;Узел;Дата и время;кВт·ч\n");
        QByteArray line;
        for (int c = 0; c < kConsumers; ++c) {
            const QByteArray prefix = QStringLiteral("Л-1;Дом %1;").arg(c + 1).toUtf8();
            for (int h = 0; h < 8760; ++h) {
                line = prefix +
                       profiles::TimeOfMinute(start + h * 60).toString(QStringLiteral("dd.MM.yyyy HH:mm")).toUtf8() +
                       ";" + QByteArray::number(0.25 + (h * 7 + c) % 40 / 10.0, 'f', 3).replace('.', ',') + "\n";
                f.write(line);
            }
        }
    }
    const double fileMb = QFileInfo(file).size() / 1048576.0;
    const double before = maxResidentMb();
    profiles::TProfileImport result;
    double seconds = 0;
    for (auto _ : state) {
        QElapsedTimer timer;
        timer.start();
        result = profiles::ReadProfileFile(file, targets, intervals, 0);
        seconds = timer.nsecsElapsed() / 1e9;
    }
    if (!result.Ok())
        state.SkipWithError(qPrintable(result.ProblemTexts().value(0)));
    state.counters["lines"] = result.Lines;
    state.counters["seconds"] = seconds;
    state.counters["lines_per_s"] = result.Lines / seconds;
    state.counters["file_mb"] = fileMb;
    state.counters["rss_growth_mb"] = maxResidentMb() - before;
}
BENCHMARK(BM_ProfileImportMillionLines)->Unit(benchmark::kMillisecond)->Iterations(1);
