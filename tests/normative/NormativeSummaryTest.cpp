// The aggregate of normative results made the inputs of one element, the summation over the months of a
// period, and the form's choosers of the period and of the summation.
#include <gtest/gtest.h>

#include <QComboBox>
#include <QHash>
#include <QKeyEvent>
#include <QTest>
#include <QTreeView>
#include <QWheelEvent>
#include <tuple>

#include "host/Database.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/SamplesTreeBox.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "normative/LVNormativMethod04Unit.h"
#include "normative/LVNormativReports.h"
#include "normative/LVNormativSumObjectsUnit.h"
#include "normative/LVNormativUnit.h"
#include "support/TestSupport.h"

using namespace testing_support;
using S = TLVNormativSample0;

TEST(ResultTree, RewritingTakesTheSummedLengthsAndTheMeansOfWhatDiffers)
{
    // Two substations: net supplies 80 and 300, two and three lines, the same fill factor.
    S a, b;
    a.SetWa(100);
    a.SetWa_bus(20);
    a.SetNLines(2);
    a.SetCosFi(0.9);
    a.SetF(50);
    a.Setdp(0.6);
    a.Setdn(0.1);
    a.Setkzap(0.5);
    a.SetLength(S::Lma, 1.0);
    a.SetLength(S::L23a, 0.5);
    a.SetLength(S::L23ia, 0.1);
    a.SetLength(S::L1s, 0.2);
    a.SetLength(S::L1im, 0.05);
    b.SetWa(300);
    b.SetNLines(3);
    b.SetCosFi(0.8);
    b.SetF(70);
    b.Setdp(0.3);
    b.Setdn(0.2);
    b.Setkzap(0.5);
    b.SetLength(S::Lma, 2.0);
    b.SetLength(S::Lms, 0.3);
    b.SetLength(S::L23a, 0.4);
    b.SetLength(S::L1a, 0.7);
    TLVBResultsCommon feeder("Ф-1");
    feeder.AddChild(std::make_unique<TLVBResultsCommon>("ТП-1", a));
    feeder.AddChild(std::make_unique<TLVBResultsCommon>("ТП-2", b));
    feeder.CalcSums();
    EXPECT_DOUBLE_EQ(feeder.Wa, 400);
    EXPECT_DOUBLE_EQ(feeder.Wa_bus, 20);  // only the first has a busbar supply

    // Shown as it is: only what is single-valued.
    S shown;
    feeder.SetSample(shown);
    EXPECT_DOUBLE_EQ(shown.GetCosFi(), -1);
    EXPECT_DOUBLE_EQ(shown.GetF(), -1);
    EXPECT_DOUBLE_EQ(shown.Getkzap(), 0.5);
    EXPECT_EQ(shown.GetNLines(), 5);
    EXPECT_DOUBLE_EQ(shown.GetLength(S::Lma), -1);  // lengths are not shown as inputs

    // Rewritten: cos φ and the shares weighted by net supply, the cross-section by lines.
    EXPECT_NEAR(feeder.Mean(TLVBResultsCommon::CosFi), (0.9 * 80 + 0.8 * 300) / 380, 1e-12);
    EXPECT_NEAR(feeder.Mean(TLVBResultsCommon::Dp), (0.6 * 80 + 0.3 * 300) / 380, 1e-12);
    EXPECT_NEAR(feeder.Mean(TLVBResultsCommon::Dn), (0.1 * 80 + 0.2 * 300) / 380, 1e-12);
    EXPECT_NEAR(feeder.Mean(TLVBResultsCommon::F), (50.0 * 2 + 70 * 3) / 5, 1e-12);
    EXPECT_DOUBLE_EQ(feeder.Mean(TLVBResultsCommon::Kzap), 0.5);
    S element;
    feeder.RewriteSample(element);
    EXPECT_DOUBLE_EQ(element.GetWa(), 400);
    EXPECT_DOUBLE_EQ(element.GetWa_bus(), 20);
    EXPECT_EQ(element.GetNLines(), 5);
    EXPECT_NEAR(element.GetCosFi(), 312.0 / 380, 1e-12);
    EXPECT_NEAR(element.GetF(), 62, 1e-12);
    const std::pair<S::Length, double> lengths[] = {{S::Lma, 3.0},  {S::Lms, 0.3}, {S::Lmm, -1},    {S::L23a, 0.9},
                                                    {S::L23s, -1},  {S::L23m, -1}, {S::L23ia, 0.1}, {S::L23is, -1},
                                                    {S::L23im, -1}, {S::L1a, 0.7}, {S::L1s, 0.2},   {S::L1m, -1},
                                                    {S::L1ia, -1},  {S::L1is, -1}, {S::L1im, 0.05}};
    for (const auto& [l, v] : lengths)
        EXPECT_NEAR(element.GetLength(l), v, 1e-12) << S::LengthNames[l];
    // Its equivalent length is the sum of theirs: Lm 1 + 0.44·0.6 + 0.22·(4·0.2 + 0.6·0.05) = 1.4466 and
    // (2 + 4·0.3) + 0.44·0.4 + 0.22·0.7 = 3.53.
    EXPECT_NEAR(element.Lekv(), 1.4466 + 3.53, 1e-12);
    EXPECT_NEAR(feeder.Lengths[30].upper, 1.4466 + 3.53, 1e-12);
    EXPECT_GT(element.deltaWa(), 0);

    // A loss the method would not save is not summed; the element's energy still is.
    S over = a;  // the same network carrying a thousand times the energy: the loss grows with its square
    over.SetWa(100000);
    over.SetWa_bus(-1);
    ASSERT_EQ(over.Classify(), S::Outcome::Over100);
    TLVBResultsCommon withOver("Ф-3");
    withOver.AddChild(std::make_unique<TLVBResultsCommon>("ТП-1", a));
    withOver.AddChild(std::make_unique<TLVBResultsCommon>("ТП-5", over));
    withOver.CalcSums();
    EXPECT_DOUBLE_EQ(withOver.DeltaWa, a.deltaWa());
    EXPECT_DOUBLE_EQ(withOver.Wa, 100100);

    // Hours and voltages that differ keep the element's own; busbar supplies add up.
    S c = a, d = b;
    c.SetT(4380);
    d.SetUnom(1);
    d.SetWa_bus(7);
    TLVBResultsCommon mixed("Ф-2");
    mixed.AddChild(std::make_unique<TLVBResultsCommon>("ТП-3", c));
    mixed.AddChild(std::make_unique<TLVBResultsCommon>("ТП-4", d));
    mixed.CalcSums();
    EXPECT_DOUBLE_EQ(mixed.Wa_bus, 27);
    EXPECT_EQ(mixed.VoltageText(), "400/230 220/127");
    S own;
    own.SetT(744);
    own.SetUnom(1);
    mixed.RewriteSample(own);
    EXPECT_EQ(own.GetT(), 744);
    EXPECT_EQ(own.GetUnom(), 1);
    S fresh;  // the year's hours, 400/230
    mixed.SetSample(fresh);
    EXPECT_EQ(fresh.GetT(), -1);
    // Net supplies 80 and 293: the mean of cos φ moves with them.
    EXPECT_NEAR(mixed.Mean(TLVBResultsCommon::CosFi), (0.9 * 80 + 0.8 * 293) / 373, 1e-12);
}

namespace {
class MonthSums : public DatabaseTest {
protected:
    void SetUp() override
    {
        OpenNew(true);
        for (const TSamplePeriodInfo& p : db_->GetSamplePeriods()->Items())
            idents_.insert(p.Name, p.Ident);
        year_ = *db_->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(idents_.value("2023г."));
        // A substation with a stored result of the year, under a feeder.
        tp_ = IntScalar(*c_, Fmt("select first 1 b.guid from \"LVWResultsB\" b join \"Nodes\" "
                                 "nod on nod.guid=b.guid where b.\"SampleIdent\"=%1 order by 1",
                                 year_.Ident));
        info_ = IntScalar(
            *c_, Fmt("select \"Info\" from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", tp_, year_.Ident));
        // Its results of January and February, on the same scheme.
        for (auto [month, wa, t] : {std::tuple{"Январь 2023", 30.0, 744}, {"Февраль 2023", 40.5, 672}})
            Exec(*c_, Fmt("insert into \"LVWResultsB\" (\"SampleIdent\", guid, \"Wa\", T, \"Info\", "
                          "\"deltaWa\") values (%1, %2, %3, %4, %5, 0.5)",
                          idents_.value(month), tp_, wa, t, info_));
    }
    double SchemeValue(const char* column)
    {
        return Scalar(*c_, Fmt("select \"%1\" from \"LVFidersB\" where \"Ident\"=%2", column, info_));
    }
    QHash<QString, int> idents_;
    TSamplePeriodInfo year_;
    int tp_ = 0, info_ = 0;
};
}  // namespace

TEST_F(MonthSums, AnElementOverTheMonthsOfTheYearAddsItsEnergiesAndHoursNotItsLines)
{
    const std::vector<TSamplePeriodInfo> months = MonthsOf(year_, db_->GetSamplePeriods()->Items());
    ASSERT_EQ(months.size(), 12u);
    EXPECT_EQ(months.front().Name, "Январь 2023");
    EXPECT_EQ(months.back().Name, "Декабрь 2023");
    EXPECT_EQ(MonthsOf(months[1], db_->GetSamplePeriods()->Items()).size(), 1u);  // a month holds itself

    ToznListItemCommon* tp = db_->GetTree()->Find(tp_);
    const TNormativeSummary byMonths(*c_, tp, year_, {months, false});
    ASSERT_NE(byMonths.Root(), nullptr);
    const TLVBResultsCommon& e = *byMonths.Root();
    EXPECT_DOUBLE_EQ(e.Wa, 70.5);
    // Each month's loss by the model, from the scheme and the year's stored Lekv and k0.4.
    auto stored = [&](const char* column) {
        return Scalar(*c_, Fmt("select \"%1\" from \"LVWResultsB\" where guid=%2 and \"SampleIdent\"=%3", column, tp_,
                               year_.Ident));
    };
    const double lekv = stored("Lekv"), k038 = stored("k038"), lines = SchemeValue("NLines"), dn = SchemeValue("dn"),
                 cos = SchemeValue("CosFi"), f = SchemeValue("F"), kzap = SchemeValue("kzap");
    auto loss = [&](double wa, int hours) {
        const double w = wa / lines * (1 - dn);
        return k038 * w * w / (cos * cos) * lekv / (f * hours / 24) * (2 * kzap + 1) / (3 * kzap);
    };
    EXPECT_NEAR(e.DeltaWa, loss(30, 744) + loss(40.5, 672), 1e-9);
    EXPECT_EQ(e.T.lower, 744 + 672);
    EXPECT_EQ(e.T.upper, 744 + 672);
    EXPECT_EQ(e.NLines.upper, SchemeValue("NLines"));
    EXPECT_DOUBLE_EQ(e.Lengths[0].upper, SchemeValue("Lma"));  // the scheme's lengths, not twice
    ASSERT_EQ(e.ChildCount(), 2);
    EXPECT_TRUE(e.Child(0)->Flag());
    EXPECT_EQ(e.Child(0)->Name(), "Январь 2023");

    // One level up the element counts once, with its lines and lengths.
    ToznListItemCommon* feeder = tp->Parent();
    while (feeder->GetNodeType() != NodeType::Fiders)
        feeder = feeder->Parent();
    const TNormativeSummary above(*c_, feeder, year_, {months, false});
    ASSERT_NE(above.Root(), nullptr);
    EXPECT_EQ(above.ElementCount(), 1);
    EXPECT_DOUBLE_EQ(above.Root()->Wa, 70.5);
    EXPECT_EQ(above.Root()->NLines.upper, SchemeValue("NLines"));
    EXPECT_DOUBLE_EQ(above.Root()->Lengths[0].upper, SchemeValue("Lma"));
    // The year's own results are another sum.
    const TNormativeSummary ofYear(*c_, tp, year_);
    EXPECT_DOUBLE_EQ(
        ofYear.Root()->Wa,
        Scalar(*c_, Fmt("select \"Wa\" from \"LVWResultsB\" where guid=%1 and \"SampleIdent\"=%2", tp_, year_.Ident)));
    EXPECT_EQ(ofYear.Root()->ChildCount(), 0);
}

TEST_F(MonthSums, TheFormChoosesPeriodsInATreeAndHowTheyAreSummed)
{
    std::unique_ptr<TLVNormativMethodForm4> form(
        TLVNormativMethodForm1::CreateForm<TLVNormativMethodForm4>(nullptr, db_.get()));
    auto* box = form->findChild<TSamplesTreeBox*>("ComboSamplesDates");
    ASSERT_NE(box, nullptr);
    // Each year with its twelve months under it, the years in order.
    const auto shape = box->Shape();
    ASSERT_GE(shape.size(), 3);
    for (const auto& [year, months] : shape) {
        const TSamplePeriodInfo* y = db_->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(year);
        ASSERT_NE(y, nullptr);
        EXPECT_EQ(y->Period, 1);
        EXPECT_EQ(months.size(), 12);
        for (int m : months)
            EXPECT_EQ(db_->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(m)->SampleDate1.date().year(),
                      y->SampleDate1.date().year());
    }
    // The form opens on the latest interval with stored results: the demo's last year (its months of 2023
    // that this test stores start earlier).
    EXPECT_EQ(form->Period().Name, "2025г.");

    // A month is chosen in the popup under its year, and shown by its name.
    ASSERT_TRUE(form->SetPeriod(year_.Ident));
    form->show();
    box->showPopup();
    auto* view = qobject_cast<QTreeView*>(box->view());
    ASSERT_NE(view, nullptr);
    const QModelIndex march = view->model()->index(
        2, 0, view->model()->match(view->model()->index(0, 0), Qt::DisplayRole, "2023г.").value(0));
    ASSERT_EQ(march.data().toString(), "Март 2023");
    view->scrollTo(march);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(march).center());
    EXPECT_EQ(form->Period().Name, "Март 2023");
    EXPECT_EQ(box->currentText(), "Март 2023");
    EXPECT_FALSE(box->SetCurrentIdent(987654));
    EXPECT_EQ(box->CurrentIdent(), idents_.value("Март 2023"));

    // The summary of the year: the year's results, or each element's over its months.
    ASSERT_TRUE(form->SetPeriod(year_.Ident));
    auto* model = static_cast<TreeModel*>(form->Tree()->model());
    form->Tree()->setCurrentIndex(model->IndexOf(db_->GetTree()->Find(tp_)));
    form->SetDetailed(true);
    form->SetSumming(TLVNormativMethodForm1::SumMode::Months);
    const QString months = form->SummaryHtml();
    EXPECT_TRUE(months.contains("Январь 2023")) << months.toStdString();
    EXPECT_TRUE(months.contains("Февраль 2023"));
    EXPECT_TRUE(
        form->ReportHtml().contains("<td>Трансформация в сеть 0,4 кВ, тыс. кВт.ч</td><td align='right'>70,500</td>"))
        << form->ReportHtml().toStdString();
    EXPECT_TRUE(form->ReportHtml().contains("<td>Расчетный период, часов</td><td align='right'>" +
                                            FormatFloat("#,##0", 744 + 672) + "</td>"));
    form->SetSumming(TLVNormativMethodForm1::SumMode::Period);
    EXPECT_FALSE(form->SummaryHtml().contains("Январь 2023"));
    EXPECT_FALSE(form->ReportHtml().contains("70,500"));
}

TEST(SamplesTreeBox, OpensOnTheLatestIntervalWithDataElseTheLatestBegun)
{
    auto period = [](int ident, int kind, QDate start, QDate end) {
        TSamplePeriodInfo p;
        p.Ident = ident;
        p.Period = kind;
        p.Name = QString::number(ident);
        p.SampleDate1 = QDateTime(start, QTime(0, 0));
        p.SampleDate2 = QDateTime(end, QTime(0, 0));
        return p;
    };
    const QDate today = QDate::currentDate();
    const std::vector<TSamplePeriodInfo> periods = {
        period(1, 1, QDate(2022, 1, 1), QDate(2023, 1, 1)),
        period(2, 4, QDate(2022, 3, 1), QDate(2022, 4, 1)),
        period(3, 1, QDate(2023, 1, 1), QDate(2024, 1, 1)),
        period(4, 1, today.addYears(1), today.addYears(2)),  // not begun yet
        period(5, 7, QDate(2021, 6, 1), QDate(2021, 9, 1)),  // a season of no year
    };
    EXPECT_EQ(DefaultPeriod(periods, {1, 2}), 2);  // the March after the year: it starts later
    EXPECT_EQ(DefaultPeriod(periods, {}), 3);
    EXPECT_EQ(DefaultPeriod(periods, {99}), 3);
    EXPECT_EQ(DefaultPeriod({periods[3]}, {}), 4);
    EXPECT_EQ(DefaultPeriod({}, {}), 0);

    TSamplesTreeBox box;
    box.Fill(periods);
    const QList<QPair<int, QList<int>>> shape = {{5, {}}, {1, {2}}, {3, {}}, {4, {}}};
    EXPECT_EQ(box.Shape(), shape);
    int told = 0;
    QObject::connect(&box, &TSamplesTreeBox::CurrentIdentChanged, [&](int ident) { told = ident; });
    EXPECT_TRUE(box.SetCurrentIdent(2));
    EXPECT_EQ(told, 2);
    EXPECT_EQ(box.currentText(), "2");
    // Filled again, the box keeps its interval.
    box.Fill(periods);
    EXPECT_EQ(box.CurrentIdent(), 2);
    EXPECT_EQ(box.currentText(), "2");

    // The arrows and the wheel go through the tree's order: from the March of 2022 to the next year, not to
    // the second top row.
    auto key = [&](Qt::Key k) {
        QKeyEvent press(QEvent::KeyPress, k, Qt::NoModifier);
        QApplication::sendEvent(&box, &press);
    };
    key(Qt::Key_Down);
    EXPECT_EQ(box.CurrentIdent(), 3);
    EXPECT_EQ(told, 3);
    key(Qt::Key_Up);
    key(Qt::Key_Up);
    EXPECT_EQ(box.CurrentIdent(), 1);
    key(Qt::Key_Home);
    EXPECT_EQ(box.CurrentIdent(), 5);
    key(Qt::Key_Up);  // stays at the first
    EXPECT_EQ(box.CurrentIdent(), 5);
    QWheelEvent down(QPointF(5, 5), QPointF(5, 5), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                     Qt::NoScrollPhase, false);
    QApplication::sendEvent(&box, &down);
    EXPECT_EQ(box.CurrentIdent(), 1);
    key(Qt::Key_End);
    EXPECT_EQ(box.CurrentIdent(), 4);
}
