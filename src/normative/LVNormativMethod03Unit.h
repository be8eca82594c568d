#pragma once
#include "normative/LVNormativMethod02Unit.h"

// Adds the report page.
class TLVNormativMethodForm3 : public TLVNormativMethodForm2 {
    Q_OBJECT
public:
    using TLVNormativMethodForm2::TLVNormativMethodForm2;
};
