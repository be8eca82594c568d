#pragma once
// SQL texts of the LV feeder editor.
namespace FeedersSql {
inline constexpr const char* kNodeOfLVFider = R"(SELECT "OwnerGUID" FROM  "LVFiders" WHERE "GUID"=:GUID)";
inline constexpr const char* kFiders =
    R"(Select GUID, "Name", "OwnerGUID", "TypeLoad","Unom"  From "LVFiders" Where "OwnerGUID"=:HighFider)";
inline constexpr const char* kNodeExists = R"(select "Name", "Info" from "Nodes" where "GUID"=:GUID)";
inline constexpr const char* kSamples =
    R"(select a.* from "LVPResultsA" a join "LVFiders" lf on lf.GUID=a.GUID where lf."OwnerGUID"=:HighFider order by a."SampleDate")";
inline constexpr const char* kYearSamples = R"(Select * from "LVPSamples" where "GUID"=:OGUID)";
inline constexpr const char* kTypeLoads = R"(select "Ident", "Name", "CosFi" from "TypeLoads" order by "Ident")";
inline constexpr const char* kProvods =
    R"(select P."Ident",P."Marka",P."F",P."AddStr" from "Provods" P inner join "ProvodTypes" PT on PT."Ident"=P."ProvodType" where PT."Unom"=0.380 Order by P."Marka")";
// The year samples of a feeder for its report, with the names of their periods, in date order.
inline constexpr const char* kYearSamplesOfFeeder =
    R"(select sd."Name", sd."SampleDate1", s."Wa", s."T", s."Tau", s."Kzap", s."Tmax", s."Kdp" from "LVPSamples" s
    left join "SamplesDates" sd on sd."Ident"=s."SampleIdent" where s."GUID"=:GUID order by sd."SampleDate1")";
// A substation and its transformer: the text of the type with the rated power ("ТМ-250") and the rated power.
inline constexpr const char* kSubstationOfReport =
    R"(select nod."Name", nod."Info", coalesce(t2."TypeTR", ts."TypeTR") || '-' ||
    cast(round(coalesce(t2."Snom", ts."Snom"), 0) as integer) as "TypeTR", coalesce(t2."Snom", ts."Snom") as "Snom"
    from "Nodes" nod left join "Transforms2" t2 on t2."Ident"=nod."Transf"
    left join "TransformsSS" ts on ts."Ident"=nod."Transf" where nod.guid=:GUID)";
// The reference power factor of a load kind: the identifier is appended to the text.
inline constexpr const char* kCosOfTypeLoad = R"(select "CosFi" from "TypeLoads" where "Ident"=)";

inline constexpr const char* kInsertFider =
    R"(Insert into "LVFiders" ("GUID","Name","OwnerGUID","TypeLoad","Unom") Values (:GUID,:Name,:Owner,:TypeLoad,:Unom))";
inline constexpr const char* kUpdateFider =
    R"(update "LVFiders" set "Name"=:Name, "TypeLoad"=:TypeLoad, "Unom"=:Unom where "GUID"=:GUID)";
inline constexpr const char* kDeleteFider = R"(delete from "LVFiders" where "GUID"=:GUID)";
inline constexpr const char* kSaveFiderA =
    R"(update or insert into "LVFidersA" ("GUID","CosFi","ProvodPhase","ProvodNull","LineLength","ConsumerName","SwitchGName") values (:GUID,:CosFi,:ProvodPhase,:ProvodNull,:LineLength,:ConsumerName,:SwitchGName) matching ("GUID"))";
inline constexpr const char* kDeleteFiderA = R"(delete from "LVFidersA" where "GUID"=:GUID)";
inline constexpr const char* kSaveSample =
    R"(update or insert into "LVPResultsA" ("GUID","SampleDate","IsMain","UA","UB","UC","U2A","U2B","U2C","IA","IB","IC","Tmax","Krazv","Knm","P","Wa","dP","dW") values (:GUID,:SampleDate,:IsMain,:UA,:UB,:UC,:U2A,:U2B,:U2C,:IA,:IB,:IC,:Tmax,:Krazv,:Knm,:P,:Wa,:dP,:dW) matching ("GUID","SampleDate"))";
inline constexpr const char* kDeleteSample =
    R"(delete from "LVPResultsA" where "GUID"=:GUID and "SampleDate"=:SampleDate)";
inline constexpr const char* kDeleteFiderSamples = R"(delete from "LVPResultsA" where "GUID"=:GUID)";
inline constexpr const char* kSaveYearSample =
    R"(update or insert into "LVPSamples" ("SampleIdent","GUID","UA","UB","UC","IA","IB","IC","U2A","U2B","U2C","CosFiA","CosFiB","CosFiC","Wa") values (:SampleIdent,:GUID,:UA,:UB,:UC,:IA,:IB,:IC,:U2A,:U2B,:U2C,:CosFi,:CosFi,:CosFi,:Wa) matching ("SampleIdent","GUID"))";
inline constexpr const char* kDeleteYearSample =
    R"(delete from "LVPSamples" where "SampleIdent"=:SampleIdent and "GUID"=:GUID)";
inline constexpr const char* kDeleteFiderYearSamples = R"(delete from "LVPSamples" where "GUID"=:GUID)";

// The scheme detail of one LV feeder: the feeder and its substation, its nodes and sections, and the node
// voltages and section results of its latest ordinary calculation.
inline constexpr const char* kDetailFeeder =
    R"(select lf."Name", nod."Info" as "TPInfo", a."SwitchGName", a."ConsumerName" from "LVFiders" lf
    join "Nodes" nod on nod.guid=lf."OwnerGUID" left join "LVFidersA" a on a.guid=lf.guid where lf.guid=:GUID)";
inline constexpr const char* kDetailLatestResult =
    R"(select first 1 mv."Ident", mv."SampleIdent", sd."Name" as "SampleName", mv."Regime", mv."UA", mv."UB", mv."UC",
    mv."U2A", mv."U2B", mv."U2C"
    from "LVResults" mv join "SamplesDates" sd on sd."Ident"=mv."SampleIdent"
    where mv.guid=:GUID and coalesce(mv."CalcType", 0)=0 order by sd."SampleDate2" desc, mv."Ident" desc)";
inline constexpr const char* kDetailLatestOfSample =
    R"(select first 1 mv."Ident", mv."SampleIdent", sd."Name" as "SampleName", mv."Regime", mv."UA", mv."UB", mv."UC",
    mv."U2A", mv."U2B", mv."U2C"
    from "LVResults" mv join "SamplesDates" sd on sd."Ident"=mv."SampleIdent"
    where mv.guid=:GUID and mv."SampleIdent"=:SampleIdent and coalesce(mv."CalcType", 0)=0 order by mv."Ident" desc)";
inline constexpr const char* kDetailRun =
    R"(select mv."Ident", mv."SampleIdent", sd."Name" as "SampleName", mv."Regime", mv."UA", mv."UB", mv."UC",
    mv."U2A", mv."U2B", mv."U2C"
    from "LVResults" mv left join "SamplesDates" sd on sd."Ident"=mv."SampleIdent"
    where mv."Ident"=:Ident and mv.guid=:GUID)";
inline constexpr const char* kDetailNodeResults =
    R"(select guid, "U", "UA", "UB", "UC", "dU" from "LVPResultsN" where "Ident"=:Ident)";
inline constexpr const char* kDetailLineResults =
    R"(select guid, "I", "dU", "dP", "IA", "IB", "IC", "IN", "dQ" from "LVPResultsL" where "Ident"=:Ident)";
}  // namespace FeedersSql
