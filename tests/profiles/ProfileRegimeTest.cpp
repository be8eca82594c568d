// The regime by metering profiles against hand solutions: a load on one section has a closed-form solution
// (|V|⁴ − (U² − 2(Pr + Qx))|V|² + (P² + Q²)(r² + x²) = 0 per phase), and the steps of a feeder must each agree with
// the snapshot solver called once per step.
#include "host/profiles/ProfileRegime.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <cmath>
#include <random>

#include "db/DemoRandom.h"
#include "db/DemoSchemes.h"
#include "host/FiderHHCalcParams.h"
#include "host/NumericHelpers.h"
#include "host/fider/Topology038.h"
#include "host/profiles/ProfileLoads.h"
#include "host/profiles/StepSolver.h"

using namespace fider;
using namespace profiles;

namespace {
constexpr double kU = 230, kR0 = 0.64, kX0 = 0.325, kLength = 0.2, kCos = 0.9;
const double kTan = std::sqrt(1 - kCos * kCos) / kCos;

TMinute At(int day, int hour) { return MinuteOf(QDateTime(QDate(2025, 3, day), QTime(hour, 0), Qt::UTC)); }
TProfileInterval Hours(int hours) { return {5, "сутки", At(1, 0), At(1, 0) + hours * 60}; }

TConductor conductor()
{
    TConductor c;
    c.Ident = 644;
    c.Marka = "А";
    c.F = 50;
    c.R0 = kR0;
    c.X0 = kX0;
    c.Known = true;
    return c;
}

// Л-1: the supply centre (1), one section of А-50, 0.2 km, to node 100 where the consumers hang.
TFiderHHInfo OneSection()
{
    TFiderHHInfo f;
    f.Guid = 1;
    f.Res = 10;
    f.Name = "Л-1";
    f.LoadKindCosFi = kCos;
    TNode038 end;
    end.Guid = 100;
    end.Name = "Дом";
    end.Kind = TNodeKind::Consumer;
    f.Nodes.push_back(end);
    TLine038 l;
    l.Guid = 1000;
    l.Node1 = 1;
    l.Node2 = 100;
    l.Length = kLength;
    l.Phase = l.Neutral = conductor();
    f.Lines.push_back(l);
    return f;
}

TAbonentNode038 Consumer(int node, TPhaseSet phases, double wa)
{
    TAbonentNode038 a;
    a.NodeGuid = node;
    a.Name = QStringLiteral("Аб %1").arg(a.Phases);
    a.Phases = phases;
    a.Wa = wa;
    a.Wr = EmptyFloat();
    a.CosFi = kCos;
    a.Pust = EmptyFloat();
    return a;
}

TRegimeSettings Settings()
{
    TRegimeSettings s;
    s.U = {kU, kU, kU};
    s.Temperature = 20;
    s.Kdp = 1;
    s.DefaultCosFi = kCos;
    return s;
}

TStoredProfile Profile(TProfileKind kind, int guid, const std::vector<double>& kWh)
{
    TStoredProfile p;
    p.Kind = kind;
    p.Guid = guid;
    p.FiderGuid = 1;
    p.Series.Start = At(1, 0);
    p.Series.StepMinutes = 60;
    p.Series.Active = kWh;
    return p;
}

// Losses (W) of a constant-power load of P, Q (W, var) on one phase at the end of a series impedance r + jx, fed
// at kU: the closed form.
double PhaseLoss(double p, double q, double r, double x)
{
    const double b = kU * kU - 2 * (p * r + q * x), c = (p * p + q * q) * (r * r + x * x);
    const double v2 = (b + std::sqrt(b * b - 4 * c)) / 2;
    return (p * p + q * q) / v2 * r;
}
// A balanced three-phase load of P kW at cos φ 0.9 on the section: no neutral current.
double ThreePhaseLoss(double kW)
{
    return 3 * PhaseLoss(kW * 1000 / 3, kW * 1000 / 3 * kTan, kR0 * kLength, kX0 * kLength);
}
// A single-phase load alone: its current returns in the neutral, the loop is both conductors.
double SinglePhaseLoss(double kW)
{
    return PhaseLoss(kW * 1000, kW * 1000 * kTan, 2 * kR0 * kLength, 2 * kX0 * kLength);
}

// The solutions converge to 1e-6 V on 230 V: losses agree with the closed form to a few parts in 1e9.
double Rel(double value) { return 1e-7 * std::abs(value); }

double TotalLosses(const TCalcWInfoHHCommon& run)
{
    double dW = 0;
    for (const TBalanceBlock& b : run.Blocks)
        dW += b.dWa;
    return dW;
}
}  // namespace

TEST(ProfileRegime, AConstantProfileGivesTheSnapshotTimesTheHoursAndTwoStepsTheSumOfTwoSnapshots)
{
    TFiderHHInfo f = OneSection();
    f.Consumers.push_back(Consumer(100, PhasesABC, EmptyFloat()));
    // 24 hours of 12 kWh.
    const TCalcWInfoHHCommon flat = CalculateProfileRegime(
        f, Settings(), {Profile(TProfileKind::Consumer, 100, std::vector<double>(24, 12.0))}, nullptr, Hours(24));
    ASSERT_TRUE(flat.Ok()) << flat.Problems.join('\n').toStdString();
    const double snapshot = ThreePhaseLoss(12);  // W
    EXPECT_NEAR(TotalLosses(flat), snapshot * 24 / 1e6, Rel(snapshot * 24 / 1e6));
    EXPECT_NEAR(flat.Power.LossP, snapshot / 1000, Rel(snapshot / 1000));
    // Exactly the snapshot solver's losses of the mean load times the hours.
    TFiderHHInfo mean = f;
    mean.Consumers[0].Wa = 0.288;
    TRegimeSettings s = Settings();
    s.T = 24;
    s.SqrKfg = 1;
    const TCalcWInfoHHCommon regime = CalculateRegime(mean, s);
    ASSERT_TRUE(regime.Ok());
    EXPECT_NEAR(TotalLosses(flat), TotalLosses(regime), 1e-12 * TotalLosses(regime));
    ASSERT_TRUE(flat.Profile);
    EXPECT_EQ(flat.Profile->Steps, 24);
    EXPECT_EQ(flat.Profile->NProfile, 1);
    EXPECT_NEAR(flat.Profile->SqrKfg, 1.0, 1e-12);
    EXPECT_DOUBLE_EQ(flat.Profile->Tmax, 24.0);
    // One curve for everyone and a constant one: both methods agree with the steps.
    EXPECT_NEAR(flat.Profile->dWaMiddle, TotalLosses(flat), 1e-12);
    EXPECT_NEAR(flat.Profile->dWaMax, TotalLosses(flat), 1e-12);
    EXPECT_NEAR(flat.Blocks.at(0).Wacalc, 0.288, 1e-15);

    // Two hours: 4 kWh then 20 kWh.
    const TCalcWInfoHHCommon two =
        CalculateProfileRegime(f, Settings(), {Profile(TProfileKind::Consumer, 100, {4.0, 20.0})}, nullptr, Hours(2));
    ASSERT_TRUE(two.Ok());
    const double both = (ThreePhaseLoss(4) + ThreePhaseLoss(20)) / 1e6;
    EXPECT_NEAR(TotalLosses(two), both, Rel(both));
    // The powers are those of the step of greatest head power, the second.
    EXPECT_NEAR(two.Power.LossP, ThreePhaseLoss(20) / 1000, Rel(ThreePhaseLoss(20) / 1000));
    EXPECT_NEAR(two.Power.LoadP, 20, 1e-9);
    EXPECT_EQ(two.Profile->PeakMinute, At(1, 1));
    // Kdp multiplies the losses only.
    TRegimeSettings kdp = Settings();
    kdp.Kdp = 1.1;
    const TCalcWInfoHHCommon more =
        CalculateProfileRegime(f, kdp, {Profile(TProfileKind::Consumer, 100, {4.0, 20.0})}, nullptr, Hours(2));
    EXPECT_NEAR(TotalLosses(more), 1.1 * TotalLosses(two), 1e-15);
    EXPECT_NEAR(more.Blocks.at(0).Wacalc, two.Blocks.at(0).Wacalc, 1e-15);
}

TEST(ProfileRegime, ASinglePhaseLoadMovingBetweenPhasesLosesWhatEachPhaseAloneLoses)
{
    // The same household load on phase A in the morning and on phase B in the evening: at any step one phase
    // carries it and the neutral brings it back; the mean-load method spreads it over both at once.
    TFiderHHInfo f = OneSection();
    TNode038 second = f.Nodes[0];
    second.Guid = 101;
    second.Name = "Дом Б";
    f.Nodes.push_back(second);
    TLine038 drop = f.Lines[0];
    drop.Guid = 1001;
    drop.Node1 = 100;
    drop.Node2 = 101;
    drop.Kind = TSectionKind::Connecting;  // without a conductor: no impedance of its own
    drop.Phase = drop.Neutral = TConductor();
    f.Lines.push_back(drop);
    f.Consumers.push_back(Consumer(100, PhaseA, EmptyFloat()));
    f.Consumers.push_back(Consumer(101, PhaseB, EmptyFloat()));
    std::vector<double> morning(24, 0.0), evening(24, 0.0);
    for (int h = 0; h < 12; ++h) {
        morning[h] = 3.0;
        evening[h + 12] = 3.0;
    }
    const TCalcWInfoHHCommon run = CalculateProfileRegime(
        f, Settings(), {Profile(TProfileKind::Consumer, 100, morning), Profile(TProfileKind::Consumer, 101, evening)},
        nullptr, Hours(24));
    ASSERT_TRUE(run.Ok()) << run.Problems.join('\n').toStdString();
    EXPECT_NEAR(TotalLosses(run), 24 * SinglePhaseLoss(3) / 1e6, Rel(24 * SinglePhaseLoss(3) / 1e6));
    // The head power is the same at every step: the shape factor is 1 and the mean-load method sees half the
    // load on each phase, whose currents partly cancel in the neutral: far fewer losses.
    EXPECT_NEAR(run.Profile->SqrKfg, 1.0, 1e-6);
    EXPECT_LT(run.Profile->ErrorMiddle(), -40);
    EXPECT_GT(run.Profile->ErrorMiddle(), -80);
}

TEST(ProfileRegime, TheHoursOfTheGreatestLoadCountTheStepsLength)
{
    // Half-hour steps of 1, 2, 3 and 2 kW·h: 8 kW·h at most 3 kW·h a half hour, 6 kW: Tmax = 8 / 6 h. Hourly steps
    // of the same energies: the greatest load 3 kW, Tmax = 8 / 3 h.
    EXPECT_NEAR(HoursOfGreatestLoad({1, 2, 3, 2}, 0.5), 8.0 / 6, 1e-15);
    EXPECT_NEAR(HoursOfGreatestLoad({1, 2, 3, 2}, 1.0), 8.0 / 3, 1e-15);
}

TEST(ProfileRegime, TheMethodsOfOneCurveAgainstHandValuesForTwoConsumersOfDifferentCurves)
{
    // Two three-phase consumers at the end of the section: one steady 6 kW, one 2 kW for 12 h and 10 kW for
    // 12 h; the head meter reads 5 % over their sum. On one section the two are one load of their sum.
    TFiderHHInfo f = OneSection();
    f.Consumers.push_back(Consumer(100, PhasesABC, EmptyFloat()));
    f.Consumers.push_back(Consumer(100, PhasesABC, EmptyFloat()));
    f.Nodes.push_back(f.Nodes[0]);
    f.Nodes[1].Guid = 102;
    f.Consumers[1].NodeGuid = 102;
    TLine038 same = f.Lines[0];
    same.Guid = 1002;
    same.Node1 = 100;
    same.Node2 = 102;
    same.Kind = TSectionKind::Connecting;
    same.Phase = same.Neutral = TConductor();
    f.Lines.push_back(same);
    std::vector<double> steady(24, 6.0), shifting(24, 2.0), head(24);
    for (int h = 12; h < 24; ++h)
        shifting[h] = 10.0;
    for (int h = 0; h < 24; ++h)
        head[h] = 1.05 * (steady[h] + shifting[h]);
    const TCalcWInfoHHCommon run =
        CalculateProfileRegime(f, Settings(),
                               {Profile(TProfileKind::Consumer, 100, steady),
                                Profile(TProfileKind::Consumer, 102, shifting), Profile(TProfileKind::Head, 1, head)},
                               nullptr, Hours(24));
    ASSERT_TRUE(run.Ok()) << run.Problems.join('\n').toStdString();
    const double profiles = 12 * (ThreePhaseLoss(8) + ThreePhaseLoss(16)) / 1e6;
    EXPECT_NEAR(TotalLosses(run), profiles, Rel(profiles));
    // The head profile: 8.4 kW for 12 h, 16.8 kW for 12 h. Kf² = mean of squares / square of mean
    // = ((8.4² + 16.8²) / 2) / 12.6² = 10/9; Tmax = 302.4 / 16.8 = 18 h.
    EXPECT_TRUE(run.Profile->HeadMeter);
    EXPECT_NEAR(run.Profile->SqrKfg, 10.0 / 9, 1e-12);
    EXPECT_NEAR(run.Profile->Tmax, 18.0, 1e-12);
    // Mean loads: 6 + 6 = 12 kW for 24 h, times Kf².
    const double middle = ThreePhaseLoss(12) * 24 * 10 / 9 / 1e6;
    EXPECT_NEAR(run.Profile->dWaMiddle, middle, Rel(middle));
    // Maximum loads: each consumer's energy over Tmax, (144 + 144) / 18 = 16 kW; τ = (Kz + 2 Kz²) / 3 · T with
    // Kz = 18/24 = 0.75: (0.75 + 1.125) / 3 · 24 = 15 h.
    EXPECT_NEAR(run.Profile->TauRel, 0.625, 1e-12);
    const double maximum = ThreePhaseLoss(16) * 15 / 1e6;
    EXPECT_NEAR(run.Profile->dWaMax, maximum, Rel(maximum));
    EXPECT_NEAR(run.Profile->ErrorMiddle(), (middle - profiles) / profiles * 100, 1e-5);
    EXPECT_NEAR(run.Profile->ErrorMax(), (maximum - profiles) / profiles * 100, 1e-5);
    // The head meter is the feeder's supply; what the calculation does not explain stays with the head's block.
    double received = 0;
    for (const TBalanceBlock& b : run.Blocks)
        received += b.Wa_gen;
    EXPECT_NEAR(received, 0.3024, 1e-12);
    EXPECT_NEAR(run.Settings.Wa, 0.3024, 1e-12);
}

TEST(ProfileRegime, ConsumersWithoutAProfileFollowTheHeadRemainderElseTheirKindElseAFlatProfile)
{
    TFiderHHInfo f = OneSection();
    for (int g : {100, 101, 102, 103}) {
        TNode038 n = f.Nodes[0];
        n.Guid = g;
        if (g != 100)
            f.Nodes.push_back(n);
        if (g != 100) {
            TLine038 l = f.Lines[0];
            l.Guid = 1000 + g;
            l.Node1 = 100;
            l.Node2 = g;
            l.Kind = TSectionKind::Connecting;
            f.Lines.push_back(l);
        }
    }
    f.Consumers.push_back(Consumer(100, PhaseA, EmptyFloat()));  // its own profile
    f.Consumers.push_back(Consumer(101, PhaseB, 0.006));         // 6 kWh of the interval
    f.Consumers.push_back(Consumer(102, PhaseC, 0.002));         // 2 kWh
    f.Consumers.push_back(Consumer(103, PhaseC, EmptyFloat()));  // no energy: no load
    const TFiderTopology topology = TFiderTopology::Build(f);
    ASSERT_TRUE(topology.Ok());
    const TStoredProfile own = Profile(TProfileKind::Consumer, 100, {1, 5, 1, 1});
    const TStoredProfile head = Profile(TProfileKind::Head, 1, {3, 4, 5, 1});
    const TStoredProfile kind = Profile(TProfileKind::Typical, 2, {1, 1, 2, 0});
    // The remainder 2, 0 (4 − 5 is less than nothing), 4, 0 shapes the others: 6 kWh as 2, 0, 4, 0 of 6.
    const TFiderSteps r = BuildFiderSteps(f, topology, {own, head}, &kind, Hours(4), kCos);
    EXPECT_EQ(r.Consumers[0].Source, TLoadSource::Profile);
    EXPECT_EQ(r.Consumers[1].Source, TLoadSource::HeadRemainder);
    EXPECT_EQ(r.ActiveSeries(1), (std::vector<double>{2, 0, 4, 0}));
    EXPECT_EQ(r.ActiveSeries(2), (std::vector<double>{2.0 / 3, 0, 4.0 / 3, 0}));
    EXPECT_EQ(r.Consumers[3].Source, TLoadSource::None);
    EXPECT_NEAR(r.Reactive(1, 2), 4 * kTan, 1e-12);
    // Without the head meter, the load kind's typical profile 1, 1, 2, 0 of 4.
    const TFiderSteps t = BuildFiderSteps(f, topology, {own}, &kind, Hours(4), kCos);
    EXPECT_EQ(t.Consumers[1].Source, TLoadSource::Typical);
    EXPECT_EQ(t.ActiveSeries(1), (std::vector<double>{1.5, 1.5, 3, 0}));
    // Without either, flat.
    const TFiderSteps flat = BuildFiderSteps(f, topology, {own}, nullptr, Hours(4), kCos);
    EXPECT_EQ(flat.Consumers[2].Source, TLoadSource::Flat);
    EXPECT_EQ(flat.ActiveSeries(2), (std::vector<double>{0.5, 0.5, 0.5, 0.5}));
    // A head meter at half hours refines the grid: the hourly profiles spread over two steps each.
    TStoredProfile halfHours = Profile(TProfileKind::Head, 1, {2, 1, 2, 2, 3, 2, 1, 0});
    halfHours.Series.StepMinutes = 30;
    const TFiderSteps fine = BuildFiderSteps(f, topology, {own, halfHours}, nullptr, Hours(4), kCos);
    EXPECT_EQ(fine.StepMinutes, 30);
    EXPECT_EQ(fine.ActiveSeries(0), (std::vector<double>{0.5, 0.5, 2.5, 2.5, 0.5, 0.5, 0.5, 0.5}));
    // A profile of another interval is refused.
    const TFiderSteps other = BuildFiderSteps(f, topology, {own}, nullptr, Hours(5), kCos);
    EXPECT_FALSE(other.Problems.isEmpty());

    // The run counts the sources.
    const TCalcWInfoHHCommon run = CalculateProfileRegime(f, Settings(), {own, head}, &kind, Hours(4));
    ASSERT_TRUE(run.Ok()) << run.Problems.join('\n').toStdString();
    EXPECT_EQ(run.Profile->NProfile, 1);
    EXPECT_EQ(run.Profile->NHead, 2);
    EXPECT_EQ(run.Profile->NNoLoad, 1);
    EXPECT_EQ(run.Profile->NTypical + run.Profile->NFlat, 0);
}

TEST(ProfileRegime, EveryStepOfAGeneratedSchemeAgreesWithTheSnapshotSolverCalledForThatStep)
{
    db::demo::Random random(11);
    db::demo::SchemeConductors conductors;
    for (int ident : {640, 641, 642, 644, 645, 646, 650, 651, 660, 661}) {
        TConductor c = conductor();
        c.Ident = ident;
        c.R0 = 0.3 + 0.1 * (ident % 7);
        c.X0 = ident >= 650 ? 0.08 : 0.32;
        conductors.byIdent.insert(ident, c);
    }
    int guid = 10;
    db::demo::SchemeRequest request;
    request.fider = 1;
    request.street = "Лесная";
    request.res = 5;
    request.neighbourRes = 6;
    request.sections = 60;
    const TFiderHHInfo f = db::demo::MakeScheme(
        random, [&] { return ++guid; }, request, conductors);
    const TFiderTopology topology = TFiderTopology::Build(f);
    ASSERT_TRUE(topology.Ok()) << topology.Problems.join('\n').toStdString();
    // 19 hours of random loads (two groups and a part), each consumer on its own curve.
    std::mt19937 gen(3);
    std::uniform_real_distribution<double> load(0.0, 4.0);
    std::vector<TStoredProfile> profiles;
    for (const TAbonentNode038& a : f.Consumers) {
        std::vector<double> v(19);
        for (double& x : v)
            x = load(gen);
        profiles.push_back(Profile(TProfileKind::Consumer, a.NodeGuid, v));
    }
    TProfileStepSeries series;
    const TCalcWInfoHHCommon run = CalculateProfileRegime(f, Settings(), profiles, nullptr, Hours(19), &series);
    ASSERT_TRUE(run.Ok()) << run.Problems.join('\n').toStdString();
    double sum = 0;
    for (int t = 0; t < 19; ++t) {
        TFiderHHInfo step = f;
        for (size_t c = 0; c < step.Consumers.size(); ++c) {
            step.Consumers[c].Wa = profiles[c].Series.Active[t] / 1000;
            step.Consumers[c].Wr = EmptyFloat();
        }
        TRegimeSettings s = Settings();
        s.T = 1;
        s.SqrKfg = 1;
        const TCalcWInfoHHCommon snapshot = CalculateRegime(step, s);
        ASSERT_TRUE(snapshot.Ok());
        EXPECT_NEAR(series.LossP[t], snapshot.Power.LossP, 1e-5 * snapshot.Power.LossP) << t;
        EXPECT_NEAR(series.HeadP[t], snapshot.Power.GetHeadP(), 1e-5) << t;
        double umin = 1e9;
        for (int k = 0; k < 3; ++k)
            if (!std::isnan(snapshot.Power.GetUmin(k)))
                umin = std::min(umin, snapshot.Power.GetUmin(k));
        EXPECT_NEAR(series.Umin[t], umin, 1e-4) << t;
        sum += snapshot.Power.LossP;
    }
    EXPECT_NEAR(TotalLosses(run), sum / 1000, 1e-9 * sum);
    // The step of greatest head power is the run's snapshot.
    EXPECT_EQ(series.HeadP[series.Peak], *std::max_element(series.HeadP.begin(), series.HeadP.end()));
    EXPECT_NEAR(run.Power.GetHeadP(), series.HeadP[series.Peak], 1e-4);
    // The balance of every block, in power at the peak and in energy over the steps.
    double wgen = 0, wcalc = 0, dw = 0;
    for (const TBalanceBlock& b : run.Blocks) {
        EXPECT_NEAR(b.Pgen, b.Pcalc + b.dP, 1e-9);
        EXPECT_NEAR(b.Wa_gen, b.Wacalc + b.dWa, 1e-12);
        wgen += b.Wa_gen;
        wcalc += b.Wacalc;
        dw += b.dWa;
    }
    double consumption = 0;
    for (const TStoredProfile& p : profiles)
        consumption += p.Series.SumActive();
    const bool allSupplied = run.Power.NotSupplied == 0;
    if (allSupplied) {
        EXPECT_NEAR(wcalc, consumption / 1000, 1e-12);
    }
    EXPECT_NEAR(wgen, wcalc + dw, 1e-12);
    // Each node's lowest voltage over the interval is no higher than at the peak.
    for (const auto& node : run.Power.Nodes)
        if (node.Energised && node.SchemeNode >= 0)
            for (int k = 0; k < 3; ++k)
                if (!std::isnan(node.U[k])) {
                    EXPECT_LE(node.Umin, node.U[k] + 1e-5);
                }
}
