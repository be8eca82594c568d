#include "host/fider/RegimeBatch.h"

#include <QElapsedTimer>
#include <QSet>
#include <deque>
#include <future>

#include "host/Database.h"
#include "host/InitOZN.h"
#include "host/Tree.h"
#include "host/fider/RegimeWriter.h"

namespace fider {

QList<int> LVFidersUnder(const TfdbTree& tree, int ident)
{
    QList<int> result;
    ToznListItemCommon* start = tree.Find(ident);
    if (!start)
        return result;
    QSet<int> seen;
    std::vector<ToznListItemCommon*> stack{start};
    while (!stack.empty()) {
        ToznListItemCommon* item = stack.back();
        stack.pop_back();
        if (item->isLink())
            continue;  // a substation fed from a second feeder is calculated under its own
        if (item->GetNodeType() == NodeType::LVFiders) {
            if (!seen.contains(item->GetIdent())) {
                seen.insert(item->GetIdent());
                result << item->GetIdent();
            }
            continue;
        }
        for (int i = item->GetCount() - 1; i >= 0; --i)
            stack.push_back(item->GetItems(i));
    }
    return result;
}

namespace {
using Runs = std::vector<TCalcWInfoHHCommon>;
constexpr int kReportEveryMs = 1000;

Runs calculate(const std::vector<TFiderJob>& jobs, size_t first, size_t last)
{
    Runs runs;
    runs.reserve(last - first);
    for (size_t i = first; i < last; ++i) {
        if (!jobs[i].Problems.isEmpty()) {
            TCalcWInfoHHCommon refused;
            refused.Problems = jobs[i].Problems;
            runs.push_back(std::move(refused));
        } else {
            runs.push_back(CalculateRegime(jobs[i].Fider, jobs[i].Settings));
        }
    }
    return runs;
}
}  // namespace

TRegimeBatchResult RunRegimeBatch(TfdbDatabase& database, const QList<int>& fiders, const TRegimeRequest& request,
                                  const TRegimeBatchEvents& events)
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
    TInitOZN* init = database.GetInit();
    return RunRegimeBatch(*connection, init->GetDefaultKzap(), init->GetDefaultCosFi(), fiders, request, events);
}

TRegimeBatchResult RunRegimeBatch(ToznFDConnection& connection, double defaultKzap, double defaultCosFi,
                                  const QList<int>& fiders, const TRegimeRequest& request,
                                  const TRegimeBatchEvents& events)
{
    TRegimeBatchResult result;
    QElapsedTimer timer;
    timer.start();
    auto stage = [&](const QString& text) {
        if (events.Stage)
            events.Stage(text);
    };
    std::vector<TFiderJob> jobs;
    try {
        stage(QStringLiteral("Чтение схем и нагрузок"));
        TRegimeReader reader(connection, defaultKzap, defaultCosFi);
        jobs = reader.Read(fiders, request);
    } catch (const EDatabaseError& e) {
        result.Failure = e.Text();
        return result;
    }
    result.ReadSeconds = timer.elapsed() / 1000.0;
    result.Total = static_cast<int>(jobs.size());
    stage(QStringLiteral("Расчет режимов"));
    if (events.Progress)
        events.Progress(0, result.Total);

    // Chunks are calculated one ahead on a worker thread while this thread writes the previous one.
    constexpr size_t kChunk = 64;
    auto launch = [&jobs](size_t first) {
        const size_t last = std::min(jobs.size(), first + kChunk);
        return std::async(std::launch::async, [&jobs, first, last] { return calculate(jobs, first, last); });
    };
    std::future<Runs> next;
    if (!jobs.empty())
        next = launch(0);

    // Feeders are reported (stored or refused) only once their rows are committed, so that a log or a window
    // never runs ahead of the database, even for a run killed outright. A commit costs the statements their
    // preparation, so it comes about once a second, which also bounds how long other users wait for rows.
    struct Outcome {
        size_t job;
        const TCalcWInfoHHCommon* run;
        int ident;
        QString error;
    };
    std::deque<Runs> uncommittedRuns;  // kept alive until reported; a deque does not move its elements
    std::vector<Outcome> unreported;
    QElapsedTimer sinceCommit;
    sinceCommit.start();
    int reported = 0;
    TRegimeWriter* writer = nullptr;
    auto commitAndReport = [&] {
        writer->Commit();
        for (const Outcome& o : unreported) {
            const TFiderJob& job = jobs[o.job];
            if (!o.run->Ok()) {
                ++result.Refused;
                if (events.Refused)
                    events.Refused(job, o.run->Problems);
            } else if (!o.error.isEmpty()) {
                ++result.Refused;
                if (events.Refused)
                    events.Refused(job, {QStringLiteral("Ошибка записи в базу данных: ") + o.error});
            } else {
                ++result.Calculated;
                if (events.Stored)
                    events.Stored(job, *o.run, o.ident);
            }
            if (events.Progress)
                events.Progress(++reported, result.Total);
        }
        unreported.clear();
        uncommittedRuns.clear();
        sinceCommit.restart();
    };
    try {
        connection.StartTransaction(false);
        TRegimeWriter chunkWriter(connection, request.SampleIdent, request.CalcType);
        writer = &chunkWriter;
        for (size_t first = 0; first < jobs.size() && !result.Cancelled; first += kChunk) {
            uncommittedRuns.push_back(next.get());
            const Runs& runs = uncommittedRuns.back();
            if (first + kChunk < jobs.size())
                next = launch(first + kChunk);
            // The chunk's calculated feeders are written as one group; a stop asked for in the middle
            // still writes what is calculated before it.
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
                unreported.push_back({first + i, &runs[i], idents[i], runs[i].Ok() ? errors.value(written++) : QString()});
            // A stop asked for while the chunk waited for another user's rows ends the run here.
            if (events.Cancelled && events.Cancelled())
                result.Cancelled = true;
            if (sinceCommit.elapsed() >= kReportEveryMs)
                commitAndReport();
        }
        if (next.valid())
            next.wait();
        commitAndReport();
        result.Rows = writer->Rows();
        connection.Commit();
    } catch (const EDatabaseError& e) {
        if (next.valid())
            next.wait();
        result.Failure = e.Text();
        try {
            connection.Rollback();
        } catch (const EDatabaseError&) {
        }
    }
    result.Seconds = timer.elapsed() / 1000.0;
    return result;
}

}  // namespace fider
