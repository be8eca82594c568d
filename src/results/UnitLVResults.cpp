#include "results/UnitLVResults.h"

#include "host/Connection.h"

namespace LVResultsSql {
// The Fiders test stands twice, once ahead of the Sections test.
const char* const sLevelOfGUID =
    " select first 1  case    when e.GUID=:GUID then 0    when p.GUID=:GUID then 1    when r.GUID=:GUID then 2 "
    "   when c.GUID=:GUID then 3    when f.GUID=:GUID then 5    when s.GUID=:GUID then 4    when f.GUID=:GUID then 5 "
    "   when nod.GUID=:GUID then 6    when lf.GUID=:GUID then 7  end as Level from \"AOEnergo\" e join pes p on "
    "p.\"OwnerGUID\"=e.guid join res r on r.\"OwnerGUID\"=p.guid join \"LVPResultsAdd\" pa on pa.res=r.guid join "
    "\"LVResults\" mv on (pa.\"Ident\"=mv.\"Ident\") join \"LVFiders\" lf on mv.guid=lf.guid join \"Nodes\" nod on "
    "nod.guid=lf.\"OwnerGUID\" join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on "
    "s.guid=f.\"OwnerGUID\" join \"Centers\" c on c.guid=s.\"OwnerGUID\" where     (e.GUID=:GUID or p.GUID=:GUID or "
    "r.GUID=:GUID or c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or nod.GUID=:GUID or lf.GUID=:GUID)";

// Walks the hierarchy by ownership only: every LV feeder under the object, with or without balance rows.
const char* const sDeleteResults =
    " delete from \"LVResults\" mv where mv.\"CalcType\"=:CalcType and mv.\"SampleIdent\"=:SampleIdent  and mv.guid "
    "in (     select  distinct lf.guid     from \"AOEnergo\" e     join pes p on p.\"OwnerGUID\"=e.guid     join res r "
    "on r.\"OwnerGUID\"=p.guid     join \"Centers\" c on c.\"OwnerGUID\"=r.guid     join \"Sections\" s on "
    "s.\"OwnerGUID\"=c.guid     join \"Fiders\" f on f.\"OwnerGUID\"=s.guid     join \"Nodes\" nod on "
    "nod.\"OwnerGUID\"=f.guid     join \"LVFiders\" lf on lf.\"OwnerGUID\"=nod.guid     where         (e.GUID=:GUID "
    "or p.GUID=:GUID or r.GUID=:GUID or c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or nod.GUID=:GUID or  "
    "lf.GUID=:GUID ) )";

const char* const sSamplesWithResults =
    "select sd.\"Ident\", sd.\"Name\", sd.\"Period\", sd.\"SampleDate1\", sd.\"SampleDate2\" from \"SamplesDates\" sd "
    "where sd.\"Ident\" in (select distinct mv.\"SampleIdent\" from \"LVResults\" mv "
    "where coalesce(mv.\"CalcType\", 0)=:CalcType) order by sd.\"SampleDate2\", sd.\"SampleDate1\" desc";

#define OZN3_PERIODS_WITH_RESULTS(SECTIONS)                                                                            \
    "select distinct sd.\"Period\", per.\"Name\" from \"AOEnergo\" e join pes p on p.\"OwnerGUID\"=e.guid "            \
    "join res r on r.\"OwnerGUID\"=p.guid join \"LVPResultsAdd\" pa on pa.res=r.guid "                                 \
    "join \"LVResults\" mv on pa.\"Ident\"=mv.\"Ident\" and coalesce(mv.\"CalcType\", 0)=:CalcType "                   \
    "join \"SamplesDates\" sd on sd.\"Ident\"=mv.\"SampleIdent\" join \"Periods\" per on per.\"Ident\"=sd.\"Period\" " \
    "join \"LVFiders\" lf on mv.guid=lf.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "                         \
    "join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on s.guid=f.\"OwnerGUID\" "                     \
    "join \"Centers\" c on c.guid=s.\"OwnerGUID\" where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 and "    \
    "(e.GUID=:GUID or p.GUID=:GUID or r.GUID=:GUID or c.GUID=:GUID " SECTIONS                                          \
    "or f.GUID=:GUID or nod.GUID=:GUID or lf.GUID=:GUID) order by sd.\"Period\""
const char* const sPeriodsWithResults = OZN3_PERIODS_WITH_RESULTS("or s.GUID=:GUID ");
// The same without the Sections test: a Section's GUID finds no periods with it.
const char* const sPeriodsWithResultsNoSections = OZN3_PERIODS_WITH_RESULTS("");
#undef OZN3_PERIODS_WITH_RESULTS
}  // namespace LVResultsSql

int FindLevelLV(ToznFDConnection& connection, int guid)
{
    return GuardedRead(connection, [&] {
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sLevelOfGUID));
        q->ParamByName(QStringLiteral("GUID"), guid);
        q->Open();
        return q->Eof() || q->IsNull(QStringLiteral("LEVEL")) ? -1 : q->Int(QStringLiteral("LEVEL"));
    });
}

int DeleteResultsLV(ToznFDConnection& connection, int guid, int calcType, int sampleIdent)
{
    auto q = connection.NewQuery();
    q->SetSQLText(QString::fromUtf8(LVResultsSql::sDeleteResults));
    q->ParamByName(QStringLiteral("CalcType"), calcType).ParamByName(QStringLiteral("SampleIdent"), sampleIdent);
    q->ParamByName(QStringLiteral("GUID"), guid);
    q->ExecSQL();
    return q->RowsAffected();
}

QList<TLVResultSample> SamplesWithResultsLV(ToznFDConnection& connection, int calcType)
{
    return GuardedRead(connection, [&] {
        QList<TLVResultSample> samples;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sSamplesWithResults));
        q->ParamByName(QStringLiteral("CalcType"), calcType);
        for (q->Open(); !q->Eof(); q->Next())
            samples.append({q->Int(QStringLiteral("Ident")), q->Str(QStringLiteral("Name")),
                            q->Int(QStringLiteral("Period")), q->Value(QStringLiteral("SampleDate1")).toDateTime(),
                            q->Value(QStringLiteral("SampleDate2")).toDateTime()});
        return samples;
    });
}

QList<TLVResultPeriod> PeriodsWithResultsLV(ToznFDConnection& connection, int calcType, int guid, const QDateTime& sd1,
                                            const QDateTime& sd2, bool withSections)
{
    return GuardedRead(connection, [&] {
        QList<TLVResultPeriod> periods;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(withSections ? LVResultsSql::sPeriodsWithResults
                                                     : LVResultsSql::sPeriodsWithResultsNoSections));
        q->ParamByName(QStringLiteral("CalcType"), calcType).ParamByName(QStringLiteral("GUID"), guid);
        q->ParamByName(QStringLiteral("sd1"), sd1).ParamByName(QStringLiteral("sd2"), sd2);
        for (q->Open(); !q->Eof(); q->Next())
            periods.append({q->Int(QStringLiteral("Period")), q->Str(QStringLiteral("Name"))});
        return periods;
    });
}

QHash<int, QString> NamesLV(ToznFDConnection& connection, int calcType, const QDateTime& sd1, const QDateTime& sd2)
{
    return GuardedRead(connection, [&] {
        QHash<int, QString> names;
        auto q = connection.NewQuery();
        q->SetSQLText(QString::fromUtf8(LVResultsSql::sNamesOfHierarchy));
        q->ParamByName(QStringLiteral("CalcType"), calcType);
        q->ParamByName(QStringLiteral("sd1"), sd1).ParamByName(QStringLiteral("sd2"), sd2);
        const char* const levels[] = {"e", "p", "r", "c", "s", "f", "nod", "lf"};
        for (q->Open(); !q->Eof(); q->Next())
            for (const char* l : levels)
                names.insert(q->Int(QString::fromLatin1(l) + QStringLiteral("GUID")),
                             q->Str(QString::fromLatin1(l) + QStringLiteral("Name")));
        return names;
    });
}
