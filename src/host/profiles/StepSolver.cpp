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
const double kCos[3] = {1.0, -0.5, -0.5};
const double kSin[3] = {0.0, -0.86602540378443864676, 0.86602540378443864676};
constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

void fill(std::vector<Lane>& lanes, double value)
{
    for (Lane& lane : lanes)
        std::fill(std::begin(lane.v), std::end(lane.v), value);
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
    for (int k = 0; k < 3; ++k) {
        sourceR_[k] = supplyVoltage[k] * kCos[k];
        sourceI_[k] = supplyVoltage[k] * kSin[k];
        vr_[k].assign(m_, Lane{});
        vi_[k].assign(m_, Lane{});
        ar_[k].assign(m_, Lane{});
        ai_[k].assign(m_, Lane{});
        fill(vr_[k], sourceR_[k]);
        fill(vi_[k], sourceI_[k]);
    }
    nr_.assign(m_, Lane{});
    ni_.assign(m_, Lane{});
    slotNode_.clear();
    slotPhase_.clear();
    p_.clear();
    q_.clear();
    low2_ = std::pow(0.9 * nominal, 2);
    high2_ = std::pow(1.1 * nominal, 2);
    sumP_.assign(m_, 0.0);
    sumQ_.assign(m_, 0.0);
    nodeMin2_.assign(m_, kInf);
    nodeOut_.assign(m_, 0);
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
    return Slots() - 1;
}

// Load currents I = conj(S / U) at the present voltages, summed from the far ends towards the centre.
void TStepSolver::Backward()
{
    for (int k = 0; k < 3; ++k) {
        std::fill(ar_[k].begin(), ar_[k].end(), Lane{});
        std::fill(ai_[k].begin(), ai_[k].end(), Lane{});
    }
    const int slotCount = Slots();
    for (int s = 0; s < slotCount; ++s) {
        const int j = slotNode_[s], k = slotPhase_[s];
        const Lane &p = p_[s], &q = q_[s], &vr = vr_[k][j], &vi = vi_[k][j], &nr = nr_[j], &ni = ni_[j];
        Lane &ar = ar_[k][j], &ai = ai_[k][j];
        for (int l = 0; l < L; ++l) {
            const double ur = vr.v[l] - nr.v[l], ui = vi.v[l] - ni.v[l];
            const double d = ur * ur + ui * ui;
            const double inv = d > 0 ? 1.0 / d : 0.0;
            ar.v[l] += (p.v[l] * ur + q.v[l] * ui) * inv;
            ai.v[l] += (p.v[l] * ui - q.v[l] * ur) * inv;
        }
    }
    const int* parent = parent_.data();
    for (int k = 0; k < 3; ++k) {
        Lane* ar = ar_[k].data();
        Lane* ai = ai_[k].data();
        for (int j = m_ - 1; j > 0; --j) {
            Lane &tr = ar[parent[j]], &ti = ai[parent[j]];
            for (int l = 0; l < L; ++l) {
                tr.v[l] += ar[j].v[l];
                ti.v[l] += ai[j].v[l];
            }
        }
    }
}

// Voltages from the centre outwards; `worst` gets each lane's largest squared change of a phase-to-neutral
// voltage.
void TStepSolver::Forward(Lane& worst)
{
    for (int l = 0; l < L; ++l)
        worst.v[l] = 0;
    const int* parent = parent_.data();
    Lane *vr0 = vr_[0].data(), *vr1 = vr_[1].data(), *vr2 = vr_[2].data();
    Lane *vi0 = vi_[0].data(), *vi1 = vi_[1].data(), *vi2 = vi_[2].data();
    const Lane *ar0 = ar_[0].data(), *ar1 = ar_[1].data(), *ar2 = ar_[2].data();
    const Lane *ai0 = ai_[0].data(), *ai1 = ai_[1].data(), *ai2 = ai_[2].data();
    Lane *nr = nr_.data(), *ni = ni_.data();
    for (int j = 1; j < m_; ++j) {
        const int p = parent[j];
        const double rf = rf_[j], xf = xf_[j], rn = rn_[j], xn = xn_[j];
        for (int l = 0; l < L; ++l) {
            const double inr = ar0[j].v[l] + ar1[j].v[l] + ar2[j].v[l];
            const double ini = ai0[j].v[l] + ai1[j].v[l] + ai2[j].v[l];
            const double newNr = nr[p].v[l] + rn * inr - xn * ini;
            const double newNi = ni[p].v[l] + rn * ini + xn * inr;
            const double oldNr = nr[j].v[l], oldNi = ni[j].v[l];
            nr[j].v[l] = newNr;
            ni[j].v[l] = newNi;
            double change = 0;
            auto phase = [&](Lane* vr, Lane* vi, double iR, double iI) {
                const double newR = vr[p].v[l] - (rf * iR - xf * iI);
                const double newI = vi[p].v[l] - (rf * iI + xf * iR);
                const double dr = (newR - newNr) - (vr[j].v[l] - oldNr);
                const double di = (newI - newNi) - (vi[j].v[l] - oldNi);
                change = std::max(change, dr * dr + di * di);
                vr[j].v[l] = newR;
                vi[j].v[l] = newI;
            };
            phase(vr0, vi0, ar0[j].v[l], ai0[j].v[l]);
            phase(vr1, vi1, ar1[j].v[l], ai1[j].v[l]);
            phase(vr2, vi2, ar2[j].v[l], ai2[j].v[l]);
            worst.v[l] = std::max(worst.v[l], change);
        }
    }
}

bool TStepSolver::Solve(int count, int maxSweeps)
{
    for (int s = 0; s < Slots(); ++s)
        for (int l = count; l < L; ++l)
            p_[s].v[l] = q_[s].v[l] = 0;
    sweeps_ = 0;
    worstLane_ = -1;
    Lane worst;
    bool converged = false;
    while (sweeps_ < maxSweeps && !converged) {
        ++sweeps_;
        Backward();
        Forward(worst);
        double largest = 0;
        for (int l = 0; l < L; ++l) {
            if (!std::isfinite(worst.v[l])) {
                worstLane_ = l;
                return false;
            }
            if (worst.v[l] > largest) {
                largest = worst.v[l];
                worstLane_ = l;
            }
        }
        converged = largest < 1e-12;
    }
    if (!converged)
        return false;
    worstLane_ = -1;
    Gather(count);
    // The next group starts from the last step's voltages.
    const int last = count - 1;
    for (auto* lanes : {&vr_[0], &vr_[1], &vr_[2], &vi_[0], &vi_[1], &vi_[2], &nr_, &ni_})
        for (Lane& lane : *lanes)
            std::fill(std::begin(lane.v), std::end(lane.v), lane.v[last]);
    return true;
}

// The results of the converged lanes, and the sums over the steps.
void TStepSolver::Gather(int count)
{
    for (int l = 0; l < L; ++l) {
        double p = 0, q = 0;
        for (int k = 0; k < 3; ++k) {
            p += sourceR_[k] * ar_[k][0].v[l] + sourceI_[k] * ai_[k][0].v[l];
            q += sourceI_[k] * ar_[k][0].v[l] - sourceR_[k] * ai_[k][0].v[l];
        }
        headP_.v[l] = m_ ? p : 0;
        headQ_.v[l] = m_ ? q : 0;
        lossP_.v[l] = lossQ_.v[l] = 0;
        umin2_.v[l] = kInf;
        outside_.v[l] = 0;
    }
    for (int j = 0; j < m_; ++j) {
        Lane phases2, neutral2;
        for (int l = 0; l < L; ++l) {
            double sum = 0, nR = 0, nI = 0;
            for (int k = 0; k < 3; ++k) {
                const double r = ar_[k][j].v[l], i = ai_[k][j].v[l];
                sum += r * r + i * i;
                nR += r;
                nI += i;
            }
            phases2.v[l] = sum;
            neutral2.v[l] = nR * nR + nI * nI;
        }
        double sectionP = 0, sectionQ = 0;
        for (int l = 0; l < count; ++l) {
            const double p = j ? phases2.v[l] * rf_[j] + neutral2.v[l] * rn_[j] : 0;
            const double q = j ? phases2.v[l] * xf_[j] + neutral2.v[l] * xn_[j] : 0;
            lossP_.v[l] += p;
            lossQ_.v[l] += q;
            sectionP += p;
            sectionQ += q;
        }
        sumP_[j] += sectionP;
        sumQ_[j] += sectionQ;
        for (int k = 0; k < 3; ++k) {
            if (!(phases_[j] & (1 << k)))
                continue;
            for (int l = 0; l < count; ++l) {
                const double ur = vr_[k][j].v[l] - nr_[j].v[l], ui = vi_[k][j].v[l] - ni_[j].v[l];
                const double u2 = ur * ur + ui * ui;
                umin2_.v[l] = std::min(umin2_.v[l], u2);
                nodeMin2_[j] = std::min(nodeMin2_[j], u2);
            }
        }
        for (int l = 0; l < count; ++l) {
            bool out = false;
            for (int k = 0; k < 3; ++k) {
                if (!(phases_[j] & (1 << k)))
                    continue;
                const double ur = vr_[k][j].v[l] - nr_[j].v[l], ui = vi_[k][j].v[l] - ni_[j].v[l];
                const double u2 = ur * ur + ui * ui;
                out = out || u2 < low2_ || u2 > high2_;
            }
            if (out) {
                ++nodeOut_[j];
                outside_.v[l] = 1;
            }
        }
    }
    solved_ += count;
}

double TStepSolver::Umin(int lane) const { return std::isfinite(umin2_.v[lane]) ? std::sqrt(umin2_.v[lane]) : kEmpty; }

double TStepSolver::SectionLossSumP(int position) const
{
    const int j = compact_[position];
    return j > 0 ? sumP_[j] : kEmpty;
}

double TStepSolver::SectionLossSumQ(int position) const
{
    const int j = compact_[position];
    return j > 0 ? sumQ_[j] : kEmpty;
}

double TStepSolver::NodeUmin(int position) const
{
    const int j = compact_[position];
    return j >= 0 && std::isfinite(nodeMin2_[j]) ? std::sqrt(nodeMin2_[j]) : kEmpty;
}

int TStepSolver::NodeOutsideSteps(int position) const
{
    const int j = compact_[position];
    return j >= 0 ? nodeOut_[j] : 0;
}

}  // namespace profiles
