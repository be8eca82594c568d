#pragma once
#include <QColor>
#include <QString>
#include <QStringList>
#include <functional>

#include "host/HostApi.h"

class QWidget;

namespace host {
// The colour legend dialog: one button per entry painted in its colour; a click lets the user choose another,
// which is handed to the setter at once. Background colours, or text colours when background is false.
OZN3HOST_API void EditColours(QWidget* owner, const QString& objectName, const QString& title,
                              const QStringList& entries, const std::function<QColor(int)>& colour,
                              const std::function<void(int, const QColor&)>& setColour, bool background = true);
}  // namespace host
