#pragma once
#include <QString>
#include <functional>

// The loss calculation of one measurement sample of an LV feeder: from the phase currents, the head and
// far-point voltages, the conductor's resistances and the load's power factor to the load, the energy,
// the loss time, the unbalance and the power and energy losses. No widgets, no database: the reference
// look-ups come in as functions.
class TLVFiderSampleCalc {
public:
    enum class Status { Done, Incomplete, InvalidData, Stopped };
    enum Phase { A, B, C };

    // Measured values and the sample's stored values; empty floats where nothing is given.
    struct Input {
        double I[3], U[3], U2[3];
        double CosFi, Rf, Xf, Rn;
        double P, Tmax, Krazv, Knm, DP;
    };
    // One-shot flags of the form, and the visibility of the two reset buttons (kept between calculations).
    struct Flags {
        bool currentsChanged = false;
        bool loadTypeChanged = false;
        bool krazvChanged = false;
        bool tmaxByHand = false;
        bool cosByHand = false;
        bool cosResetVisible = false;
        bool tmaxResetVisible = false;
    };
    struct Result {
        Status status = Status::Incomplete;
        Phase invalidPhase = A;  // the far-point voltage above its head voltage
        // The sample's values after the calculation (unchanged ones keep their input value).
        double P, Wa, Tmax, Krazv, Knm, DP, DW;
        double Tau, K, Kdp, DU, KnmRef, DPpct, DWpct, Umean, U2mean;
        bool knmWarning = false;
        float cosFi = 0;
    };

    // The reference Tmax of the load kind for a load (kW); an empty result keeps Tmax as it is.
    std::function<double(double p)> TmaxLookup;
    // The reference power factor of the load kind.
    std::function<double()> CosLookup;

    Result Calculate(const Input& input, Flags& flags) const;

    // Pmin of the Tmax look-up: a line below 1 kW is looked up as 0.5 kW.
    static double LookupLoad(double p);
    // tg φ of a power factor, in single precision.
    static float TanPhi(float cosFi);
};
