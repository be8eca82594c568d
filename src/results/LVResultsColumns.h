#pragma once
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

class TLVResultRecord;

// A value column of the results grid: its field name, its caption (group|sub-group|unit), its display
// format and how the value comes from a node's record. Each list starts with the nominal voltage (column C
// of the summary workbook); value numbers count the columns after it from 1 (column D).
struct TLVResultColumn {
    QString Field;
    QString Caption;
    QString Format;
    std::function<double(const TLVResultRecord&)> Value;
    // Set on the few report columns that show a text instead of a number.
    std::function<QString(const TLVResultRecord&)> Text = {};
};

// The energy columns, the power columns, and the line and feeder columns added at run time.
const std::vector<TLVResultColumn>& EnergyColumns();
const std::vector<TLVResultColumn>& PowerColumns();
const std::vector<TLVResultColumn>& LineColumns();
// Every value column once, in the order energy, power, lines (shared columns once).
std::vector<const TLVResultColumn*> AllColumns();
