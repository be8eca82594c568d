#include "host/JsonLines.h"

#include <QJsonDocument>

#include "host/NumericHelpers.h"

namespace host {

QByteArray JsonErrorLine(const QString& text)
{
    return QJsonDocument(QJsonObject{{QStringLiteral("Error"), text}}).toJson(QJsonDocument::Compact);
}

QByteArray JsonString(const QString& text)
{
    // The value of a one-field object, cut out of its compact text: {"s":...}
    return QJsonDocument(QJsonObject{{QStringLiteral("s"), text}}).toJson(QJsonDocument::Compact).mid(5).chopped(1);
}

bool ParseJsonObjectLine(const QByteArray& line, const QString& expected, QJsonObject& object, QByteArray& errorLine)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(line, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        errorLine = JsonErrorLine(QStringLiteral("Неверный JSON: %1").arg(parseError.errorString()));
        return false;
    }
    if (!doc.isObject()) {
        errorLine = JsonErrorLine(QStringLiteral("Ожидается объект JSON ") + expected);
        return false;
    }
    object = doc.object();
    return true;
}

JsonObjectWriter& JsonObjectWriter::Name(const char* name)
{
    if (text_.size() > 1)
        text_ += ',';
    text_ += '"';
    text_ += name;
    text_ += "\":";
    return *this;
}

JsonObjectWriter& JsonObjectWriter::Number(const char* name, double value)
{
    Name(name);
    text_ += JsonNumber(value);
    return *this;
}

JsonObjectWriter& JsonObjectWriter::Raw(const char* name, const QByteArray& json)
{
    Name(name);
    text_ += json;
    return *this;
}
}  // namespace host
