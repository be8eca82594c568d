#include <gtest/gtest.h>

#include <QDateTime>
#include <cmath>

#include "host/InitOZN.h"
#include "normative/LVNormativUnit.h"
#include "support/TestSupport.h"

using S = TLVNormativSample0;

namespace {
// A complete, ordinary element: 100 thousand kWh into one line of 1 km aluminium.
void fill(S& s)
{
    s.SetWa(100);
    s.SetF(50);
    s.Setdp(0.5);
    s.Setdn(0.1);
    s.SetCosFi(0.9);
    s.Setkzap(0.5);
    s.SetLength(S::Lma, 1);
}
}  // namespace

TEST(NormativeModel, DefaultsAfterClear)
{
    S s;
    EXPECT_EQ(s.GetT(), 8760);  // an empty period
    EXPECT_EQ(s.GetNLines(), 1);
    EXPECT_EQ(s.GetUnom(), 0);
    EXPECT_DOUBLE_EQ(s.GetCosFi(), Init()->GetDefaultCosFi());
    EXPECT_DOUBLE_EQ(s.Getkzap(), Init()->GetDefaultKzap());
    for (double v : {s.GetWa(), s.GetWa_bus(), s.GetF(), s.Getdp(), s.Getdn()})
        EXPECT_EQ(v, -1);
    for (int l = 0; l < S::LengthCount; ++l)
        EXPECT_EQ(s.GetLength(static_cast<S::Length>(l)), -1);

    // T from the period: a leap year has 8784 hours; a reversed period falls back to 8760.
    s.Period.SampleDate1 = QDateTime(QDate(2024, 1, 1), QTime(0, 0));
    s.Period.SampleDate2 = QDateTime(QDate(2025, 1, 1), QTime(0, 0));
    s.Clear();
    EXPECT_EQ(s.GetT(), 8784);
    std::swap(s.Period.SampleDate1, s.Period.SampleDate2);
    s.Clear();
    EXPECT_EQ(s.GetT(), 8760);
}

TEST(NormativeModel, SettersValidateCacheAndNotify)
{
    S s;
    int changes = 0;
    s.OnChange = [&] { ++changes; };
    s.SetCosFi(1.2);
    EXPECT_EQ(s.GetCosFi(), -1);  // out of range is stored as -1, never clipped
    s.Setdp(-0.1);
    s.Setdn(1.0001);
    s.Setkzap(2);
    s.SetF(0);
    s.SetNLines(0);
    s.SetT(-5);
    for (double v : {s.Getdp(), s.Getdn(), s.Getkzap(), s.GetF()})
        EXPECT_EQ(v, -1);
    EXPECT_EQ(s.GetNLines(), -1);
    EXPECT_EQ(s.GetT(), -1);
    const int before = changes;
    s.SetF(-3);  // the same stored value: nothing happens
    s.SetT(-1);
    EXPECT_EQ(changes, before);
    s.SetCosFi(0);
    s.Setdp(1);
    EXPECT_EQ(s.GetCosFi(), 0);
    EXPECT_EQ(s.Getdp(), 1);
    EXPECT_EQ(changes, before + 2);

    // The loss is cached until an input changes.
    S t;
    fill(t);
    const double first = t.deltaWa();
    EXPECT_GT(first, 0);
    t.SetWa(200);
    EXPECT_NEAR(t.deltaWa(), first * 4, 1e-9);
    t.ClearMainLine();
    EXPECT_EQ(t.GetLength(S::Lma), -2);
    EXPECT_EQ(t.GetLength(S::Lms), -1);
    EXPECT_EQ(t.Lm(), -1);
    EXPECT_EQ(t.deltaWa(), -1);  // recomputed: no lengths at all
}

TEST(NormativeModel, NetSupplyAndEquivalentLengths)
{
    S s;
    s.SetWa(100);
    s.SetWa_bus(20);
    EXPECT_DOUBLE_EQ(s.WaNet(), 80);
    s.SetWa_bus(0);
    EXPECT_DOUBLE_EQ(s.WaNet(), 100);
    s.SetWa_bus(-1);
    EXPECT_DOUBLE_EQ(s.WaNet(), 100);
    s.SetWa(-1);
    EXPECT_EQ(s.WaNet(), -1);

    s.SetLength(S::Lma, 1);
    s.SetLength(S::Lms, 1);
    s.SetLength(S::Lmm, 1);
    EXPECT_DOUBLE_EQ(s.Lm(), 5.6);
    EXPECT_DOUBLE_EQ(s.Lekv(), 5.6);
    for (S::Length l : {S::Lma, S::Lms, S::Lmm})
        s.SetLength(l, -1);
    EXPECT_EQ(s.Lm(), -1);
    EXPECT_EQ(s.Lekv(), -1);
    s.SetLength(S::L23a, 1);
    s.SetLength(S::L23ia, 0.5);
    EXPECT_DOUBLE_EQ(s.L23(), 1.5);
    EXPECT_DOUBLE_EQ(s.Lekv(), 0.66);  // the branches alone
    s.SetLength(S::L1s, 0.5);
    s.SetLength(S::L1im, 1);
    EXPECT_DOUBLE_EQ(s.L1(), 2 + 0.6);
    EXPECT_DOUBLE_EQ(s.Lekv(), 0.66 + 0.22 * 2.6);

    // The 31 indexes, totals by material, and the total and average length.
    EXPECT_DOUBLE_EQ(s.GetLengths(6), 1.5);
    EXPECT_DOUBLE_EQ(s.GetLengths(13), 1);
    EXPECT_DOUBLE_EQ(s.GetLengths(14), 0.5);
    EXPECT_DOUBLE_EQ(s.GetLengths(21), 0.5);
    EXPECT_DOUBLE_EQ(s.GetLengths(24), 1);
    EXPECT_DOUBLE_EQ(s.GetLengths(25), 2);
    EXPECT_DOUBLE_EQ(s.GetLengths(26), 0.6);
    EXPECT_EQ(s.GetLengths(9), -1);
    EXPECT_DOUBLE_EQ(s.GetLengths(28), 3);
    s.SetNLines(2);
    EXPECT_DOUBLE_EQ(s.GetLengths(29), 1.5);
    EXPECT_DOUBLE_EQ(s.GetLengths(30), s.Lekv());
    EXPECT_EQ(s.GetLengths(31), -1);
    EXPECT_DOUBLE_EQ(s.MaterialTotal(S::Aluminium), 1.5);
    EXPECT_DOUBLE_EQ(s.MaterialTotal(S::Steel), 0.5);
    EXPECT_DOUBLE_EQ(s.MaterialTotal(S::Copper), 1);
    S empty;
    EXPECT_EQ(empty.MaterialTotal(S::Copper), -1);
    EXPECT_DOUBLE_EQ(empty.AverageLength(), 0);
    empty.SetNLines(0);
    EXPECT_DOUBLE_EQ(empty.AverageLength(), 0);
}

TEST(NormativeModel, NetworkCoefficientAndLoss)
{
    S s;
    EXPECT_EQ(s.k038(), -1);
    s.Setdp(0);
    EXPECT_DOUBLE_EQ(s.k038(), 9.725);
    s.Setdp(1);
    EXPECT_NEAR(s.k038(), 5.0457, 1e-12);
    s.SetUnom(1);
    EXPECT_DOUBLE_EQ(s.ku(), 3);
    EXPECT_NEAR(s.k038(), 3 * 5.0457, 1e-12);

    S t;
    fill(t);
    // k038 = 6.075 * 1.32; w = 100 * 0.9; D = 50 * 8760 / 24; factor (2*0.5+1)/(3*0.5)
    const double expected = 6.075 * 1.32 * 90.0 * 90.0 / 0.81 * 1.0 / (50 * 8760 / 24.0) * 2 / 1.5;
    EXPECT_NEAR(t.deltaWa(), expected, 1e-12);
    EXPECT_NEAR(t.deltaWaPercent(), expected, 1e-12);  // of Wa = 100
    EXPECT_NEAR(t.CurrentDensity(), 100 * 0.9 * 1000 / (std::sqrt(3.0) * 8760 * 0.4 * 50 * 0.9), 1e-12);
    t.Setkzap(1);
    EXPECT_NEAR(t.deltaWa(), expected / (4.0 / 3), 1e-12);  // kzap 1 gives the factor 1
    t.Setkzap(-1);
    EXPECT_NEAR(t.deltaWa(), expected / 4, 1e-12);  // an unset kzap enters as it is: 1/3
    t.Setkzap(0.5);
    t.SetWa_bus(20);
    EXPECT_NEAR(t.deltaWaPercent(), t.deltaWa() / 100 * 100, 1e-12);  // the base is Wa, not WaNet
    t.SetUnom(1);
    EXPECT_NEAR(t.CurrentDensity(), 80 * 0.9 * 1000 / (std::sqrt(3.0) * 8760 * 0.22 * 50 * 0.9), 1e-12);
}

TEST(NormativeModel, PreconditionsAndOutcomes)
{
    S s;
    fill(s);
    EXPECT_EQ(s.Classify(), S::Outcome::Saved);
    EXPECT_EQ(S::OutcomeMessage(s.Classify()), "Расчет выполнен");

    // Each precondition on its own makes the loss -1.
    auto without = [](auto change) {
        S t;
        fill(t);
        change(t);
        return t.deltaWa();
    };
    EXPECT_EQ(without([](S& t) { t.SetWa(0); }), -1);
    EXPECT_EQ(without([](S& t) { t.SetWa_bus(100); }), -1);
    EXPECT_EQ(without([](S& t) { t.SetNLines(0); }), -1);
    EXPECT_EQ(without([](S& t) { t.SetCosFi(0); }), -1);  // passes the first test, fails the last
    EXPECT_EQ(without([](S& t) { t.SetF(-1); }), -1);
    EXPECT_EQ(without([](S& t) { t.SetT(0); }), -1);
    EXPECT_EQ(without([](S& t) { t.Setdn(-1); }), -1);
    EXPECT_EQ(without([](S& t) { t.Setdp(-1); }), -1);
    EXPECT_EQ(without([](S& t) { t.SetLength(S::Lma, -1); }), -1);
    EXPECT_EQ(without([](S& t) { t.SetCosFi(0); }), -1);
    EXPECT_GT(without([](S& t) { t.SetLength(S::Lma, 0); }), -1);  // a zero length is given
    EXPECT_EQ(without([](S& t) { t.SetLength(S::Lma, 0); }), 0);

    // At the crossing of 100 %, the last supply below it is saved and the first at or above it is not.
    // The loss grows with the square of the supply, so the crossing lies at Wa = 10000 / (loss at 100).
    // Neighbouring supplies are equal for the setters, so each is tried on a fresh object.
    auto withSupply = [](double wa) {
        S t;
        fill(t);
        t.SetWa(wa);
        return t;
    };
    const double at100 = withSupply(100).deltaWa();
    double below = 10000 / at100 * (1 - 1e-9), wa = below;
    ASSERT_LT(withSupply(below).deltaWaPercent(), 100);
    for (; wa < 10000 / at100 * (1 + 1e-9); wa = std::nextafter(wa, 1e9)) {
        if (withSupply(wa).deltaWaPercent() >= 100)
            break;
        below = wa;
    }
    EXPECT_EQ(withSupply(wa).Classify(), S::Outcome::Over100);
    EXPECT_EQ(withSupply(below).Classify(), S::Outcome::Saved);
    S over;
    fill(over);
    over.SetWa(10000);
    EXPECT_EQ(over.Classify(), S::Outcome::Over100);
    EXPECT_EQ(S::OutcomeMessage(S::Outcome::Over100), "Расчет не сохранен. Потери электроэнергии превышают 100%");
    S almost;
    fill(almost);
    almost.SetWa(10000 / at100 * 0.9999);  // 99.99 %
    EXPECT_LT(almost.deltaWaPercent(), 100);
    EXPECT_GT(almost.deltaWaPercent(), 99.97);
    EXPECT_EQ(almost.Classify(), S::Outcome::Saved);

    // Without supply: a stored scheme with a main line tells what is missing.
    S noSupply;
    fill(noSupply);
    noSupply.SetWa(-1);
    EXPECT_EQ(noSupply.Classify(), S::Outcome::NotEnoughData);
    noSupply.Info = 7;
    EXPECT_EQ(noSupply.Classify(), S::Outcome::NoSupply);
    EXPECT_EQ(S::OutcomeMessage(S::Outcome::NoSupply), "Расчет не выполнен. Отсутствует отпуск в сеть");
    EXPECT_EQ(S::OutcomeMessage(S::Outcome::NotEnoughData), "Расчет не выполнен. Недостаточно исходных данных");
}
