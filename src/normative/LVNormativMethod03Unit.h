#pragma once
#include "normative/LVNormativMethod02Unit.h"

class QTextBrowser;

// Adds the report page: the aggregated values of the selected element, printable and savable for the
// spreadsheet application.
class TLVNormativMethodForm3 : public TLVNormativMethodForm2 {
    Q_OBJECT
public:
    using TLVNormativMethodForm2::TLVNormativMethodForm2;
    void Created() override;
    QString ReportHtml() const;
    // Writes the report as an HTML table under an "xls" name in a folder; the file written, empty on failure.
    QString SaveReport(const QString& folder) const;
    void RefreshReport();

private:
    QTextBrowser* report_ = nullptr;
};
