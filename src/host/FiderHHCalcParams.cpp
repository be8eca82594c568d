#include "host/FiderHHCalcParams.h"

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

void TFiderHHCalcParamsRW::Set(double TLVCalcValues::*field, double value)
{
    double& current = Values(TLVCalcLevel::Current).*field;
    if (CompareFloat(current, value) == 0)
        return;
    current = value;
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
