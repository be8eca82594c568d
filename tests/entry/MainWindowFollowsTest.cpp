// The main window as a user drives it offscreen: the scheme panel open from the start and following the tree,
// keeping its preset and columns; a double click that only opens; the search in the tree; forms that open on the
// element chosen.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QFile>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QTableWidget>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTreeView>
#include <map>

#include "app/MainWindow.h"
#include "app/PluginLoader.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/InitOZN.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "host/TreeSearch.h"
#include "support/MainWindowFixture.h"
#include "support/TestSupport.h"
#include "support/TestWidgets.h"

using namespace testing_support;

namespace {
// Types text as keys that carry it (any letters, not only those of a Latin keyboard).
void type(QWidget* widget, const QString& text)
{
    for (const QChar ch : text) {
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
        QApplication::sendEvent(widget, &press);
        QKeyEvent release(QEvent::KeyRelease, 0, Qt::NoModifier, QString(ch));
        QApplication::sendEvent(widget, &release);
    }
}

// A double click on an item of a view, as the window system delivers it: press, release, press with the double
// click, release.
void doubleClick(QTreeView* view, const QModelIndex& index)
{
    const QPoint at = view->visualRect(index).center();
    const QPoint global = view->viewport()->mapToGlobal(at);
    for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease, QEvent::MouseButtonDblClick,
                              QEvent::MouseButtonRelease}) {
        QMouseEvent event(type, at, global, Qt::LeftButton,
                          type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(view->viewport(), &event);
    }
}

class WindowFollows : public MainWindowTest {
protected:
    void SetUp() override
    {
        // A first start: no element chosen in an earlier session.
        Init(true)->SaveIntParam(QStringLiteral("MainWindow"), QStringLiteral("Chosen"), 0);
        MainWindowTest::SetUp();
        window_->resize(1366, 740);
        window_->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
        tree_ = window_->findChild<QTreeView*>("NetworkTree");
        // A substation with two LV feeders at least.
        substation_ = IntScalar(*c_, "select first 1 \"OwnerGUID\" from \"LVFiders\" group by \"OwnerGUID\" "
                                     "having count(*) >= 2 order by 1");
        first_ = IntScalar(*c_, Fmt("select min(guid) from \"LVFiders\" where \"OwnerGUID\"=%1", substation_));
        second_ = IntScalar(*c_, Fmt("select max(guid) from \"LVFiders\" where \"OwnerGUID\"=%1", substation_));
    }
    QModelIndex IndexOf(int guid) const
    {
        return static_cast<TreeModel*>(tree_->model())->IndexOf(db_->GetTree()->Find(guid));
    }
    // Chooses an item as a click would, and lets the window settle.
    void Choose(int guid)
    {
        tree_->setCurrentIndex(IndexOf(guid));
        QTest::qWait(400);
    }
    QString Name(int guid) const { return db_->GetTree()->Find(guid)->GetText(); }
    QTreeView* tree_ = nullptr;
    int substation_ = 0, first_ = 0, second_ = 0;
};
}  // namespace

TEST_F(WindowFollows, TheSchemePanelIsThereFromTheStartFollowsTheTreeAndKeepsItsPresetAndColumns)
{
    QDockWidget* dock = window_->DetailDock();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
    EXPECT_TRUE(dock->isVisible());
    EXPECT_EQ(window_->DetailFrame(), nullptr);
    ASSERT_NE(dock->findChild<QLabel*>("DetailHint"), nullptr);
    EXPECT_GT(dock->width(), window_->width() / 2) << "the scheme has the larger part";

    Choose(first_);
    EXPECT_EQ(window_->ShownFeeder(), first_);
    EXPECT_TRUE(dock->windowTitle().contains(Name(first_)));
    EXPECT_TRUE(dock->windowTitle().contains(Name(substation_)));
    QWidget* frame = window_->DetailFrame();
    ASSERT_NE(frame, nullptr);
    EXPECT_TRUE(frame->findChild<QTableWidget*>("GridNodes")->item(0, 0)->text().endsWith(" Линия " + Name(first_)));

    // The user's preset and a column's width.
    auto* presets = frame->findChild<QComboBox*>("cbPresets");
    presets->setCurrentIndex(1);
    emit presets->activated(1);
    frame->findChild<QTableWidget*>("GridNodes")->setColumnWidth(0, 277);

    Choose(second_);
    EXPECT_EQ(window_->ShownFeeder(), second_);
    EXPECT_TRUE(dock->windowTitle().contains(Name(second_)));
    frame = window_->DetailFrame();
    EXPECT_EQ(frame->findChild<QComboBox*>("cbPresets")->currentIndex(), 1);
    EXPECT_EQ(frame->findChild<QTableWidget*>("GridNodes")->columnWidth(0), 277);
    // A drawing of the feeder chosen is part of the panel.
    EXPECT_NE(frame->findChild<QWidget*>("SchemeView038"), nullptr);

    // The substation above: the panel keeps the line it shows, and names it.
    Choose(substation_);
    EXPECT_EQ(window_->ShownFeeder(), second_);
    EXPECT_TRUE(dock->windowTitle().contains(Name(second_)));

    // The next start opens on the element chosen last, with its scheme.
    Choose(first_);
    window_.reset();
    window_ = std::make_unique<MainWindow>(db_.get(), &plugin_);
    tree_ = window_->findChild<QTreeView*>("NetworkTree");
    EXPECT_EQ(window_->ShownFeeder(), first_);
    EXPECT_EQ(TreeModel::Item(tree_->currentIndex())->GetIdent(), first_);
}

TEST_F(WindowFollows, ADoubleClickOnASubstationOnlyOpensItsEditor)
{
    const QModelIndex index = IndexOf(substation_);
    for (QModelIndex up = index.parent(); up.isValid(); up = up.parent())
        tree_->expand(up);
    tree_->scrollTo(index);
    tree_->setCurrentIndex(index);
    QTest::qWait(100);
    const bool expanded = tree_->isExpanded(index);
    QString opened;
    CloseNextModal(QDialog::Rejected, [&](QDialog* d) { opened = d->objectName(); });
    doubleClick(tree_, index);
    EXPECT_EQ(opened, "LVFidersForm");
    EXPECT_EQ(tree_->isExpanded(index), expanded) << "the tree stays as it was under the user's next click";
    EXPECT_EQ(TreeModel::Item(tree_->currentIndex())->GetIdent(), substation_);
    // Any other item opens or closes on a double click, as trees do.
    const QModelIndex district = index.parent();
    const bool open = tree_->isExpanded(district);
    doubleClick(tree_, district);
    EXPECT_NE(tree_->isExpanded(district), open);
}

TEST_F(WindowFollows, TheSearchFindsACollapsedLineAndStepsThroughTheMatches)
{
    tree_->collapseAll();
    // A part of a line's name, and how many items of the network hold it, counted in the database.
    const QString name = Name(first_);
    const QString part = name.mid(name.indexOf(QLatin1Char(' ')) + 1, 6);
    ASSERT_GE(part.size(), 4);
    const int expected =
        static_cast<int>(Scalar(*c_, Fmt("select count(*) from \"LVFiders\" where \"Name\" containing '%1'", part)) +
                         Scalar(*c_, Fmt("select count(*) from \"Nodes\" where \"Info\" containing '%1'", part)));
    ASSERT_GE(expected, 1);

    QTest::keyClick(tree_, Qt::Key_F, Qt::ControlModifier);
    host::TTreeSearch* search = host::TTreeSearch::Of(tree_);
    ASSERT_NE(search, nullptr);
    EXPECT_TRUE(search->isVisible());
    type(search->Edit(), part);
    EXPECT_EQ(search->Matches(), expected);
    auto current = [this] { return TreeModel::Item(tree_->currentIndex()); };
    ASSERT_NE(current(), nullptr);
    EXPECT_TRUE(current()->GetText().contains(part, Qt::CaseInsensitive));
    EXPECT_TRUE(tree_->isExpanded(tree_->currentIndex().parent())) << "opened down to the match";
    auto* count = search->findChild<QLabel*>("lblTreeSearchCount");
    EXPECT_EQ(count->text(), QStringLiteral("1 из %1").arg(expected));
    if (expected > 1) {
        ToznListItemCommon* firstMatch = current();
        QTest::keyClick(search->Edit(), Qt::Key_Return);
        EXPECT_NE(current(), firstMatch);
        EXPECT_EQ(count->text(), QStringLiteral("2 из %1").arg(expected));
    }
    // The panel follows the line found.
    QTest::qWait(400);
    if (current()->GetNodeType() == NodeType::LVFiders) {
        EXPECT_EQ(window_->ShownFeeder(), current()->GetIdent());
    }
    QTest::keyClick(search->Edit(), Qt::Key_Escape);
    EXPECT_FALSE(search->isVisible());

    // Typing in the tree searches the whole tree; a minus is a letter of a name, not "collapse".
    const QModelIndex open = tree_->currentIndex().parent();
    ASSERT_TRUE(tree_->isExpanded(open));
    tree_->setCurrentIndex(open);
    type(tree_, "Л-");
    EXPECT_TRUE(search->isVisible());
    EXPECT_EQ(search->Edit()->text(), "Л-");
    EXPECT_TRUE(tree_->isExpanded(open));
    type(search->Edit(), "нет такой линии");
    EXPECT_EQ(search->Matches(), 0);
    EXPECT_EQ(count->text(), "не найдено");
}

TEST_F(WindowFollows, FormsOpenOnTheElementChosenInTheMainWindow)
{
    tree_->collapseAll();
    Choose(substation_);
    tree_->collapseAll();
    for (const char* caption : {"Расчеты сети 0,4 кВ...", "Нормативный метод..."}) {
        int current = 0;
        bool parentOpen = false;
        CloseNextModal(QDialog::Rejected, [&](QDialog* d) {
            for (QTreeView* view : d->findChildren<QTreeView*>()) {
                if (!dynamic_cast<TreeModel*>(view->model()))
                    continue;
                if (ToznListItemCommon* item = TreeModel::Item(view->currentIndex()))
                    current = item->GetIdent();
                parentOpen = view->isExpanded(view->currentIndex().parent());
            }
        });
        QAction* action = MenuAction(*window_, caption);
        ASSERT_NE(action, nullptr) << caption;
        action->trigger();
        EXPECT_EQ(current, substation_) << caption;
        EXPECT_TRUE(parentOpen) << caption;
    }
}

TEST_F(WindowFollows, FileOpensAnotherDatabaseAndTellsThePropertiesAndF1OpensTheGuideOnTheWindowsPart)
{
    // The properties: what the database holds, counted here by SQL.
    std::map<QString, QString> facts;
    CloseNextModal(QDialog::Rejected, [&](QDialog* d) {
        auto* grid = d->findChild<QTableWidget*>("GridProperties");
        for (int r = 0; r < grid->rowCount(); ++r)
            facts[grid->item(r, 0)->text()] = grid->item(r, 1)->text();
    });
    MenuAction(*window_, "Свойства базы данных…")->trigger();
    EXPECT_EQ(facts["7 Линии 0,4 кВ"], QString::number(IntScalar(*c_, "select count(*) from \"LVFiders\"")));
    EXPECT_EQ(facts["Расчетов режима"], QString::number(IntScalar(*c_, "select count(*) from \"LVResults\"")));
    EXPECT_EQ(facts["База данных"], db_->ConnectionString());
    EXPECT_TRUE(facts["Размер"].endsWith(" МБ"));

    // The database open is the first of the last ones; a missing file or a malformed address keeps the window.
    EXPECT_EQ(MainWindow::RecentDatabases().value(0), db_->ConnectionString());
    for (const QString& wrong : {folder_.Path("нет такой.fdb"), QStringLiteral("сервер:")}) {
        dialogs_.Clear();
        window_->SwitchTo(wrong);
        EXPECT_TRUE(window_->isVisible()) << wrong.toStdString();
        EXPECT_TRUE(window_->NextDatabase().isEmpty());
        ASSERT_EQ(dialogs_.Texts().size(), 1);
    }
    // Another database: the window closes for its entry to open it.
    const QString other = folder_.Path("other.fdb");
    QFile file(other);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));  // it is opened only by the window's entry, after the close
    file.close();
    window_->ChooseDatabaseFile = [&] { return other; };
    MenuAction(*window_, "Открыть базу данных…")->trigger();
    EXPECT_FALSE(window_->isVisible());
    EXPECT_EQ(window_->NextDatabase(), other);

    // F1 over the main window opens the guide at its start of the network; over the feeder editor, at its part.
    window_->show();
    auto partShown = [](QWidget* over) {
        auto* guide = over->findChild<QDialog*>("GuideWindow");
        if (!guide)
            return QString();
        auto* text = guide->findChild<QTextBrowser*>("GuideText");
        const QString heading = text->textCursor().block().text();
        guide->close();
        return heading;
    };
    window_->activateWindow();
    QTest::keyClick(tree_, Qt::Key_F1);
    EXPECT_TRUE(partShown(window_.get()).startsWith("1. "));
    QString editorPart;
    CloseNextModal(QDialog::Rejected, [&](QDialog* d) {
        QTest::keyClick(d, Qt::Key_F1);
        editorPart = partShown(d);
    });
    Choose(substation_);
    MenuAction(*window_, "Линии 0,38 кВ ТП...")->trigger();
    EXPECT_TRUE(editorPart.startsWith("2. ")) << editorPart.toStdString();
}
