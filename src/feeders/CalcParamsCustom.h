#pragma once
#include <QDialog>

class TFiderHHCalcParams;
class QVBoxLayout;
class QTabBar;

// Base of the regime parameter dialogs: the level tabs and OK / cancel around the parameters.
class TfrmCalcParamsCustom : public QDialog {
    Q_OBJECT
public:
    explicit TfrmCalcParamsCustom(QWidget* owner = nullptr);
    // The working copy the dialog edits (owned by the caller of the dialog).
    void SetParams(TFiderHHCalcParams* params) { params_ = params; }
    TFiderHHCalcParams* Params() const { return params_; }
    // Readies the dialog; false when it cannot be shown.
    virtual bool Prepare();
    // Called by the parameters after each change.
    virtual void ParamsChanged() {}

protected:
    QVBoxLayout* Body() const { return body_; }

private:
    TFiderHHCalcParams* params_ = nullptr;
    QVBoxLayout* body_;
    QTabBar* levels_;
};
