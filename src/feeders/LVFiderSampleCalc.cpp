#include "feeders/LVFiderSampleCalc.h"

#include <QString>
#include <cmath>

#include "host/NumericHelpers.h"

namespace {
bool given(double v) { return !isEmptyFloat(v); }

// A value that the form keeps as text with three decimals.
double threeDecimals(double v) { return QString::number(v, 'f', 3).toDouble(); }
}  // namespace

double TLVFiderSampleCalc::LookupLoad(double p) { return given(p) && p >= 1.0 ? p : 0.5; }

float TLVFiderSampleCalc::TanPhi(float cosFi) { return std::tan(std::acos(cosFi)); }

TLVFiderSampleCalc::Result TLVFiderSampleCalc::Calculate(const Input& in, Flags& flags) const
{
    Result r;
    r.P = in.P;
    r.Wa = EmptyFloat();
    r.Tmax = in.Tmax;
    r.Krazv = in.Krazv;
    r.Knm = in.Knm;
    r.DP = in.DP;
    r.DW = EmptyFloat();
    r.Tau = r.K = r.Kdp = r.DU = r.KnmRef = r.DPpct = r.DWpct = r.Umean = r.U2mean = EmptyFloat();

    // 1. Every measured value and the conductor's and load's values must be there.
    for (int p = 0; p < 3; ++p)
        if (!given(in.I[p]) || !given(in.U[p]) || !given(in.U2[p]))
            return r;
    if (!given(in.Rn) || !given(in.Xf) || !given(in.Rf) || !given(in.CosFi))
        return r;
    for (int p = 0; p < 3; ++p)
        if (in.U2[p] > in.U[p]) {
            r.status = Status::InvalidData;
            r.invalidPhase = static_cast<Phase>(p);
            return r;
        }

    // 2. The power factor is held in single precision and that value enters every formula.
    const float cosF = static_cast<float>(in.CosFi);
    const double cos = cosF;
    r.cosFi = cosF;
    const double ia = in.I[A], ib = in.I[B], ic = in.I[C];

    // 3. An unset branching coefficient takes its default.
    if (!given(r.Krazv) || r.Krazv == 0) {
        r.Krazv = 0.8;
        flags.krazvChanged = true;
    }
    // 4. With no current there is nothing to calculate.
    const double iAvg = (ia + ib + ic) / 3;
    if (iAvg == 0) {
        r.status = Status::Stopped;
        return r;
    }
    // 5.
    r.Umean = (in.U[A] + in.U[B] + in.U[C]) / 3;
    r.U2mean = (in.U2[A] + in.U2[B] + in.U2[C]) / 3;

    // 6. Tmax from the reference when it is unset, or when the load kind changed and it was not typed.
    auto lookUpTmax = [&] {
        if ((!given(r.Tmax) || r.Tmax == 0 || (flags.loadTypeChanged && !flags.tmaxByHand)) && TmaxLookup) {
            const double t = TmaxLookup(LookupLoad(r.P));
            if (given(t))
                r.Tmax = t;
        }
    };
    lookUpTmax();
    const double tmax0 = given(r.Tmax) ? r.Tmax : 0;
    // 7.
    if (flags.currentsChanged) {
        r.P = cos * (ia * in.U[A] + ib * in.U[B] + ic * in.U[C]) / 1000;
        r.Wa = r.P * tmax0 / 1000;
    }
    // 8. A power factor typed by hand is compared with the reference of the load kind.
    if (flags.cosByHand && !flags.cosResetVisible && CosLookup) {
        const double reference = CosLookup();
        if (given(reference) && std::fabs(cos - reference) > 0.001)
            flags.cosResetVisible = true;
    }
    // 9. So is a Tmax typed by hand.
    if ((flags.tmaxByHand || flags.tmaxResetVisible) && TmaxLookup) {
        const double reference = TmaxLookup(LookupLoad(r.P));
        flags.tmaxResetVisible = given(reference) && given(r.Tmax) && std::fabs(r.Tmax - reference) > 0.001;
    }
    // 10.
    lookUpTmax();
    const double tmax = given(r.Tmax) ? r.Tmax : 0;
    r.Wa = r.P * tmax / 1000;
    // 11.
    r.Tau = std::pow(0.124 + tmax * 1e-4, 2) * 8760;
    // 12. Unbalance of the phase currents and the coefficient of additional losses.
    r.K = std::sqrt((ia * ia + ib * ib + ic * ic) / (3 * iAvg * iAvg));
    r.Kdp = r.K * r.K + 1.5 * (in.Rn / in.Rf) * (r.K * r.K - 1);
    // 13.
    const double uSum = in.U[A] + in.U[B] + in.U[C];
    r.DU = (uSum - (in.U2[A] + in.U2[B] + in.U2[C])) * 100 / uSum;
    // 14. The reference coefficient of loss to voltage drop.
    const double tg = TanPhi(cosF);
    r.KnmRef = r.Krazv * (1 / (cos * cos)) / ((in.Xf * tg) / in.Rf + 1);
    r.knmWarning = given(r.Knm) && std::fabs(r.KnmRef - r.Knm) > 0.01;
    if (flags.krazvChanged || !given(r.Knm))
        r.Knm = r.KnmRef;
    // 15.
    r.DPpct = r.Kdp * r.Knm * r.DU;
    // 16. dP is kept with three decimals, and that value enters dW.
    if (!given(r.DP) || flags.currentsChanged || flags.loadTypeChanged)
        r.DP = threeDecimals(r.P * r.DPpct / 100);
    // 17.
    if (flags.currentsChanged || flags.loadTypeChanged)
        r.DW = r.Tau * r.DP / 1000;
    // 18. A Tmax of 0 divides by zero here, as the method does.
    r.DWpct = r.DPpct * r.Tau / tmax;
    // 19.
    flags.loadTypeChanged = false;
    flags.krazvChanged = false;
    r.Tmax = tmax;
    r.status = Status::Done;
    return r;
}
