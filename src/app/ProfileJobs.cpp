// Metering profiles without a window: a file of consumers' and head meters' readings into a substation.
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
    const QString file =
        Positional(args, {QStringLiteral("--db"), QStringLiteral("--node"), QStringLiteral("--sample")}, 2);
    const QString connection = Option(args, QStringLiteral("--db"));
    bool okNode = false, okSample = true;
    const int node = Option(args, QStringLiteral("--node")).toInt(&okNode);
    const QString sampleText = Option(args, QStringLiteral("--sample"));
    const int sample = sampleText.isEmpty() ? 0 : sampleText.toInt(&okSample);
    if (file.isEmpty() || connection.isEmpty() || !okNode || !okSample) {
        err(QString::fromUtf8(kUsage));
        return 2;
    }
    QString error;
    auto database = TfdbDatabase::Open(connection, error);
    if (!database) {
        err(error);
        return 1;
    }
    const profiles::TProfileLoad load = profiles::LoadProfileFile(*database->GetDefaultConnection(), file, node, sample,
                                                                  args.contains(QStringLiteral("--replace")));
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
