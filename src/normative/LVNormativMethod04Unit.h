#pragma once
#include "normative/LVNormativMethod03Unit.h"

// Adds the summary page by levels of the hierarchy.
class TLVNormativMethodForm4 : public TLVNormativMethodForm3 {
    Q_OBJECT
public:
    using TLVNormativMethodForm3::TLVNormativMethodForm3;
};
