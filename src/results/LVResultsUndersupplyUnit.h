#pragma once
#include "host/UndersupplyForm.h"

// Undersupply report of LV feeders: one row per LV feeder under the object the host passes as its
// parameter, for the latest sample with results.
class TfrmLVUndersupply : public TfrmMVUndersupplyCommon {
    Q_OBJECT
public:
    explicit TfrmLVUndersupply(QWidget* owner = nullptr);
    bool FillReport(QString& title, QStringList& captions, std::vector<std::vector<Cell>>& rows,
                    QString& error) override;
};
