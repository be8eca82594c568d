#pragma once
// A watch over the statement a connection runs: when the statement waits longer than its limit (a row another
// user holds), or the user asks to stop while it has run half a second, the engine is told to cancel it, so
// that no job waits forever.
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

class TStatementWatch {
public:
    // `cancel` tells the engine to end the running statement; it is called from the watch's thread.
    explicit TStatementWatch(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    ~TStatementWatch();
    TStatementWatch(const TStatementWatch&) = delete;
    TStatementWatch& operator=(const TStatementWatch&) = delete;

    // Before a statement: the limit in milliseconds (0: none) and what says the user asked to stop.
    void Arm(int limitMs, const std::function<bool()>& stopRequested);
    // After it: true when the watch cancelled it for the limit, false otherwise.
    bool Disarm(bool& stopped);

private:
    void Run();
    std::function<void()> cancel_;
    std::function<bool()> stop_;
    std::mutex mutex_;
    std::condition_variable wake_;
    std::thread thread_;
    bool armed_ = false, quit_ = false, timedOut_ = false, stopped_ = false;
    std::chrono::steady_clock::time_point started_, deadline_;
    int limitMs_ = 0;
};
