#pragma once
#include <QString>

struct lxw_workbook;
struct lxw_worksheet;
struct lxw_format;

// The look shared by the measurement workbooks: a head row of captions over a row of column numbers, input
// cells framed, computed cells shaded.
struct TZamerFormats {
    lxw_format *head, *value, *computed;
};
TZamerFormats AddZamerFormats(lxw_workbook* book, const char* valueFormat, const char* computedFormat);
// The caption of a column (1-based) in the first row and its number in the second.
void WriteZamerHead(lxw_worksheet* sheet, int column, const QString& caption, lxw_format* head);
