#pragma once
#include "feeders/CalcParamsPW.h"

// Parameters of the regime by mean loads.
class TfrmCalcParamsMiddle : public TfrmCalcParamsPW {
    Q_OBJECT
public:
    explicit TfrmCalcParamsMiddle(QWidget* owner = nullptr);
};
