#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QListWidget>
#include <QRegularExpression>
#include <QStyleOptionViewItem>
#include <QToolButton>
#include <QTreeView>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/InitOZN.h"
#include "host/NumericHelpers.h"
#include "results/LVResultsColumns.h"
#include "results/LVResultsModel.h"
#include "results/UnitLVResultsGrid.h"
#include "results/UnitLVResultsTree.h"
#include "support/TestWidgets.h"

using namespace testing_support;

namespace {
constexpr int kGuidRole = TLVResultsModel::GuidRole;
}

namespace {
class Grid : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        host::SetDialogs(&dialogs_);
        root_ = IntScalar(*c_, "select first 1 guid from \"AOEnergo\"");
    }
    void TearDown() override { host::SetDialogs(nullptr); }
    host::ScriptedDialogs dialogs_;
    int root_ = 0;
};
}  // namespace

TEST_F(Grid, ColumnsCaptionsAndTheTwoColumnSets)
{
    TfrmLVResultsGrid grid;
    ASSERT_TRUE(grid.Init(db_.get(), root_));
    EXPECT_EQ(grid.windowTitle(), "Потери эл. энергии по электрическим сетям");
    EXPECT_EQ(grid.Samples()->count(), 3);
    EXPECT_EQ(grid.Periods()->currentText(), "Год");
    TLVResultsModel* m = grid.Model();
    EXPECT_EQ(m->columnCount(), static_cast<int>(EnergyColumns().size() + LineColumns().size()) + 1);
    EXPECT_EQ(grid.ColumnCaption(0), "Наименование структурного подразделения");
    EXPECT_EQ(grid.ColumnCaption(1), "Номинальное напряжение|кВ");
    EXPECT_EQ(grid.ColumnCaption(2), "Прием электроэнергии в сеть|тыс. кВт·ч");
    EXPECT_EQ(m->rowCount(), 1);
    EXPECT_EQ(m->index(0, 0).data().toString(), "АО «Облэнерго»");
    EXPECT_EQ(m->index(0, 2).data().toString(),
              FormatFloat("#,##0.000", grid.Tree()->Record().GetValue(bfWa_gen, VariantTotal)));

    // Captions wrap at words, each column as wide as the lines of its caption.
    EXPECT_EQ(m->headerData(2, Qt::Horizontal, Qt::DisplayRole).toString(),
              "Прием\nэлектроэнергии в\nсеть\nтыс. кВт·ч");
    auto* view = grid.findChild<QTreeView*>("Grid");
    for (int c = 1; c < m->columnCount(); ++c) {
        int widest = 0;
        for (const QString& line : m->headerData(c, Qt::Horizontal, Qt::DisplayRole).toString().split('\n'))
            widest = std::max(widest, view->header()->fontMetrics().horizontalAdvance(line));
        EXPECT_GE(view->columnWidth(c), widest) << grid.ColumnCaption(c).toStdString();
    }

    // On a 1366×768 screen every command is in sight, none behind an overflow.
    grid.show();
    grid.resize(1350, 700);
    QApplication::processEvents();
    const QList<QToolButton*> tools = grid.findChildren<QToolButton*>(QRegularExpression("^btn"));
    EXPECT_GE(tools.size(), 11);
    for (QToolButton* b : tools) {
        EXPECT_TRUE(b->isVisible()) << b->objectName().toStdString();
        EXPECT_TRUE(grid.rect().contains(QRect(b->mapTo(&grid, QPoint(0, 0)), b->size())))
            << b->objectName().toStdString();
        EXPECT_GE(b->width(), b->sizeHint().width()) << b->objectName().toStdString();  // the caption is whole
    }

    // The column set-up shows every caption whole.
    bool whole = false;
    CloseNextModal(QDialog::Rejected, [&](QDialog* d) {
        auto* list = d->findChild<QListWidget*>();
        ASSERT_NE(list, nullptr);
        // What an item needs: its check box and its caption, as the list's delegate measures them.
        int widest = 0;
        for (int i = 0; i < list->count(); ++i) {
            QStyleOptionViewItem option;
            option.initFrom(list);
            option.features |= QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDisplay;
            widest = std::max(widest, list->itemDelegate()->sizeHint(option, list->model()->index(i, 0)).width());
        }
        whole = list->viewport()->width() >= widest && d->width() <= 1366 && d->height() <= 768;
    });
    grid.findChild<QToolButton*>("btnColumns")->click();
    EXPECT_TRUE(whole);

    grid.findChild<QToolButton*>("btnPower")->click();
    EXPECT_FALSE(grid.EnergyShown());
    EXPECT_FALSE(grid.findChild<QToolButton*>("btnEnergy")->isChecked());
    EXPECT_EQ(grid.ColumnCaption(2), "Мощность головного участка  (прием)|кВт");
    EXPECT_EQ(m->columnCount(), static_cast<int>(PowerColumns().size() + LineColumns().size()) + 1);

    // Rows of a level switched off are left out, their children keep their place.
    std::array<bool, 8> rows;
    rows.fill(true);
    rows[0] = false;
    grid.SetVisibleRows(rows);
    EXPECT_EQ(m->rowCount(), grid.Tree()->ChildCount());
    EXPECT_EQ(Init(true)->LoadStrParam("LVResultsGrid", "RowsResults"), "01111111");
}

TEST_F(Grid, LevelColoursWithTheSectionsOwnSetting)
{
    TfrmLVResultsGrid grid;
    ASSERT_TRUE(grid.Init(db_.get(), root_));
    grid.SetLevelColor(4, QColor(10, 20, 30));
    Init(true)->SaveIntParam("LVResultsGrid", "ColorLevels4", 0x00FF00);  // the array's entry does not count
    grid.SetLevelColor(3, QColor(200, 100, 50));
    TLVResultsModel* m = grid.Model();
    QModelIndex section, center, lv;
    for (QModelIndex i = m->index(0, 0); i.isValid(); i = m->index(0, 0, i)) {
        const int level = i.data(Qt::UserRole + 2).toInt();
        if (level == 3)
            center = i;
        if (level == 4)
            section = i;
        if (level == 7)
            lv = i;
    }
    ASSERT_TRUE(section.isValid() && center.isValid() && lv.isValid());
    EXPECT_EQ(section.data(Qt::BackgroundRole).value<QBrush>().color(), QColor(10, 20, 30));
    EXPECT_EQ(center.data(Qt::BackgroundRole).value<QBrush>().color(), QColor(200, 100, 50));
    EXPECT_FALSE(lv.data(Qt::BackgroundRole).isValid());  // LV feeders keep the default colour
}

TEST_F(Grid, DeletingARowAndClearingTheTable)
{
    TfrmLVResultsGrid grid;
    ASSERT_TRUE(grid.Init(db_.get(), root_));
    const int sample = grid.Samples()->currentData().toInt();
    const int lv = IntScalar(*c_, Fmt("select first 1 guid from \"LVResults\" where "
                                      "\"SampleIdent\"=%1 order by guid",
                                      sample));
    grid.SelectGUID(lv);
    const QString name = grid.View()->currentIndex().data().toString();
    const QModelIndex parent = grid.View()->currentIndex().parent();
    const int siblings = grid.Model()->rowCount(parent);
    dialogs_.AnswerMessage(host::mrNo);
    grid.DeleteSelected();
    EXPECT_EQ(dialogs_.Calls().last().text, "Удалить результаты расчета по фидеру " + name + " ?");
    EXPECT_EQ(dialogs_.Calls().last().icon, host::Icon::Question);
    EXPECT_EQ(Scalar(*c_, Fmt("select count(*) from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2", lv, sample)),
              1);
    const int parentGuid = parent.data(kGuidRole).toInt();
    grid.DeleteSelected();  // yes
    EXPECT_EQ(Scalar(*c_, Fmt("select count(*) from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2", lv, sample)),
              0);
    EXPECT_EQ(dialogs_.Calls().last().text, "Удалено результатов расчета: 1");
    auto rowsUnder = [&](int guid) {
        const QModelIndexList found =
            grid.Model()->match(grid.Model()->index(0, 0), kGuidRole, guid, 1, Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? -1 : grid.Model()->rowCount(found.first());
    };
    EXPECT_EQ(rowsUnder(parentGuid), siblings - 1);

    // A result stored without a calculation type is shown as type 0, and deleted as shown.
    const int untyped = IntScalar(*c_, Fmt("select first 1 guid from \"LVResults\" where "
                                           "\"SampleIdent\"=%1 order by guid",
                                           sample));
    Exec(*c_, Fmt("update \"LVResults\" set \"CalcType\"=null where guid=%1 and \"SampleIdent\"=%2", untyped, sample));
    grid.Refresh();
    grid.SelectGUID(untyped);
    ASSERT_EQ(grid.View()->currentIndex().data(kGuidRole).toInt(), untyped);
    const int shownUnder = rowsUnder(grid.View()->currentIndex().parent().data(kGuidRole).toInt());
    grid.DeleteSelected();
    EXPECT_EQ(
        Scalar(*c_, Fmt("select count(*) from \"LVResults\" where guid=%1", untyped)),
        Scalar(*c_, Fmt("select count(*) from \"LVResults\" where guid=%1 and \"SampleIdent\"<>%2", untyped, sample)));
    EXPECT_EQ(dialogs_.Calls().last().text, "Удалено результатов расчета: 1");

    // A row whose result somebody else deleted meanwhile stays, with a message: nothing was deleted here.
    const int gone = IntScalar(*c_, Fmt("select first 1 guid from \"LVResults\" where "
                                        "\"SampleIdent\"=%1 order by guid",
                                        sample));
    grid.SelectGUID(gone);
    const QModelIndex goneParent = grid.View()->currentIndex().parent();
    const int goneSiblings = grid.Model()->rowCount(goneParent);
    Exec(*c_, Fmt("delete from \"LVResults\" where guid=%1 and \"SampleIdent\"=%2", gone, sample));
    grid.DeleteSelected();
    EXPECT_TRUE(dialogs_.Calls().last().text.endsWith("ничего не удалено"))
        << dialogs_.Calls().last().text.toStdString();
    EXPECT_EQ(grid.Model()->rowCount(goneParent), goneSiblings);
    EXPECT_GE(shownUnder, 1);

    const QString file = folder_.Path("grid.xlsx");
    QString error;
    ASSERT_TRUE(grid.SaveXlsx(file, error)) << error.toStdString();
    EXPECT_TRUE(WorkbookTexts(file).contains("Сводные результаты расчета  "));
    EXPECT_EQ(GarbledTexts(file), QStringList());

    const int before =
        static_cast<int>(Scalar(*c_, Fmt("select count(*) from \"LVResults\" where \"SampleIdent\"=%1", sample)));
    grid.ClearTable();
    ASSERT_GE(dialogs_.Calls().size(), 2);
    EXPECT_EQ(dialogs_.Calls()[dialogs_.Calls().size() - 2].text,
              "Удалить все результаты расчетов за " + grid.Samples()->currentText() + "?");
    EXPECT_EQ(dialogs_.Calls().last().text, Fmt("Удалено результатов расчета: %1", before));
    EXPECT_EQ(Scalar(*c_, Fmt("select count(*) from \"LVResults\" where \"SampleIdent\"=%1", sample)), 0);
    EXPECT_EQ(grid.Model()->rowCount(), 0);
    EXPECT_GT(Scalar(*c_, "select count(*) from \"LVResults\""), 0);  // the other samples stay

    TfrmLVResultsGrid none;
    EXPECT_FALSE(none.Init(db_.get(), 987654));
    EXPECT_EQ(dialogs_.Calls().last().text, "Не найден GUID");
}

TEST_F(Grid, TheWorkbookIsProposedByWhatItHoldsItsPlaceIsToldAndTheGridPrintsAsShown)
{
    TfrmLVResultsGrid grid;
    ASSERT_TRUE(grid.Init(db_.get(), root_));
    const QString sample = grid.Samples()->currentText();
    dialogs_.AnswerFile(QString());  // the user looks at the proposal and cancels
    grid.findChild<QToolButton*>("btnExcel")->click();
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    const QFileInfo proposed(dialogs_.Calls()[0].initial);
    EXPECT_EQ(proposed.fileName(), "Сводные результаты — АО «Облэнерго» — " + sample + ".xlsx");
    EXPECT_EQ(proposed.dir().dirName(), "ОЗН 3");
    const QString file = folder_.Path("итоги.xlsx");
    dialogs_.AnswerFile(file);
    grid.findChild<QToolButton*>("btnExcel")->click();
    EXPECT_TRUE(QFileInfo::exists(file));
    EXPECT_EQ(dialogs_.Texts().last(), "Книга записана: " + file);

    // The printed table: the visible columns' captions and a row per row the grid shows.
    QTreeView* view = grid.findChild<QTreeView*>("Grid");
    view->expand(grid.Model()->index(0, 0));
    const QString html = grid.PrintableHtml();
    int visible = 0;
    for (int c = 0; c < grid.Model()->columnCount(); ++c)
        visible += view->isColumnHidden(c) ? 0 : 1;
    EXPECT_EQ(html.count("<th>"), visible);
    int shown = 0;  // the rows the view shows, walked as the keyboard walks them
    for (QModelIndex i = grid.Model()->index(0, 0); i.isValid(); i = view->indexBelow(i))
        ++shown;
    EXPECT_EQ(html.count("<tr>"), 1 + shown);
    EXPECT_TRUE(html.contains(QString("АО «Облэнерго»").toHtmlEscaped()));
}
