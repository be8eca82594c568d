#pragma once
#include <functional>

class ToznFDConnection;

namespace feeders {
struct TSamplesRecalculation {
    int Substations = 0;  // substations whose LV feeders have samples
    int Samples = 0;      // samples calculated
    int Changed = 0;      // samples whose stored values differed and were written
};

// Calculates every stored sample of the LV feeders again by the editor's calculation, as if its currents and
// voltages had just been typed, and writes the samples whose values differ (P, Wa, Tmax, Krazv, Knm, dP,
// dW; main samples mirrored into the year samples as the editor saves them). One substation at a time, each
// in a transaction of its own; progress gets the substations done and their number. Database errors are
// thrown, what was committed before stays.
TSamplesRecalculation RecalculateStoredSamples(ToznFDConnection& connection,
                                               const std::function<void(int done, int total)>& progress = {});
}  // namespace feeders
