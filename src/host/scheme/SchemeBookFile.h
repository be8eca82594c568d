#pragma once
// The scheme workbook as an .xlsx file: its two sheets read into rows, and rows written back.
#include <QString>
#include <vector>

#include "host/HostApi.h"
#include "host/scheme/SchemeBook.h"

class TXlsxWorkbook;

namespace scheme {

// Reads the rows of "Участки" and "Абоненты" (the latter may be missing). A missing "Участки", or a
// caption of row 1 that is not the expected one, is a problem; the rows are read all the same.
OZN3HOST_API TSchemeBook ReadSchemeBook(const TXlsxWorkbook& workbook, std::vector<TBookProblem>& problems);
// Opens and reads a workbook file; a file that is not a readable workbook is a problem.
OZN3HOST_API TSchemeBook ReadSchemeBookFile(const QString& file, std::vector<TBookProblem>& problems);

// Writes the rows with their captions, numbers as numbers, and lists to choose from in the coded columns.
OZN3HOST_API bool WriteSchemeBook(const QString& file, const TSchemeBook& book, QString& error);

}  // namespace scheme
