#pragma once
// Metering profiles of the demo network for its latest year: hourly profiles of a share of the consumers of
// the feeders with schemes (households, schools and shops, whose days and seasons differ), typical profiles of
// every load kind, and head meters on some feeders with and without schemes. Deterministic.
#include <QString>
#include <functional>

class ToznFDConnection;

namespace db {

// Reads the generated network and writes its profiles; returns the rows written.
int GenerateDemoProfiles(ToznFDConnection& connection, const std::function<void(int, const QString&)>& progress = {});

}  // namespace db
