#include <gtest/gtest.h>

#include <QDateTime>
#include <cmath>
#include <limits>
#include <utility>

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

TEST(NormativeModel, SettersNotifyOnlyOfChangesAndTheLossIsCached)
{
    S s;
    int changes = 0;
    s.OnChange = [&] { ++changes; };
    s.SetF(0);
    s.SetT(-5);
    EXPECT_EQ(s.GetT(), -1);  // out of range is stored as -1, never clipped
    const int before = changes;
    s.SetF(-3);  // the same stored value: nothing happens
    s.SetT(-1);
    EXPECT_EQ(changes, before);
    s.SetCosFi(0);
    s.Setdp(1);
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

    // Without a main line the equivalent length is that of the branches alone.
    EXPECT_EQ(s.Lm(), -1);
    EXPECT_EQ(s.Lekv(), -1);
    s.SetLength(S::L23a, 1);
    s.SetLength(S::L23ia, 0.5);
    EXPECT_DOUBLE_EQ(s.Lekv(), 0.66);
    EXPECT_EQ(s.GetLengths(9), -1);
    S empty;
    EXPECT_DOUBLE_EQ(empty.AverageLength(), 0);
    empty.SetNLines(0);
    EXPECT_DOUBLE_EQ(empty.AverageLength(), 0);
}

TEST(NormativeModel, NetworkCoefficientAndLoss)
{
    S s;
    EXPECT_EQ(s.k038(), -1);
    s.Setdp(1);
    s.SetUnom(1);
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
    EXPECT_EQ(S::OutcomeMessage(S::Outcome::Over100), "Расчет не сохранен. Потери электроэнергии превышают 100%");

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

TEST(NormativeModel, EveryLengthIndexHasItsOwnValue)
{
    // Fifteen different lengths (km) so that all 31 shown values differ from each other.
    S s;
    const std::pair<S::Length, double> given[] = {{S::Lma, 0.1},   {S::Lms, 0.2},  {S::Lmm, 0.3},   {S::L23a, 0.5},
                                                  {S::L23s, 0.7},  {S::L23m, 1.1}, {S::L23ia, 1.3}, {S::L23is, 1.7},
                                                  {S::L23im, 1.9}, {S::L1a, 2.3},  {S::L1s, 2.9},   {S::L1m, 3.1},
                                                  {S::L1ia, 3.7},  {S::L1is, 4.1}, {S::L1im, 4.3}};
    for (const auto& [length, value] : given)
        s.SetLength(length, value);
    s.SetNLines(3);

    const double expected[S::LengthIndexCount] = {
        0.1,      // 0 Lma
        0.2,      // 1 Lms
        0.3,      // 2 Lmm
        1.08,     // 3 Lm = 0.1 + 4*0.2 + 0.6*0.3
        0.5,      // 4 L23a
        1.3,      // 5 L23ia
        1.8,      // 6 aluminium branches with their inputs: 0.5 + 1.3
        0.7,      // 7 L23s
        1.7,      // 8 L23is
        2.4,      // 9 steel: 0.7 + 1.7
        1.1,      // 10 L23m
        1.9,      // 11 L23im
        3.0,      // 12 copper: 1.1 + 1.9
        3.96,     // 13 branches alone: 0.5 + 4*0.7 + 0.6*1.1
        9.24,     // 14 inputs alone: 1.3 + 4*1.7 + 0.6*1.9
        13.2,     // 15 L23 = 1.8 + 4*2.4 + 0.6*3.0
        2.3,      // 16 L1a
        3.7,      // 17 L1ia
        6.0,      // 18 aluminium: 2.3 + 3.7
        2.9,      // 19 L1s
        4.1,      // 20 L1is
        7.0,      // 21 steel: 2.9 + 4.1
        3.1,      // 22 L1m
        4.3,      // 23 L1im
        7.4,      // 24 copper: 3.1 + 4.3
        15.76,    // 25 branches alone: 2.3 + 4*2.9 + 0.6*3.1
        22.68,    // 26 inputs alone: 3.7 + 4*4.1 + 0.6*4.3
        38.44,    // 27 L1 = 6 + 4*7 + 0.6*7.4
        28.2,     // 28 all fifteen added up
        9.4,      // 29 28.2 over 3 lines
        15.3448,  // 30 Lekv = 1.08 + 0.44*13.2 + 0.22*38.44 = 1.08 + 5.808 + 8.4568
    };
    for (int i = 0; i < S::LengthIndexCount; ++i)
        EXPECT_NEAR(s.GetLengths(i), expected[i], 1e-9 * expected[i]) << "index " << i;
    EXPECT_NEAR(s.Lm(), 1.08, 1e-12);
    EXPECT_NEAR(s.L23(), 13.2, 1e-12);
    EXPECT_NEAR(s.L1(), 38.44, 1e-12);
    EXPECT_NEAR(s.Lekv(), 15.3448, 1e-12);
    EXPECT_NEAR(s.TotalLength(), 28.2, 1e-12);
    EXPECT_NEAR(s.AverageLength(), 9.4, 1e-12);
    EXPECT_EQ(s.GetLengths(-1), -1);
    EXPECT_EQ(s.GetLengths(S::LengthIndexCount), -1);

    // Each material across both kinds of branches, their inputs and the main line.
    EXPECT_NEAR(s.MaterialTotal(S::Aluminium), 7.9, 1e-12);  // 0.5 + 1.3 + 2.3 + 3.7 + 0.1
    EXPECT_NEAR(s.MaterialTotal(S::Steel), 9.6, 1e-12);      // 0.7 + 1.7 + 2.9 + 4.1 + 0.2
    EXPECT_NEAR(s.MaterialTotal(S::Copper), 10.7, 1e-12);    // 1.1 + 1.9 + 3.1 + 4.3 + 0.3

    // The main line alone counts for its own material only.
    S line;
    line.SetLength(S::Lms, 0.25);
    EXPECT_EQ(line.MaterialTotal(S::Aluminium), -1);
    EXPECT_DOUBLE_EQ(line.MaterialTotal(S::Steel), 0.25);
    EXPECT_EQ(line.MaterialTotal(S::Copper), -1);
    line.SetLength(S::Lma, 0.5);
    line.SetLength(S::Lmm, 0.75);
    EXPECT_DOUBLE_EQ(line.MaterialTotal(S::Aluminium), 0.5);
    EXPECT_DOUBLE_EQ(line.MaterialTotal(S::Copper), 0.75);
    // An input without its branch still counts, a missing branch adds nothing.
    line.SetLength(S::L1im, 0.125);
    line.SetLength(S::L23a, 1);
    EXPECT_DOUBLE_EQ(line.MaterialTotal(S::Copper), 0.875);   // 0.75 + 0.125
    EXPECT_DOUBLE_EQ(line.MaterialTotal(S::Aluminium), 1.5);  // 0.5 + 1
    EXPECT_DOUBLE_EQ(line.MaterialTotal(S::Steel), 0.25);

    // Lengths given as zero add up to exactly 0, which reads as "no such material".
    S zeros;
    for (S::Length l : {S::Lma, S::L23a, S::L23ia, S::L1a, S::L1ia})
        zeros.SetLength(l, 0);
    zeros.SetLength(S::Lmm, 0.001);
    EXPECT_EQ(zeros.MaterialTotal(S::Aluminium), -1);
    EXPECT_EQ(zeros.MaterialTotal(S::Steel), -1);
    EXPECT_DOUBLE_EQ(zeros.MaterialTotal(S::Copper), 0.001);  // small, but not zero
    EXPECT_DOUBLE_EQ(zeros.GetLengths(6), 0);                 // the kind total itself stays 0
    EXPECT_DOUBLE_EQ(zeros.GetLengths(28), 0.001);
}

TEST(NormativeModel, SeveralLinesShareTheSupply)
{
    // 300 thousand kWh less 60 through the busbars, into 3 lines; 2400 hours.
    S s;
    s.SetWa(300);
    s.SetWa_bus(60);
    s.SetNLines(3);
    s.SetT(2400);
    s.SetF(50);
    s.Setdp(0.5);
    s.Setdn(0.25);
    s.SetCosFi(0.5);
    s.Setkzap(0.5);
    s.SetLength(S::Lma, 2);
    s.SetLength(S::L23ia, 1.5);

    // k038 = (7.78 - 2.67*0.5 - 1.48*0.25) * (1.25 + 0.14*0.5) = 6.075 * 1.32 = 8.019
    EXPECT_NEAR(s.k038(), 8.019, 1e-12);
    // Lekv = 2 + 0.44*1.5 = 2.66
    EXPECT_NEAR(s.Lekv(), 2.66, 1e-12);
    // w = 240 / 3 * 0.75 = 60; D = 50 * 2400 / 24 = 5000; w²/cos² = 3600 / 0.25 = 14400;
    // (2*0.5 + 1) / (3*0.5) = 4/3; loss = 8.019 * 14400 * 2.66 / 5000 * 4/3 = 8.019 * 10.2144
    EXPECT_NEAR(s.deltaWa(), 81.9092736, 1e-9);
    EXPECT_NEAR(s.deltaWaPercent(), 27.3030912, 1e-9);  // 81.9092736 of 300
    // j = 240 * 0.75 * 1000 / (√3 * 2400 * 0.4 * 3 * 50 * 0.5) = 180000 / (72000 √3) = 2.5 / √3
    EXPECT_NEAR(s.CurrentDensity(), 2.5 / std::sqrt(3.0), 1e-12);
    // (2 + 1.5) km over 3 lines
    EXPECT_NEAR(s.AverageLength(), 3.5 / 3, 1e-12);
    EXPECT_NEAR(s.GetLengths(29), 3.5 / 3, 1e-12);

    // 220/127 V: ku = 3 triples the loss; U = 0.22 in the density.
    s.SetUnom(1);
    EXPECT_NEAR(s.deltaWa(), 245.7278208, 1e-9);  // 3 * 81.9092736
    // 180000 / (√3 * 2400 * 0.22 * 3 * 50 * 0.5) = 180000 / (39600 √3) = 50 / (11 √3)
    EXPECT_NEAR(s.CurrentDensity(), 50 / (11 * std::sqrt(3.0)), 1e-12);
    s.SetUnom(0);

    // Both ends of the unit range work in the formulas.
    s.Setdn(0);  // w = 80: the loss grows by (80/60)² = 16/9
    EXPECT_NEAR(s.deltaWa(), 81.9092736 * 16 / 9, 1e-9);
    EXPECT_NEAR(s.CurrentDensity(), 240 * 1000 / (72000 * std::sqrt(3.0)), 1e-12);
    s.Setdn(1);  // everything is lost on the way: no load, no loss
    EXPECT_EQ(s.deltaWa(), 0);
    EXPECT_EQ(s.CurrentDensity(), 0);
    s.Setdn(0.25);
    s.SetCosFi(1);  // cos² from 0.25 to 1
    EXPECT_NEAR(s.deltaWa(), 81.9092736 / 4, 1e-9);
    EXPECT_NEAR(s.CurrentDensity(), 1.25 / std::sqrt(3.0), 1e-12);
    s.SetCosFi(0.5);
    s.Setkzap(1);  // (2 + 1) / 3 = 1 instead of 4/3
    EXPECT_NEAR(s.deltaWa(), 81.9092736 * 3 / 4, 1e-9);
    // k038 = 7.78 * 1.25 = 9.725; with the kzap factor 1 the loss is k038 * 14400 * 2.66 / 5000
    // = k038 * 7.6608 = 74.50128
    s.Setdp(0);
    EXPECT_NEAR(s.deltaWa(), 74.50128, 1e-9);
    // k038 = (7.78 - 2.67 - 1.48) * (1.25 + 0.14) = 3.63 * 1.39 = 5.0457
    s.Setdp(1);
    EXPECT_NEAR(s.deltaWa(), 5.0457 * 7.6608, 1e-9);

    // A single line takes the whole supply.
    s.Setdp(0.5);
    s.Setkzap(0.5);
    s.SetNLines(1);
    EXPECT_NEAR(s.deltaWa(), 81.9092736 * 9, 1e-9);  // w three times larger
    EXPECT_NEAR(s.CurrentDensity(), 7.5 / std::sqrt(3.0), 1e-12);
    EXPECT_NEAR(s.AverageLength(), 3.5, 1e-12);
}

TEST(NormativeModel, UnitRangeSettersIncludeBothEnds)
{
    using Setter = void (S::*)(double);
    using Getter = double (S::*)() const;
    const struct {
        const char* name;
        Setter set;
        Getter get;
    } fields[] = {{"CosFi", &S::SetCosFi, &S::GetCosFi},
                  {"dp", &S::Setdp, &S::Getdp},
                  {"dn", &S::Setdn, &S::Getdn},
                  {"kzap", &S::Setkzap, &S::Getkzap}};
    for (const auto& f : fields) {
        SCOPED_TRACE(f.name);
        S s;
        const auto stored = [&](double value) {
            (s.*f.set)(value);
            return (s.*f.get)();
        };
        EXPECT_EQ(stored(1), 1);
        EXPECT_EQ(stored(std::nextafter(1.0, 2.0)), -1);
        EXPECT_EQ(stored(0), 0);
        EXPECT_EQ(stored(-std::numeric_limits<double>::denorm_min()), -1);
        EXPECT_EQ(stored(0.999), 0.999);
        EXPECT_EQ(stored(1e-9), 1e-9);
    }

    // The cross-section, the number of lines and the hours only have to be above zero.
    S s;
    s.SetF(1e-6);
    EXPECT_EQ(s.GetF(), 1e-6);
    s.SetF(0);
    EXPECT_EQ(s.GetF(), -1);
    s.SetNLines(1);
    EXPECT_EQ(s.GetNLines(), 1);
    s.SetNLines(0);
    EXPECT_EQ(s.GetNLines(), -1);
    s.SetT(1);
    EXPECT_EQ(s.GetT(), 1);
    s.SetT(0);
    EXPECT_EQ(s.GetT(), -1);
}
