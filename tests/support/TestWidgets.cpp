#include "support/TestWidgets.h"

#include <QApplication>
#include <QDialog>
#include <QTimer>

namespace testing_support {

void CloseNextModal(int result, std::function<void(QDialog*)> inspect)
{
    auto* timer = new QTimer(qApp);
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, result, inspect] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        if (inspect)
            inspect(dialog);
        dialog->done(result);
    });
    timer->start();
}

}  // namespace testing_support
