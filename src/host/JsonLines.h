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
}  // namespace host
