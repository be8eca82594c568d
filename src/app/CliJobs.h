#pragma once
#include <QStringList>
#include <memory>

class TfdbDatabase;
struct TSamplePeriodInfo;

// Command-line jobs of the host application. Each returns the process exit code.
namespace cli {
QString HelpText();
int InitDb(const QStringList& args);
int DemoDb(const QStringList& args);
// Counts of the network per level: the headless job on a database.
int Stats(const QString& connection);
int Stats(const QStringList& args);
// A calculation on JSON Lines from standard input: one answer line per input line.
int CalcLines(QByteArray (*calculate)(const QByteArray&));
// The batch normative calculation without a window.
int NormativeBatch(const QStringList& args);
// The LV regime calculation of every LV feeder under a node of the tree.
int Regime(const QStringList& args);
// The results tree of an object as JSON Lines or a workbook.
int Results(const QStringList& args);
// LV schemes and the conductor catalogue in and out of workbooks; a substation to load a scheme into.
int SchemeJob(const QStringList& args);
// Metering profiles of consumers and head meters imported into a substation.
int ProfilesJob(const QStringList& args);
// The drawing of an LV feeder or of a substation's feeders as a picture or a PDF: the words checked here, the
// painting done by the drawing library (Qt Gui, offscreen without a display).
int SchemeDraw(int argc, char** argv, const QStringList& args);
// The measured losses of the LV feeders summed over the hierarchy for a year.
int Measured(const QStringList& args);
// The measurement and generalised-data workbooks written and read back without a window.
int WorkbookJob(const QStringList& args);
// Users, roles and rights of a database.
int Users(const QStringList& args);
// Opens a database and finds a period of it; on failure prints why and returns null.
std::unique_ptr<TfdbDatabase> OpenWithPeriod(const QString& connection, int period, const TSamplePeriodInfo*& info);
}  // namespace cli
