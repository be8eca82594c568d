#pragma once
// The regime calculation's data access: schemes, loads and parameters read for an interval, and runs
// written back. The only place of the calculation that speaks SQL.
#include <QList>
#include <QStringList>
#include <QVariant>
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

// Inserts rows of one table several to a statement: a statement of a block of rows costs little more than
// one of a single row, and a run has hundreds of node and section rows. The first integerColumns columns
// are integers, the others doubles.
class OZN3HOST_API TBlockInsert {
public:
    TBlockInsert(ToznFDConnection& connection, const char* table, const std::vector<const char*>& columns,
                 int integerColumns, int rowsPerStatement);
    ~TBlockInsert();
    void Add(std::initializer_list<QVariant> row);
    // Writes what is buffered; returns the number of rows written.
    int Flush();
    void Clear() { buffered_.clear(); }

private:
    TFDQuery& Statement(int rows);  // prepared on first use
    ToznFDConnection& connection_;
    QString table_;
    std::vector<const char*> columns_;
    int integerColumns_;
    std::vector<std::unique_ptr<TFDQuery>> statements_;  // by rows - 1
    std::vector<QVariant> buffered_;
};

// Writes runs on a connection with an open transaction, committing every few thousand rows.
class OZN3HOST_API TRegimeWriter {
public:
    explicit TRegimeWriter(ToznFDConnection& connection);
    ~TRegimeWriter();
    // Replaces the feeder's run of the interval and calculation type: the new run and its rows come, then
    // the former ones go; when a statement fails the new run is deleted again and the error raised, so
    // that the feeder keeps what it had. Returns the new run's "Ident".
    int Write(const TFiderHHInfo& fider, const TCalcWInfoHHCommon& run, int calcType);
    // Commits what is written (the transaction stays open).
    void Commit();
    int Rows() const { return rows_; }

private:
    int NextIdent();
    void WriteRun(const TFiderHHInfo& fider, const TCalcWInfoHHCommon& run, int calcType, int ident);
    ToznFDConnection& connection_;
    std::unique_ptr<TFDQuery> deleteOthers_, deleteRun_, run_, reserve_;
    std::unique_ptr<TBlockInsert> pBlocks_, wBlocks_, nodes_, sections_;
    int nextIdent_ = 0, lastIdent_ = -1;
    int rows_ = 0, sinceCommit_ = 0;
};

}  // namespace fider
