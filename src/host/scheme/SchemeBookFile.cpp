#include "host/scheme/SchemeBookFile.h"

#include <QFileInfo>
#include <xlsxwriter.h>

#include "host/NumericHelpers.h"
#include "host/XlsxFile.h"
#include "host/XlsxReader.h"

namespace scheme {

namespace {
QString CellText(const QVariant& value)
{
    if (!value.isValid() || value.isNull())
        return {};
    if (value.typeId() == QMetaType::Double)
        return dotFloatToStr(value.toDouble());
    return value.toString();
}

std::vector<TBookRow> ReadSheet(const TXlsxWorkbook& workbook, const QString& name, int columns, int required,
                                QString (*caption)(int), std::vector<TBookProblem>& problems)
{
    std::vector<TBookRow> rows;
    const int sheet = workbook.SheetIndex(name);
    for (int c = 0; c < required; ++c) {
        const QString found = CellText(workbook.Cell(sheet, 1, c + 1)).simplified();
        if (found != caption(c))
            problems.push_back(
                {name, 1, c + 1, QStringLiteral("ожидается заголовок «%1», а не «%2»").arg(caption(c), found)});
    }
    for (int r : workbook.RowNumbers(sheet)) {
        if (r < 2)
            continue;
        TBookRow row;
        row.Row = r;
        for (int c = 0; c < columns; ++c)
            row.Cells << CellText(workbook.Cell(sheet, r, c + 1));
        if (!row.IsEmpty())
            rows.push_back(row);
    }
    return rows;
}

class BookWriter {
public:
    explicit BookWriter(lxw_workbook* book) : book_(book)
    {
        caption_ = workbook_add_format(book);
        format_set_bold(caption_);
        format_set_text_wrap(caption_);
        format_set_align(caption_, LXW_ALIGN_VERTICAL_TOP);
    }

    void Sheet(const QString& name, int columns, QString (*caption)(int), const std::vector<TBookRow>& rows,
               const std::vector<int>& numeric, const std::vector<double>& widths)
    {
        lxw_worksheet* sheet = workbook_add_worksheet(book_, name.toUtf8().constData());
        for (int c = 0; c < columns; ++c) {
            worksheet_write_string(sheet, 0, lxw_col_t(c), caption(c).toUtf8().constData(), caption_);
            worksheet_set_column(sheet, lxw_col_t(c), lxw_col_t(c), widths[c], nullptr);
        }
        worksheet_freeze_panes(sheet, 1, 0);
        lxw_row_t r = 1;
        for (const TBookRow& row : rows) {
            for (int c = 0; c < columns && c < row.Cells.size(); ++c) {
                const QString text = row.Cells.at(c);
                double value = 0;
                if (text.isEmpty())
                    continue;
                if (std::find(numeric.begin(), numeric.end(), c) != numeric.end() && ParseFloat(text, value))
                    worksheet_write_number(sheet, r, lxw_col_t(c), value, nullptr);
                else
                    worksheet_write_string(sheet, r, lxw_col_t(c), text.toUtf8().constData(), nullptr);
            }
            ++r;
        }
        sheet_ = sheet;
    }

    // A drop-down list of texts over a column (rows 2 to 10,000), blank allowed.
    void List(int column, const QStringList& texts)
    {
        std::vector<QByteArray> bytes;
        for (const QString& t : texts)
            bytes.push_back(t.toUtf8());
        std::vector<char*> items;
        for (const QByteArray& b : bytes)
            items.push_back(const_cast<char*>(b.constData()));
        items.push_back(nullptr);
        lxw_data_validation v = {};
        v.validate = LXW_VALIDATION_TYPE_LIST;
        v.value_list = items.data();
        v.ignore_blank = LXW_VALIDATION_ON;
        v.show_error = LXW_VALIDATION_OFF;  // a value outside the list is reported on import, with its cell
        worksheet_data_validation_range(sheet_, 1, lxw_col_t(column), 9999, lxw_col_t(column), &v);
    }

private:
    lxw_workbook* book_;
    lxw_worksheet* sheet_ = nullptr;
    lxw_format* caption_;
};
}  // namespace

TSchemeBook ReadSchemeBook(const TXlsxWorkbook& workbook, std::vector<TBookProblem>& problems)
{
    TSchemeBook book;
    const QString sections = QString::fromUtf8(kSectionsSheet), consumers = QString::fromUtf8(kConsumersSheet);
    if (workbook.SheetIndex(sections) < 0) {
        problems.push_back({sections, 0, 0, QStringLiteral("в книге нет листа «%1»").arg(sections)});
        return book;
    }
    book.Sections = ReadSheet(workbook, sections, SColumns, kRequiredSectionColumns, SectionCaption, problems);
    if (workbook.SheetIndex(consumers) >= 0)
        book.Consumers = ReadSheet(workbook, consumers, CColumns, CColumns, ConsumerCaption, problems);
    return book;
}

TSchemeBook ReadSchemeBookFile(const QString& file, std::vector<TBookProblem>& problems)
{
    TXlsxWorkbook workbook;
    QString error;
    if (!workbook.Open(file, error)) {
        problems.push_back({QFileInfo(file).fileName(), 0, 0, error});
        return {};
    }
    return ReadSchemeBook(workbook, problems);
}

bool WriteSchemeBook(const QString& file, const TSchemeBook& book, QString& error)
{
    TXlsxFile out(file);
    lxw_workbook* wb = out.Open(error);
    if (!wb)
        return false;
    BookWriter w(wb);
    w.Sheet(QString::fromUtf8(kSectionsSheet), SColumns, SectionCaption, book.Sections, {SLength},
            {16, 16, 16, 10, 16, 16, 8, 22, 12, 18, 14});
    w.List(SPhases, SectionPhaseTexts());
    w.List(SKind, SectionKindTexts());
    w.List(SState, StateTexts());
    w.List(SOwner, OwnerTexts());
    w.List(SDevice, StateTexts());
    w.Sheet(QString::fromUtf8(kConsumersSheet), CColumns, ConsumerCaption, book.Consumers, {CPust, CEnergy, CCosFi},
            {16, 16, 30, 8, 14, 14, 8, 18});
    w.List(CPhase, ConsumerPhaseTexts());
    w.List(COwner, OwnerTexts());
    return out.Close(error);
}

}  // namespace scheme
