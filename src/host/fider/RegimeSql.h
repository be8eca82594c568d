#pragma once
// SQL texts of the LV regime calculation: what it reads of schemes, loads and parameters, and what it
// writes. "%1" in a reading statement is replaced by nothing (every row of the interval) or by the
// filter of one feeder (kFilter...), so that one feeder and a whole utility read the same way.
namespace RegimeSql {

inline constexpr const char* kFiders =
    R"(select lf.guid, lf."Name", lf."OwnerGUID", lf."Unom", nod."RES", tl."CosFi" as "LoadCos", lf."TypeLoad",
    a."ProvodPhase", a."ProvodNull", a."LineLength", a."CosFi", a."ConsumerName", a."SwitchGName"
    from "LVFiders" lf left join "Nodes" nod on nod.guid=lf."OwnerGUID"
    left join "TypeLoads" tl on tl."Ident"=lf."TypeLoad" left join "LVFidersA" a on a.guid=lf.guid %1)";
inline constexpr const char* kFilterFider = R"(where lf.guid=:GUID)";

inline constexpr const char* kConductors =
    R"(select p."Ident", p."Marka", p."F", p."R0", p."X0", coalesce(t."CableFlags", 0) as "CableFlags"
    from "Provods" p left join "ProvodTypes" t on t."Ident"=p."ProvodType")";

inline constexpr const char* kNodes =
    R"(select n.guid, n."Name", n."OwnerGUID", n."Kind", n."State", n."Phases", n."ConsumerName", n."Owner"
    from "LVNodes" n %1 order by n."OwnerGUID", n."TabOrder", n.guid)";
inline constexpr const char* kFilterNodes = R"(where n."OwnerGUID"=:GUID)";

inline constexpr const char* kLines =
    R"(select l.guid, l."OwnerGUID", l."Node1", l."Node2", l."Info", l."LineLength", l."Kind", l."Phases",
    l."ProvodPhase", l."ProvodNull", l."State", l."Owner", l."RES"
    from "LVLines" l %1 order by l."OwnerGUID", l."TabOrder", l.guid)";
inline constexpr const char* kFilterLines = R"(where l."OwnerGUID"=:GUID)";

// Loads and consumers of an interval by the consumer's node.
inline constexpr const char* kWLoads = R"(select w.guid, w."Wa", w."Wr", w."CosFi" from "LVWLoads" w %1)";
inline constexpr const char* kPLoads = R"(select w.guid, w."Wa", w."Wr", w."CosFi" from "LVPLoads" w %1)";
inline constexpr const char* kFilterLoads =
    R"(join "LVNodes" n on n.guid=w.guid where w."SampleIdent"=:SampleIdent and n."OwnerGUID"=:GUID)";
inline constexpr const char* kAllLoads = R"(where w."SampleIdent"=:SampleIdent)";
inline constexpr const char* kConsumers = R"(select c.guid, c."Name", c."Pust" from "LVConsumers" c %1)";
inline constexpr const char* kFilterConsumers =
    R"(join "LVNodes" n on n.guid=c.guid where c."SampleIdent"=:SampleIdent and n."OwnerGUID"=:GUID)";
inline constexpr const char* kAllConsumers = R"(where c."SampleIdent"=:SampleIdent)";

// Parameters of the interval: the stored current values of the regime, the line's measurement and the
// substation's.
inline constexpr const char* kStoredParams =
    R"(select p.* from "LVCalcParams" p where p."Regime"=:Regime and p."Level"=0 and p."SampleIdent"=:SampleIdent %1)";
inline constexpr const char* kFilterStoredParams = R"(and p.guid=:GUID)";
inline constexpr const char* kLineSamples =
    R"(select s.guid, s."Wa", s."T", s."UA", s."UB", s."UC", s."IA", s."IB", s."IC", s."ImaxA", s."ImaxB",
    s."ImaxC", s."CosFiA", s."CosFiB", s."CosFiC", s."Kdp", s."Kzap", s."sqrKfg", s."Temperature"
    from "LVWSamples" s where s."SampleIdent"=:SampleIdent and (s."TypeCalc" is null or s."TypeCalc"=0) %1)";
inline constexpr const char* kFilterLineSamples = R"(and s.guid=:GUID)";
inline constexpr const char* kTPSamples =
    R"(select ti.guid, ti."UA", ti."UB", ti."UC", ti."CosFiA", ti."CosFiB", ti."CosFiC", ti."Kdp",
    ti."Temperature" from "LVWTPInfo" ti where ti."SampleIdent"=:SampleIdent
    and (ti."TypeCalc" is null or ti."TypeCalc"=0) %1)";
inline constexpr const char* kFilterTPSamples = R"(and ti.guid=:GUID)";

// Writing runs. Each row statement has %1, %2, … for its values; the writer runs several rows to a
// statement. Integer columns come first in each list.
inline constexpr const char* kRunColumns[] = {
    "Ident",       "GUID",        "SampleIdent", "CalcType", "T",      "Regime", "LoadMode",
    "UA",          "UB",          "UC",          "IA",       "IB",     "IC",     "U2A",
    "U2B",         "U2C",         "CosFiA",      "CosFiB",   "CosFiC", "ImaxA",  "ImaxB",
    "ImaxC",       "Kdp",         "Krazv",       "Lm",       "L23",    "L1",     "HeadEndLength",
    "HeadEndSize", "Temperature", "dPdop",       "dWdop",    "sqrKfg", "Kzap",   "Tau",
    "Tmax"};
inline constexpr int kRunIntegers = 7;
inline constexpr const char* kPBlockColumns[] = {
    "Ident", "RES",   "Balance", "NAbonents", "NLineP", "NLineP_off", "NLineC", "NLineC_off", "Pcalc", "Pfakt",
    "Pgen",  "Qcalc", "Qfakt",   "Qgen",      "dP",     "dQ",         "LsumP",  "LsumP_off",  "LsumC", "LsumC_off"};
inline constexpr int kPBlockIntegers = 8;
inline constexpr const char* kWBlockColumns[] = {"Ident",  "RES",    "Balance", "Wacalc", "Wafakt", "Wa_gen",
                                                 "Wrcalc", "Wrfakt", "Wr_gen",  "dWa",    "dWr"};
inline constexpr int kWBlockIntegers = 3;
inline constexpr const char* kNodeColumns[] = {"Ident", "GUID", "U", "UA", "UB", "UC", "dU", "Umin", "UOut"};
// What a run by metering profiles adds ("LoadMode" 3): integers, the time of the peak, then doubles.
inline constexpr const char* kProfileRunColumns[] = {
    "Ident",    "StepMinutes", "Steps", "NProfile", "NHead", "NTypical", "NFlat", "NNoLoad",   "HeadMeter",
    "PeakTime", "Umin",        "UOut",  "sqrKfg",   "Tmax",  "Tau",      "dWa",   "dWaMiddle", "dWaMax"};
inline constexpr int kProfileRunIntegers = 9;
inline constexpr const char* kSectionColumns[] = {"Ident", "GUID", "I", "dU", "dP", "IA", "IB", "IC", "IN", "dQ"};
inline constexpr int kElementIntegers = 2;
// A feeder's former run of the interval and calculation type goes before its new one is written: the unique
// key "LVResults_Run" allows one. Another user's run that is not committed yet makes the statement wait, and
// one committed meanwhile makes it fail; the writer then tries the feeder again in a fresh transaction.
inline constexpr const char* kDeleteFormerRuns =
    R"(delete from "LVResults" where "GUID"=%1 and "SampleIdent"=%2 and "CalcType"=%3)";
// A group of feeders is written all or nothing.
inline constexpr const char* kSavepoint = "savepoint \"RegimeGroup\"";
inline constexpr const char* kReleaseSavepoint = "release savepoint \"RegimeGroup\" only";
inline constexpr const char* kUndoSavepoint = "rollback to savepoint \"RegimeGroup\"";
inline constexpr const char* kReserveIdents = R"(select gen_id("IdentGen", %1) from rdb$database)";

// The length of an interval.
inline constexpr const char* kInterval =
    R"(select "SampleDate1", "SampleDate2", "Name" from "SamplesDates" where "Ident"=:Ident)";
}  // namespace RegimeSql
