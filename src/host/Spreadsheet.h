#pragma once
#include <QString>

#include "host/HostApi.h"

namespace host {
// The spreadsheet application workbooks are opened in: the program named by OZN3_SPREADSHEET
// (set but empty: none), else LibreOffice found on the PATH.
OZN3HOST_API QString SpreadsheetProgram();
OZN3HOST_API bool IsSpreadsheetInstalled();
// Starts the spreadsheet application on a workbook. False when there is none, when it did not start, or when it
// ended at once printing an error (what it printed is the reason; a start handed to a running copy prints
// nothing).
OZN3HOST_API bool OpenInSpreadsheet(const QString& workbook, QString& error);
OZN3HOST_API bool OpenInSpreadsheet(const QString& workbook);

// The folder of the workbooks the program writes to open them in the spreadsheet: "ОЗН 3" in the user's
// documents ($OZN3_DOCUMENTS when set), made when missing.
OZN3HOST_API QString UserWorkbookFolder();
// A workbook there named for what it holds: "kind — object — interval.xlsx" (the parts that are empty left out,
// characters a file name cannot hold replaced).
OZN3HOST_API QString UserWorkbookPath(const QString& kind, const QString& object, const QString& interval);
// The file a save dialog proposes for a name: that name (made fit for a file) in the same folder; a path given
// whole is kept.
OZN3HOST_API QString ProposedSavePath(const QString& fileName);
// Tells the user where a finished save went ("Книга записана: …" for a workbook, "Файл записан: …" else).
OZN3HOST_API void ReportSaved(const QString& file);
}  // namespace host
