#pragma once
#include "results/UnitPesResultsLV.h"

// The PES results report in its second layout.
class TfrmPesResultsLV32 : public TfrmPesResultsLV {
    Q_OBJECT
public:
    explicit TfrmPesResultsLV32(QWidget* owner = nullptr);
};
