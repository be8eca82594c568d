#include "host/fider/RegimeSolver.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/NumericHelpers.h"

namespace fider {

// The empty value of the host (a quiet NaN), without a call across the library for each use.
constexpr double kEmpty = std::numeric_limits<double>::quiet_NaN();

namespace {
// |a + jb|: the values here are far from overflow, and the library's hypot is many times slower.
inline double magnitude(double a, double b) { return std::sqrt(a * a + b * b); }

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
        const bool link = line.IsLink();
        const double length = link ? 0 : line.Length;
        rf_.push_back(link ? 0 : line.Phase.R0 * length * kt);
        xf_.push_back(link ? 0 : line.Phase.X0 * length);
        rn_.push_back(link ? 0 : line.Neutral.R0 * length * kt);
        xn_.push_back(link ? 0 : line.Neutral.X0 * length);
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
    factors_ = {1, 1, 1};
    for (auto& loads : loads_)
        loads.clear();
}

void TRegimeSolver::AddLoad(int position, int phase, double p, double q)
{
    const int j = compact_[position];
    if (j >= 0)
        loads_[phase].push_back({j, p, q});
}

void TRegimeSolver::ScaleLoads(const std::array<double, 3>& factors) { factors_ = factors; }

// Load currents at the present voltages, summed from the far ends towards the centre. Only the nodes
// with a load are visited: most nodes of a feeder are poles.
void TRegimeSolver::Backward()
{
    const int* parent = parent_.data();
    for (int k = 0; k < 3; ++k) {
        const double* vr = vr_[k].data();
        const double* vi = vi_[k].data();
        double* ar = ar_[k].data();
        double* ai = ai_[k].data();
        std::fill(ar, ar + m_, 0.0);
        std::fill(ai, ai + m_, 0.0);
        const double factor = factors_[k];
        for (const Load& l : loads_[k]) {
            // I = conj(S / U) with U the phase-to-neutral voltage.
            const double ur = vr[l.j] - nr_[l.j], ui = vi[l.j] - ni_[l.j];
            const double d = ur * ur + ui * ui;
            const double inv = d > 0 ? factor / d : 0.0;
            ar[l.j] += (l.p * ur + l.q * ui) * inv;
            ai[l.j] += (l.p * ui - l.q * ur) * inv;
        }
        for (int j = m_ - 1; j > 0; --j) {
            ar[parent[j]] += ar[j];
            ai[parent[j]] += ai[j];
        }
    }
}

// Voltages from the centre outwards; returns the largest squared change of a phase-to-neutral voltage.
double TRegimeSolver::Forward()
{
    // Plain pointers: the loop runs a few hundred thousand times a second on every feeder of a batch.
    const int* parent = parent_.data();
    const double *rf = rf_.data(), *xf = xf_.data(), *rn = rn_.data(), *xn = xn_.data();
    const double *ar0 = ar_[0].data(), *ar1 = ar_[1].data(), *ar2 = ar_[2].data();
    const double *ai0 = ai_[0].data(), *ai1 = ai_[1].data(), *ai2 = ai_[2].data();
    double *vr0 = vr_[0].data(), *vr1 = vr_[1].data(), *vr2 = vr_[2].data();
    double *vi0 = vi_[0].data(), *vi1 = vi_[1].data(), *vi2 = vi_[2].data();
    double *nr = nr_.data(), *ni = ni_.data();
    double worst = 0;
    for (int j = 1; j < m_; ++j) {
        const int p = parent[j];
        const double inr = ar0[j] + ar1[j] + ar2[j], ini = ai0[j] + ai1[j] + ai2[j];
        const double newNr = nr[p] + rn[j] * inr - xn[j] * ini;
        const double newNi = ni[p] + rn[j] * ini + xn[j] * inr;
        const double oldNr = nr[j], oldNi = ni[j];
        nr[j] = newNr;
        ni[j] = newNi;
        const double r = rf[j], x = xf[j];
        auto phase = [&](double* vr, double* vi, double iR, double iI) {
            const double newR = vr[p] - (r * iR - x * iI);
            const double newI = vi[p] - (r * iI + x * iR);
            const double dr = (newR - newNr) - (vr[j] - oldNr);
            const double di = (newI - newNi) - (vi[j] - oldNi);
            const double change = dr * dr + di * di;
            worst = change > worst ? change : worst;
            vr[j] = newR;
            vi[j] = newI;
        };
        phase(vr0, vi0, ar0[j], ai0[j]);
        phase(vr1, vi1, ar1[j], ai1[j]);
        phase(vr2, vi2, ar2[j], ai2[j]);
    }
    return worst;
}

bool TRegimeSolver::Solve(int maxSweeps) { return Sweep(maxSweeps, {}); }

bool TRegimeSolver::SolveToHeadCurrents(const std::array<double, 3>& targets, int maxSweeps)
{
    // The head current of a phase is the sum of its load currents, each proportional to its phase's
    // factor at the present voltages: scaling the phase's currents after the backward sweep meets the
    // target exactly, and the loads keep the factor for the next sweep.
    return Sweep(maxSweeps, [&] {
        for (int k = 0; k < 3; ++k) {
            if (!(targets[k] >= 0))
                continue;
            const double current = magnitude(ar_[k][0], ai_[k][0]);
            const double ratio = current > 0 ? targets[k] / current : 0;
            ScalePhase(k, ratio);
        }
    });
}

bool TRegimeSolver::SolveToHeadPower(double target, int maxSweeps)
{
    // The head power is proportional to one common factor of every load at the present voltages.
    return Sweep(maxSweeps, [&] {
        double power = 0;
        for (int k = 0; k < 3; ++k)
            power += sourceR_[k] * ar_[k][0] + sourceI_[k] * ai_[k][0];
        const double ratio = power > 0 ? target / power : 0;
        for (int k = 0; k < 3; ++k)
            ScalePhase(k, ratio);
    });
}

void TRegimeSolver::ScalePhase(int phase, double ratio)
{
    factors_[phase] *= ratio;
    for (int j = 0; j < m_; ++j) {
        ar_[phase][j] *= ratio;
        ai_[phase][j] *= ratio;
    }
}

bool TRegimeSolver::Sweep(int maxSweeps, const std::function<void()>& adjust)
{
    sweeps_ = 0;
    while (sweeps_ < maxSweeps) {
        ++sweeps_;
        Backward();
        if (adjust)
            adjust();
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
        return kEmpty;
    return magnitude(vr_[phase][j] - nr_[j], vi_[phase][j] - ni_[j]);
}

double TRegimeSolver::SectionCurrent(int position, int conductor) const
{
    const int j = compact_[position];
    if (j < 0)
        return kEmpty;
    if (conductor < 3)
        return magnitude(ar_[conductor][j], ai_[conductor][j]);
    return magnitude(ar_[0][j] + ar_[1][j] + ar_[2][j], ai_[0][j] + ai_[1][j] + ai_[2][j]);
}

void TRegimeSolver::SectionLosses(int position, double& p, double& q) const
{
    const int j = compact_[position];
    if (j < 0) {
        p = q = kEmpty;
        return;
    }
    double phases = 0;
    for (int k = 0; k < 3; ++k)
        phases += ar_[k][j] * ar_[k][j] + ai_[k][j] * ai_[k][j];
    const double inr = ar_[0][j] + ar_[1][j] + ar_[2][j], ini = ai_[0][j] + ai_[1][j] + ai_[2][j];
    const double neutral = inr * inr + ini * ini;
    p = phases * rf_[j] + neutral * rn_[j];
    q = phases * xf_[j] + neutral * xn_[j];
}

double TRegimeSolver::SectionLossP(int position) const
{
    double p, q;
    SectionLosses(position, p, q);
    return p;
}

double TRegimeSolver::HeadCurrent(int phase) const { return m_ ? magnitude(ar_[phase][0], ai_[phase][0]) : 0; }

// S = V conj(I) at the supply centre, where the neutral is at zero potential.
double TRegimeSolver::HeadP(int phase) const
{
    return m_ ? sourceR_[phase] * ar_[phase][0] + sourceI_[phase] * ai_[phase][0] : 0;
}

double TRegimeSolver::HeadQ(int phase) const
{
    return m_ ? sourceI_[phase] * ar_[phase][0] - sourceR_[phase] * ai_[phase][0] : 0;
}

void TRegimeSolver::Impedance(int position, double& rf, double& xf, double& rn, double& xn) const
{
    const int j = compact_[position];
    rf = j >= 0 ? rf_[j] : kEmpty;
    xf = j >= 0 ? xf_[j] : kEmpty;
    rn = j >= 0 ? rn_[j] : kEmpty;
    xn = j >= 0 ? xn_[j] : kEmpty;
}

double TRegimeSolver::LoadPhaseSum(int phase) const
{
    double sum = 0;
    for (const Load& l : loads_[phase])
        sum += l.p;
    return sum * factors_[phase];
}

}  // namespace fider
