#pragma once
#include "host/TemplateForms.h"

// Menu of the LV calculations over the hierarchy.
class TfrmLVduCalcMenu : public TxlsCustomMenuForm {
    Q_OBJECT
public:
    explicit TfrmLVduCalcMenu(QWidget* owner = nullptr);
    bool CanOpen() override;
};
