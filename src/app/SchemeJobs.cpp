// LV schemes and the conductor catalogue in and out of workbooks, and a substation to load them into,
// without a window.
#include <cstdio>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/TextLimits.h"
#include "host/scheme/ConductorCatalogue.h"
#include "host/scheme/SchemeBookFile.h"
#include "host/scheme/SchemeStore.h"
#include "host/scheme/Substations.h"

namespace cli {

namespace {
const char* const kImportUsage =
    "Использование: ozn3 scheme import FILE --db CONNECTION --node IDENT [--sample IDENT] [--replace]";
const char* const kExportUsage = "Использование: ozn3 scheme export --db CONNECTION --node IDENT FILE [--sample IDENT]";
const char* const kConductorsUsage =
    "Использование: ozn3 conductors import FILE --db CONNECTION [--overwrite] | conductors export FILE --db CONNECTION";
const char* const kSubstationUsage = "Использование: ozn3 substation add --db CONNECTION --name NAME [--owner GUID]";
const char* const kUsage =
    "Использование:\n"
    "  ozn3 scheme import FILE --db CONNECTION --node IDENT [--sample IDENT] [--replace]\n"
    "  ozn3 scheme export --db CONNECTION --node IDENT FILE [--sample IDENT]\n"
    "  ozn3 scheme draw --db CONNECTION --node GUID [--sample IDENT] [--color voltage|loading|losses] "
    "FILE.png|FILE.pdf\n"
    "  ozn3 conductors import FILE --db CONNECTION [--overwrite]\n"
    "  ozn3 conductors export FILE --db CONNECTION\n"
    "  ozn3 substation add --db CONNECTION --name NAME [--owner GUID]";

// A refusal of the command's words: the reason, then the usage of that command.
int Usage(const QString& error, const char* usage)
{
    err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) + QString::fromUtf8(usage));
    return 2;
}

std::unique_ptr<TfdbDatabase> Open(const TArgs& a)
{
    QString error;
    auto database = TfdbDatabase::Open(a.Value(QStringLiteral("--db")), error);
    if (!database)
        err(error);
    return database;
}

// Every problem of a refused workbook with its cell, then how many there were.
void PrintRefusal(const std::vector<scheme::TBookProblem>& problems, const QString& what)
{
    for (const QString& p : scheme::ProblemTexts(problems))
        err(p);
    err(QStringLiteral("%1: ошибок %2; в базе ничего не изменено").arg(what).arg(problems.size()));
}

// The file of a workbook command, its database and, for a scheme, the substation and the interval; the
// exit code when any of them is wrong.
struct SchemeCommand {
    QString file;
    int node = 0, sample = 0;
    TArgs args;
    std::unique_ptr<TfdbDatabase> database;
    int Parse(const QStringList& words, const TOptionKinds& kinds, const char* usage, bool scheme = true)
    {
        QString error;
        if (!args.Parse(words, 2, kinds, error) || args.PositionalCount() != 1 || !args.Has(QStringLiteral("--db")))
            return Usage(error.isEmpty() && !args.Has(QStringLiteral("--db")) && args.PositionalCount() == 1
                             ? QStringLiteral("Не указана база данных (--db)")
                             : error,
                         usage);
        file = args.Positional(0);
        if (scheme && (!args.Int(QStringLiteral("--node"), true, node, error) ||
                       !args.Int(QStringLiteral("--sample"), false, sample, error)))
            return Usage(error, usage);
        database = Open(args);
        if (!database)
            return 1;
        if (sample && !database->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sample)) {
            err(QStringLiteral("Интервал %1 не найден в базе данных").arg(sample));
            return 1;
        }
        return 0;
    }
};

int SchemeImport(const QStringList& args)
{
    SchemeCommand command;
    if (const int code = command.Parse(args, {{"--db", "--node", "--sample"}, {}, {"--replace"}, 1}, kImportUsage))
        return code;
    const QString& file = command.file;
    const int node = command.node;
    auto& database = command.database;
    const int sample = command.sample;
    std::vector<scheme::TBookProblem> problems;
    const scheme::TSchemeBook book = scheme::ReadSchemeBookFile(file, problems);
    scheme::TImportSummary summary;
    const scheme::TImportOptions options{node, sample, command.args.Has(QStringLiteral("--replace"))};
    if (problems.empty())
        scheme::TSchemeStore(*database->GetDefaultConnection()).Import(book, options, summary, problems);
    if (!problems.empty()) {
        PrintRefusal(problems, QStringLiteral("Схема не загружена"));
        if (!options.Replace &&
            !scheme::TSchemeStore(*database->GetDefaultConnection()).FidersWithSchemes(book, node).isEmpty())
            err(QStringLiteral("Чтобы заменить схемы линий, которые уже есть в базе, добавьте --replace"));
        return 1;
    }
    out(summary.ToString());
    return 0;
}

int SchemeExport(const QStringList& args)
{
    SchemeCommand command;
    if (const int code = command.Parse(args, {{"--db", "--node", "--sample"}, {}, {}, 1}, kExportUsage))
        return code;
    const QString& file = command.file;
    const int node = command.node, sample = command.sample;
    auto& database = command.database;
    scheme::TSchemeBook book;
    QString error;
    if (!scheme::TSchemeStore(*database->GetDefaultConnection()).Export(node, sample, book, error) ||
        !scheme::WriteSchemeBook(file, book, error)) {
        err(error);
        return 1;
    }
    out(QStringLiteral("Выгружено: участков %1, абонентов %2 в %3")
            .arg(book.Sections.size())
            .arg(book.Consumers.size())
            .arg(file));
    return 0;
}

int ConductorsImport(const QStringList& args)
{
    SchemeCommand command;
    if (const int code = command.Parse(args, {{"--db"}, {}, {"--overwrite"}, 1}, kConductorsUsage, false))
        return code;
    const QString& file = command.file;
    auto& database = command.database;
    std::vector<scheme::TBookProblem> problems;
    const auto rows = scheme::ReadConductorBook(file, problems);
    if (!problems.empty()) {
        PrintRefusal(problems, QStringLiteral("Справочник проводов не загружен"));
        return 1;
    }
    int added = 0, updated = 0;
    QString error;
    const bool overwrite = command.args.Has(QStringLiteral("--overwrite"));
    if (!scheme::TConductorStore(*database->GetDefaultConnection()).Import(rows, added, updated, error, overwrite)) {
        err(error);
        if (error.contains(QStringLiteral("после выгрузки книги")))
            err(QStringLiteral("Чтобы записать значения книги поверх, добавьте --overwrite"));
        return 1;
    }
    out(QStringLiteral("Справочник проводов: добавлено %1, обновлено %2").arg(added).arg(updated));
    return 0;
}

int ConductorsExport(const QStringList& args)
{
    SchemeCommand command;
    if (const int code = command.Parse(args, {{"--db"}, {}, {}, 1}, kConductorsUsage, false))
        return code;
    const QString& file = command.file;
    auto& database = command.database;
    const auto rows = scheme::TConductorStore(*database->GetDefaultConnection()).Read();
    QString error;
    if (!scheme::WriteConductorBook(file, rows, error)) {
        err(error);
        return 1;
    }
    out(QStringLiteral("Выгружено проводов: %1 в %2").arg(rows.size()).arg(file));
    return 0;
}

int SubstationAdd(const QStringList& args)
{
    TArgs a;
    QString error;
    int owner = 0;
    if (!a.Parse(args, 2, {{"--db", "--name", "--owner"}, {}, {}, 0}, error) ||
        !a.Int(QStringLiteral("--owner"), false, owner, error))
        return Usage(error, kSubstationUsage);
    const QString name = a.Value(QStringLiteral("--name")).simplified();
    if (name.isEmpty())
        return Usage(QStringLiteral("Не указано имя ТП (--name)"), kSubstationUsage);
    if (!a.Has(QStringLiteral("--db")))
        return Usage(QStringLiteral("Не указана база данных (--db)"), kSubstationUsage);
    if (!host::CheckText(name, host::kSubstationName, QStringLiteral("--name"), error)) {
        err(error);
        return 2;
    }
    auto database = Open(a);
    if (!database)
        return 1;
    const int guid = scheme::AddSubstation(*database->GetDefaultConnection(), name, owner, error);
    if (!guid) {
        err(error);
        return 1;
    }
    out(QStringLiteral("ТП «%1» добавлена, идентификатор %2").arg(name.simplified()).arg(guid));
    return 0;
}
int Dispatch(const QStringList& args)
{
    const QString object = args.value(0), action = args.value(1);
    if (object == QLatin1String("scheme") && action == QLatin1String("import"))
        return SchemeImport(args);
    if (object == QLatin1String("scheme") && action == QLatin1String("export"))
        return SchemeExport(args);
    if (object == QLatin1String("conductors") && action == QLatin1String("import"))
        return ConductorsImport(args);
    if (object == QLatin1String("conductors") && action == QLatin1String("export"))
        return ConductorsExport(args);
    if (object == QLatin1String("substation") && action == QLatin1String("add"))
        return SubstationAdd(args);
    const QString unknown = QStringLiteral("Неизвестное действие: %1 %2").arg(object, action);
    if (object == QLatin1String("substation"))
        return Usage(unknown, kSubstationUsage);
    if (object == QLatin1String("conductors"))
        return Usage(unknown, kConductorsUsage);
    return Usage(unknown, kUsage);
}
}  // namespace

int SchemeJob(const QStringList& args)
{
    try {
        return Dispatch(args);
    } catch (const EDatabaseError& e) {
        err(QStringLiteral("Ошибка базы данных: %1").arg(e.Text()));
        return 1;
    }
}

}  // namespace cli
