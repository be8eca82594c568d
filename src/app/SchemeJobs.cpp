// LV schemes and the conductor catalogue in and out of workbooks, and a substation to load them into,
// without a window.
#include <cstdio>

#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/scheme/ConductorCatalogue.h"
#include "host/scheme/SchemeBookFile.h"
#include "host/scheme/SchemeStore.h"
#include "host/scheme/Substations.h"

namespace cli {

namespace {
const char* const kUsage = "Использование:\n"
                           "  ozn3 scheme import FILE --db CONNECTION --node IDENT [--sample IDENT] [--replace]\n"
                           "  ozn3 scheme export --db CONNECTION --node IDENT FILE [--sample IDENT]\n"
                           "  ozn3 conductors import FILE --db CONNECTION [--overwrite]\n"
                           "  ozn3 conductors export FILE --db CONNECTION\n"
                           "  ozn3 substation add --db CONNECTION --name NAME [--owner GUID]";

const QStringList kValued = {"--db", "--node", "--sample", "--name", "--owner"};

// The first argument after the command words that is neither an option nor an option's value.
QString FileArgument(const QStringList& args) { return Positional(args, kValued, 2); }

// An integer option; false (with a message) when it is given but not a number, or required and missing.
bool IntOption(const QStringList& args, const QString& name, bool required, int& value)
{
    const QString text = Option(args, name);
    value = 0;
    if (text.isEmpty()) {
        if (required)
            err(QStringLiteral("Не указан %1\n%2").arg(name, QString::fromUtf8(kUsage)));
        return !required;
    }
    bool ok = false;
    value = text.toInt(&ok);
    if (!ok)
        err(QStringLiteral("%1: «%2» не число").arg(name, text));
    return ok;
}

std::unique_ptr<TfdbDatabase> Open(const QStringList& args)
{
    const QString connection = Option(args, QStringLiteral("--db"));
    if (connection.isEmpty()) {
        err(QStringLiteral("Не указана база данных (--db)\n%1").arg(QString::fromUtf8(kUsage)));
        return nullptr;
    }
    QString error;
    auto database = TfdbDatabase::Open(connection, error);
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
    std::unique_ptr<TfdbDatabase> database;
    int Parse(const QStringList& args, bool scheme = true)
    {
        file = FileArgument(args);
        if (file.isEmpty()) {
            err(QString::fromUtf8(kUsage));
            return 2;
        }
        if (scheme && (!IntOption(args, QStringLiteral("--node"), true, node) ||
                       !IntOption(args, QStringLiteral("--sample"), false, sample)))
            return 2;
        database = Open(args);
        return database ? 0 : 1;
    }
};

int SchemeImport(const QStringList& args)
{
    SchemeCommand command;
    if (const int code = command.Parse(args))
        return code;
    const QString& file = command.file;
    const int node = command.node;
    auto& database = command.database;
    const int sample = command.sample;
    std::vector<scheme::TBookProblem> problems;
    const scheme::TSchemeBook book = scheme::ReadSchemeBookFile(file, problems);
    scheme::TImportSummary summary;
    const scheme::TImportOptions options{node, sample, args.contains(QStringLiteral("--replace"))};
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
    if (const int code = command.Parse(args))
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
    if (const int code = command.Parse(args, false))
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
    const bool overwrite = args.contains(QStringLiteral("--overwrite"));
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
    if (const int code = command.Parse(args, false))
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
    int owner = 0;
    const QString name = Option(args, QStringLiteral("--name"));
    if (name.isEmpty()) {
        err(QStringLiteral("Не указано имя ТП (--name)\n%1").arg(QString::fromUtf8(kUsage)));
        return 2;
    }
    if (!IntOption(args, QStringLiteral("--owner"), false, owner))
        return 2;
    auto database = Open(args);
    if (!database)
        return 1;
    QString error;
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
    err(QString::fromUtf8(kUsage));
    return 2;
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
