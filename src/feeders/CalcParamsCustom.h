#pragma once
#include <QDialog>
#include <functional>
#include <vector>

#include "host/FiderHHCalcParams.h"

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLineEdit;
class QTabBar;
class QVBoxLayout;
class TEditConstraints;

// Base of the regime parameter dialogs: the level tabs, the head-of-line values, temperature, Kdp,
// the calculation mode, "Установить" and the buttons. Every box is bound to one parameter.
class TfrmCalcParamsCustom : public QDialog {
    Q_OBJECT
public:
    explicit TfrmCalcParamsCustom(QWidget* owner = nullptr);
    // The working copy the dialog edits (owned by the caller of the dialog).
    void SetParams(TFiderHHCalcParams* params) { params_ = params; }
    TFiderHHCalcParams* Params() const { return params_; }
    // Reads and keeps the stored parameters of the period.
    void SetStorage(std::function<void()> load, std::function<void()> save);
    // Readies the dialog; false when it cannot be shown.
    virtual bool Prepare();
    // Called by the parameters after each change.
    virtual void ParamsChanged();
    // Shows every box from its parameter at the chosen level.
    void RefreshBoxes();

    TLVCalcLevel Level() const;
    void SetLevel(TLVCalcLevel level);
    QLineEdit* Box(const QString& name) const;
    // The "Установить" actions.
    void CopyAll();
    void CopyEnergy();
    TEditConstraints& Constraints() const { return *constraints_; }
    // Before the values of another interval are shown: no field may hold a refused text, and values typed for
    // the interval shown are saved, dropped or kept with the interval as the user answers. False to stay.
    bool ConfirmLeaveInterval();

protected:
    struct BoxBinding {
        QLineEdit* edit;
        TParamField field;
        QString format;
        std::function<double(TLVCalcLevel)> get;
        bool lineless;  // no value on the levels "Текущие" and "Линия"
        bool energy;
    };
    // Adds a box with its caption in the next row of the dialog's grid.
    QLineEdit* AddBox(const QString& name, const QString& caption, TParamField field, const QString& format,
                      std::function<double(TLVCalcLevel)> get = {}, bool lineless = false, bool energy = false);
    // Adds three phase boxes in one row.
    void AddPhaseBoxes(const QString& prefix, const QString& caption, TParamField first, const QString& format);
    QGridLayout* Grid() const { return grid_; }
    QVBoxLayout* Body() const { return body_; }
    QComboBox* ModeBox() const { return mode_; }
    // Reads the stored parameters of the chosen period, when the dialog has storage; what is shown then is what
    // the user has not changed.
    void LoadStored();
    // Warns about the fields that hold a refused text; true when there is none.
    bool FieldsAccepted();
    bool HasStorage() const { return static_cast<bool>(load_); }
    void SetModes(const QStringList& captions);
    void accept() override;

private:
    void BoxEdited(BoxBinding& box);
    void SetupConstraint(QLineEdit* edit, const QString& caption, TParamField field);
    TFiderHHCalcParams* params_ = nullptr;
    std::vector<BoxBinding> boxes_;
    std::function<void()> load_, save_;
    QVBoxLayout* body_;
    QGridLayout* grid_;
    QTabBar* levels_;
    QComboBox* mode_;
    QCheckBox* saveToDb_;
    bool refreshing_ = false;
    TEditConstraints* constraints_;
    TLVCalcValues loaded_;  // the current values as read for the interval shown
    int shownLevel_ = 0;
};
