#include "app/RegimeCommand.h"

#include "host/Progress.h"
#include "host/fider/RegimeBatch.h"
#include "host/profiles/ProfileBatch.h"

fider::TRegimeRequest RequestFromParams(const TFiderHHCalcParams& params, fider::TRegimeKind regime, bool oneFeeder)
{
    fider::TRegimeRequest request;
    request.Regime = regime;
    request.SampleIdent = params.GetSamplePeriod();
    request.Mode = fider::ModeOfSampleType(regime, params.GetSampleType());
    request.Given = oneFeeder ? params.Current() : fider::CommonValues(params.Current());
    return request;
}

RegimeOutcome RunRegimeCommand(TfdbDatabase& database, const QList<int>& fiders, const fider::TRegimeRequest& request)
{
    RegimeOutcome outcome;
    host::Progress& progress = host::progress();
    progress.Start(QStringLiteral("Расчет режимов сети 0,4 кВ"), fiders.size());
    fider::TRegimeBatchEvents events;
    events.Stage = [&](const QString& text) { progress.SetText(text); };
    events.Progress = [&](int done, int total) {
        progress.SetMaximum(total);
        progress.SetPosition(done);
    };
    events.Refused = [&](const fider::TFiderJob& job, const QStringList& problems) {
        for (const QString& p : problems)
            outcome.Problems << job.Fider.Name + QStringLiteral(" - ") + p;
    };
    events.Stored = [&](const fider::TFiderJob& job, const fider::TCalcWInfoHHCommon&, int ident) {
        outcome.LastIdent = ident;
        progress.SetText(job.Fider.Name);
    };
    events.NotStored = [&](const fider::TFiderJob& job, const QString& reason) {
        outcome.Problems << job.Fider.Name + QStringLiteral(" - ") + reason;
    };
    events.Cancelled = [&] { return progress.Cancelled(); };
    const fider::TRegimeBatchResult result = request.Mode == fider::TLoadMode::Profiles
                                                 ? profiles::RunProfileBatch(database, fiders, request, events)
                                                 : fider::RunRegimeBatch(database, fiders, request, events);
    progress.Finish();
    outcome.Calculated = result.Calculated;
    outcome.Refused = result.Refused;
    outcome.Total = result.Total;
    outcome.Cancelled = result.Cancelled;
    outcome.Failure = result.Failure.isEmpty() ? QString() : fider::FailureSummary(result);
    return outcome;
}

QString RegimeSummary(const RegimeOutcome& outcome)
{
    QString text =
        QStringLiteral("Рассчитано линий 0,4 кВ: %1, не рассчитано: %2").arg(outcome.Calculated).arg(outcome.Refused);
    if (outcome.Cancelled)
        text += QStringLiteral("\nРасчет прерван; рассчитанные линии сохранены.");
    if (!outcome.Failure.isEmpty())
        text += QLatin1Char('\n') + outcome.Failure;
    constexpr int kShown = 12;
    for (int i = 0; i < std::min<int>(kShown, outcome.Problems.size()); ++i)
        text += QLatin1Char('\n') + outcome.Problems[i];
    if (outcome.Problems.size() > kShown)
        text += QStringLiteral("\n… и еще %1").arg(outcome.Problems.size() - kShown);
    return text;
}
