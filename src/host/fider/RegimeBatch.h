#pragma once
// The regime calculation of many LV feeders: read once, calculated on a worker thread while one
// connection writes, stoppable between feeders. Used by the command line and by the application.
#include <QList>
#include <QString>
#include <functional>

#include "host/HostApi.h"
#include "host/fider/RegimeStore.h"

class TfdbDatabase;
class ToznFDConnection;
class TfdbTree;

namespace fider {

// The LV feeders under a node of the tree (the node itself when it is one), each once.
OZN3HOST_API QList<int> LVFidersUnder(const TfdbTree& tree, int ident);

struct OZN3HOST_API TRegimeBatchEvents {
    // A text of what is being done, then the position among the feeders.
    std::function<void(const QString& text)> Stage;
    std::function<void(int done, int total)> Progress;
    std::function<void(const TFiderJob& job, const QStringList& problems)> Refused;
    // Called once the feeder's run is committed.
    std::function<void(const TFiderJob& job, const TCalcWInfoHHCommon& run, int ident)> Stored;
    // A calculated feeder whose run is not in the database because the database failed (a full disk, a lost
    // connection) before it was committed.
    std::function<void(const TFiderJob& job, const QString& reason)> NotStored;
    // Asked after every feeder: true stops the run; what is stored stays.
    std::function<bool()> Cancelled;
    // Asked from another thread while a write waits for rows another user holds: true ends the wait.
    std::function<bool()> StopWaiting;
};

// How long a feeder's write waits for rows another user holds before that feeder is reported unwritten.
inline constexpr int kRegimeLockTimeoutMs = 5000;

struct OZN3HOST_API TRegimeBatchResult {
    // Calculated: stored runs (each one checked in the database after a failure); Refused: feeders that could
    // not be calculated or written; NotStored: calculated, lost with a failure of the database; the rest of
    // Total were not reached.
    int Total = 0, Calculated = 0, Refused = 0, NotStored = 0;
    bool Cancelled = false;
    QString Failure;       // a database error that stopped the run
    bool Verified = true;  // after a failure: whether the database could be asked what it holds
    QString LastStored;    // "name (GUID)" of the last feeder stored, in the order of the run
    int Rows = 0;          // rows written
    double ReadSeconds = 0, Seconds = 0;
    int NotReached() const { return Total - Calculated - Refused - NotStored; }
};
// The users' words for a run that a database failure stopped: what is stored, what is not, and the last feeder
// stored.
OZN3HOST_API QString FailureSummary(const TRegimeBatchResult& result);
// "name (GUID)" of a feeder of a run, as the log, the messages and LastStored name it.
OZN3HOST_API QString FiderTitle(const TFiderJob& job);

// Calculates and stores the feeders for the request on a connection of its own.
OZN3HOST_API TRegimeBatchResult RunRegimeBatch(TfdbDatabase& database, const QList<int>& fiders,
                                               const TRegimeRequest& request, const TRegimeBatchEvents& events);
// The same on a connection without an open transaction, with the defaults of the fill factor and cos φ.
OZN3HOST_API TRegimeBatchResult RunRegimeBatch(ToznFDConnection& connection, double defaultKzap, double defaultCosFi,
                                               const QList<int>& fiders, const TRegimeRequest& request,
                                               const TRegimeBatchEvents& events);

}  // namespace fider
