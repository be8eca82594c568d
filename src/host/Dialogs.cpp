#include "host/Dialogs.h"

#include <cstdio>

namespace host {

namespace {
// Without a display (a command-line job) a message goes to standard error, a question is answered "no" and a
// prompt or a file dialog is cancelled: nothing is done on the user's behalf that they were not asked about.
class HeadlessDialogs : public Dialogs {
public:
    int Message(const QString& caption, const QString& text, Icon, Buttons buttons) override
    {
        std::fprintf(stderr, "%s: %s\n", caption.toUtf8().constData(), text.toUtf8().constData());
        return buttons == Buttons::Ok ? mrOk : buttons == Buttons::OkCancel ? mrCancel : mrNo;
    }
    bool InputQuery(const QString&, const QString&, QString&) override { return false; }
    QString SaveFileName(const QString&, const QString&, const QString&, const QString&) override { return {}; }
    QString OpenFileName(const QString&, const QString&) override { return {}; }
};
HeadlessDialogs g_headless;
Dialogs* g_default = &g_headless;
Dialogs* g_dialogs = nullptr;
}  // namespace

Dialogs::~Dialogs() = default;

Dialogs& dialogs() { return g_dialogs ? *g_dialogs : *g_default; }

void SetDefaultDialogs(Dialogs* implementation) { g_default = implementation ? implementation : &g_headless; }

void SetDialogs(Dialogs* implementation) { g_dialogs = implementation; }

QString AppCaption() { return QStringLiteral("ОЗН 3"); }

void ShowWarning(const QString& text) { dialogs().Message(AppCaption(), text, Icon::Warning, Buttons::Ok); }

void ShowInformation(const QString& text) { dialogs().Message(AppCaption(), text, Icon::Information, Buttons::Ok); }

bool AskYesNo(const QString& text)
{
    return dialogs().Message(AppCaption(), text, Icon::Question, Buttons::YesNo) == mrYes;
}

QString QtFilter(const QString& hostFilter)
{
    const QStringList parts = hostFilter.split(QLatin1Char('|'));
    QStringList filters;
    for (int i = 0; i + 1 < parts.size(); i += 2)
        filters << QStringLiteral("%1 (%2)").arg(parts[i],
                                                 QString(parts[i + 1]).replace(QLatin1Char(';'), QLatin1Char(' ')));
    return filters.join(QStringLiteral(";;"));
}

QStringList ScriptedDialogs::Texts() const
{
    QStringList texts;
    for (const auto& call : calls_)
        texts << call.text;
    return texts;
}

void ScriptedDialogs::Clear()
{
    calls_.clear();
    messageAnswers_.clear();
    inputAnswers_.clear();
    fileAnswers_.clear();
}

int ScriptedDialogs::Message(const QString& caption, const QString& text, Icon icon, Buttons buttons)
{
    calls_.append({QStringLiteral("message"), caption, text, icon, buttons, QString()});
    if (!messageAnswers_.empty()) {
        const int answer = messageAnswers_.front();
        messageAnswers_.pop_front();
        return answer;
    }
    return buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel ? mrYes : mrOk;
}

bool ScriptedDialogs::InputQuery(const QString& caption, const QString& prompt, QString& value)
{
    calls_.append({QStringLiteral("input"), caption, prompt, Icon::None, Buttons::Ok, QString()});
    if (inputAnswers_.empty())
        return false;
    const auto [text, accepted] = inputAnswers_.front();
    inputAnswers_.pop_front();
    if (accepted)
        value = text;
    return accepted;
}

QString ScriptedDialogs::SaveFileName(const QString& caption, const QString& filter, const QString& defaultExt,
                                      const QString& initial)
{
    calls_.append({QStringLiteral("save"), caption, filter, Icon::None, Buttons::Ok, initial});
    if (fileAnswers_.empty())
        return {};
    const QString path = fileAnswers_.front();
    fileAnswers_.pop_front();
    return path;
}

QString ScriptedDialogs::OpenFileName(const QString& caption, const QString& filter)
{
    calls_.append({QStringLiteral("open"), caption, filter, Icon::None, Buttons::Ok, QString()});
    if (fileAnswers_.empty())
        return {};
    const QString path = fileAnswers_.front();
    fileAnswers_.pop_front();
    return path;
}

}  // namespace host
