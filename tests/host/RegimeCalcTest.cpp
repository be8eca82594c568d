// The physics of the LV regime calculation against hand solutions.
#include "host/fider/RegimeCalc.h"

#include <gtest/gtest.h>

#include <cmath>

#include "host/NumericHelpers.h"
#include "host/fider/Topology038.h"

using namespace fider;

namespace {

TConductor conductor(double r0, double x0, double f = 50)
{
    TConductor c;
    c.Ident = 1;
    c.Marka = QStringLiteral("А");
    c.F = f;
    c.R0 = r0;
    c.X0 = x0;
    c.Known = true;
    return c;
}

// A feeder being built: node GUIDs from 100, the feeder itself is 1.
struct FeederBuilder {
    TFiderHHInfo f;
    FeederBuilder()
    {
        f.Guid = 1;
        f.Res = 10;
        f.Name = QStringLiteral("Л-1");
        f.LoadKindCosFi = 1.0;
    }
    int Node(TNodeKind kind = TNodeKind::Plain, const QString& name = {})
    {
        TNode038 n;
        n.Guid = 100 + static_cast<int>(f.Nodes.size());
        n.Name = name.isEmpty() ? QStringLiteral("У%1").arg(n.Guid) : name;
        n.Kind = kind;
        f.Nodes.push_back(n);
        return n.Guid;
    }
    TLine038& Line(int from, int to, double length, TConductor phase, TConductor neutral)
    {
        TLine038 l;
        l.Guid = 1000 + static_cast<int>(f.Lines.size());
        l.Name = QStringLiteral("Уч%1").arg(l.Guid);
        l.Node1 = from;
        l.Node2 = to;
        l.Length = length;
        l.Phase = phase;
        l.Neutral = neutral;
        f.Lines.push_back(l);
        return f.Lines.back();
    }
    TAbonentNode038& Consumer(int node, TPhaseSet phases, double wa, double cos = 1.0)
    {
        TAbonentNode038 a;
        a.NodeGuid = node;
        a.Name = QStringLiteral("Аб%1").arg(node);
        a.Phases = phases;
        a.Wa = wa;
        a.Wr = EmptyFloat();
        a.CosFi = cos;
        a.Pust = EmptyFloat();
        f.Consumers.push_back(a);
        return f.Consumers.back();
    }
};

TRegimeSettings middle(double u = 230, double t = 1000)
{
    TRegimeSettings s;
    s.U = {u, u, u};
    s.T = t;
    s.SqrKfg = 1.2;
    s.Temperature = 20;
    s.Kdp = 1;
    return s;
}

// The load voltage of a constant power P behind a resistance R on a source E: U² − E·U + R·P = 0.
double loadVoltage(double e, double r, double p) { return (e + std::sqrt(e * e - 4 * r * p)) / 2; }

// Energy (thousand kWh) that gives a power (W) over T hours.
double energyFor(double watts, double hours) { return watts * hours / 1e6; }

}  // namespace

TEST(RegimeCalc, BalancedThreePhaseLoadOnOneSectionLosesThreeIsquaredR)
{
    FeederBuilder b;
    const int end = b.Node(TNodeKind::Consumer);
    b.Line(1, end, 0.2, conductor(0.5, 0), conductor(0.5, 0));
    b.Consumer(end, PhasesABC, energyFor(30000, 1000));
    const TCalcWInfoHHCommon run = CalculateRegime(b.f, middle());
    ASSERT_TRUE(run.Ok()) << run.Problems.join(QLatin1Char('\n')).toStdString();

    const double r = 0.5 * 0.2, u = loadVoltage(230, r, 10000), i = 10000 / u;
    const auto& section = run.Power.Sections[1];
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(run.Power.Nodes[1].U[k], u, 1e-6);
        EXPECT_NEAR(section.I[k], i, 1e-6);
    }
    EXPECT_NEAR(section.I[3], 0, 1e-9) << "a balanced load sends nothing through the neutral";
    EXPECT_NEAR(section.dP, 3 * i * i * r / 1000, 1e-7 * section.dP);
    EXPECT_NEAR(section.dU, (230 - u) / 230 * 100, 1e-6);
    EXPECT_NEAR(run.Power.GetHeadP(), 30 + 3 * i * i * r / 1000, 1e-7);
    // Energy of the mean-load regime: ΔW = ΔP·T·Kf²·Kdp, in thousand kWh.
    EXPECT_NEAR(run.Blocks.at(0).dWa, 3 * i * i * r / 1000 * 1000 * 1.2 / 1000, 1e-7 * run.Blocks.at(0).dWa);
    EXPECT_NEAR(run.Figures.Lm, 0.2, 1e-12);
    EXPECT_NEAR(run.Figures.HeadEndSize, 50, 0);
    // One load at the end of a line: the branching coefficient is 1 by construction.
    EXPECT_NEAR(run.Figures.Krazv, (3 * i * i * r / 1000 / (30 + 3 * i * i * r / 1000)) / ((230 - u) / 230), 1e-6);
}

TEST(RegimeCalc, SingleOrHotterConductorsFollowTheirResistances)
{
    // A single-phase load at the end: the current goes out on the phase and back on the neutral.
    FeederBuilder b;
    const int end = b.Node(TNodeKind::Consumer);
    b.Line(1, end, 0.3, conductor(0.6, 0), conductor(1.2, 0));
    b.Consumer(end, PhaseB, energyFor(5000, 1000));
    TCalcWInfoHHCommon run = CalculateRegime(b.f, middle());
    ASSERT_TRUE(run.Ok()) << run.Problems.join(QLatin1Char('\n')).toStdString();
    const double r = 0.6 * 0.3 + 1.2 * 0.3, u = loadVoltage(230, r, 5000), i = 5000 / u;
    const auto& section = run.Power.Sections[1];
    EXPECT_NEAR(run.Power.Nodes[1].U[1], u, 1e-6);
    EXPECT_NEAR(section.I[1], i, 1e-6);
    EXPECT_NEAR(section.I[3], i, 1e-6);
    EXPECT_NEAR(section.I[0], 0, 1e-12);
    EXPECT_NEAR(section.dP, i * i * r / 1000, 1e-7 * section.dP);

    // The temperature factor 1 + 0.004·(t − 20) on the resistances: 45 °C gives 1.1.
    TRegimeSettings hot = middle();
    hot.Temperature = 45;
    run = CalculateRegime(b.f, hot);
    ASSERT_TRUE(run.Ok());
    const double rHot = r * 1.1, uHot = loadVoltage(230, rHot, 5000), iHot = 5000 / uHot;
    EXPECT_NEAR(run.Power.Sections[1].dP, iHot * iHot * rHot / 1000, 1e-7 * run.Power.Sections[1].dP);
    EXPECT_GT(run.Power.Sections[1].dP, i * i * r / 1000 * 1.09);
}

TEST(RegimeCalc, BranchAndSwitchedOffSectionAgreeWithAnIndependentIteration)
{
    // centre -1- n1 -2- n2 (load 8 kW/phase)
    //               -3- n3 (load 4 kW/phase) -4 (switched off)- n4 (load, not supplied)
    FeederBuilder b;
    const int n1 = b.Node(TNodeKind::TapPoint), n2 = b.Node(TNodeKind::Consumer), n3 = b.Node(TNodeKind::Consumer),
              n4 = b.Node(TNodeKind::Consumer);
    b.Line(1, n1, 0.1, conductor(0.3, 0), conductor(0.3, 0));
    b.Line(n1, n2, 0.2, conductor(0.6, 0), conductor(0.6, 0));
    b.Line(n3, n1, 0.15, conductor(0.9, 0), conductor(0.9, 0));  // written far end first
    b.Line(n3, n4, 0.1, conductor(0.9, 0), conductor(0.9, 0)).SwitchedOn = false;
    b.Consumer(n2, PhasesABC, energyFor(24000, 1000));
    b.Consumer(n3, PhasesABC, energyFor(12000, 1000));
    b.Consumer(n4, PhasesABC, energyFor(99000, 1000));
    const TCalcWInfoHHCommon run = CalculateRegime(b.f, middle());
    ASSERT_TRUE(run.Ok()) << run.Problems.join(QLatin1Char('\n')).toStdString();

    // Per phase, balanced and resistive: plain real voltages.
    const double r1 = 0.03, r2 = 0.12, r3 = 0.135;
    double u1 = 230, u2 = 230, u3 = 230;
    for (int k = 0; k < 200; ++k) {
        const double i2 = 8000 / u2, i3 = 4000 / u3;
        u1 = 230 - r1 * (i2 + i3);
        u2 = u1 - r2 * i2;
        u3 = u1 - r3 * i3;
    }
    const double i2 = 8000 / u2, i3 = 4000 / u3;
    const double loss = 3 * (r1 * (i2 + i3) * (i2 + i3) + r2 * i2 * i2 + r3 * i3 * i3) / 1000;
    EXPECT_NEAR(run.Power.LossP, loss, 1e-7 * loss);
    EXPECT_EQ(run.Power.Supplied, 2);
    EXPECT_EQ(run.Power.NotSupplied, 1);
    int deEnergised = 0;
    for (const auto& node : run.Power.Nodes)
        if (!node.Energised) {
            ++deEnergised;
            EXPECT_TRUE(isEmptyFloat(node.U[0]));
        }
    EXPECT_EQ(deEnergised, 1);
    EXPECT_NEAR(run.Figures.U2[0], std::min(u2, u3), 1e-6);
    // The main line runs to the farthest energised node: 0.1 + 0.2 beats 0.1 + 0.15.
    EXPECT_NEAR(run.Figures.Lm, 0.3, 1e-12);
    EXPECT_NEAR(run.Figures.L23, 0.15, 1e-12);
    EXPECT_NEAR(run.Figures.L1, 0, 1e-12);
    // The off section still counts as a switched-off overhead line of the balance.
    ASSERT_EQ(run.Blocks.size(), 1u);
    EXPECT_EQ(run.Blocks[0].NLineP, 3);
    EXPECT_EQ(run.Blocks[0].NLineP_off, 1);
    EXPECT_NEAR(run.Blocks[0].LsumP_off, 0.1, 1e-12);
    EXPECT_EQ(run.Blocks[0].NAbonents, 2);
}

TEST(RegimeCalc, UnbalancedReactiveFeederClosesItsPowerBalance)
{
    FeederBuilder b;
    const int n1 = b.Node(), n2 = b.Node(TNodeKind::Consumer), n3 = b.Node(TNodeKind::Consumer),
              n4 = b.Node(TNodeKind::Consumer);
    b.Line(1, n1, 0.25, conductor(0.64, 0.325), conductor(0.92, 0.336));
    b.Line(n1, n2, 0.1, conductor(1.28, 0.345), conductor(1.28, 0.345)).Phases = PhaseA;
    b.Line(n1, n3, 0.12, conductor(1.28, 0.345), conductor(1.28, 0.345));
    b.Line(n3, n4, 0.05, conductor(1.98, 0.358), conductor(1.98, 0.358)).Phases = PhaseC;
    b.Consumer(n2, PhaseA, energyFor(6000, 1000), 0.92);
    b.Consumer(n3, PhasesABC, energyFor(15000, 1000), 0.85);
    b.Consumer(n4, PhaseC, energyFor(3000, 1000), 0.95);
    const TCalcWInfoHHCommon run = CalculateRegime(b.f, middle());
    ASSERT_TRUE(run.Ok());
    EXPECT_NEAR(run.Power.LoadP, 24, 1e-9);
    EXPECT_NEAR(run.Power.GetHeadP(), run.Power.LoadP + run.Power.LossP, 1e-7);
    EXPECT_NEAR(run.Power.GetHeadQ(), run.Power.LoadQ + run.Power.LossQ, 1e-7);
    // The neutral of the head section carries the phasor sum, which is not zero for unequal phases.
    EXPECT_GT(run.Power.Sections[1].I[3], 1.0);
    // The single-phase branch carries only its phase.
    for (const auto& s : run.Power.Sections)
        if (s.SchemeLine == 1) {
            EXPECT_TRUE(isEmptyFloat(s.I[1]));
            EXPECT_NEAR(s.I[0], s.I[3], 1e-9);
        }
    double pgen = 0;
    for (const TBalanceBlock& block : run.Blocks)
        pgen += block.Pgen;
    EXPECT_NEAR(pgen, run.Power.GetHeadP(), 1e-7);
    // Spreading the same consumers evenly over three phases loses less.
    EXPECT_GT(UnbalanceRatio(b.f, run), 1.0);
}

TEST(RegimeCalc, ModesReachTheirTargets)
{
    FeederBuilder b;
    const int n1 = b.Node(TNodeKind::Consumer), n2 = b.Node(TNodeKind::Consumer), n3 = b.Node(TNodeKind::Consumer);
    b.Line(1, n1, 0.2, conductor(0.64, 0.325), conductor(0.64, 0.325));
    b.Line(n1, n2, 0.2, conductor(0.92, 0.336), conductor(0.92, 0.336)).Phases = PhaseA;
    b.Line(n1, n3, 0.2, conductor(0.92, 0.336), conductor(0.92, 0.336));
    b.Consumer(n1, PhasesABC, 2.0, 0.9);
    b.Consumer(n2, PhaseA, 1.0, 0.95);
    b.Consumer(n3, PhaseB, 1.5, 0.95);
    b.Consumer(n3, PhaseC, 0.5, 0.95);

    TRegimeSettings currents = middle();
    currents.Mode = TLoadMode::HeadCurrents;
    currents.HeadCurrent = {40, 35, 22};
    TCalcWInfoHHCommon run = CalculateRegime(b.f, currents);
    ASSERT_TRUE(run.Ok()) << run.Problems.join(QLatin1Char('\n')).toStdString();
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(run.Power.GetI(k), currents.HeadCurrent[k], 1e-6);
    // The consumers keep their shares: the two on phase B and C and the three-phase one share factors.
    EXPECT_NEAR(run.Power.ConsumerP[2] / run.Power.ConsumerP[3],
                1.5 / 0.5 * run.Power.LoadScale[1] / run.Power.LoadScale[2], 1e-9);

    TRegimeSettings energy = middle();
    energy.Mode = TLoadMode::Energy;
    energy.Wa = 30.0;  // thousand kWh over 1000 h: 30 kW at the head
    run = CalculateRegime(b.f, energy);
    ASSERT_TRUE(run.Ok());
    EXPECT_NEAR(run.Power.GetHeadP() * energy.T / 1000, 30.0, 1e-6);
    double received = 0;
    for (const TBalanceBlock& block : run.Blocks)
        received += block.Wa_gen;
    EXPECT_NEAR(received, 30.0, 1e-9) << "the measured supply is what the feeder received";

    // The maximum-load regime: P = W / Tmax and ΔW = ΔP·τ·Kdp.
    TRegimeSettings maximum = middle();
    maximum.Regime = TRegimeKind::Maximum;
    maximum.Tmax = 500;
    maximum.TauRel = 0.3;
    maximum.Kdp = 1.1;
    run = CalculateRegime(b.f, maximum);
    ASSERT_TRUE(run.Ok());
    EXPECT_NEAR(run.Power.LoadP, (2.0 + 1.0 + 1.5 + 0.5) * 1e6 / 500 / 1000, 1e-9);
    EXPECT_NEAR(run.Blocks[0].dWa, run.Power.LossP * 0.3 * 1000 * 1.1 / 1000, 1e-9);
    EXPECT_TRUE(isEmptyFloat(run.Figures.SqrKfg)) << "a maximum-load result is marked by an empty shape factor";
}

TEST(RegimeCalc, SchemesThatAreNotTreesAreRefusedWithTheElementNamed)
{
    FeederBuilder b;
    const int n1 = b.Node(), n2 = b.Node(TNodeKind::Consumer, QStringLiteral("Опора 2"));
    b.Line(1, n1, 0.1, conductor(0.5, 0.3), conductor(0.5, 0.3));
    b.Line(n1, n2, 0.1, conductor(0.5, 0.3), conductor(0.5, 0.3)).Phases = PhaseA;
    b.Consumer(n2, PhaseB, 1.0).Name = QStringLiteral("Иванов");
    TCalcWInfoHHCommon run = CalculateRegime(b.f, middle());
    ASSERT_FALSE(run.Ok());
    EXPECT_TRUE(run.Problems.join(QLatin1Char('\n')).contains(QStringLiteral("Абонент «Иванов» подключен к фазам B")));
    EXPECT_TRUE(run.Blocks.empty());

    FeederBuilder loop;
    const int a = loop.Node(), c = loop.Node(TNodeKind::Consumer);
    loop.Line(1, a, 0.1, conductor(0.5, 0.3), conductor(0.5, 0.3));
    loop.Line(a, c, 0.1, conductor(0.5, 0.3), conductor(0.5, 0.3));
    loop.Line(1, c, 0.1, conductor(0.5, 0.3), conductor(0.5, 0.3)).Name = QStringLiteral("Перемычка");
    loop.Line(c, 555, 0.1, TConductor(), conductor(0.5, 0.3)).Name = QStringLiteral("Обрыв");
    loop.Consumer(c, PhasesABC, 1.0);
    run = CalculateRegime(loop.f, middle());
    const QString text = run.Problems.join(QLatin1Char('\n'));
    EXPECT_TRUE(text.contains(QStringLiteral("замыкает кольцо"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("Участок «Обрыв»: узел 555 не найден"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("Участок «Обрыв»: не задана марка провода"))) << text.toStdString();

    FeederBuilder empty;
    const int e = empty.Node(TNodeKind::Consumer);
    empty.Line(1, e, 0.1, conductor(0.5, 0.3), conductor(0.5, 0.3));
    empty.Consumer(e, PhasesABC, EmptyFloat());
    run = CalculateRegime(empty.f, middle());
    EXPECT_EQ(run.Problems, QStringList{QStringLiteral("Нет нагрузок: у питаемых абонентов не задана электроэнергия")});

    // Loads far beyond what the line can carry: the sweep does not converge, and says so.
    FeederBuilder heavy;
    const int h = heavy.Node(TNodeKind::Consumer);
    heavy.Line(1, h, 2.0, conductor(2.0, 0.4), conductor(2.0, 0.4));
    heavy.Consumer(h, PhasesABC, energyFor(300000, 1000));
    run = CalculateRegime(heavy.f, middle());
    ASSERT_FALSE(run.Ok());
    EXPECT_TRUE(run.Problems.front().startsWith(QStringLiteral("Расчет режима не сошелся")));
}

TEST(RegimeCalc, BalanceBlocksSplitByOwnerAndDistrictAndAddUp)
{
    // The head and one branch are the utility's; a branch of a consumer's own, a branch of another district.
    FeederBuilder b;
    const int n1 = b.Node(), own = b.Node(TNodeKind::Consumer), theirs = b.Node(TNodeKind::Consumer),
              other = b.Node(TNodeKind::Consumer);
    b.Line(1, n1, 0.2, conductor(0.64, 0.3), conductor(0.64, 0.3));
    b.Line(n1, own, 0.1, conductor(0.92, 0.3), conductor(0.92, 0.3));
    b.Line(n1, theirs, 0.1, conductor(0.92, 0.3), conductor(0.92, 0.3)).Owner = TBalanceOwner::ConsumerOwned;
    TLine038& far = b.Line(n1, other, 0.1, conductor(0.92, 0.3), conductor(0.92, 0.3));
    far.Res = 20;
    far.Kind = TSectionKind::Cable;
    b.Consumer(own, PhasesABC, 10.0);
    b.Consumer(theirs, PhasesABC, 5.0);
    b.Consumer(other, PhasesABC, 4.0).Owner = TBalanceOwner::SSO;
    TRegimeSettings s = middle();
    s.Wa = 21.0;  // measured at the head: a little more than consumption plus losses
    const TCalcWInfoHHCommon run = CalculateRegime(b.f, s);
    ASSERT_TRUE(run.Ok());
    ASSERT_EQ(run.Blocks.size(), 4u);  // (10, 0), (10, 4), (20, 0), (20, 4)
    const TBalanceBlock& head = run.Blocks[0];
    EXPECT_EQ(head.Res, 10);
    EXPECT_EQ(head.Balance, 0);
    EXPECT_NEAR(head.Wafakt, 10.0, 1e-12);
    EXPECT_NEAR(run.Blocks[1].Wafakt, 5.0, 1e-12);
    EXPECT_EQ(run.Blocks[2].NAbonents, 0) << "the cable is the district's, its consumer is not";
    EXPECT_EQ(run.Blocks[2].NLineC, 1);
    EXPECT_NEAR(run.Blocks[3].Wafakt, 4.0, 1e-12);
    double received = 0, consumption = 0, losses = 0, pgen = 0;
    for (const TBalanceBlock& block : run.Blocks) {
        received += block.Wa_gen;
        consumption += block.Wacalc;
        losses += block.dWa;
        pgen += block.Pgen;
        EXPECT_NEAR(block.Pgen, block.Pcalc + block.dP, 1e-12);
    }
    EXPECT_NEAR(received, 21.0, 1e-9);
    EXPECT_NEAR(consumption, 19.0, 1e-9) << "loads mode: calculated consumption is the given one";
    EXPECT_NEAR(pgen, run.Power.GetHeadP(), 1e-7);
    // Only the head block carries what the calculation does not explain.
    EXPECT_NEAR(run.Blocks[1].Wa_gen, run.Blocks[1].Wacalc + run.Blocks[1].dWa, 1e-12);
    EXPECT_NEAR(head.Wa_gen, 21.0 - (consumption + losses) + head.Wacalc + head.dWa, 1e-9);
    // Admissible imbalance: √((1.2298·21)² + (2.2·10)² + (2.2·5)² + (2.2·4)²) / 100.
    const double expected = std::sqrt(std::pow(1.2298373876248845 * 21, 2) + std::pow(2.2 * 10, 2) +
                                      std::pow(2.2 * 5, 2) + std::pow(2.2 * 4, 2)) /
                            100;
    EXPECT_NEAR(run.Figures.dWdop, expected, 1e-9);
}
