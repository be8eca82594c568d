// The LV regime calculation without a window: every LV feeder under a node of the tree for an interval.
#include <QFile>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Database.h"
#include "host/OutputFiles.h"
#include "host/Progress.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"
#include "host/fider/RegimeJson.h"
#include "host/profiles/MethodComparison.h"
#include "host/profiles/ProfileBatch.h"

namespace cli {

namespace {
std::atomic<bool> g_stop{false};
void onStop(int) { g_stop = true; }

const char* const kUsage = "Использование: ozn3 regime --db CONNECTION --node IDENT --sample IDENT (--middle | --max)\n"
                           "               [--mode loads|currents|energy|profiles] [--calc-type N] [--kdp K] [--json]\n"
                           "               [--log FILE] [--xlsx FILE]";

bool parseMode(const QString& text, fider::TLoadMode& mode)
{
    if (text == QLatin1String("loads"))
        mode = fider::TLoadMode::Loads;
    else if (text == QLatin1String("currents"))
        mode = fider::TLoadMode::HeadCurrents;
    else if (text == QLatin1String("energy"))
        mode = fider::TLoadMode::Energy;
    else if (text == QLatin1String("profiles"))
        mode = fider::TLoadMode::Profiles;
    else
        return false;
    return true;
}

// Two batches of one command as one: what each stored and refused, the failure or stop of the later one.
fider::TRegimeBatchResult Combined(const fider::TRegimeBatchResult& first, const fider::TRegimeBatchResult& second)
{
    fider::TRegimeBatchResult r = second;
    r.Calculated += first.Calculated;
    r.Refused += first.Refused;
    r.NotStored += first.NotStored;
    r.Rows += first.Rows;
    r.ReadSeconds += first.ReadSeconds;
    r.Seconds += first.Seconds;
    if (r.LastStored.isEmpty())
        r.LastStored = first.LastStored;
    return r;
}

QString number(double value, int decimals)
{
    return std::isfinite(value) ? QString::number(value, 'f', decimals) : QStringLiteral("—");
}

// The methods' comparison of the runs just stored, summed over the tree under the node: printed, as JSON lines,
// and as a workbook.
bool reportComparison(TfdbDatabase& database, int node, const fider::TRegimeRequest& request, bool json,
                      const QString& workbook, const QString& interval)
{
    const auto feeders = profiles::ReadComparisons(*database.GetDefaultConnection(), request.SampleIdent,
                                                   static_cast<int>(request.Regime), request.CalcType);
    const std::vector<profiles::TComparisonRow> rows = profiles::CompareOverTree(*database.GetTree(), node, feeders);
    if (rows.empty())
        return true;
    if (json)
        for (const profiles::TComparisonRow& row : rows) {
            const QByteArray line = "{\"Comparison\":" + profiles::ComparisonJson(row) + "}\n";
            std::fwrite(line.constData(), 1, line.size(), stdout);
        }
    const profiles::TComparisonRow& top = rows.front();
    const QString summary =
        QStringLiteral("Нагрузочные потери «%1», линий %2: по графикам нагрузки %3 тыс. кВт·ч; по средним нагрузкам %4 "
                       "(%5 %); по максимальной нагрузке %6 (%7 %)")
            .arg(top.Name)
            .arg(top.Feeders)
            .arg(number(top.dWa, 3), number(top.dWaMiddle, 3), number(top.ErrorMiddle(), 1), number(top.dWaMax, 3),
                 number(top.ErrorMax(), 1));
    if (json)
        err(summary);
    else
        std::printf("%s\n", summary.toUtf8().constData());
    if (workbook.isEmpty())
        return true;
    QString error;
    const QString title =
        QStringLiteral("Сравнение методов расчета нагрузочных потерь «%1» за %2").arg(top.Name, interval);
    if (!profiles::WriteComparisonWorkbook(workbook, title, rows, error)) {
        err(error);
        return false;
    }
    return true;
}
}  // namespace

int Regime(const QStringList& args)
{
    TArgs a;
    QString error;
    int node = 0, sample = 0, calcType = 0;
    fider::TRegimeRequest request;
    fider::TLoadMode mode = fider::TLoadMode::Loads;
    const bool parsed = a.Parse(args, 1,
                                {{"--db", "--node", "--sample", "--mode", "--calc-type", "--kdp", "--log", "--xlsx"},
                                 {},
                                 {"--middle", "--max", "--json"},
                                 0},
                                error) &&
                        a.Int(QStringLiteral("--node"), true, node, error) &&
                        a.Int(QStringLiteral("--sample"), true, sample, error) &&
                        a.Int(QStringLiteral("--calc-type"), false, calcType, error) &&
                        a.OneOf({QStringLiteral("--middle"), QStringLiteral("--max")}, error);
    const QString modeText = a.Value(QStringLiteral("--mode"));
    const bool middle = a.Has(QStringLiteral("--middle")), maximum = a.Has(QStringLiteral("--max"));
    if (parsed && a.Has(QStringLiteral("--mode")) && !parseMode(modeText, mode))
        error = QStringLiteral("Неизвестный режим --mode %1 (loads, currents, energy или profiles)").arg(modeText);
    double kdp = 0;
    if (parsed && error.isEmpty() && a.Has(QStringLiteral("--kdp"))) {
        bool ok = false;
        kdp = a.Value(QStringLiteral("--kdp")).toDouble(&ok);
        if (!ok || !(kdp > 0))
            error = QStringLiteral("--kdp: нужно положительное число, а не «%1»").arg(a.Value(QStringLiteral("--kdp")));
    }
    if (parsed && error.isEmpty() && a.Has(QStringLiteral("--xlsx")) && mode != fider::TLoadMode::Profiles)
        error = QStringLiteral("--xlsx: книга сравнения методов пишется только при --mode profiles");
    if (!parsed || !error.isEmpty() || !a.Has(QStringLiteral("--db")) || middle == maximum) {
        err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) + QString::fromUtf8(kUsage));
        return 2;
    }
    const QString connection = a.Value(QStringLiteral("--db"));
    request.Regime = maximum ? fider::TRegimeKind::Maximum : fider::TRegimeKind::Middle;
    request.SampleIdent = sample;
    request.CalcType = calcType;
    if (a.Has(QStringLiteral("--kdp")))
        request.Given.Kdp = kdp;
    if (a.Has(QStringLiteral("--mode")))
        request.Mode = mode;
    if (request.Regime == fider::TRegimeKind::Maximum && request.Mode == fider::TLoadMode::Energy) {
        err(QStringLiteral("Расчет по отпуску электроэнергии возможен только в режиме средних нагрузок (--middle)"));
        return 2;
    }
    const TSamplePeriodInfo* info = nullptr;
    auto database = OpenWithPeriod(connection, sample, info);
    if (!database)
        return 1;
    if (!database->GetTree()->Find(node)) {
        err(QStringLiteral("Не найден элемент сети %1").arg(node));
        return 1;
    }
    const QList<int> fiders = fider::LVFidersUnder(*database->GetTree(), node);
    if (fiders.isEmpty()) {
        err(QStringLiteral("Под элементом сети %1 нет линий 0,4 кВ").arg(node));
        return 1;
    }

    // The log is written as the run goes, so that a stopped or killed run keeps what it saved and refused.
    host::TLogFile log;
    const QString logFile = a.Value(QStringLiteral("--log"));
    QString logError;
    if (!logFile.isEmpty() && !log.Open(logFile, logError)) {
        err(logError);
        return 1;
    }
    const bool json = a.Has(QStringLiteral("--json"));
    host::TerminalProgress bar;
    bar.Start(QStringLiteral("Расчет режимов 0,4 кВ: %1").arg(info->Name), 0);
    fider::TRegimeBatchEvents events;
    events.Stage = [&](const QString& text) { bar.SetText(text); };
    events.Progress = [&](int done, int total) {
        bar.SetMaximum(total);
        bar.SetPosition(done);
    };
    events.Refused = [&](const fider::TFiderJob& job, const QStringList& problems) {
        for (const QString& p : problems)
            log.Line(fider::FiderTitle(job) + QStringLiteral(" - ") + p);
        if (json) {
            const QByteArray line = fider::RefusedJson(job.Fider, problems) + '\n';
            std::fwrite(line.constData(), 1, line.size(), stdout);
        }
    };
    events.Stored = [&](const fider::TFiderJob& job, const fider::TCalcWInfoHHCommon& run, int ident) {
        bar.SetText(job.Fider.Name);
        log.Line(fider::FiderTitle(job) + QStringLiteral(" - Рассчитана и сохранена"));
        if (json) {
            const QByteArray line = fider::RegimeJson(job.Fider, run, ident) + '\n';
            std::fwrite(line.constData(), 1, line.size(), stdout);
        }
    };
    events.NotStored = [&](const fider::TFiderJob& job, const QString& reason) {
        log.Line(fider::FiderTitle(job) + QStringLiteral(" - ") + reason);
    };
    events.Cancelled = [] { return g_stop.load(); };
    events.StopWaiting = [] { return g_stop.load(); };
    // Ctrl-C stops after the feeder being written; what is stored stays stored.
    g_stop = false;
    std::signal(SIGINT, onStop);
    std::signal(SIGTERM, onStop);
    // Without --mode each feeder follows the mode its regime dialog keeps: those kept "by profiles" go to the
    // profile batch after the others.
    QList<int> stepwise, single;
    const QSet<int> keptByProfiles = request.Mode ? QSet<int>()
                                                  : profiles::FidersStoredByProfiles(*database->GetDefaultConnection(),
                                                                                     sample, request.Regime, fiders);
    for (int guid : fiders)
        (request.Mode == fider::TLoadMode::Profiles || keptByProfiles.contains(guid) ? stepwise : single) << guid;
    const bool byProfiles = !stepwise.isEmpty();
    fider::TRegimeBatchResult result;
    if (!single.isEmpty())
        result = fider::RunRegimeBatch(*database, single, request, events);
    if (byProfiles && result.Failure.isEmpty() && !result.Cancelled) {
        fider::TRegimeRequest stepRequest = request;
        stepRequest.Mode = fider::TLoadMode::Profiles;
        result = Combined(result, profiles::RunProfileBatch(*database, stepwise, stepRequest, events));
    }
    result.Total = static_cast<int>(fiders.size());
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    bar.Finish();
    std::fflush(stdout);
    const QString summary = QStringLiteral("Рассчитано линий: %1, отказано: %2 из %3 (%4 с)")
                                .arg(result.Calculated)
                                .arg(result.Refused)
                                .arg(result.Total)
                                .arg(result.Seconds, 0, 'f', 1);
    if (json)
        err(summary);
    else
        std::printf("%s\n", summary.toUtf8().constData());
    if (!result.Failure.isEmpty()) {
        // The log ends with what the database holds, so that the user knows where to start again.
        log.Line(result.LastStored.isEmpty()
                     ? QStringLiteral("Ошибка базы данных: ни одна линия не сохранена")
                     : QStringLiteral("Ошибка базы данных: последняя сохраненная линия %1").arg(result.LastStored));
        err(fider::FailureSummary(result));
    }
    if (byProfiles && result.Failure.isEmpty() &&
        !reportComparison(*database, node, request, json, a.Value(QStringLiteral("--xlsx")), info->Name))
        return 1;
    if (!log.Ok()) {
        err(QStringLiteral("Не удалось записать журнал %1").arg(logFile));
        return 1;
    }
    if (!result.Failure.isEmpty())
        return 1;
    if (result.Cancelled) {
        err(QStringLiteral("Расчет остановлен; сохранено линий: %1").arg(result.Calculated));
        return 130;
    }
    return 0;
}

}  // namespace cli
