#include "app/QuitOnSignals.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <csignal>
#include <pthread.h>
#include <thread>

namespace {
sigset_t stopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&set, signal);
    return set;
}
}  // namespace

void BlockStopSignals()
{
    const sigset_t set = stopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void QuitOnSignals(QCoreApplication& app)
{
    std::thread([&app] {
        const sigset_t set = stopSignals();
        int signal = 0;
        if (sigwait(&set, &signal) == 0)
            QMetaObject::invokeMethod(&app, &QCoreApplication::quit, Qt::QueuedConnection);
    }).detach();
}
