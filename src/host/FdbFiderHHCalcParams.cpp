// Storage of the regime parameters of LV feeders.
#include <QStringList>

#include "host/Connection.h"
#include "host/FiderHHCalcParams.h"
#include "host/NumericHelpers.h"

namespace {

// Columns of "LVCalcParams" in the order of TParamField.
const char* const kColumns[] = {"UA",     "UB",    "UC",   "ImaxA",  "ImaxB", "ImaxC",       "CosFiA", "CosFiB",
                                "CosFiC", "IA",    "IB",   "IC",     "Kdp",   "Temperature", "T",      "Wa",
                                "Wa_bus", "Wa_tr", "Kzap", "sqrKfg", "Tmax",  "Tau"};
static_assert(std::size(kColumns) == static_cast<size_t>(TParamField::Count));

// The stored values are the feeder's for one regime and one interval: another interval's never stand in.
const char* kStored =
    R"(select * from "LVCalcParams" where "GUID"=:GUID and "Regime"=:Regime and "SampleIdent"=:SampleIdent)";
const char* kLineSample = R"(select s."Wa", s."T", s."UA", s."UB", s."UC", s."IA", s."IB", s."IC", s."ImaxA",
    s."ImaxB", s."ImaxC", s."CosFiA", s."CosFiB", s."CosFiC", s."Kdp", s."Kzap", s."sqrKfg", s."Temperature"
    from "LVWSamples" s where s."SampleIdent"=:SampleIdent and s.GUID=:GUID)";
const char* kTPGiven = R"(select ti."Wa_bus", ti."UA", ti."UB", ti."UC", ti."IA", ti."IB", ti."IC", ti."ImaxA",
    ti."ImaxB", ti."ImaxC", ti."CosFiA", ti."CosFiB", ti."CosFiC", ti."Kdp", ti."Temperature",
    wl."Wa", wl."T", wl."Kzap", wl."sqrKfg"
    from "LVFiders" lf
    left join "LVWTPInfo" ti on ti.GUID=lf."OwnerGUID" and ti."SampleIdent"=:SampleIdent
      and (ti."TypeCalc" is null or ti."TypeCalc"=0)
    left join "WLoads" wl on wl.GUID=lf."OwnerGUID" and wl."SampleIdent"=:SampleIdent
      and (wl."SampleType" is null or wl."SampleType"=0)
    where lf.GUID=:GUID)";
// The substation's values as the sums and means over its LV feeders.
const char* kTPCalculated = R"(select sum(s."Wa") as "Wa", max(s."T") as "T", avg(s."UA") as "UA",
    avg(s."UB") as "UB", avg(s."UC") as "UC", sum(s."IA") as "IA", sum(s."IB") as "IB", sum(s."IC") as "IC",
    sum(s."ImaxA") as "ImaxA", sum(s."ImaxB") as "ImaxB", sum(s."ImaxC") as "ImaxC",
    avg(s."CosFiA") as "CosFiA", avg(s."CosFiB") as "CosFiB", avg(s."CosFiC") as "CosFiC",
    avg(s."Kdp") as "Kdp", avg(s."Kzap") as "Kzap", avg(s."sqrKfg") as "sqrKfg",
    avg(s."Temperature") as "Temperature"
    from "LVFiders" lf join "LVFiders" other on other."OwnerGUID"=lf."OwnerGUID"
    join "LVWSamples" s on s.GUID=other.GUID and s."SampleIdent"=:SampleIdent
      and (s."TypeCalc" is null or s."TypeCalc"=0)
    where lf.GUID=:GUID)";
const char* kSave = R"(update or insert into "LVCalcParams" ("GUID", "Regime", "Level", "SampleIdent", "SampleType",
    "UA", "UB", "UC", "ImaxA", "ImaxB", "ImaxC", "CosFiA", "CosFiB", "CosFiC", "IA", "IB", "IC", "Kdp",
    "Temperature", "T", "Wa", "Wa_bus", "Wa_tr", "Kzap", "sqrKfg", "Tmax", "Tau")
    values (:GUID, :Regime, :Level, :SampleIdent, :SampleType, :UA, :UB, :UC, :ImaxA, :ImaxB, :ImaxC, :CosFiA,
    :CosFiB, :CosFiC, :IA, :IB, :IC, :Kdp, :Temperature, :T, :Wa, :Wa_bus, :Wa_tr, :Kzap, :sqrKfg, :Tmax, :Tau)
    matching ("GUID", "Regime", "Level", "SampleIdent"))";

constexpr int RegimeMiddle = 0, RegimeMax = 1;
}  // namespace

QString ParamColumnName(TParamField field) { return QString::fromLatin1(kColumns[static_cast<int>(field)]); }

namespace {

// Takes the columns a query has; the others stay as they are.
void readInto(const TFDQuery& q, TLVCalcValues& values)
{
    for (int f = 0; f < static_cast<int>(TParamField::Count); ++f) {
        const QString column = QString::fromLatin1(kColumns[f]);
        for (int c = 0; c < q.FieldCount(); ++c)
            if (q.FieldName(c).compare(column, Qt::CaseInsensitive) == 0) {
                values.Field(static_cast<TParamField>(f)) = q.Float(column);
                break;
            }
    }
}

bool isEmpty(const TLVCalcValues& v) { return v == TLVCalcValues(); }

void load(ToznFDConnection& connection, TFiderHHCalcParams& params, int regime)
{
    const int guid = params.GetFiderGUID(), period = params.GetSamplePeriod();
    TLVCalcValues stored[2];
    bool have[2] = {false, false};
    GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(kStored));
        q->ParamByName(QStringLiteral("GUID"), guid).ParamByName(QStringLiteral("Regime"), regime);
        q->ParamByName(QStringLiteral("SampleIdent"), period);
        for (q->Open(); !q->Eof(); q->Next()) {
            const int level = q->Int(QStringLiteral("Level"));
            if (level == 0 || level == 1) {
                readInto(*q, stored[level]);
                have[level] = true;
            }
        }
        auto levelFrom = [&](const char* sql, TLVCalcLevel level) {
            TLVCalcValues values;
            q->SetSQLText(QString::fromUtf8(sql));
            q->ParamByName(QStringLiteral("GUID"), guid).ParamByName(QStringLiteral("SampleIdent"), period);
            q->Open();
            if (!q->Eof())
                readInto(*q, values);
            params.Values(level) = values;
        };
        levelFrom(kLineSample, TLVCalcLevel::Line);
        levelFrom(kTPGiven, TLVCalcLevel::TPGiven);
        levelFrom(kTPCalculated, TLVCalcLevel::TPCalc);
    });
    if (have[1])
        params.Values(TLVCalcLevel::Line) = stored[1];
    if (have[0])
        params.Values(TLVCalcLevel::Current) = stored[0];
    else if (isEmpty(params.Current()))
        params.Values(TLVCalcLevel::Current) = params.Values(TLVCalcLevel::Line);
}

void save(ToznFDConnection& connection, const TFiderHHCalcParams& params, int regime)
{
    auto q = connection.NewQuery();
    q->SetSQLText(QString::fromUtf8(kSave));
    for (TLVCalcLevel level : {TLVCalcLevel::Current, TLVCalcLevel::Line}) {
        q->ParamByName(QStringLiteral("GUID"), params.GetFiderGUID());
        q->ParamByName(QStringLiteral("Regime"), regime);
        q->ParamByName(QStringLiteral("Level"), static_cast<int>(level));
        q->ParamByName(QStringLiteral("SampleIdent"), params.GetSamplePeriod());
        q->ParamByName(QStringLiteral("SampleType"), params.GetSampleType());
        for (int f = 0; f < static_cast<int>(TParamField::Count); ++f)
            q->ParamFloat(QString::fromLatin1(kColumns[f]), params.Get(static_cast<TParamField>(f), level));
        q->ExecSQL();
    }
}

}  // namespace

void LoadWCalcParamsHH(ToznFDConnection& connection, TWCalcHHParams& params) { load(connection, params, RegimeMiddle); }

void SaveWCalcParamsHH(ToznFDConnection& connection, const TWCalcHHParams& params)
{
    save(connection, params, RegimeMiddle);
}

void LoadTmaxCalcParamsHH(ToznFDConnection& connection, TWCalcTmaxHHParams& params)
{
    load(connection, params, RegimeMax);
}

void SaveTmaxCalcParamsHH(ToznFDConnection& connection, const TWCalcTmaxHHParams& params)
{
    save(connection, params, RegimeMax);
}
