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
        for (int shape : {c.ActiveShape, c.ReactiveShape}) {
            if (shape < 0)
                continue;
            const std::vector<double>& v = Shapes[shape];
            if (std::adjacent_find(v.begin(), v.end(), std::not_equal_to<>()) != v.end())
                return false;
        }
    return true;
}

double TFiderSteps::Active(int c, int t) const
{
    const TConsumerSteps& s = Consumers[c];
    return s.ActiveShape < 0 ? 0 : Shapes[s.ActiveShape][t] * s.ActiveScale;
}

double TFiderSteps::Reactive(int c, int t) const
{
    const TConsumerSteps& s = Consumers[c];
    return s.ReactiveShape < 0 ? 0 : Shapes[s.ReactiveShape][t] * s.ReactiveScale;
}

std::vector<double> TFiderSteps::ActiveSeries(int c) const
{
    std::vector<double> v;
    if (Consumers[c].HasLoad())
        for (int t = 0; t < Steps; ++t)
            v.push_back(Active(c, t));
    return v;
}

std::vector<double> TFiderSteps::ReactiveSeries(int c) const
{
    std::vector<double> v;
    if (Consumers[c].HasLoad())
        for (int t = 0; t < Steps; ++t)
            v.push_back(Reactive(c, t));
    return v;
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
    auto addShape = [&](std::vector<double> shape) {
        steps.Shapes.push_back(std::move(shape));
        return static_cast<int>(steps.Shapes.size()) - 1;
    };

    steps.Consumers.resize(f.Consumers.size());
    std::vector<double> profiled(steps.Steps, 0.0);
    for (size_t c = 0; c < f.Consumers.size(); ++c) {
        const int pos = topology.ConsumerNode[c];
        if (pos < 0 || !topology.Energised[pos])
            continue;
        TConsumerSteps& s = steps.Consumers[c];
        s.Supplied = true;
        const TStoredProfile* p = own.value(f.Consumers[c].NodeGuid);
        if (!p)
            continue;
        s.Source = TLoadSource::Profile;
        s.Given = true;
        s.ActiveShape = addShape(toGrid(p->Series.Active, p->Series.StepMinutes));
        s.ActiveScale = 1;
        if (p->Series.HasReactive()) {
            s.ReactiveShape = addShape(toGrid(p->Series.Reactive, p->Series.StepMinutes));
            s.ReactiveScale = 1;
        }
        const std::vector<double>& a = steps.Shapes[s.ActiveShape];
        for (int t = 0; t < steps.Steps; ++t)
            profiled[t] += a[t];
    }
    // The shapes for the others, in the order they are tried; each made once for all who follow it.
    int remainder = -1, kind = -1, flat = -1;
    double remainderSum = 0, kindSum = 0;
    if (head) {
        steps.Head = toGrid(head->Series.Active, head->Series.StepMinutes);
        std::vector<double> r(steps.Steps);
        for (int t = 0; t < steps.Steps; ++t)
            r[t] = std::max(0.0, steps.Head[t] - profiled[t]);
        remainderSum = sum(r);
        if (remainderSum > 0)
            remainder = addShape(std::move(r));
    }
    std::vector<double>().swap(profiled);
    if (typical) {
        std::vector<double> k = toGrid(typical->Series.Active, typical->Series.StepMinutes);
        kindSum = sum(k);
        if (kindSum > 0)
            kind = addShape(std::move(k));
    }
    for (size_t c = 0; c < f.Consumers.size(); ++c) {
        const fider::TAbonentNode038& a = f.Consumers[c];
        TConsumerSteps& s = steps.Consumers[c];
        if (!s.Supplied || s.Source == TLoadSource::Profile)
            continue;
        // A feeder without a scheme has one load: what its head meter received when nothing else gives it.
        double energy = a.HasEnergy() ? a.Wa * 1000 : kEmpty;  // kWh
        if (!positive(energy) && f.Equivalent && head)
            energy = sum(steps.Head);
        if (!positive(energy))
            continue;
        s.Given = a.HasEnergy();
        if (remainder >= 0) {
            s.Source = TLoadSource::HeadRemainder;
            s.ActiveShape = remainder;
            s.ActiveScale = energy / remainderSum;
        } else if (kind >= 0) {
            s.Source = TLoadSource::Typical;
            s.ActiveShape = kind;
            s.ActiveScale = energy / kindSum;
        } else {
            if (flat < 0)
                flat = addShape(std::vector<double>(steps.Steps, 1.0));
            s.Source = TLoadSource::Flat;
            s.ActiveShape = flat;
            s.ActiveScale = energy / steps.Steps;
        }
    }
    // The sums of the shapes, each once however many consumers follow it.
    std::vector<double> sums(steps.Shapes.size(), kEmpty);
    auto shapeSum = [&](int shape) {
        if (std::isnan(sums[shape]))
            sums[shape] = sum(steps.Shapes[shape]);
        return sums[shape];
    };
    // Reactive energies where the meter gives none: the active shape at the consumer's power factor.
    for (size_t c = 0; c < f.Consumers.size(); ++c) {
        TConsumerSteps& s = steps.Consumers[c];
        if (!s.HasLoad())
            continue;
        if (s.ReactiveShape < 0) {
            const fider::TAbonentNode038& a = f.Consumers[c];
            s.ReactiveShape = s.ActiveShape;
            s.ReactiveScale = s.ActiveScale * fider::ConsumerTanPhi(a.Wa, a.Wr, a.CosFi, f.LoadKindCosFi, defaultCosFi);
        }
        s.Wa = shapeSum(s.ActiveShape) * s.ActiveScale;
        s.Wr = shapeSum(s.ReactiveShape) * s.ReactiveScale;
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
