#include "import/ZamerSheets.h"

#include <cmath>
#include <xlsxwriter.h>

#include "host/NumericHelpers.h"
#include "host/XlsxFile.h"
#include "host/XlsxReader.h"

TZamerFormats AddZamerFormats(lxw_workbook* book, const char* valueFormat, const char* computedFormat)
{
    TZamerFormats f{};
    f.head = workbook_add_format(book);
    format_set_bold(f.head);
    format_set_text_wrap(f.head);
    format_set_border(f.head, LXW_BORDER_THIN);
    format_set_align(f.head, LXW_ALIGN_CENTER);
    f.value = workbook_add_format(book);
    format_set_num_format(f.value, valueFormat);
    format_set_border(f.value, LXW_BORDER_THIN);
    format_set_unlocked(f.value);
    f.computed = workbook_add_format(book);
    format_set_num_format(f.computed, computedFormat);
    format_set_bg_color(f.computed, 0xEFEFEF);
    format_set_border(f.computed, LXW_BORDER_THIN);
    f.key = workbook_add_format(book);
    auto name = [&](int colour) {
        lxw_format* n = workbook_add_format(book);
        format_set_border(n, LXW_BORDER_THIN);
        if (colour >= 0)
            format_set_bg_color(n, colour);
        return n;
    };
    f.name = name(-1);
    f.notStored = name(0xFFF2CC);  // pale yellow
    f.edited = name(0xDDEBF7);     // pale blue
    f.warning = name(0xF8CBAD);    // pale red
    return f;
}

void WriteZamerHead(lxw_worksheet* sheet, int column, const QString& caption, lxw_format* head)
{
    const auto col = static_cast<lxw_col_t>(column - 1);
    worksheet_write_string(sheet, 0, col, caption.toUtf8().constData(), head);
    worksheet_write_number(sheet, 1, col, column, head);
}

void WriteInputNumber(lxw_worksheet* sheet, int row, int column, double value, lxw_format* format)
{
    const auto r = static_cast<lxw_row_t>(row - 1);
    const auto c = static_cast<lxw_col_t>(column - 1);
    if (isEmptyFloat(value))
        worksheet_write_blank(sheet, r, c, format);
    else
        worksheet_write_number(sheet, r, c, value, format);
}

void WriteFormulaWithValue(lxw_worksheet* sheet, int row, int column, const QString& formula, double value,
                           lxw_format* format)
{
    const auto r = static_cast<lxw_row_t>(row - 1);
    const auto c = static_cast<lxw_col_t>(column - 1);
    const QByteArray text = (QLatin1Char('=') + formula).toUtf8();
    if (isEmptyFloat(value))
        worksheet_write_formula_str(sheet, r, c, text.constData(), format, "");
    else
        worksheet_write_formula_num(sheet, r, c, text.constData(), format, value);
}

void ProtectZamerSheet(lxw_worksheet* sheet)
{
    lxw_protection options{};
    options.format_columns = 1;
    options.format_rows = 1;
    const QByteArray password = SheetProtectionPassword().toUtf8();
    worksheet_protect(sheet, password.constData(), &options);
}

QString ReadRefusal(const QString& file, const QStringList& problems)
{
    constexpr int kShown = 20;
    QString text =
        QStringLiteral("Книга %1 не прочитана, данные не изменены:\n%2").arg(file, problems.mid(0, kShown).join('\n'));
    if (problems.size() > kShown)
        text += QStringLiteral("\n… и еще %1").arg(problems.size() - kShown);
    return text;
}

QString ShownValue(double value)
{
    return isEmptyFloat(value) ? QStringLiteral("пусто") : QString::number(value, 'g', 15);
}

namespace {
const char* const kIdentityKeys[6] = {"Вид книги", "Объект", "Интервал", "Уровень", "Линии", "Абоненты"};
}  // namespace

void WriteWorkbookIdentity(lxw_workbook* book, const TWorkbookIdentity& identity)
{
    lxw_worksheet* sheet = workbook_add_worksheet(book, kIdentitySheet);
    const double values[5] = {double(identity.Object), double(identity.Sample), double(identity.Level),
                              identity.Lines ? 1.0 : 0.0, identity.Consumers ? 1.0 : 0.0};
    worksheet_write_string(sheet, 0, 0, kIdentityKeys[0], nullptr);
    worksheet_write_string(sheet, 0, 1, identity.Kind.toUtf8().constData(), nullptr);
    for (int i = 0; i < 5; ++i) {
        worksheet_write_string(sheet, static_cast<lxw_row_t>(i + 1), 0, kIdentityKeys[i + 1], nullptr);
        worksheet_write_number(sheet, static_cast<lxw_row_t>(i + 1), 1, values[i], nullptr);
    }
    worksheet_hide(sheet);
    ProtectZamerSheet(sheet);
}

bool ReadWorkbookIdentity(const TXlsxWorkbook& book, TWorkbookIdentity& identity)
{
    const int sheet = book.SheetIndex(QString::fromUtf8(kIdentitySheet));
    if (sheet < 0)
        return false;
    auto number = [&](int row) {
        const QVariant v = book.Cell(sheet, row, 2);
        const double d = v.typeId() == QMetaType::Double ? v.toDouble() : 0;
        return std::fabs(d) < 2147483647.0 ? static_cast<int>(d) : 0;
    };
    identity.Kind = book.Cell(sheet, 1, 2).toString();
    identity.Object = number(2);
    identity.Sample = number(3);
    identity.Level = number(4);
    identity.Lines = number(5) != 0;
    identity.Consumers = number(6) != 0;
    return true;
}

QString IdentityMismatch(const TXlsxWorkbook& book, const TWorkbookIdentity& expected, const QString& file)
{
    TWorkbookIdentity found;
    if (!ReadWorkbookIdentity(book, found))
        return QStringLiteral("Книга %1 записана не этой программой: нет листа \"%2\"")
            .arg(file, QString::fromUtf8(kIdentitySheet));
    if (found.Kind != expected.Kind)
        return QStringLiteral("Книга %1 — другого вида (%2), а не %3").arg(file, found.Kind, expected.Kind);
    if (found.Sample != expected.Sample)
        return QStringLiteral("Книга %1 записана для другого интервала; выберите его или запишите книгу заново")
            .arg(file);
    if (found.Object != expected.Object || found.Level != expected.Level || found.Lines != expected.Lines ||
        found.Consumers != expected.Consumers)
        return QStringLiteral("Книга %1 записана для других объектов; выберите их или запишите книгу заново").arg(file);
    return {};
}
