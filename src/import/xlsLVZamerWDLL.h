#pragma once
#include "host/TemplateForms.h"

// Workbook form of the energy (W) measurements of LV networks.
class TxlsLVZamerWForm : public TxlsZamerShablonForm {
    Q_OBJECT
public:
    explicit TxlsLVZamerWForm(QWidget* owner = nullptr);
    bool CanOpen() override;
};
