#pragma once
#include <QDialog>
#include <QThread>
#include <functional>
#include <vector>

#include "host/SamplePeriods.h"
#include "normative/LVNormativUnit.h"

class TfdbDatabase;
class TfdbTree;
class ToznListItemCommon;
class QLabel;
class QProgressBar;
class QPushButton;
class QTableWidget;

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

// Progress of the batch: status, progress bar, the log of elements and the saving of the log.
class TLVNormativMethodCalcForm : public QDialog {
    Q_OBJECT
public:
    explicit TLVNormativMethodCalcForm(QWidget* owner = nullptr);
    ~TLVNormativMethodCalcForm() override;
    // Starts the batch; the form stays until the user leaves it.
    void Start(TfdbDatabase* database, int startIdent, int levelCode, const TSamplePeriodInfo& period);
    bool Running() const;
    int LogCount() const;
    QStringList LogLines() const;

signals:
    // The batch has ended (done, cancelled or failed): what it stored can be shown.
    void CalculationFinished();

protected:
    void reject() override;
    void closeEvent(QCloseEvent* event) override;

private:
    void StopAndWait();
    void Finished(int processed, const QString& error);
    void SaveLog();
    TCalcThread* thread_ = nullptr;
    QLabel* status_;
    QProgressBar* bar_;
    QTableWidget* log_;
    QPushButton* stop_;
    QPushButton* save_;
};
