#pragma once
#include <QByteArray>
#include <QString>

// The normative model for scripts and audits: one JSON object of inputs in, one of results out.
namespace normative {
// Calculates one input line; a line that cannot be read gives {"Error": "..."}.
QByteArray CalculateJsonLine(const QByteArray& line);
// A number with 17 significant digits, null when it is not finite.
QByteArray JsonNumber(double value);
}  // namespace normative
