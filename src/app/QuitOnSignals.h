#pragma once

class QCoreApplication;

// The desktop application ends its event loop when the process is asked to stop (SIGTERM, SIGINT, SIGHUP), so
// that the window closes and the database is detached as on a normal exit.
//
// The signals are blocked before any thread starts (BlockStopSignals, first thing of the window's path), so that
// they never interrupt the embedded engine's threads; one thread of ours waits for them (QuitOnSignals).
void BlockStopSignals();
void QuitOnSignals(QCoreApplication& app);
