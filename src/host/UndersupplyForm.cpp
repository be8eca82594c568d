#include "host/UndersupplyForm.h"

#include <cmath>

#include <QDialogButtonBox>
#include <QFile>
#include <QPushButton>
#include <QVBoxLayout>
#include <xlsxwriter.h>

#include "host/Dialogs.h"
#include "host/XlsxFile.h"

TfrmMVUndersupplyCommon::TfrmMVUndersupplyCommon(QWidget* owner) : QDialog(owner)
{
    auto* layout = new QVBoxLayout(this);
    auto* buttons = new QDialogButtonBox(this);
    auto* make = buttons->addButton(QStringLiteral("Сформировать отчет"), QDialogButtonBox::ActionRole);
    make->setObjectName(QStringLiteral("btnMakeReport"));
    buttons->addButton(QStringLiteral("Закрыть"), QDialogButtonBox::RejectRole);
    connect(make, &QPushButton::clicked, this, &TfrmMVUndersupplyCommon::MakeReport);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addStretch();
    layout->addWidget(buttons);
}

bool TfrmMVUndersupplyCommon::CreateReportXLX(const QString& file, QString& error)
{
    QString title;
    QStringList captions;
    std::vector<std::vector<Cell>> rows;
    if (!FillReport(title, captions, rows, error))
        return false;
    TXlsxFile out(file);
    lxw_workbook* book = out.Open(error);
    if (!book)
        return false;
    lxw_worksheet* sheet = workbook_add_worksheet(book, SheetName().left(31).toUtf8().constData());
    lxw_format* bold = workbook_add_format(book);
    format_set_bold(bold);
    format_set_font_name(bold, "Times New Roman");
    worksheet_write_string(sheet, 0, 0, title.toUtf8().constData(), bold);
    for (int c = 0; c < captions.size(); ++c) {
        worksheet_write_string(sheet, 2, static_cast<lxw_col_t>(c), captions[c].toUtf8().constData(), bold);
        worksheet_set_column(sheet, static_cast<lxw_col_t>(c), static_cast<lxw_col_t>(c), c == 0 ? 40 : 18, nullptr);
    }
    QHash<QString, lxw_format*> formats;
    for (size_t r = 0; r < rows.size(); ++r)
        for (size_t c = 0; c < rows[r].size(); ++c) {
            const Cell& cell = rows[r][c];
            const lxw_row_t row = static_cast<lxw_row_t>(r + 3);
            if (cell.format.isEmpty()) {
                if (!cell.text.isEmpty())
                    worksheet_write_string(sheet, row, static_cast<lxw_col_t>(c), cell.text.toUtf8().constData(),
                                           nullptr);
                continue;
            }
            if (!std::isfinite(cell.number))
                continue;  // an unknown value stays empty, never a zero
            lxw_format*& f = formats[cell.format];
            if (!f) {
                f = workbook_add_format(book);
                format_set_num_format(f, cell.format.toUtf8().constData());
            }
            worksheet_write_number(sheet, row, static_cast<lxw_col_t>(c), cell.number, f);
        }
    return out.Close(error);
}

void TfrmMVUndersupplyCommon::MakeReport()
{
    const QString file = host::dialogs().SaveFileName(QStringLiteral("Сохранить отчет"),
                                                      QStringLiteral("Книга Excel|*.xlsx"), QStringLiteral("xlsx"), {});
    if (file.isEmpty())
        return;
    QString error;
    if (!CreateReportXLX(file, error))
        host::ShowWarning(error);
}
