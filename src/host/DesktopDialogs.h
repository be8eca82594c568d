#pragma once
// The desktop's dialogs: Qt message boxes, prompts and file dialogs behind host::dialogs().
#include "host/Dialogs.h"

class QDialog;

namespace host {

class OZN3HOST_API QtDialogs : public Dialogs {
public:
    int Message(const QString& caption, const QString& text, Icon icon, Buttons buttons) override;
    bool InputQuery(const QString& caption, const QString& prompt, QString& value) override;
    QString SaveFileName(const QString& caption, const QString& filter, const QString& defaultExt,
                         const QString& initial) override;
    QString OpenFileName(const QString& caption, const QString& filter) override;
};

// Enter in a field or a grid of the dialog finishes the entry there and does not press the dialog's default
// button (closing a form with its work is a deliberate step); on a button Enter still presses that button.
OZN3HOST_API void KeepOpenOnEnter(QDialog& dialog);

}  // namespace host
