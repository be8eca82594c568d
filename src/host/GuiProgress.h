#pragma once
#include <QElapsedTimer>
#include <memory>

#include "host/Progress.h"

class QProgressDialog;

namespace host {

// A progress dialog of the desktop application.
class OZN3HOST_API GuiProgress : public Progress {
public:
    GuiProgress();
    ~GuiProgress() override;
    void Start(const QString& caption, int maximum) override;
    void SetText(const QString& text) override;
    void SetMaximum(int maximum) override;
    void SetPosition(int position) override;
    void Finish() override;
    bool Cancelled() const override;

private:
    std::unique_ptr<QProgressDialog> dialog_;
    QElapsedTimer sinceEvents_;
};

}  // namespace host
