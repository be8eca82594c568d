#include "host/fider/RegimeCalc.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "host/NumericHelpers.h"
#include "host/fider/RegimeSolver.h"
#include "host/fider/Topology038.h"

namespace fider {

// The empty value of the host (a quiet NaN), without a call across the library for each use.
constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();

QString LoadModeName(TLoadMode mode)
{
    switch (mode) {
    case TLoadMode::Loads: return QStringLiteral("loads");
    case TLoadMode::HeadCurrents: return QStringLiteral("currents");
    case TLoadMode::Profiles: return QStringLiteral("profiles");
    default: return QStringLiteral("energy");
    }
}

TRegimeSettings::TRegimeSettings()
{
    const double e = kEmpty;
    U.fill(e);
    HeadCurrent.fill(e);
    Imax.fill(e);
    SqrKfg = TauRel = Tmax = Kzap = Wa = FiderWa = e;
}

TBalanceBlock::TBalanceBlock()
{
    const double e = kEmpty;
    Pcalc = Qcalc = dP = dQ = 0;
    Pfakt = Qfakt = Wafakt = Wrfakt = e;
    Pgen = Qgen = Wacalc = Wa_gen = Wrcalc = Wr_gen = dWa = dWr = e;
}

TFiderFigures::TFiderFigures()
{
    const double e = kEmpty;
    T = Lm = L23 = L1 = HeadEndSize = HeadEndLength = Krazv = Kdp = SqrKfg = Temperature = dPdop = dWdop = e;
    Kzap = Tau = Tmax = e;
    U.fill(e);
    I.fill(e);
    Imax.fill(e);
    CosFi.fill(e);
    U2.fill(e);
}

double TCalcPWResultsHH::GetUmin(int phase) const
{
    double lowest = kEmpty;
    for (const Node& n : Nodes)
        if (n.Energised && !std::isnan(n.U[phase]) && (std::isnan(lowest) || n.U[phase] < lowest))
            lowest = n.U[phase];
    return lowest;
}

double TCalcPWResultsHH::GetDeltaUmax(const std::array<double, 3>& supply) const
{
    double worst = kEmpty;
    for (int k = 0; k < 3; ++k) {
        const double u = GetUmin(k);
        if (std::isnan(u) || !(supply[k] > 0))
            continue;
        const double loss = (supply[k] - u) / supply[k] * 100;
        worst = std::isnan(worst) ? loss : std::max(worst, loss);
    }
    return worst;
}

namespace {

bool positive(double v) { return std::isfinite(v) && v > 0; }

double sumKnown(double a, double b) { return AC_SumFloat(a, b); }

double tangentOf(const TAbonentNode038& a, double kindCos, double defaultCos)
{
    return ConsumerTanPhi(a.Wa, a.Wr, a.CosFi, kindCos, defaultCos);
}

QString phaseName(int k) { return QString(QLatin1Char("ABC"[k])); }

// The consumers' base powers (W, var) and the phases they are spread over.
struct ConsumerLoad {
    int position = -1;
    double p = 0, q = 0, tan = 0;
    bool supplied = false;
};

class Calculation {
public:
    Calculation(const TFiderHHInfo& fider, const TRegimeSettings& settings, TCalcWInfoHHCommon& run,
                TRegimeSolver& solver)
        : f_(fider), s_(settings), run_(run), topology_(TFiderTopology::Build(fider)), solver_(solver)
    {
    }

    void Run()
    {
        run_.Problems = topology_.Problems;
        CheckSettings();
        if (!run_.Ok())
            return;
        BaseLoads();
        if (!run_.Ok())
            return;
        solver_.Prepare(f_, topology_, s_.Temperature, s_.U);
        for (size_t c = 0; c < loads_.size(); ++c)
            AddLoad(c);
        if (!ReachTarget())
            return;
        Snapshot();
        Energies();
        Balance();
        Figures();
    }

private:
    double ConsumptionHours() const { return s_.Regime == TRegimeKind::Middle ? s_.T : s_.Tmax; }

    void CheckSettings()
    {
        QStringList& p = run_.Problems;
        for (int k = 0; k < 3; ++k)
            if (!positive(s_.U[k]))
                p << QStringLiteral("Не задано напряжение фазы %1 в центре питания").arg(phaseName(k));
        if (!positive(s_.T))
            p << QStringLiteral("Не задана длительность расчетного периода");
        if (!std::isfinite(s_.Temperature) || s_.Temperature < -60 || s_.Temperature > 100)
            p << QStringLiteral("Неверная температура");
        if (!positive(s_.Kdp))
            p << QStringLiteral("Неверный коэффициент дополнительных потерь");
        if (s_.Regime == TRegimeKind::Middle) {
            if (!positive(s_.SqrKfg))
                p << QStringLiteral("Не задан квадрат коэффициента формы графика");
        } else {
            if (!positive(s_.Tmax))
                p << QStringLiteral("Не задано время использования наибольшей нагрузки");
            if (!positive(s_.TauRel))
                p << QStringLiteral("Не задано относительное число часов наибольших потерь");
            if (s_.Mode == TLoadMode::Energy)
                p << QStringLiteral("Расчет по отпуску электроэнергии возможен только в режиме средних нагрузок");
        }
        if (s_.Mode == TLoadMode::Profiles)
            p << QStringLiteral("Расчет по графикам нагрузки выполняется по шагам интервала, а не одним режимом");
        if (s_.Mode == TLoadMode::Energy && !positive(s_.Wa))
            p << QStringLiteral("Не задан отпуск активной электроэнергии в линию");
    }

    void BaseLoads()
    {
        const bool anyEnergy = std::any_of(f_.Consumers.begin(), f_.Consumers.end(),
                                           [](const TAbonentNode038& a) { return a.HasEnergy(); });
        const bool anyPust = std::any_of(f_.Consumers.begin(), f_.Consumers.end(),
                                         [](const TAbonentNode038& a) { return positive(a.Pust); });
        const double hours = ConsumptionHours();
        double total = 0;
        int supplied = 0;
        loads_.resize(f_.Consumers.size());
        for (size_t c = 0; c < f_.Consumers.size(); ++c) {
            const TAbonentNode038& a = f_.Consumers[c];
            ConsumerLoad& l = loads_[c];
            l.position = topology_.ConsumerNode[c];
            l.supplied = topology_.Energised[l.position] != 0;
            l.tan = tangentOf(a, f_.LoadKindCosFi, s_.DefaultCosFi);
            if (s_.Mode == TLoadMode::Loads)
                l.p = a.HasEnergy() ? a.Wa * 1e6 / hours : 0;  // thousand kWh over hours, in W
            else
                l.p = anyEnergy ? (a.HasEnergy() ? a.Wa : 0) : anyPust ? (positive(a.Pust) ? a.Pust : 0) : 1;
            l.q = l.p * l.tan;
            if (l.supplied) {
                total += l.p;
                ++supplied;
            }
        }
        if (f_.Consumers.empty())
            run_.Problems << QStringLiteral("В схеме нет абонентов");
        else if (supplied == 0)
            run_.Problems << QStringLiteral("Нет нагрузок: все абоненты отключены");
        else if (!(total > 0) && f_.Equivalent)
            run_.Problems << QStringLiteral("Нет схемы линии, а отпуск электроэнергии в линию, по которому "
                                            "считается ее нагрузка, не задан");
        else if (!(total > 0))
            run_.Problems << QStringLiteral("Нет нагрузок: у питаемых абонентов не задана электроэнергия");
    }

    void AddLoad(size_t c)
    {
        const ConsumerLoad& l = loads_[c];
        if (!l.supplied)
            return;
        const TPhaseSet phases = f_.Consumers[c].Phases;
        const int n = PhaseCount(phases);
        for (int k = 0; k < 3; ++k)
            if (phases & (1 << k)) {
                solver_.AddLoad(l.position, k, l.p / n, l.q / n);
                base_[k] += l.p / n;
            }
    }

    bool ReachTarget()
    {
        switch (s_.Mode) {
        case TLoadMode::Loads: return Converged(solver_.Solve());
        case TLoadMode::HeadCurrents: return ReachHeadCurrents();
        default: return ReachEnergy();
        }
    }

    // Each phase's consumers are scaled, sweep by sweep, so that the head current of the phase is the
    // measured one.
    bool ReachHeadCurrents()
    {
        std::array<double, 3> targets;
        for (int k = 0; k < 3; ++k) {
            const double target = s_.HeadCurrent[k];
            targets[k] = base_[k] > 0 ? target : kEmpty;
            if (base_[k] > 0 && !(std::isfinite(target) && target >= 0))
                run_.Problems << QStringLiteral("Не задан ток фазы %1 головного участка").arg(phaseName(k));
            else if (base_[k] == 0 && positive(target))
                run_.Problems << QStringLiteral("Задан ток фазы %1 головного участка, но на этой фазе нет "
                                                "абонентов")
                                     .arg(phaseName(k));
        }
        if (!run_.Ok())
            return false;
        for (int k = 0; k < 3; ++k)  // a first guess: the target current at the centre's voltage
            scale_[k] = base_[k] > 0 ? s_.HeadCurrent[k] * s_.U[k] / base_[k] : 0;
        solver_.ScaleLoads(scale_);
        const bool converged = solver_.SolveToHeadCurrents(targets);
        scale_ = solver_.Factors();
        return Converged(converged);
    }

    // All consumers are scaled by one factor, sweep by sweep, so that the head power over the interval is
    // the energy supplied.
    bool ReachEnergy()
    {
        const double target = s_.Wa * 1e6 / s_.T;  // W
        scale_.fill(target / (base_[0] + base_[1] + base_[2]));
        solver_.ScaleLoads(scale_);
        const bool converged = solver_.SolveToHeadPower(target);
        scale_ = solver_.Factors();
        return Converged(converged);
    }

    bool Converged(bool converged)
    {
        if (!converged)
            run_.Problems << QStringLiteral("Расчет режима не сошелся за 500 итераций (напряжение у абонентов "
                                            "слишком низкое для заданных нагрузок)");
        return converged;
    }

    void Snapshot()
    {
        TCalcPWResultsHH& r = run_.Power;
        const int n = topology_.Count();
        r.Nodes.resize(n);
        r.Sections.resize(n);
        for (int pos = 0; pos < n; ++pos) {
            auto& node = r.Nodes[pos];
            node.SchemeNode = topology_.SchemeNode[pos];
            node.Energised = topology_.Energised[pos] != 0;
            for (int k = 0; k < 3; ++k)
                node.U[k] = node.Energised && (topology_.Phases[pos] & (1 << k)) ? solver_.NodeVoltage(pos, k) : kEmpty;
            if (pos == 0)
                continue;
            auto& section = r.Sections[pos];
            section.SchemeLine = topology_.Line[pos];
            section.Energised = node.Energised;
            section.I.fill(kEmpty);
            section.dU = section.dP = section.dQ = kEmpty;
            if (!section.Energised)
                continue;
            for (int k = 0; k < 3; ++k)
                if (topology_.Phases[pos] & (1 << k)) {
                    section.I[k] = solver_.SectionCurrent(pos, k);
                    const double drop = (r.Nodes[topology_.Parent[pos]].U[k] - node.U[k]) / s_.U[k] * 100;
                    section.dU = std::isnan(section.dU) ? drop : std::max(section.dU, drop);
                }
            section.I[3] = solver_.SectionCurrent(pos, 3);
            solver_.SectionLosses(pos, section.dP, section.dQ);
            section.dP /= 1000;
            section.dQ /= 1000;
            r.LossP += section.dP;
            r.LossQ += section.dQ;
        }
        for (int k = 0; k < 3; ++k) {
            r.HeadI[k] = solver_.HeadCurrent(k);
            r.HeadP[k] = solver_.HeadP(k) / 1000;
            r.HeadQ[k] = solver_.HeadQ(k) / 1000;
            r.LoadP += solver_.LoadPhaseSum(k) / 1000;
        }
        r.LoadScale = scale_;
        r.Sweeps = solver_.Sweeps();
        r.ConsumerP.assign(loads_.size(), kEmpty);
        r.ConsumerQ.assign(loads_.size(), kEmpty);
        for (size_t c = 0; c < loads_.size(); ++c) {
            const ConsumerLoad& l = loads_[c];
            if (!l.supplied) {
                ++r.NotSupplied;
                continue;
            }
            ++r.Supplied;
            const TPhaseSet phases = f_.Consumers[c].Phases;
            double factor = 0;
            for (int k = 0; k < 3; ++k)
                if (phases & (1 << k))
                    factor += scale_[k] / PhaseCount(phases);
            r.ConsumerP[c] = l.p * factor / 1000;
            r.ConsumerQ[c] = l.q * factor / 1000;
            r.LoadQ += r.ConsumerQ[c];
        }
    }

    void Energies()
    {
        TCalcWResultsHH& w = run_.Energy;
        w.ConsumptionHours = ConsumptionHours();
        if (s_.Regime == TRegimeKind::Middle) {
            w.LossHours = s_.T * s_.SqrKfg * s_.Kdp;
            w.SqrKfg = s_.SqrKfg;
        } else {
            w.LossHours = s_.TauRel * s_.T * s_.Kdp;
            w.SqrKfg = kEmpty;
        }
    }

    TBalanceBlock& Block(int res, int balance)
    {
        TBalanceBlock& b = blocks_[{res, balance}];
        b.Res = res;
        b.Balance = balance;
        return b;
    }

    void Balance()
    {
        const TCalcPWResultsHH& r = run_.Power;
        for (const auto& [res, kind] : f_.GetBalancesList(topology_))
            Block(res, kind);
        for (const TLine038& line : f_.Lines) {
            TBalanceBlock& b = Block(f_.ResOf(line), BalanceKind(line.Owner));
            const double length = std::isfinite(line.Length) ? line.Length : 0;
            // A connecting line counts with the lines of its conductor's construction; one without a conductor is
            // a link, not a line.
            if (line.IsLink())
                continue;
            if (line.IsCableBuilt()) {
                ++(line.SwitchedOn ? b.NLineC : b.NLineC_off);
                (line.SwitchedOn ? b.LsumC : b.LsumC_off) += length;
            } else {
                ++(line.SwitchedOn ? b.NLineP : b.NLineP_off);
                (line.SwitchedOn ? b.LsumP : b.LsumP_off) += length;
            }
        }
        for (int pos = 1; pos < topology_.Count(); ++pos) {
            const auto& s = r.Sections[pos];
            if (!s.Energised)
                continue;
            const TLine038& line = f_.Lines[s.SchemeLine];
            TBalanceBlock& b = Block(f_.ResOf(line), BalanceKind(line.Owner));
            b.dP += s.dP;
            b.dQ += s.dQ;
        }
        const double hours = run_.Energy.ConsumptionHours;
        for (size_t c = 0; c < loads_.size(); ++c) {
            if (!loads_[c].supplied)
                continue;
            const TAbonentNode038& a = f_.Consumers[c];
            const int pos = loads_[c].position;
            const TLine038& feeding = f_.Lines[topology_.Line[pos]];
            TBalanceBlock& b = Block(f_.ResOf(feeding), BalanceKind(a.Owner.value_or(feeding.Owner)));
            ++b.NAbonents;
            b.Pcalc += r.ConsumerP[c];
            b.Qcalc += r.ConsumerQ[c];
            if (a.HasEnergy()) {
                const double wr = std::isfinite(a.Wr) && a.Wr >= 0 ? a.Wr : a.Wa * loads_[c].tan;
                b.Wafakt = sumKnown(b.Wafakt, a.Wa);
                b.Wrfakt = sumKnown(b.Wrfakt, wr);
                b.Pfakt = sumKnown(b.Pfakt, a.Wa * 1000 / hours);
                b.Qfakt = sumKnown(b.Qfakt, wr * 1000 / hours);
            }
        }
        const TLine038* head = topology_.HeadEnd >= 0 ? &f_.Lines[topology_.HeadEnd] : nullptr;
        TBalanceBlock& headBlock = head ? Block(f_.ResOf(*head), BalanceKind(head->Owner)) : Block(f_.Res, kBalanceOn);
        const int headRes = headBlock.Res, headBalance = headBlock.Balance;
        // Zero is not unknown: a part that feeds no consumer consumed nothing, and a feeder without a part on
        // the utility's balance has a useful supply of 0, stored as such.
        if (std::none_of(blocks_.begin(), blocks_.end(),
                         [](const auto& kb) { return kb.second.Balance == kBalanceOn; }))
            Block(headRes, kBalanceOn);
        for (auto& [key, b] : blocks_)
            if (b.NAbonents == 0)
                b.Pfakt = b.Qfakt = b.Wafakt = b.Wrfakt = 0;
        double received = 0;
        for (auto& [key, b] : blocks_) {
            b.Pgen = b.Pcalc + b.dP;
            b.Qgen = b.Qcalc + b.dQ;
            b.Wacalc = b.Pcalc * hours / 1000;
            b.Wrcalc = b.Qcalc * hours / 1000;
            b.dWa = b.dP * run_.Energy.LossHours / 1000;
            b.dWr = b.dQ * run_.Energy.LossHours / 1000;
            b.Wa_gen = b.Wacalc + b.dWa;
            b.Wr_gen = b.Wrcalc + b.dWr;
            received += b.Wa_gen;
        }
        // A measured supply into the feeder is what the feeder received; what the calculation does not
        // explain stays with the part the head section belongs to.
        if (positive(s_.Wa))
            blocks_[{headRes, headBalance}].Wa_gen += s_.Wa - received;
        for (auto& [key, b] : blocks_)
            run_.Blocks.push_back(b);
    }

    void Figures()
    {
        TFiderFigures& g = run_.Figures;
        const TCalcPWResultsHH& r = run_.Power;
        g.T = s_.T;
        g.U = s_.U;
        g.Temperature = s_.Temperature;
        g.Kdp = s_.Kdp;
        g.SqrKfg = run_.Energy.SqrKfg;
        const double kzap = positive(s_.SqrKfg) && 3 * s_.SqrKfg - 2 > 0 ? 1 / (3 * s_.SqrKfg - 2) : kEmpty;
        LoadCurve(kzap);
        const double du = r.GetDeltaUmax(s_.U);
        for (int k = 0; k < 3; ++k) {
            g.I[k] = r.HeadI[k];
            const double s = std::sqrt(r.HeadP[k] * r.HeadP[k] + r.HeadQ[k] * r.HeadQ[k]);
            g.CosFi[k] = s > 0 ? r.HeadP[k] / s : kEmpty;
            g.U2[k] = r.GetUmin(k);
            if (s_.Regime == TRegimeKind::Maximum)
                g.Imax[k] = r.HeadI[k];
            else if (std::isfinite(s_.Imax[k]))
                g.Imax[k] = s_.Imax[k];
            else if (!std::isnan(kzap) && kzap > 0)
                g.Imax[k] = r.HeadI[k] / kzap;  // the fill factor is the mean load over the greatest
        }
        g.Lm = topology_.MainLineLength;
        g.L23 = topology_.Length23;
        g.L1 = topology_.Length1;
        const TLine038* head = topology_.HeadEnd >= 0 ? &f_.Lines[topology_.HeadEnd] : nullptr;
        g.HeadEndLength = head ? head->Length : kEmpty;
        g.HeadEndSize = head && head->Phase.Known ? head->Phase.F : kEmpty;
        // Branching: the relative power loss over the largest relative voltage loss, reduced by the
        // power-factor term of the head conductor, so that one load at the end of a line gives 1.
        const double p = r.GetHeadP(), q = r.GetHeadQ();
        if (p > 0 && positive(du)) {
            const double cos2 = p * p / (p * p + q * q);
            const double xr = head && head->Phase.Known && head->Phase.R0 > 0 ? head->Phase.X0 / head->Phase.R0 : 0;
            g.Krazv = (r.LossP / p * 100) / du * cos2 * (1 + xr * q / p);
        }
        AdmissibleImbalance();
    }

    // The load curve as the run used it. Maximum load: τ and Tmax as given, the fill factor Tmax / T. Mean load:
    // the fill factor as given (else the one of the shape factor), τ = Kz²·Kf² (the loss hours of the greatest
    // load that give the same energy) and Tmax = Kz·T.
    void LoadCurve(double kzapOfShape)
    {
        TFiderFigures& g = run_.Figures;
        if (s_.Regime == TRegimeKind::Maximum) {
            g.Tau = s_.TauRel;
            g.Tmax = s_.Tmax;
            g.Kzap = s_.Tmax / s_.T;
            return;
        }
        g.Kzap = positive(s_.Kzap) ? s_.Kzap : kzapOfShape;
        g.Tau = positive(g.Kzap) ? g.Kzap * g.Kzap * s_.SqrKfg : kEmpty;
        g.Tmax = positive(g.Kzap) ? g.Kzap * s_.T : kEmpty;
    }

    // √((δhead·received)² + Σ (δconsumer·consumption)²) in power and in energy.
    void AdmissibleImbalance()
    {
        double receivedP = 0, receivedW = 0, sumP = 0, sumW = 0;
        for (const TBalanceBlock& b : run_.Blocks) {
            receivedP += b.Pgen;
            receivedW += b.Wa_gen;
        }
        const double hours = run_.Energy.ConsumptionHours;
        for (size_t c = 0; c < loads_.size(); ++c) {
            const TAbonentNode038& a = f_.Consumers[c];
            if (!loads_[c].supplied || !a.HasEnergy())
                continue;
            sumW += std::pow(kConsumerMeterError * a.Wa, 2);
            sumP += std::pow(kConsumerMeterError * a.Wa * 1000 / hours, 2);
        }
        run_.Figures.dPdop = std::sqrt(std::pow(kHeadMeterError * receivedP, 2) + sumP) / 100;
        run_.Figures.dWdop = std::sqrt(std::pow(kHeadMeterError * receivedW, 2) + sumW) / 100;
    }

    const TFiderHHInfo& f_;
    const TRegimeSettings& s_;
    TCalcWInfoHHCommon& run_;
    TFiderTopology topology_;
    TRegimeSolver& solver_;
    std::vector<ConsumerLoad> loads_;
    std::array<double, 3> base_{{0, 0, 0}};
    std::array<double, 3> scale_{{1, 1, 1}};
    std::map<std::pair<int, int>, TBalanceBlock> blocks_;
};

// One solver a thread keeps its arrays from feeder to feeder.
[[gnu::noinline]] TRegimeSolver& SolverOfThread()
{
    thread_local TRegimeSolver solver;
    return solver;
}
}  // namespace

double ConsumerTanPhi(double wa, double wr, double cosFi, double kindCosFi, double defaultCosFi)
{
    if (positive(wa) && std::isfinite(wr) && wr >= 0)
        return wr / wa;
    double cos = defaultCosFi;
    if (positive(cosFi) && cosFi <= 1)
        cos = cosFi;
    else if (positive(kindCosFi) && kindCosFi <= 1)
        cos = kindCosFi;
    return std::sqrt(std::max(0.0, 1 - cos * cos)) / cos;
}

TCalcWInfoHHCommon CalculateRegime(const TFiderHHInfo& fider, const TRegimeSettings& settings)
{
    TCalcWInfoHHCommon run;
    run.FiderGuid = fider.Guid;
    run.Settings = settings;
    Calculation(fider, settings, run, SolverOfThread()).Run();
    if (!run.Ok()) {
        run.Power = TCalcPWResultsHH();
        run.Blocks.clear();
        run.Figures = TFiderFigures();
    }
    return run;
}

double UnbalanceRatio(const TFiderHHInfo& fider, const TCalcWInfoHHCommon& run)
{
    if (!run.Ok() || !(run.Power.LossP > 0))
        return kEmpty;
    // The same consumers with the same powers, each spread over three phases of three-phase sections.
    TFiderHHInfo even = fider;
    for (TLine038& line : even.Lines)
        line.Phases = PhasesABC;
    const TFiderTopology topology = TFiderTopology::Build(even);
    TRegimeSolver solver;
    solver.Prepare(even, topology, run.Settings.Temperature, run.Settings.U);
    for (size_t c = 0; c < fider.Consumers.size(); ++c) {
        const double p = run.Power.ConsumerP[c], q = run.Power.ConsumerQ[c];
        if (std::isnan(p) || topology.ConsumerNode[c] < 0)
            continue;
        for (int k = 0; k < 3; ++k)
            solver.AddLoad(topology.ConsumerNode[c], k, p * 1000 / 3, q * 1000 / 3);
    }
    if (!solver.Solve())
        return kEmpty;
    double loss = 0;
    for (int pos = 1; pos < topology.Count(); ++pos)
        if (solver.Energised(pos))
            loss += solver.SectionLossP(pos) / 1000;
    return loss > 0 ? run.Power.LossP / loss : kEmpty;
}

}  // namespace fider
