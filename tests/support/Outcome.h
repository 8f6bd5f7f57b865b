#pragma once

// Captures what an asynchronous operation's completion delivered: how often it ran, the result it
// carried and the thread it ran on.

#include "model/ChatError.h"

#include <QThread>
#include <expected>
#include <functional>
#include <optional>

namespace brevio::test {

template <class T> struct Outcome {
    int calls = 0;
    std::optional<std::expected<T, ChatError>> result;
    QThread* thread = nullptr;

    std::function<void(std::expected<T, ChatError>)> done() {
        return [this](std::expected<T, ChatError> r) {
            ++calls;
            result = std::move(r);
            thread = QThread::currentThread();
        };
    }
    bool arrived() const { return result.has_value(); }
};

} // namespace brevio::test
