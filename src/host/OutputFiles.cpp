#include "host/OutputFiles.h"

#include <QFileInfo>

namespace host {

bool CheckOutputPath(const QString& path, QString& error)
{
    const QFileInfo info(path);
    if (!info.exists() || info.isFile())
        return true;
    error = QStringLiteral("%1 — не обычный файл (устройство, канал или папка); в него ничего не записано").arg(path);
    return false;
}

bool TLogFile::Open(const QString& path, QString& error)
{
    if (!CheckOutputPath(path, error))
        return false;
    file_.setFileName(path);
    if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        error = QStringLiteral("Не удалось открыть журнал %1: %2").arg(path, file_.errorString());
        return false;
    }
    return true;
}

void TLogFile::Line(const QString& text)
{
    if (!file_.isOpen())
        return;
    const QByteArray bytes = (text + QLatin1Char('\n')).toUtf8();
    if (file_.write(bytes) != bytes.size() || !file_.flush())
        ok_ = false;
}

}  // namespace host
