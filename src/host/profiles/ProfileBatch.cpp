#include "host/profiles/ProfileBatch.h"

#include <QElapsedTimer>
#include <QHash>
#include <algorithm>
#include <atomic>
#include <deque>
#include <future>
#include <thread>

#include "host/Connection.h"
#include "host/Database.h"
#include "host/InitOZN.h"
#include "host/NumericHelpers.h"
#include "host/fider/RegimeStore.h"
#include "host/fider/RegimeWriter.h"
#include "host/profiles/ProfileRegime.h"
#include "host/profiles/ProfileSql.h"
#include "host/profiles/ProfileStore.h"

namespace profiles {

using namespace fider;

namespace {
using Runs = std::vector<TCalcWInfoHHCommon>;
constexpr size_t kGroup = 32;  // feeders read, calculated and written together
constexpr int kReportEveryMs = 1000;

// A group's profile rows as read: decoded by the thread that calculates their feeder.
struct RawRow {
    TStoredProfile profile;  // without its series values
    QByteArray active, reactive;
    int steps = 0;
};
using RawGroup = QHash<int, std::vector<RawRow>>;  // by feeder

QString S(const char* sql) { return QString::fromUtf8(sql); }

// The profile rows of the feeders with keys from `first` to `last` (the group's, in order of their keys).
class GroupReader {
public:
    GroupReader(ToznFDConnection& c, int sample) : query_(c.NewQuery()), sample_(sample)
    {
        query_->SetSQLText(S(ProfileSql::kOfFiderRange).arg(S(ProfileSql::kColumns)));
    }
    RawGroup Read(int first, int last)
    {
        RawGroup group;
        query_->ParamByName(QStringLiteral("SampleIdent"), sample_)
            .ParamByName(QStringLiteral("First"), first)
            .ParamByName(QStringLiteral("Last"), last);
        TFDQuery& q = *query_;
        for (q.Open(); !q.Eof(); q.Next()) {
            RawRow r;
            r.profile.FiderGuid = q.Int(QStringLiteral("FiderGUID"));
            r.profile.Kind = static_cast<TProfileKind>(q.Int(QStringLiteral("Kind")));
            r.profile.Guid = q.Int(QStringLiteral("GUID"));
            r.profile.Series.Start = MinuteOf(q.Value(QStringLiteral("Start")).toDateTime());
            r.profile.Series.StepMinutes = q.Int(QStringLiteral("StepMinutes"));
            r.steps = q.Int(QStringLiteral("Steps"));
            r.active = q.Value(QStringLiteral("Active")).toByteArray();
            r.reactive = q.Value(QStringLiteral("Reactive")).toByteArray();
            group[r.profile.FiderGuid].push_back(std::move(r));
        }
        q.Close();
        return group;
    }

private:
    std::unique_ptr<TFDQuery> query_;
    int sample_;
};

std::vector<TStoredProfile> decode(std::vector<RawRow>& rows, QStringList& problems)
{
    std::vector<TStoredProfile> list;
    for (RawRow& r : rows) {
        TStoredProfile p = std::move(r.profile);
        const bool ok = DecodeValues(r.active, p.Series.Active) &&
                        (r.reactive.isEmpty() || DecodeValues(r.reactive, p.Series.Reactive)) &&
                        p.Series.Steps() == r.steps &&
                        (!p.Series.HasReactive() || p.Series.Reactive.size() == p.Series.Active.size());
        r.active.clear();
        r.reactive.clear();
        if (ok)
            list.push_back(std::move(p));
        else
            problems << QStringLiteral("График %1 поврежден").arg(p.Guid);
    }
    return list;
}

struct Shared {
    const std::vector<TFiderJob>& jobs;
    const QHash<int, TStoredProfile>& typical;
    const TProfileInterval& interval;
};

// Calculates the jobs from `first` to `last` on `threads` threads, each taking the next feeder when done. Each
// feeder's rows are handed to it apart first, so that the threads share nothing they change.
Runs calculate(const Shared& shared, RawGroup group, size_t first, size_t last, int threads)
{
    Runs runs(last - first);
    std::vector<std::vector<RawRow>> rows(last - first);
    for (size_t i = first; i < last; ++i) {
        const auto it = group.find(shared.jobs[i].Fider.Guid);
        if (it != group.end())
            rows[i - first] = std::move(*it);
    }
    group.clear();
    std::atomic<size_t> next{first};
    auto work = [&] {
        for (size_t i = next++; i < last; i = next++) {
            const TFiderJob& job = shared.jobs[i];
            TCalcWInfoHHCommon& run = runs[i - first];
            if (!job.Problems.isEmpty()) {
                run.Problems = job.Problems;
                continue;
            }
            QStringList problems;
            const std::vector<TStoredProfile> own = decode(rows[i - first], problems);
            if (!problems.isEmpty()) {
                run.Problems = problems;
                continue;
            }
            const auto kind = shared.typical.constFind(job.Fider.LoadKind);
            run = CalculateProfileRegime(job.Fider, job.Settings, own,
                                         kind == shared.typical.constEnd() ? nullptr : &*kind, shared.interval);
        }
    };
    std::vector<std::thread> helpers;
    for (int t = 1; t < threads && static_cast<size_t>(t) < last - first; ++t)
        helpers.emplace_back(work);
    work();
    for (std::thread& h : helpers)
        h.join();
    return runs;
}
}  // namespace

TRegimeBatchResult RunProfileBatch(TfdbDatabase& database, const QList<int>& fiders, const TRegimeRequest& request,
                                   const TRegimeBatchEvents& events, int threads)
{
    std::unique_ptr<ToznFDConnection> connection;
    try {
        connection = database.NewConnection();
        connection->SetLockTimeout(kRegimeLockTimeoutMs, events.StopWaiting);
    } catch (const EDatabaseError& e) {
        TRegimeBatchResult result;
        result.Failure = e.Text();
        return result;
    }
    return RunProfileBatch(*connection, database.GetInit()->GetDefaultCosFi(), fiders, request, events, threads);
}

TRegimeBatchResult RunProfileBatch(ToznFDConnection& connection, double defaultCosFi, const QList<int>& fiders,
                                   const TRegimeRequest& request, const TRegimeBatchEvents& events, int threads)
{
    TRegimeBatchResult result;
    QElapsedTimer timer;
    timer.start();
    if (threads <= 0)
        threads = std::max(1u, std::thread::hardware_concurrency());
    auto stage = [&](const QString& text) {
        if (events.Stage)
            events.Stage(text);
    };
    // The consumers' energies of the interval are those of the mean-load regime; the run keeps its kind.
    TRegimeRequest reading = request;
    reading.Regime = TRegimeKind::Middle;
    reading.Mode = TLoadMode::Profiles;
    std::vector<TFiderJob> jobs;
    QHash<int, TStoredProfile> typical;
    TProfileInterval interval;
    try {
        stage(QStringLiteral("Чтение схем и нагрузок"));
        jobs = TRegimeReader(connection, 0.5, defaultCosFi).Read(fiders, reading);
        bool found = false;
        for (const TProfileInterval& i : ReadIntervals(connection))
            if (i.Ident == request.SampleIdent) {
                interval = i;
                found = true;
            }
        if (!found) {
            result.Failure = QStringLiteral("Нет интервала %1").arg(request.SampleIdent);
            return result;
        }
        QStringList problems;
        for (TStoredProfile& p : TProfileStore(connection).ReadTypical(request.SampleIdent, problems))
            typical.insert(p.Guid, std::move(p));
    } catch (const EDatabaseError& e) {
        result.Failure = e.Text();
        return result;
    }
    const double kdp = isEmptyFloat(request.Given.Kdp) ? 1.0 : request.Given.Kdp;
    for (TFiderJob& job : jobs) {
        job.Settings.Regime = request.Regime;
        job.Settings.Mode = TLoadMode::Profiles;
        job.Settings.Kdp = kdp;
    }
    // The profiles are read forward in the order of the feeders' keys.
    std::stable_sort(jobs.begin(), jobs.end(),
                     [](const TFiderJob& a, const TFiderJob& b) { return a.Fider.Guid < b.Fider.Guid; });
    result.ReadSeconds = timer.elapsed() / 1000.0;
    result.Total = static_cast<int>(jobs.size());
    stage(QStringLiteral("Расчет по графикам нагрузки"));
    if (events.Progress)
        events.Progress(0, result.Total);

    const Shared shared{jobs, typical, interval};
    struct Outcome {
        size_t job;
        const TCalcWInfoHHCommon* run;
        int ident;
        QString error;
    };
    std::deque<Runs> uncommitted;
    std::vector<Outcome> unreported;
    QElapsedTimer sinceCommit;
    sinceCommit.start();
    int reported = 0;
    TRegimeWriter* writer = nullptr;
    auto commitAndReport = [&] {
        writer->Commit();
        for (const Outcome& o : unreported) {
            const TFiderJob& job = jobs[o.job];
            if (!o.run->Ok() || !o.error.isEmpty()) {
                ++result.Refused;
                if (events.Refused)
                    events.Refused(job, o.run->Ok()
                                            ? QStringList{QStringLiteral("Ошибка записи в базу данных: ") + o.error}
                                            : o.run->Problems);
            } else {
                ++result.Calculated;
                result.LastStored = fider::FiderTitle(job);
                if (events.Stored)
                    events.Stored(job, *o.run, o.ident);
            }
            if (events.Progress)
                events.Progress(++reported, result.Total);
        }
        unreported.clear();
        uncommitted.clear();
        sinceCommit.restart();
    };
    std::future<Runs> calculating;
    try {
        connection.StartTransaction(false);
        TRegimeWriter groupWriter(connection, request.SampleIdent, request.CalcType);
        writer = &groupWriter;
        GroupReader reader(connection, request.SampleIdent);
        auto readGroup = [&](size_t first) {
            const size_t last = std::min(jobs.size(), first + kGroup);
            return reader.Read(jobs[first].Fider.Guid, jobs[last - 1].Fider.Guid);
        };
        auto launch = [&](size_t first, RawGroup group) {
            const size_t last = std::min(jobs.size(), first + kGroup);
            return std::async(std::launch::async, [&shared, first, last, threads, g = std::move(group)]() mutable {
                return calculate(shared, std::move(g), first, last, threads);
            });
        };
        if (!jobs.empty())
            calculating = launch(0, readGroup(0));
        for (size_t first = 0; first < jobs.size() && !result.Cancelled; first += kGroup) {
            // The next group is read while this one is calculated, and this one written while the next is.
            RawGroup next;
            const bool more = first + kGroup < jobs.size();
            if (more)
                next = readGroup(first + kGroup);
            uncommitted.push_back(calculating.get());
            if (more)
                calculating = launch(first + kGroup, std::move(next));
            const Runs& runs = uncommitted.back();
            std::vector<int> idents(runs.size(), 0);
            size_t count = 0;
            for (; count < runs.size(); ++count) {
                if (runs[count].Ok())
                    idents[count] = writer->Add(jobs[first + count].Fider, runs[count]);
                if (events.Cancelled && events.Cancelled()) {
                    result.Cancelled = true;
                    ++count;
                    break;
                }
            }
            const QStringList errors = writer->Write();
            int written = 0;
            for (size_t i = 0; i < count; ++i)
                unreported.push_back(
                    {first + i, &runs[i], idents[i], runs[i].Ok() ? errors.value(written++) : QString()});
            if (events.Cancelled && events.Cancelled())
                result.Cancelled = true;
            if (sinceCommit.elapsed() >= kReportEveryMs)
                commitAndReport();
        }
        if (calculating.valid())
            calculating.wait();
        commitAndReport();
        result.Rows = writer->Rows();
        connection.Commit();
    } catch (const EDatabaseError& e) {
        if (calculating.valid())
            calculating.wait();
        result.Failure = e.Text();
        try {
            connection.Rollback();
        } catch (const EDatabaseError&) {
        }
        // The groups committed before the failure stay stored and reported; those after it are lost.
        for (const Outcome& o : unreported)
            if (o.run->Ok() && o.error.isEmpty()) {
                ++result.NotStored;
                if (events.NotStored)
                    events.NotStored(jobs[o.job], QStringLiteral("Не сохранена: ") + result.Failure);
            }
    }
    result.Seconds = timer.elapsed() / 1000.0;
    return result;
}

QSet<int> FidersStoredByProfiles(ToznFDConnection& connection, int sampleIdent, fider::TRegimeKind regime,
                                 const QList<int>& fiders)
{
    const QSet<int> wanted(fiders.begin(), fiders.end());
    QSet<int> found;
    auto q = connection.NewQuery();
    q->SetSQLText(QStringLiteral(R"(select p.guid from "LVCalcParams" p where p."Regime"=:Regime and p."Level"=0 )"
                                 R"(and p."SampleIdent"=:SampleIdent and p."SampleType"=:SampleType)"));
    q->ParamByName(QStringLiteral("Regime"), static_cast<int>(regime))
        .ParamByName(QStringLiteral("SampleIdent"), sampleIdent)
        .ParamByName(QStringLiteral("SampleType"), fider::kProfilesSampleType);
    for (q->Open(); !q->Eof(); q->Next())
        if (const int guid = q->Int(QStringLiteral("GUID")); wanted.contains(guid))
            found.insert(guid);
    return found;
}

}  // namespace profiles
