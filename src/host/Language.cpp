#include "host/Language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

bool UseRussianLanguage()
{
    const QLocale russian(QLocale::Russian, QLocale::Russia);
    QLocale::setDefault(russian);
    // One translator for the application's life, owned by the application.
    static QTranslator* installed = nullptr;
    if (installed)
        return true;
    auto* translator = new QTranslator(QCoreApplication::instance());
    if (!translator->load(russian, QStringLiteral("qtbase"), QStringLiteral("_"),
                          QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        delete translator;
        return false;
    }
    QCoreApplication::installTranslator(translator);
    installed = translator;
    return true;
}
