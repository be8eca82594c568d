#include "BenchSupport.h"

#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <cstdlib>

#include "db/SchemaInstaller.h"
#include "host/Database.h"

namespace bench {

QString LargeDatabasePath() { return qEnvironmentVariable("OZN3_BENCH_DB"); }

std::unique_ptr<TfdbDatabase> OpenLargeDatabase(benchmark::State& state)
{
    QString error;
    auto database = TfdbDatabase::Open(LargeDatabasePath(), error);
    if (!database)
        state.SkipWithError(qPrintable(QStringLiteral("OZN3_BENCH_DB: ") + error));
    return database;
}

std::unique_ptr<TfdbDatabase> FreshSchemaDatabase(const QString& name)
{
    static QTemporaryDir dir;
    QString error;
    const QString path = dir.filePath(name);
    if (!db::CreateDatabase(path, error) && !error.contains(QStringLiteral("уже существует")))
        qFatal("%s", qPrintable(error));
    auto database = TfdbDatabase::Open(path, error);
    if (!database)
        qFatal("%s", qPrintable(error));
    return database;
}

double RawInsertRate(TfdbDatabase& database, int rows)
{
    ToznFDConnection& c = *database.GetDefaultConnection();
    auto clear = c.NewQuery();
    clear->SetSQLText(QStringLiteral("delete from \"LVWResultsB\""));
    clear->ExecSQL();
    auto q = c.NewQuery();
    QElapsedTimer timer;
    timer.start();
    c.StartTransaction(false);
    q->SetSQLText(QStringLiteral(
        "insert into \"LVWResultsB\" (\"SampleIdent\", \"GUID\", \"Wa\", \"Wa_bus\", \"T\", \"Info\", \"Lekv\", "
        "\"ku\", \"k038\", \"deltaWa\") values (:SampleIdent, :GUID, :Wa, :Wa_bus, :T, :Info, :Lekv, :ku, :k038, "
        ":deltaWa)"));
    for (int i = 0; i < rows; ++i) {
        q->ParamByName(QStringLiteral("SampleIdent"), 1).ParamByName(QStringLiteral("GUID"), i);
        q->ParamFloat(QStringLiteral("Wa"), 100.0 + i).ParamFloat(QStringLiteral("Wa_bus"), 5.0);
        q->ParamByName(QStringLiteral("T"), 8760).ParamByName(QStringLiteral("Info"), i);
        q->ParamFloat(QStringLiteral("Lekv"), 1.25).ParamFloat(QStringLiteral("ku"), 1.0);
        q->ParamFloat(QStringLiteral("k038"), 9.725).ParamFloat(QStringLiteral("deltaWa"), 2.5);
        q->ExecSQL();
    }
    c.Commit();
    return rows / (timer.nsecsElapsed() / 1e9);
}

}  // namespace bench
