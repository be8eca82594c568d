#pragma once
#include "import/xlsLVZamerWDLL.h"

// Workbook form of the peak-load (Tmax) measurements of LV networks.
class TxlsLVZamerTmaxForm : public TxlsLVZamerForm {
    Q_OBJECT
public:
    explicit TxlsLVZamerTmaxForm(QWidget* owner = nullptr);
};
