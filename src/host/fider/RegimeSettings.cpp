#include "host/fider/RegimeSettings.h"

#include <vector>

#include "host/NumericHelpers.h"

namespace fider {

TLoadMode ModeOfSampleType(TRegimeKind regime, int sampleType)
{
    if (sampleType == 1)
        return TLoadMode::Loads;
    if (sampleType == kProfilesSampleType)
        return TLoadMode::Profiles;
    return regime == TRegimeKind::Middle ? TLoadMode::Energy : TLoadMode::HeadCurrents;
}

std::optional<int> SampleTypeOfMode(TRegimeKind regime, TLoadMode mode)
{
    if (mode == TLoadMode::Loads)
        return 1;
    if (mode == TLoadMode::Profiles)
        return kProfilesSampleType;
    if (regime == TRegimeKind::Middle && mode == TLoadMode::Energy)
        return 0;
    if (regime == TRegimeKind::Maximum && mode == TLoadMode::HeadCurrents)
        return 0;
    return std::nullopt;
}

bool EnergyIsCalculated(TRegimeKind regime, TLoadMode mode)
{
    if (mode == TLoadMode::Profiles)
        return true;  // the head meter's profile, when there is one, is the measured supply
    return regime == TRegimeKind::Middle ? mode == TLoadMode::Loads : mode == TLoadMode::HeadCurrents;
}

TLVCalcValues CommonValues(const TLVCalcValues& values)
{
    TLVCalcValues common;
    for (TParamField f : {TParamField::Kdp, TParamField::Temperature, TParamField::T, TParamField::Kzap,
                          TParamField::SqrKfg, TParamField::Tmax, TParamField::Tau})
        common.Field(f) = values.Field(f);
    return common;
}

namespace {
bool isLoadCurve(TParamField f)
{
    return f == TParamField::Kzap || f == TParamField::SqrKfg || f == TParamField::Tmax || f == TParamField::Tau;
}

// The substation's values that hold for each of its feeders.
bool isIntensive(TParamField f)
{
    switch (f) {
    case TParamField::UA:
    case TParamField::UB:
    case TParamField::UC:
    case TParamField::CosA:
    case TParamField::CosB:
    case TParamField::CosC:
    case TParamField::Kdp:
    case TParamField::Temperature: return true;
    default: return false;
    }
}

double firstOf(const std::vector<const TLVCalcValues*>& layers, TParamField f)
{
    for (const TLVCalcValues* layer : layers)
        if (!isEmptyFloat(layer->Field(f)))
            return layer->Field(f);
    return EmptyFloat();
}

bool hasLoadCurve(const TLVCalcValues& v)
{
    return !isEmptyFloat(v.Kzap) || !isEmptyFloat(v.SqrKfg) || !isEmptyFloat(v.Tmax) || !isEmptyFloat(v.Tau);
}
}  // namespace

TRegimeSettings ResolveSettings(const TRegimeRequest& request, const TFiderParamSources& sources, double intervalHours,
                                double nominalPhaseVoltage, double defaultKzap, double defaultCosFi)
{
    std::vector<const TLVCalcValues*> layers{&request.Given};
    if (sources.Stored)
        layers.push_back(&*sources.Stored);
    layers.push_back(&sources.Line);
    TLVCalcValues merged;
    for (int i = 0; i < static_cast<int>(TParamField::Count); ++i) {
        const auto f = static_cast<TParamField>(i);
        if (isLoadCurve(f))
            continue;
        merged.Field(f) = firstOf(layers, f);
        if (isEmptyFloat(merged.Field(f)) && isIntensive(f))
            merged.Field(f) = sources.Substation.Field(f);
    }
    if (isEmptyFloat(merged.T) || !(merged.T > 0))
        merged.T = intervalHours;
    // The load curve of the first source that has one; the settings' fill factor otherwise.
    TFiderHHCalcParams curve;
    TLVCalcValues& c = curve.Values(TLVCalcLevel::Current);
    layers.push_back(&sources.Substation);
    for (const TLVCalcValues* layer : layers)
        if (hasLoadCurve(*layer)) {
            c.Kzap = layer->Kzap;
            c.SqrKfg = layer->SqrKfg;
            c.Tmax = layer->Tmax;
            c.Tau = layer->Tau;
            break;
        }
    if (!hasLoadCurve(c))
        c.Kzap = defaultKzap;
    c.T = merged.T;

    TRegimeSettings s;
    s.Regime = request.Regime;
    s.SampleIdent = request.SampleIdent;
    s.Mode = request.Mode.value_or(ModeOfSampleType(request.Regime, sources.StoredSampleType.value_or(1)));
    for (int k = 0; k < 3; ++k) {
        s.U[k] = isEmptyFloat(merged.U[k]) ? nominalPhaseVoltage : merged.U[k];
        s.Imax[k] = merged.Imax[k];
        s.HeadCurrent[k] = request.Regime == TRegimeKind::Middle ? merged.I[k] : merged.Imax[k];
    }
    s.Temperature = isEmptyFloat(merged.Temperature) ? 20.0 : merged.Temperature;
    s.Kdp = isEmptyFloat(merged.Kdp) ? 1.0 : merged.Kdp;
    s.T = merged.T;
    s.SqrKfg = curve.GetSqrKfgCalc();
    s.TauRel = curve.GetTauCalc();
    s.Tmax = curve.GetTmaxCalc();
    s.Kzap = curve.GetKzapCalc();
    s.FiderWa = merged.Wa;
    s.Wa = EnergyIsCalculated(s.Regime, s.Mode) ? EmptyFloat() : merged.Wa;
    s.DefaultCosFi = defaultCosFi;
    return s;
}

}  // namespace fider
