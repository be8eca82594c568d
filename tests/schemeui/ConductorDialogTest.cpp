// The conductor catalogue dialog offscreen: a conductor a scheme uses is not deleted, the rows are checked
// before anything is stored, and the database changes only on "Сохранить".
#include "app/ConductorDialog.h"

#include <QListWidget>
#include <QPushButton>
#include <algorithm>

#include "host/Dialogs.h"
#include "schemeui/SchemeUiFixture.h"

using namespace schemeui;
using testing_support::Fmt;

namespace {
const QString kMarka = QStringLiteral("Марка");
const QString kF = QStringLiteral("Сечение, мм²");
const QString kR0 = QStringLiteral("r0, Ом/км");
const QString kX0 = QStringLiteral("x0, Ом/км");
const QString kUnom = QStringLiteral("Напряжение, кВ");

class ConductorDialogUi : public SchemeUiTest {
protected:
    void SetUp() override
    {
        SchemeUiTest::SetUp();
        dialog_ = std::make_unique<ConductorDialog>(*c_);
        dialog_->show();
        table_ = dialog_->findChild<QTableWidget*>("GridConductors");
        ASSERT_NE(table_, nullptr);
    }
    // The row of a conductor by brand and cross-section.
    int Row(const QString& marka, const QString& f)
    {
        for (int r = 0; r < table_->rowCount(); ++r)
            if (Text(table_, r, kMarka) == marka && Text(table_, r, kF) == f)
                return r;
        return -1;
    }
    QStringList Problems() const
    {
        QStringList lines;
        auto* list = dialog_->findChild<QListWidget*>("ListProblems");
        for (int i = 0; i < list->count(); ++i)
            lines << list->item(i)->text();
        return lines;
    }
    void Click(const char* name) { dialog_->findChild<QPushButton*>(name)->click(); }

    host::ScriptedDialogs dialogs_;
    host::ScopedDialogs scoped_{&dialogs_};
    std::unique_ptr<ConductorDialog> dialog_;
    QTableWidget* table_ = nullptr;
};
}  // namespace

TEST_F(ConductorDialogUi, AConductorInUseStaysAndDeletionsWaitForSave)
{
    EXPECT_EQ(dialog_->windowTitle(), "Справочник проводов");
    EXPECT_EQ(Captions(table_),
              QStringList({"Марка", "Сечение, мм²", "r0, Ом/км", "x0, Ом/км", "Кабель", "Напряжение, кВ"}));
    const int used = Row("АСт", "50");
    ASSERT_GE(used, 0);
    EXPECT_EQ(Text(table_, used, kR0), "0,6");
    EXPECT_EQ(Text(table_, used, kUnom), "0,38");
    const int rows = table_->rowCount();

    // АСт-50 feeds "Опора 1" of Л-1: refused at once, with the place named.
    table_->setCurrentCell(used, 0);
    Click("ButtonDelete");
    EXPECT_EQ(table_->rowCount(), rows);
    EXPECT_EQ(Row("АСт", "50"), used);
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    const QString warning = dialogs_.Calls()[0].text;
    EXPECT_EQ(dialogs_.Calls()[0].icon, host::Icon::Warning);
    for (const char* place : {"АСт-50", "Л-1", "ТП-1", "Пролет 1"})
        EXPECT_TRUE(warning.contains(QString::fromUtf8(place))) << place << ": " << warning.toStdString();

    // The cable no scheme uses goes from the table, and from the database only on saving.
    const int cable = Row("КбТ", "120");
    ASSERT_GE(cable, 0);
    EXPECT_EQ(table_->item(cable, Column(table_, "Кабель"))->checkState(), Qt::Checked);
    EXPECT_EQ(table_->item(used, Column(table_, "Кабель"))->checkState(), Qt::Unchecked);
    table_->setCurrentCell(cable, 0);
    dialog_->DeleteConductor();
    EXPECT_EQ(table_->rowCount(), rows - 1);
    EXPECT_EQ(Row("КбТ", "120"), -1);
    EXPECT_TRUE(dialog_->Modified());
    EXPECT_EQ(Db("select count(*) from \"Provods\" where \"Ident\"=5003"), 1);

    Click("ButtonSave");
    EXPECT_TRUE(Problems().isEmpty()) << Problems().join('\n').toStdString();
    EXPECT_EQ(dialog_->result(), QDialog::Accepted);
    EXPECT_EQ(Db("select count(*) from \"Provods\" where \"Ident\"=5003"), 0);
    EXPECT_EQ(Db("select count(*) from \"Provods\" where \"Ident\" in (5001, 5002)"), 2);
}

TEST_F(ConductorDialogUi, ProblemsOfTheRowsBlockSavingAndNothingIsStored)
{
    const double count = Db("select count(*) from \"Provods\"");
    // A valid correction, and a new row that repeats АСт-50 with an r0 that is not a number.
    SetText(table_, Row("АСт", "35"), kR0, "0,9");
    Click("ButtonAdd");
    const int added = table_->rowCount() - 1;
    EXPECT_EQ(table_->currentRow(), added);
    SetText(table_, added, kMarka, "АСт");
    SetText(table_, added, kF, "50");
    SetText(table_, added, kR0, "абв");
    SetText(table_, added, kX0, "0.3");
    EXPECT_EQ(Text(table_, added, kUnom), "0,38");

    EXPECT_FALSE(dialog_->Save());
    // Cells are named by the table's rows, counted from 1: column A the brand, C the r0.
    const QStringList problems = Problems();
    const auto at = [&](const QString& cell) {
        return std::count_if(problems.begin(), problems.end(), [&](const QString& p) { return p.startsWith(cell); });
    };
    EXPECT_EQ(at(Fmt("Провода!A%1:", added + 1)), 1) << problems.join('\n').toStdString();
    EXPECT_EQ(at(Fmt("Провода!C%1:", added + 1)), 1) << problems.join('\n').toStdString();
    EXPECT_TRUE(dialog_->isVisible());
    EXPECT_EQ(Db("select count(*) from \"Provods\""), count);
    EXPECT_DOUBLE_EQ(Db("select \"R0\" from \"Provods\" where \"Ident\"=5002"), 0.85);

    // Another cross-section and a number: stored with the correction.
    SetText(table_, added, kF, "70");
    SetText(table_, added, kR0, "0.45");
    ASSERT_TRUE(dialog_->Save()) << Problems().join('\n').toStdString();
    EXPECT_TRUE(Problems().isEmpty());
    EXPECT_EQ(Db("select count(*) from \"Provods\""), count + 1);
    EXPECT_DOUBLE_EQ(Db("select \"R0\" from \"Provods\" where \"Marka\"='АСт' and \"F\"=70"), 0.45);
    EXPECT_DOUBLE_EQ(Db("select \"X0\" from \"Provods\" where \"Marka\"='АСт' and \"F\"=70"), 0.3);
    EXPECT_DOUBLE_EQ(Db("select t.\"Unom\" from \"Provods\" p join \"ProvodTypes\" t on t.\"Ident\"=p.\"ProvodType\" "
                        "where p.\"Marka\"='АСт' and p.\"F\"=70"),
                     0.38);
    EXPECT_EQ(Db("select coalesce(t.\"CableFlags\", 0) from \"Provods\" p join \"ProvodTypes\" t on "
                 "t.\"Ident\"=p.\"ProvodType\" where p.\"Marka\"='АСт' and p.\"F\"=70"),
              0);
    EXPECT_DOUBLE_EQ(Db("select \"R0\" from \"Provods\" where \"Ident\"=5002"), 0.9);
}

TEST_F(ConductorDialogUi, CancelAsksBeforeLosingEdits)
{
    const double count = Db("select count(*) from \"Provods\"");
    Click("ButtonAdd");
    SetText(table_, table_->rowCount() - 1, kMarka, "СИП-2");
    SetText(table_, table_->rowCount() - 1, kR0, "0.4");
    SetText(table_, Row("АСт", "50"), kX0, "0.35");

    dialogs_.AnswerMessage(host::mrNo);
    Click("ButtonCancel");
    EXPECT_TRUE(dialog_->isVisible());
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_EQ(dialogs_.Calls()[0].buttons, host::Buttons::YesNo);

    dialogs_.AnswerMessage(host::mrYes);
    dialog_->reject();
    EXPECT_FALSE(dialog_->isVisible());
    EXPECT_EQ(dialog_->result(), QDialog::Rejected);
    EXPECT_EQ(Db("select count(*) from \"Provods\""), count);
    EXPECT_DOUBLE_EQ(Db("select \"X0\" from \"Provods\" where \"Ident\"=5001"), 0.3);

    // Without edits nothing is asked.
    dialogs_.Clear();
    ConductorDialog again(*c_);
    again.show();
    again.reject();
    EXPECT_FALSE(again.isVisible());
    EXPECT_TRUE(dialogs_.Calls().isEmpty());
}
