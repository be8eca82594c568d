// The host application: a command-line job, or the main window on a database. The jobs need no display and load
// no Gui or Widgets; the windows are a library of their own loaded only when one is asked for.
#include <QCoreApplication>
#include <cstdio>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/RuntimeLibraries.h"
#include "feeders/SampleCalcJson.h"
#include "host/Database.h"
#include "normative/NormativeJson.h"

namespace {
using cli::HasDisplay;

template <class F> F WindowEntry(const char* name, QString& error)
{
    return cli::LibraryEntry<F>("libozn3app.so", "OZN3_WINDOWS", name, error);
}

using WindowMain = int (*)(int, char**, const char*);
using GuideShotsMain = int (*)(int, char**, const char*, const char*);

int runGuideShots(int argc, char** argv, const QStringList& args)
{
    cli::TArgs a;
    QString parseError;
    if (!a.Parse(args, 1, {{"--db", "--out"}, {}, {}, 0}, parseError) || !a.Has(QStringLiteral("--db")) ||
        !a.Has(QStringLiteral("--out"))) {
        std::fprintf(stderr, "%s\nУкажите --db и --out\n", parseError.toUtf8().constData());
        return 2;
    }
    if (!HasDisplay()) {
        std::fprintf(stderr, "Нет дисплея: задайте QT_QPA_PLATFORM=offscreen\n");
        return 2;
    }
    QString error;
    const auto entry = WindowEntry<GuideShotsMain>("ozn3_run_guide_shots", error);
    if (!entry) {
        std::fprintf(stderr, "%s\n", error.toUtf8().constData());
        return 1;
    }
    return entry(argc, argv, a.Value(QStringLiteral("--db")).toUtf8().constData(),
                 a.Value(QStringLiteral("--out")).toUtf8().constData());
}

int runWindow(int argc, char** argv, const QString& connection)
{
    QString error;
    const auto entry = WindowEntry<WindowMain>("ozn3_run_window", error);
    if (!entry) {
        std::fprintf(stderr, "%s\n", error.toUtf8().constData());
        return 1;
    }
    return entry(argc, argv, connection.toUtf8().constData());
}
}  // namespace

int runCommand(int argc, char** argv)
{
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    const QString command = args.value(0);
    if (command == QLatin1String("--help") || command == QLatin1String("-h") || command == QLatin1String("help")) {
        std::fputs(cli::HelpText().toUtf8().constData(), stdout);
        return 0;
    }
    if (command == QLatin1String("guide-shots"))
        return runGuideShots(argc, argv, args);
    // Command-line jobs need no display.
    if (command == QLatin1String("calc")) {
        QCoreApplication app(argc, argv);
        if (args.size() > 2) {
            std::fprintf(stderr,
                         "Лишний аргумент: %s\nИспользование: ozn3 calc normative|feeder-sample < входные строки\n",
                         args.at(2).toUtf8().constData());
            return 2;
        }
        if (args.value(1) == QLatin1String("normative"))
            return cli::CalcLines(&normative::CalculateJsonLine);
        if (args.value(1) == QLatin1String("feeder-sample"))
            return cli::CalcLines(&feeders::CalculateSampleJsonLine);
        std::fprintf(stderr, "Неизвестный расчет: %s (normative, feeder-sample)\n", args.value(1).toUtf8().constData());
        return 2;
    }
    if (command == QLatin1String("results")) {
        QCoreApplication app(argc, argv);
        return cli::Results(args);
    }
    if (command == QLatin1String("regime")) {
        QCoreApplication app(argc, argv);
        return cli::Regime(args);
    }
    // The drawing paints with the GUI module: the drawing library is loaded for it, still without widgets.
    if (command == QLatin1String("scheme") && args.value(1) == QLatin1String("draw"))
        return cli::SchemeDraw(argc, argv, args);
    if (command == QLatin1String("scheme") || command == QLatin1String("conductors") ||
        command == QLatin1String("substation")) {
        QCoreApplication app(argc, argv);
        return cli::SchemeJob(args);
    }
    if (command == QLatin1String("profiles")) {
        QCoreApplication app(argc, argv);
        return cli::ProfilesJob(args);
    }
    if (command == QLatin1String("measured")) {
        QCoreApplication app(argc, argv);
        return cli::Measured(args);
    }
    if (command == QLatin1String("workbook")) {
        QCoreApplication app(argc, argv);
        return cli::WorkbookJob(args);
    }
    if (command == QLatin1String("users")) {
        QCoreApplication app(argc, argv);
        return cli::Users(args);
    }
    if (command == QLatin1String("normative")) {
        QCoreApplication app(argc, argv);
        return cli::NormativeBatch(args);
    }
    if (command == QLatin1String("init-db") || command == QLatin1String("demo-db") ||
        command == QLatin1String("stats")) {
        QCoreApplication app(argc, argv);
        if (command == QLatin1String("init-db"))
            return cli::InitDb(args);
        if (command == QLatin1String("demo-db"))
            return cli::DemoDb(args);
        return cli::Stats(args);
    }
    if (!command.isEmpty() && command != QLatin1String("--db")) {
        std::fprintf(stderr, "Неизвестная команда: %s\n\n%s", argv[1], cli::HelpText().toUtf8().constData());
        return 2;
    }
    cli::TArgs window;
    QString error;
    if (!window.Parse(args, 0, {{"--db"}, {}, {}, 0}, error)) {
        std::fprintf(stderr, "%s\n", error.toUtf8().constData());
        return 2;
    }
    const QString connection =
        window.Has(QStringLiteral("--db")) ? window.Value(QStringLiteral("--db")) : DefaultDatabasePath();
    if (!HasDisplay()) {
        std::fprintf(stderr, "Нет дисплея: главное окно не открыть. Сводка по базе данных:\n");
        QCoreApplication app(argc, argv);
        return cli::Stats(connection);
    }
    return runWindow(argc, argv, connection);
}

int main(int argc, char** argv)
{
    // A database error (a right the user lacks, a lost server) ends a command with its message, never
    // with an abort.
    try {
        return runCommand(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
