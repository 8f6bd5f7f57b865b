#pragma once

// Waiting for real threads and sockets in tests: sleeps in this thread's event loop until a
// condition holds. The limit only keeps a broken build from hanging; no assertion depends on how
// long anything took.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <chrono>

namespace brevio::test {

template <class Pred>
bool waitUntil(Pred done, std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    QDeadlineTimer deadline(limit);
    // Wakes the blocking wait below now and then so that the deadline is seen. (processEvents with
    // a time limit would ignore WaitForMoreEvents and spin, taking a core from the threads under
    // test.)
    QTimer tick;
    tick.start(10);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace brevio::test
