#pragma once
#include "feeders/CalcParamsPW.h"

// Parameters of the regime by mean loads: adds the measured head currents and the squared shape factor.
class TfrmCalcParamsMiddle : public TfrmCalcParamsPW {
    Q_OBJECT
public:
    explicit TfrmCalcParamsMiddle(QWidget* owner = nullptr);
};
