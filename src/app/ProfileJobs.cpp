// Metering profiles without a window: a file of consumers' and head meters' readings into a substation.
#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/profiles/ProfileStore.h"

namespace cli {

namespace {
const char* const kUsage = "Использование: ozn3 profiles import FILE --db CONNECTION --node GUID [--sample IDENT] "
                           "[--replace]";

int Import(const QStringList& args)
{
    TArgs a;
    QString error;
    int node = 0, sample = 0;
    if (!a.Parse(args, 2, {{"--db", "--node", "--sample"}, {}, {"--replace"}, 1}, error) ||
        !a.Int(QStringLiteral("--node"), true, node, error) ||
        !a.Int(QStringLiteral("--sample"), false, sample, error) || a.PositionalCount() != 1 ||
        !a.Has(QStringLiteral("--db"))) {
        err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) + QString::fromUtf8(kUsage));
        return 2;
    }
    const QString file = a.Positional(0), connection = a.Value(QStringLiteral("--db"));
    auto database = TfdbDatabase::Open(connection, error);
    if (!database) {
        err(error);
        return 1;
    }
    const profiles::TProfileLoad load = profiles::LoadProfileFile(*database->GetDefaultConnection(), file, node, sample,
                                                                  a.Has(QStringLiteral("--replace")));
    if (!load.Stored) {
        for (const QString& p : load.Problems())
            err(p);
        if (!load.Existing.isEmpty())
            err(QStringLiteral("Чтобы заменить графики, которые уже есть в базе, добавьте --replace"));
        err(QStringLiteral("Графики не загружены: ошибок %1; в базе ничего не изменено")
                .arg(load.Check.ProblemCount + load.Existing.size() + (load.Error.isEmpty() ? 0 : 1)));
        return 1;
    }
    out(load.Summary());
    return 0;
}
}  // namespace

int ProfilesJob(const QStringList& args)
{
    if (args.value(1) == QLatin1String("import"))
        return Import(args);
    err(QString::fromUtf8(kUsage));
    return 2;
}

}  // namespace cli
