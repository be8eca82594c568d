#pragma once
#include <QString>

#include "host/HostApi.h"

struct lxw_workbook;

// A workbook written beside its file (".part") and put in its place only when whole, so that a failed write
// leaves the earlier file as it was.
class OZN3HOST_API TXlsxFile {
public:
    // In constant-memory mode each row goes to a temporary file as soon as the next one starts: rows must be
    // written in order, and a large workbook then costs the memory of one row.
    explicit TXlsxFile(const QString& file, bool constantMemory = false);
    ~TXlsxFile();  // a workbook never closed is dropped
    TXlsxFile(const TXlsxFile&) = delete;
    TXlsxFile& operator=(const TXlsxFile&) = delete;

    // The workbook to write into; null (with a reason) when the file cannot be created.
    lxw_workbook* Open(QString& error);
    lxw_workbook* Book() const { return book_; }
    // Writes the workbook and puts it in place of the file; false with a reason.
    bool Close(QString& error);

private:
    QString file_, temporary_;
    bool constantMemory_;
    lxw_workbook* book_ = nullptr;
};

// The password the workbooks protect their sheets with: it keeps formulas and keys from being overwritten by
// mistake, not from a user who means to change them.
OZN3HOST_API QString SheetProtectionPassword();
