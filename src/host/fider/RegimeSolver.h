#pragma once
// Backward/forward sweep of one feeder: constant-power loads between phase and neutral, series
// impedances of phase and neutral conductors, the neutral earthed at the supply centre only.
#include <array>
#include <functional>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/Topology038.h"

namespace fider {

class OZN3HOST_API TRegimeSolver {
public:
    // Takes the energised part of a feeder: impedances at the temperature (°C), the supply-centre phase
    // voltages (V) at 0°, −120°, +120°.
    void Prepare(const TFiderHHInfo& fider, const TFiderTopology& topology, double temperature,
                 const std::array<double, 3>& supplyVoltage);

    // The load of a node position (of the topology) on one phase, W and var. Loads start at zero.
    void ClearLoads();
    void AddLoad(int position, int phase, double p, double q);
    void ScaleLoads(const std::array<double, 3>& factors);  // per phase

    // Sweeps until the largest change of a phase-to-neutral voltage is below 1e-6 V; false when that
    // has not happened within maxSweeps. Starts from the last solution (flat at first).
    bool Solve(int maxSweeps = 500);
    // The same while each phase's loads are scaled so that the head current of the phase is its target
    // (phases with a target that is not a number keep their loads).
    bool SolveToHeadCurrents(const std::array<double, 3>& targets, int maxSweeps = 500);
    // The same while every load is scaled by one factor so that the head active power is the target, W.
    bool SolveToHeadPower(double target, int maxSweeps = 500);
    // The factors applied to the loads as added (per phase).
    const std::array<double, 3>& Factors() const { return factors_; }
    int Sweeps() const { return sweeps_; }
    void ResetVoltages();

    // Results of the last solution, by topology position (empty floats where not energised).
    // Phase-to-neutral voltage magnitude, V.
    double NodeVoltage(int position, int phase) const;
    // Current magnitude of the section that feeds a position, A: phases 0-2, neutral 3.
    double SectionCurrent(int position, int conductor) const;
    // Losses in the section that feeds a position, W and var.
    void SectionLosses(int position, double& p, double& q) const;
    double SectionLossP(int position) const;
    // Head of the feeder: phase current magnitudes (A) and complex power per phase (W, var).
    double HeadCurrent(int phase) const;
    double HeadP(int phase) const;
    double HeadQ(int phase) const;
    // The set active load of a phase after scaling, W.
    double LoadPhaseSum(int phase) const;
    bool Energised(int position) const { return compact_[position] >= 0; }
    // The series impedance of the section that feeds an energised position at the prepared temperature, Ohm:
    // phase and neutral conductors. Other solvers of the same feeder take their impedances from here.
    void Impedance(int position, double& rf, double& xf, double& rn, double& xn) const;

private:
    bool Sweep(int maxSweeps, const std::function<void()>& adjust);
    void ScalePhase(int phase, double ratio);
    void Backward();
    double Forward();
    int m_ = 0;                 // energised nodes, compact
    std::vector<int> compact_;  // topology position -> compact index, -1 when de-energised
    std::vector<int> parent_;
    std::vector<double> rf_, xf_, rn_, xn_;
    struct Load {
        int j;
        double p, q;
    };
    std::array<std::vector<Load>, 3> loads_;  // per phase, as added; scaled by factors_
    std::array<std::vector<double>, 3> vr_, vi_, ar_, ai_;
    std::vector<double> nr_, ni_;
    std::array<double, 3> sourceR_{}, sourceI_{};
    std::array<double, 3> factors_{{1, 1, 1}};
    int sweeps_ = 0;
};

}  // namespace fider
