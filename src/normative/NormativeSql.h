#pragma once
// SQL texts of the normative method.
namespace NormativeSql {

#define OZN3_LVFIDERSB_COLUMNS                                                                                         \
    R"(f."CosFi", f."Unom", f."F", f."NLines", f."dp", f."kzap", f."dn", f."Lma", f."Lms", f."Lmm", f."L23a", )"       \
    R"(f."L23s", f."L23m", f."L23ia", f."L23is", f."L23im", f."L1a", f."L1s", f."L1m", f."L1ia", f."L1is", f."L1im")"

// The element's stored row for the interval with its inputs.
inline constexpr const char* kStoredElement =
    R"(select r."Info", r."Wa", r."Wa_bus", r."T", )" OZN3_LVFIDERSB_COLUMNS
    R"( from "LVWResultsB" r join "LVFidersB" f on f."Ident"=r."Info" where r.GUID=:GUID and r."SampleIdent"=:SampleIdent)";
// Every stored row of an interval, for a batch.
inline constexpr const char* kStoredPeriod =
    R"(select r.GUID, r."Info", r."Wa", r."Wa_bus", r."T", )" OZN3_LVFIDERSB_COLUMNS
    R"( from "LVWResultsB" r join "LVFidersB" f on f."Ident"=r."Info" where r."SampleIdent"=:SampleIdent)";
// The scheme of the nearest stored interval: the latest start not after the interval's start (latest end
// among equal starts), else the earliest start not before it (earliest end).
inline constexpr const char* kNearestScheme =
    R"(select first 1 n."Info" from (
  select * from (select first 1 r."Info", sd."SampleDate1" as "Start", 0 as "Side"
    from "LVWResultsB" r join "SamplesDates" sd on sd."Ident"=r."SampleIdent"
    where r.GUID=:GUID and sd."SampleDate1"<=:sd1 order by sd."SampleDate1" desc, sd."SampleDate2" desc)
  union all
  select * from (select first 1 r."Info", sd."SampleDate1" as "Start", 1 as "Side"
    from "LVWResultsB" r join "SamplesDates" sd on sd."Ident"=r."SampleIdent"
    where r.GUID=:GUID and sd."SampleDate1">=:sd1 order by sd."SampleDate1", sd."SampleDate2")
) n order by n."Side")";
// Every stored row outside an interval with its dates, for the nearest schemes of a batch.
inline constexpr const char* kOtherPeriods =
    R"(select r.GUID, r."Info", sd."SampleDate1", sd."SampleDate2" from "LVWResultsB" r
  join "SamplesDates" sd on sd."Ident"=r."SampleIdent" where r."SampleIdent"<>:SampleIdent)";
inline constexpr const char* kScheme =
    R"(select f."Ident", )" OZN3_LVFIDERSB_COLUMNS R"( from "LVFidersB" f where f."Ident"=:Info)";
inline constexpr const char* kAllSchemes = R"(select f."Ident", )" OZN3_LVFIDERSB_COLUMNS R"( from "LVFidersB" f)";
inline constexpr const char* kSaveScheme =
    R"(update or insert into "LVFidersB" ("Ident", "CosFi", "Unom", "F", "NLines", "dp", "kzap", "dn", "Lma", "Lms", "Lmm", "L23a", "L23s", "L23m", "L23ia", "L23is", "L23im", "L1a", "L1s", "L1m", "L1ia", "L1is", "L1im") values (:Ident, :CosFi, :Unom, :F, :NLines, :dp, :kzap, :dn, :Lma, :Lms, :Lmm, :L23a, :L23s, :L23m, :L23ia, :L23is, :L23im, :L1a, :L1s, :L1m, :L1ia, :L1is, :L1im) matching ("Ident"))";
// Whether a scheme belongs to a stored result other than the element's of the interval.
inline constexpr const char* kSchemeSharedElsewhere =
    R"(select first 1 1 from "LVWResultsB" where "Info"=:Info and ("SampleIdent"<>:SampleIdent or GUID<>:GUID))";
inline constexpr const char* kCopyScheme =
    R"(insert into "LVFidersB" ("Ident", "CosFi", "Unom", "F", "NLines", "dp", "kzap", "dn", "Lma", "Lms", "Lmm",
    "L23a", "L23s", "L23m", "L23ia", "L23is", "L23im", "L1a", "L1s", "L1m", "L1ia", "L1is", "L1im")
    select :NewInfo, "CosFi", "Unom", "F", "NLines", "dp", "kzap", "dn", "Lma", "Lms", "Lmm", "L23a", "L23s", "L23m",
    "L23ia", "L23is", "L23im", "L1a", "L1s", "L1m", "L1ia", "L1is", "L1im" from "LVFidersB" where "Ident"=:Info)";
inline constexpr const char* kCopySections =
    R"(insert into "LVFidersBSections" ("Info", "Idx", "LenVL", "LenKL") select :NewInfo, "Idx", "LenVL", "LenKL"
    from "LVFidersBSections" where "Info"=:Info)";
inline constexpr const char* kSections =
    R"(select "Idx", "LenVL", "LenKL" from "LVFidersBSections" where "Info"=:Info)";
inline constexpr const char* kDeleteSections = R"(delete from "LVFidersBSections" where "Info"=:Info)";
// The scheme of an element's stored result of an interval; whether any stored result refers to a scheme; the
// scheme itself.
inline constexpr const char* kResultScheme =
    R"(select "Info" from "LVWResultsB" where GUID=:GUID and "SampleIdent"=:SampleIdent)";
inline constexpr const char* kSchemeInUse = R"(select first 1 1 from "LVWResultsB" where "Info"=:Info)";
inline constexpr const char* kDeleteScheme = R"(delete from "LVFidersB" where "Ident"=:Info)";
inline constexpr const char* kInsertSection =
    R"(insert into "LVFidersBSections" ("Info", "Idx", "LenVL", "LenKL") values (:Info, :Idx, :LenVL, :LenKL))";

#undef OZN3_LVFIDERSB_COLUMNS

// The energy received by an LV feeder in its stored ordinary regime result of a sample, thousand kWh.
inline constexpr const char* kCalculatedTransformation =
    R"(select sum(wa."Wa_gen") as "Wa" from "LVWResultsAdd" wa join "LVResults" mv on mv."Ident"=wa."Ident"
    where mv.guid=:GUID and mv."SampleIdent"=:SampleIdent and coalesce(mv."CalcType", 0)=0)";

// The intervals with any stored normative result.
inline constexpr const char* kPeriodsWithResults = R"(select distinct "SampleIdent" from "LVWResultsB")";
// The elements with a stored normative result for a sample.
inline constexpr const char* kStoredElements = R"(select guid from "LVWResultsB" where "SampleIdent"=:SampleIdent)";
// The transformer of a substation as the reports name it: type and rated power.
inline constexpr const char* kTransformerOfNode =
    R"(select coalesce(t2."TypeTR", ts."TypeTR") || '-' || cast(round(coalesce(t2."Snom", ts."Snom"), 0) as integer)
    as "TypeTR" from "Nodes" nod left join "Transforms2" t2 on t2."Ident"=nod."Transf"
    left join "TransformsSS" ts on ts."Ident"=nod."Transf" where nod.guid=:GUID)";
}  // namespace NormativeSql
