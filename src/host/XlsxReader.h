#pragma once
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "host/HostApi.h"

// Bounds of what a workbook may hold, so that a damaged or hostile file is refused at a bounded cost.
struct TXlsxLimits {
    qint64 PartBytes = 256ll << 20;    // one part (a sheet, the shared strings) unpacked
    qint64 TotalBytes = 1024ll << 20;  // every part read, unpacked
    int SharedStrings = 4'000'000;
    int Sheets = 10'000;  // a sheet costs far more than the bytes that name it
};
// The format's own size of a sheet.
inline constexpr int kXlsxMaxRows = 1'048'576, kXlsxMaxColumns = 16'384;

// The cells of the worksheets of an .xlsx workbook, as the user left them: numbers as doubles, texts as
// strings (shared, inline or formula results), by 1-based row and column.
class OZN3HOST_API TXlsxWorkbook {
public:
    // Reads a workbook; false with a reason (naming the part, and the cell where there is one) when it is not
    // a readable .xlsx file, breaks a limit, or holds a cell reference beyond the sheet or a number that is
    // not finite.
    bool Open(const QString& file, QString& error, const TXlsxLimits& limits = {});
    QStringList SheetNames() const { return names_; }
    int SheetIndex(const QString& name) const { return names_.indexOf(name); }
    // A cell's value; invalid when the cell is empty or missing.
    QVariant Cell(int sheet, int row, int column) const;
    int RowCount(int sheet) const;
    // The numbers of the rows that hold a cell, in order.
    QList<int> RowNumbers(int sheet) const;

private:
    struct Sheet {
        QHash<quint64, QVariant> cells;
        QList<int> rowNumbers;
        int rows = 0;
    };
    QStringList names_;
    QList<Sheet> sheets_;
};
