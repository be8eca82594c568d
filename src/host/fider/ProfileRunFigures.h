#pragma once
// What a run by metering profiles adds to a regime run: its steps, where its consumers' loads came from, the
// step of greatest head power, the voltages over the interval, and the load losses the mean-load and
// maximum-load methods give for the same consumers and interval.
#include <cmath>
#include <limits>

namespace fider {

struct TProfileRunFigures {
    static constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();
    int StepMinutes = 0, Steps = 0;
    long long PeakMinute = 0;  // start of the step of greatest head power, minutes of the wall clock since 1970
    // Consumers by the source of their loads: their own profile, the head profile's remainder, the load kind's
    // typical profile, a flat profile, none (no energy of the interval to shape).
    int NProfile = 0, NHead = 0, NTypical = 0, NFlat = 0, NNoLoad = 0;
    bool HeadMeter = false;  // the head profile is the head meter's (else the calculated head power)
    double HeadWa = kEmpty;  // thousand kWh, the head meter's energy of the interval
    double Umin = kEmpty;    // V, the lowest phase-to-neutral voltage of the interval
    double UOut = kEmpty;    // share of the steps with a node outside ±10 % of the nominal voltage
    double SqrKfg = kEmpty, Tmax = kEmpty, TauRel = kEmpty;  // of the head profile
    double dWa = kEmpty;                                     // thousand kWh, load losses by the profiles
    double dWaMiddle = kEmpty, dWaMax = kEmpty;              // thousand kWh, by the two methods
    // Error of a method against the profiles, per cent.
    static double Error(double method, double profiles)
    {
        return std::isfinite(method) && std::isfinite(profiles) && profiles > 0 ? (method - profiles) / profiles * 100
                                                                                : kEmpty;
    }
    double ErrorMiddle() const { return Error(dWaMiddle, dWa); }
    double ErrorMax() const { return Error(dWaMax, dWa); }
};

}  // namespace fider
