#pragma once
// Files the application writes for the user (logs, workbooks): only ever regular files, so that a path
// naming a device, a pipe or a folder is refused rather than replaced or blocked on.
#include <QFile>
#include <QString>

#include "host/HostApi.h"

namespace host {

// False with a reason when the path exists and is not a regular file.
OZN3HOST_API bool CheckOutputPath(const QString& path, QString& error);

// A log written line by line as a run goes, so that a run that is stopped or killed keeps what it did.
class OZN3HOST_API TLogFile {
public:
    // Opens (truncating) a regular file; false with a reason.
    bool Open(const QString& path, QString& error);
    bool IsOpen() const { return file_.isOpen(); }
    // Writes one line and hands it to the system at once.
    void Line(const QString& text);
    // False when any line could not be written.
    bool Ok() const { return ok_; }

private:
    QFile file_;
    bool ok_ = true;
};

}  // namespace host
