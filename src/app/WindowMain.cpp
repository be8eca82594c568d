// The host application's windows, loaded by the command line only when a window is asked for: the main window on
// a database, and the pictures of the user's guide. The command-line jobs run without them (no Gui, no Widgets).
#include "app/WindowMain.h"

#include <QApplication>
#include <QGuiApplication>
#include <QInputDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <cstdio>

#include "app/GuideShots.h"
#include "app/MainWindow.h"
#include "app/PluginLoader.h"
#include "app/QuitOnSignals.h"
#include "host/Database.h"
#include "host/GuiProgress.h"
#include "host/Language.h"

namespace {
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

// Opens a database for the window, asking a server's login when none is known; null with the reason.
std::unique_ptr<TfdbDatabase> openForWindow(const QString& connection, QString& error)
{
    DatabaseAddress address;
    if (DatabaseAddress::parse(connection, address, error) && address.isServer() && !HasServerCredentials() &&
        !askCredentials(address.host)) {
        error = QStringLiteral("Вход на сервер %1 отменен").arg(address.host);
        return nullptr;
    }
    try {
        return TfdbDatabase::Open(connection, error);
    } catch (const std::exception& e) {
        error = QString::fromUtf8(e.what());
    }
    return nullptr;
}

int runWindow(int argc, char** argv, const QString& first)
{
    BlockStopSignals();
    Application app(argc, argv);
    UseRussianLanguage();
    Ozn32Plugin plugin;
    host::GuiProgress progress;
    QuitOnSignals(app);
    // "Файл → Открыть базу данных" closes the window and opens it again on the other database; a database that
    // does not open sends the user back to the one that was open.
    QString connection = first, previous;
    int code = 0;
    for (;;) {
        QString error;
        std::unique_ptr<TfdbDatabase> database = openForWindow(connection, error);
        if (!database) {
            reportFailure(error);
            if (previous.isEmpty())
                return 1;
            connection = previous;
            previous.clear();
            continue;
        }
        SetCurrentDatabase(database.get());
        if (!plugin.handle && !plugin.Load(Ozn32Plugin::DefaultPath(), error)) {
            SetCurrentDatabase(nullptr);
            reportFailure(error);
            return 1;
        }
        host::SetProgress(&progress);
        std::unique_ptr<MainWindow> window;
        try {
            window = std::make_unique<MainWindow>(database.get(), &plugin);
        } catch (const std::exception& e) {
            host::SetProgress(nullptr);
            SetCurrentDatabase(nullptr);
            reportFailure(QString::fromUtf8(e.what()));
            return 1;
        }
        window->show();
        code = app.exec();
        const QString next = window->NextDatabase();
        window.reset();
        host::SetProgress(nullptr);
        SetCurrentDatabase(nullptr);
        if (next.isEmpty())
            return code;
        previous = connection;
        connection = next;
    }
}
}  // namespace

namespace {
QJsonArray sizeJson(const QSize& size) { return QJsonArray{size.width(), size.height()}; }

// The pictures of the user's guide, taken on the main window of a database; one JSON line per picture
// and per problem.
int runGuideShots(int argc, char** argv, const QString& connection, const QString& folder)
{
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

extern "C" int ozn3_run_window(int argc, char** argv, const char* connection)
{
    try {
        return runWindow(argc, argv, QString::fromUtf8(connection));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}

extern "C" int ozn3_run_guide_shots(int argc, char** argv, const char* connection, const char* folder)
{
    try {
        return runGuideShots(argc, argv, QString::fromUtf8(connection), QString::fromUtf8(folder));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
