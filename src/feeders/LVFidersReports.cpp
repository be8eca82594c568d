#include "feeders/LVFidersReports.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QTextBrowser>
#include <QTextDocument>
#include <QVBoxLayout>

#include "feeders/DataMod.h"
#include "host/Dialogs.h"
#include "host/NumericHelpers.h"

namespace {
QString cell(double v, const char* pattern) { return FormatFloat(QString::fromLatin1(pattern), v); }

QString sampleTable(TRep_Data& data, int guid)
{
    QString html = QStringLiteral(
        "<table border='1' cellspacing='0' cellpadding='3'><tr><th>Дата замера</th><th>Основной</th>"
        "<th>Iа, А</th><th>Iв, А</th><th>Iс, А</th><th>Uг.у. ср., В</th><th>Uу.т. ср., В</th><th>Тmax, часов</th>"
        "<th>К-т разветвленности, о.е.</th><th>Кн/м, о.е.</th><th>Р г.у., кВт</th><th>W г.у., тыс. кВтч</th>"
        "<th>P, кВт</th><th>W , тыс. кВтч</th></tr>");
    for (TRep_Data::Sample* s : data.SamplesOf(guid)) {
        const double u = (s->U[0] + s->U[1] + s->U[2]) / 3, u2 = (s->U2[0] + s->U2[1] + s->U2[2]) / 3;
        html += QStringLiteral("<tr><td>%1</td><td>%2</td>")
                    .arg(s->SampleDate.toString(QStringLiteral("dd.MM.yyyy")),
                         s->IsMain == 1 ? QStringLiteral("да") : QString());
        for (double v : {s->I[0], s->I[1], s->I[2]})
            html += QStringLiteral("<td align='right'>%1</td>").arg(cell(v, "0.##"));
        html +=
            QStringLiteral("<td align='right'>%1</td><td align='right'>%2</td>").arg(cell(u, "0.00"), cell(u2, "0.00"));
        html += QStringLiteral("<td align='right'>%1</td><td align='right'>%2</td><td align='right'>%3</td>")
                    .arg(cell(s->Tmax, "0"), cell(s->Krazv, "0.00"), cell(s->Knm, "0.000"));
        for (double v : {s->P, s->Wa, s->DP, s->DW})
            html += QStringLiteral("<td align='right'>%1</td>").arg(cell(v, "#,##0.000"));
        html += QStringLiteral("</tr>");
    }
    return html + QStringLiteral("</table>");
}

QString lineHeader(TRep_Data& data, const TRep_Data::Fider& fider)
{
    const TRep_Data::FiderA& a = data.Attributes(fider.GUID);
    const TProvodRec* provod = data.Provods().GetProvodRec(a.ProvodPhase);
    QString typeLoad;
    for (const auto& t : data.TypeLoads())
        if (t.Ident == fider.TypeLoad)
            typeLoad = t.Name;
    return QStringLiteral("<h3>Линия %1</h3><p>Характер нагрузки: %2<br>Марка фазного пр.: %3<br>"
                          "Длина фидера, км: %4<br>К-т мощности Г.У., о.е.: %5</p>")
        .arg(fider.Name.toHtmlEscaped(), typeLoad.toHtmlEscaped(), provod ? provod->Text().toHtmlEscaped() : QString(),
             FormatFloat3(a.LineLength), FormatFloat3(a.CosFi));
}
}  // namespace

QString LineReportHtml(TRep_Data& data, int guid)
{
    TRep_Data::Fider* fider = data.FindFider(guid);
    if (!fider)
        return {};
    return QStringLiteral("<html><body>") + lineHeader(data, *fider) + sampleTable(data, guid) +
           QStringLiteral("</body></html>");
}

QString SubstationReportHtml(TRep_Data& data, const QString& title)
{
    QString html = QStringLiteral("<html><body><h2>%1</h2>").arg(title.toHtmlEscaped());
    for (const TRep_Data::Fider& fider : data.Fiders())
        if (fider.state != TRep_Data::RowState::Deleted)
            html += lineHeader(data, fider) + sampleTable(data, fider.GUID);
    return html + QStringLiteral("</body></html>");
}

TfrmReportHTML::TfrmReportHTML(QWidget* owner, const QString& reportName, const QString& html)
    : QDialog(owner), name_(reportName)
{
    setObjectName(QStringLiteral("frmReportHTML"));
    setWindowTitle(reportName);
    resize(900, 600);
    auto* layout = new QVBoxLayout(this);
    view_ = new QTextBrowser(this);
    view_->setObjectName(QStringLiteral("Browser"));
    view_->setHtml(html);
    layout->addWidget(view_);
    auto* buttons = new QDialogButtonBox(this);
    auto* print = buttons->addButton(QStringLiteral("Печать"), QDialogButtonBox::ActionRole);
    auto* pdf = buttons->addButton(QStringLiteral("Сохранить в PDF"), QDialogButtonBox::ActionRole);
    pdf->setObjectName(QStringLiteral("btnPdf"));
    buttons->addButton(QStringLiteral("Закрыть"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(print, &QPushButton::clicked, this, &TfrmReportHTML::Print);
    connect(pdf, &QPushButton::clicked, this, [this] {
        const QString file =
            host::dialogs().SaveFileName(QStringLiteral("Сохранить отчет"), QStringLiteral("Документ PDF|*.pdf"),
                                         QStringLiteral("pdf"), name_ + QStringLiteral(".pdf"));
        if (!file.isEmpty() && !SavePdf(file))
            host::ShowWarning(QStringLiteral("Не удалось записать файл %1").arg(file));
    });
    layout->addWidget(buttons);
}

int TfrmReportHTML::Show(QWidget* owner, const QString& reportName, const QString& html)
{
    TfrmReportHTML form(owner, reportName, html);
    return form.exec();
}

QString TfrmReportHTML::Html() const { return view_->toHtml(); }

bool TfrmReportHTML::SavePdf(const QString& file)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(file);
    view_->document()->print(&printer);
    return QFileInfo(file).size() > 0;
}

void TfrmReportHTML::Print()
{
    QPrinter printer;
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted)
        view_->document()->print(&printer);
}
