#pragma once
// The application's own log: what the user is not shown but whoever looks into a problem needs (the database
// engine's own texts, trace lines of the export frames). One file per user, appended, kept small.
#include <QString>

#include "host/HostApi.h"

namespace host {

// $OZN3_LOG_FILE, else ozn3.log beside the default database.
OZN3HOST_API QString ApplicationLogPath();
// Appends a line with the time and the process; never fails the caller.
OZN3HOST_API void LogLine(const QString& text);

}  // namespace host
