#pragma once
#include <QStringList>
#include <QtGlobal>

#include "host/HostApi.h"

class QWidget;

namespace host {

using WindowHandle = quintptr;

// Window placement in the host's terms.
namespace Placement {
constexpr WindowHandle Top = 0;
constexpr WindowHandle Bottom = 1;
constexpr unsigned NoSize = 0x01, NoMove = 0x02, NoActivate = 0x10, Show = 0x40, Hide = 0x80;
constexpr int ShowCommandShow = 5;
}  // namespace Placement

// Hands the screen between the host's main window and the spreadsheet application's window.
// Every request is carried out and kept in a history, so that the order of a hand-over can be checked.
class OZN3HOST_API WindowService {
public:
    void SetMainWindow(QWidget* window) { main_ = window; }
    QWidget* MainWindow() const { return main_; }
    WindowHandle MainHandle() const;

    void SetWindowPos(WindowHandle window, WindowHandle insertAfter, unsigned flags);
    void SetActiveWindow(WindowHandle window);
    void SetForegroundWindow(WindowHandle window);
    void ShowWindow(WindowHandle window, int command);
    WindowHandle GetForegroundWindow() const;
    // The thread that owns a window: 1 for the application's own windows, 0 for others.
    quintptr GetWindowThreadProcessId(WindowHandle window) const;
    void AttachThreadInput(quintptr from, quintptr to, bool attach);

    const QStringList& History() const { return history_; }
    void ClearHistory() { history_.clear(); }

private:
    QString Name(WindowHandle window) const;
    QString PlaceName(WindowHandle insertAfter) const;
    QWidget* main_ = nullptr;
    QStringList history_;
};

OZN3HOST_API WindowService& windows();

}  // namespace host
