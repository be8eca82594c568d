#pragma once
#include <QByteArray>

// The per-sample loss calculation for scripts: one JSON object of measured values in, one of results out.
namespace feeders {
QByteArray CalculateSampleJsonLine(const QByteArray& line);
}
