#pragma once
#include "host/TemplateForms.h"

// Workbook of the generalised data of the normative method.
class TxlsLVZamerSocialForm : public TxlsZamerShablonForm {
    Q_OBJECT
public:
    explicit TxlsLVZamerSocialForm(QWidget* owner = nullptr);
    bool CanOpen() override;
};
