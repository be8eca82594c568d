#pragma once
#include <QByteArray>
#include <QString>

// The normative model for scripts and audits: one JSON object of inputs in, one of results out.
namespace normative {
// Calculates one input line; a line that cannot be read gives {"Error": "..."}.
QByteArray CalculateJsonLine(const QByteArray& line);
}  // namespace normative
