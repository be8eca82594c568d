#pragma once
// SQL texts on the LV tables used by more than one subsystem, exactly as the library runs them.
namespace SharedSql {

inline constexpr const char* kInsertLVFider =
    R"(Insert into "LVFiders" ("Name","OwnerGUID","TypeLoad") Values (:Name,:Owner,1))";
inline constexpr const char* kAllLVFidersA = R"(SELECT * FROM "LVFidersA")";
// At most one main sample per LV feeder: the former main sample is cleared first.
inline constexpr const char* kClearMainSample =
    R"(Update "LVPResultsA" set "IsMain"=0 where "GUID"=:GUID and "SampleDate"=:Date)";
inline constexpr const char* kTmaxLookup =
    R"(SELECT max("Tmax") From "LVTmxRef" WHERE "Pmin"<:Pmin And "TypeLoad"=:LoadType)";
// A year interval is created on demand.
inline constexpr const char* kFindYearSample =
    R"(Select "Ident" from "SamplesDates" where "SampleDate1"=:Date1 and "Period"=1)";
inline constexpr const char* kInsertYearSample =
    R"(Insert into "SamplesDates" ("Name","Period","SampleDate1","SampleDate2") Values (:Name,1,:Date1,:Date2) )";
inline constexpr const char* kNextLVFidersBIdent = R"(select GEN_ID("LVFidersBIdent",1) from rdb$database)";
inline constexpr const char* kSaveLVWResultsB =
    R"( update or insert into "LVWResultsB"  ("SampleIdent", GUID, "Wa", "Wa_bus", T, "Info", "Lekv", "ku", "k038", "deltaWa") values (:SampleIdent, :GUID, :Wa, :Wa_bus, :T, :Info, :Lekv, :ku, :k038, :deltaWa) matching ("SampleIdent", GUID))";
inline constexpr const char* kDeleteLVWResultsB =
    R"( delete from "LVWResultsB" where ("SampleIdent" = :SampleIdent) and  (GUID = :GUID))";

}  // namespace SharedSql
