#pragma once
#include <QString>

#include "host/InputRules.h"

struct lxw_worksheet;

// Writes the rule as the data validation of rows [firstRow, lastRow] (1-based) of a column; false with a
// reason when the spreadsheet format cannot hold it.
bool WriteInputRule(lxw_worksheet* sheet, int firstRow, int lastRow, int column, const TInputRule& rule);
