#pragma once
#include "feeders/CalcParamsCustom.h"

class TSamplesTreeBox;
class QWidget;
class TWaAddPanelForm;

// Adds the calculation period, the energy supplied, the fill factor and the energy breakdown pop-up.
class QPushButton;

class TfrmCalcParamsPW : public TfrmCalcParamsCustom {
    Q_OBJECT
public:
    explicit TfrmCalcParamsPW(QWidget* owner = nullptr);
    // Fills the period picker on the parameters' period; false when no period is current.
    bool Prepare() override;
    TSamplesTreeBox* PeriodBox() const { return periods_; }
    // Opens the energy breakdown just under the energy box.
    void ShowWaAdd();
    TWaAddPanelForm* WaAdd() const { return waAdd_; }
    // Loads metering profiles of the chosen period from a file into the feeder's substation; the mode turns to
    // "По графикам нагрузки" when they are stored.
    void LoadProfiles();

private:
    TSamplesTreeBox* periods_;
    QPushButton* loadProfiles_;
    QWidget* panel_;
    TWaAddPanelForm* waAdd_;
};
