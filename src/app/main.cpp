// The host application: the main window on a database, or a command-line job.
#include <QApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QInputDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <cstdio>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/GuideShots.h"
#include "app/MainWindow.h"
#include "app/PluginLoader.h"
#include "app/QuitOnSignals.h"
#include "feeders/FeederSampleCalculator.h"
#include "host/Database.h"
#include "host/Language.h"
#include "host/Progress.h"
#include "normative/NormativeCalculator.h"

namespace {
bool hasDisplay()
{
    const QString platform = qEnvironmentVariable("QT_QPA_PLATFORM").section(QLatin1Char(':'), 0, 0);
    if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
        return true;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return true;
    // An empty DISPLAY, or a local one whose server is not there, would stop the toolkit outright.
    const QString display = qEnvironmentVariable("DISPLAY");
    if (display.isEmpty())
        return false;
    if (!display.startsWith(QLatin1Char(':')))
        return true;  // a remote display is tried as it is
    const QString number = display.mid(1).section(QLatin1Char('.'), 0, 0);
    return QFileInfo::exists(QStringLiteral("/tmp/.X11-unix/X") + number);
}

// A message box where someone can answer it; offscreen runs only print.
void reportFailure(const QString& error)
{
    std::fprintf(stderr, "%s\n", error.toUtf8().constData());
    if (QGuiApplication::platformName() != QLatin1String("offscreen"))
        QMessageBox::critical(nullptr, QStringLiteral("ОЗН 3"), error);
}

// The login window of a server: the user's own name and password, never a stored administrator's.
bool askCredentials(const QString& host)
{
    bool ok = false;
    const QString user = QInputDialog::getText(nullptr, QStringLiteral("Вход на сервер %1").arg(host),
                                               QStringLiteral("Пользователь:"), QLineEdit::Normal, QString(), &ok);
    if (!ok || user.trimmed().isEmpty())
        return false;
    const QString password = QInputDialog::getText(nullptr, QStringLiteral("Вход на сервер %1").arg(host),
                                                   QStringLiteral("Пароль пользователя %1:").arg(user.trimmed()),
                                                   QLineEdit::Password, QString(), &ok);
    if (!ok)
        return false;
    SetServerCredentials(user.trimmed(), password);
    return true;
}

// The window's event loop: an error that a command of the window did not catch is shown to the user and
// the window goes on, instead of ending the application with the user's work.
class Application : public QApplication {
public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override
    {
        try {
            return QApplication::notify(receiver, event);
        } catch (const std::exception& e) {
            reportFailure(QString::fromUtf8(e.what()));
        } catch (...) {
            reportFailure(QStringLiteral("Непредвиденная ошибка"));
        }
        return false;
    }
};

int runWindow(int argc, char** argv, const QString& connection)
{
    BlockStopSignals();
    Application app(argc, argv);
    UseRussianLanguage();
    QString error;
    DatabaseAddress address;
    if (DatabaseAddress::parse(connection, address, error) && address.isServer() && !HasServerCredentials() &&
        !askCredentials(address.host))
        return 1;
    std::unique_ptr<TfdbDatabase> database;
    try {
        database = TfdbDatabase::Open(connection, error);
    } catch (const std::exception& e) {
        error = QString::fromUtf8(e.what());
    }
    if (!database) {
        reportFailure(error);
        return 1;
    }
    SetCurrentDatabase(database.get());
    Ozn32Plugin plugin;
    if (!plugin.Load(Ozn32Plugin::DefaultPath(), error)) {
        reportFailure(error);
        return 1;
    }
    host::GuiProgress progress;
    host::SetProgress(&progress);
    std::unique_ptr<MainWindow> window;
    try {
        window = std::make_unique<MainWindow>(database.get(), &plugin);
    } catch (const std::exception& e) {
        host::SetProgress(nullptr);
        reportFailure(QString::fromUtf8(e.what()));
        return 1;
    }
    window->show();
    QuitOnSignals(app);
    const int code = app.exec();
    window.reset();
    host::SetProgress(nullptr);
    return code;
}
}  // namespace

namespace {
QJsonArray sizeJson(const QSize& size) { return QJsonArray{size.width(), size.height()}; }

// The pictures of the user's guide, taken on the main window of a database; one JSON line per picture
// and per problem.
int runGuideShots(int argc, char** argv, const QStringList& args)
{
    cli::TArgs a;
    QString parseError;
    if (!a.Parse(args, 1, {{"--db", "--out"}, {}, {}, 0}, parseError) || !a.Has(QStringLiteral("--db")) ||
        !a.Has(QStringLiteral("--out"))) {
        std::fprintf(stderr, "%s\nУкажите --db и --out\n", parseError.toUtf8().constData());
        return 2;
    }
    const QString folder = a.Value(QStringLiteral("--out")), connection = a.Value(QStringLiteral("--db"));
    if (!hasDisplay()) {
        std::fprintf(stderr, "Нет дисплея: задайте QT_QPA_PLATFORM=offscreen\n");
        return 2;
    }
    Application app(argc, argv);
    UseRussianLanguage();
    QString error;
    std::unique_ptr<TfdbDatabase> database;
    try {
        database = TfdbDatabase::Open(connection, error);
    } catch (const std::exception& e) {
        error = QString::fromUtf8(e.what());
    }
    Ozn32Plugin plugin;
    if (!database || !plugin.Load(Ozn32Plugin::DefaultPath(), error)) {
        std::fprintf(stderr, "%s\n", error.toUtf8().constData());
        return 1;
    }
    SetCurrentDatabase(database.get());
    TGuideShots shots;
    {
        MainWindow window(database.get(), &plugin);
        shots = TakeGuideShots(window, folder);
    }
    for (const TGuideShot& shot : shots.Shots) {
        const QJsonObject line{{"file", shot.File},
                               {"title", shot.Title},
                               {"window", sizeJson(shot.Window)},
                               {"content", sizeJson(shot.Content)},
                               {"texts", QJsonArray::fromStringList(shot.Texts)}};
        std::printf("%s\n", QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
    }
    for (const QString& problem : shots.Problems)
        std::printf("%s\n",
                    QJsonDocument(QJsonObject{{"problem", problem}}).toJson(QJsonDocument::Compact).constData());
    return shots.Problems.isEmpty() ? 0 : 1;
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
    if (command == QLatin1String("scheme") && args.value(1) == QLatin1String("draw")) {
        // Painting needs the GUI module's fonts, not a screen: offscreen when there is no display.
        if (!hasDisplay())
            qputenv("QT_QPA_PLATFORM", "offscreen");
        QGuiApplication app(argc, argv);
        return cli::SchemeJob(args);
    }
    if (command == QLatin1String("scheme") || command == QLatin1String("conductors") ||
        command == QLatin1String("substation")) {
        QCoreApplication app(argc, argv);
        return cli::SchemeJob(args);
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
    if (!hasDisplay()) {
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
