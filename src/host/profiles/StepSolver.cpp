#include "host/profiles/StepSolver.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/fider/RegimeSolver.h"
#include "host/fider/Topology038.h"

namespace profiles {

namespace {
constexpr int L = TStepSolver::kLanes;
using Lane = TStepSolver::Lane;
using Vector = TStepSolver::Vector;
const double kCos[3] = {1.0, -0.5, -0.5};
const double kSin[3] = {0.0, -0.86602540378443864676, 0.86602540378443864676};
constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

[[gnu::always_inline]] inline Vector splat(double value)
{
    Vector v;
    for (int l = 0; l < L; ++l)
        v[l] = value;
    return v;
}

double laneSum(const Lane& lane)
{
    double sum = 0;
    for (int l = 0; l < L; ++l)
        sum += lane.v[l];
    return sum;
}
}  // namespace

void TStepSolver::Prepare(const fider::TFiderHHInfo& fider, const fider::TFiderTopology& topology, double temperature,
                          const std::array<double, 3>& supplyVoltage, double nominal)
{
    // The impedances are those of the snapshot's solver, so that both solve the same network.
    fider::TRegimeSolver reference;
    reference.Prepare(fider, topology, temperature, supplyVoltage);
    const int n = topology.Count();
    compact_.assign(n, -1);
    parent_.clear();
    rf_.clear();
    xf_.clear();
    rn_.clear();
    xn_.clear();
    phases_.clear();
    for (int pos = 0; pos < n; ++pos) {
        if (!reference.Energised(pos))
            continue;
        compact_[pos] = static_cast<int>(parent_.size());
        parent_.push_back(pos == 0 ? -1 : compact_[topology.Parent[pos]]);
        double rf = 0, xf = 0, rn = 0, xn = 0;
        if (pos > 0)
            reference.Impedance(pos, rf, xf, rn, xn);
        rf_.push_back(rf);
        xf_.push_back(xf);
        rn_.push_back(rn);
        xn_.push_back(xn);
        phases_.push_back(topology.Phases[pos]);
    }
    m_ = static_cast<int>(parent_.size());
    // Nodes are ordered from the centre, so a child always comes after its parent; most nodes are fed by the
    // node just before them, and their currents pass along without going through memory.
    chainChild_.assign(m_, 0);
    hasPending_.assign(m_, 0);
    for (int j = 1; j < m_; ++j)
        (parent_[j] == j - 1 ? chainChild_ : hasPending_)[parent_[j]] = 1;
    for (int k = 0; k < 3; ++k) {
        sourceR_[k] = supplyVoltage[k] * kCos[k];
        sourceI_[k] = supplyVoltage[k] * kSin[k];
    }
    Voltages flat{};
    for (int k = 0; k < 3; ++k) {
        flat.r[k] = splat(sourceR_[k]);
        flat.i[k] = splat(sourceI_[k]);
    }
    voltages_.assign(m_, flat);
    currents_.assign(m_, Currents{});
    pending_.assign(m_, Currents{});
    slotNode_.clear();
    slotPhase_.clear();
    p_.clear();
    q_.clear();
    ordered_ = false;
    lastLoad_ = Lane{};
    low2_ = std::pow(0.9 * nominal, 2);
    high2_ = std::pow(1.1 * nominal, 2);
    sumP_.assign(m_, Lane{});
    sumQ_.assign(m_, Lane{});
    Lane infinite;
    infinite.x = splat(kInf);
    nodeMin2_.assign(m_, infinite);
    nodeOut_.assign(m_, Lane{});
    solved_ = 0;
}

int TStepSolver::AddSlot(int position, int phase)
{
    const int j = compact_[position];
    if (j < 0)
        return -1;
    slotNode_.push_back(j);
    slotPhase_.push_back(phase);
    p_.push_back(Lane{});
    q_.push_back(Lane{});
    ordered_ = false;
    return Slots() - 1;
}

// The slots by node and phase, so that a node's loads of one phase share its voltage.
void TStepSolver::OrderSlots()
{
    auto key = [&](int s) { return 3 * slotNode_[s] + slotPhase_[s]; };
    slotOrder_.resize(Slots());
    for (int s = 0; s < Slots(); ++s)
        slotOrder_[s] = s;
    std::stable_sort(slotOrder_.begin(), slotOrder_.end(), [&](int a, int b) { return key(a) < key(b); });
    slotBegin_.assign(3 * m_ + 1, 0);
    for (int s : slotOrder_)
        ++slotBegin_[key(s) + 1];
    for (int i = 0; i < 3 * m_; ++i)
        slotBegin_[i + 1] += slotBegin_[i];
    ordered_ = true;
}

// From the far ends towards the centre: each node's section carries its loads' currents I = conj(S / U) at the
// present voltages and the currents of the sections behind it. A node fed by the one just before it hands its
// current over in registers; the others leave theirs with their parent.
inline void TStepSolver::Backward()
{
    const Vector zero{};
    Vector carryR[3] = {zero, zero, zero}, carryI[3] = {zero, zero, zero};
    for (int j = m_ - 1; j >= 0; --j) {
        Vector cr[3], ci[3];
        if (hasPending_[j]) {
            Currents& t = pending_[j];
#pragma GCC unroll 3
            for (int k = 0; k < 3; ++k) {
                cr[k] = t.r[k];
                ci[k] = t.i[k];
                t.r[k] = zero;
                t.i[k] = zero;
            }
        } else {
#pragma GCC unroll 3
            for (int k = 0; k < 3; ++k)
                cr[k] = ci[k] = zero;
        }
        if (chainChild_[j]) {
#pragma GCC unroll 3
            for (int k = 0; k < 3; ++k) {
                cr[k] += carryR[k];
                ci[k] += carryI[k];
            }
        }
        const Voltages& v = voltages_[j];
#pragma GCC unroll 3
        for (int k = 0; k < 3; ++k) {
            const int first = slotBegin_[3 * j + k], last = slotBegin_[3 * j + k + 1];
            if (first == last)
                continue;
            const Vector ur = v.r[k] - v.nr, ui = v.i[k] - v.ni;
            const Vector d = ur * ur + ui * ui;
            const Vector inv = d > zero ? 1.0 / d : zero;
            for (int o = first; o < last; ++o) {
                const int s = slotOrder_[o];
                const Vector p = p_[s].x, q = q_[s].x;
                cr[k] += (p * ur + q * ui) * inv;
                ci[k] += (p * ui - q * ur) * inv;
            }
        }
        Currents& c = currents_[j];
#pragma GCC unroll 3
        for (int k = 0; k < 3; ++k) {
            c.r[k] = cr[k];
            c.i[k] = ci[k];
        }
        if (j == 0)
            break;
        const int parent = parent_[j];
        if (parent == j - 1) {
#pragma GCC unroll 3
            for (int k = 0; k < 3; ++k) {
                carryR[k] = cr[k];
                carryI[k] = ci[k];
            }
        } else {
            Currents& t = pending_[parent];
#pragma GCC unroll 3
            for (int k = 0; k < 3; ++k) {
                t.r[k] += cr[k];
                t.i[k] += ci[k];
            }
        }
    }
}

// Voltages from the centre outwards; returns each lane's largest squared change of a phase-to-neutral voltage.
inline TStepSolver::Vector TStepSolver::Forward()
{
    Vector largest{};
    for (int j = 1; j < m_; ++j) {
        const Voltages& pv = voltages_[parent_[j]];
        Voltages& v = voltages_[j];
        const Currents& c = currents_[j];
        const double rf = rf_[j], xf = xf_[j], rn = rn_[j], xn = xn_[j];
        const Vector inr = c.r[0] + c.r[1] + c.r[2], ini = c.i[0] + c.i[1] + c.i[2];
        const Vector newNr = pv.nr + rn * inr - xn * ini, newNi = pv.ni + rn * ini + xn * inr;
        Vector change{};
        for (int k = 0; k < 3; ++k) {
            const Vector newR = pv.r[k] - (rf * c.r[k] - xf * c.i[k]), newI = pv.i[k] - (rf * c.i[k] + xf * c.r[k]);
            const Vector dr = (newR - newNr) - (v.r[k] - v.nr), di = (newI - newNi) - (v.i[k] - v.ni);
            const Vector d = dr * dr + di * di;
            change = d > change ? d : change;
            v.r[k] = newR;
            v.i[k] = newI;
        }
        v.nr = newNr;
        v.ni = newNi;
        largest = change > largest ? change : largest;
    }
    return largest;
}

inline void TStepSolver::Predict()
{
    // |P| + |Q| of the loads: a measure of their size that the vector units take without a square root.
    Vector load{};
    const Vector zero0{};
    for (int s = 0; s < Slots(); ++s) {
        const Vector p = p_[s].x, q = q_[s].x;
        load += (p < zero0 ? -p : p) + (q < zero0 ? -q : q);
    }
    const Vector zero{}, one = splat(1.0), limit = splat(4.0);
    Vector ratio = lastLoad_.x > zero ? load / lastLoad_.x : one;
    ratio = ratio > limit ? limit : ratio;
    lastLoad_.x = load;
    for (Voltages& v : voltages_) {
        for (int k = 0; k < 3; ++k) {
            const Vector sr = splat(sourceR_[k]), si = splat(sourceI_[k]);
            v.r[k] = sr + (v.r[k] - sr) * ratio;
            v.i[k] = si + (v.i[k] - si) * ratio;
        }
        v.nr *= ratio;
        v.ni *= ratio;
    }
}

// One version of the solver for each width of the processor's vector units, chosen when the library loads.
[[gnu::target_clones("avx512f", "avx2", "default")]] bool TStepSolver::Solve(int count, int maxSweeps)
{
    if (!ordered_)
        OrderSlots();
    for (int s = 0; s < Slots(); ++s)
        for (int l = count; l < L; ++l)
            p_[s].v[l] = q_[s].v[l] = 0;
    Predict();
    sweeps_ = 0;
    worstLane_ = -1;
    bool converged = false;
    while (sweeps_ < maxSweeps && !converged) {
        ++sweeps_;
        Backward();
        const Vector worst = Forward();
        double largest = 0;
        for (int l = 0; l < L; ++l) {
            if (!std::isfinite(worst[l])) {
                worstLane_ = l;
                return false;
            }
            if (worst[l] > largest) {
                largest = worst[l];
                worstLane_ = l;
            }
        }
        converged = largest < 1e-12;
    }
    if (!converged)
        return false;
    worstLane_ = -1;
    Gather(count);
    return true;
}

// The results of the converged lanes, and the sums over the steps. Lanes from `count` on carry no load, so their
// losses are nothing; their voltages are masked out.
inline void TStepSolver::Gather(int count)
{
    Vector active{}, infinite = splat(kInf);
    for (int l = 0; l < count; ++l)
        active[l] = 1;
    const Vector zero{}, low2 = splat(low2_), high2 = splat(high2_);
    const Currents& head = currents_[0];
    Vector p{}, q{};
    for (int k = 0; k < 3; ++k) {
        p += sourceR_[k] * head.r[k] + sourceI_[k] * head.i[k];
        q += sourceI_[k] * head.r[k] - sourceR_[k] * head.i[k];
    }
    headP_.x = p;
    headQ_.x = q;
    Vector lossP{}, lossQ{}, umin2 = infinite, outside{};
    for (int j = 0; j < m_; ++j) {
        const Currents& c = currents_[j];
        if (j > 0) {
            const Vector phases2 = c.r[0] * c.r[0] + c.i[0] * c.i[0] + c.r[1] * c.r[1] + c.i[1] * c.i[1] +
                                   c.r[2] * c.r[2] + c.i[2] * c.i[2];
            const Vector nr = c.r[0] + c.r[1] + c.r[2], ni = c.i[0] + c.i[1] + c.i[2];
            const Vector neutral2 = nr * nr + ni * ni;
            const Vector sectionP = phases2 * rf_[j] + neutral2 * rn_[j];
            const Vector sectionQ = phases2 * xf_[j] + neutral2 * xn_[j];
            lossP += sectionP;
            lossQ += sectionQ;
            sumP_[j].x += sectionP;
            sumQ_[j].x += sectionQ;
        }
        const Voltages& v = voltages_[j];
        Vector lowest = infinite, out{};
        for (int k = 0; k < 3; ++k) {
            if (!(phases_[j] & (1 << k)))
                continue;
            const Vector ur = v.r[k] - v.nr, ui = v.i[k] - v.ni;
            const Vector u2 = ur * ur + ui * ui;
            lowest = u2 < lowest ? u2 : lowest;
            out = (u2 < low2 || u2 > high2) ? active : out;
        }
        lowest = active > zero ? lowest : infinite;
        umin2 = lowest < umin2 ? lowest : umin2;
        nodeMin2_[j].x = lowest < nodeMin2_[j].x ? lowest : nodeMin2_[j].x;
        nodeOut_[j].x += out;
        outside = out > outside ? out : outside;
    }
    lossP_.x = lossP;
    lossQ_.x = lossQ;
    umin2_.x = umin2;
    outside_.x = outside;
    solved_ += count;
}

double TStepSolver::Umin(int lane) const { return std::isfinite(umin2_.v[lane]) ? std::sqrt(umin2_.v[lane]) : kEmpty; }

double TStepSolver::SectionLossSumP(int position) const
{
    const int j = compact_[position];
    return j > 0 ? laneSum(sumP_[j]) : kEmpty;
}

double TStepSolver::SectionLossSumQ(int position) const
{
    const int j = compact_[position];
    return j > 0 ? laneSum(sumQ_[j]) : kEmpty;
}

double TStepSolver::NodeUmin(int position) const
{
    const int j = compact_[position];
    if (j < 0)
        return kEmpty;
    double lowest = kInf;
    for (int l = 0; l < L; ++l)
        lowest = std::min(lowest, nodeMin2_[j].v[l]);
    return std::isfinite(lowest) ? std::sqrt(lowest) : kEmpty;
}

int TStepSolver::NodeOutsideSteps(int position) const
{
    const int j = compact_[position];
    return j >= 0 ? static_cast<int>(std::lround(laneSum(nodeOut_[j]))) : 0;
}

}  // namespace profiles
