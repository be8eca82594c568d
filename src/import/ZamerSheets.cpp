#include "import/ZamerSheets.h"

#include <xlsxwriter.h>

TZamerFormats AddZamerFormats(lxw_workbook* book, const char* valueFormat, const char* computedFormat)
{
    TZamerFormats f{workbook_add_format(book), workbook_add_format(book), workbook_add_format(book)};
    format_set_bold(f.head);
    format_set_text_wrap(f.head);
    format_set_border(f.head, LXW_BORDER_THIN);
    format_set_align(f.head, LXW_ALIGN_CENTER);
    format_set_num_format(f.value, valueFormat);
    format_set_border(f.value, LXW_BORDER_THIN);
    format_set_num_format(f.computed, computedFormat);
    format_set_bg_color(f.computed, 0xEFEFEF);
    format_set_border(f.computed, LXW_BORDER_THIN);
    return f;
}

void WriteZamerHead(lxw_worksheet* sheet, int column, const QString& caption, lxw_format* head)
{
    const auto col = static_cast<lxw_col_t>(column - 1);
    worksheet_write_string(sheet, 0, col, caption.toUtf8().constData(), head);
    worksheet_write_number(sheet, 1, col, column, head);
}
