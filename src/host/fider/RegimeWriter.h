#pragma once
// Writing runs of the regime calculation: feeders are written in groups, each table's rows of a group
// several to a statement, because a statement costs far more than the row it carries.
#include <QSet>
#include <QStringList>
#include <QVariant>
#include <memory>
#include <vector>

#include "host/HostApi.h"
#include "host/fider/RegimeCalc.h"

class ToznFDConnection;
class TFDQuery;

namespace fider {

// One statement a row, or one "execute block" for several rows. `rowStatement` holds %1, %2, … where the
// row's values go; `types` are their SQL types.
class OZN3HOST_API TBlockStatement {
public:
    TBlockStatement(ToznFDConnection& connection, const QString& rowStatement, const QStringList& types,
                    int rowsPerStatement);
    ~TBlockStatement();
    void Add(std::initializer_list<QVariant> row);
    void Add(const std::vector<QVariant>& row);
    // Runs what is buffered; returns the number of rows.
    int Flush();
    void Clear() { buffered_.clear(); }

private:
    TFDQuery& Statement(int rows);  // prepared on first use
    ToznFDConnection& connection_;
    QString rowStatement_;
    QStringList types_;
    std::vector<std::unique_ptr<TFDQuery>> statements_;  // by rows - 1
    std::vector<QVariant> buffered_;
};

// Writes runs on a connection with an open transaction, committing every few thousand rows. Each feeder's
// run replaces its former run of the interval and calculation type, or nothing changes for it.
class OZN3HOST_API TRegimeWriter {
public:
    // Attempts at a feeder on its own when another user changed or holds its rows, or wrote its run meanwhile:
    // each one after the first in a fresh transaction, which sees the other user's run and replaces it. Each
    // may wait the connection's lock timeout.
    static constexpr int kWriteAttempts = 3;
    TRegimeWriter(ToznFDConnection& connection, int sampleIdent, int calcType);
    ~TRegimeWriter();
    // Adds a feeder's run to the group to write; the objects stay alive until Write. Returns its "Ident".
    int Add(const TFiderHHInfo& fider, const TCalcWInfoHHCommon& run);
    int Waiting() const { return static_cast<int>(pending_.size()); }
    // Writes the group: per feeder added since the last Write, in order, an empty text when its run is
    // stored or the database's error when it is not (its former run is then as it was).
    QStringList Write();
    // Commits what is written (the transaction stays open).
    void Commit();
    // Tells the writer that its connection's transaction was committed by its owner.
    void Committed() { sinceCommit_ = 0; }
    int Rows() const { return rows_; }

private:
    struct Pending {
        const TFiderHHInfo* fider;
        const TCalcWInfoHHCommon* run;
        int ident;
    };
    int NextIdent();
    // Writes feeders' runs and deletes their former ones, all or nothing; false with lastError_.
    bool TryGroup(const std::vector<Pending>& group);
    void WriteGroup(const std::vector<Pending>& group);  // raises the database's error
    void Buffer(const Pending& p);
    void ClearBuffers();
    ToznFDConnection& connection_;
    int sampleIdent_, calcType_;
    std::unique_ptr<TFDQuery> reserve_, savepoint_, release_, undo_;
    std::unique_ptr<TBlockStatement> runs_, pBlocks_, wBlocks_, nodes_, sections_, deleteFormer_, profileRuns_;
    QString lastError_;
    bool lastConflict_ = false;  // the last error was another user's rows, worth another attempt
    std::vector<Pending> pending_;
    int nextIdent_ = 0, lastIdent_ = -1;
    int rows_ = 0, sinceCommit_ = 0;
};

}  // namespace fider
