#pragma once
#include <QDialog>
#include <cstdint>

// Undersupply report of LV feeders.
class TfrmLVUndersupply : public QDialog {
    Q_OBJECT
public:
    explicit TfrmLVUndersupply(QWidget* owner = nullptr);
    void SetParam(intptr_t param) { param_ = param; }
    intptr_t Param() const { return param_; }

private:
    intptr_t param_ = 0;
};
