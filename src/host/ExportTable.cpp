#include "host/ExportTable.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <xlsxwriter.h>

#include "host/Dialogs.h"
#include "host/HostObjects.h"
#include "host/NumericHelpers.h"
#include "host/Spreadsheet.h"
#include "host/WindowPlace.h"
#include "host/XlsxFile.h"

bool WriteExportTable(const TOExport& table, const QString& file, QString& error)
{
    TXlsxFile out(file);
    lxw_workbook* book = out.Open(error);
    if (!book)
        return false;
    const QString name = table.Title().left(31).remove(QRegularExpression(QStringLiteral("[\\[\\]:*?/\\\\]")));
    lxw_worksheet* sheet = workbook_add_worksheet(book, name.isEmpty() ? nullptr : name.toUtf8().constData());
    lxw_format* bold = workbook_add_format(book);
    format_set_bold(bold);
    lxw_format* number = workbook_add_format(book);
    format_set_num_format(number, "#,##0.000");
    worksheet_write_string(sheet, 0, 0, table.Title().toUtf8().constData(), bold);
    worksheet_set_column(sheet, 0, 0, 60, nullptr);
    for (size_t r = 0; r < table.Rows().size(); ++r) {
        const QStringList& cells = table.Rows()[r];
        const auto row = static_cast<lxw_row_t>(r + 2);
        for (int c = 0; c < cells.size(); ++c) {
            double value = 0;
            if (r > 0 && c > 0 && !cells[c].trimmed().isEmpty() && ParseFloat(cells[c], value))
                worksheet_write_number(sheet, row, static_cast<lxw_col_t>(c), value, number);
            else if (!cells[c].isEmpty())
                worksheet_write_string(sheet, row, static_cast<lxw_col_t>(c), cells[c].toUtf8().constData(),
                                       r == 0 ? bold : nullptr);
        }
    }
    return out.Close(error);
}

TExportTableDialog::TExportTableDialog(const TOExport& table, QWidget* owner) : QDialog(owner), table_(table)
{
    setObjectName(QStringLiteral("ExportTable"));
    setWindowTitle(table.Title());
    KeepWindowPlace(*this, QStringLiteral("ExportTable"), QSize(900, 640));
    auto* layout = new QVBoxLayout(this);
    const auto& rows = table.Rows();
    // The first row is the header.
    const int columns = rows.empty() ? 0 : static_cast<int>(rows.front().size());
    grid_ = new QTableWidget(rows.empty() ? 0 : static_cast<int>(rows.size()) - 1, columns, this);
    grid_->setObjectName(QStringLiteral("GridExport"));
    grid_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    if (!rows.empty())
        grid_->setHorizontalHeaderLabels(rows.front());
    for (size_t r = 1; r < rows.size(); ++r)
        for (int c = 0; c < rows[r].size() && c < columns; ++c) {
            auto* item = new QTableWidgetItem(rows[r][c]);
            if (c > 0)
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            grid_->setItem(static_cast<int>(r) - 1, c, item);
        }
    // Every column as wide as its caption and values, so that no caption is cut; a very long one stops at a
    // width the user can still widen.
    grid_->resizeColumnsToContents();
    for (int c = 0; c < columns; ++c)
        grid_->setColumnWidth(c, std::min(grid_->columnWidth(c), 360));
    layout->addWidget(new QLabel(table.Title(), this));
    layout->addWidget(grid_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    auto* copy = buttons->addButton(QStringLiteral("Копировать"), QDialogButtonBox::ActionRole);
    copy->setObjectName(QStringLiteral("btnCopy"));
    auto* save =
        buttons->addButton(QStringLiteral("Сохранить в формате Microsoft Excel..."), QDialogButtonBox::ActionRole);
    save->setObjectName(QStringLiteral("btnSave"));
    connect(copy, &QPushButton::clicked, this, [this] { QApplication::clipboard()->setText(Text()); });
    connect(save, &QPushButton::clicked, this, &TExportTableDialog::Save);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

QString TExportTableDialog::Text() const
{
    QStringList lines{table_.Title()};
    for (const QStringList& row : table_.Rows())
        lines << row.join(QLatin1Char('\t'));
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

void TExportTableDialog::Save()
{
    const QString file = host::dialogs().SaveFileName(QStringLiteral("Сохранить в формате Microsoft Excel"),
                                                      QStringLiteral("Книга Excel|*.xlsx"), QStringLiteral("xlsx"),
                                                      host::ProposedSavePath(table_.Title() + QStringLiteral(".xlsx")));
    if (file.isEmpty())
        return;
    QString error;
    if (!WriteExportTable(table_, file, error))
        host::ShowWarning(error);
    else
        host::ReportSaved(file);
}
