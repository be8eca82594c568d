#pragma once
#include <QString>
#include <array>
#include <vector>

class TPesResultsLV;
struct TLVResultColumn;

// Workbooks of a results tree. The file is replaced only when the workbook was written whole; false with a
// reason otherwise.

// The grid saved as a plain table: a title row, the object names, then one column per value column.
bool WriteResultsXlsx(const QString& file, const TPesResultsLV& tree,
                      const std::vector<const TLVResultColumn*>& columns, const QString& title, QString& error);

// The summary report: one numbered row per node of the levels shown (the starting object always), the
// nominal voltage in column C and value 1 in column D. A row of levels 2 to 6 with shown levels below it adds
// up their rows with worksheet formulas (MAX in column 31, AVERAGE in column 111 on substation rows) in the
// columns of quantities; the other rows and columns hold values. Name cells take the colour of their level.
bool WriteResultsSummaryXlsx(const QString& file, TPesResultsLV& tree,
                             const std::vector<const TLVResultColumn*>& columns, const QString& sheetName,
                             const QString& title, const std::array<bool, 8>& visibleRows, QString& error);
