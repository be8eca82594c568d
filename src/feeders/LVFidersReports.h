#pragma once
#include <QDialog>
#include <QString>

class TRep_Data;
class QTextBrowser;

// The samples and results of one line, as an HTML document.
QString LineReportHtml(TRep_Data& data, int fiderGuid);
// The samples and results of every line of the substation.
QString SubstationReportHtml(TRep_Data& data, const QString& title);

// A viewer of an HTML report that prints it and saves it as PDF.
class TfrmReportHTML : public QDialog {
    Q_OBJECT
public:
    TfrmReportHTML(QWidget* owner, const QString& reportName, const QString& html);
    static int Show(QWidget* owner, const QString& reportName, const QString& html);
    QString Html() const;
    // Writes the report as PDF; false when the file could not be written.
    bool SavePdf(const QString& file);
    void Print();

private:
    QString name_;
    QTextBrowser* view_;
};
