#pragma once
#include <QString>
#include <vector>

class TPesResultsLV;
struct TLVResultColumn;

// Writes a results tree as a plain table: the object names, then one column per value column, with a
// title row. The file is replaced only when the workbook was written whole; false with a reason otherwise.
// With numbered rows the first column is "№ п/п", so that the nominal voltage stands in column C and value 1
// of the report in column D.
bool WriteResultsXlsx(const QString& file, const TPesResultsLV& tree,
                      const std::vector<const TLVResultColumn*>& columns, const QString& title, QString& error,
                      bool numbered = false);
