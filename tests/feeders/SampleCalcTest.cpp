#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>

#include "feeders/LVFiderSampleCalc.h"
#include "feeders/SampleCalcJson.h"
#include "host/NumericHelpers.h"
#include "support/TestSupport.h"

using namespace testing_support;
using Calc = TLVFiderSampleCalc;

namespace {
Calc::Input measured(double ia, double ib, double ic, double u = 230, double u2 = 220)
{
    Calc::Input in;
    const double i[3] = {ia, ib, ic};
    for (int p = 0; p < 3; ++p) {
        in.I[p] = i[p];
        in.U[p] = u;
        in.U2[p] = u2;
    }
    in.CosFi = 0.92;
    in.Rf = 0.3;
    in.Xf = 0.1;
    in.Rn = 0.45;
    in.P = EmptyFloat();
    in.Tmax = 2500;
    in.Krazv = 0.8;
    in.Knm = EmptyFloat();
    in.DP = EmptyFloat();
    return in;
}

Calc::Result fresh(const Calc::Input& in, const Calc& calc = Calc())
{
    Calc::Flags flags;
    flags.currentsChanged = true;
    return calc.Calculate(in, flags);
}
}  // namespace

// 100 A in each phase at 230 V, 220 V at the far point, cos φ 0.92, Rf 0.3, Xf 0.1, Rn 0.45 Ohm, Tmax 2500 h,
// worked by hand (the power factor enters in single precision: 0.92f = 0.920000017):
//   P = 0.920000017 · 3 · 100 · 230 / 1000 = 63.480001 kW, Wa = P · 2500 / 1000 = 158.700003 thousand kWh
//   τ = (0.124 + 2500/10⁴)² · 8760 = 1225.31376 h, dU = 3 · 10 V / 690 V = 4.347826 %
//   tg φ = √(1 − 0.92²) / 0.92 = 0.425998, Knm = 0.8 / 0.92² / (0.1 · 0.425998 / 0.3 + 1) = 0.827653
//   dP% = 1 · 0.827653 · 4.347826 = 3.598493 %, dP = 63.48 · 3.598493 / 100 = 2.284323 → 2.284 kW
//   dW = 1225.31376 · 2.284 / 1000 = 2.798617 thousand kWh, dW% = 3.598493 · 1225.31376 / 2500 = 1.763713 %
TEST(FeederSample, BalancedLoadWorkedByHand)
{
    const auto r = fresh(measured(100, 100, 100));
    ASSERT_EQ(r.status, Calc::Status::Done);
    EXPECT_NEAR(r.P, 63.480001152, 1e-8);
    EXPECT_NEAR(r.Wa, 158.700002879, 1e-8);
    EXPECT_NEAR(r.Tau, 1225.31376, 1e-9);
    EXPECT_DOUBLE_EQ(r.K, 1);
    EXPECT_DOUBLE_EQ(r.Kdp, 1);  // balanced currents: whatever Rn/Rf
    EXPECT_NEAR(r.DU, 4.347826087, 1e-9);
    EXPECT_NEAR(r.KnmRef, 0.82765328, 1e-6);  // tg φ in single precision: agreement to 1e-6
    EXPECT_DOUBLE_EQ(r.Knm, r.KnmRef);        // an empty Knm takes the reference
    EXPECT_FALSE(r.knmWarning);
    EXPECT_NEAR(r.DPpct, 3.5984925, 5e-6);
    EXPECT_DOUBLE_EQ(r.DP, 2.284);        // three decimals
    EXPECT_NEAR(r.DW, 2.79861663, 1e-8);  // from the rounded dP
    EXPECT_NEAR(r.DWpct, 1.7637130, 5e-6);
    EXPECT_DOUBLE_EQ(r.Umean, 230);
    EXPECT_DOUBLE_EQ(r.U2mean, 220);
}

TEST(FeederSample, UnbalanceInvalidAndStoppedSamples)
{
    auto r = fresh(measured(150, 100, 50));
    const double k2 = (150.0 * 150 + 100 * 100 + 50 * 50) / (3 * 100.0 * 100);
    EXPECT_DOUBLE_EQ(r.K * r.K, k2);
    EXPECT_DOUBLE_EQ(r.Kdp, k2 + 1.5 * (0.45 / 0.3) * (k2 - 1));

    // All currents 0: nothing is calculated, nothing changes.
    Calc::Input zero = measured(0, 0, 0);
    zero.Krazv = 0.7;
    r = fresh(zero);
    EXPECT_EQ(r.status, Calc::Status::Stopped);
    EXPECT_TRUE(isEmptyFloat(r.P));
    EXPECT_TRUE(isEmptyFloat(r.DP));

    // A far-point voltage above its head voltage: the phase is named, equality is allowed.
    Calc::Input bad = measured(10, 10, 10);
    bad.U2[Calc::B] = 231;
    r = fresh(bad);
    EXPECT_EQ(r.status, Calc::Status::InvalidData);
    EXPECT_EQ(r.invalidPhase, Calc::B);
    r = fresh(measured(10, 10, 10, 230, 230));
    EXPECT_EQ(r.status, Calc::Status::Done);
    EXPECT_DOUBLE_EQ(r.DU, 0);
    EXPECT_DOUBLE_EQ(r.DPpct, 0);
    EXPECT_DOUBLE_EQ(r.DP, 0);  // such a sample cannot be made main

    Calc::Input incomplete = measured(10, 10, 10);
    incomplete.Rn = EmptyFloat();
    EXPECT_EQ(fresh(incomplete).status, Calc::Status::Incomplete);
    incomplete = measured(10, 10, 10);
    incomplete.U2[Calc::C] = EmptyFloat();
    EXPECT_EQ(fresh(incomplete).status, Calc::Status::Incomplete);
}

TEST(FeederSample, TmaxLookupAndLossTime)
{
    QList<double> asked;
    Calc calc;
    calc.TmaxLookup = [&](double p) {
        asked << p;
        return p < 1 ? 1800.0 : 2400.0;
    };
    Calc::Input in = measured(10, 10, 10);
    in.Tmax = 0;
    in.P = 0.9;
    Calc::Flags flags;  // values typed earlier, currents unchanged
    auto r = calc.Calculate(in, flags);
    EXPECT_EQ(asked.first(), 0.5);  // below 1 kW it is looked up as 0.5
    EXPECT_EQ(r.Tmax, 1800);
    asked.clear();
    in.P = 1.0;
    r = calc.Calculate(in, flags);
    EXPECT_EQ(asked.first(), 1.0);
    EXPECT_EQ(r.Tmax, 2400);

    // A Tmax of 0 after the look-up: tau at its floor and a division by zero in dW%.
    Calc none;
    none.TmaxLookup = [](double) { return 0.0; };
    in.Tmax = 0;
    r = none.Calculate(in, flags);
    EXPECT_NEAR(r.Tau, 134.69, 0.01);
    EXPECT_TRUE(std::isinf(r.DWpct) || std::isnan(r.DWpct));

    // A changed load kind looks Tmax up again unless it was typed by hand.
    in.Tmax = 3000;
    flags.loadTypeChanged = true;
    r = calc.Calculate(in, flags);
    EXPECT_EQ(r.Tmax, 2400);
    EXPECT_FALSE(flags.loadTypeChanged);  // a one-shot flag
    flags.loadTypeChanged = true;
    flags.tmaxByHand = true;
    r = calc.Calculate(in, flags);
    EXPECT_EQ(r.Tmax, 3000);
    EXPECT_TRUE(flags.tmaxResetVisible);  // differs from the reference
    in.Tmax = 2400;
    r = calc.Calculate(in, flags);
    EXPECT_FALSE(flags.tmaxResetVisible);
}

TEST(FeederSample, ReferenceCoefficientsAndTheirWarnings)
{
    Calc calc;
    calc.CosLookup = [] { return 0.96; };
    Calc::Input in = measured(50, 60, 70);
    const double reference = fresh(in).KnmRef;
    in.Knm = reference + 0.02;
    auto r = fresh(in, calc);
    EXPECT_TRUE(r.knmWarning);
    EXPECT_DOUBLE_EQ(r.Knm, reference + 0.02);  // kept: the user decides
    in.Knm = reference + 0.005;
    r = fresh(in, calc);
    EXPECT_FALSE(r.knmWarning);

    // A new branching coefficient takes the reference Knm; 0 becomes 0.8.
    Calc::Flags flags;
    flags.currentsChanged = true;
    flags.krazvChanged = true;
    in.Krazv = 0.93;
    r = calc.Calculate(in, flags);
    EXPECT_DOUBLE_EQ(r.Knm, r.KnmRef);
    EXPECT_FALSE(flags.krazvChanged);
    in.Krazv = 0;
    in.Knm = 5;
    r = fresh(in, calc);
    EXPECT_DOUBLE_EQ(r.Krazv, 0.8);
    EXPECT_DOUBLE_EQ(r.Knm, r.KnmRef);

    // A power factor typed by hand is compared with the load kind's.
    Calc::Flags byHand;
    byHand.cosByHand = true;
    calc.Calculate(in, byHand);
    EXPECT_TRUE(byHand.cosResetVisible);
    Calc::Flags same;
    same.cosByHand = true;
    in.CosFi = 0.9605;
    calc.Calculate(in, same);
    EXPECT_FALSE(same.cosResetVisible);
}

TEST(FeederSample, CommandLineAnswersEachLine)
{
    const AppOutcome p =
        RunApp({"calc", "feeder-sample"}, {},
               R"({"Ia":100,"Ib":100,"Ic":100,"Ua":230,"Ub":230,"Uc":230,"U2a":220,"U2b":220,"U2c":220,)"
               R"("CosFi":0.92,"Rf":0.3,"Xf":0.1,"Rn":0.45,"Tmax":2500,"Krazv":null})"
               "\n"
               R"({"Ia":0,"Ib":0,"Ic":0,"Ua":230,"Ub":230,"Uc":230,"U2a":220,"U2b":220,"U2c":220,)"
               R"("CosFi":0.92,"Rf":0.3,"Xf":0.1,"Rn":0.45})"
               "\n"
               R"({"Ia":1,"Ib":1,"Ic":1,"Ua":230,"Ub":230,"Uc":230,"U2a":220,"U2b":220,"U2c":232,)"
               R"("CosFi":0.92,"Rf":0.3,"Xf":0.1,"Rn":0.45})"
               "\n{\"Ia\":\"много\"}\n");
    const QList<QByteArray> lines = p.out.toUtf8().split('\n');
    ASSERT_GE(lines.size(), 4);
    const QJsonObject first = QJsonDocument::fromJson(lines[0]).object();
    EXPECT_NEAR(first["P"].toDouble(), 63.480001152, 1e-8);  // the balanced load worked by hand above
    EXPECT_DOUBLE_EQ(first["dP"].toDouble(), 2.284);
    EXPECT_NEAR(first["dW"].toDouble(), 2.79861663, 1e-8);
    EXPECT_EQ(first["Krazv"].toDouble(), 0.8);
    EXPECT_EQ(first["KnmWarning"].toBool(true), false);
    EXPECT_EQ(lines[1], R"({"Stopped":true})");
    EXPECT_EQ(lines[2], R"({"Error":"Неверные данные"})");
    EXPECT_TRUE(QJsonDocument::fromJson(lines[3]).object().contains("Error"));
}
