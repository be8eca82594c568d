#include "host/Progress.h"

#include <unistd.h>

#include <QStringList>
#include <algorithm>

namespace host {

namespace {
class SilentProgress : public Progress {
public:
    void Start(const QString&, int) override { position_ = 0; }
    void SetText(const QString&) override {}
    void SetMaximum(int) override {}
    void SetPosition(int position) override { position_ = position; }
    void Finish() override {}
};
SilentProgress g_silent;
Progress* g_progress = nullptr;
}  // namespace

Progress::~Progress() = default;

Progress& progress() { return g_progress ? *g_progress : g_silent; }

void SetProgress(Progress* implementation) { g_progress = implementation; }

void TerminalProgress::Start(const QString& caption, int maximum)
{
    caption_ = caption;
    text_.clear();
    maximum_ = maximum;
    position_ = 0;
    active_ = true;
    sinceDraw_.invalidate();
    Draw(true);
}

void TerminalProgress::SetText(const QString& text)
{
    text_ = text;
    Draw(false);
}

void TerminalProgress::SetMaximum(int maximum)
{
    maximum_ = maximum;
    Draw(false);
}

void TerminalProgress::SetPosition(int position)
{
    position_ = position;
    Draw(position_ >= maximum_);
}

void TerminalProgress::Finish()
{
    if (!active_)
        return;
    Draw(true);
    if (!isatty(fileno(out_)))
        std::fputs(line_.toUtf8().constData(), out_);
    std::fputc('\n', out_);
    std::fflush(out_);
    active_ = false;
}

void TerminalProgress::Draw(bool force)
{
    if (!active_ || (!force && sinceDraw_.isValid() && sinceDraw_.elapsed() < 100))
        return;
    sinceDraw_.start();
    constexpr int width = 30;
    QString bar;
    if (maximum_ > 0) {
        const int done = std::clamp(position_ * width / maximum_, 0, width);
        bar = QStringLiteral("[%1%2] %3/%4")
                  .arg(QString(done, QLatin1Char('#')), QString(width - done, QLatin1Char('.')))
                  .arg(position_)
                  .arg(maximum_);
    }
    line_ = QStringList{caption_, bar, text_}.join(QLatin1Char(' ')).simplified();
    // A terminal gets the line redrawn in place; a file or a pipe only the last line, at the end.
    if (!isatty(fileno(out_)))
        return;
    std::fprintf(out_, "\r\033[K%s", line_.toUtf8().constData());
    std::fflush(out_);
}

}  // namespace host
