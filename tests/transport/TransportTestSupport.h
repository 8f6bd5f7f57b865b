#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>
#include <chrono>

namespace brevio::test {

// Runs this thread's event loop until `done()` holds. The limit only keeps a broken build from
// hanging; no assertion depends on how long anything took.
template <class Pred>
bool waitUntil(Pred done, std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    QDeadlineTimer deadline(limit);
    // Wakes the blocking wait below now and then so that the deadline is seen.
    QTimer tick;
    tick.start(10);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// Delivers everything already posted to this thread, without waiting for more.
inline void drainPosted() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

} // namespace brevio::test
