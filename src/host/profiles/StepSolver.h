#pragma once
// Many steps of one feeder solved together. The feeder's tree and impedances are prepared once; a group of up to
// kLanes steps is swept at once, one lane per step with loads of its own, until every lane has converged as a
// snapshot does (the largest change of a phase-to-neutral voltage below 1e-6 V). Each lane keeps its voltages
// for the next group, so a lane given the steps of one stretch of the interval in order starts every step from
// the step before. The physics is TRegimeSolver's, whose impedances it takes; the lanes of a group run through
// the same arithmetic side by side, which the processor's vector units do in one go.
#include <array>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/Scheme038.h"

namespace fider {
class TFiderTopology;
}

namespace profiles {

class OZN3HOST_API TStepSolver {
public:
    static constexpr int kLanes = 8;
    // The lanes as one vector of the compiler (its arithmetic is element by element, in vector instructions as
    // wide as the processor has) or as plain numbers.
    typedef double Vector __attribute__((vector_size(kLanes * sizeof(double)), aligned(64)));
    union alignas(64) Lane {
        Vector x;
        double v[kLanes];
    };

    // Takes the energised part of a feeder at a temperature (°C) and supply-centre phase voltages (V); the
    // nodes are judged against `nominal` (V) ± 10 %.
    void Prepare(const fider::TFiderHHInfo& fider, const fider::TFiderTopology& topology, double temperature,
                 const std::array<double, 3>& supplyVoltage, double nominal);
    // A load of an energised position on a phase (0-2); its slot, or -1 when the position is not energised.
    int AddSlot(int position, int phase);
    int Slots() const { return static_cast<int>(slotNode_.size()); }
    // The loads of a group, per slot and lane, W and var. They start at zero after AddSlot.
    Lane& P(int slot) { return p_[slot]; }
    Lane& Q(int slot) { return q_[slot]; }

    // Solves lanes 0 to count-1 (lanes from count on are cleared of load), each from its own last voltages; false
    // when some lane has not converged within maxSweeps sweeps, or has no finite solution.
    bool Solve(int count, int maxSweeps = 500);
    int Sweeps() const { return sweeps_; }
    // The lane that failed the last Solve.
    int WorstLane() const { return worstLane_; }

    // Of each lane of the last group: the head power (W, var, all phases), the losses (W, var), the lowest
    // phase-to-neutral voltage of an energised node (V), and whether some node was outside ±10 %.
    double HeadP(int lane) const { return headP_.v[lane]; }
    double HeadQ(int lane) const { return headQ_.v[lane]; }
    double LossP(int lane) const { return lossP_.v[lane]; }
    double LossQ(int lane) const { return lossQ_.v[lane]; }
    double Umin(int lane) const;
    bool Outside(int lane) const { return outside_.v[lane] != 0; }

    // Over every lane solved since Prepare, by topology position: the sums of the section's losses (W and
    // var, one term per step), the node's lowest phase voltage (V) and the steps it was outside ±10 %.
    double SectionLossSumP(int position) const;
    double SectionLossSumQ(int position) const;
    double NodeUmin(int position) const;
    int NodeOutsideSteps(int position) const;
    int SolvedSteps() const { return solved_; }

private:
    // The three phase currents of a node's feeding section (or its loads), real and imaginary parts.
    struct Currents {
        Vector r[3], i[3];
    };
    struct Voltages {
        Vector r[3], i[3], nr, ni;  // phases and neutral
    };
    // Kept inline so that each processor's version of Solve has them in its own instructions.
    [[gnu::always_inline]] inline void Backward();
    [[gnu::always_inline]] inline Vector Forward();
    [[gnu::always_inline]] inline void Gather(int count);
    void OrderSlots();
    // Starts each lane from its last step's voltages, their drops from the supply scaled by the change of the
    // lane's load: nearly the solution where the loads change together.
    [[gnu::always_inline]] inline void Predict();
    int m_ = 0;
    std::vector<int> compact_, parent_;
    std::vector<double> rf_, xf_, rn_, xn_;
    std::vector<uint8_t> phases_;      // present phases of each compact node
    std::vector<uint8_t> chainChild_;  // the next node is a child of this one
    std::vector<uint8_t> hasPending_;  // some other node is a child of this one
    std::vector<int> slotNode_, slotPhase_;
    std::vector<int> slotOrder_, slotBegin_;  // slots by node
    bool ordered_ = false;
    std::vector<Lane> p_, q_;
    Lane lastLoad_{};  // each lane's total load of its last step, |P| + |Q|
    std::vector<Currents> currents_, pending_;
    std::vector<Voltages> voltages_;
    std::array<double, 3> sourceR_{}, sourceI_{};
    double low2_ = 0, high2_ = 0;  // squared limits
    Lane headP_{}, headQ_{}, lossP_{}, lossQ_{}, umin2_{}, outside_{};
    std::vector<Lane> sumP_, sumQ_, nodeMin2_, nodeOut_;  // per node, per lane: summed over the groups
    int sweeps_ = 0, worstLane_ = -1, solved_ = 0;
};

}  // namespace profiles
