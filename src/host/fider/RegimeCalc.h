#pragma once
// The regime calculation of one LV feeder for one interval: the loads of the regime's mode, the
// snapshot of the sweep, the energy losses of the regime, the balance blocks per (district, balance
// kind) and the feeder's figures. Problems are readable texts, never exceptions.
#include <QStringList>
#include <array>
#include <limits>
#include <memory>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/Scheme038.h"

namespace fider {

enum class TRegimeKind { Middle = 0, Maximum = 1 };
enum class TLoadMode { Loads = 0, HeadCurrents = 1, Energy = 2, Profiles = 3 };
OZN3HOST_API QString LoadModeName(TLoadMode mode);  // "loads", "currents", "energy", "profiles"
struct TProfileRunFigures;

// Everything a regime needs besides the scheme; values resolved, empty floats where not given.
struct OZN3HOST_API TRegimeSettings {
    TRegimeSettings();
    TRegimeKind Regime = TRegimeKind::Middle;
    TLoadMode Mode = TLoadMode::Loads;
    int SampleIdent = 0;
    std::array<double, 3> U;            // supply-centre phase voltages, V
    std::array<double, 3> HeadCurrent;  // the head currents to reach, A (measured mean or maximum)
    std::array<double, 3> Imax;         // given maximum head currents, A (kept with the result)
    double Temperature = 20;            // °C
    double Kdp = 1;                     // additional losses factor
    double T = 0;                       // hours of the interval
    double SqrKfg;                      // squared shape factor (mean-load regime)
    double TauRel;                      // relative hours of greatest losses (maximum-load regime)
    double Tmax;                        // hours of greatest load (maximum-load regime)
    double Kzap;                        // fill factor of the load curve, when known
    double Wa;                          // measured energy supplied into the feeder, thousand kWh
    double FiderWa;                     // the same as given or measured even where the mode calculates it
    double DefaultCosFi = 0.9;          // for consumers and load kinds without one
};

// One (district, balance kind) block of the balance. Powers kW/kvar, energies thousand kWh/kvarh,
// lengths km. Values without an operand are empty floats.
struct OZN3HOST_API TBalanceBlock {
    TBalanceBlock();
    int Res = 0, Balance = 0;
    double Pcalc, Pfakt, Pgen, Qcalc, Qfakt, Qgen, dP, dQ;
    int NAbonents = 0, NLineP = 0, NLineP_off = 0, NLineC = 0, NLineC_off = 0;
    double LsumP = 0, LsumP_off = 0, LsumC = 0, LsumC_off = 0;
    double Wacalc, Wafakt, Wa_gen, Wrcalc, Wrfakt, Wr_gen, dWa, dWr;
};

// The feeder's figures of "LVResults".
struct OZN3HOST_API TFiderFigures {
    TFiderFigures();
    double T;
    std::array<double, 3> U, I, Imax, CosFi, U2;
    double Lm, L23, L1, HeadEndSize, HeadEndLength, Krazv, Kdp, SqrKfg, Temperature, dPdop, dWdop;
    // The load curve the energy was computed with: the fill factor, the relative hours of greatest losses and
    // the hours of greatest load, so that ΔW = ΔP·τ·T·Kdp (maximum load) and ΔW = ΔP·T·Kf²·Kdp (mean load) hold
    // from what the run keeps.
    double Kzap, Tau, Tmax;
};

// The snapshot: the solved state of the feeder's energised part, by topology position.
class OZN3HOST_API TCalcPWResultsHH {
public:
    struct Node {
        int SchemeNode = -1;      // -1: the supply centre
        std::array<double, 3> U;  // phase-to-neutral voltages, V; empty where the phase is absent
        bool Energised = false;
        // A run by profiles: the lowest phase voltage over the interval (V) and the share of its steps outside
        // ±10 % of the nominal voltage; empty otherwise.
        double Umin = std::numeric_limits<double>::quiet_NaN(), UOut = std::numeric_limits<double>::quiet_NaN();
    };
    struct Section {
        int SchemeLine = -1;
        std::array<double, 4> I;  // phases A, B, C and the neutral, A
        double dU;                // voltage loss along the section, % of the supply-centre phase voltage
        double dP, dQ;            // kW, kvar
        bool Energised = false;
    };
    std::vector<Node> Nodes;                          // by position; position 0 is the supply centre
    std::vector<Section> Sections;                    // by position of the node they feed; entry 0 unused
    std::array<double, 3> HeadI{}, HeadP{}, HeadQ{};  // A, kW, kvar per phase
    double LoadP = 0, LoadQ = 0;                      // set powers of the supplied loads, kW, kvar
    double LossP = 0, LossQ = 0;                      // kW, kvar
    std::vector<double> ConsumerP, ConsumerQ;         // by consumer of the scheme, kW, kvar; empty when not supplied
    std::array<double, 3> LoadScale{{1, 1, 1}};       // the factors the mode applied to the consumers
    int Sweeps = 0;                                   // sweeps of the solution
    int Supplied = 0, NotSupplied = 0;                // consumers

    double GetI(int phase) const { return HeadI[phase]; }
    double GetHeadP() const { return HeadP[0] + HeadP[1] + HeadP[2]; }
    double GetHeadQ() const { return HeadQ[0] + HeadQ[1] + HeadQ[2]; }
    // The lowest phase-to-neutral voltage of a phase over the energised nodes, V.
    double GetUmin(int phase) const;
    // The largest voltage loss from the centre, % of the centre's phase voltage.
    double GetDeltaUmax(const std::array<double, 3>& supply) const;
};

// The energies of the regime.
class OZN3HOST_API TCalcWResultsHH {
public:
    double LossHours = 0;         // ΔW = ΔP · LossHours: T·Kf²·Kdp or τ·Kdp, h
    double ConsumptionHours = 0;  // W = P · ConsumptionHours: T or Tmax, h
    double SqrKfg;                // the squared shape factor used (empty in the maximum-load regime)
    double GetSqrKfg() const { return SqrKfg; }
};

// One run: the feeder, the interval, the problems, the snapshot, the energies, the balance and figures.
class OZN3HOST_API TCalcWInfoHHCommon {
public:
    bool Ok() const { return Problems.isEmpty(); }
    const TCalcPWResultsHH& GetResults() const { return Power; }
    const TCalcWResultsHH& GetWResults() const { return Energy; }
    int GetSamplePeriodInfo() const { return Settings.SampleIdent; }
    // The balance blocks that occur in the feeder, ordered by district and kind.
    const std::vector<TBalanceBlock>& GetBalancesList() const { return Blocks; }

    int FiderGuid = 0;
    TRegimeSettings Settings;
    QStringList Problems;
    TCalcPWResultsHH Power;
    TCalcWResultsHH Energy;
    std::vector<TBalanceBlock> Blocks;
    TFiderFigures Figures;
    std::shared_ptr<const TProfileRunFigures> Profile;  // a run by metering profiles only
};

// Calculates one feeder. Fails (with problems, nothing else filled) on a scheme that is not a tree,
// a mode whose target is missing, no loads, or no convergence.
// tan φ of a consumer's load: from its energies (active above 0, reactive given), else its cos φ, else the
// load kind's of its feeder, else the default (cos φ within (0, 1] counts as given).
OZN3HOST_API double ConsumerTanPhi(double wa, double wr, double cosFi, double kindCosFi, double defaultCosFi);

OZN3HOST_API TCalcWInfoHHCommon CalculateRegime(const TFiderHHInfo& fider, const TRegimeSettings& settings);

// ΔP of a solved run over ΔP of the same consumers spread evenly over three phases on three-phase
// sections: how much the unbalance that the scheme represents adds to the losses.
OZN3HOST_API double UnbalanceRatio(const TFiderHHInfo& fider, const TCalcWInfoHHCommon& run);

// Meters' accuracy behind the admissible imbalance, per cent: the head meter of class 1.0 on current
// transformers of class 0.5, 1.1·√(1.0² + 0.5²); the consumers' direct meters of class 2.0, 1.1·2.0.
constexpr double kHeadMeterError = 1.2298373876248845;
constexpr double kConsumerMeterError = 2.2;

}  // namespace fider
