#pragma once
#include <QList>
#include <QString>
#include <QStringList>
#include <deque>

#include "host/HostApi.h"

namespace host {

// Modal results in the host's numbering.
enum ModalResult { mrNone = 0, mrOk = 1, mrCancel = 2, mrYes = 6, mrNo = 7 };

enum class Icon { None, Information, Warning, Error, Question };
enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };

// Every message box, question, input prompt and file dialog of the system goes through here.
class OZN3HOST_API Dialogs {
public:
    virtual ~Dialogs();
    // Returns the modal result of the button pressed.
    virtual int Message(const QString& caption, const QString& text, Icon icon, Buttons buttons) = 0;
    // Asks for a line of text; false when cancelled.
    virtual bool InputQuery(const QString& caption, const QString& prompt, QString& value) = 0;
    // A file to write; empty when cancelled. The filter is in the host's form "Text|*.ext|…".
    virtual QString SaveFileName(const QString& caption, const QString& filter, const QString& defaultExt,
                                 const QString& initial) = 0;
    virtual QString OpenFileName(const QString& caption, const QString& filter) = 0;
};

// The dialogs in use: the one installed, else the default (the desktop's when the windows are loaded, else
// messages on standard error and questions answered "no").
OZN3HOST_API Dialogs& dialogs();
// Installs an implementation (not owned); null restores the default.
OZN3HOST_API void SetDialogs(Dialogs* implementation);
// The default behind them (not owned); null restores the one without a display.
OZN3HOST_API void SetDefaultDialogs(Dialogs* implementation);

// The application's own caption of warnings.
OZN3HOST_API QString AppCaption();
OZN3HOST_API void ShowWarning(const QString& text);
OZN3HOST_API void ShowInformation(const QString& text);
OZN3HOST_API bool AskYesNo(const QString& text);

// Converts "Text|*.txt|All|*" into the Qt form "Text (*.txt);;All (*)".
OZN3HOST_API QString QtFilter(const QString& hostFilter);

// Records what was asked and answers from prepared replies; used by tests and scripted runs.
// With no prepared reply a message answers OK (or Yes), a prompt and a file dialog are cancelled.
class OZN3HOST_API ScriptedDialogs : public Dialogs {
public:
    struct Call {
        QString kind;  // "message", "input", "save", "open"
        QString caption;
        QString text;
        Icon icon = Icon::None;
        Buttons buttons = Buttons::Ok;
        QString initial;  // the file name a save dialog proposed
    };
    void AnswerMessage(int modalResult) { messageAnswers_.push_back(modalResult); }
    void AnswerInput(const QString& text, bool accepted = true) { inputAnswers_.push_back({text, accepted}); }
    void AnswerFile(const QString& path) { fileAnswers_.push_back(path); }

    const QList<Call>& Calls() const { return calls_; }
    QStringList Texts() const;
    void Clear();

    int Message(const QString& caption, const QString& text, Icon icon, Buttons buttons) override;
    bool InputQuery(const QString& caption, const QString& prompt, QString& value) override;
    QString SaveFileName(const QString& caption, const QString& filter, const QString& defaultExt,
                         const QString& initial) override;
    QString OpenFileName(const QString& caption, const QString& filter) override;

private:
    QList<Call> calls_;
    std::deque<int> messageAnswers_;
    std::deque<std::pair<QString, bool>> inputAnswers_;
    std::deque<QString> fileAnswers_;
};

// Installs scripted dialogs for the lifetime of the object.
class OZN3HOST_API ScopedDialogs {
public:
    explicit ScopedDialogs(Dialogs* implementation) { SetDialogs(implementation); }
    ~ScopedDialogs() { SetDialogs(nullptr); }
};

}  // namespace host
