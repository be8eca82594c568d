#pragma once
#include <QSize>
#include <QString>

#include "host/HostApi.h"

class QWidget;

// A window opens at the size the user last left it (kept per user among the forms' settings, section
// "Windows"), else at its preferred size; either way no larger than the screen's free area, so that it fits a
// 1366×768 screen. Its splitters come back as they were. Size and splitters are kept when it is hidden.
OZN3HOST_API void KeepWindowPlace(QWidget& window, const QString& name, QSize preferred);

// The size a window opens at on a screen with the free area given: the wanted size, cut to the area.
OZN3HOST_API QSize FittedSize(QSize wanted, QSize available);

// A column caption on lines that keep its column narrow: each part ('|' between parts) on lines of its own,
// its words run on while they fit the line.
OZN3HOST_API QString WrappedCaption(const QString& caption, int lineLength = 16);
