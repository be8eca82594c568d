#include "host/Spreadsheet.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryFile>
#include <QThread>
#include <signal.h>
#include <sys/wait.h>

#include "host/AppLog.h"
#include "host/Dialogs.h"

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

namespace {
// Whether a started program has ended: our own child is reaped here; another's (the detached start hands it to
// whoever reaps orphans, who may be slow to) is gone or a zombie in /proc.
bool processEnded(pid_t pid)
{
    int status = 0;
    const pid_t reaped = ::waitpid(pid, &status, WNOHANG);
    if (reaped == pid)
        return true;
    if (reaped == 0)
        return false;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return ::kill(pid, 0) != 0;
    // "pid (name) state …": the state follows the name's closing parenthesis.
    const QByteArray line = stat.readAll();
    const qsizetype close = line.lastIndexOf(')');
    return close >= 0 && close + 2 < line.size() && (line.at(close + 2) == 'Z' || line.at(close + 2) == 'X');
}
}  // namespace

bool OpenInSpreadsheet(const QString& workbook, QString& error)
{
    const QString program = SpreadsheetProgram();
    if (program.isEmpty()) {
        error = QStringLiteral("Табличный редактор не найден");
        return false;
    }
    // The spreadsheet outlives the program, so it runs detached; what it prints goes to a file read if it ends
    // at once (no display, a damaged profile, a file it refuses).
    QTemporaryFile output(QDir::temp().filePath(QStringLiteral("ozn3-spreadsheet-XXXXXX.log")));
    output.setAutoRemove(true);
    if (!output.open()) {
        error = QStringLiteral("Не удалось создать временный файл: %1").arg(output.errorString());
        return false;
    }
    QProcess process;
    process.setProgram(program);
    process.setArguments({workbook});
    process.setStandardOutputFile(output.fileName());
    process.setStandardErrorFile(output.fileName(), QIODevice::Append);
    qint64 pid = 0;
    if (!process.startDetached(&pid)) {
        error = QStringLiteral("Не удалось запустить %1: %2").arg(program, process.errorString());
        return false;
    }
    // A second and a half is enough to fail; a spreadsheet still running then, or one that handed the workbook
    // to a running copy without a word, has opened it.
    const QDeadlineTimer deadline(1500);
    bool ended = false;
    while (!deadline.hasExpired()) {
        if (processEnded(static_cast<pid_t>(pid))) {
            ended = true;
            break;
        }
        QThread::msleep(50);
    }
    const QString printed = QString::fromLocal8Bit(output.readAll()).trimmed();
    if (!printed.isEmpty())
        LogLine(QStringLiteral("%1 %2: %3").arg(program, workbook, printed));
    if (ended && !printed.isEmpty()) {
        error = QStringLiteral("%1 завершился сразу после запуска:\n%2").arg(QFileInfo(program).fileName(), printed);
        return false;
    }
    return true;
}

bool OpenInSpreadsheet(const QString& workbook)
{
    QString ignored;
    return OpenInSpreadsheet(workbook, ignored);
}

QString UserWorkbookFolder()
{
    QString documents = qEnvironmentVariable("OZN3_DOCUMENTS");
    if (documents.isEmpty())
        documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (documents.isEmpty())
        documents = QDir::homePath();
    const QString folder = QDir(documents).filePath(QStringLiteral("ОЗН 3"));
    QDir().mkpath(folder);
    return folder;
}

namespace {
QString fitForFile(QString name)
{
    static const QRegularExpression forbidden(QStringLiteral(R"([\\/:*?"<>|\x00-\x1f])"));
    return name.simplified().replace(forbidden, QStringLiteral("_"));
}
}  // namespace

QString UserWorkbookPath(const QString& kind, const QString& object, const QString& interval)
{
    QStringList parts;
    for (const QString& part : {kind, object, interval})
        if (!part.trimmed().isEmpty())
            parts << part.simplified();
    return QDir(UserWorkbookFolder()).filePath(fitForFile(parts.join(QStringLiteral(" — "))) + QStringLiteral(".xlsx"));
}

QString ProposedSavePath(const QString& fileName)
{
    if (QFileInfo(fileName).isAbsolute())
        return fileName;
    return QDir(UserWorkbookFolder()).filePath(fitForFile(fileName));
}

void ReportSaved(const QString& file)
{
    const QString path = QFileInfo(file).absoluteFilePath();
    const QString suffix = QFileInfo(file).suffix().toLower();
    ShowInformation((suffix == QLatin1String("xlsx") || suffix == QLatin1String("xls")
                         ? QStringLiteral("Книга записана: %1")
                         : QStringLiteral("Файл записан: %1"))
                        .arg(path));
}

}  // namespace host
