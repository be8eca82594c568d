#pragma once
// The loads of one feeder step by step over an interval: each consumer's energy of every step from its own
// profile, else the head profile's remainder after the profiled consumers, else the typical profile of its load
// kind, else a flat one, the last three shaped to its energy of the interval. Plain code without SQL.
#include <QStringList>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/Scheme038.h"
#include "host/profiles/ProfileImport.h"

namespace fider {
class TFiderTopology;
}

namespace profiles {

enum class TLoadSource : uint8_t { Profile, HeadRemainder, Typical, Flat, None };

// A consumer's energies on the grid: a shape of the feeder's steps times a factor, so that consumers that follow
// the same curve share it.
struct OZN3HOST_API TConsumerSteps {
    TLoadSource Source = TLoadSource::None;
    int ActiveShape = -1, ReactiveShape = -1;  // shapes of the feeder's steps; -1 for no load
    double ActiveScale = 0, ReactiveScale = 0;
    double Wa = 0, Wr = 0;  // kWh and kvarh over the interval
    bool Given = false;     // its energy is the meter's (its profile, or its energy of the interval)
    bool Supplied = false;  // energised in the scheme
    bool HasLoad() const { return ActiveShape >= 0; }
};

// The grid of an interval and every consumer's energies on it (by consumer of the scheme).
struct OZN3HOST_API TFiderSteps {
    TMinute Start = 0;
    int StepMinutes = 60, Steps = 0;
    std::vector<TConsumerSteps> Consumers;
    std::vector<std::vector<double>> Shapes;
    std::vector<double> Head;  // the head meter's kWh of each step; empty without one
    QStringList Problems;      // a profile that does not fit the interval
    double StepHours() const { return StepMinutes / 60.0; }
    int Count(TLoadSource source) const;
    bool Constant() const;  // every step the same: the interval is one regime
    // A consumer's kWh and kvarh of a step, and of every step.
    double Active(int consumer, int step) const;
    double Reactive(int consumer, int step) const;
    std::vector<double> ActiveSeries(int consumer) const;
    std::vector<double> ReactiveSeries(int consumer) const;
};

// Builds the steps of a feeder. `profiles`: the feeder's own (consumers and head meter); `typical`: the typical
// profile of its load kind, or null. Consumers that are not supplied get no load. `defaultCosFi` as the regime's.
OZN3HOST_API TFiderSteps BuildFiderSteps(const fider::TFiderHHInfo& fider, const fider::TFiderTopology& topology,
                                         const std::vector<TStoredProfile>& profiles, const TStoredProfile* typical,
                                         const TProfileInterval& interval, double defaultCosFi);

// The squared shape factor of a series (mean of squares over the square of the mean) and its hours of greatest
// load (sum over the greatest step, in hours of the step); empty for a series without energy.
OZN3HOST_API double SqrShapeFactor(const std::vector<double>& values);
OZN3HOST_API double HoursOfGreatestLoad(const std::vector<double>& values, double stepHours);

}  // namespace profiles
