#include "host/AppLog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <mutex>

#include "host/Database.h"

namespace host {

namespace {
// A log past this size starts afresh, the former one kept as ozn3.log.1.
constexpr qint64 kLogLimit = 4 * 1024 * 1024;
std::mutex g_logMutex;
}  // namespace

QString ApplicationLogPath()
{
    const QString path = qEnvironmentVariable("OZN3_LOG_FILE");
    if (!path.isEmpty())
        return path;
    return QFileInfo(DefaultDatabasePath()).dir().filePath(QStringLiteral("ozn3.log"));
}

void LogLine(const QString& text)
{
    const std::lock_guard<std::mutex> lock(g_logMutex);
    const QString path = ApplicationLogPath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (QFileInfo(path).size() > kLogLimit) {
        QFile::remove(path + QStringLiteral(".1"));
        QFile::rename(path, path + QStringLiteral(".1"));
    }
    QFile file(path);
    if (!file.open(QIODevice::Append | QIODevice::Text))
        return;
    const QString line = QStringLiteral("%1 [%2] %3\n")
                             .arg(QDateTime::currentDateTime().toString(Qt::ISODateWithMs))
                             .arg(QCoreApplication::applicationPid())
                             .arg(text);
    file.write(line.toUtf8());
}

}  // namespace host
