#pragma once
// The host's export table (a titled table of texts, numbers formatted) shown in a window, copied to the
// clipboard or saved as a workbook with its numbers as numbers.
#include <QDialog>
#include <QString>

#include "host/HostApi.h"

class TOExport;
class QTableWidget;

// Writes the title in the first row and the table from the third; cells that read as numbers are numbers.
OZN3HOST_API bool WriteExportTable(const TOExport& table, const QString& file, QString& error);

class OZN3HOST_API TExportTableDialog : public QDialog {
public:
    TExportTableDialog(const TOExport& table, QWidget* owner = nullptr);
    QTableWidget* Table() const { return grid_; }
    // The table as tab-separated lines, as the clipboard gets it.
    QString Text() const;

private:
    void Save();
    const TOExport& table_;
    QTableWidget* grid_;
};
