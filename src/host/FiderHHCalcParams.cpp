#include "host/FiderHHCalcParams.h"

#include <cmath>

#include "host/NumericHelpers.h"

TLVCalcValues::TLVCalcValues()
{
    const double e = EmptyFloat();
    U.fill(e);
    Imax.fill(e);
    Cos.fill(e);
    I.fill(e);
    Kdp = Temperature = T = Wa = Wa_bus = Wa_tr = Kzap = SqrKfg = Tmax = Tau = e;
}

bool TLVCalcValues::operator==(const TLVCalcValues& other) const
{
    auto same = [](double a, double b) { return CompareFloat(a, b) == 0; };
    for (int i = 0; i < 3; ++i)
        if (!same(U[i], other.U[i]) || !same(Imax[i], other.Imax[i]) || !same(Cos[i], other.Cos[i]) ||
            !same(I[i], other.I[i]))
            return false;
    return same(Kdp, other.Kdp) && same(Temperature, other.Temperature) && same(T, other.T) && same(Wa, other.Wa) &&
           same(Wa_bus, other.Wa_bus) && same(Wa_tr, other.Wa_tr) && same(Kzap, other.Kzap) &&
           same(SqrKfg, other.SqrKfg) && same(Tmax, other.Tmax) && same(Tau, other.Tau);
}

double& TLVCalcValues::Field(TParamField field)
{
    switch (field) {
    case TParamField::UA: return U[0];
    case TParamField::UB: return U[1];
    case TParamField::UC: return U[2];
    case TParamField::ImaxA: return Imax[0];
    case TParamField::ImaxB: return Imax[1];
    case TParamField::ImaxC: return Imax[2];
    case TParamField::CosA: return Cos[0];
    case TParamField::CosB: return Cos[1];
    case TParamField::CosC: return Cos[2];
    case TParamField::IA: return I[0];
    case TParamField::IB: return I[1];
    case TParamField::IC: return I[2];
    case TParamField::Kdp: return Kdp;
    case TParamField::Temperature: return Temperature;
    case TParamField::T: return T;
    case TParamField::Wa: return Wa;
    case TParamField::Wa_bus: return Wa_bus;
    case TParamField::Wa_tr: return Wa_tr;
    case TParamField::Kzap: return Kzap;
    case TParamField::SqrKfg: return SqrKfg;
    case TParamField::Tmax: return Tmax;
    case TParamField::Tau:
    case TParamField::Count: break;
    }
    return Tau;
}

double TLVCalcValues::Field(TParamField field) const { return const_cast<TLVCalcValues*>(this)->Field(field); }

double TFiderHHCalcParamsCommon::GetKzapCalc(TLVCalcLevel level) const
{
    const TLVCalcValues& v = Values(level);
    if (!isEmptyFloat(v.Kzap))
        return v.Kzap;
    if (!isEmptyFloat(KzapOfSqrKfg(v.SqrKfg)))
        return KzapOfSqrKfg(v.SqrKfg);
    if (!isEmptyFloat(v.Tmax) && !isEmptyFloat(v.T) && v.T != 0)
        return v.Tmax / v.T;
    return EmptyFloat();
}

double TFiderHHCalcParamsCommon::GetSqrKfgCalc(TLVCalcLevel level) const
{
    const TLVCalcValues& v = Values(level);
    if (!isEmptyFloat(v.SqrKfg))
        return v.SqrKfg;
    const double kzap = GetKzapCalc(level);
    return isEmptyFloat(kzap) || kzap == 0 ? EmptyFloat() : (1 / kzap + 2) / 3;
}

double TFiderHHCalcParamsCommon::GetTauCalc(TLVCalcLevel level) const
{
    const TLVCalcValues& v = Values(level);
    if (!isEmptyFloat(v.Tau))
        return v.Tau;
    return TauOfKzap(GetKzapCalc(level));
}

double TFiderHHCalcParamsCommon::TauOfKzap(double kzap)
{
    return isEmptyFloat(kzap) ? EmptyFloat() : (kzap + 2 * kzap * kzap) / 3;
}

double TFiderHHCalcParamsCommon::KzapOfSqrKfg(double sqrKfg)
{
    return isEmptyFloat(sqrKfg) || 3 * sqrKfg - 2 == 0 ? EmptyFloat() : 1 / (3 * sqrKfg - 2);
}

double TFiderHHCalcParamsCommon::KzapOfTau(double tauRel)
{
    // The positive root of 2 Kzap² + Kzap − 3 τ = 0, written as the workbooks write it.
    if (isEmptyFloat(tauRel) || tauRel < 0)
        return EmptyFloat();
    return (std::sqrt(1.0 / 9 + 8.0 / 3 * tauRel) - 1.0 / 3) * 3 / 4;
}

double TFiderHHCalcParamsCommon::GetTmaxCalc(TLVCalcLevel level) const
{
    const TLVCalcValues& v = Values(level);
    if (!isEmptyFloat(v.Tmax))
        return v.Tmax;
    const double kzap = GetKzapCalc(level);
    return isEmptyFloat(kzap) || isEmptyFloat(v.T) ? EmptyFloat() : kzap * v.T;
}

void TFiderHHCalcParamsCommon::SetSamplePeriod(int ident)
{
    if (samplePeriod_ == ident)
        return;
    samplePeriod_ = ident;
    Changed();
}

void TFiderHHCalcParamsCommon::Changed()
{
    if (onChange_)
        onChange_();
}

void TFiderHHCalcParamsRW::SetSampleType(int type)
{
    if (sampleType_ == type)
        return;
    sampleType_ = type;
    Changed();
}

void TFiderHHCalcParamsRW::Set(TParamField field, double value)
{
    TLVCalcValues& v = Values(TLVCalcLevel::Current);
    double& current = v.Field(field);
    if (CompareFloat(current, value) == 0)
        return;
    current = value;
    // The load curve is given by one of its values; the others follow from it.
    const double e = EmptyFloat();
    if (field == TParamField::Kzap)
        v.SqrKfg = v.Tmax = e;
    else if (field == TParamField::SqrKfg)
        v.Kzap = v.Tmax = e;
    else if (field == TParamField::Tmax)
        v.Kzap = v.SqrKfg = e;
    Changed();
}

TFiderHHCalcParams::TFiderHHCalcParams(const TFiderHHCalcParams& other) : TFiderHHCalcParamsRW() { Assign(other); }

void TFiderHHCalcParams::CopyFrom(TLVCalcLevel level)
{
    if (level == TLVCalcLevel::Current)
        return;
    Values(TLVCalcLevel::Current) = Values(level);
    Changed();
}

void TFiderHHCalcParams::CopyCurrentToLine()
{
    Values(TLVCalcLevel::Line) = Values(TLVCalcLevel::Current);
    Changed();
}

void TFiderHHCalcParams::Assign(const TFiderHHCalcParams& other)
{
    levels_ = other.levels_;
    sampleType_ = other.sampleType_;
    samplePeriod_ = other.samplePeriod_;
    fiderGuid_ = other.fiderGuid_;
    Changed();
}
