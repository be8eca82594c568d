#include "feeders/ReportHTMLForm.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QFileInfo>
#include <QPageLayout>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QTextBrowser>
#include <QTextDocument>
#include <QVBoxLayout>

#include "host/Dialogs.h"
#include "host/Spreadsheet.h"
#include "host/WindowPlace.h"

int OpenLineReport(QWidget* owner, TRep_Data& data, int guid)
{
    const TRep_Data::Fider* fider = data.FindFider(guid);
    if (!fider)
        return 0;
    const QString title = LineReportTitle(fider->Name);
    return TfrmReportHTML::Show(owner, QString::fromLatin1(kLineReportName), LineReportHtml(data, guid), title);
}

int OpenSubstationReport(QWidget* owner, TRep_Data& data)
{
    const QString title = SubstationReportTitle(data.ReadSubstation().Name);
    return TfrmReportHTML::Show(owner, QString::fromLatin1(kSubstationReportName), SubstationReportHtml(data), title);
}

int OpenLineReport(QWidget* owner, ToznFDConnection& connection, int guid)
{
    QString title;
    const QString html = LineReportHtml(connection, guid, title);
    return html.isEmpty() ? 0 : TfrmReportHTML::Show(owner, QString::fromLatin1(kLineReportName), html, title);
}

int OpenSubstationReport(QWidget* owner, ToznFDConnection& connection, int nodeGuid, int year)
{
    QString title;
    const QString html = SubstationReportHtml(connection, nodeGuid, year, title);
    return html.isEmpty() ? 0 : TfrmReportHTML::Show(owner, QString::fromLatin1(kSubstationReportName), html, title);
}

TfrmReportHTML::TfrmReportHTML(QWidget* owner, const QString& reportName, const QString& html, const QString& title)
    : QDialog(owner), name_(reportName)
{
    setObjectName(reportName);
    setWindowTitle(title.isEmpty() ? reportName : title);
    KeepWindowPlace(*this, QStringLiteral("Report"), QSize(1100, 700));
    auto* layout = new QVBoxLayout(this);
    view_ = new QTextBrowser(this);
    view_->setObjectName(QStringLiteral("Browser"));
    view_->setHtml(html);
    layout->addWidget(view_);
    auto* buttons = new QDialogButtonBox(this);
    auto* print = buttons->addButton(QStringLiteral("Печать"), QDialogButtonBox::ActionRole);
    print->setObjectName(QStringLiteral("btnPrint"));
    auto* pdf = buttons->addButton(QStringLiteral("Сохранить в PDF"), QDialogButtonBox::ActionRole);
    pdf->setObjectName(QStringLiteral("btnPdf"));
    buttons->addButton(QStringLiteral("Закрыть"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(print, &QPushButton::clicked, this, &TfrmReportHTML::Print);
    connect(pdf, &QPushButton::clicked, this, [this] {
        const QString file =
            host::dialogs().SaveFileName(QStringLiteral("Сохранить отчет"), QStringLiteral("Документ PDF|*.pdf"),
                                         QStringLiteral("pdf"), host::ProposedSavePath(name_ + QStringLiteral(".pdf")));
        if (file.isEmpty())
            return;
        if (!SavePdf(file))
            host::ShowWarning(QStringLiteral("Не удалось записать файл %1").arg(file));
        else
            host::ReportSaved(file);
    });
    layout->addWidget(buttons);
}

int TfrmReportHTML::Show(QWidget* owner, const QString& reportName, const QString& html, const QString& title)
{
    TfrmReportHTML form(owner, reportName, html, title);
    return form.exec();
}

QString TfrmReportHTML::Html() const { return view_->toHtml(); }

bool TfrmReportHTML::SavePdf(const QString& file)
{
    // A former file of the name must not pass for the one written.
    if (QFileInfo::exists(file) && !QFile::remove(file))
        return false;
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(file);
    printer.setDocName(windowTitle());
    // The tables of the samples are wide: the report is laid out across the page.
    printer.setPageOrientation(QPageLayout::Landscape);
    view_->document()->print(&printer);
    return QFileInfo(file).size() > 0;
}

void TfrmReportHTML::Print()
{
    QPrinter printer;
    printer.setDocName(windowTitle());
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted)
        view_->document()->print(&printer);
}
