#pragma once

#include "support/EventLoopWait.h"
#include "transport/ChatTransport.h"

#include <QCoreApplication>
#include <QThread>
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

// Delivers everything already posted to this thread, without waiting for more.
inline void drainPosted() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

} // namespace brevio::test
