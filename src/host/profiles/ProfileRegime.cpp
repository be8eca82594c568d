#include "host/profiles/ProfileRegime.h"

#include <QHash>
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>

#include "host/FiderHHCalcParams.h"
#include "host/fider/Topology038.h"
#include "host/profiles/ProfileLoads.h"
#include "host/profiles/StepSolver.h"

namespace profiles {

using namespace fider;

namespace {
constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();
bool positive(double v) { return std::isfinite(v) && v > 0; }
QString phaseName(int k) { return QString(QLatin1Char("ABC"[k])); }

// The load of a consumer on one phase: its slot and the share of the consumer's power.
struct Slot {
    int slot, consumer;
    double share;
};

class Calculation {
public:
    Calculation(const TFiderHHInfo& f, const TRegimeSettings& s, const TProfileInterval& interval,
                TCalcWInfoHHCommon& run)
        : f_(f), s_(s), interval_(interval), run_(run), topology_(TFiderTopology::Build(f))
    {
    }

    void Run(const std::vector<TStoredProfile>& profiles, const TStoredProfile* typical, TProfileStepSeries* series)
    {
        run_.Problems = topology_.Problems;
        CheckSettings();
        if (!run_.Ok())
            return;
        steps_ = BuildFiderSteps(f_, topology_, profiles, typical, interval_, s_.DefaultCosFi);
        run_.Problems << steps_.Problems;
        if (!run_.Ok())
            return;
        if (f_.Consumers.empty()) {
            run_.Problems << QStringLiteral("В схеме нет абонентов");
            return;
        }
        if (std::none_of(steps_.Consumers.begin(), steps_.Consumers.end(),
                         [](const TConsumerSteps& c) { return c.Wa > 0; })) {
            run_.Problems << QStringLiteral("Нет нагрузок: у питаемых абонентов нет ни графиков, ни электроэнергии "
                                            "интервала");
            return;
        }
        if (!SolveSteps(series))
            return;
        if (!PeakSnapshot())
            return;
        Energies();
        Comparisons();
    }

private:
    double Hours() const { return static_cast<double>(interval_.End - interval_.Start) / 60.0; }

    void CheckSettings()
    {
        QStringList& p = run_.Problems;
        for (int k = 0; k < 3; ++k)
            if (!positive(s_.U[k]))
                p << QStringLiteral("Не задано напряжение фазы %1 в центре питания").arg(phaseName(k));
        if (!std::isfinite(s_.Temperature) || s_.Temperature < -60 || s_.Temperature > 100)
            p << QStringLiteral("Неверная температура");
        if (!positive(s_.Kdp))
            p << QStringLiteral("Неверный коэффициент дополнительных потерь");
        if (!(interval_.End > interval_.Start))
            p << QStringLiteral("Не задан интервал расчета");
    }

    bool SolveSteps(TProfileStepSeries* series)
    {
        solver_.Prepare(f_, topology_, s_.Temperature, s_.U, f_.NominalPhaseVoltage());
        std::vector<Slot> loads;
        for (size_t c = 0; c < f_.Consumers.size(); ++c) {
            if (!steps_.Consumers[c].HasLoad())
                continue;
            const TPhaseSet phases = f_.Consumers[c].Phases;
            for (int k = 0; k < 3; ++k)
                if (phases & (1 << k)) {
                    const int slot = solver_.AddSlot(topology_.ConsumerNode[c], k);
                    if (slot >= 0)
                        loads.push_back({slot, static_cast<int>(c), 1.0 / PhaseCount(phases)});
                }
        }
        // Every step the same (flat loads only): the interval is one regime, solved once.
        const int steps = steps_.Steps;
        const int distinct = steps_.Constant() ? 1 : steps;
        multiplicity_ = steps / distinct;
        const double perWatt = 1000.0 / steps_.StepHours();  // kWh of a step to W
        headPower_.assign(steps, 0.0);
        if (series) {
            series->Start = steps_.Start;
            series->StepMinutes = steps_.StepMinutes;
            series->Nominal = f_.NominalPhaseVoltage();
            series->HeadP.assign(steps, 0);
            series->LossP.assign(steps, 0);
            series->Umin.assign(steps, 0);
        }
        double peak = -std::numeric_limits<double>::infinity();
        umin_ = kEmpty;
        int outside = 0;
        // Each lane takes one stretch of the interval in order, so that every step starts from the one before.
        constexpr int L = TStepSolver::kLanes;
        const int stretch = (distinct + L - 1) / L;
        for (int i = 0; i < stretch; ++i) {
            int count = 0;
            while (count < L && count * stretch + i < distinct)
                ++count;
            for (const Slot& s : loads) {
                const TConsumerSteps& c = steps_.Consumers[s.consumer];
                const double* active = steps_.Shapes[c.ActiveShape].data();
                const double* reactive = steps_.Shapes[c.ReactiveShape].data();
                const double kp = c.ActiveScale * perWatt * s.share, kq = c.ReactiveScale * perWatt * s.share;
                TStepSolver::Lane &p = solver_.P(s.slot), &q = solver_.Q(s.slot);
                for (int l = 0; l < count; ++l) {
                    p.v[l] = active[l * stretch + i] * kp;
                    q.v[l] = reactive[l * stretch + i] * kq;
                }
            }
            if (!solver_.Solve(count)) {
                const int lane = std::max(0, solver_.WorstLane());
                run_.Problems << QStringLiteral("Расчет режима не сошелся за 500 итераций на шаге %1 (напряжение у "
                                                "абонентов слишком низкое для нагрузок этого шага)")
                                     .arg(MinuteText(steps_.Start +
                                                     static_cast<TMinute>(lane * stretch + i) * steps_.StepMinutes));
                return false;
            }
            for (int l = 0; l < count; ++l) {
                const int step = l * stretch + i;
                const double head = solver_.HeadP(l);
                for (int t = step; t < steps; t += distinct)
                    headPower_[t] = head / 1000;
                if (head > peak || (head == peak && step < peak_)) {
                    peak = head;
                    peak_ = step;
                }
                const double u = solver_.Umin(l);
                if (std::isnan(umin_) || u < umin_)
                    umin_ = u;
                outside += solver_.Outside(l) ? multiplicity_ : 0;
                if (series)
                    for (int t = step; t < steps; t += distinct) {
                        series->HeadP[t] = static_cast<float>(head / 1000);
                        series->LossP[t] = static_cast<float>(solver_.LossP(l) / 1000);
                        series->Umin[t] = static_cast<float>(u);
                    }
            }
        }
        if (series)
            series->Peak = peak_;
        outsideShare_ = static_cast<double>(outside) / steps;
        return true;
    }

    // The step of greatest head power as a regime of its own: its snapshot, its power balance and figures.
    bool PeakSnapshot()
    {
        TFiderHHInfo peak = f_;
        for (size_t c = 0; c < peak.Consumers.size(); ++c) {
            const TConsumerSteps& s = steps_.Consumers[c];
            TAbonentNode038& a = peak.Consumers[c];
            a.Wa = s.HasLoad() ? steps_.Active(static_cast<int>(c), peak_) / 1000 : kEmpty;  // thousand kWh of the step
            a.Wr = s.HasLoad() ? steps_.Reactive(static_cast<int>(c), peak_) / 1000 : kEmpty;
        }
        TRegimeSettings one = s_;
        one.Regime = TRegimeKind::Middle;
        one.Mode = TLoadMode::Loads;
        one.T = steps_.StepHours();
        one.SqrKfg = 1;
        one.Kdp = 1;
        one.Wa = one.FiderWa = kEmpty;
        TCalcWInfoHHCommon snapshot = CalculateRegime(peak, one);
        if (!snapshot.Ok()) {
            run_.Problems << snapshot.Problems;
            return false;
        }
        run_.Power = std::move(snapshot.Power);
        run_.Blocks = std::move(snapshot.Blocks);
        run_.Figures = snapshot.Figures;
        for (size_t pos = 0; pos < run_.Power.Nodes.size(); ++pos) {
            auto& node = run_.Power.Nodes[pos];
            if (!node.Energised)
                continue;
            node.Umin = solver_.NodeUmin(static_cast<int>(pos));
            node.UOut =
                static_cast<double>(solver_.NodeOutsideSteps(static_cast<int>(pos)) * multiplicity_) / steps_.Steps;
        }
        return true;
    }

    TBalanceBlock& Block(int res, int balance)
    {
        for (TBalanceBlock& b : run_.Blocks)
            if (b.Res == res && b.Balance == balance)
                return b;
        run_.Blocks.emplace_back();
        run_.Blocks.back().Res = res;
        run_.Blocks.back().Balance = balance;
        return run_.Blocks.back();
    }

    // Energies over the interval: the consumers' sums and the losses' sums over the steps, per balance block.
    void Energies()
    {
        const double hours = Hours(), stepHours = steps_.StepHours();
        for (TBalanceBlock& b : run_.Blocks) {
            b.Wacalc = b.Wrcalc = b.dWa = b.dWr = 0;
            b.Wafakt = b.Wrfakt = kEmpty;
        }
        for (int pos = 1; pos < topology_.Count(); ++pos) {
            if (!topology_.Energised[pos])
                continue;
            const TLine038& line = f_.Lines[topology_.Line[pos]];
            TBalanceBlock& b = Block(f_.ResOf(line), BalanceKind(line.Owner));
            // W·h of the steps to thousand kWh, with the additional losses.
            b.dWa += solver_.SectionLossSumP(pos) * multiplicity_ * stepHours / 1e6 * s_.Kdp;
            b.dWr += solver_.SectionLossSumQ(pos) * multiplicity_ * stepHours / 1e6 * s_.Kdp;
        }
        double sumConsumers2 = 0;
        for (size_t c = 0; c < f_.Consumers.size(); ++c) {
            const TConsumerSteps& s = steps_.Consumers[c];
            if (!s.HasLoad())
                continue;
            const int pos = topology_.ConsumerNode[c];
            const TLine038& feeding = f_.Lines[topology_.Line[pos]];
            const TAbonentNode038& a = f_.Consumers[c];
            TBalanceBlock& b = Block(f_.ResOf(feeding), BalanceKind(a.Owner.value_or(feeding.Owner)));
            b.Wacalc += s.Wa / 1000;
            b.Wrcalc += s.Wr / 1000;
            if (s.Given) {
                b.Wafakt = (std::isnan(b.Wafakt) ? 0 : b.Wafakt) + s.Wa / 1000;
                b.Wrfakt = (std::isnan(b.Wrfakt) ? 0 : b.Wrfakt) + s.Wr / 1000;
                sumConsumers2 += std::pow(kConsumerMeterError * s.Wa / 1000, 2);
            }
        }
        double received = 0, losses = 0;
        for (TBalanceBlock& b : run_.Blocks) {
            b.Wa_gen = b.Wacalc + b.dWa;
            b.Wr_gen = b.Wrcalc + b.dWr;
            received += b.Wa_gen;
            losses += b.dWa;
        }
        // The head meter's energy is what the feeder received; what the calculation does not explain stays with
        // the part the head section belongs to.
        const bool meter = !steps_.Head.empty();
        double measured = kEmpty;
        if (meter) {
            measured = 0;
            for (double v : steps_.Head)
                measured += v;
            measured /= 1000;
            const TLine038* head = topology_.HeadEnd >= 0 ? &f_.Lines[topology_.HeadEnd] : nullptr;
            TBalanceBlock& b = head ? Block(f_.ResOf(*head), BalanceKind(head->Owner)) : Block(f_.Res, kBalanceOn);
            b.Wa_gen += measured - received;
            received = measured;
        }
        run_.Settings = s_;
        run_.Settings.Mode = TLoadMode::Profiles;
        run_.Settings.T = hours;
        run_.Settings.Wa = measured;
        TFiderFigures& g = run_.Figures;
        g.T = hours;
        g.Kdp = s_.Kdp;
        g.Temperature = s_.Temperature;
        g.Imax = g.I;
        g.dWdop = std::sqrt(std::pow(kHeadMeterError * received, 2) + sumConsumers2) / 100;
        // The head profile: the meter's, else the calculated head power of every step.
        const std::vector<double>& headProfile = meter ? steps_.Head : headPower_;
        auto figures = std::make_shared<TProfileRunFigures>();
        figures->StepMinutes = steps_.StepMinutes;
        figures->Steps = steps_.Steps;
        figures->PeakMinute = steps_.Start + static_cast<TMinute>(peak_) * steps_.StepMinutes;
        int supplied = 0;
        for (const TConsumerSteps& s : steps_.Consumers) {
            if (!s.Supplied)
                continue;
            ++supplied;
            switch (s.Source) {
            case TLoadSource::Profile: ++figures->NProfile; break;
            case TLoadSource::HeadRemainder: ++figures->NHead; break;
            case TLoadSource::Typical: ++figures->NTypical; break;
            case TLoadSource::Flat: ++figures->NFlat; break;
            case TLoadSource::None: ++figures->NNoLoad; break;
            }
        }
        figures->HeadMeter = meter;
        figures->HeadWa = measured;
        figures->Umin = umin_;
        figures->UOut = outsideShare_;
        figures->SqrKfg = SqrShapeFactor(headProfile);
        figures->Tmax = HoursOfGreatestLoad(headProfile, steps_.StepHours());
        figures->TauRel = TFiderHHCalcParamsCommon::TauOfKzap(figures->Tmax / hours);
        figures->dWa = losses;
        g.SqrKfg = figures->SqrKfg;
        run_.Energy.ConsumptionHours = hours;
        run_.Energy.SqrKfg = figures->SqrKfg;
        run_.Energy.LossHours = run_.Power.LossP > 0 ? losses * 1000 / run_.Power.LossP : kEmpty;
        figures_ = figures;
        run_.Profile = figures;
    }

    // The same consumers and interval by the two methods that assume one curve for all: mean loads with the
    // squared shape factor of the head profile, maximum loads with τ of its Tmax.
    void Comparisons()
    {
        TFiderHHInfo same = f_;
        for (size_t c = 0; c < same.Consumers.size(); ++c) {
            const TConsumerSteps& s = steps_.Consumers[c];
            same.Consumers[c].Wa = s.HasLoad() ? s.Wa / 1000 : kEmpty;
            same.Consumers[c].Wr = s.HasLoad() ? s.Wr / 1000 : kEmpty;
        }
        auto losses = [&](TRegimeKind regime) {
            TRegimeSettings m = s_;
            m.Regime = regime;
            m.Mode = TLoadMode::Loads;
            m.T = Hours();
            m.SqrKfg = figures_->SqrKfg;
            m.Tmax = figures_->Tmax;
            m.TauRel = figures_->TauRel;
            m.Wa = m.FiderWa = kEmpty;
            const TCalcWInfoHHCommon r = CalculateRegime(same, m);
            if (!r.Ok())
                return kEmpty;
            double dW = 0;
            for (const TBalanceBlock& b : r.Blocks)
                dW += b.dWa;
            return dW;
        };
        figures_->dWaMiddle = losses(TRegimeKind::Middle);
        figures_->dWaMax = losses(TRegimeKind::Maximum);
    }

    const TFiderHHInfo& f_;
    const TRegimeSettings& s_;
    const TProfileInterval& interval_;
    TCalcWInfoHHCommon& run_;
    TFiderTopology topology_;
    TFiderSteps steps_;
    TStepSolver solver_;
    std::vector<double> headPower_;  // kW of each step
    std::shared_ptr<TProfileRunFigures> figures_;
    int peak_ = 0, multiplicity_ = 1;
    double umin_ = kEmpty, outsideShare_ = 0;
};
}  // namespace

TCalcWInfoHHCommon CalculateProfileRegime(const TFiderHHInfo& fider, const TRegimeSettings& settings,
                                          const std::vector<TStoredProfile>& profiles, const TStoredProfile* typical,
                                          const TProfileInterval& interval, TProfileStepSeries* series)
{
    TCalcWInfoHHCommon run;
    run.FiderGuid = fider.Guid;
    run.Settings = settings;
    run.Settings.Mode = TLoadMode::Profiles;
    Calculation(fider, settings, interval, run).Run(profiles, typical, series);
    if (!run.Ok()) {
        run.Power = TCalcPWResultsHH();
        run.Blocks.clear();
        run.Figures = TFiderFigures();
        run.Profile.reset();
    }
    return run;
}

}  // namespace profiles
