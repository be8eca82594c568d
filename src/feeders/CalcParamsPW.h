#pragma once
#include "feeders/CalcParamsCustom.h"

class QComboBox;

// Adds the calculation period to the regime dialog.
class TfrmCalcParamsPW : public TfrmCalcParamsCustom {
    Q_OBJECT
public:
    explicit TfrmCalcParamsPW(QWidget* owner = nullptr);
    // Fills the period picker on the parameters' period; false when no period is current.
    bool Prepare() override;
    QComboBox* PeriodBox() const { return periods_; }

private:
    QComboBox* periods_;
};
