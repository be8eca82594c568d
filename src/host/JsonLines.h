#pragma once
#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include "host/HostApi.h"

// Helpers of the JSON Lines commands: one object per input line, one per answer.
namespace host {
// {"Error": text} on one line.
OZN3HOST_API QByteArray JsonErrorLine(const QString& text);
// A JSON string literal of a text.
OZN3HOST_API QByteArray JsonString(const QString& text);
// Reads a line as a JSON object; otherwise fills the error line (what was expected is named).
OZN3HOST_API bool ParseJsonObjectLine(const QByteArray& line, const QString& expected, QJsonObject& object,
                                      QByteArray& errorLine);
// Writes one JSON object: fields in the order given, numbers in their shortest exact form (null when not
// finite), raw values for what the caller has already written as JSON.
class OZN3HOST_API JsonObjectWriter {
public:
    JsonObjectWriter& Number(const char* name, double value);
    JsonObjectWriter& Raw(const char* name, const QByteArray& json);
    QByteArray Finish() const { return text_ + '}'; }

private:
    JsonObjectWriter& Name(const char* name);
    QByteArray text_ = "{";
};
}  // namespace host
