#pragma once
#include "normative/LVNormativMethod01Unit.h"

// Adds the results panel and the batch-calculation menu.
class TLVNormativMethodForm2 : public TLVNormativMethodForm1 {
    Q_OBJECT
public:
    using TLVNormativMethodForm1::TLVNormativMethodForm1;
};
