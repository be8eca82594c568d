#include "host/Dialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMessageBox>

namespace host {

namespace {
QtDialogs g_qtDialogs;
Dialogs* g_dialogs = nullptr;

QMessageBox::Icon qtIcon(Icon icon)
{
    switch (icon) {
    case Icon::Information: return QMessageBox::Information;
    case Icon::Warning: return QMessageBox::Warning;
    case Icon::Error: return QMessageBox::Critical;
    case Icon::Question: return QMessageBox::Question;
    default: return QMessageBox::NoIcon;
    }
}
}  // namespace

Dialogs::~Dialogs() = default;

Dialogs& dialogs() { return g_dialogs ? *g_dialogs : g_qtDialogs; }

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

int QtDialogs::Message(const QString& caption, const QString& text, Icon icon, Buttons buttons)
{
    QMessageBox box(qtIcon(icon), caption, text, QMessageBox::NoButton, QApplication::activeWindow());
    switch (buttons) {
    case Buttons::Ok: box.setStandardButtons(QMessageBox::Ok); break;
    case Buttons::OkCancel: box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel); break;
    case Buttons::YesNo: box.setStandardButtons(QMessageBox::Yes | QMessageBox::No); break;
    case Buttons::YesNoCancel: box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel); break;
    }
    switch (box.exec()) {
    case QMessageBox::Ok: return mrOk;
    case QMessageBox::Yes: return mrYes;
    case QMessageBox::No: return mrNo;
    default: return mrCancel;
    }
}

bool QtDialogs::InputQuery(const QString& caption, const QString& prompt, QString& value)
{
    bool ok = false;
    const QString text =
        QInputDialog::getText(QApplication::activeWindow(), caption, prompt, QLineEdit::Normal, value, &ok);
    if (ok)
        value = text;
    return ok;
}

QString QtDialogs::SaveFileName(const QString& caption, const QString& filter, const QString& defaultExt,
                                const QString& initial)
{
    QFileDialog dialog(QApplication::activeWindow(), caption, initial, QtFilter(filter));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(defaultExt);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

QString QtDialogs::OpenFileName(const QString& caption, const QString& filter)
{
    return QFileDialog::getOpenFileName(QApplication::activeWindow(), caption, QString(), QtFilter(filter));
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
    calls_.append({QStringLiteral("message"), caption, text, icon, buttons});
    if (!messageAnswers_.empty()) {
        const int answer = messageAnswers_.front();
        messageAnswers_.pop_front();
        return answer;
    }
    return buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel ? mrYes : mrOk;
}

bool ScriptedDialogs::InputQuery(const QString& caption, const QString& prompt, QString& value)
{
    calls_.append({QStringLiteral("input"), caption, prompt});
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
    calls_.append({QStringLiteral("save"), caption, filter});
    if (fileAnswers_.empty())
        return {};
    const QString path = fileAnswers_.front();
    fileAnswers_.pop_front();
    return path;
}

QString ScriptedDialogs::OpenFileName(const QString& caption, const QString& filter)
{
    calls_.append({QStringLiteral("open"), caption, filter});
    if (fileAnswers_.empty())
        return {};
    const QString path = fileAnswers_.front();
    fileAnswers_.pop_front();
    return path;
}

namespace {
class EnterKeeper : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress)
            return false;
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key != Qt::Key_Return && key != Qt::Key_Enter)
            return false;
        // The key reaches the dialog only when the field with the focus did not use it.
        auto* dialog = static_cast<QWidget*>(watched);
        if (auto* button = qobject_cast<QAbstractButton*>(dialog->focusWidget()))
            button->click();
        return true;
    }
};
}  // namespace

void KeepOpenOnEnter(QDialog& dialog) { dialog.installEventFilter(new EnterKeeper(&dialog)); }

}  // namespace host
