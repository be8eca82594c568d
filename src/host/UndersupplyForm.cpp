#include "host/UndersupplyForm.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <xlsxwriter.h>

#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/Spreadsheet.h"
#include "host/WindowPlace.h"
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
    // The report as it will be written, so that the user sees what the workbook will hold.
    title_ = new QLabel(this);
    title_->setObjectName(QStringLiteral("lblTitle"));
    title_->setWordWrap(true);
    preview_ = new QTableWidget(this);
    preview_->setObjectName(QStringLiteral("GridReport"));
    preview_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    preview_->horizontalHeader()->setDefaultAlignment(Qt::AlignCenter);
    preview_->setWordWrap(true);
    layout->addWidget(title_);
    layout->addWidget(preview_, 1);
    layout->addWidget(buttons);
    KeepWindowPlace(*this, QStringLiteral("UndersupplyReport"), QSize(1100, 600));
}

void TfrmMVUndersupplyCommon::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!previewed_) {
        previewed_ = true;
        // Filled once the window stands, so that it appears at once with its title.
        title_->setText(QStringLiteral("Формирование отчета..."));
        QTimer::singleShot(0, this, &TfrmMVUndersupplyCommon::Preview);
    }
}

void TfrmMVUndersupplyCommon::Preview()
{
    QString title, error;
    QStringList captions;
    std::vector<std::vector<Cell>> rows;
    preview_->clear();
    bool filled = false;
    try {
        filled = FillReport(title, captions, rows, error);
    } catch (const std::exception& e) {
        error = QString::fromUtf8(e.what());
    }
    if (!filled) {
        title_->setText(error.isEmpty() ? QStringLiteral("Отчет не сформирован") : error);
        preview_->setRowCount(0);
        preview_->setColumnCount(0);
        return;
    }
    title_->setText(title);
    preview_->setColumnCount(static_cast<int>(captions.size()));
    QStringList wrapped;
    for (const QString& caption : captions)
        wrapped << WrappedCaption(QString(caption).replace(QStringLiteral(", "), QStringLiteral("|")), 22);
    preview_->setHorizontalHeaderLabels(wrapped);
    preview_->setRowCount(static_cast<int>(rows.size()));
    for (size_t r = 0; r < rows.size(); ++r)
        for (size_t c = 0; c < rows[r].size(); ++c) {
            const Cell& cell = rows[r][c];
            const bool number = !cell.format.isEmpty();
            auto* item = new QTableWidgetItem(
                number ? FormatFloat(cell.format, std::isfinite(cell.number) ? cell.number : EmptyFloat()) : cell.text);
            if (number)
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            preview_->setItem(static_cast<int>(r), static_cast<int>(c), item);
        }
    preview_->resizeColumnsToContents();
    for (int c = 0; c < preview_->columnCount(); ++c)
        preview_->setColumnWidth(c, std::min(preview_->columnWidth(c), 260));
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
                                                      QStringLiteral("Книга Excel|*.xlsx"), QStringLiteral("xlsx"),
                                                      host::ProposedSavePath(windowTitle() + QStringLiteral(".xlsx")));
    if (file.isEmpty())
        return;
    QString error;
    if (!CreateReportXLX(file, error))
        host::ShowWarning(error);
    else
        host::ReportSaved(file);
}
