#include "host/fider/RegimeBatch.h"

#include <QElapsedTimer>
#include <QSet>
#include <algorithm>
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

namespace {
// Which of the runs are in the database: asked on the batch's own connection once its transaction is gone, else
// on a fresh one; false when neither can answer.
bool StoredRuns(ToznFDConnection& connection, const std::vector<int>& idents, QSet<int>& stored)
{
    if (idents.empty())
        return true;
    const auto [lowest, highest] = std::minmax_element(idents.begin(), idents.end());
    auto ask = [&](ToznFDConnection& c) {
        GuardedRead(c, [&] {
            auto q = c.NewQuery();
            q->SetSQLText(QStringLiteral(R"(select "Ident" from "LVResults" where "Ident" between :Low and :High)"));
            q->ParamByName(QStringLiteral("Low"), *lowest).ParamByName(QStringLiteral("High"), *highest);
            for (q->Open(); !q->Eof(); q->Next())
                stored.insert(q->Value(0).toInt());
        });
    };
    try {
        ask(connection);
        return true;
    } catch (const EDatabaseError&) {
    }
    try {
        if (TfdbDatabase* database = connection.GetDataBase()) {
            ask(*database->NewConnection());
            return true;
        }
    } catch (const EDatabaseError&) {
    }
    return false;
}

}  // namespace

QString FiderTitle(const TFiderJob& job) { return QStringLiteral("%1 (%2)").arg(job.Fider.Name).arg(job.Fider.Guid); }

QString FailureSummary(const TRegimeBatchResult& r)
{
    QString text = QStringLiteral("Ошибка базы данных: %1\nСохранено линий: %2, не сохранено из-за ошибки: %3, "
                                  "отказано: %4, не рассчитано: %5 из %6")
                       .arg(r.Failure)
                       .arg(r.Calculated)
                       .arg(r.NotStored)
                       .arg(r.Refused)
                       .arg(r.NotReached())
                       .arg(r.Total);
    text += r.LastStored.isEmpty() ? QStringLiteral("\nНи одна линия не сохранена")
                                   : QStringLiteral("\nПоследняя сохраненная линия: %1").arg(r.LastStored);
    if (!r.Verified)
        text += QStringLiteral("\nБаза данных недоступна: сохраненное не удалось проверить, несохраненными "
                               "названы линии, запись которых не подтверждена");
    return text;
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
    auto report = [&](const Outcome& o, bool stored, const QString& lost) {
        const TFiderJob& job = jobs[o.job];
        if (!o.run->Ok()) {
            ++result.Refused;
            if (events.Refused)
                events.Refused(job, o.run->Problems);
        } else if (!o.error.isEmpty()) {
            ++result.Refused;
            if (events.Refused)
                events.Refused(job, {QStringLiteral("Ошибка записи в базу данных: ") + o.error});
        } else if (stored) {
            ++result.Calculated;
            result.LastStored = FiderTitle(job);
            if (events.Stored)
                events.Stored(job, *o.run, o.ident);
        } else {
            ++result.NotStored;
            if (events.NotStored)
                events.NotStored(job, lost);
        }
        if (events.Progress)
            events.Progress(++reported, result.Total);
    };
    TRegimeWriter* writer = nullptr;
    // The commit first, the reports after it, the next transaction last: a failure to start that one must not
    // keep back the reports of what is committed.
    auto commitAndReport = [&] {
        connection.Commit();
        writer->Committed();
        for (const Outcome& o : unreported)
            report(o, true, {});
        unreported.clear();
        uncommittedRuns.clear();
        connection.StartTransaction(false);
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
            const size_t firstOutcome = unreported.size();
            for (size_t i = 0; i < runs.size(); ++i) {
                unreported.push_back(
                    {first + i, &runs[i], runs[i].Ok() ? writer->Add(jobs[first + i].Fider, runs[i]) : 0, {}});
                if (events.Cancelled && events.Cancelled()) {
                    result.Cancelled = true;
                    break;
                }
            }
            const QStringList errors = writer->Write();
            int written = 0;
            for (size_t i = firstOutcome; i < unreported.size(); ++i)
                if (unreported[i].run->Ok())
                    unreported[i].error = errors.value(written++);
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
        // What was written before the failing group is kept when the database still takes a commit (a full
        // disk often does: the rows are on pages it already has).
        bool committed = false;
        try {
            if (connection.inTransaction()) {
                connection.Commit();
                committed = true;
            }
        } catch (const EDatabaseError&) {
        }
        try {
            if (!committed)
                connection.Rollback();
        } catch (const EDatabaseError&) {
        }
        // What the database holds decides: a retry inside the writer may have committed runs not yet
        // reported, and a commit whose answer was lost may have stored them.
        std::vector<int> idents;
        for (const Outcome& o : unreported)
            if (o.run->Ok() && o.error.isEmpty())
                idents.push_back(o.ident);
        QSet<int> stored;
        result.Verified = StoredRuns(connection, idents, stored);
        for (const Outcome& o : unreported)
            report(o, stored.contains(o.ident), QStringLiteral("Не сохранена: ") + result.Failure);
    }
    result.Seconds = timer.elapsed() / 1000.0;
    return result;
}

}  // namespace fider
