#include "host/GuiProgress.h"

#include <QApplication>
#include <QProgressDialog>

namespace host {

GuiProgress::GuiProgress() = default;
GuiProgress::~GuiProgress() = default;

void GuiProgress::Start(const QString& caption, int maximum)
{
    dialog_ = std::make_unique<QProgressDialog>(QString(), QStringLiteral("Прервать"), 0, maximum,
                                                QApplication::activeWindow());
    dialog_->setWindowTitle(caption);
    dialog_->setWindowModality(Qt::WindowModal);
    dialog_->setMinimumDuration(300);
    position_ = 0;
}

void GuiProgress::SetText(const QString& text)
{
    if (dialog_)
        dialog_->setLabelText(text);
    QApplication::processEvents();
}

void GuiProgress::SetMaximum(int maximum)
{
    if (dialog_)
        dialog_->setMaximum(maximum);
}

void GuiProgress::SetPosition(int position)
{
    position_ = position;
    if (dialog_)
        dialog_->setValue(std::min(position, dialog_->maximum()));
    // Long work on this thread still answers the dialog's button, a few times a second.
    if (!sinceEvents_.isValid() || sinceEvents_.elapsed() > 50) {
        sinceEvents_.start();
        QApplication::processEvents();
    }
}

void GuiProgress::Finish() { dialog_.reset(); }

bool GuiProgress::Cancelled() const { return dialog_ && dialog_->wasCanceled(); }

}  // namespace host
