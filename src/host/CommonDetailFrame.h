#pragma once
#include <QWidget>

#include "host/HostApi.h"

// Base of the detail frames the host shows beside its tree.
class OZN3HOST_API TCommonDetailFrame : public QWidget {
    Q_OBJECT
public:
    explicit TCommonDetailFrame(QWidget* owner) : QWidget(owner) {}
    // Shows the host's progress while a frame of the named class is built.
    static void CreateProgress(const QString& frameClass, QWidget* owner);
    // Moves the progress on, or hides it when frame is null and position is -1.
    static void ShowProgress(TCommonDetailFrame* frame, int position, const QString& text = {});
};
