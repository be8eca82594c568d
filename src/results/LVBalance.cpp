#include "results/LVBalance.h"

#include "host/NumericHelpers.h"

namespace results {

namespace {
struct Fields {
    int gen, fakt, calc, loss;
};
Fields FieldsOf(Measure m, Part p)
{
    const bool active = p == Part::Active;
    if (m == Measure::Energy)
        return active ? Fields{bfWa_gen, bfWafakt, bfWacalc, bfdWa} : Fields{bfWr_gen, bfWrfakt, bfWrcalc, bfdWr};
    return active ? Fields{bfPgen, bfPfakt, bfPcalc, bfdP} : Fields{bfQgen, bfQfakt, bfQcalc, bfdQ};
}
int Consumption(Measure m, Basis b, Part p)
{
    const Fields f = FieldsOf(m, p);
    return b == Basis::Given ? f.fakt : f.calc;
}
// Both known, or empty.
double Minus(double a, double b) { return isEmptyFloat(a) || isEmptyFloat(b) ? EmptyFloat() : a - b; }

// A value of a balance variant that the holder has no block of: 0, not unknown (a part without sections on the
// utility's balance feeds no consumer of it and loses nothing in it).
double ZeroIfAbsent(const TLVResultCustom& r, int variant, double value)
{
    return isEmptyFloat(value) && !r.HasBlocks(variant) && r.HasBlocks(VariantTotal) ? 0 : value;
}
}  // namespace

double BlockValue(const TLVResultCustom& r, int field, int variant)
{
    return ZeroIfAbsent(r, variant, r.GetValue(field, variant));
}

double Receipt(const TLVResultCustom& r, Measure m, Part p) { return r.GetValue(FieldsOf(m, p).gen, VariantTotal); }

double OutflowConsumption(const TLVResultCustom& r, Measure m, Basis b, Part p)
{
    return ZeroIfAbsent(r, VariantOffBalance, r.GetValue(Consumption(m, b, p), VariantOffBalance));
}

double Outflow(const TLVResultCustom& r, Measure m, Basis b, Part p)
{
    // A feeder wholly on the utility's balance gives nothing away.
    const double out = AC_SumFloat(OutflowConsumption(r, m, b, p), LoadLosses(r, m, VariantOffBalance, p));
    return isEmptyFloat(out) && !isEmptyFloat(Receipt(r, m, p)) ? 0 : out;
}

double Supply(const TLVResultCustom& r, Measure m, Basis b, Part p)
{
    return Minus(Receipt(r, m, p), Outflow(r, m, b, p));
}

double Useful(const TLVResultCustom& r, Measure m, Basis b, Part p)
{
    return ZeroIfAbsent(r, VariantOnBalance, r.GetValue(Consumption(m, b, p), VariantOnBalance));
}

double LoadLosses(const TLVResultCustom& r, Measure m, int variant, Part p)
{
    return ZeroIfAbsent(r, variant, r.GetValue(FieldsOf(m, p).loss, variant));
}

double ActualLosses(const TLVResultCustom& r, Measure m, Part p)
{
    if (p == Part::Active)
        if (const auto summed = r.Summed(m == Measure::Energy ? dvActualW : dvActualP))
            return *summed;
    return Minus(Supply(r, m, Basis::Given, p), Useful(r, m, Basis::Given, p));
}

double Imbalance(const TLVResultCustom& r, Measure m, Part p)
{
    if (p == Part::Active)
        if (const auto summed = r.Summed(m == Measure::Energy ? dvImbalanceW : dvImbalanceP))
            return *summed;
    const double onBalance = LoadLosses(r, m, VariantOnBalance, p);
    return Minus(ActualLosses(r, m, p), isEmptyFloat(onBalance) ? 0 : onBalance);
}

double AllowedImbalance(const TLVResultCustom& r, Measure m)
{
    return r.GetValueLVResult(m == Measure::Energy ? rfdWdop : rfdPdop);
}

double NonTechnical(const TLVResultCustom& r, Measure m)
{
    if (const auto summed = r.Summed(m == Measure::Energy ? dvNonTechnicalW : dvNonTechnicalP))
        return *summed;
    const double imbalance = Imbalance(r, m), allowed = AllowedImbalance(r, m);
    if (isEmptyFloat(imbalance))
        return EmptyFloat();
    const double excess = imbalance - (isEmptyFloat(allowed) ? 0 : allowed);
    return excess > 0 ? excess : 0;
}

double ShareOfSupply(const TLVResultCustom& r, Measure m, double value)
{
    return TLVResultCustom::Percent(value, Supply(r, m, Basis::Given));
}

}  // namespace results
