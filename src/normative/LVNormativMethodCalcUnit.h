#pragma once
#include <QThread>
#include <functional>
#include <vector>

#include "host/SamplePeriods.h"
#include "normative/LVNormativUnit.h"

class TfdbDatabase;
class TfdbTree;
class ToznListItemCommon;

// What the batch tells whoever shows its progress; every call arrives on the main thread.
struct TCalcEvents {
    std::function<void(const QString&)> Status;
    std::function<void(int)> Count;
    std::function<void(const QString&, const QString&)> Log;  // element, message
    std::function<void(int processed, const QString& error)> Finish;
};

// The batch normative calculation on a worker thread: every element of one level under a start item
// of the network tree, for one period. Cancel is the thread's interruption flag, polled during the
// walk and before each element.
class TCalcThread : public QThread {
    Q_OBJECT
public:
    // The calculation object reused for every element.
    class TLVNormativSampleCalc : public TLVNormativSample0 {};

    // context: an object of the main thread through which the events are posted.
    TCalcThread(QObject* context, TCalcEvents events, TfdbDatabase* database, TfdbTree* tree, int startIdent,
                int levelCode, const TSamplePeriodInfo& period);
    // The tree node type collected for a level code (1 company ... 7 substation); 0 for none.
    static int NodeTypeOfLevel(int levelCode);
    // Items of the target level under the start item, in tree order (links taken as their nodes).
    std::vector<ToznListItemCommon*> BuildList();
    int Processed() const { return processed_; }
    // How long a save waits for rows another user holds before it gives up on that element (and retries).
    void SetLockTimeout(int milliseconds) { lockTimeoutMs_ = milliseconds; }

protected:
    void run() override;

private:
    void Post(std::function<void()> f);
    void Collect(ToznListItemCommon* item, int target, std::vector<ToznListItemCommon*>& list);
    QObject* context_;
    TCalcEvents events_;
    TfdbDatabase* database_;
    TfdbTree* tree_;
    int startIdent_, levelCode_;
    TSamplePeriodInfo period_;
    int processed_ = 0;
    int lockTimeoutMs_ = 5000;
};
