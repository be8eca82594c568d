#pragma once
// The regime calculation's data access: schemes, loads and parameters read for an interval, and runs
// written back. The only place of the calculation that speaks SQL.
#include <QList>
#include <QStringList>
#include <memory>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/RegimeSettings.h"

class ToznFDConnection;
class TFDQuery;

namespace fider {

// One feeder ready to calculate: its scheme with the consumers' loads and the resolved settings.
// Problems found while reading (an unknown owner code, a bad phase text) refuse the feeder.
struct OZN3HOST_API TFiderJob {
    TFiderHHInfo Fider;
    TRegimeSettings Settings;
    QStringList Problems;
};

class OZN3HOST_API TRegimeReader {
public:
    TRegimeReader(ToznFDConnection& connection, double defaultKzap, double defaultCosFi);
    // Reads the feeders (in the order given) for the request's interval. A few feeders are read one by
    // one; many are read table by table for the whole interval. A feeder that does not exist is left out.
    std::vector<TFiderJob> Read(const QList<int>& fiders, const TRegimeRequest& request);
    // Hours of an interval ("SamplesDates"); 0 when it does not exist.
    double IntervalHours(int sampleIdent);

private:
    ToznFDConnection& connection_;
    double defaultKzap_, defaultCosFi_;
};

// Writes runs on a connection with an open transaction, committing every few thousand rows.
class OZN3HOST_API TRegimeWriter {
public:
    explicit TRegimeWriter(ToznFDConnection& connection);
    ~TRegimeWriter();
    // Replaces the feeder's run of the interval and calculation type in one step: the former run and its
    // rows go, the new ones come, or nothing changes when a statement fails (the error is raised).
    // Returns the new run's "Ident".
    int Write(const TFiderHHInfo& fider, const TCalcWInfoHHCommon& run, int calcType);
    // Commits what is written (the transaction stays open).
    void Commit();
    int Rows() const { return rows_; }

private:
    int NextIdent();
    void Exec(TFDQuery& query, std::initializer_list<QVariant> values);
    ToznFDConnection& connection_;
    std::unique_ptr<TFDQuery> delete_, run_, pBlock_, wBlock_, node_, section_, savepoint_, release_, undo_, reserve_;
    int nextIdent_ = 0, lastIdent_ = -1;
    int rows_ = 0, sinceCommit_ = 0;
};

}  // namespace fider
