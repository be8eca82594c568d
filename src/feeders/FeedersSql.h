#pragma once
// SQL texts of the LV feeder editor.
namespace FeedersSql {
inline constexpr const char* kNodeOfLVFider = R"(SELECT "OwnerGUID" FROM  "LVFiders" WHERE "GUID"=:GUID)";
inline constexpr const char* kFiders =
    R"(Select GUID, "Name", "OwnerGUID", "TypeLoad","Unom"  From "LVFiders" Where "OwnerGUID"=:HighFider)";
inline constexpr const char* kNodeExists = R"(select "Name", "Info" from "Nodes" where "GUID"=:GUID)";
}  // namespace FeedersSql
