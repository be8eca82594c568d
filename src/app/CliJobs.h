#pragma once
#include <QStringList>

// Command-line jobs of the host application. Each returns the process exit code.
namespace cli {
QString HelpText();
int InitDb(const QStringList& args);
int DemoDb(const QStringList& args);
// Counts of the network per level: the headless job on a database.
int Stats(const QString& connection);
// The value after an option ("--db X"), empty when absent.
QString Option(const QStringList& args, const QString& name);
}  // namespace cli
