#include "app/PluginLoader.h"

#include <dlfcn.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

QString Ozn32Plugin::DefaultPath()
{
    const QString named = qEnvironmentVariable("OZN3_PLUGIN");
    if (!named.isEmpty())
        return named;
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("../lib/libozn32lib.so"));
}

bool Ozn32Plugin::Load(const QString& libraryPath, QString& error)
{
    path = QFileInfo(libraryPath).absoluteFilePath();
    if (!QFileInfo::exists(path)) {
        error = QStringLiteral("Не найдена библиотека ozn32lib: %1").arg(path);
        return false;
    }
    handle = dlopen(path.toLocal8Bit().constData(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        error = QStringLiteral("Не удалось загрузить библиотеку %1: %2").arg(path, QString::fromLocal8Bit(dlerror()));
        return false;
    }
    void** targets[] = {reinterpret_cast<void**>(&ShowSamplesWInput),
                        reinterpret_cast<void**>(&ShowSamplesTmaxInput),
                        reinterpret_cast<void**>(&ShowLVNormativMethodInput),
                        reinterpret_cast<void**>(&ShowLVFiders),
                        reinterpret_cast<void**>(&RunLVNormativMethod),
                        reinterpret_cast<void**>(&RunLVNormativMethodResults),
                        reinterpret_cast<void**>(&ShowLVPESResults),
                        reinterpret_cast<void**>(&ShowLVPESResultsAll),
                        reinterpret_cast<void**>(&ShowLVResultsGrid),
                        reinterpret_cast<void**>(&ShowLVUndersupplyReport),
                        reinterpret_cast<void**>(&DetailFrameCreate),
                        reinterpret_cast<void**>(&ShowFiderHHResults),
                        reinterpret_cast<void**>(&BuildFiderHHResults),
                        reinterpret_cast<void**>(&GetLVMiddleRegim),
                        reinterpret_cast<void**>(&GetLVMaxRegim)};
    QStringList missing;
    int i = 0;
    for (const char* name : kOzn32ExportNames) {
        *targets[i++] = dlsym(handle, name);
        if (!*targets[i - 1])
            missing << QString::fromLatin1(name);
    }
    if (!missing.isEmpty()) {
        error = QStringLiteral("В библиотеке %1 нет функций: %2").arg(path, missing.join(QStringLiteral(", ")));
        Unload();
        return false;
    }
    return true;
}

void Ozn32Plugin::Unload()
{
    if (handle)
        dlclose(handle);
    *this = Ozn32Plugin();
}
