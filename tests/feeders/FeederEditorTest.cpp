#include <gtest/gtest.h>

#include <QCalendarWidget>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFont>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <tuple>

#include "feeders/DataMod.h"
#include "feeders/LVFidersUnit.h"
#include "host/Database.h"
#include "host/DesktopDialogs.h"
#include "host/Dialogs.h"
#include "host/EditConstraints.h"
#include "host/HostCommands.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "support/TestWidgets.h"

using namespace testing_support;

namespace {
void type(QLineEdit* box, const QString& text)
{
    box->setText(text);
    emit box->textEdited(text);
}

// The editor on the first substation with several LV feeders, as ShowLVFiders opens it.
class Editor : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        SetCurrentDatabase(db_.get());
        host::SetDialogs(&dialogs_);
        node_ = IntScalar(*c_, "select first 1 \"OwnerGUID\" from \"LVFiders\" group by \"OwnerGUID\" "
                               "having count(*) >= 3 order by \"OwnerGUID\"");
        c_->StartTransaction(false);
        form_ = std::make_unique<TLVFidersForm>(nullptr, *c_);
        form_->SetRepData(new TRep_Data(form_.get(), *c_));
        form_->SetNode(node_);
        form_->OpenFiders();
        ASSERT_TRUE(form_->NodeFound());
    }
    void TearDown() override
    {
        form_.reset();
        if (c_->inTransaction())
            c_->Commit();
        SetCurrentDatabase(nullptr);
        host::SetDialogs(nullptr);
    }
    QLineEdit* Box(const char* name) { return form_->Edit(QString::fromLatin1(name)); }
    QString Result(const char* name) { return form_->findChild<QLabel*>(QString::fromLatin1(name))->text(); }
    QPushButton* Button(const char* name) { return form_->findChild<QPushButton*>(QString::fromLatin1(name)); }
    QListWidget* fiders() { return form_->findChild<QListWidget*>("FidersList"); }

    host::ScriptedDialogs dialogs_;
    std::unique_ptr<TLVFidersForm> form_;
    int node_ = 0;
};
}  // namespace

TEST_F(Editor, TypingMeasuredValuesRecalculatesTheSample)
{
    ASSERT_NE(form_->CurrentSample(), nullptr);
    EXPECT_FALSE(Result("lblTau").isEmpty());  // the stored sample is shown with its results
    for (const char* phase : {"A", "B", "C"}) {
        type(Box((std::string("EditI") + phase).c_str()), "100");
        type(Box((std::string("EditU") + phase).c_str()), "230");
        type(Box((std::string("EditU2") + phase).c_str()), "220");
    }
    const auto& r = form_->LastResult();
    ASSERT_EQ(r.status, TLVFiderSampleCalc::Status::Done);
    EXPECT_EQ(Result("lblUmean"), "230,00");
    EXPECT_EQ(Result("lblU2mean"), "220,00");
    EXPECT_EQ(Result("lblDU"), "4,348");
    EXPECT_EQ(Result("lblKdp"), "1,000");
    EXPECT_EQ(Result("lblP"), FormatFloat("0.00", r.P));
    EXPECT_DOUBLE_EQ(form_->CurrentSample()->P, r.P);
    EXPECT_DOUBLE_EQ(form_->CurrentSample()->DP, r.DP);
    EXPECT_TRUE(Button("btnSave")->isEnabled());

    // A far-point voltage above the head: a warning, and the stored values stay.
    const double dp = form_->CurrentSample()->DP;
    type(Box("EditU2B"), "240");
    ASSERT_EQ(dialogs_.Texts(), QStringList({"Неверные данные"}));
    EXPECT_EQ(dialogs_.Calls()[0].caption, "ОЗН 3");
    EXPECT_EQ(dialogs_.Calls()[0].icon, host::Icon::Warning);
    EXPECT_DOUBLE_EQ(form_->CurrentSample()->DP, dp);

    // Saved: the row is in the database.
    type(Box("EditU2B"), "220");
    Button("btnSave")->click();
    const QDate date = form_->CurrentDate();
    EXPECT_DOUBLE_EQ(Db(Fmt("select \"P\" from \"LVPResultsA\" where GUID=%1 and \"SampleDate\"='%2'", form_->LVFider(),
                            date.toString(Qt::ISODate))),
                     r.P);
    EXPECT_FALSE(Button("btnSave")->isEnabled());
}

TEST_F(Editor, OneMainSamplePerFeederMirroredIntoTheYear)
{
    const int lv = form_->LVFider();
    const QString mainRows = Fmt("select count(*) from \"LVPResultsA\" where GUID=%1 and \"IsMain\"=1", lv);
    ASSERT_EQ(Db(mainRows), 1);
    // A sample of 2021, copied from the main one: no year period exists for it yet.
    const QDate day(2021, 3, 15);
    CloseNextModal(QDialog::Accepted,
                   [&](QDialog* d) { d->findChild<QCalendarWidget*>("Calendar")->setSelectedDate(day); });
    form_->CopySample();
    ASSERT_EQ(form_->CurrentDate(), day);
    ASSERT_GT(form_->CurrentSample()->DP, 0);
    form_->ToggleMain();
    EXPECT_EQ(form_->CurrentSample()->IsMain, 1);
    // The list of dates names the main sample and shows it in bold; the former main one is plain again.
    auto* dates = form_->findChild<QComboBox*>("Date_CBox");
    QStringList marked;
    for (int i = 0; i < dates->count(); ++i)
        if (dates->itemText(i).endsWith(" — основной")) {
            marked << dates->itemText(i);
            EXPECT_TRUE(dates->itemData(i, Qt::FontRole).value<QFont>().bold());
        } else {
            EXPECT_FALSE(dates->itemData(i, Qt::FontRole).value<QFont>().bold()) << dates->itemText(i).toStdString();
        }
    EXPECT_EQ(marked, QStringList({"15.03.2021 — основной"}));
    EXPECT_EQ(Db(mainRows), 1);  // the database changes only when the edits are saved
    form_->SaveChanges();
    EXPECT_EQ(Db(mainRows), 1);
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVPResultsA\" where GUID=%1 and \"IsMain\"=1 and "
                     "\"SampleDate\"='2021-03-15'",
                     lv)),
              1);
    const int year =
        static_cast<int>(Db("select \"Ident\" from \"SamplesDates\" where \"Name\"='2021г.' and "
                            "\"Period\"=1 and \"SampleDate1\"='2021-01-01' and \"SampleDate2\"='2022-01-01'"));
    ASSERT_GT(year, 0);
    const QString mirror = QStringLiteral("select count(*) from \"LVPSamples\" where GUID=%1 and \"SampleIdent\"=%2");
    EXPECT_EQ(Db(mirror.arg(lv).arg(year)), 1);
    EXPECT_DOUBLE_EQ(Db(Fmt("select \"CosFiB\" from \"LVPSamples\" where GUID=%1 and \"SampleIdent\"=%2", lv, year)),
                     Db(Fmt("select \"CosFi\" from \"LVFidersA\" where GUID=%1", lv)));
    // No longer main: its year row goes.
    form_->ToggleMain();
    form_->SaveChanges();
    EXPECT_EQ(Db(mirror.arg(lv).arg(year)), 0);

    // A sample without a loss cannot be main.
    for (const char* phase : {"A", "B", "C"}) {
        type(Box((std::string("EditU") + phase).c_str()), "230");
        type(Box((std::string("EditU2") + phase).c_str()), "230");
    }
    ASSERT_DOUBLE_EQ(form_->CurrentSample()->DP, 0);
    form_->ToggleMain();
    EXPECT_EQ(form_->CurrentSample()->IsMain, 0);
    EXPECT_TRUE(dialogs_.Calls().isEmpty());  // refused silently
}

TEST_F(Editor, NewLineRenameAndDeleteWithTheirTexts)
{
    const double previousU = form_->CurrentSample()->U[0];
    // A view of the host's tree, the substation expanded, as the main window shows it.
    QTreeView view;
    TreeModel model(db_->GetTree());
    view.setModel(&model);
    const QModelIndex substation = model.IndexOf(db_->GetTree()->Find(node_));
    view.expand(substation);
    const int linesBefore = model.rowCount(substation);
    dialogs_.AnswerInput("Л-9 ул. Новая");
    form_->NewLine();
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_EQ(dialogs_.Calls()[0].caption, "Создание новой линии ");
    EXPECT_EQ(dialogs_.Calls()[0].text, "Введите имя новой линии");
    const int lv = form_->LVFider();
    EXPECT_EQ(Db(Fmt("select \"OwnerGUID\" from \"LVFiders\" where GUID=%1 and \"Name\"='Л-9 ул. Новая' "
                     "and \"TypeLoad\"=1",
                     lv)),
              node_);
    EXPECT_DOUBLE_EQ(Db(Fmt("select \"Unom\" from \"LVFiders\" where GUID=%1", lv)), 0.38);
    EXPECT_EQ(Db(Fmt("select \"ProvodPhase\" + \"ProvodNull\" from \"LVFidersA\" where GUID=%1", lv)), 644 * 2);
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVPResultsA\" where GUID=%1 and \"IsMain\"=1 and "
                     "\"Krazv\"=0.8 and \"SampleDate\"=current_date",
                     lv)),
              1);
    EXPECT_DOUBLE_EQ(Db(Fmt("select \"UA\" from \"LVPResultsA\" where GUID=%1", lv)), previousU);
    EXPECT_NE(db_->GetTree()->Find(lv), nullptr);  // the host's tree has it too
    // …and its view at once: the new line is the substation's last row, the others where they were.
    ASSERT_EQ(model.rowCount(substation), linesBefore + 1);
    EXPECT_EQ(model.index(linesBefore, 0, substation).data().toString(), "Л-9 ул. Новая");
    EXPECT_TRUE(view.isExpanded(substation));
    // Its power factor is its load kind's, so its samples calculate without choosing the kind again.
    EXPECT_DOUBLE_EQ(Db(Fmt("select \"CosFi\" from \"LVFidersA\" where GUID=%1", lv)),
                     Db("select \"CosFi\" from \"TypeLoads\" where \"Ident\"=1"));
    EXPECT_GT(Db(Fmt("select \"CosFi\" from \"LVFidersA\" where GUID=%1", lv)), 0);

    dialogs_.AnswerInput("", true);  // an empty name does nothing
    form_->NewLine();
    EXPECT_EQ(form_->LVFider(), lv);

    dialogs_.Clear();
    dialogs_.AnswerInput("Л-9 ул. Садовая");
    form_->RenameLine();
    EXPECT_EQ(dialogs_.Calls()[0].caption, "Переименовать линию");
    EXPECT_EQ(dialogs_.Calls()[0].text, "Введите новое имя линии");
    form_->SaveChanges();
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVFiders\" where GUID=%1 and \"Name\"='Л-9 ул. Садовая'", lv)), 1);

    const QString day = form_->CurrentDate().toString("dd.MM.yyyy");
    dialogs_.AnswerMessage(host::mrNo);
    form_->DeleteSamples();
    EXPECT_EQ(dialogs_.Calls().last().text, "Удалить замеры за " + day + " ?");
    EXPECT_NE(form_->CurrentSample(), nullptr);
    dialogs_.AnswerMessage(host::mrNo);
    form_->DeleteLine();
    EXPECT_EQ(dialogs_.Calls().last().text, "Удалить линию \"Л-9 ул. Садовая\"?");
    EXPECT_EQ(dialogs_.Calls().last().icon, host::Icon::Question);
    form_->DeleteLine();  // yes
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVFiders\" where GUID=%1", lv)), 0);
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVPResultsA\" where GUID=%1", lv)), 0);
    EXPECT_EQ(Db(Fmt("select count(*) from \"LVFidersA\" where GUID=%1", lv)), 0);
}

TEST_F(Editor, LoadKindConductorsAndTheCloseQuestion)
{
    auto* typeLoad = form_->findChild<QComboBox*>("cbTypeLoad");
    auto* phase = form_->findChild<QComboBox*>("cbProvodPhase");
    auto* null = form_->findChild<QComboBox*>("cbProvodNull");
    // A load kind brings its power factor.
    const int other = (typeLoad->currentIndex() + 1) % typeLoad->count();
    typeLoad->setCurrentIndex(other);
    emit typeLoad->activated(other);
    EXPECT_EQ(Box("EditCosFi")->text(), FormatFloat3(Db(Fmt("select \"CosFi\" from \"TypeLoads\" where \"Ident\"=%1",
                                                            typeLoad->itemData(other).toInt()))));
    // A conductor without its own neutral lets the neutral be chosen; a self-supporting wire does not.
    const int a50 = phase->findData(644);
    phase->setCurrentIndex(a50);
    emit phase->activated(a50);
    EXPECT_TRUE(null->isEnabled());
    EXPECT_EQ(null->currentData().toInt(), 644);
    EXPECT_EQ(Box("EditR0")->text(), "0,640");
    const double length = Db(Fmt("select \"LineLength\" from \"LVFidersA\" where GUID=%1", form_->LVFider()));
    EXPECT_EQ(Box("EditRf")->text(), FormatFloat3(0.64 * length));
    const int sip = phase->findData(650);
    phase->setCurrentIndex(sip);
    emit phase->activated(sip);
    EXPECT_FALSE(null->isEnabled());

    // A power factor typed by hand away from the reference shows the reset button.
    auto* cosReset = Button("btnCosReset");
    type(Box("EditCosFi"), "0,5");
    EXPECT_FALSE(cosReset->isHidden());
    cosReset->click();
    EXPECT_TRUE(cosReset->isHidden());
    EXPECT_EQ(Box("EditCosFi")->text(), FormatFloat3(Db(Fmt("select \"CosFi\" from \"TypeLoads\" where \"Ident\"=%1",
                                                            typeLoad->itemData(other).toInt()))));

    const QString day = form_->CurrentDate().toString("dd.MM.yyyy");
    dialogs_.AnswerMessage(host::mrNo);
    form_->close();
    EXPECT_EQ(dialogs_.Calls().last().text, "Сохранить изменения за \"" + day + "\"?");
    EXPECT_EQ(dialogs_.Calls().last().icon, host::Icon::Question);
}

TEST_F(Editor, DoubleClickOnThePowerFactorEditsTheLoadKinds)
{
    QLineEdit* cos = Box("EditCosFi");
    CloseNextModal(QDialog::Accepted, [](QDialog* d) {
        auto* grid = d->findChild<QTableWidget*>("GridTypeLoads");
        grid->item(0, 2)->setText("0,97");
        d->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
    });
    QTest::mouseDClick(cos, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(Db("select \"CosFi\" from \"TypeLoads\" where \"Ident\"=1"), 0.97);
    EXPECT_DOUBLE_EQ(form_->Rep_Data()->TypeLoads().front().CosFi, 0.97);
    CloseNextModal(QDialog::Accepted, [](QDialog* d) {
        d->findChild<QTableWidget*>("GridTypeLoads")->item(0, 2)->setText("1,5");
        d->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
        d->reject();
    });
    QTest::mouseDClick(cos, Qt::LeftButton);
    EXPECT_EQ(dialogs_.Texts().last(), "Коэффициент мощности должен быть числом от 0 до 1: 1,5");
    EXPECT_DOUBLE_EQ(Db("select \"CosFi\" from \"TypeLoads\" where \"Ident\"=1"), 0.97);
}

namespace {
// The sample rows of the editor's feeder at a date.
QString sampleAt(int lv, const QDate& date, const char* what)
{
    return Fmt("select %1 from \"LVPResultsA\" where GUID=%2 and \"SampleDate\"='%3'", QString::fromLatin1(what), lv,
               date.toString(Qt::ISODate));
}
// The year row ("LVPSamples") of a feeder for the year period of a date.
QString yearRow(int lv, const QDate& date, const char* what)
{
    return Fmt("select %1 from \"LVPSamples\" where GUID=%2 and \"SampleIdent\" in (select \"Ident\" "
               "from \"SamplesDates\" where \"Period\"=1 and \"SampleDate1\"='%3-01-01')",
               QString::fromLatin1(what), lv, date.year());
}
}  // namespace

TEST_F(Editor, AMainSampleIsWrittenOnlyBySavingAndCancelOrNoUndoIt)
{
    const int lv = form_->LVFider();
    const QDate main = form_->CurrentDate();
    ASSERT_EQ(form_->CurrentSample()->IsMain, 1);
    ASSERT_EQ(Db(yearRow(lv, main, "count(*)")), 1);
    const double mirrorU = Db(yearRow(lv, main, "\"UA\""));
    // A second sample of the year, saved as an ordinary one.
    const QDate other = main.addDays(-30);
    ASSERT_EQ(other.year(), main.year());
    CloseNextModal(QDialog::Accepted,
                   [&](QDialog* d) { d->findChild<QCalendarWidget*>("Calendar")->setSelectedDate(other); });
    form_->CopySample();
    ASSERT_EQ(form_->CurrentDate(), other);
    ASSERT_TRUE(form_->SaveChanges());
    ASSERT_EQ(Db(sampleAt(lv, other, "\"IsMain\"")), 0);

    auto stillAsSaved = [&](const char* when) {
        SCOPED_TRACE(when);
        EXPECT_EQ(Db(sampleAt(lv, main, "\"IsMain\"")), 1);
        EXPECT_EQ(Db(sampleAt(lv, other, "\"IsMain\"")), 0);
        EXPECT_EQ(Db(yearRow(lv, main, "count(*)")), 1);
        EXPECT_DOUBLE_EQ(Db(yearRow(lv, main, "\"UA\"")), mirrorU);
    };
    // Marked as main: memory only.
    form_->ToggleMain();
    ASSERT_EQ(form_->CurrentSample()->IsMain, 1);
    EXPECT_EQ(form_->Rep_Data()->FindSample(lv, main)->IsMain, 0);
    stillAsSaved("marked");
    // "Отмена": the former main sample again, in memory and in the database.
    Button("btnCancel")->click();
    stillAsSaved("cancelled");
    EXPECT_EQ(form_->Rep_Data()->FindSample(lv, main)->IsMain, 1);
    EXPECT_EQ(form_->Rep_Data()->FindSample(lv, other)->IsMain, 0);
    EXPECT_FALSE(form_->Rep_Data()->Modified());
    EXPECT_FALSE(Button("btnSave")->isEnabled());

    // Marked again and the window closed with "No": nothing reaches the database, even once the host
    // commits the editor's transaction.
    form_->SelectDate(other);
    ASSERT_EQ(form_->CurrentDate(), other);
    form_->ToggleMain();
    ASSERT_EQ(form_->CurrentSample()->IsMain, 1);
    dialogs_.AnswerMessage(host::mrNo);
    form_->close();
    ASSERT_EQ(dialogs_.Texts().size(), 1);
    EXPECT_EQ(dialogs_.Texts().last(), "Сохранить изменения за \"" + other.toString("dd.MM.yyyy") + "\"?");
    stillAsSaved("answered no");
    EXPECT_FALSE(form_->Rep_Data()->Modified());
    c_->Commit();
    stillAsSaved("committed");
}

TEST_F(Editor, TheYearMirrorFollowsTheMainSampleWhicheverOrderTheSamplesAreSaved)
{
    const int lv = form_->LVFider();
    const QDate later = form_->CurrentDate();
    ASSERT_EQ(form_->CurrentSample()->IsMain, 1);
    const double laterI = Db(sampleAt(lv, later, "\"IA\""));
    // An earlier sample of the same year with a current of its own.
    const QDate earlier = later.addDays(-60);
    ASSERT_EQ(earlier.year(), later.year());
    CloseNextModal(QDialog::Accepted,
                   [&](QDialog* d) { d->findChild<QCalendarWidget*>("Calendar")->setSelectedDate(earlier); });
    form_->CopySample();
    ASSERT_EQ(form_->CurrentDate(), earlier);
    const double earlierI = qRound(laterI) + 17;
    type(Box("EditIA"), QString::number(earlierI));
    ASSERT_EQ(form_->LastResult().status, TLVFiderSampleCalc::Status::Done);
    ASSERT_TRUE(form_->SaveChanges());
    ASSERT_DOUBLE_EQ(Db(sampleAt(lv, earlier, "\"IA\"")), earlierI);

    // Read again, the samples come in date order: the new main one is written before the former.
    form_->CancelChanges();
    form_->SelectDate(earlier);
    ASSERT_EQ(form_->CurrentDate(), earlier);
    form_->ToggleMain();
    ASSERT_TRUE(form_->SaveChanges());
    EXPECT_EQ(Db(sampleAt(lv, earlier, "\"IsMain\"")), 1);
    EXPECT_EQ(Db(sampleAt(lv, later, "\"IsMain\"")), 0);
    EXPECT_EQ(Db(yearRow(lv, earlier, "count(*)")), 1);
    EXPECT_DOUBLE_EQ(Db(yearRow(lv, earlier, "\"IA\"")), earlierI);

    // And back: the new main one is now written after the former.
    form_->CancelChanges();
    form_->SelectDate(later);
    form_->ToggleMain();
    ASSERT_TRUE(form_->SaveChanges());
    EXPECT_EQ(Db(sampleAt(lv, later, "\"IsMain\"")), 1);
    EXPECT_EQ(Db(sampleAt(lv, earlier, "\"IsMain\"")), 0);
    EXPECT_EQ(Db(yearRow(lv, later, "count(*)")), 1);
    EXPECT_DOUBLE_EQ(Db(yearRow(lv, later, "\"IA\"")), laterI);

    // Deleting the main sample takes its year row, whatever is saved with it.
    form_->SelectDate(later);
    dialogs_.AnswerMessage(host::mrYes);
    form_->DeleteSamples();
    ASSERT_TRUE(form_->SaveChanges());
    EXPECT_EQ(Db(sampleAt(lv, later, "count(*)")), 0);
    EXPECT_EQ(Db(yearRow(lv, later, "count(*)")), 0);
}

TEST_F(Editor, ExitAsksTheSaveQuestionAsClosingDoes)
{
    const int lv = form_->LVFider();
    const QDate date = form_->CurrentDate();
    const double stored = Db(sampleAt(lv, date, "\"IA\""));
    const double typed = qRound(stored) + 11;
    const QString question = "Сохранить изменения за \"" + date.toString("dd.MM.yyyy") + "\"?";

    // Nothing changed: no question.
    Button("btnExit")->click();
    EXPECT_TRUE(dialogs_.Calls().isEmpty());
    EXPECT_EQ(form_->result(), QDialog::Accepted);

    // "No": the edit is dropped.
    form_->setResult(QDialog::Rejected);
    type(Box("EditIA"), QString::number(typed));
    ASSERT_TRUE(form_->Rep_Data()->Modified());
    dialogs_.AnswerMessage(host::mrNo);
    Button("btnExit")->click();
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_EQ(dialogs_.Calls()[0].text, question);
    EXPECT_EQ(dialogs_.Calls()[0].icon, host::Icon::Question);
    EXPECT_EQ(dialogs_.Calls()[0].buttons, host::Buttons::YesNoCancel);
    EXPECT_EQ(form_->result(), QDialog::Accepted);
    EXPECT_FALSE(form_->Rep_Data()->Modified());
    EXPECT_DOUBLE_EQ(Db(sampleAt(lv, date, "\"IA\"")), stored);

    // "Отмена", and Escape in the desktop's own question box, keep the form open with the typed value.
    form_->setResult(QDialog::Rejected);
    type(Box("EditIA"), QString::number(typed));
    dialogs_.AnswerMessage(host::mrCancel);
    Button("btnExit")->click();
    EXPECT_EQ(form_->result(), QDialog::Rejected);
    host::QtDialogs desktop;
    host::SetDialogs(&desktop);
    QString asked;
    auto* escape = new QTimer(form_.get());
    QObject::connect(escape, &QTimer::timeout, escape, [&asked, escape] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            escape->stop();
            asked = box->text();
            QTest::keyClick(box, Qt::Key_Escape);
        }
    });
    escape->start(10);
    EXPECT_FALSE(form_->close());
    host::SetDialogs(&dialogs_);
    EXPECT_EQ(asked, question);
    EXPECT_TRUE(form_->Rep_Data()->Modified());
    EXPECT_EQ(Box("EditIA")->text(), QString::number(typed));
    EXPECT_DOUBLE_EQ(Db(sampleAt(lv, date, "\"IA\"")), stored);

    // "Yes": the edit is saved and committed.
    dialogs_.AnswerMessage(host::mrYes);
    Button("btnExit")->click();
    EXPECT_EQ(dialogs_.Calls().last().text, question);
    EXPECT_EQ(form_->result(), QDialog::Accepted);
    EXPECT_FALSE(form_->Rep_Data()->Modified());
    c_->Rollback();  // whatever the host would drop: the save is committed already
    EXPECT_DOUBLE_EQ(Db(sampleAt(lv, date, "\"IA\"")), typed);
}

TEST_F(Editor, RefusedTextsAreNeverStoredByClosingOrSwitching)
{
    const int lv = form_->LVFider();
    const QDate date = form_->CurrentDate();
    const double ia = Db(sampleAt(lv, date, "\"IA\"")), ib = Db(sampleAt(lv, date, "\"IB\"")),
                 dp = Db(sampleAt(lv, date, "coalesce(\"dP\", -1)"));
    ASSERT_NE(form_->CurrentSample(), nullptr);
    // Phase currents the fields refuse: a text and 100 000 A, each named with its range as the user leaves it.
    for (const auto& [box, text, told] : {std::tuple{"EditIA", "abc", "«I, А, фаза А»: «abc» — число от 0 до 10000"},
                                          std::tuple{"EditIB", "1e5", "«I, А, фаза В»: «1e5» — число от 0 до 10000"}}) {
        type(Box(box), text);
        emit Box(box)->editingFinished();
        EXPECT_TRUE(dialogs_.Texts().last().contains(QString::fromUtf8(told))) << dialogs_.Texts().last().toStdString();
        EXPECT_EQ(Box(box)->text(), text);  // the typed text stays, marked
        EXPECT_TRUE(form_->Constraints().isContraint(Box(box)));
    }
    EXPECT_DOUBLE_EQ(form_->CurrentSample()->I[0], ia);
    EXPECT_DOUBLE_EQ(form_->CurrentSample()->I[1], ib);

    // Another feeder: refused while the texts are there.
    const int before = fiders()->currentRow();
    fiders()->setCurrentRow(before + 1);
    EXPECT_EQ(fiders()->currentRow(), before);
    EXPECT_EQ(form_->LVFider(), lv);
    EXPECT_TRUE(dialogs_.Texts().last().startsWith("Значения не приняты:")) << dialogs_.Texts().last().toStdString();

    // Closing with "Да": what "Сохранить" refuses is not stored by the close either; the window stays.
    dialogs_.AnswerMessage(host::mrYes);
    EXPECT_FALSE(form_->close());
    EXPECT_TRUE(dialogs_.Texts().last().startsWith("Изменения не сохранены: значения не приняты:"));
    EXPECT_TRUE(dialogs_.Texts().last().contains("«I, А, фаза В»: «1e5»"));
    c_->Rollback();  // what the host would drop: only what is committed counts
    c_->StartTransaction(false);
    EXPECT_DOUBLE_EQ(Db(sampleAt(lv, date, "\"IA\"")), ia);
    EXPECT_DOUBLE_EQ(Db(sampleAt(lv, date, "\"IB\"")), ib);
    EXPECT_DOUBLE_EQ(Db(sampleAt(lv, date, "coalesce(\"dP\", -1)")), dp);

    // "Отмена" puts the stored values back into the fields.
    Button("btnCancel")->click();
    EXPECT_FALSE(form_->Constraints().isContraint(Box("EditIA")));
    EXPECT_EQ(Box("EditIA")->text(), FormatFloat("0.##", ia));
}

TEST_F(Editor, ANewSampleProposesADayOfTheChosenIntervalAndSaveSaysWhyItIsGrey)
{
    // Nothing typed: the button is grey and says so; a refused text makes it say what stops the save.
    EXPECT_FALSE(Button("btnSave")->isEnabled());
    EXPECT_TRUE(Button("btnSave")->toolTip().startsWith("Сохранять нечего"))
        << Button("btnSave")->toolTip().toStdString();
    auto* loss = form_->findChild<QLabel*>("lblDP");
    EXPECT_TRUE(loss->isEnabled());
    type(Box("EditIA"), "abc");
    emit Box("EditIA")->editingFinished();
    EXPECT_TRUE(Button("btnSave")->isEnabled());
    EXPECT_TRUE(Button("btnSave")->toolTip().contains("«I, А, фаза А»: «abc»"))
        << Button("btnSave")->toolTip().toStdString();
    // The results beside a refused text are the last calculation's: grey, and they say so.
    EXPECT_FALSE(loss->isEnabled());
    EXPECT_TRUE(loss->toolTip().startsWith("Значение последнего расчета"));
    Button("btnCancel")->click();

    // The earliest year of the database chosen in the main window: the calendar opens on its first day.
    auto q = c_->NewQuery();
    q->SetSQLText("select first 1 \"Ident\", \"SampleDate1\" from \"SamplesDates\" where \"Period\"=1 and "
                  "\"SampleDate2\" <= current_date order by \"SampleDate1\"");
    q->Open();
    ASSERT_FALSE(q->Eof());
    const int year = q->Int("Ident");
    const QDate first = q->Value("SampleDate1").toDate();
    QDate proposed;
    auto calendar = [&proposed](QDialog* d) { proposed = d->findChild<QCalendarWidget*>("Calendar")->selectedDate(); };
    host::SetChosenPeriod(year);
    CloseNextModal(QDialog::Rejected, calendar);
    form_->AddSample();
    EXPECT_EQ(proposed, first);
    // No interval chosen (no main window): today.
    host::SetChosenPeriod(0);
    CloseNextModal(QDialog::Rejected, calendar);
    form_->AddSample();
    EXPECT_EQ(proposed, QDate::currentDate());
}
