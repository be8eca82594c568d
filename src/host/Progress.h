#pragma once
#include <QElapsedTimer>
#include <QString>
#include <cstdio>
#include <memory>

#include "host/HostApi.h"

namespace host {

// Progress of long work: a caption, a text, a position out of a maximum.
class OZN3HOST_API Progress {
public:
    virtual ~Progress();
    virtual void Start(const QString& caption, int maximum) = 0;
    virtual void SetText(const QString& text) = 0;
    virtual void SetMaximum(int maximum) = 0;
    virtual void SetPosition(int position) = 0;
    virtual void Finish() = 0;
    // The user asked to stop.
    virtual bool Cancelled() const { return false; }
    void Step() { SetPosition(position_ + 1); }
    int Position() const { return position_; }

protected:
    int position_ = 0;
};

// The progress display in use (does nothing until one is installed).
OZN3HOST_API Progress& progress();
// Installs an implementation (not owned); null restores the silent one.
OZN3HOST_API void SetProgress(Progress* implementation);

// A one-line bar on a terminal for command-line jobs, redrawn at most ten times a second.
class OZN3HOST_API TerminalProgress : public Progress {
public:
    explicit TerminalProgress(FILE* out = stderr) : out_(out) {}
    void Start(const QString& caption, int maximum) override;
    void SetText(const QString& text) override;
    void SetMaximum(int maximum) override;
    void SetPosition(int position) override;
    void Finish() override;
    // The line as last drawn, without terminal control characters.
    QString Line() const { return line_; }

private:
    void Draw(bool force);
    FILE* out_;
    QString caption_, text_, line_;
    int maximum_ = 0;
    bool active_ = false;
    QElapsedTimer sinceDraw_;
};

}  // namespace host
