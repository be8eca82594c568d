// Every SQL text of the LV results: the resource strings of the results unit.
#include "results/UnitLVResults.h"

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

// The same walk for results stored without a calculation type, which every reading query takes for type 0.
const char* const sDeleteResultsWithoutType =
    " delete from \"LVResults\" mv where mv.\"CalcType\" is null and mv.\"SampleIdent\"=:SampleIdent  and mv.guid "
    "in (     select  distinct lf.guid     from \"AOEnergo\" e     join pes p on p.\"OwnerGUID\"=e.guid     join res r "
    "on r.\"OwnerGUID\"=p.guid     join \"Centers\" c on c.\"OwnerGUID\"=r.guid     join \"Sections\" s on "
    "s.\"OwnerGUID\"=c.guid     join \"Fiders\" f on f.\"OwnerGUID\"=s.guid     join \"Nodes\" nod on "
    "nod.\"OwnerGUID\"=f.guid     join \"LVFiders\" lf on lf.\"OwnerGUID\"=nod.guid     where         (e.GUID=:GUID "
    "or p.GUID=:GUID or r.GUID=:GUID or c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or nod.GUID=:GUID or  "
    "lf.GUID=:GUID ) )";

const char* const sSamplesWithResults =
    "select sd.\"Ident\", sd.\"Name\", sd.\"Period\", sd.\"SampleDate1\", sd.\"SampleDate2\" from \"SamplesDates\" sd "
    "where exists (select 1 from \"LVResults\" mv where mv.\"SampleIdent\"=sd.\"Ident\" and "
    "coalesce(mv.\"CalcType\", 0)=:CalcType) order by sd.\"SampleDate2\", sd.\"SampleDate1\" desc";

// The level of each table that holds an object, by its primary key.
const char* const sObjectLevels =
    "select 0 as \"L\" from \"AOEnergo\" where guid=:GUID union all select 1 from pes where guid=:GUID "
    "union all select 2 from res where guid=:GUID union all select 3 from \"Centers\" where guid=:GUID "
    "union all select 4 from \"Sections\" where guid=:GUID union all select 5 from \"Fiders\" where guid=:GUID "
    "union all select 6 from \"Nodes\" where guid=:GUID union all select 7 from \"LVFiders\" where guid=:GUID";

QString ResultsUnderObject(int level)
{
    // The joins of the level query, written from the object down so that the engine follows them from its key:
    // outer joins keep their written order, and the tests of the last aliases make them inner ones. Above the
    // supply centre the chain goes through the balance rows' districts, below it through ownership.
    static const char* const alias[8] = {"e", "p", "r", "c", "s", "f", "nod", "lf"};
    static const char* const table[8] = {"\"AOEnergo\"", "pes",        "res",       "\"Centers\"",
                                         "\"Sections\"", "\"Fiders\"", "\"Nodes\"", "\"LVFiders\""};
    const QString results = QStringLiteral(" left join \"LVResults\" mv on mv.guid=lf.guid "
                                           "left join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\"");
    auto join = [](int l, const QString& on) {
        return QStringLiteral(" left join %1 %2 on %3").arg(QLatin1String(table[l]), QLatin1String(alias[l]), on);
    };
    QString sql = QStringLiteral("from %1 %2").arg(QLatin1String(table[level]), QLatin1String(alias[level]));
    if (level <= 2) {
        for (int l = level + 1; l <= 2; ++l)
            sql += join(
                l,
                QStringLiteral("%1.\"OwnerGUID\"=%2.guid").arg(QLatin1String(alias[l]), QLatin1String(alias[l - 1])));
        sql += QStringLiteral(" left join \"LVPResultsAdd\" pa on pa.res=r.guid left join \"LVResults\" mv on "
                              "mv.\"Ident\"=pa.\"Ident\"");
        sql += join(7, QStringLiteral("lf.guid=mv.guid"));
        for (int l = 6; l >= 3; --l)
            sql += join(
                l,
                QStringLiteral("%1.guid=%2.\"OwnerGUID\"").arg(QLatin1String(alias[l]), QLatin1String(alias[l + 1])));
        for (int l = level - 1; l >= 0; --l)
            sql += join(
                l,
                QStringLiteral("%1.guid=%2.\"OwnerGUID\"").arg(QLatin1String(alias[l]), QLatin1String(alias[l + 1])));
    } else {
        for (int l = level + 1; l <= 7; ++l)
            sql += join(
                l,
                QStringLiteral("%1.\"OwnerGUID\"=%2.guid").arg(QLatin1String(alias[l]), QLatin1String(alias[l - 1])));
        sql += results;
        sql += join(2, QStringLiteral("r.guid=pa.res")) + join(1, QStringLiteral("p.guid=r.\"OwnerGUID\"")) +
               join(0, QStringLiteral("e.guid=p.\"OwnerGUID\""));
        for (int l = level - 1; l >= 3; --l)
            sql += join(
                l,
                QStringLiteral("%1.guid=%2.\"OwnerGUID\"").arg(QLatin1String(alias[l]), QLatin1String(alias[l + 1])));
    }
    return sql + QStringLiteral(" where %1.guid=:GUID and e.guid is not null and c.guid is not null")
                     .arg(QLatin1String(alias[level]));
}

QString PeriodsWithResults(int level)
{
    // Each sample of the range is tried once: a sample with a result of the object stops at the first one.
    // Down to a district the engine goes best from the sample's results (its index), below it from the object.
    static const char* const alias[3] = {"e", "p", "r"};
    if (level <= 2)
        return QStringLiteral(
                   "select distinct sd.\"Period\", per.\"Name\" from \"SamplesDates\" sd join \"Periods\" per "
                   "on per.\"Ident\"=sd.\"Period\" where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 "
                   "and exists (select 1 from \"LVResults\" mv join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" "
                   "join res r on r.guid=pa.res join pes p on p.guid=r.\"OwnerGUID\" join \"AOEnergo\" e on "
                   "e.guid=p.\"OwnerGUID\" join \"LVFiders\" lf on lf.guid=mv.guid join \"Nodes\" nod on "
                   "nod.guid=lf.\"OwnerGUID\" join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on "
                   "s.guid=f.\"OwnerGUID\" join \"Centers\" c on c.guid=s.\"OwnerGUID\" where mv.\"SampleIdent\"="
                   "sd.\"Ident\" and coalesce(mv.\"CalcType\", 0)=:CalcType and %1.guid=:GUID) order by sd.\"Period\"")
            .arg(QLatin1String(alias[level]));
    return QStringLiteral(
               "select distinct sd.\"Period\", per.\"Name\" from \"SamplesDates\" sd join \"Periods\" per "
               "on per.\"Ident\"=sd.\"Period\" where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 "
               "and exists (select 1 %1 and mv.\"SampleIdent\"=sd.\"Ident\" and coalesce(mv.\"CalcType\", 0)="
               ":CalcType) order by sd.\"Period\"")
        .arg(ResultsUnderObject(level));
}

// The rows of the stored results of an interval, one per balance row, with the result's values and the
// balance row's power and energy: read from the interval's results only, the hierarchy being joined in
// memory. The second text starts from the balance rows of one district (by its index); the third from an object
// of a supply centre or below, through every LV feeder it owns.
#define OZN3_RESULT_COLUMNS                                                                                            \
    "select mv.\"Ident\", mv.guid, pa.res, pa.\"Balance\", "                                                           \
    "mv.\"T\", mv.\"UA\", mv.\"UB\", mv.\"UC\", mv.\"IA\", mv.\"IB\", mv.\"IC\", "                                     \
    "mv.\"ImaxA\", mv.\"ImaxB\", mv.\"ImaxC\", mv.\"CosFiA\", mv.\"CosFiB\", mv.\"CosFiC\", mv.\"Temperature\", "      \
    "mv.\"U2A\", mv.\"U2B\", mv.\"U2C\", mv.\"Lm\", mv.\"L23\", mv.\"L1\", mv.\"Kdp\", mv.\"sqrKfg\", "                \
    "mv.\"Krazv\", mv.\"HeadEndSize\", mv.\"HeadEndLength\", mv.\"dWdop\", mv.\"dPdop\", "                             \
    "mv.\"Kzap\", mv.\"Tau\", mv.\"Tmax\", "                                                                           \
    "wa.\"Wa_gen\", wa.\"Wr_gen\", wa.\"Wafakt\", wa.\"Wrfakt\", wa.\"Wacalc\", wa.\"Wrcalc\", wa.\"dWa\", "           \
    "wa.\"dWr\", pa.\"Pgen\", pa.\"Qgen\", pa.\"dP\", pa.\"dQ\", pa.\"Pfakt\", pa.\"Qfakt\", pa.\"Pcalc\", "           \
    "pa.\"Qcalc\", pa.\"LsumP\", pa.\"LsumC\", pa.\"LsumP_off\", pa.\"LsumC_off\", pa.\"NLineP\", pa.\"NLineC\", "     \
    "pa.\"NLineP_off\", pa.\"NLineC_off\", pa.\"NAbonents\" "
#define OZN3_RESULT_TAIL                                                                                               \
    " join \"Periods\" per on per.\"Ident\"=sd.\"Period\" "                                                            \
    "join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" "                                                          \
    "left join \"LVWResultsAdd\" wa on wa.\"Ident\"=pa.\"Ident\" and wa.\"Balance\"=pa.\"Balance\" and wa.res=pa.res " \
    "where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 and sd.\"Period\"=:Period"
// The owners of each feeder that come with its rows, for a district and below: the whole hierarchy is not read.
#define OZN3_FEEDER_OWNERS                                                                                             \
    ", lf.guid, lf.\"OwnerGUID\", lf.\"Name\", nod.guid, nod.\"OwnerGUID\", nod.\"Name\", "                            \
    "f.guid, f.\"OwnerGUID\", f.\"Name\", s.guid, s.\"OwnerGUID\", s.\"Name\", c.guid, c.\"OwnerGUID\", "              \
    "c.\"Name\", s.\"Unom\", nod.\"Transf\" "
const char* const sResultRows = OZN3_RESULT_COLUMNS " from \"SamplesDates\" sd join \"LVResults\" mv on "
                                                    "mv.\"SampleIdent\"=sd.\"Ident\" and coalesce(mv.\"CalcType\", 0)="
                                                    ":CalcType" OZN3_RESULT_TAIL;
const char* const sResultRowsOfRES = OZN3_RESULT_COLUMNS OZN3_FEEDER_OWNERS
    "from (select distinct pb.\"Ident\" from \"LVPResultsAdd\" pb where pb.res=:rGUID) sel "
    "join \"LVResults\" mv on mv.\"Ident\"=sel.\"Ident\" and coalesce(mv.\"CalcType\", 0)=:CalcType "
    "join \"SamplesDates\" sd on sd.\"Ident\"=mv.\"SampleIdent\" "
    "left join \"LVFiders\" lf on lf.guid=mv.guid left join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "
    "left join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" left join \"Sections\" s on "
    "s.guid=f.\"OwnerGUID\" left join \"Centers\" c on c.guid=s.\"OwnerGUID\"" OZN3_RESULT_TAIL;

QString ResultRowsUnderObject(int level)
{
    // From the object down its ownership to its LV feeders (an LV feeder: itself), up to its supply centre for
    // the owners' columns, then the feeders' results: every district's blocks of them.
    static const char* const alias[8] = {"e", "p", "r", "c", "s", "f", "nod", "lf"};
    static const char* const table[8] = {"\"AOEnergo\"", "pes",        "res",       "\"Centers\"",
                                         "\"Sections\"", "\"Fiders\"", "\"Nodes\"", "\"LVFiders\""};
    QString sql = QStringLiteral(OZN3_RESULT_COLUMNS OZN3_FEEDER_OWNERS "from %1 %2")
                      .arg(QLatin1String(table[level]), QLatin1String(alias[level]));
    for (int l = level + 1; l <= 7; ++l)
        sql += QStringLiteral(" join %1 %2 on %2.\"OwnerGUID\"=%3.guid")
                   .arg(QLatin1String(table[l]), QLatin1String(alias[l]), QLatin1String(alias[l - 1]));
    for (int l = level - 1; l >= 3; --l)
        sql += QStringLiteral(" join %1 %2 on %2.guid=%3.\"OwnerGUID\"")
                   .arg(QLatin1String(table[l]), QLatin1String(alias[l]), QLatin1String(alias[l + 1]));
    sql += QStringLiteral(" join \"LVResults\" mv on mv.guid=lf.guid and coalesce(mv.\"CalcType\", 0)=:CalcType and "
                          "%1.guid=:GUID join \"SamplesDates\" sd on sd.\"Ident\"=mv.\"SampleIdent\"")
               .arg(QLatin1String(alias[level]));
    return sql + QStringLiteral(OZN3_RESULT_TAIL);
}
#undef OZN3_RESULT_COLUMNS
#undef OZN3_RESULT_TAIL
#undef OZN3_FEEDER_OWNERS

// The top of the hierarchy: the utility, its enterprises and districts (few rows).
const char* const sHierarchyTop = "select 0 as \"L\", guid, \"Name\", \"OwnerGUID\" from \"AOEnergo\" "
                                  "union all select 1, guid, \"Name\", \"OwnerGUID\" from pes "
                                  "union all select 2, guid, \"Name\", \"OwnerGUID\" from res";

// Every object of the hierarchy with its level, name and owner; the sections' nominal voltage and the
// substations' transformer in the last column.
const char* const sHierarchy =
    "select 0 as \"L\", guid, \"Name\", \"OwnerGUID\", cast(null as double precision) as \"V\" from \"AOEnergo\" "
    "union all select 1, guid, \"Name\", \"OwnerGUID\", null from pes "
    "union all select 2, guid, \"Name\", \"OwnerGUID\", null from res "
    "union all select 3, guid, \"Name\", \"OwnerGUID\", null from \"Centers\" "
    "union all select 4, guid, \"Name\", \"OwnerGUID\", \"Unom\" from \"Sections\" "
    "union all select 5, guid, \"Name\", \"OwnerGUID\", null from \"Fiders\" "
    "union all select 6, guid, \"Name\", \"OwnerGUID\", \"Transf\" from \"Nodes\" "
    "union all select 7, guid, \"Name\", \"OwnerGUID\", null from \"LVFiders\"";

// The text of each transformer as the results show it: type, a hyphen, the rated power rounded, a blank and
// the additional text, each from "Transforms2" first and "TransformsSS" second.
const char* const sTransformerTexts =
    "select i.\"Ident\", coalesce(t2.\"TypeTR\", ts.\"TypeTR\") || '-' || "
    "cast(round(coalesce(t2.\"Snom\", ts.\"Snom\"), 0) as integer) || ' ' || coalesce(t2.\"AddStr\", ts.\"AddStr\", "
    "'') "
    "as \"TypeTR\" from (select \"Ident\" from \"Transforms2\" union select \"Ident\" from \"TransformsSS\") i "
    "left join \"Transforms2\" t2 on t2.\"Ident\"=i.\"Ident\" left join \"TransformsSS\" ts on "
    "ts.\"Ident\"=i.\"Ident\"";

// The name of an object of a district or below and its district by ownership, by level.
const char* const sObjectWithDistrict[8] = {
    nullptr,
    nullptr,
    "select r.\"Name\", r.guid from res r where r.guid=:GUID",
    "select c.\"Name\", c.\"OwnerGUID\" from \"Centers\" c where c.guid=:GUID",
    "select s.\"Name\", c.\"OwnerGUID\" from \"Sections\" s left join \"Centers\" c on c.guid=s.\"OwnerGUID\" "
    "where s.guid=:GUID",
    "select f.\"Name\", c.\"OwnerGUID\" from \"Fiders\" f left join \"Sections\" s on s.guid=f.\"OwnerGUID\" "
    "left join \"Centers\" c on c.guid=s.\"OwnerGUID\" where f.guid=:GUID",
    "select nod.\"Name\", c.\"OwnerGUID\" from \"Nodes\" nod left join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" "
    "left join \"Sections\" s on s.guid=f.\"OwnerGUID\" left join \"Centers\" c on c.guid=s.\"OwnerGUID\" "
    "where nod.guid=:GUID",
    "select lf.\"Name\", c.\"OwnerGUID\" from \"LVFiders\" lf left join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "
    "left join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" left join \"Sections\" s on s.guid=f.\"OwnerGUID\" "
    "left join \"Centers\" c on c.guid=s.\"OwnerGUID\" where lf.guid=:GUID"};

// The district that owns an object of levels 3 to 7.
const char* const sOwnerRES =
    "select first 1 r.guid from res r join \"Centers\" c on c.\"OwnerGUID\"=r.guid "
    "join \"Sections\" s on s.\"OwnerGUID\"=c.guid join \"Fiders\" f on f.\"OwnerGUID\"=s.guid "
    "left join \"Nodes\" nod on nod.\"OwnerGUID\"=f.guid left join \"LVFiders\" lf on lf.\"OwnerGUID\"=nod.guid "
    "where c.guid=:GUID or s.guid=:GUID or f.guid=:GUID or nod.guid=:GUID or lf.guid=:GUID";

// Distinct pairs of GUID and name at every level for the feeders with results, ordered from the top.
const char* const sNamesOfHierarchy =
    "select distinct e.guid as \"eGUID\", e.\"Name\" as \"eName\", p.guid as \"pGUID\", p.\"Name\" as \"pName\", "
    "r.guid as \"rGUID\", r.\"Name\" as \"rName\", c.guid as \"cGUID\", c.\"Name\" as \"cName\", "
    "s.guid as \"sGUID\", s.\"Name\" as \"sName\", f.guid as \"fGUID\", f.\"Name\" as \"fName\", "
    "nod.guid as \"nodGUID\", nod.\"Name\" as \"nodName\", lf.guid as \"lfGUID\", lf.\"Name\" as \"lfName\" "
    "from \"SamplesDates\" sd join \"LVResults\" mv on mv.\"SampleIdent\"=sd.\"Ident\" "
    "and coalesce(mv.\"CalcType\", 0)=:CalcType join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" "
    "join res r on r.guid=pa.res join pes p on p.guid=r.\"OwnerGUID\" join \"AOEnergo\" e on e.guid=p.\"OwnerGUID\" "
    "join \"LVFiders\" lf on lf.guid=mv.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "
    "join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on s.guid=f.\"OwnerGUID\" "
    "join \"Centers\" c on c.guid=s.\"OwnerGUID\" where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 "
    "order by 1, 3, 5, 7, 9, 11, 13, 15";

// The names of every object of the hierarchy from the utility down to the LV feeders, by GUID (a plain
// read of each table, much cheaper than the names of the feeders with results on a large network).
const char* const sObjectNames =
    "select guid, \"Name\" from \"AOEnergo\" union all select guid, \"Name\" from pes "
    "union all select guid, \"Name\" from res union all select guid, \"Name\" from \"Centers\" "
    "union all select guid, \"Name\" from \"Sections\" union all select guid, \"Name\" from \"Fiders\" "
    "union all select guid, \"Name\" from \"Nodes\" union all select guid, \"Name\" from \"LVFiders\"";

// Normative losses of energy by the generalised method, per element, for one sample.
const char* const sNormativeLosses =
    "select r.guid, r.\"deltaWa\" from \"LVWResultsB\" r where r.\"SampleIdent\"=:SampleIdent";

// The owners of an LV feeder, for the header of its results workbook.
// The nodes of an LV feeder's scheme (the substation it starts from is not one of them).
const char* const sLineNodeCount = "select count(*) as N from \"LVNodes\" where \"OwnerGUID\"=:GUID";

const char* const sFiderOwners =
    "select p.\"Name\" as \"PesName\", r.\"Name\" as \"ResName\", c.\"Name\" as \"CenterName\", "
    "s.\"Name\" as \"SectionName\", s.\"Unom\" as \"SectionUnom\", f.\"Name\" as \"FiderName\", "
    "nod.\"Name\" as \"NodeName\", lf.\"Name\" as \"LineName\", lf.\"Unom\" as \"LineUnom\" "
    "from \"LVFiders\" lf join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" join \"Fiders\" f on "
    "f.guid=nod.\"OwnerGUID\" "
    "join \"Sections\" s on s.guid=f.\"OwnerGUID\" join \"Centers\" c on c.guid=s.\"OwnerGUID\" "
    "join res r on r.guid=c.\"OwnerGUID\" join pes p on p.guid=r.\"OwnerGUID\" where lf.guid=:GUID";

// The names of the districts, for the balance columns of a feeder.
const char* const sDistrictNames = "select guid, \"Name\" from \"RESData\"";
}  // namespace LVResultsSql
