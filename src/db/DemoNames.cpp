#include "db/DemoNames.h"

#include <QStringList>

namespace db::demo {

namespace {
QString pick(const QStringList& list, int index, bool numbered = true)
{
    const int n = static_cast<int>(list.size());
    const QString base = list.at(index % n);
    return numbered && index >= n ? QStringLiteral("%1-%2").arg(base).arg(index / n + 1) : base;
}
}  // namespace

QString PesName(int index)
{
    static const QStringList names{QStringLiteral("Центральные"), QStringLiteral("Северные"),
                                   QStringLiteral("Южные"),       QStringLiteral("Восточные"),
                                   QStringLiteral("Западные"),    QStringLiteral("Приокские"),
                                   QStringLiteral("Заволжские")};
    return pick(names, index) + QStringLiteral(" электрические сети");
}

QString ResName(int index)
{
    static const QStringList names{QStringLiteral("Городской"),    QStringLiteral("Пригородный"),
                                   QStringLiteral("Заречный"),     QStringLiteral("Лесной"),
                                   QStringLiteral("Озёрный"),      QStringLiteral("Степной"),
                                   QStringLiteral("Сосновский"),   QStringLiteral("Каменский"),
                                   QStringLiteral("Михайловский"), QStringLiteral("Никольский")};
    return pick(names, index) + QStringLiteral(" РЭС");
}

QString CenterName(int index)
{
    static const QStringList names{QStringLiteral("Заречная"),  QStringLiteral("Луговая"),  QStringLiteral("Южная"),
                                   QStringLiteral("Берёзовка"), QStringLiteral("Садовая"),  QStringLiteral("Промзона"),
                                   QStringLiteral("Северная"),  QStringLiteral("Ольховка"), QStringLiteral("Радуга"),
                                   QStringLiteral("Ключи"),     QStringLiteral("Сокол"),    QStringLiteral("Вишнёвая")};
    return QStringLiteral("ПС 110/10 кВ ") + pick(names, index);
}

QString StreetName(int index)
{
    static const QStringList names{
        QStringLiteral("ул. Ленина"),    QStringLiteral("ул. Мира"),       QStringLiteral("ул. Садовая"),
        QStringLiteral("ул. Школьная"),  QStringLiteral("ул. Лесная"),     QStringLiteral("ул. Набережная"),
        QStringLiteral("ул. Советская"), QStringLiteral("ул. Полевая"),    QStringLiteral("пер. Почтовый"),
        QStringLiteral("ул. Гагарина"),  QStringLiteral("ул. Молодёжная"), QStringLiteral("ул. Заводская")};
    return pick(names, index, false);
}

QString SettlementName(int index)
{
    static const QStringList names{QStringLiteral("с. Покровское"),     QStringLiteral("д. Ивановка"),
                                   QStringLiteral("пос. Первомайский"), QStringLiteral("с. Никольское"),
                                   QStringLiteral("д. Берёзки"),        QStringLiteral("мкр. Северный"),
                                   QStringLiteral("с. Знаменка"),       QStringLiteral("д. Липовка")};
    return pick(names, index, false);
}

}  // namespace db::demo
