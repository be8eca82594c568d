#include "host/StatementWatch.h"

namespace {
// How often a running statement looks whether the user asked to stop, and how long it runs before a stop
// ends it: a short statement (undoing a savepoint after an error) always finishes.
constexpr auto kStopPoll = std::chrono::milliseconds(100);
constexpr auto kStopGrace = std::chrono::milliseconds(500);
}  // namespace

TStatementWatch::~TStatementWatch()
{
    {
        std::lock_guard lock(mutex_);
        quit_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

void TStatementWatch::Arm(int limitMs, const std::function<bool()>& stopRequested)
{
    std::lock_guard lock(mutex_);
    if (!thread_.joinable())
        thread_ = std::thread([this] { Run(); });
    limitMs_ = limitMs;
    stop_ = stopRequested;
    started_ = std::chrono::steady_clock::now();
    deadline_ = started_ + std::chrono::milliseconds(limitMs);
    armed_ = true;
    timedOut_ = stopped_ = false;
    wake_.notify_all();
}

bool TStatementWatch::Disarm(bool& stopped)
{
    std::lock_guard lock(mutex_);
    armed_ = false;
    stopped = stopped_;
    return timedOut_;
}

void TStatementWatch::Run()
{
    std::unique_lock lock(mutex_);
    while (!quit_) {
        if (!armed_) {
            wake_.wait(lock);
            continue;
        }
        const auto next = limitMs_ > 0 ? std::min(deadline_, std::chrono::steady_clock::now() + kStopPoll)
                                       : std::chrono::steady_clock::now() + kStopPoll;
        wake_.wait_until(lock, next);
        if (!armed_ || quit_)
            continue;
        const auto now = std::chrono::steady_clock::now();
        const bool late = limitMs_ > 0 && now >= deadline_;
        const bool stop = now - started_ >= kStopGrace && stop_ && stop_();
        if (late || stop) {
            timedOut_ = late && !stop;
            stopped_ = stop;
            armed_ = false;
            cancel_();
        }
    }
}
