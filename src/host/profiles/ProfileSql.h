#pragma once
// SQL texts of the metering profiles: storing, reading and the names an imported file may use.
namespace ProfileSql {

inline constexpr const char* kIntervals =
    R"(select "Ident", "Name", "SampleDate1", "SampleDate2" from "SamplesDates" order by "Ident")";

inline constexpr const char* kSubstation = R"(select nod."GUID" from "Nodes" nod where nod."GUID"=:GUID)";
inline constexpr const char* kFidersOf =
    R"(select lf."GUID", lf."Name" from "LVFiders" lf where lf."OwnerGUID"=:GUID order by lf."Name", lf."GUID")";
inline constexpr const char* kNodesOf =
    R"(select n."GUID", n."Name", n."Kind" from "LVNodes" n where n."OwnerGUID"=:GUID order by n."TabOrder", n."GUID")";

inline constexpr const char* kColumns =
    R"("FiderGUID", "Kind", "GUID", "Start", "StepMinutes", "Steps", "Wa", "Wr", "Active", "Reactive")";
// A feeder's profiles (consumers and head meter) of an interval.
inline constexpr const char* kOfFider =
    R"(select %1 from "LVProfiles" where "SampleIdent"=:SampleIdent and "FiderGUID"=:FiderGUID and "Kind"<2
    order by "Kind", "GUID")";
// The profiles of the feeders with keys from :First to :Last, for a run that goes feeder group by group.
inline constexpr const char* kOfFiderRange =
    R"(select %1 from "LVProfiles" where "SampleIdent"=:SampleIdent and "FiderGUID" between :First and :Last
    and "Kind"<2)";
inline constexpr const char* kTypical =
    R"(select %1 from "LVProfiles" where "SampleIdent"=:SampleIdent and "FiderGUID"=0 and "Kind"=2 order by "GUID")";
// The keys stored for a feeder and interval: what an import would replace.
inline constexpr const char* kKeysOfFider =
    R"(select "Kind", "GUID" from "LVProfiles" where "SampleIdent"=:SampleIdent and "FiderGUID"=:FiderGUID)";

inline constexpr const char* kStore =
    R"(update or insert into "LVProfiles" ("SampleIdent", "FiderGUID", "Kind", "GUID", "Start", "StepMinutes", "Steps",
    "Wa", "Wr", "Active", "Reactive") values (:SampleIdent, :FiderGUID, :Kind, :GUID, :Start, :StepMinutes, :Steps,
    :Wa, :Wr, :Active, :Reactive) matching ("SampleIdent", "FiderGUID", "Kind", "GUID"))";

// Profiles per interval and kind, for the lists of the windows.
inline constexpr const char* kCounts =
    R"(select p."Kind", count(*) from "LVProfiles" p join "LVFiders" lf on lf."GUID"=p."FiderGUID"
    where p."SampleIdent"=:SampleIdent and lf."OwnerGUID"=:GUID group by p."Kind")";

}  // namespace ProfileSql
