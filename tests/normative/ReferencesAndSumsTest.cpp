#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>

#include "host/Dialogs.h"
#include "normative/AverageCrossSection.h"
#include "normative/AverageCrossSectionF.h"
#include "normative/KrazvRefUnit.h"
#include "normative/LVNormativSumObjectsUnit.h"
#include "normative/LVNormativUnit.h"
#include "support/TestSupport.h"

using namespace testing_support;
using S = TLVNormativSample0;

TEST(AverageCrossSection, WeightedByLengthOfEveryCrossSection)
{
    EXPECT_EQ(TAverageCrossSectionCommon::GetF(0), 10);
    EXPECT_EQ(TAverageCrossSectionCommon::GetF(10), 240);
    EXPECT_EQ(TAverageCrossSectionCommon::GetF(11), -1);
    EXPECT_EQ(TAverageCrossSectionCommon::GetF(-1), -1);

    TAverageCrossSection a;
    EXPECT_TRUE(a.Empty());
    a.SetItem(6, {100, 100});
    EXPECT_DOUBLE_EQ(a.AverageF(), 95);
    EXPECT_FALSE(a.Empty());
    EXPECT_TRUE(a.Modified());
    a.Clear();
    a.SetItem(0, {100, 0});
    a.SetItem(10, {0, 100});
    EXPECT_DOUBLE_EQ(a.AverageF(), 125);
    EXPECT_EQ(a.TotalVL(), 100);
    EXPECT_EQ(a.TotalKL(), 100);

    TAverageCrossSection b;
    EXPECT_FALSE(b.isEqual(a));
    b.Assign(a);
    EXPECT_TRUE(b.isEqual(a));
    EXPECT_TRUE(b.Modified());
    EXPECT_DOUBLE_EQ(b.AverageF(), 125);
    b.SetItem(0, {0, 0});
    b.SetItem(10, {0, 0});
    EXPECT_TRUE(b.Empty());
    EXPECT_FALSE(b.Modified());
    EXPECT_DOUBLE_EQ(b.AverageF(), 0);
}

TEST(AverageCrossSection, DialogRefusesNegativeLengthsAndShowsTheAverage)
{
    host::ScriptedDialogs dialogs;
    host::ScopedDialogs scope(&dialogs);
    TfrmAverageCrossSection form;
    EXPECT_EQ(form.windowTitle(), "Средневзвешенное сечение");
    QTableWidget* grid = form.Grid();
    auto* save = form.findChild<QPushButton*>("btnSave");
    auto* label = form.findChild<QLabel*>("lblAverageF");
    EXPECT_FALSE(save->isEnabled());
    EXPECT_EQ(grid->item(0, 0)->text(), "Сечение, мм²");
    EXPECT_EQ(grid->item(7, 0)->text(), "95");  // row of index 6

    grid->item(7, TfrmAverageCrossSection::ColVL)->setText("100");
    QCoreApplication::processEvents();
    grid->item(7, TfrmAverageCrossSection::ColKL)->setText("100");
    QCoreApplication::processEvents();
    EXPECT_EQ(label->text(), "  Средневзвешенное сечение, мм²: 95,000");
    EXPECT_EQ(grid->item(7, TfrmAverageCrossSection::ColTotal)->text(), "200");
    EXPECT_EQ(grid->item(TfrmAverageCrossSection::TotalsRow, TfrmAverageCrossSection::ColTotal)->text(), "200");
    EXPECT_TRUE(save->isEnabled());

    grid->item(1, TfrmAverageCrossSection::ColVL)->setText("-5");
    QCoreApplication::processEvents();
    ASSERT_EQ(dialogs.Calls().size(), 1);
    EXPECT_EQ(dialogs.Calls()[0].text, "Должно быть больше 0");
    EXPECT_EQ(grid->item(1, TfrmAverageCrossSection::ColVL)->text(), "");  // the old value is back
    EXPECT_EQ(form.Data().GetItem(0).VL, 0);

    grid->item(7, TfrmAverageCrossSection::ColKL)->setText("0");  // zero is accepted and clears the cell
    QCoreApplication::processEvents();
    EXPECT_EQ(dialogs.Calls().size(), 1);
    EXPECT_EQ(grid->item(7, TfrmAverageCrossSection::ColKL)->text(), "");
    EXPECT_EQ(form.Data().GetItem(6).KL, 0);

    form.findChild<QPushButton*>("btnClear")->click();
    EXPECT_FALSE(save->isEnabled());
    EXPECT_EQ(label->text(), "  Средневзвешенное сечение, мм²: 0,000");

    // Editing through the calculator: cancel keeps it, save takes the edits.
    TAverageCrossSection kept;
    kept.SetItem(3, {10, 0});
    CloseNextModal(QDialog::Rejected, [](QDialog* d) {
        static_cast<TfrmAverageCrossSection*>(d)->Data().SetItem(3, {99, 0});
    });
    EXPECT_FALSE(kept.Edit(nullptr));
    EXPECT_EQ(kept.GetItem(3).VL, 10);
    CloseNextModal(QDialog::Accepted, [](QDialog* d) {
        static_cast<TfrmAverageCrossSection*>(d)->Data().SetItem(3, {99, 0});
    });
    EXPECT_TRUE(kept.Edit(nullptr));
    EXPECT_EQ(kept.GetItem(3).VL, 99);
}

TEST(KrazvReference, MarksNearbyValuesAndReturnsTheChoice)
{
    TKrazvReference ref;
    EXPECT_EQ(ref.windowTitle(), "Справочник по коэффициенту разветвленности");
    ASSERT_EQ(ref.Buttons().size(), 10);
    auto pressed = [&] {
        QStringList on;
        for (QPushButton* b : ref.Buttons())
            if (b->isChecked())
                on << b->objectName() + "=" + b->text();
        return on;
    };
    ref.MarkBotton(0.7705);
    EXPECT_EQ(pressed(), QStringList({"btnKrazv_1_1=0,77"}));
    ref.MarkBotton(0.78);
    EXPECT_EQ(pressed(), QStringList({"btnKrazv_3_2=0,78"}));
    ref.MarkBotton(0.8);
    EXPECT_EQ(pressed(), QStringList({"btnKrazv_4_1=0,80"}));
    ref.MarkBotton(0.5);
    EXPECT_TRUE(pressed().isEmpty());
    ref.findChild<QPushButton*>("btnKrazv_2_3")->click();
    EXPECT_DOUBLE_EQ(ref.Value(), 0.81);
    EXPECT_EQ(pressed(), QStringList({"btnKrazv_2_3=0,81"}));

    double krazv = 0.72;
    CloseNextModal(QDialog::Rejected, [](QDialog* d) { d->findChild<QPushButton*>("btnKrazv_1_3")->click(); });
    EXPECT_FALSE(TKrazvReference::Choose(nullptr, krazv));
    EXPECT_DOUBLE_EQ(krazv, 0.72);
    QStringList shown;
    CloseNextModal(QDialog::Accepted, [&](QDialog* d) {
        for (QPushButton* b : d->findChildren<QPushButton*>())
            if (b->isChecked())
                shown << b->text();
        d->findChild<QPushButton*>("btnKrazv_3_1")->click();
    });
    EXPECT_TRUE(TKrazvReference::Choose(nullptr, krazv));
    EXPECT_EQ(shown, QStringList({"0,72"}));
    EXPECT_DOUBLE_EQ(krazv, 0.85);
}

TEST(ResultTree, SumsChildrenDepthFirst)
{
    auto element = [](int lines, double lma, double wa, int unom) {
        S s;
        s.SetNLines(lines);
        s.SetLength(S::Lma, lma);
        s.SetWa(wa);
        s.SetF(50);
        s.Setdp(0.5);
        s.Setdn(0.1);
        s.SetUnom(unom);
        return s;
    };
    S a = element(2, 0.4, 100, 0), b = element(3, 1.2, 50, 1);
    TLVBResultsCommon root("АО");
    TLVBResultsCommon* district = root.AddChild(std::make_unique<TLVBResultsCommon>("РЭС"));
    district->AddChild(std::make_unique<TLVBResultsCommon>("ТП-1", a));
    district->AddChild(std::make_unique<TLVBResultsCommon>("ТП-2", b));
    root.CalcSums();

    EXPECT_EQ(root.NLines.lower, 5);  // lines 2 and 3 give 5
    EXPECT_EQ(root.NLines.upper, 5);
    EXPECT_DOUBLE_EQ(root.Wa, 150);
    EXPECT_DOUBLE_EQ(root.DeltaWa, a.deltaWa() + b.deltaWa());
    EXPECT_EQ(root.Lengths.GetLengths(0), "1,600");         // main lines add up
    EXPECT_EQ(root.Lengths.GetLengths(29), "0,200-0,400");  // average lengths form a range
    EXPECT_EQ(root.Lengths.GetLengths(4), "");              // no branches anywhere
    EXPECT_EQ(root.VoltageText(), "400/230 220/127");
    EXPECT_EQ(root.Params[TLVBResultsCommon::F].lower, 50);
    EXPECT_TRUE(root.Params[TLVBResultsCommon::F].isSingle());
    EXPECT_FALSE(root.Params[TLVBResultsCommon::K038].isSingle());

    S shown;
    root.SetSample(shown);
    EXPECT_DOUBLE_EQ(shown.GetWa(), 150);
    EXPECT_EQ(shown.GetNLines(), 5);
    EXPECT_DOUBLE_EQ(shown.GetF(), 50);
    EXPECT_EQ(shown.GetT(), 8760);
    EXPECT_DOUBLE_EQ(shown.Getdp(), 0.5);

    // The same element over two periods: hours add up, the lines keep their range.
    TLVBResultsCommon periods("ТП-1 за два года");
    for (int i = 0; i < 2; ++i)
        periods.AddChild(std::make_unique<TLVBResultsCommon>("год", a))->SetFlag(true);
    periods.CalcSums();
    EXPECT_EQ(periods.T.lower, 2 * 8760);
    EXPECT_EQ(periods.T.upper, 2 * 8760);
    EXPECT_EQ(periods.NLines.upper, 2);
    EXPECT_DOUBLE_EQ(periods.Wa, 200);
}
