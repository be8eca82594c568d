#pragma once
#include "host/TemplateForms.h"

// Workbook form of the peak-load (Tmax) measurements of LV networks.
class TxlsLVZamerTmaxForm : public TxlsZamerShablonForm {
    Q_OBJECT
public:
    explicit TxlsLVZamerTmaxForm(QWidget* owner = nullptr);
    bool CanOpen() override;
};
