#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPushButton>
#include <QTabBar>
#include <cmath>

#include "db/SchemaInstaller.h"
#include "feeders/CalcParamsMax.h"
#include "feeders/CalcParamsMiddle.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/EditConstraints.h"
#include "host/FiderHHCalcParams.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/SamplesTreeBox.h"
#include "host/SchemaUpgrade.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
void type(QLineEdit* box, const QString& text)
{
    box->setText(text);
    emit box->editingFinished();
}

class Regime : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        SetCurrentDatabase(db_.get());
        host::SetDialogs(&dialogs_);
        auto q = db_->GetDefaultConnection()->NewQuery();
        // A feeder of a substation with measurements of the latest year.
        q->SetSQLText("select first 1 s.GUID, s.\"SampleIdent\", s.\"Wa\" from \"LVWSamples\" s "
                      "join \"LVFiders\" lf on lf.GUID=s.GUID join \"LVWTPInfo\" ti on ti.GUID=lf.\"OwnerGUID\" "
                      "and ti.\"SampleIdent\"=s.\"SampleIdent\" where s.\"TypeCalc\"=0 "
                      "order by s.\"SampleIdent\" desc, s.GUID");
        q->Open();
        lv_ = q->Int("GUID");
        period_ = q->Int("SampleIdent");
        lineWa_ = q->Float("Wa");
    }
    void TearDown() override
    {
        SetCurrentDatabase(nullptr);
        host::SetDialogs(nullptr);
    }
    host::ScriptedDialogs dialogs_;
    int lv_ = 0, period_ = 0;
    double lineWa_ = 0;
};
}  // namespace

TEST(RegimeValues, LoadCurveRelations)
{
    TWCalcTmaxHHParams p;
    p.SetT(8760);
    p.SetSqrKfg(1.2);
    const double kzap = 1 / (3 * 1.2 - 2);
    EXPECT_DOUBLE_EQ(p.GetKzapCalc(), kzap);
    EXPECT_DOUBLE_EQ(p.GetTauCalc(), (kzap + 2 * kzap * kzap) / 3);
    EXPECT_DOUBLE_EQ(p.GetTmaxCalc(), kzap * 8760);
    p.SetTmax(4380);  // a typed Tmax now defines the curve
    EXPECT_TRUE(isEmptyFloat(p.Current().SqrKfg));
    EXPECT_DOUBLE_EQ(p.GetKzapCalc(), 0.5);
    EXPECT_DOUBLE_EQ(p.GetSqrKfgCalc(), (1 / 0.5 + 2) / 3);
    p.SetSqrKfg(2.0 / 3);  // 3 sqrKfg - 2 = 0: no fill factor
    EXPECT_TRUE(isEmptyFloat(p.GetKzapCalc()));
    EXPECT_TRUE(isEmptyFloat(p.GetTauCalc()));
    p.SetTau(0.4);
    EXPECT_DOUBLE_EQ(p.GetTauCalc(), 0.4);

    TWCalcHHParams middle;
    EXPECT_FALSE(middle.isWaCalc());
    middle.SetSampleType(1);
    EXPECT_TRUE(middle.isWaCalc());
    EXPECT_TRUE(p.isWaCalc());  // maximum regime by currents
}

TEST_F(Regime, StoredParametersRoundTripAndLevelsFromTheMeasurements)
{
    TWCalcHHParams params;
    params.SetFiderGUID(lv_);
    params.SetSamplePeriod(period_);
    LoadWCalcParamsHH(*db_->GetDefaultConnection(), params);
    EXPECT_DOUBLE_EQ(params.Get(TParamField::Wa, TLVCalcLevel::Line), lineWa_);
    EXPECT_DOUBLE_EQ(params.GetWa(), lineWa_);  // nothing stored: the current values start as the line's
    EXPECT_FALSE(isEmptyFloat(params.Get(TParamField::Wa, TLVCalcLevel::TPGiven)));
    EXPECT_GE(params.Get(TParamField::Wa, TLVCalcLevel::TPCalc), lineWa_);  // the sum over the TP's lines

    params.SetWa(777);
    params.SetKdp(1.07);
    params.SetSampleType(1);
    SaveWCalcParamsHH(*db_->GetDefaultConnection(), params);
    TWCalcHHParams back;
    back.SetFiderGUID(lv_);
    back.SetSamplePeriod(period_);
    LoadWCalcParamsHH(*db_->GetDefaultConnection(), back);
    EXPECT_DOUBLE_EQ(back.GetWa(), 777);
    EXPECT_DOUBLE_EQ(back.Current().Kdp, 1.07);
    // The maximum regime keeps its own values.
    TWCalcTmaxHHParams other;
    other.SetFiderGUID(lv_);
    other.SetSamplePeriod(period_);
    LoadTmaxCalcParamsHH(*db_->GetDefaultConnection(), other);
    EXPECT_DOUBLE_EQ(other.GetWa(), lineWa_);
}

TEST_F(Regime, BoxesShowTheirParameterAndCaptions)
{
    TWCalcHHParams params;
    params.SetFiderGUID(lv_);
    params.SetSamplePeriod(period_);
    TfrmCalcParamsMiddle form;
    form.SetParams(&params);
    form.SetStorage([&] { LoadWCalcParamsHH(*db_->GetDefaultConnection(), params); }, {});
    ASSERT_TRUE(form.Prepare());
    EXPECT_EQ(form.windowTitle(), "Расчет потерь эл.энергии по средним нагрузкам");
    EXPECT_EQ(form.findChild<QLabel*>("LabelKzap")->text(), "Коэффициент заполнения, o.e.");  // Latin o.e.
    EXPECT_EQ(form.findChild<QLabel*>("LabelKfg")->text(), "Квадрат коэффициента формы графика, o.e.");
    EXPECT_EQ(form.findChild<QLabel*>("LabelKDP")->text(), "Коэффициент дополнительных потерь, о.е.");
    auto* modes = form.findChild<QComboBox*>("ComboSampleType");
    EXPECT_EQ(modes->itemText(0), "По отпуску активной электроэнергии");
    EXPECT_EQ(modes->itemText(1), "По заданным нагрузкам");
    auto* tabs = form.findChild<QTabBar*>("TabLevels");
    ASSERT_EQ(tabs->count(), 4);
    EXPECT_EQ(tabs->tabText(3), "ТП(расчетные)");

    QLineEdit* wa = form.Box("EditWa");
    EXPECT_EQ(wa->text(), FormatFloat("0.000", lineWa_));
    // Values are typed as numbers, with either separator; a rounded display is drawn in red.
    type(form.Box("EditKDP"), "1,0456");
    EXPECT_DOUBLE_EQ(params.Current().Kdp, 1.0456);
    EXPECT_EQ(form.Box("EditKDP")->text(), "1,046");
    EXPECT_EQ(form.Box("EditKDP")->palette().color(QPalette::Text), QColor(255, 0, 0));
    type(form.Box("EditKDP"), "1.05");
    EXPECT_NE(form.Box("EditKDP")->palette().color(QPalette::Text), QColor(255, 0, 0));
    type(form.Box("EditKfg"), "1,2");
    EXPECT_EQ(form.Box("EditKzap")->text(), "");  // the shape factor now defines the curve
    EXPECT_DOUBLE_EQ(params.GetKzapCalc(), 1 / (3 * 1.2 - 2));

    // Not a number, or out of range: the field and its range named, the text kept marked, the parameter as it was.
    type(form.Box("EditT"), "восемь");
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_EQ(dialogs_.Calls()[0].text, "Значение не принято: «Расчетный период, ч»: «восемь» — целое число часов от 1 "
                                        "до 8784.\nИсправьте его или отмените правку.");
    EXPECT_DOUBLE_EQ(params.Current().T, 8760);
    EXPECT_EQ(form.Box("EditT")->text(), "восемь");
    EXPECT_TRUE(form.Constraints().isContraint(form.Box("EditT")));
    type(form.Box("EditCosA"), "1,5");
    EXPECT_TRUE(dialogs_.Texts().last().contains("«Коэффициент мощности головного участка, о.е., фаза А»: «1,5» — "
                                                 "число больше 0 и не больше 1"))
        << dialogs_.Texts().last().toStdString();
    EXPECT_EQ(form.Box("EditCosA")->text(), "1,5");
    // Another level is not shown over them, nor are they handed over; corrected, they are taken.
    form.SetLevel(TLVCalcLevel::TPGiven);
    EXPECT_EQ(form.Level(), TLVCalcLevel::Current);
    form.findChild<QPushButton*>("btnOK")->click();
    EXPECT_EQ(form.result(), 0);
    type(form.Box("EditT"), "8760");
    type(form.Box("EditCosA"), "0,93");
    EXPECT_DOUBLE_EQ(params.Current().Cos[0], 0.93);
    EXPECT_TRUE(form.Constraints().GetEnabled());

    // Busbar boxes have no value on "Текущие" and "Линия"; energies show "Расчет" when calculated.
    EXPECT_EQ(form.Box("EditWa_bus")->text(), "");
    form.SetLevel(TLVCalcLevel::TPGiven);
    EXPECT_NE(form.Box("EditWa_bus")->text(), "");
    EXPECT_FALSE(form.Box("EditKDP")->isEnabled());
    form.SetLevel(TLVCalcLevel::TPCalc);
    EXPECT_FALSE(wa->isEnabled());
    form.SetLevel(TLVCalcLevel::Current);
    modes->setCurrentIndex(1);
    EXPECT_EQ(params.GetSampleType(), 1);
    EXPECT_EQ(wa->text(), "Расчет");
    EXPECT_EQ(form.Box("EditWa2")->text(), "Расчет");
    EXPECT_FALSE(wa->isEnabled());
}

TEST_F(Regime, SetCopiesLevels)
{
    TWCalcTmaxHHParams params;
    params.SetFiderGUID(lv_);
    params.SetSamplePeriod(period_);
    TfrmCalcParamsMax form;
    form.SetParams(&params);
    form.SetStorage([&] { LoadTmaxCalcParamsHH(*db_->GetDefaultConnection(), params); }, {});
    ASSERT_TRUE(form.Prepare());
    const double tpWa = params.Get(TParamField::Wa, TLVCalcLevel::TPGiven);

    // "Все" on "Текущие" keeps the current values as the line's.
    type(form.Box("EditTmax"), "3100");
    form.CopyAll();
    EXPECT_DOUBLE_EQ(params.Get(TParamField::Tmax, TLVCalcLevel::Line), 3100);
    // "Отпуск электроэнергии" on another tab takes that level's energy only, and goes to "Текущие".
    form.SetLevel(TLVCalcLevel::TPGiven);
    form.CopyEnergy();
    EXPECT_EQ(form.Level(), TLVCalcLevel::Current);
    EXPECT_DOUBLE_EQ(params.GetWa(), tpWa);
    EXPECT_DOUBLE_EQ(params.Current().Tmax, 3100);
    // "Все" on another tab takes that level whole.
    form.SetLevel(TLVCalcLevel::TPGiven);
    form.CopyAll();
    EXPECT_EQ(form.Level(), TLVCalcLevel::Current);
    EXPECT_TRUE(params.Current() == params.Values(TLVCalcLevel::TPGiven));
    EXPECT_EQ(form.Box("EditWa")->text(), "Расчет");  // by the head currents the energy is calculated
    form.findChild<QComboBox*>("ComboSampleType")->setCurrentIndex(1);
    EXPECT_EQ(form.Box("EditWa")->text(), FormatFloat("0.000", tpWa));
}

namespace {
// Stored rows of the regime parameters of a feeder.
QString storedRows(int lv, const QString& where = {})
{
    return Fmt("select count(*) from \"LVCalcParams\" where GUID=%1 %2", lv, where);
}
// The keys (primary and unique) of the regime parameters: their columns in key order, one key a line.
QStringList calcParamsKeys(ToznFDConnection& c)
{
    auto q = c.NewQuery();
    q->SetSQLText("select trim(rc.rdb$constraint_name) as \"C\", trim(s.rdb$field_name) as \"F\" "
                  "from rdb$relation_constraints rc join rdb$index_segments s "
                  "on s.rdb$index_name=rc.rdb$index_name where rc.rdb$relation_name='LVCalcParams' and "
                  "rc.rdb$constraint_type in ('PRIMARY KEY', 'UNIQUE') order by 1, s.rdb$field_position");
    QMap<QString, QStringList> keys;
    for (q->Open(); !q->Eof(); q->Next())
        keys[q->Str("C")] << q->Str("F");
    QStringList lines;
    for (const QStringList& key : keys)
        lines << key.join(',');
    return lines;
}
}  // namespace

TEST_F(Regime, StoredValuesBelongToTheirIntervalAndOthersShowTheirMeasurements)
{
    ToznFDConnection& c = *db_->GetDefaultConnection();
    // An earlier interval of the same feeder with a measured energy of its own.
    auto q = c.NewQuery();
    q->SetSQLText(Fmt("select first 1 \"SampleIdent\", \"Wa\" from \"LVWSamples\" where GUID=%1 and "
                      "\"SampleIdent\"<>%2 and \"Wa\"<>%3 order by \"SampleIdent\" desc",
                      lv_, period_, lineWa_));
    q->Open();
    ASSERT_FALSE(q->Eof());
    const int earlier = q->Int("SampleIdent");
    const double earlierWa = q->Float("Wa");
    q->Close();

    // The line's values kept for the latest interval.
    TWCalcHHParams latest;
    latest.SetFiderGUID(lv_);
    latest.SetSamplePeriod(period_);
    LoadWCalcParamsHH(c, latest);
    latest.SetWa(500);
    latest.SetKdp(1.2);
    latest.CopyCurrentToLine();
    SaveWCalcParamsHH(c, latest);
    EXPECT_EQ(Scalar(c, storedRows(lv_, Fmt("and \"SampleIdent\"=%1", period_))), 2);

    // The earlier interval has nothing stored: its measurement, on the line and as the current values.
    TWCalcHHParams other;
    other.SetFiderGUID(lv_);
    other.SetSamplePeriod(earlier);
    LoadWCalcParamsHH(c, other);
    EXPECT_DOUBLE_EQ(other.Get(TParamField::Wa, TLVCalcLevel::Line), earlierWa);
    EXPECT_DOUBLE_EQ(other.GetWa(), earlierWa);
    EXPECT_FALSE(CompareFloat(other.Current().Kdp, 1.2) == 0);

    // Kept for the earlier interval too: each interval has its own rows, the latest keeps its values.
    other.SetWa(600);
    other.CopyCurrentToLine();
    SaveWCalcParamsHH(c, other);
    EXPECT_EQ(Scalar(c, storedRows(lv_, "and \"Regime\"=0")), 4);
    TWCalcHHParams back;
    back.SetFiderGUID(lv_);
    back.SetSamplePeriod(period_);
    LoadWCalcParamsHH(c, back);
    EXPECT_DOUBLE_EQ(back.GetWa(), 500);
    EXPECT_DOUBLE_EQ(back.Get(TParamField::Wa, TLVCalcLevel::Line), 500);
    EXPECT_DOUBLE_EQ(back.Current().Kdp, 1.2);
    TWCalcHHParams backEarlier;
    backEarlier.SetFiderGUID(lv_);
    backEarlier.SetSamplePeriod(earlier);
    LoadWCalcParamsHH(c, backEarlier);
    EXPECT_DOUBLE_EQ(backEarlier.Get(TParamField::Wa, TLVCalcLevel::Line), 600);
    EXPECT_DOUBLE_EQ(Scalar(c, Fmt("select \"Wa\" from \"LVCalcParams\" where GUID=%1 and \"Regime\"=0 "
                                   "and \"Level\"=1 and \"SampleIdent\"=%2",
                                   lv_, period_)),
                     500);
}

TEST_F(Regime, TheDialogShowsAndKeepsTheValuesOfTheIntervalChosen)
{
    ToznFDConnection& c = *db_->GetDefaultConnection();
    const int earlier = IntScalar(c, Fmt("select first 1 \"SampleIdent\" from \"LVWSamples\" where GUID=%1 and "
                                         "\"SampleIdent\"<>%2 and \"Wa\"<>%3 order by \"SampleIdent\" desc",
                                         lv_, period_, lineWa_));
    ASSERT_GT(earlier, 0);
    const double earlierWa =
        Scalar(c, Fmt("select \"Wa\" from \"LVWSamples\" where GUID=%1 and \"SampleIdent\"=%2", lv_, earlier));
    // Values kept for the latest interval.
    {
        TWCalcTmaxHHParams stored;
        stored.SetFiderGUID(lv_);
        stored.SetSamplePeriod(period_);
        LoadTmaxCalcParamsHH(c, stored);
        stored.SetWa(321);
        stored.SetTmax(2900);
        stored.CopyCurrentToLine();
        SaveTmaxCalcParamsHH(c, stored);
    }

    TWCalcTmaxHHParams params;
    params.SetFiderGUID(lv_);
    params.SetSamplePeriod(period_);
    params.SetSampleType(1);  // given loads: the energy is shown as a value
    TfrmCalcParamsMax form;
    form.SetParams(&params);
    form.SetStorage([&] { LoadTmaxCalcParamsHH(c, params); }, [&] { SaveTmaxCalcParamsHH(c, params); });
    ASSERT_TRUE(form.Prepare());
    EXPECT_EQ(form.Box("EditWa")->text(), "321,000");
    EXPECT_EQ(form.Box("EditTmax")->text(), "2900");
    form.SetLevel(TLVCalcLevel::Line);
    EXPECT_EQ(form.Box("EditWa")->text(), "321,000");

    // Another interval: its measurement on both tabs, nothing of the latest one's.
    TSamplesTreeBox* periods = form.PeriodBox();
    ASSERT_TRUE(periods->SetCurrentIdent(earlier));
    EXPECT_EQ(params.GetSamplePeriod(), earlier);
    EXPECT_EQ(form.Box("EditWa")->text(), FormatFloat("0.000", earlierWa));
    form.SetLevel(TLVCalcLevel::Current);
    EXPECT_EQ(form.Box("EditWa")->text(), FormatFloat("0.000", earlierWa));
    EXPECT_NE(form.Box("EditTmax")->text(), "2900");

    // Kept with "Сохранить в базе данных" for the interval chosen only.
    form.Box("EditWa")->setText("654");
    emit form.Box("EditWa")->editingFinished();
    form.findChild<QCheckBox*>("cbSaveDB")->setChecked(true);
    form.findChild<QPushButton*>("btnOK")->click();
    EXPECT_EQ(form.result(), QDialog::Accepted);
    const QString wa = "select \"Wa\" from \"LVCalcParams\" where GUID=%1 and \"Regime\"=1 and \"Level\"=0 and "
                       "\"SampleIdent\"=%2";
    EXPECT_DOUBLE_EQ(Scalar(c, wa.arg(lv_).arg(earlier)), 654);
    EXPECT_DOUBLE_EQ(Scalar(c, wa.arg(lv_).arg(period_)), 321);

    // Back on the latest interval its own values return.
    periods->SetCurrentIdent(period_);
    EXPECT_EQ(form.Box("EditWa")->text(), "321,000");
    EXPECT_EQ(form.Box("EditTmax")->text(), "2900");
}

TEST(RegimeParamsUpgrade, AnOlderDatabaseKeysItsParametersByIntervalKeepingTheRows)
{
    TempFolder folder;
    const QString path = NewFormerSchemaDatabase(folder);
    {
        // Rows as the former version kept them: one per feeder, regime and level, one without an interval.
        ToznFDConnection old(nullptr, path, FirebirdUser(), FirebirdPassword());
        ASSERT_EQ(calcParamsKeys(old), QStringList({"GUID,Regime,Level"}));
        for (const char* sql :
             {"insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") "
              "values (1, '2024г.', 1, '2024-01-01', '2025-01-01')",
              "insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\", \"SampleDate1\", \"SampleDate2\") "
              "values (2, '2025г.', 1, '2025-01-01', '2026-01-01')",
              "insert into \"LVCalcParams\" (guid, \"Regime\", \"Level\", \"SampleIdent\", \"SampleType\", \"Wa\") "
              "values (10, 0, 0, 1, 0, 111)",
              "insert into \"LVCalcParams\" (guid, \"Regime\", \"Level\", \"SampleIdent\", \"SampleType\", \"Wa\") "
              "values (10, 0, 1, 1, 0, 112)",
              "insert into \"LVCalcParams\" (guid, \"Regime\", \"Level\", \"SampleIdent\", \"SampleType\", \"Wa\") "
              "values (10, 1, 0, null, 0, 113)"})
            Exec(old, QString::fromUtf8(sql));
    }
    auto db = OpenDatabase(path);
    ASSERT_TRUE(db);
    ToznFDConnection& c = *db->GetDefaultConnection();
    const QStringList keys({"GUID,Regime,Level,SampleIdent"});
    EXPECT_EQ(calcParamsKeys(c), keys);
    // Every row as it was, the one without an interval too.
    EXPECT_EQ(Scalar(c, storedRows(10)), 3);
    EXPECT_EQ(Scalar(c, storedRows(10, "and \"SampleIdent\"=1 and \"Regime\"=0 and \"Level\"=0 and \"Wa\"=111")), 1);
    EXPECT_EQ(Scalar(c, storedRows(10, "and \"SampleIdent\"=1 and \"Regime\"=0 and \"Level\"=1 and \"Wa\"=112")), 1);
    EXPECT_EQ(Scalar(c, storedRows(10, "and \"SampleIdent\" is null and \"Regime\"=1 and \"Wa\"=113")), 1);
    // As a new database has it.
    auto fresh = OpenDatabase(NewSchemaDatabase(folder, "fresh.fdb"));
    EXPECT_EQ(calcParamsKeys(*fresh->GetDefaultConnection()), keys);
    // A second opening changes nothing.
    UpgradeSchema(c);
    EXPECT_EQ(calcParamsKeys(c), keys);
    EXPECT_EQ(Scalar(c, storedRows(10)), 3);

    // A second interval of the same feeder, regime and level is kept beside the first.
    TWCalcHHParams params;
    params.SetFiderGUID(10);
    params.SetSamplePeriod(2);
    LoadWCalcParamsHH(c, params);
    EXPECT_TRUE(isEmptyFloat(params.GetWa()));  // the values of interval 1 do not stand in
    params.SetWa(222);
    c.StartTransaction(false);
    SaveWCalcParamsHH(c, params);
    c.Commit();
    EXPECT_EQ(Scalar(c, storedRows(10, "and \"Regime\"=0")), 4);
    TWCalcHHParams first;
    first.SetFiderGUID(10);
    first.SetSamplePeriod(1);
    LoadWCalcParamsHH(c, first);
    EXPECT_DOUBLE_EQ(first.GetWa(), 111);
    EXPECT_DOUBLE_EQ(first.Get(TParamField::Wa, TLVCalcLevel::Line), 112);
}

TEST_F(Regime, AnotherIntervalDoesNotReplaceTypedValuesWithoutAQuestion)
{
    ToznFDConnection& c = *db_->GetDefaultConnection();
    const int other = IntScalar(c, Fmt("select first 1 \"SampleIdent\" from \"LVWSamples\" where GUID=%1 and "
                                       "\"SampleIdent\"<>%2 order by \"SampleIdent\" desc",
                                       lv_, period_));
    ASSERT_GT(other, 0);
    TWCalcHHParams params;
    params.SetFiderGUID(lv_);
    params.SetSamplePeriod(period_);
    TfrmCalcParamsMiddle form;
    form.SetParams(&params);
    form.SetStorage([&] { LoadWCalcParamsHH(c, params); }, [&] { SaveWCalcParamsHH(c, params); });
    ASSERT_TRUE(form.Prepare());
    TSamplesTreeBox* periods = form.PeriodBox();
    const QString shownName = db_->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(period_)->Name;
    const QString question = Fmt("Сохранить значения, введенные для интервала «%1»?", shownName);

    // Nothing typed: no question.
    periods->SetCurrentIdent(other);
    EXPECT_TRUE(dialogs_.Calls().isEmpty());
    periods->SetCurrentIdent(period_);
    EXPECT_TRUE(dialogs_.Calls().isEmpty());

    // "Отмена": the interval and the typed value stay.
    type(form.Box("EditKDP"), "1,2");
    dialogs_.AnswerMessage(host::mrCancel);
    periods->SetCurrentIdent(other);
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_EQ(dialogs_.Calls()[0].text, question);
    EXPECT_EQ(dialogs_.Calls()[0].buttons, host::Buttons::YesNoCancel);
    EXPECT_EQ(params.GetSamplePeriod(), period_);
    EXPECT_EQ(periods->CurrentIdent(), period_);
    EXPECT_EQ(form.Box("EditKDP")->text(), "1,200");
    // "Да": stored for the interval it was typed for, then the other interval is shown.
    dialogs_.AnswerMessage(host::mrYes);
    periods->SetCurrentIdent(other);
    EXPECT_EQ(params.GetSamplePeriod(), other);
    const QString kdp = "select \"Kdp\" from \"LVCalcParams\" where GUID=%1 and \"Regime\"=0 and \"Level\"=0 and "
                        "\"SampleIdent\"=%2";
    EXPECT_DOUBLE_EQ(Scalar(c, kdp.arg(lv_).arg(period_)), 1.2);
    // "Нет": the typed value is given up.
    type(form.Box("EditKDP"), "1,4");
    dialogs_.AnswerMessage(host::mrNo);
    periods->SetCurrentIdent(period_);
    EXPECT_EQ(params.GetSamplePeriod(), period_);
    EXPECT_EQ(Scalar(c, kdp.arg(lv_).arg(other)), -999);  // nothing stored for the other interval
    EXPECT_DOUBLE_EQ(params.Current().Kdp, 1.2);
}
