#include "host/WindowService.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

namespace host {

namespace {
WindowService g_windows;

QWindow* foreignWindow(WindowHandle handle)
{
    return handle > Placement::Bottom ? QWindow::fromWinId(static_cast<WId>(handle)) : nullptr;
}
}  // namespace

WindowService& windows() { return g_windows; }

WindowHandle WindowService::MainHandle() const
{
    // The address stands for the window until the platform has given it an id.
    return main_ ? reinterpret_cast<WindowHandle>(main_) : 0;
}

QString WindowService::PlaceName(WindowHandle insertAfter) const
{
    if (insertAfter == Placement::Top)
        return QStringLiteral("top");
    if (insertAfter == Placement::Bottom)
        return QStringLiteral("bottom");
    return Name(insertAfter);
}

QString WindowService::Name(WindowHandle window) const
{
    if (window == 0)
        return QStringLiteral("none");
    if (window == MainHandle())
        return QStringLiteral("main");
    return QStringLiteral("window:%1").arg(window);
}

void WindowService::SetWindowPos(WindowHandle window, WindowHandle insertAfter, unsigned flags)
{
    history_ << QStringLiteral("SetWindowPos(%1,%2,0x%3)")
                    .arg(Name(window), PlaceName(insertAfter), QString::number(flags, 16).toUpper());
    if (window == MainHandle() && main_) {
        if (flags & Placement::Hide)
            main_->hide();
        if (flags & Placement::Show)
            main_->show();
        if (insertAfter == Placement::Top && !(flags & Placement::Hide))
            main_->raise();
        if (insertAfter == Placement::Bottom)
            main_->lower();
    } else if (QWindow* w = foreignWindow(window)) {
        if (insertAfter == Placement::Top)
            w->raise();
        else if (insertAfter == Placement::Bottom)
            w->lower();
    }
}

void WindowService::SetActiveWindow(WindowHandle window)
{
    history_ << QStringLiteral("SetActiveWindow(%1)").arg(Name(window));
    if (window == MainHandle() && main_)
        main_->activateWindow();
}

void WindowService::SetForegroundWindow(WindowHandle window)
{
    history_ << QStringLiteral("SetForegroundWindow(%1)").arg(Name(window));
    if (window == MainHandle() && main_) {
        main_->raise();
        main_->activateWindow();
    } else if (QWindow* w = foreignWindow(window)) {
        w->raise();
        w->requestActivate();
    }
}

void WindowService::ShowWindow(WindowHandle window, int command)
{
    history_ << QStringLiteral("ShowWindow(%1,%2)").arg(Name(window)).arg(command);
    if (window == MainHandle() && main_ && command == Placement::ShowCommandShow)
        main_->show();
}

WindowHandle WindowService::GetForegroundWindow() const
{
    QWidget* active = QApplication::activeWindow();
    if (!active)
        return 0;
    return active == main_ ? MainHandle() : reinterpret_cast<WindowHandle>(active);
}

quintptr WindowService::GetWindowThreadProcessId(WindowHandle window) const
{
    // Only the application's own windows share its input thread.
    return window != 0 ? 1 : 0;
}

void WindowService::AttachThreadInput(quintptr from, quintptr to, bool attach)
{
    history_ << QStringLiteral("AttachThreadInput(%1,%2,%3)").arg(from).arg(to).arg(attach ? 1 : 0);
}

}  // namespace host
