#pragma once
// The window of the batch normative calculation: status, progress bar, the log of elements and its saving.
#include <QDialog>

#include "normative/LVNormativMethodCalcUnit.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QTableWidget;

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
