#pragma once
#include <QString>

#include "host/HostApi.h"

namespace host {
// The spreadsheet application workbooks are opened in: the program named by OZN3_SPREADSHEET
// (set but empty: none), else LibreOffice found on the PATH.
OZN3HOST_API QString SpreadsheetProgram();
OZN3HOST_API bool IsSpreadsheetInstalled();
// Starts the spreadsheet application on a workbook; false when there is none or it did not start.
OZN3HOST_API bool OpenInSpreadsheet(const QString& workbook);
}  // namespace host
