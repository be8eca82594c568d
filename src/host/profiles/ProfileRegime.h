#pragma once
// The regime of one LV feeder by metering profiles: every step of the interval solved as a snapshot of its own
// (TStepSolver), the energies summed over the steps, the powers, currents and voltages of the step of greatest
// head power with the balance of a regime run, each node's lowest voltage and time outside ±10 % over the
// interval, and the losses the mean-load and maximum-load methods give for the same consumers. Plain code
// without SQL or widgets.
#include <vector>

#include "host/HostApi.h"
#include "host/fider/ProfileRunFigures.h"
#include "host/fider/RegimeCalc.h"
#include "host/profiles/ProfileImport.h"

namespace profiles {

// What a run gives per step, for the pictures: head power (kW), losses (kW), lowest phase voltage (V).
struct OZN3HOST_API TProfileStepSeries {
    TMinute Start = 0;
    int StepMinutes = 60;
    std::vector<float> HeadP, LossP, Umin;
    int Peak = -1;         // the step of greatest head power
    double Nominal = 230;  // the feeder's nominal phase voltage, V
};

// Calculates a feeder: `profiles` its own (consumers and head meter), `typical` its load kind's or null,
// `settings` with the supply voltages, temperature, Kdp and default cos φ of the run. Fails with problems (and
// nothing else filled) as a regime does; `series`, when given, receives the steps.
OZN3HOST_API fider::TCalcWInfoHHCommon
CalculateProfileRegime(const fider::TFiderHHInfo& fider, const fider::TRegimeSettings& settings,
                       const std::vector<TStoredProfile>& profiles, const TStoredProfile* typical,
                       const TProfileInterval& interval, TProfileStepSeries* series = nullptr);

}  // namespace profiles
