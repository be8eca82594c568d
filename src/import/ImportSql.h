#pragma once
#include <QString>
#include <QStringList>

// SQL texts of the measurement workbooks.
namespace ImportSql {
// The tables of an interval, every column, by "SampleIdent".
inline constexpr const char* kTPInfo = R"(select * from "LVWTPInfo" where ("SampleIdent"=:Ident))";
inline constexpr const char* kWLoads = R"(select * from "WLoads" where ("SampleIdent"=:Ident))";
inline constexpr const char* kLVWSamples = R"(select * from "LVWSamples" where ("SampleIdent"=:Ident))";

inline constexpr const char* kSaveTPInfo =
    R"(update or insert into "LVWTPInfo" ("SampleIdent", "GUID", "TypeCalc", "Wa_bus", "UA", "UB", "UC", "IA", "IB",
    "IC", "ImaxA", "ImaxB", "ImaxC", "CosFiA", "CosFiB", "CosFiC", "Kdp", "Temperature") values (:SampleIdent, :GUID,
    0, :Wa_bus, :UA, :UB, :UC, :IA, :IB, :IC, :ImaxA, :ImaxB, :ImaxC, :CosFiA, :CosFiB, :CosFiC, :Kdp, :Temperature)
    matching ("SampleIdent", "GUID"))";
inline constexpr const char* kSaveWLoads =
    R"(update or insert into "WLoads" ("SampleIdent", "GUID", "SampleType", "Wa", "T", "Kzap", "sqrKfg")
    values (:SampleIdent, :GUID, 0, :Wa, :T, :Kzap, :sqrKfg) matching ("SampleIdent", "GUID"))";
inline constexpr const char* kSaveLVWSamples =
    R"(update or insert into "LVWSamples" ("SampleIdent", "GUID", "TypeCalc", "Wa", "T", "UA", "UB", "UC", "IA", "IB",
    "IC", "ImaxA", "ImaxB", "ImaxC", "CosFiA", "CosFiB", "CosFiC", "Kdp", "Kzap", "sqrKfg", "Temperature")
    values (:SampleIdent, :GUID, 0, :Wa, :T, :UA, :UB, :UC, :IA, :IB, :IC, :ImaxA, :ImaxB, :ImaxC, :CosFiA, :CosFiB,
    :CosFiC, :Kdp, :Kzap, :sqrKfg, :Temperature) matching ("SampleIdent", "GUID"))";

// The consumers of an interval and their loads.
inline constexpr const char* kConsumers =
    R"(select c.guid, c."Name", c."OwnerGUID", c."Pust", c."flagPu" from "LVConsumers" c where (c."SampleIdent"=:Ident)
    order by c."OwnerGUID", c.guid)";
// The cos φ of every LV feeder's load kind, and the load kinds by name.
inline constexpr const char* kFeederLoadCos =
    R"(select lf.guid, tl."CosFi" from "LVFiders" lf join "TypeLoads" tl on tl."Ident"=lf."TypeLoad")";
inline constexpr const char* kLoadTypes = R"(select "Ident", "Name" from "TypeLoads" order by "Ident")";
inline constexpr const char* kLVWLoads = R"(select * from "LVWLoads" where ("SampleIdent"=:Ident))";
inline constexpr const char* kLVPLoads = R"(select * from "LVPLoads" where ("SampleIdent"=:Ident))";
inline constexpr const char* kSaveLVWLoads =
    R"(update or insert into "LVWLoads" ("SampleIdent", "GUID", "Wa", "Wr", "CosFi") values (:SampleIdent, :GUID, :Wa,
    :Wr, :CosFi) matching ("SampleIdent", "GUID"))";
inline constexpr const char* kSaveConsumer =
    R"(update "LVConsumers" set "Pust"=:Pust, "flagPu"=:flagPu where "SampleIdent"=:SampleIdent and "GUID"=:GUID)";
inline constexpr const char* kSaveLVPLoads =
    R"(update or insert into "LVPLoads" ("SampleIdent", "GUID", "Wa", "Wr", "CosFi", "Pz", "Pi", "I", "LoadType",
    "Param1", "Param2") values (:SampleIdent, :GUID, :Wa, :Wr, :CosFi, :Pz, :Pi, :I, :LoadType, :Param1, :Param2)
    matching ("SampleIdent", "GUID"))";

// The objects that have stored measurements in an interval, by table (the workbook's own tables).
inline constexpr const char* kStoredW =
    R"(select guid from "WLoads" where "SampleIdent"=:Ident union select guid from "LVWTPInfo" where
    "SampleIdent"=:Ident union select guid from "LVWSamples" where "SampleIdent"=:Ident union select guid from
    "LVWLoads" where "SampleIdent"=:Ident)";
inline constexpr const char* kStoredTmax =
    R"(select guid from "LVPTPInfo" where "SampleIdent"=:Ident union select guid from "LVPSamples" where
    "SampleIdent"=:Ident union select guid from "LVPLoads" where "SampleIdent"=:Ident)";

// The intervals with measurements of each kind: one look-up by key per interval and table.
inline constexpr const char* kPeriodsWithW =
    R"(select sd."Ident" as "SampleIdent" from "SamplesDates" sd where
    exists (select 1 from "WLoads" x where x."SampleIdent"=sd."Ident") or
    exists (select 1 from "LVWTPInfo" x where x."SampleIdent"=sd."Ident") or
    exists (select 1 from "LVWSamples" x where x."SampleIdent"=sd."Ident") or
    exists (select 1 from "LVWLoads" x where x."SampleIdent"=sd."Ident"))";
inline constexpr const char* kPeriodsWithTmax =
    R"(select sd."Ident" as "SampleIdent" from "SamplesDates" sd where
    exists (select 1 from "LVPTPInfo" x where x."SampleIdent"=sd."Ident") or
    exists (select 1 from "LVPSamples" x where x."SampleIdent"=sd."Ident") or
    exists (select 1 from "LVPLoads" x where x."SampleIdent"=sd."Ident"))";

// The transformer of every substation: type and rated power.
inline constexpr const char* kTransformerTypes =
    R"(select nod.guid, coalesce(t2."TypeTR", ts."TypeTR") || '-' ||
    cast(round(coalesce(t2."Snom", ts."Snom"), 0) as integer) as "TypeTR" from "Nodes" nod
    left join "Transforms2" t2 on t2."Ident"=nod."Transf" left join "TransformsSS" ts on ts."Ident"=nod."Transf"
    where nod."Transf" is not null)";

// The peak-load (Tmax) tables of an interval.
inline constexpr const char* kPTPInfo = R"(select * from "LVPTPInfo" where ("SampleIdent"=:Ident))";
inline constexpr const char* kLVPSamples = R"(select * from "LVPSamples" where ("SampleIdent"=:Ident))";
inline constexpr const char* kSavePTPInfo =
    R"(update or insert into "LVPTPInfo" ("SampleIdent", "GUID", "UA", "UB", "UC", "IA", "IB", "IC", "CosFiA",
    "CosFiB", "CosFiC", "Kdp", "Wa", "T", "Tau", "Kzap", "Tmax", "Temperature") values (:SampleIdent, :GUID, :UA, :UB,
    :UC, :IA, :IB, :IC, :CosFiA, :CosFiB, :CosFiC, :Kdp, :Wa, :T, :Tau, :Kzap, :Tmax, :Temperature)
    matching ("SampleIdent", "GUID"))";
inline constexpr const char* kSaveLVPSamples =
    R"(update or insert into "LVPSamples" ("SampleIdent", "GUID", "UA", "UB", "UC", "IA", "IB", "IC", "CosFiA",
    "CosFiB", "CosFiC", "Kdp", "Wa", "T", "Tau", "Kzap", "Tmax", "Temperature") values (:SampleIdent, :GUID, :UA, :UB,
    :UC, :IA, :IB, :IC, :CosFiA, :CosFiB, :CosFiC, :Kdp, :Wa, :T, :Tau, :Kzap, :Tmax, :Temperature)
    matching ("SampleIdent", "GUID"))";

// The generalised-data workbook: one element's stored result with its scheme, or the scheme alone.
inline constexpr const char* kSocialRecord =
    R"( select    r."Info",r."Wa", r."Wa_bus", r."T", r."Lekv", r."ku", r."k038", r."deltaWa",    f."CosFi", "Unom", f."F", f."NLines", f."dp", f."kzap", f."dn", f."Lma", f."Lms", f."Lmm", f."L23a", f."L23s",    f."L23m", f."L1a", f."L1s", f."L1m", f."L1ia", f."L1is", f."L1im", f."L23ia", f."L23is", f."L23im" from "LVWResultsB" r join "LVFidersB" f on f."Ident"=r."Info" where r.guid=:GUID and r."SampleIdent"=:SampleIdent)";
inline constexpr const char* kSocialScheme =
    R"( select    f."Ident" as "Info",null as "Wa", null as "Wa_bus", null as "T", null as "Lekv", null as "ku", null as "k038", null as "deltaWa",    f."CosFi", "Unom", f."F", f."NLines", f."dp", f."kzap", f."dn", f."Lma", f."Lms", f."Lmm", f."L23a", f."L23s",    f."L23m", f."L1a", f."L1s", f."L1m", f."L1ia", f."L1is", f."L1im", f."L23ia", f."L23is", f."L23im" from "LVFidersB" f where f."Ident"=:Info)";
inline constexpr const char* kSocialDelete =
    R"( delete from "LVWResultsB" where ("SampleIdent" = :SampleIdent) and  (GUID = :GUID))";
inline constexpr const char* kSocialSaveResult =
    R"( update or insert into "LVWResultsB"  ("SampleIdent", GUID, "Wa", "Wa_bus", T, "Info", "Lekv", "ku", "k038", "deltaWa") values (:SampleIdent, :GUID, :Wa, :Wa_bus, :T, :Info, :Lekv, :ku, :k038, :deltaWa) matching ("SampleIdent", GUID))";
inline constexpr const char* kSocialSaveScheme =
    R"(update or insert into "LVFidersB" ("Ident", "CosFi", "Unom", "F", "NLines", "dp", "kzap", "dn", "Lma", "Lms",
    "Lmm", "L23a", "L23s", "L23m", "L23ia", "L23is", "L23im", "L1a", "L1s", "L1m", "L1ia", "L1is", "L1im")
    values (:Ident, :CosFi, :Unom, :F, :NLines, :dp, :kzap, :dn, :Lma, :Lms, :Lmm, :L23a, :L23s, :L23m, :L23ia,
    :L23is, :L23im, :L1a, :L1s, :L1m, :L1ia, :L1is, :L1im) matching ("Ident"))";
// Whether a stored scheme holds the inputs given (the parameters of the scheme's writing); a negative stored
// value is as good as none, an unset voltage is 400/230.
QString SocialSchemeUnchanged();
// The scheme of the element's nearest stored period: the latest start not after the requested one (and the
// latest end among those), else the earliest start not before it (and the earliest end).
inline constexpr const char* kSocialNearestScheme =
    R"(select first 1 x."Info" from (
      select * from (select first 1 r."Info", sd."SampleDate1" as "D1", 0 as "Side" from "LVWResultsB" r
        join "SamplesDates" sd on sd."Ident"=r."SampleIdent" where r.guid=:GUID and sd."SampleDate1"<=:sd1
        order by sd."SampleDate1" desc, sd."SampleDate2" desc) a
      union all
      select * from (select first 1 r."Info", sd."SampleDate1" as "D1", 1 as "Side" from "LVWResultsB" r
        join "SamplesDates" sd on sd."Ident"=r."SampleIdent" where r.guid=:GUID and sd."SampleDate1">=:sd1
        order by sd."SampleDate1", sd."SampleDate2") b) x
    order by x."D1", x."Side")";

// The rows of a level of the generalised-data workbook under a start object (parameter "GUIG"): every owner's
// GUID and name down to the level ("eGUID", "eName", … "lfGUID", "lfName"), ordered from the top; and their count.
QString SocialRows(int level);
QString SocialRowsCount(int level);
}  // namespace ImportSql
