// The main window's "Файл" and "Справка": another database, the last ones opened, the database's properties,
// the user's guide and what the program is.
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QTableWidget>
#include <QVBoxLayout>

#include "app/GuideWindow.h"
#include "app/MainWindow.h"
#include "host/Database.h"
#include "host/DatabaseSummary.h"
#include "host/Dialogs.h"
#include "host/InitOZN.h"

namespace {
const char* const kSection = "MainWindow";
const char* const kRecentKey = "RecentDatabases";
constexpr int kRecentCount = 6;

QStringList recentDatabases()
{
    return Init(true)
        ->LoadStrParam(QLatin1String(kSection), QLatin1String(kRecentKey))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// The database opened goes to the top of the list.
void rememberDatabase(const QString& connection)
{
    QStringList recent = recentDatabases();
    recent.removeAll(connection);
    recent.prepend(connection);
    while (recent.size() > kRecentCount)
        recent.removeLast();
    Init(true)->SaveStrParam(QLatin1String(kSection), QLatin1String(kRecentKey), recent.join(QLatin1Char('\n')));
}
}  // namespace

QStringList MainWindow::RecentDatabases() { return recentDatabases(); }

void MainWindow::BuildFileMenu(QMenu* file)
{
    rememberDatabase(database_->ConnectionString());
    QAction* open = file->addAction(QStringLiteral("&Открыть базу данных…"), this, [this] {
        const QString chosen = ChooseDatabaseFile();
        if (!chosen.isEmpty())
            SwitchTo(chosen);
    });
    open->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_O));
    file->addAction(QStringLiteral("Подключиться к &серверу…"), this, [this] {
        QString address;
        if (!host::dialogs().InputQuery(QStringLiteral("База данных на сервере"),
                                        QStringLiteral("Адрес базы данных (сервер[/порт]:путь на сервере):"),
                                        address) ||
            address.trimmed().isEmpty())
            return;
        SwitchTo(address.trimmed());
    });
    QMenu* recent = file->addMenu(QStringLiteral("&Последние базы данных"));
    recent->setObjectName(QStringLiteral("menuRecent"));
    connect(recent, &QMenu::aboutToShow, this, [this, recent] {
        recent->clear();
        for (const QString& connection : recentDatabases()) {
            QAction* a = recent->addAction(connection, this, [this, connection] { SwitchTo(connection); });
            a->setEnabled(connection != database_->ConnectionString());
        }
    });
    file->addAction(QStringLiteral("Сво&йства базы данных…"), this, &MainWindow::ShowDatabaseProperties);
    file->addSeparator();
}

void MainWindow::BuildHelpMenu()
{
    QMenu* help = menuBar()->addMenu(QStringLiteral("Спра&вка"));
    QAction* guide = help->addAction(QStringLiteral("&Руководство пользователя"), this, [this] { OpenGuide(this); });
    // F1 itself is caught for every window of the application (TGuideKey); the menu shows the key.
    guide->setShortcut(QKeySequence(Qt::Key_F1));
    guide->setShortcutContext(Qt::WidgetShortcut);
    help->addAction(QStringLiteral("&О программе"), this, [this] {
        host::dialogs().Message(
            QStringLiteral("О программе"),
            QStringLiteral("ОЗН 3 — расчет технических потерь электроэнергии в сетях 0,38 кВ\n"
                           "Библиотека ozn32lib, Qt %1\n\nБаза данных: %2\nПользователь: %3")
                .arg(QString::fromLatin1(qVersion()), database_->ConnectionString(), database_->UserName()),
            host::Icon::Information, host::Buttons::Ok);
    });
    guideKey_ = new TGuideKey(this);
    qApp->installEventFilter(guideKey_);
}

void MainWindow::SwitchTo(const QString& connection)
{
    QString error;
    DatabaseAddress address;
    if (!DatabaseAddress::parse(connection, address, error)) {
        host::ShowWarning(error);
        return;
    }
    if (connection == database_->ConnectionString())
        return;
    // A file that is not there is said here, while the window and its database are still open.
    if (!address.isServer() && !QFileInfo::exists(address.path)) {
        host::ShowWarning(QStringLiteral("Файл базы данных не найден: %1").arg(address.path));
        return;
    }
    nextDatabase_ = connection;
    // The entry of the windows opens the database and a new main window on it once this one is gone.
    if (!close())
        nextDatabase_.clear();
}

void MainWindow::ShowDatabaseProperties()
{
    QDialog dialog(this);
    dialog.setObjectName(QStringLiteral("DatabaseProperties"));
    dialog.setWindowTitle(QStringLiteral("Свойства базы данных"));
    auto* layout = new QVBoxLayout(&dialog);
    const std::vector<host::TDatabaseFact> facts = host::DatabaseSummary(*database_);
    auto* table = new QTableWidget(static_cast<int>(facts.size()), 2, &dialog);
    table->setObjectName(QStringLiteral("GridProperties"));
    table->horizontalHeader()->hide();
    table->verticalHeader()->hide();
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int r = 0; r < static_cast<int>(facts.size()); ++r) {
        table->setItem(r, 0, new QTableWidgetItem(facts[r].Caption));
        auto* value = new QTableWidgetItem(facts[r].Value);
        value->setToolTip(facts[r].Value);
        table->setItem(r, 1, value);
    }
    table->resizeColumnsToContents();
    table->horizontalHeader()->setStretchLastSection(true);
    layout->addWidget(table);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    dialog.resize(560, 420);
    dialog.exec();
}
