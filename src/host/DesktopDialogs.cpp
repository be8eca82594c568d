#include "host/DesktopDialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMessageBox>

namespace host {

namespace {
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

// The desktop's dialogs are the default wherever the windows are loaded.
QtDialogs g_qtDialogs;
const bool g_installed = (SetDefaultDialogs(&g_qtDialogs), true);
}  // namespace

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
