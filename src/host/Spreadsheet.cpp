#include "host/Spreadsheet.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace host {

QString SpreadsheetProgram()
{
    if (qEnvironmentVariableIsSet("OZN3_SPREADSHEET")) {
        const QString named = qEnvironmentVariable("OZN3_SPREADSHEET");
        if (named.isEmpty())
            return {};
        if (QFileInfo(named).isExecutable())
            return QFileInfo(named).absoluteFilePath();
        return QStandardPaths::findExecutable(named);
    }
    for (const char* name : {"localc", "libreoffice", "soffice"}) {
        const QString path = QStandardPaths::findExecutable(QString::fromLatin1(name));
        if (!path.isEmpty())
            return path;
    }
    return {};
}

bool IsSpreadsheetInstalled() { return !SpreadsheetProgram().isEmpty(); }

bool OpenInSpreadsheet(const QString& workbook)
{
    const QString program = SpreadsheetProgram();
    if (program.isEmpty())
        return false;
    return QProcess::startDetached(program, {workbook});
}

}  // namespace host
