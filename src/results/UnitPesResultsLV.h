#pragma once
#include "host/TemplateForms.h"

class TfdbDatabase;

// Report form of the PES results that works with the spreadsheet application.
class TfrmPesResultsLV : public TxlsCustomMenuForm {
    Q_OBJECT
public:
    explicit TfrmPesResultsLV(QWidget* owner = nullptr);
    // False (with a message) when no results are stored under the object.
    bool Init(TfdbDatabase* database, int ident);
    int Level() const { return level_; }

private:
    int level_ = -1;
};
