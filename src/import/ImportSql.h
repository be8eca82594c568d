#pragma once

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
}  // namespace ImportSql
