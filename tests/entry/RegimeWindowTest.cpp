// The main window's regime command driven offscreen: the regime dialog of the plug-in accepted on a
// feeder leads to a stored run, the feeder's balance and a filled scheme detail.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QGraphicsScene>
#include <QGraphicsView>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSet>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>
#include <QTreeView>

#include "app/MainWindow.h"
#include "app/PluginLoader.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "support/MainWindowFixture.h"
#include "support/TestWidgets.h"

using namespace testing_support;

namespace {
// The regime dialog answered with "По заданным нагрузкам".
constexpr int kGivenLoads = 1;
class RegimeWindow : public MainWindowTest {};
}  // namespace

TEST_F(RegimeWindow, AcceptedRegimeDialogStoresTheRunShowsTheBalanceAndFillsTheDetail)
{
    MainWindow& window = *window_;
    const int period = window.SelectedPeriod();
    ToznFDConnection& c = *db_->GetDefaultConnection();
    const int feeder = IntScalar(c, QStringLiteral("select first 1 l.\"OwnerGUID\" from \"LVLines\" l "
                                                   "group by l.\"OwnerGUID\" order by count(*) desc"));
    Exec(c, Fmt("delete from \"LVResults\" where guid=%1", feeder));
    Select(feeder);

    ModalAnswers answers(kGivenLoads);
    QStringList pages;  // of the feeder's balance window
    int symbols = 0;    // items of the drawing on its page
    answers.inspect = [&](QDialog* dialog) {
        if (auto* tabs = dialog->findChild<QTabWidget*>("PagesResults"))
            for (int t = 0; t < tabs->count(); ++t)
                pages << tabs->tabText(t);
        if (auto* view = dialog->findChild<QGraphicsView*>())
            symbols = static_cast<int>(view->scene()->items().size());
    };
    QAction* middle = MenuAction(window, "Расчет режима средних нагрузок...");
    ASSERT_NE(middle, nullptr);
    middle->trigger();
    EXPECT_EQ(answers.seen, QStringList({"frmCalcParamsMiddle", "LVResultBalancesFider"}));
    // The feeder's report shows its drawing beside the balance: at least a symbol per section of the scheme.
    EXPECT_EQ(pages, QStringList({"Баланс", "Схема линии"}));
    EXPECT_GE(symbols, IntScalar(c, Fmt("select count(*) from \"LVLines\" where \"OwnerGUID\"=%1", feeder)));

    // One run by the given loads for the chosen period, with its elements.
    const QString run = Fmt(" from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2", feeder, period);
    ASSERT_EQ(Scalar(c, "select count(*)" + run), 1);
    EXPECT_EQ(Scalar(c, "select \"LoadMode\"" + run), 0);
    const int ident = IntScalar(c, "select \"Ident\"" + run);
    EXPECT_GT(Scalar(c, Fmt("select count(*) from \"LVPResultsL\" where \"Ident\"=%1", ident)), 5);

    // The detail shows that run: every energised node has its voltage.
    auto* dock = window.findChild<QDockWidget*>("DetailDock");
    ASSERT_TRUE(dock->isVisible());
    auto* nodes = dock->findChild<QTableWidget*>("GridNodes");
    ASSERT_NE(nodes, nullptr);
    int u = 0;
    while (u < nodes->columnCount() && nodes->horizontalHeaderItem(u)->text() != "Напряжение, В")
        ++u;
    ASSERT_LT(u, nodes->columnCount());
    int withVoltage = 0;
    for (int r = 0; r < nodes->rowCount(); ++r)
        withVoltage += nodes->item(r, u)->data(Qt::DisplayRole).typeId() == QMetaType::Double ? 1 : 0;
    EXPECT_EQ(withVoltage, 1 + Scalar(c, Fmt("select count(*) from \"LVPResultsN\" where \"Ident\"=%1", ident)));

    // The scheme opens on the larger part of the window and keeps its share as the window widens.
    window.resize(1000, 700);
    QApplication::processEvents();
    const double share = static_cast<double>(dock->width()) / window.width();
    EXPECT_GT(share, 0.5);
    window.resize(1300, 700);
    QApplication::processEvents();
    EXPECT_NEAR(static_cast<double>(dock->width()) / window.width(), share, 0.02);
    // Drawn by the user to 700 px, it keeps that share, also through a slow drag of the window's edge.
    window.resizeDocks({dock}, {700}, Qt::Horizontal);
    QApplication::processEvents();
    const double drawn = static_cast<double>(dock->width()) / window.width();
    EXPECT_NEAR(drawn, 700.0 / 1300, 0.02);
    for (int w = 1301; w <= 1600; ++w) {
        window.resize(w, 700);
        QApplication::processEvents();
    }
    EXPECT_NEAR(static_cast<double>(dock->width()) / window.width(), drawn, 0.01);
}

TEST_F(RegimeWindow, ANodeAboveTheFeedersCalculatesEachOfThemAndReportsTheRefused)
{
    MainWindow& window = *window_;
    host::ScriptedDialogs& dialogs = dialogs_;
    ToznFDConnection& c = *db_->GetDefaultConnection();
    // The substation with the most LV feeders; one of them gets a conductor the catalogue lacks.
    const int tp = IntScalar(c, "select first 1 \"OwnerGUID\" from \"LVFiders\" group by "
                                "\"OwnerGUID\" order by count(*) desc, 1");
    const int feeders = IntScalar(c, Fmt("select count(*) from \"LVFiders\" where "
                                         "\"OwnerGUID\"=%1",
                                         tp));
    ASSERT_GE(feeders, 2);
    const int broken = IntScalar(c, Fmt("select first 1 l.\"OwnerGUID\" from \"LVLines\" l "
                                        "join \"LVFiders\" f on f.guid=l.\"OwnerGUID\" "
                                        "where f.\"OwnerGUID\"=%1",
                                        tp));
    Exec(c, Fmt("update \"LVLines\" set \"ProvodPhase\"=99999, \"Kind\"=0 where \"OwnerGUID\"=%1", broken));
    Exec(c, "delete from \"LVResults\"");
    Select(tp);

    ModalAnswers answers(kGivenLoads);
    MenuAction(window, "Расчет режима средних нагрузок...")->trigger();
    EXPECT_EQ(answers.seen, QStringList({"frmCalcParamsMiddle"})) << "no feeder's balance after a group";
    ASSERT_EQ(dialogs.Calls().size(), 1);
    const QString text = dialogs.Calls()[0].text;
    EXPECT_TRUE(text.startsWith(Fmt("Рассчитано линий 0,4 кВ: %1, не рассчитано: 1", feeders - 1)))
        << text.toStdString();
    EXPECT_TRUE(text.contains("нет в справочнике")) << text.toStdString();
    EXPECT_EQ(dialogs.Calls()[0].icon, host::Icon::Warning);
    EXPECT_EQ(Scalar(c, Fmt("select count(distinct guid) from \"LVResults\" where \"SampleIdent\"=%1",
                            window.SelectedPeriod())),
              feeders - 1);
}

TEST_F(RegimeWindow, TheFeederBalanceGoesToAnExportTableThatIsShownAndSaved)
{
    ToznFDConnection& c = *db_->GetDefaultConnection();
    const int feeder = IntScalar(c, "select first 1 guid from \"LVResults\" order by guid");
    Select(feeder);
    QAction* toExport = MenuAction(*window_, "Баланс линии в таблицу экспорта");
    ASSERT_NE(toExport, nullptr);
    int rows = 0;
    QString first, received;
    const QString book = folder_.Path("баланс.xlsx");
    CloseNextModal(QDialog::Rejected, [&](QDialog* d) {
        auto* grid = d->findChild<QTableWidget*>("GridExport");
        ASSERT_NE(grid, nullptr);
        rows = grid->rowCount();
        first = grid->item(0, 0)->text();
        received = grid->item(1, 1)->text();
        dialogs_.AnswerFile(book);
        d->findChild<QPushButton*>("btnSave")->click();
    });
    toExport->trigger();
    EXPECT_GT(rows, 50);
    EXPECT_EQ(first, "Номинальное напряжение, кВ");
    // Saved with its numbers as numbers: the received energy is the stored one.
    const QString sheet = QString::fromUtf8(ReadZipEntry(book, "xl/worksheets/sheet1.xml"));
    // Title in row 1, the header in row 3, then the rows: the received energy is the second, in row 5.
    const QRegularExpression b5(QStringLiteral("<c r=\"B5\"( s=\"\\d+\")?><v>([^<]*)</v>"));
    const auto m = b5.match(sheet);
    ASSERT_TRUE(m.hasMatch()) << sheet.left(400).toStdString();
    double shown = 0;
    ASSERT_TRUE(ParseFloat(received, shown)) << received.toStdString();
    EXPECT_NEAR(m.captured(2).toDouble(), shown, 1e-9);
    const double stored = Scalar(c, Fmt("select sum(wa.\"Wa_gen\") from \"LVWResultsAdd\" wa join \"LVResults\" mv on "
                                        "mv.\"Ident\"=wa.\"Ident\" where mv.guid=%1 and mv.\"SampleIdent\"=(select "
                                        "max(\"SampleIdent\") from \"LVResults\" where guid=%1)",
                                        feeder));
    EXPECT_NEAR(shown, stored, 0.0005 + 1e-9 * stored);  // shown to three decimals
}

TEST_F(RegimeWindow, TheMenusOpenFromTheKeyboardWithFileFirst)
{
    QStringList menus;
    for (QAction* a : window_->menuBar()->actions())
        menus << a->text();
    EXPECT_EQ(menus, QStringList({"&Файл", "&Сеть 0,4 кВ", "Спр&авочники", "Спра&вка"}));
    // The menus' own letters differ too.
    QSet<QChar> menuLetters;
    for (const QString& menu : menus)
        menuLetters.insert(menu.at(menu.indexOf('&') + 1).toLower());
    EXPECT_EQ(menuLetters.size(), menus.size());
    // Within a menu each underlined letter leads to one command; no key stands for two commands.
    QSet<QKeySequence> keys;
    for (QAction* top : window_->menuBar()->actions()) {
        QSet<QChar> letters;
        for (QAction* a : top->menu()->actions()) {
            if (a->isSeparator())
                continue;
            const qsizetype amp = a->text().indexOf('&');
            if (amp >= 0) {
                const QChar letter = a->text().at(amp + 1).toLower();
                EXPECT_FALSE(letters.contains(letter)) << a->text().toStdString();
                letters.insert(letter);
            }
            if (!a->shortcut().isEmpty()) {
                EXPECT_FALSE(keys.contains(a->shortcut())) << a->text().toStdString();
                keys.insert(a->shortcut());
            }
        }
    }
    EXPECT_EQ(MenuAction(*window_, "Выход")->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
    EXPECT_EQ(MenuAction(*window_, "Расчет режима средних нагрузок...")->shortcut(), QKeySequence(Qt::Key_F5));
    EXPECT_GE(keys.size(), 8);
}
