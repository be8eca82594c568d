#pragma once
// The viewer of the HTML reports of a line and of a substation.
#include <QDialog>

#include "feeders/LVFidersReports.h"

class QTextBrowser;

// Shows the report of a line or of the opened substation in a viewer; the modal result, 0 when the line is
// not in the data.
int OpenLineReport(QWidget* owner, TRep_Data& data, int fiderGuid);
int OpenSubstationReport(QWidget* owner, TRep_Data& data);
// The same from a connection alone: the substation is read in a read transaction of its own when the
// connection has none open. 0 when the line or the substation does not exist. Database errors are thrown
// (EDatabaseError).
int OpenLineReport(QWidget* owner, ToznFDConnection& connection, int fiderGuid);
int OpenSubstationReport(QWidget* owner, ToznFDConnection& connection, int nodeGuid, int year = 0);

// A viewer of an HTML report that prints it and saves it as PDF. The report name is the object name of the
// window and the default name of its PDF file; the title, when given, is shown instead of it.
class TfrmReportHTML : public QDialog {
    Q_OBJECT
public:
    TfrmReportHTML(QWidget* owner, const QString& reportName, const QString& html, const QString& title = {});
    static int Show(QWidget* owner, const QString& reportName, const QString& html, const QString& title = {});
    QString ReportName() const { return name_; }
    QString Html() const;
    // Writes the report as PDF; false when the file could not be written.
    bool SavePdf(const QString& file);
    void Print();

private:
    QString name_;
    QTextBrowser* view_;
};
