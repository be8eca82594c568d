#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSet>
#include <QTableWidget>

#include "host/Dialogs.h"
#include "normative/AverageCrossSection.h"
#include "normative/AverageCrossSectionF.h"
#include "normative/KrazvRefUnit.h"
#include "normative/LVNormativSumObjectsUnit.h"
#include "normative/LVNormativUnit.h"
#include "support/TestWidgets.h"

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

TEST(AverageCrossSection, EveryRowHasItsStandardCrossSection)
{
    const double table[TAverageCrossSectionCommon::RowCount] = {10, 16, 25, 35, 50, 70, 95, 120, 150, 185, 240};
    for (int i = 0; i < TAverageCrossSectionCommon::RowCount; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(TAverageCrossSectionCommon::GetF(i), table[i]);
        // A single row gives its own cross-section whatever the kind of line.
        TAverageCrossSection one;
        one.SetItem(i, {300, 0});
        EXPECT_DOUBLE_EQ(one.AverageF(), table[i]);
        one.SetItem(i, {0, 45});
        EXPECT_DOUBLE_EQ(one.AverageF(), table[i]);
    }
    EXPECT_EQ(TAverageCrossSectionCommon::GetF(-1), -1);
    EXPECT_EQ(TAverageCrossSectionCommon::GetF(TAverageCrossSectionCommon::RowCount), -1);

    // Every row at once with weights 1 to 11 (1 m overhead and i m cable in row i):
    // 10*1 + 16*2 + 25*3 + 35*4 + 50*5 + 70*6 + 95*7 + 120*8 + 150*9 + 185*10 + 240*11
    //   = 10 + 32 + 75 + 140 + 250 + 420 + 665 + 960 + 1350 + 1850 + 2640 = 8392, over 66 m.
    TAverageCrossSection all;
    for (int i = 0; i < TAverageCrossSectionCommon::RowCount; ++i)
        all.SetItem(i, {1, i});
    EXPECT_NEAR(all.AverageF(), 8392.0 / 66, 1e-12);
    EXPECT_EQ(all.TotalVL(), 11);
    EXPECT_EQ(all.TotalKL(), 55);  // 0 + 1 + ... + 10

    // Two rows: 35 mm² over 200 m and 185 mm² over 50 m give (7000 + 9250) / 250 = 65.
    TAverageCrossSection two;
    two.SetItem(3, {150, 50});
    two.SetItem(9, {0, 50});
    EXPECT_DOUBLE_EQ(two.AverageF(), 65);
    // A row whose lengths add up to zero or less is left out.
    two.SetItem(5, {20, -20});
    EXPECT_DOUBLE_EQ(two.AverageF(), 65);
    two.SetItem(5, {20, -30});
    EXPECT_DOUBLE_EQ(two.AverageF(), 65);
}

TEST(KrazvReference, EveryValueSitsUnderItsSchemeAndColumn)
{
    TKrazvReference ref;
    auto* grid = ref.findChild<QGridLayout*>();
    ASSERT_NE(grid, nullptr);
    const auto textAt = [&](int row, int column) {
        QLayoutItem* item = grid->itemAtPosition(row, column);
        auto* label = item ? qobject_cast<QLabel*>(item->widget()) : nullptr;
        return label ? label->text() : QString();
    };
    struct Cell {
        QString scheme, column;
        double value;
    };
    const QString radial = "Радиальная", ray = "Лучевая", mixed = "Смешанная,\nРадиально-лучевая",
                  unknown = "Значение при отсутствии данных о схеме";
    const QList<Cell> table = {{radial, "1-4", 0.77}, {radial, "5-10", 0.72}, {radial, "11 и более", 0.68},
                               {ray, "1-4", 0.93},    {ray, "5-10", 0.87},    {ray, "11 и более", 0.81},
                               {mixed, "1-4", 0.85},  {mixed, "5-10", 0.78},  {mixed, "11 и более", 0.75},
                               {unknown, "1-4", 0.80}};
    ASSERT_EQ(ref.Buttons().size(), table.size());

    QSet<QPushButton*> seen;
    for (const Cell& cell : table) {
        SCOPED_TRACE(QString("%1 / %2").arg(cell.scheme, cell.column).toStdString());
        // Marking the value presses exactly one button, the one in the scheme's row and the column.
        ref.MarkBotton(cell.value);
        QPushButton* pressed = nullptr;
        int count = 0;
        for (QPushButton* b : ref.Buttons())
            if (b->isChecked()) {
                pressed = b;
                ++count;
            }
        ASSERT_EQ(count, 1);
        int row = -1, column = -1, rowSpan = 0, columnSpan = 0;
        grid->getItemPosition(grid->indexOf(pressed), &row, &column, &rowSpan, &columnSpan);
        EXPECT_EQ(textAt(row, 0), cell.scheme);
        EXPECT_EQ(textAt(0, column), cell.column);
        seen.insert(pressed);

        // Pressing it gives the value back.
        ref.MarkBotton(0);
        pressed->click();
        EXPECT_DOUBLE_EQ(ref.Value(), cell.value);
        EXPECT_TRUE(pressed->isChecked());
    }
    EXPECT_EQ(seen.size(), table.size());
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
