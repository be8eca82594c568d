#pragma once
// A metering profile: the energy of every step of an interval on a regular grid, and its compact form in the
// database (integers of the decimals the meter gave, as variable-length differences of one step to the next).
// Plain data without SQL or widgets.
#include <QByteArray>
#include <QDateTime>
#include <cstdint>
#include <vector>

#include "host/HostApi.h"

namespace profiles {

// Whose profile a row holds: a consumer (its "LVNodes" key), the head meter of an LV feeder (its key), or the
// typical profile of a load kind ("TypeLoads"."Ident").
enum class TProfileKind : uint8_t { Consumer = 0, Head = 1, Typical = 2 };

// Times are minutes of the wall clock since 1970-01-01 00:00, without time zones or daylight saving: the
// profiles are read as the meters keep them.
using TMinute = int64_t;
OZN3HOST_API TMinute MinuteOf(const QDateTime& time);  // its date and time as written, whatever its zone
OZN3HOST_API QDateTime TimeOfMinute(TMinute minute);   // the same wall time (time zone UTC)
// "31.12.2025 23:30"
OZN3HOST_API QString MinuteText(TMinute minute);

// Step lengths a profile may have: divisors of an hour, so that a day holds a whole number of steps.
OZN3HOST_API bool IsStepMinutes(int minutes);

struct OZN3HOST_API TProfileSeries {
    TMinute Start = 0;             // start of the first step
    int StepMinutes = 60;          // 1 to 60
    std::vector<double> Active;    // kWh of each step
    std::vector<double> Reactive;  // kvarh of each step; empty when the meter gives none
    int Decimals = 3;              // decimals the values are kept with (0 to 6)

    int Steps() const { return static_cast<int>(Active.size()); }
    bool HasReactive() const { return !Reactive.empty(); }
    TMinute End() const { return Start + static_cast<TMinute>(Steps()) * StepMinutes; }
    double SumActive() const;
    double SumReactive() const;  // NaN without reactive values
};

// The compact form of a series of values: version, decimals, count, then each value as an integer of those
// decimals, written as the zigzag variable-length difference from the value before.
OZN3HOST_API QByteArray EncodeValues(const std::vector<double>& values, int decimals);
// The values back; false on bytes that are not such a form.
OZN3HOST_API bool DecodeValues(const QByteArray& bytes, std::vector<double>& values);
// The decimals a number's text shows ("12,345" 3), capped at 6.
OZN3HOST_API int DecimalsOfText(const char* begin, const char* end);

}  // namespace profiles
