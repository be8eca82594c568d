#include "app/RuntimeLibraries.h"

#include <dlfcn.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace cli {

bool HasDisplay()
{
    const QString platform = qEnvironmentVariable("QT_QPA_PLATFORM").section(QLatin1Char(':'), 0, 0);
    if (platform == QLatin1String("offscreen") || platform == QLatin1String("minimal"))
        return true;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return true;
    // An empty DISPLAY, or a local one whose server is not there, would stop the toolkit outright.
    const QString display = qEnvironmentVariable("DISPLAY");
    if (display.isEmpty())
        return false;
    if (!display.startsWith(QLatin1Char(':')))
        return true;  // a remote display is tried as it is
    const QString number = display.mid(1).section(QLatin1Char('.'), 0, 0);
    return QFileInfo::exists(QStringLiteral("/tmp/.X11-unix/X") + number);
}

namespace {
QString libraryPath(const char* file, const char* environment)
{
    const QString named = qEnvironmentVariable(environment);
    if (!named.isEmpty())
        return named;
    // Beside the application, as the plug-in is; found from the running binary before any Qt application exists.
    const QString binary = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    return QDir(QFileInfo(binary).absolutePath()).absoluteFilePath(QStringLiteral("../lib/") + QLatin1String(file));
}
}  // namespace

void* LibraryFunction(const char* file, const char* environment, const char* name, QString& error)
{
    const QString path = libraryPath(file, environment);
    void* library = dlopen(QFile::encodeName(path).constData(), RTLD_NOW | RTLD_GLOBAL);
    if (!library) {
        error = QStringLiteral("Не удалось загрузить библиотеку программы %1: %2")
                    .arg(path, QString::fromLocal8Bit(dlerror()));
        return nullptr;
    }
    void* entry = dlsym(library, name);
    if (!entry)
        error = QStringLiteral("В библиотеке %1 нет функции %2").arg(path, QString::fromLatin1(name));
    return entry;
}

}  // namespace cli
