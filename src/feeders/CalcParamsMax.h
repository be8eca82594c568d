#pragma once
#include "feeders/CalcParamsPW.h"

// Parameters of the regime by maximum load: adds Tmax and the relative loss time.
class TfrmCalcParamsMax : public TfrmCalcParamsPW {
    Q_OBJECT
public:
    explicit TfrmCalcParamsMax(QWidget* owner = nullptr);
};
