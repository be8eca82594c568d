#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTabBar>
#include <cmath>

#include "feeders/CalcParamsMax.h"
#include "feeders/CalcParamsMiddle.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/FiderHHCalcParams.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
void type(QLineEdit* box, const QString& text)
{
    box->setText(text);
    emit box->editingFinished();
}

class Regime : public ::testing::Test {
protected:
    void SetUp() override
    {
        db_ = OpenDatabase(NewDemoDatabase(folder_));
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
    TempFolder folder_;
    std::unique_ptr<TfdbDatabase> db_;
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

    // Not a number: a clear message, the parameter as it was.
    type(form.Box("EditT"), "восемь");
    ASSERT_EQ(dialogs_.Calls().size(), 1);
    EXPECT_EQ(dialogs_.Calls()[0].text, "'восемь' не является числом");
    EXPECT_DOUBLE_EQ(params.Current().T, 8760);
    EXPECT_EQ(form.Box("EditT")->text(), "8760");

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
