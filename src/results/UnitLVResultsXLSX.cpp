#include "results/UnitLVResultsXLSX.h"

#include <QFile>
#include <QFileInfo>
#include <xlsxwriter.h>

#include "host/NumericHelpers.h"
#include "results/LVResultsColumns.h"
#include "results/UnitLVResultsTree.h"

namespace {
QByteArray utf8(const QString& s) { return s.toUtf8(); }

// The spreadsheet's own number format: thousands separated, decimals after a dot.
lxw_format* numberFormat(lxw_workbook* book, const QString& pattern)
{
    lxw_format* f = workbook_add_format(book);
    format_set_num_format(f, utf8(pattern).constData());
    format_set_font_name(f, "Times New Roman");
    return f;
}

void writeNode(lxw_worksheet* sheet, const TPesResultsLV& node, lxw_row_t& row,
               const std::vector<const TLVResultColumn*>& columns, const std::vector<lxw_format*>& formats,
               lxw_format* name, int first, int& number)
{
    if (first > 1)
        worksheet_write_number(sheet, row, 0, ++number, nullptr);
    worksheet_write_string(sheet, row, static_cast<lxw_col_t>(first - 1),
                           utf8(QString(node.Level() * 2, QLatin1Char(' ')) + node.Text()).constData(), name);
    for (size_t c = 0; c < columns.size(); ++c) {
        if (columns[c]->Text) {
            worksheet_write_string(sheet, row, static_cast<lxw_col_t>(c + first),
                                   utf8(columns[c]->Text(node.Record())).constData(), name);
            continue;
        }
        const double v = columns[c]->Value(node.Record());
        if (!isEmptyFloat(v) && std::isfinite(v))
            worksheet_write_number(sheet, row, static_cast<lxw_col_t>(c + first), v, formats[c]);
    }
    ++row;
    for (int i = 0; i < node.ChildCount(); ++i)
        writeNode(sheet, *node.Child(i), row, columns, formats, name, first, number);
}
}  // namespace

bool WriteResultsXlsx(const QString& file, const TPesResultsLV& tree,
                      const std::vector<const TLVResultColumn*>& columns, const QString& title, QString& error,
                      bool numbered)
{
    const int first = numbered ? 2 : 1;  // the column of the first value
    const QString temporary = file + QStringLiteral(".part");
    QFile::remove(temporary);
    lxw_workbook* book = workbook_new(utf8(temporary).constData());
    if (!book) {
        error = QStringLiteral("Не удалось создать файл %1").arg(file);
        return false;
    }
    lxw_worksheet* sheet = workbook_add_worksheet(book, utf8(QStringLiteral("Результаты")).constData());
    lxw_format* titleFormat = workbook_add_format(book);
    format_set_bold(titleFormat);
    format_set_font_name(titleFormat, "Times New Roman");
    format_set_font_size(titleFormat, 12);
    lxw_format* header = workbook_add_format(book);
    format_set_bold(header);
    format_set_text_wrap(header);
    format_set_border(header, LXW_BORDER_THIN);
    format_set_align(header, LXW_ALIGN_CENTER);
    format_set_font_name(header, "Times New Roman");
    lxw_format* name = workbook_add_format(book);
    format_set_font_name(name, "Times New Roman");
    std::vector<lxw_format*> formats;
    for (const TLVResultColumn* c : columns)
        formats.push_back(numberFormat(book, QString(c->Format).replace(QChar(0x00A0), QLatin1Char(','))));

    worksheet_write_string(sheet, 0, 0, utf8(title).constData(), titleFormat);
    if (numbered)
        worksheet_write_string(sheet, 2, 0, utf8(QStringLiteral("№ п/п")).constData(), header);
    worksheet_write_string(sheet, 2, static_cast<lxw_col_t>(first - 1),
                           utf8(QStringLiteral("Наименование структурного подразделения")).constData(), header);
    worksheet_set_column(sheet, static_cast<lxw_col_t>(first - 1), static_cast<lxw_col_t>(first - 1), 45, nullptr);
    for (size_t c = 0; c < columns.size(); ++c) {
        const QString caption = QString(columns[c]->Caption).replace(QLatin1Char('|'), QLatin1Char('\n'));
        const auto col = static_cast<lxw_col_t>(c + first);
        worksheet_write_string(sheet, 2, col, utf8(caption).constData(), header);
        worksheet_set_column(sheet, col, col, 16, nullptr);
    }
    worksheet_set_row(sheet, 2, 60, nullptr);
    worksheet_freeze_panes(sheet, 3, static_cast<lxw_col_t>(first));
    lxw_row_t row = 3;
    int number = 0;
    writeNode(sheet, tree, row, columns, formats, name, first, number);
    const lxw_error status = workbook_close(book);
    if (status != LXW_NO_ERROR) {
        QFile::remove(temporary);
        error = QStringLiteral("Не удалось записать файл %1: %2").arg(file, QString::fromUtf8(lxw_strerror(status)));
        return false;
    }
    QFile::remove(file);
    if (!QFile::rename(temporary, file)) {
        QFile::remove(temporary);
        error = QStringLiteral("Не удалось записать файл %1").arg(file);
        return false;
    }
    return true;
}
