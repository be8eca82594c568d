#include "host/EngineErrors.h"

#include <QHash>
#include <QRegularExpression>

namespace host {

namespace {
QRegularExpressionMatch find(const QString& text, const char* pattern)
{
    return QRegularExpression(QString::fromLatin1(pattern), QRegularExpression::CaseInsensitiveOption).match(text);
}

bool has(const QString& text, const char* part) { return text.contains(QLatin1String(part), Qt::CaseInsensitive); }

// A table as the engine names it, in quotes or bare: the name without quotes.
QString unquoted(QString name)
{
    name = name.trimmed();
    if (name.startsWith(QLatin1Char('"')) && name.endsWith(QLatin1Char('"')) && name.size() >= 2)
        name = name.mid(1, name.size() - 2);
    return name;
}

TEngineError truncation(const QString& text)
{
    const auto lengths = find(text, "expected length (\\d+), actual (\\d+)");
    if (lengths.hasMatch())
        return {TEngineErrorKind::Truncation,
                QStringLiteral("Текст длиннее, чем допускает поле базы данных: не более %1 знаков, а получено %2")
                    .arg(lengths.captured(1), lengths.captured(2))};
    if (has(text, "string right truncation") || has(text, "string truncation"))
        return {TEngineErrorKind::Truncation, QStringLiteral("Текст длиннее, чем допускает поле базы данных")};
    return {TEngineErrorKind::Truncation, QStringLiteral("Число вне допустимого диапазона поля базы данных")};
}

TEngineError diskFull(const QString& text)
{
    const auto file = find(text, "for file \"([^\"]+)\"");
    const QString where = file.hasMatch() ? QStringLiteral(" %1").arg(file.captured(1)) : QString();
    if (has(text, "File too large"))
        return {
            TEngineErrorKind::DiskFull,
            QStringLiteral("Файл базы данных%1 не может стать больше: достигнут предельный размер файла").arg(where)};
    return {TEngineErrorKind::DiskFull,
            QStringLiteral("Не удалось записать в файл базы данных%1: нет места на диске").arg(where)};
}
}  // namespace

QString PermissionText(const QString& engineText)
{
    static const QRegularExpression denied(
        QStringLiteral("no permission for (\\w+) access to (\\w+) \"?([^\\s\"]+)\"?"));
    const auto m = denied.match(engineText);
    if (!m.hasMatch())
        return engineText;
    static const QHash<QString, QString> actions{{"SELECT", "чтение"},
                                                 {"INSERT", "добавление строк"},
                                                 {"UPDATE", "изменение"},
                                                 {"DELETE", "удаление строк"},
                                                 {"EXECUTE", "выполнение"},
                                                 {"USAGE", "использование"},
                                                 {"REFERENCES", "ссылки на строки"}};
    static const QHash<QString, QString> objects{{"TABLE", "таблицы"},       {"VIEW", "представления"},
                                                 {"PROCEDURE", "процедуры"}, {"GENERATOR", "генератора"},
                                                 {"SEQUENCE", "генератора"}, {"COLUMN", "поля"}};
    const QString action = actions.value(m.captured(1).toUpper(), m.captured(1));
    const QString object = objects.value(m.captured(2).toUpper(), m.captured(2));
    return QStringLiteral("Нет прав на %1 %2 «%3»: обратитесь к владельцу базы данных")
        .arg(action, object, m.captured(3));
}

TEngineError TranslateEngineError(const QString& text)
{
    // An exception of the database's own triggers and procedures carries its message for the user: the engine
    // says "exception N - NAME - message - At trigger …".
    if (text.startsWith(QLatin1String("exception "))) {
        const QStringList parts = text.split(QStringLiteral(" - "));
        if (parts.size() >= 3 && !parts.at(2).startsWith(QLatin1String("At ")))
            return {TEngineErrorKind::Other, parts.at(2).section(QLatin1Char('\n'), 0, 0).trimmed()};
    }
    if (find(text, "no permission for \\w+ access").hasMatch())
        return {TEngineErrorKind::Permission, PermissionText(text)};
    if (has(text, "No space left on device") || has(text, "File too large") || has(text, "Disk full") ||
        (has(text, "I/O error") && has(text, "\"write\"")))
        return diskFull(text);
    if (has(text, "Error writing data to the connection") || has(text, "Error reading data from the connection") ||
        has(text, "connection shutdown") || has(text, "Connection lost") || has(text, "connection rejected") ||
        has(text, "Unable to complete network request") || has(text, "Connection refused") ||
        has(text, "database is shutdown") || has(text, "shutdown in progress"))
        return {TEngineErrorKind::ConnectionLost,
                QStringLiteral("Связь с сервером базы данных потеряна или сервер недоступен")};
    if (has(text, "user name and password are not defined") || has(text, "login failed"))
        return {TEngineErrorKind::Login, QStringLiteral("Неверное имя пользователя или пароль")};
    if (has(text, "lock conflict") || has(text, "update conflicts with concurrent update") || has(text, "deadlock") ||
        has(text, "lock time-out"))
        return {TEngineErrorKind::Conflict,
                QStringLiteral("Эти данные изменил или сейчас изменяет другой пользователь")};
    if (const auto m =
            find(text, "violation of PRIMARY or UNIQUE KEY constraint \"?[^\"\\s]*\"? on table (\"[^\"]+\"|\\S+)");
        m.hasMatch())
        return {TEngineErrorKind::UniqueKey,
                QStringLiteral("Такая запись уже есть в таблице «%1»: её записал другой пользователь или эта же "
                               "операция")
                    .arg(unquoted(m.captured(1)))};
    if (has(text, "attempt to store duplicate value"))
        return {TEngineErrorKind::UniqueKey, QStringLiteral("Такая запись уже есть в базе данных")};
    if (const auto m = find(text, "violation of FOREIGN KEY constraint \"?[^\"\\s]*\"? on table (\"[^\"]+\"|\\S+)");
        m.hasMatch())
        return {TEngineErrorKind::ForeignKey,
                QStringLiteral("Запись таблицы «%1» ссылается на строку, которой нет, или на неё ссылаются другие "
                               "записи")
                    .arg(unquoted(m.captured(1)))};
    if (const auto m =
            find(text, "validation error for column \"?([^\".\\s]+)\"?\\.\"?([^\"\\s,]+)\"?, value \"\\*\\*\\* null");
        m.hasMatch())
        return {TEngineErrorKind::NotNull,
                QStringLiteral("Не заполнено обязательное поле «%2» таблицы «%1»").arg(m.captured(1), m.captured(2))};
    if (has(text, "numeric overflow") || has(text, "string truncation") || has(text, "string right truncation") ||
        has(text, "numeric value is out of range"))
        return truncation(text);
    if (has(text, "I/O error") && has(text, "File exists"))
        return {TEngineErrorKind::Other, QStringLiteral("Файл базы данных уже существует")};
    if (has(text, "I/O error") && (has(text, "\"open\"") || has(text, "No such file")))
        return {TEngineErrorKind::Missing, QStringLiteral("Файл базы данных не найден или недоступен")};
    return {TEngineErrorKind::Other, QString()};
}

}  // namespace host
