#include "host/profiles/ProfileLoads.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "host/fider/RegimeCalc.h"
#include "host/fider/Topology038.h"

namespace profiles {

namespace {
constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();

bool positive(double v) { return std::isfinite(v) && v > 0; }

// The series on a finer grid: each step's energy spread evenly over the grid steps it holds.
std::vector<double> onGrid(const std::vector<double>& values, int factor)
{
    if (factor == 1)
        return values;
    std::vector<double> out;
    out.reserve(values.size() * factor);
    for (double v : values)
        out.insert(out.end(), factor, v / factor);
    return out;
}

std::vector<double> shaped(const std::vector<double>& shape, double total, double energy)
{
    std::vector<double> out(shape.size());
    const double k = energy / total;
    for (size_t t = 0; t < shape.size(); ++t)
        out[t] = shape[t] * k;
    return out;
}

double sum(const std::vector<double>& v) { return std::accumulate(v.begin(), v.end(), 0.0); }
}  // namespace

int TFiderSteps::Count(TLoadSource source) const
{
    return static_cast<int>(std::count_if(Consumers.begin(), Consumers.end(),
                                          [source](const TConsumerSteps& c) { return c.Source == source; }));
}

bool TFiderSteps::Constant() const
{
    for (const TConsumerSteps& c : Consumers)
        for (const std::vector<double>* v : {&c.Active, &c.Reactive})
            if (std::adjacent_find(v->begin(), v->end(), std::not_equal_to<>()) != v->end())
                return false;
    return true;
}

TFiderSteps BuildFiderSteps(const fider::TFiderHHInfo& f, const fider::TFiderTopology& topology,
                            const std::vector<TStoredProfile>& profiles, const TStoredProfile* typical,
                            const TProfileInterval& interval, double defaultCosFi)
{
    TFiderSteps steps;
    steps.Start = interval.Start;
    // The grid: the greatest common step of the profiles used, an hour without any.
    int grid = 0;
    const TStoredProfile* head = nullptr;
    QHash<int, const TStoredProfile*> own;
    auto fits = [&](const TStoredProfile& p, const QString& whose) {
        const TProfileSeries& s = p.Series;
        if (s.Start == interval.Start && s.End() == interval.End && IsStepMinutes(s.StepMinutes))
            return true;
        steps.Problems << QStringLiteral("График %1 не совпадает с интервалом %2").arg(whose, interval.Text());
        return false;
    };
    for (const TStoredProfile& p : profiles) {
        if (p.Kind == TProfileKind::Head && fits(p, QStringLiteral("головного счетчика")))
            head = &p;
        else if (p.Kind == TProfileKind::Consumer && fits(p, QStringLiteral("абонента %1").arg(p.Guid)))
            own.insert(p.Guid, &p);
    }
    if (typical && !fits(*typical, QStringLiteral("типа нагрузки")))
        typical = nullptr;
    for (const TStoredProfile* p : {head, typical})
        if (p)
            grid = std::gcd(grid, p->Series.StepMinutes);
    for (const TStoredProfile* p : own)
        grid = std::gcd(grid, p->Series.StepMinutes);
    steps.StepMinutes = grid ? grid : 60;
    if (!steps.Problems.isEmpty())
        return steps;
    steps.Steps = static_cast<int>((interval.End - interval.Start) / steps.StepMinutes);
    auto toGrid = [&](const std::vector<double>& v, int step) { return onGrid(v, step / steps.StepMinutes); };

    steps.Consumers.resize(f.Consumers.size());
    std::vector<double> profiled(steps.Steps, 0.0);
    for (size_t c = 0; c < f.Consumers.size(); ++c) {
        const int pos = topology.ConsumerNode[c];
        if (pos < 0 || !topology.Energised[pos])
            continue;
        steps.Consumers[c].Supplied = true;
        const TStoredProfile* p = own.value(f.Consumers[c].NodeGuid);
        if (!p)
            continue;
        TConsumerSteps& s = steps.Consumers[c];
        s.Source = TLoadSource::Profile;
        s.Given = true;
        s.Active = toGrid(p->Series.Active, p->Series.StepMinutes);
        if (p->Series.HasReactive())
            s.Reactive = toGrid(p->Series.Reactive, p->Series.StepMinutes);
        for (int t = 0; t < steps.Steps; ++t)
            profiled[t] += s.Active[t];
    }
    // The shapes for the others, in the order they are tried.
    std::vector<double> remainder, kind;
    double remainderSum = 0, kindSum = 0;
    if (head) {
        steps.Head = toGrid(head->Series.Active, head->Series.StepMinutes);
        remainder.resize(steps.Steps);
        for (int t = 0; t < steps.Steps; ++t)
            remainder[t] = std::max(0.0, steps.Head[t] - profiled[t]);
        remainderSum = sum(remainder);
    }
    if (typical) {
        kind = toGrid(typical->Series.Active, typical->Series.StepMinutes);
        kindSum = sum(kind);
    }
    for (size_t c = 0; c < f.Consumers.size(); ++c) {
        const fider::TAbonentNode038& a = f.Consumers[c];
        TConsumerSteps& s = steps.Consumers[c];
        const int pos = topology.ConsumerNode[c];
        if (pos < 0 || !topology.Energised[pos] || s.Source == TLoadSource::Profile)
            continue;
        // A feeder without a scheme has one load: what its head meter received when nothing else gives it.
        double energy = a.HasEnergy() ? a.Wa * 1000 : kEmpty;  // kWh
        if (!positive(energy) && f.Equivalent && head)
            energy = sum(steps.Head);
        if (!positive(energy))
            continue;
        s.Given = a.HasEnergy();
        if (remainderSum > 0) {
            s.Source = TLoadSource::HeadRemainder;
            s.Active = shaped(remainder, remainderSum, energy);
        } else if (kindSum > 0) {
            s.Source = TLoadSource::Typical;
            s.Active = shaped(kind, kindSum, energy);
        } else {
            s.Source = TLoadSource::Flat;
            s.Active.assign(steps.Steps, energy / steps.Steps);
        }
    }
    // Reactive energies where the meter gives none: from the consumer's power factor.
    for (size_t c = 0; c < f.Consumers.size(); ++c) {
        TConsumerSteps& s = steps.Consumers[c];
        if (s.Active.empty())
            continue;
        if (s.Reactive.empty()) {
            const fider::TAbonentNode038& a = f.Consumers[c];
            const double tan = fider::ConsumerTanPhi(a.Wa, a.Wr, a.CosFi, f.LoadKindCosFi, defaultCosFi);
            s.Reactive.resize(s.Active.size());
            for (size_t t = 0; t < s.Active.size(); ++t)
                s.Reactive[t] = s.Active[t] * tan;
        }
        s.Wa = sum(s.Active);
        s.Wr = sum(s.Reactive);
    }
    return steps;
}

double SqrShapeFactor(const std::vector<double>& values)
{
    if (values.empty())
        return kEmpty;
    double s = 0, s2 = 0;
    for (double v : values) {
        s += v;
        s2 += v * v;
    }
    const double n = static_cast<double>(values.size());
    return s > 0 ? (s2 / n) / ((s / n) * (s / n)) : kEmpty;
}

double HoursOfGreatestLoad(const std::vector<double>& values, double stepHours)
{
    if (values.empty())
        return kEmpty;
    const double peak = *std::max_element(values.begin(), values.end());
    return peak > 0 ? sum(values) / peak * stepHours : kEmpty;
}

}  // namespace profiles
