#pragma once
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "host/HostApi.h"

// The cells of the worksheets of an .xlsx workbook, as the user left them: numbers as doubles, texts as
// strings (shared, inline or formula results), by 1-based row and column.
class OZN3HOST_API TXlsxWorkbook {
public:
    // Reads a workbook; false with a reason when it is not a readable .xlsx file.
    bool Open(const QString& file, QString& error);
    QStringList SheetNames() const { return names_; }
    int SheetIndex(const QString& name) const { return names_.indexOf(name); }
    // A cell's value; invalid when the cell is empty or missing.
    QVariant Cell(int sheet, int row, int column) const;
    int RowCount(int sheet) const;

private:
    struct Sheet {
        QHash<quint64, QVariant> cells;
        int rows = 0;
    };
    QStringList names_;
    QList<Sheet> sheets_;
};
