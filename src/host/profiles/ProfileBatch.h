#pragma once
// The regime by metering profiles of many LV feeders: the schemes read once, the profiles read feeder group by
// feeder group as the run goes, the feeders calculated in parallel on every core while one connection reads the
// next group and writes the last, stoppable between groups. Used by the command line and by the application.
#include <QList>
#include <QSet>

#include "host/HostApi.h"
#include "host/fider/RegimeBatch.h"

class TfdbDatabase;
class ToznFDConnection;

namespace profiles {

// Calculates and stores the feeders for the request (its regime kind and calculation type; Kdp from the given
// values, else 1) on a connection of its own. `threads` 0: one per core.
OZN3HOST_API fider::TRegimeBatchResult RunProfileBatch(TfdbDatabase& database, const QList<int>& fiders,
                                                       const fider::TRegimeRequest& request,
                                                       const fider::TRegimeBatchEvents& events, int threads = 0);
// The same on a connection without an open transaction, with the default cos φ.
OZN3HOST_API fider::TRegimeBatchResult RunProfileBatch(ToznFDConnection& connection, double defaultCosFi,
                                                       const QList<int>& fiders, const fider::TRegimeRequest& request,
                                                       const fider::TRegimeBatchEvents& events, int threads = 0);

// The feeders among `fiders` whose regime dialog keeps "По графикам нагрузки" for the interval and regime kind:
// a run that follows each feeder's own mode sends them to the profile batch.
OZN3HOST_API QSet<int> FidersStoredByProfiles(ToznFDConnection& connection, int sampleIdent, fider::TRegimeKind regime,
                                              const QList<int>& fiders);

}  // namespace profiles
