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
