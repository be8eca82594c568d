#include "host/profiles/ProfileFeeder.h"

#include <cmath>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/fider/RegimeStore.h"
#include "host/profiles/ProfileStore.h"

namespace profiles {

namespace {
constexpr const char* kStoredRun =
    R"(select first 1 r."Ident", r."Regime", r."UA", r."UB", r."UC", r."Temperature", r."Kdp", p."StepMinutes",
    p."Steps", p."PeakTime", p."NProfile", p."NHead", p."NTypical", p."NFlat", p."NNoLoad", p."HeadMeter", p."Umin",
    p."UOut", p."sqrKfg", p."Tmax", p."Tau", p."dWa", p."dWaMiddle", p."dWaMax"
    from "LVResults" r join "LVProfileRuns" p on p."Ident"=r."Ident"
    where r."GUID"=:GUID and r."SampleIdent"=:SampleIdent and coalesce(r."CalcType", 0)=0 order by r."Ident" desc)";
}  // namespace

bool ReadStoredProfileRun(ToznFDConnection& connection, int fiderGuid, int sampleIdent, TStoredProfileRun& run)
{
    return GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(kStoredRun));
        q->ParamByName(QStringLiteral("GUID"), fiderGuid).ParamByName(QStringLiteral("SampleIdent"), sampleIdent);
        q->Open();
        if (q->Eof())
            return false;
        run.Ident = q->Int(QStringLiteral("Ident"));
        run.Regime = q->Int(QStringLiteral("Regime"));
        run.U = {q->Float(QStringLiteral("UA")), q->Float(QStringLiteral("UB")), q->Float(QStringLiteral("UC"))};
        run.Temperature = q->Float(QStringLiteral("Temperature"));
        run.Kdp = q->Float(QStringLiteral("Kdp"));
        fider::TProfileRunFigures& f = run.Figures;
        f.StepMinutes = q->Int(QStringLiteral("StepMinutes"));
        f.Steps = q->Int(QStringLiteral("Steps"));
        f.PeakMinute = MinuteOf(q->Value(QStringLiteral("PeakTime")).toDateTime());
        f.NProfile = q->Int(QStringLiteral("NProfile"));
        f.NHead = q->Int(QStringLiteral("NHead"));
        f.NTypical = q->Int(QStringLiteral("NTypical"));
        f.NFlat = q->Int(QStringLiteral("NFlat"));
        f.NNoLoad = q->Int(QStringLiteral("NNoLoad"));
        f.HeadMeter = q->Int(QStringLiteral("HeadMeter")) != 0;
        f.Umin = q->Float(QStringLiteral("Umin"));
        f.UOut = q->Float(QStringLiteral("UOut"));
        f.SqrKfg = q->Float(QStringLiteral("sqrKfg"));
        f.Tmax = q->Float(QStringLiteral("Tmax"));
        f.TauRel = q->Float(QStringLiteral("Tau"));
        f.dWa = q->Float(QStringLiteral("dWa"));
        f.dWaMiddle = q->Float(QStringLiteral("dWaMiddle"));
        f.dWaMax = q->Float(QStringLiteral("dWaMax"));
        return true;
    });
}

bool RecalculateProfileSteps(ToznFDConnection& connection, int fiderGuid, int sampleIdent,
                             const TStoredProfileRun& stored, double defaultCosFi, TProfileStepSeries& series,
                             bool& changed, QString& error)
{
    changed = false;
    fider::TRegimeRequest request;
    request.SampleIdent = sampleIdent;
    request.Mode = fider::TLoadMode::Profiles;
    std::vector<fider::TFiderJob> jobs = fider::TRegimeReader(connection, 0.5, defaultCosFi).Read({fiderGuid}, request);
    if (jobs.empty()) {
        error = QStringLiteral("Линия 0,4 кВ %1 не найдена").arg(fiderGuid);
        return false;
    }
    fider::TFiderJob& job = jobs.front();
    if (!job.Problems.isEmpty()) {
        error = job.Problems.join(QLatin1Char('\n'));
        return false;
    }
    TProfileInterval interval;
    for (const TProfileInterval& i : ReadIntervals(connection))
        if (i.Ident == sampleIdent)
            interval = i;
    QStringList problems;
    TProfileStore store(connection);
    const std::vector<TStoredProfile> own = store.ReadFider(sampleIdent, fiderGuid, problems);
    const std::vector<TStoredProfile> typical = store.ReadTypical(sampleIdent, problems);
    const TStoredProfile* kind = nullptr;
    for (const TStoredProfile& p : typical)
        if (p.Guid == job.Fider.LoadKind)
            kind = &p;
    fider::TRegimeSettings settings = job.Settings;
    for (int k = 0; k < 3; ++k)
        if (std::isfinite(stored.U[k]))
            settings.U[k] = stored.U[k];
    if (std::isfinite(stored.Temperature))
        settings.Temperature = stored.Temperature;
    settings.Kdp = std::isfinite(stored.Kdp) ? stored.Kdp : 1.0;
    const fider::TCalcWInfoHHCommon run = CalculateProfileRegime(job.Fider, settings, own, kind, interval, &series);
    if (!run.Ok()) {
        error = (problems + run.Problems).join(QLatin1Char('\n'));
        return false;
    }
    const double stored_dWa = stored.Figures.dWa;
    changed = !(std::abs(run.Profile->dWa - stored_dWa) <= 1e-6 * std::abs(stored_dWa) + 1e-12) ||
              run.Profile->PeakMinute != stored.Figures.PeakMinute;
    return true;
}

}  // namespace profiles
