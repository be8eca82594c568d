#pragma once
#include <QString>
#include <QStringList>

#include "host/HostApi.h"

class ToznFDConnection;

namespace db {

// The schema script as it ships with the application.
OZN3HOST_API QString SchemaScript();
// Splits a script into statements: ";" ends a statement, "set term" changes the terminator,
// comments are dropped.
OZN3HOST_API QStringList SplitScript(const QString& script);
// Creates a new database file (or server database) and runs the schema in it. A file is built under
// PartialPath and moved into place when complete. Refuses to overwrite an existing file.
OZN3HOST_API bool CreateDatabase(const QString& connectionString, QString& error);
// Where a database file is built before it is complete.
OZN3HOST_API QString PartialPath(const QString& path);
// The same with another schema script (a former version's, to test the upgrade of old databases).
OZN3HOST_API bool CreateDatabase(const QString& connectionString, QString& error, const QString& script);
// Runs the schema in an empty database and makes the connection's user its owner with every right.
OZN3HOST_API bool InstallSchema(ToznFDConnection& connection, QString& error, const QString& script = SchemaScript());

}  // namespace db
