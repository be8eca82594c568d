#pragma once
// Which values a feeder's regime is calculated with. For each value, the first that is given wins:
//   1. the values given for the run (the accepted regime dialog; for a group of feeders only the values
//      common to all of them: temperature, Kdp, hours and the load curve);
//   2. the feeder's current regime parameters stored for the same interval ("LVCalcParams", level 0);
//   3. the feeder's measurement of the interval ("LVWSamples");
//   4. the substation's measurement of the interval ("LVWTPInfo"): voltages, power factors, Kdp and
//      temperature only, since its currents and energies are the whole substation's;
//   5. defaults: the nominal phase voltage (230 V, or 127 V on a 0.22 kV feeder), 20 °C, Kdp 1, the
//      hours of the interval, the fill factor of the settings.
// The load curve (fill factor, squared shape factor, Tmax, relative τ) is taken whole from the first
// source that gives any of it, so that values of two sources are never mixed.
// The mode: the one asked for the run, else the stored parameters' mode, else the given loads.
#include <optional>

#include "host/FiderHHCalcParams.h"
#include "host/fider/RegimeCalc.h"

namespace fider {

struct OZN3HOST_API TRegimeRequest {
    TRegimeKind Regime = TRegimeKind::Middle;
    int SampleIdent = 0;
    int CalcType = 0;
    std::optional<TLoadMode> Mode;
    TLVCalcValues Given;
};

// What the database holds for one feeder and interval.
struct OZN3HOST_API TFiderParamSources {
    std::optional<TLVCalcValues> Stored;
    std::optional<int> StoredSampleType;
    TLVCalcValues Line, Substation;
};

// The modes of the dialogs' combo: mean loads 0 energy supplied, 1 given loads; maximum load 0 head
// currents, 1 given loads; both 2 metering profiles.
inline constexpr int kProfilesSampleType = 2;
OZN3HOST_API TLoadMode ModeOfSampleType(TRegimeKind regime, int sampleType);
OZN3HOST_API std::optional<int> SampleTypeOfMode(TRegimeKind regime, TLoadMode mode);
// Whether the mode finds the energy supplied by calculation rather than taking a measured one.
OZN3HOST_API bool EnergyIsCalculated(TRegimeKind regime, TLoadMode mode);

// The values common to every feeder of a group: those of `values` except voltages, currents, power
// factors and energies.
OZN3HOST_API TLVCalcValues CommonValues(const TLVCalcValues& values);

OZN3HOST_API TRegimeSettings ResolveSettings(const TRegimeRequest& request, const TFiderParamSources& sources,
                                             double intervalHours, double nominalPhaseVoltage, double defaultKzap,
                                             double defaultCosFi);

}  // namespace fider
