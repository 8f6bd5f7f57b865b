#pragma once

#include "transport/ChatTransport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <optional>

namespace brevio::test {

// The result of one transport operation and the thread its completion ran on.
template <class T> struct Outcome {
    std::optional<std::expected<T, ChatError>> result;
    QThread* thread = nullptr;

    TransportConnection::Done<T> done() {
        return [this](std::expected<T, ChatError> r) {
            result = std::move(r);
            thread = QThread::currentThread();
        };
    }
    bool arrived() const { return result.has_value(); }
};

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
