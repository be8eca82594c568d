#include "normative/LVNormativMethod03Unit.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QTabWidget>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/Spreadsheet.h"
#include "host/Tree.h"
#include "normative/LVNormativReports.h"

void TLVNormativMethodForm3::Created()
{
    TLVNormativMethodForm2::Created();
    auto* page = new QWidget(Pages());
    page->setObjectName(QStringLiteral("tsReport"));
    auto* layout = new QVBoxLayout(page);
    report_ = new QTextBrowser(page);
    report_->setObjectName(QStringLiteral("ReportView"));
    layout->addWidget(report_);
    auto* buttons = new QHBoxLayout;
    auto* print = new QPushButton(QStringLiteral("Печать"), page);
    print->setObjectName(QStringLiteral("btnPrint"));
    auto* save = new QPushButton(QStringLiteral("Сохранить в Excel"), page);
    save->setObjectName(QStringLiteral("btnSaveXls"));
    buttons->addStretch();
    buttons->addWidget(print);
    buttons->addWidget(save);
    layout->addLayout(buttons);
    Pages()->addTab(page, QStringLiteral("Отчет"));
    connect(print, &QPushButton::clicked, this, [this] {
        QPrinter printer;
        QPrintDialog dialog(&printer, this);
        if (dialog.exec() == QDialog::Accepted)
            report_->document()->print(&printer);
    });
    connect(save, &QPushButton::clicked, this, [this] {
        ToznListItemCommon* item = SelectedItem();
        if (!item)
            return;
        const QString file = host::dialogs().SaveFileName(
            QStringLiteral("Сохранить отчет"), QStringLiteral("Книга Excel|*.xls"), QStringLiteral("xls"),
            host::ProposedSavePath(NormativeReportFileName(item->GetText(), Period().Name)));
        if (file.isEmpty())
            return;
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly) || out.write(ReportHtml().toUtf8()) < 0)
            host::ShowWarning(QStringLiteral("Не удалось записать файл %1").arg(file));
        else
            host::ReportSaved(file);
    });
    // The report follows the chosen element and period while its page is shown.
    connect(this, &TLVNormativMethodForm1::SelectionChanged, this, [this] {
        if (Pages()->currentWidget() == report_->parentWidget())
            RefreshReport();
    });
    connect(Pages(), &QTabWidget::currentChanged, this, [this] {
        if (Pages()->currentWidget() == report_->parentWidget())
            RefreshReport();
    });
}

void TLVNormativMethodForm3::RefreshReport() { report_->setHtml(ReportHtml()); }

QString TLVNormativMethodForm3::ReportHtml() const
{
    ToznListItemCommon* item = SelectedItem();
    return item && !Period().isEmpty()
               ? NormativeReportHtml(*Database()->GetDefaultConnection(), item, Period(), SummaryScope())
               : QString();
}

QString TLVNormativMethodForm3::SaveReport(const QString& folder) const
{
    ToznListItemCommon* item = SelectedItem();
    if (!item)
        return {};
    const QString file = QDir(folder).filePath(NormativeReportFileName(item->GetText(), Period().Name));
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(ReportHtml().toUtf8()) < 0)
        return {};
    return file;
}
