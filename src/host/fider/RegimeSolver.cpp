#include "host/fider/RegimeSolver.h"

#include <algorithm>
#include <cmath>

#include "host/NumericHelpers.h"

namespace fider {

namespace {
// Phase angles of the supply: 0°, −120°, +120°.
const double kCos[3] = {1.0, -0.5, -0.5};
const double kSin[3] = {0.0, -0.86602540378443864676, 0.86602540378443864676};
}  // namespace

void TRegimeSolver::Prepare(const TFiderHHInfo& fider, const TFiderTopology& topology, double temperature,
                            const std::array<double, 3>& supplyVoltage)
{
    const int n = topology.Count();
    compact_.assign(n, -1);
    parent_.clear();
    rf_.clear();
    xf_.clear();
    rn_.clear();
    xn_.clear();
    const double kt = 1 + 0.004 * (temperature - 20);
    // Positions are ordered from the centre and energisation never skips a parent, so the energised
    // positions in the same order are a tree ordered the same way.
    for (int pos = 0; pos < n; ++pos) {
        if (!topology.Energised[pos])
            continue;
        compact_[pos] = static_cast<int>(parent_.size());
        parent_.push_back(pos == 0 ? -1 : compact_[topology.Parent[pos]]);
        if (pos == 0) {
            rf_.push_back(0);
            xf_.push_back(0);
            rn_.push_back(0);
            xn_.push_back(0);
            continue;
        }
        const TLine038& line = fider.Lines[topology.Line[pos]];
        const bool connecting = line.Kind == TSectionKind::Connecting;
        const double length = connecting ? 0 : line.Length;
        rf_.push_back(connecting ? 0 : line.Phase.R0 * length * kt);
        xf_.push_back(connecting ? 0 : line.Phase.X0 * length);
        rn_.push_back(connecting ? 0 : line.Neutral.R0 * length * kt);
        xn_.push_back(connecting ? 0 : line.Neutral.X0 * length);
    }
    m_ = static_cast<int>(parent_.size());
    for (int k = 0; k < 3; ++k) {
        sourceR_[k] = supplyVoltage[k] * kCos[k];
        sourceI_[k] = supplyVoltage[k] * kSin[k];
    }
    for (int k = 0; k < 3; ++k) {
        vr_[k].assign(m_, 0);
        vi_[k].assign(m_, 0);
        ar_[k].assign(m_, 0);
        ai_[k].assign(m_, 0);
    }
    nr_.assign(m_, 0);
    ni_.assign(m_, 0);
    ClearLoads();
    ResetVoltages();
}

void TRegimeSolver::ResetVoltages()
{
    for (int k = 0; k < 3; ++k) {
        std::fill(vr_[k].begin(), vr_[k].end(), sourceR_[k]);
        std::fill(vi_[k].begin(), vi_[k].end(), sourceI_[k]);
    }
    std::fill(nr_.begin(), nr_.end(), 0.0);
    std::fill(ni_.begin(), ni_.end(), 0.0);
}

void TRegimeSolver::ClearLoads()
{
    for (int k = 0; k < 3; ++k) {
        basep_[k].assign(m_, 0);
        baseq_[k].assign(m_, 0);
        p_[k].assign(m_, 0);
        q_[k].assign(m_, 0);
    }
}

void TRegimeSolver::AddLoad(int position, int phase, double p, double q)
{
    const int j = compact_[position];
    if (j < 0)
        return;
    basep_[phase][j] += p;
    baseq_[phase][j] += q;
    p_[phase][j] += p;
    q_[phase][j] += q;
}

void TRegimeSolver::ScaleLoads(const std::array<double, 3>& factors)
{
    for (int k = 0; k < 3; ++k)
        for (int j = 0; j < m_; ++j) {
            p_[k][j] = basep_[k][j] * factors[k];
            q_[k][j] = baseq_[k][j] * factors[k];
        }
}

// Load currents at the present voltages, summed from the far ends towards the centre.
void TRegimeSolver::Backward()
{
    for (int k = 0; k < 3; ++k) {
        const double* vr = vr_[k].data();
        const double* vi = vi_[k].data();
        const double* p = p_[k].data();
        const double* q = q_[k].data();
        double* ar = ar_[k].data();
        double* ai = ai_[k].data();
        for (int j = 0; j < m_; ++j) {
            // I = conj(S / U) with U the phase-to-neutral voltage.
            const double ur = vr[j] - nr_[j], ui = vi[j] - ni_[j];
            const double d = ur * ur + ui * ui;
            const double inv = d > 0 ? 1.0 / d : 0.0;
            ar[j] = (p[j] * ur + q[j] * ui) * inv;
            ai[j] = (p[j] * ui - q[j] * ur) * inv;
        }
        const int* parent = parent_.data();
        for (int j = m_ - 1; j > 0; --j) {
            ar[parent[j]] += ar[j];
            ai[parent[j]] += ai[j];
        }
    }
}

// Voltages from the centre outwards; returns the largest squared change of a phase-to-neutral voltage.
double TRegimeSolver::Forward()
{
    double worst = 0;
    const int* parent = parent_.data();
    for (int j = 1; j < m_; ++j) {
        const int p = parent[j];
        const double inr = ar_[0][j] + ar_[1][j] + ar_[2][j];
        const double ini = ai_[0][j] + ai_[1][j] + ai_[2][j];
        const double newNr = nr_[p] + rn_[j] * inr - xn_[j] * ini;
        const double newNi = ni_[p] + rn_[j] * ini + xn_[j] * inr;
        const double oldNr = nr_[j], oldNi = ni_[j];
        nr_[j] = newNr;
        ni_[j] = newNi;
        for (int k = 0; k < 3; ++k) {
            const double iR = ar_[k][j], iI = ai_[k][j];
            const double newR = vr_[k][p] - (rf_[j] * iR - xf_[j] * iI);
            const double newI = vi_[k][p] - (rf_[j] * iI + xf_[j] * iR);
            const double dr = (newR - newNr) - (vr_[k][j] - oldNr);
            const double di = (newI - newNi) - (vi_[k][j] - oldNi);
            worst = std::max(worst, dr * dr + di * di);
            vr_[k][j] = newR;
            vi_[k][j] = newI;
        }
    }
    return worst;
}

bool TRegimeSolver::Solve(int maxSweeps)
{
    sweeps_ = 0;
    while (sweeps_ < maxSweeps) {
        ++sweeps_;
        Backward();
        const double change = Forward();
        if (!std::isfinite(change))
            return false;
        if (change < 1e-12)
            return true;
    }
    return false;
}

double TRegimeSolver::NodeVoltage(int position, int phase) const
{
    const int j = compact_[position];
    if (j < 0)
        return EmptyFloat();
    return std::hypot(vr_[phase][j] - nr_[j], vi_[phase][j] - ni_[j]);
}

double TRegimeSolver::SectionCurrent(int position, int conductor) const
{
    const int j = compact_[position];
    if (j < 0)
        return EmptyFloat();
    if (conductor < 3)
        return std::hypot(ar_[conductor][j], ai_[conductor][j]);
    return std::hypot(ar_[0][j] + ar_[1][j] + ar_[2][j], ai_[0][j] + ai_[1][j] + ai_[2][j]);
}

double TRegimeSolver::SectionLossP(int position) const
{
    const int j = compact_[position];
    if (j < 0)
        return EmptyFloat();
    double phases = 0;
    for (int k = 0; k < 3; ++k)
        phases += ar_[k][j] * ar_[k][j] + ai_[k][j] * ai_[k][j];
    const double in = SectionCurrent(position, 3);
    return phases * rf_[j] + in * in * rn_[j];
}

double TRegimeSolver::SectionLossQ(int position) const
{
    const int j = compact_[position];
    if (j < 0)
        return EmptyFloat();
    double phases = 0;
    for (int k = 0; k < 3; ++k)
        phases += ar_[k][j] * ar_[k][j] + ai_[k][j] * ai_[k][j];
    const double in = SectionCurrent(position, 3);
    return phases * xf_[j] + in * in * xn_[j];
}

double TRegimeSolver::HeadCurrent(int phase) const { return m_ ? std::hypot(ar_[phase][0], ai_[phase][0]) : 0; }

// S = V conj(I) at the supply centre, where the neutral is at zero potential.
double TRegimeSolver::HeadP(int phase) const
{
    return m_ ? sourceR_[phase] * ar_[phase][0] + sourceI_[phase] * ai_[phase][0] : 0;
}

double TRegimeSolver::HeadQ(int phase) const
{
    return m_ ? sourceI_[phase] * ar_[phase][0] - sourceR_[phase] * ai_[phase][0] : 0;
}

double TRegimeSolver::LoadPhaseSum(int phase) const
{
    double sum = 0;
    for (int j = 0; j < m_; ++j)
        sum += p_[phase][j];
    return sum;
}

}  // namespace fider
