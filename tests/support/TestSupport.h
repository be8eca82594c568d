#pragma once
#include <gtest/gtest.h>

#include <QDir>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>
#include <functional>
#include <memory>
#include <ostream>

#include "host/Progress.h"

class TfdbDatabase;
class ToznFDConnection;

// Readable Russian texts in test failures.
inline void PrintTo(const QString& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace testing_support {

// The environment of a test program: offscreen, the configuration, the documents the program writes and the
// application's log in a folder of the run (the log's place kept when the caller named one).
void UseTestEnvironment(const QTemporaryDir& folder);

// A fresh folder for one test, removed afterwards.
class TempFolder {
public:
    TempFolder();
    QString Path(const QString& name) const { return dir_.filePath(name); }

private:
    QTemporaryDir dir_;
};

// A new embedded database with the schema only: a copy of one template made per test run.
QString NewSchemaDatabase(const TempFolder& folder, const QString& name = QStringLiteral("test.fdb"));
// A new embedded database with the small demo network: a copy of one generated per test run.
QString NewDemoDatabase(const TempFolder& folder, const QString& name = QStringLiteral("demo.fdb"));
// A new embedded database made by the script of an earlier version (tests/db/data), to test upgrades.
QString NewFormerSchemaDatabase(const TempFolder& folder, const QString& name = QStringLiteral("old.fdb"));
// Opens a database or fails the test.
std::unique_ptr<TfdbDatabase> OpenDatabase(const QString& path);

// A text with its %1, %2… filled in order, as chained QString::arg calls fill them.
template <class... Args> QString Fmt(const QString& text, const Args&... args)
{
    QString out = text;
    ((out = out.arg(args)), ...);
    return out;
}

// Runs a statement that writes.
void Exec(ToznFDConnection& connection, const QString& sql);
// The first value of the first row of a select (0 for NULL, -999 when there is no row).
double Scalar(ToznFDConnection& connection, const QString& sql);
inline int IntScalar(ToznFDConnection& connection, const QString& sql)
{
    return static_cast<int>(Scalar(connection, sql));
}

// One entry of a zip archive (a part of an .xlsx workbook); empty when missing.
QByteArray ReadZipEntry(const QString& archive, const QString& entry);
// Every text of a workbook, shared or written in its cells, unescaped, one per line.
QString WorkbookTexts(const QString& workbook);
// Replaces one entry of a zip archive, as a spreadsheet saving a user's edit would.
void WriteZipEntry(const QString& archive, const QString& entry, const QByteArray& content);
// Puts a text in place of a cell of a worksheet (1-based) of a workbook, as a user typing it would (a cell the
// workbook did not write is added); an empty text clears the cell.
void TypeTextIntoCell(const QString& workbook, int sheet, const QString& address, const QString& text);
void TypeNumberIntoCell(const QString& workbook, int sheet, const QString& address, double value);
// The texts of a workbook with a letter of U+00C0…U+00FF: Russian or Greek text encoded as UTF-8 and read back as
// Latin-1 ("cosÏ", "Ð¢Ð"), which the product never writes.
QStringList GarbledTexts(const QString& workbook);

// The cells of one worksheet (1-based) of a workbook after LibreOffice has opened it headless, recalculated
// every formula and saved it again: numbers as doubles, texts as strings, by address ("B12"). Fails the test
// when LibreOffice is missing or the conversion fails.
QHash<QString, QVariant> RecalculatedCells(const QString& workbook, int sheet);
// The formulas of a worksheet (1-based) as written, by address, with the value cached beside each.
struct CachedFormula {
    QString formula;
    QVariant value;  // a double, a string, or invalid when nothing is cached
};
QHash<QString, CachedFormula> FormulaCells(const QString& workbook, int sheet);
// Every cell of a worksheet (1-based), with its formula when it has one.
QHash<QString, CachedFormula> WorksheetCells(const QString& workbook, int sheet);
// Checks that every formula of a worksheet caches the value LibreOffice computes for it (numbers to a
// relative 1e-12, texts exactly) and that the workbook asks for a recalculation on opening; returns how many
// formulas were compared.
int ExpectFormulasAsRecalculated(const QString& workbook, int sheet);

// The plug-in as the host loads it (built beside the tests).
QString PluginPath();
// The host application's binary.
QString AppPath();
// Runs the host application with arguments and waits for it (two minutes at most). The environment is the
// test's own with the changes given (a null value removes a variable); the input is written to the standard input,
// which is then closed.
struct AppOutcome {
    int code;
    QString out, err;
};
using EnvChanges = QList<std::pair<QString, QString>>;
AppOutcome RunApp(const QStringList& args, const EnvChanges& env = {}, const QByteArray& input = {});
// The environment of a run of the application without a display and without the engine's user names.
EnvChanges NoDisplayNoUser();

// A test on a database of its own, made fresh for it: the schema alone or the small demo network.
class DatabaseTest : public ::testing::Test {
protected:
    ~DatabaseTest() override;
    void OpenNew(bool demo);
    double Db(const QString& sql) { return Scalar(*c_, sql); }
    TempFolder folder_;
    std::unique_ptr<TfdbDatabase> db_;
    ToznFDConnection* c_ = nullptr;
};

// A progress display that keeps every text it is shown.
struct RecordingProgress : host::Progress {
    QStringList texts;
    void Start(const QString&, int) override {}
    void SetText(const QString& text) override { texts << text; }
    void SetMaximum(int) override {}
    void SetPosition(int) override {}
    void Finish() override {}
};
}  // namespace testing_support
