#pragma once
// One LV feeder's stored run by metering profiles: its figures as stored, and its steps calculated again for the
// pictures of the results window and of the feeder's workbook (a year of steps is not kept in the database).
#include <QString>

#include "host/HostApi.h"
#include "host/fider/ProfileRunFigures.h"
#include "host/profiles/ProfileRegime.h"

class ToznFDConnection;

namespace profiles {

struct OZN3HOST_API TStoredProfileRun {
    int Ident = 0, Regime = 0;
    std::array<double, 3> U{};
    double Temperature = 20, Kdp = 1;
    fider::TProfileRunFigures Figures;
};

// The feeder's run by profiles of the interval among the ordinary runs (calculation type 0); false without one.
OZN3HOST_API bool ReadStoredProfileRun(ToznFDConnection& connection, int fiderGuid, int sampleIdent,
                                       TStoredProfileRun& run);

// The steps of that run calculated again from the feeder's scheme and profiles with the run's voltages,
// temperature and Kdp. False with a reason when the feeder cannot be calculated now; `changed` tells that the
// data have changed since the run (its losses differ from the stored ones).
OZN3HOST_API bool RecalculateProfileSteps(ToznFDConnection& connection, int fiderGuid, int sampleIdent,
                                          const TStoredProfileRun& stored, double defaultCosFi,
                                          TProfileStepSeries& series, bool& changed, QString& error);

}  // namespace profiles
