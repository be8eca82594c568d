#include "normative/LVNormativSumObjectsUnit.h"

#include <algorithm>
#include <utility>

#include "host/NumericHelpers.h"
#include "normative/LVNormativUnit.h"

namespace {
// Sums of model values: a negative value is not given; only-missing stays -1.
double sumGiven(double a, double b)
{
    if (a < 0)
        return b;
    if (b < 0)
        return a;
    return a + b;
}

double minGiven(double a, double b)
{
    if (a < 0)
        return b;
    if (b < 0)
        return a;
    return std::min(a, b);
}

double maxGiven(double a, double b) { return std::max(a, b); }

void widen(TRange& into, const TRange& from)
{
    into.lower = minGiven(into.lower, from.lower);
    into.upper = maxGiven(into.upper, from.upper);
}

void addBounds(TRange& into, const TRange& from)
{
    into.lower = sumGiven(into.lower, from.lower);
    into.upper = sumGiven(into.upper, from.upper);
}

TRange single(double v) { return {v, v}; }
}  // namespace

QString TLengthValues::GetLengths(int index) const
{
    const TRange& r = ranges_.at(index);
    if (!(r.upper > 0))
        return {};
    if (r.lower == r.upper)
        return FormatFloat3(r.upper);
    return FormatFloat3(r.lower) + QLatin1Char('-') + FormatFloat3(r.upper);
}

TLVBResultsCommon::TLVBResultsCommon(const QString& name) : name_(name) {}

TLVBResultsCommon::TLVBResultsCommon(const QString& name, TLVNormativSample0& e) : name_(name)
{
    Wa = e.GetWa();
    Wa_bus = e.GetWa_bus();
    // A loss the method would not save (100 % of the supply or more) is not summed.
    DeltaWa = e.Classify() == TLVNormativSample0::Outcome::Saved ? e.deltaWa() : -1;
    Voltages = e.GetUnom() == 1 ? Voltage220 : Voltage400;
    T = single(e.GetT());
    NLines = single(e.GetNLines());
    Params[CosFi] = single(e.GetCosFi());
    Params[F] = single(e.GetF());
    Params[Dp] = single(e.Getdp());
    Params[Dn] = single(e.Getdn());
    Params[Kzap] = single(e.Getkzap());
    Params[Ku] = single(e.ku());
    Params[K038] = single(e.k038());
    const double net = std::max(e.WaNet(), 0.0), lines = std::max(e.GetNLines(), 0);
    for (int p = 0; p < ParamCount; ++p) {
        const double v = Params[p].upper;
        if (v < 0)
            continue;
        const double weight = p == F ? lines : net;
        sums_[p] = {v * weight, weight, v, 1};
    }
    for (int i = 0; i < TLVNormativSample0::LengthIndexCount; ++i)
        Lengths[i] = single(e.GetLengths(i));
    for (int m = 0; m < 3; ++m)
        Lengths[TLVNormativSample0::LengthIndexCount + m] =
            single(e.MaterialTotal(static_cast<TLVNormativSample0::Material>(m)));
}

TLVBResultsCommon* TLVBResultsCommon::AddChild(std::unique_ptr<TLVBResultsCommon> child)
{
    children_.push_back(std::move(child));
    return children_.back().get();
}

void TLVBResultsCommon::CalcSums()
{
    for (const auto& child : children_) {
        child->CalcSums();
        Add(*child);
    }
}

void TLVBResultsCommon::Add(const TLVBResultsCommon& c)
{
    Wa = sumGiven(Wa, c.Wa);
    Wa_bus = sumGiven(Wa_bus, c.Wa_bus);
    DeltaWa = sumGiven(DeltaWa, c.DeltaWa);
    Voltages |= c.Voltages;
    for (int p = 0; p < ParamCount; ++p) {
        widen(Params[p], c.Params[p]);
        sums_[p].Weighted += c.sums_[p].Weighted;
        sums_[p].Weight += c.sums_[p].Weight;
        sums_[p].Plain += c.sums_[p].Plain;
        sums_[p].Count += c.sums_[p].Count;
    }
    if (c.flag_) {
        // The same element over several periods: hours add up, lines keep their range.
        if (T.upper == -1)
            T = c.T;
        else
            addBounds(T, c.T);
        widen(NLines, c.NLines);
        return;
    }
    widen(T, c.T);
    if (NLines.upper == -1) {
        NLines = c.NLines;
        for (int i = 0; i < TLengthValues::Count; ++i)
            Lengths[i] = c.Lengths[i];
        return;
    }
    addBounds(NLines, c.NLines);
    for (int i = 0; i < TLengthValues::Count; ++i) {
        if (i == 29)  // the average length per line is a range, not a sum
            widen(Lengths[i], c.Lengths[i]);
        else
            addBounds(Lengths[i], c.Lengths[i]);
    }
}

void TLVBResultsCommon::SetSample(TLVNormativSample0& target) const
{
    auto singleOr = [](const TRange& r) { return r.isSingle() ? r.upper : -1.0; };
    target.SetWa(Wa > 0 ? Wa : -1);
    target.SetWa_bus(Wa_bus > 0 ? Wa_bus : -1);
    target.SetT(T.isSingle() ? static_cast<int>(T.upper) : -1);
    target.SetNLines(NLines.isSingle() ? static_cast<int>(NLines.upper) : -1);
    target.SetCosFi(singleOr(Params[CosFi]));
    target.SetF(singleOr(Params[F]));
    target.Setdp(singleOr(Params[Dp]));
    target.Setdn(singleOr(Params[Dn]));
    target.Setkzap(singleOr(Params[Kzap]));
    target.SetUnom(Voltages == Voltage220 ? 1 : 0);
}

double TLVBResultsCommon::Mean(Param p) const
{
    const TRange& r = Params[p];
    if (r.isSingle())
        return r.upper;
    const TParamSums& s = sums_[p];
    if (s.Weight > 0)
        return s.Weighted / s.Weight;
    return s.Count > 0 ? s.Plain / s.Count : -1;
}

void TLVBResultsCommon::RewriteSample(TLVNormativSample0& target) const
{
    using S = TLVNormativSample0;
    const int hours = target.GetT(), voltage = target.GetUnom();
    SetSample(target);
    if (!T.isSingle())
        target.SetT(hours);
    if (Voltages == (Voltage400 | Voltage220) || Voltages == 0)
        target.SetUnom(voltage);
    if (!NLines.isSingle())
        target.SetNLines(static_cast<int>(NLines.upper));
    target.SetCosFi(Mean(CosFi));
    target.SetF(Mean(F));
    target.Setdp(Mean(Dp));
    target.Setdn(Mean(Dn));
    target.Setkzap(Mean(Kzap));
    // Where each input stands among the indexes of the lengths.
    static constexpr std::pair<S::Length, int> inputs[S::LengthCount] = {
        {S::Lma, 0},   {S::Lms, 1},   {S::Lmm, 2},   {S::L23a, 4},   {S::L23ia, 5},
        {S::L23s, 7},  {S::L23is, 8}, {S::L23m, 10}, {S::L23im, 11}, {S::L1a, 16},
        {S::L1ia, 17}, {S::L1s, 19},  {S::L1is, 20}, {S::L1m, 22},   {S::L1im, 23}};
    for (const auto& [input, index] : inputs)
        target.SetLength(input, Lengths[index].upper >= 0 ? Lengths[index].upper : -1);
}

QString TLVBResultsCommon::VoltageText() const
{
    switch (Voltages) {
    case Voltage400: return QStringLiteral("400/230");
    case Voltage220: return QStringLiteral("220/127");
    case Voltage400 | Voltage220: return QStringLiteral("400/230 220/127");
    default: return {};
    }
}
