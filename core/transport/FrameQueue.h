#pragma once

#include <cassert>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>

namespace brevio {

// A thread-safe queue with at most one waiting receiver. push() never blocks; the waiter is resumed
// outside the lock, on the thread that pushes or finishes. Elements buffered before finish() are
// still delivered; pushes after finish() are dropped.
template <class T> class FrameQueue {
public:
    // Receives the next element, or nothing as the end mark.
    using Waiter = std::function<void(std::optional<T>)>;

    void push(T element) {
        Waiter waiter;
        {
            std::lock_guard lock(mutex_);
            if (finished_)
                return;
            if (!waiter_) {
                buffer_.push_back(std::move(element));
                return;
            }
            waiter = std::move(waiter_);
            waiter_ = nullptr;
        }
        waiter(std::move(element));
    }

    // Calls `waiter` with the next element: at once (on this thread) when one is buffered or the
    // queue is finished, otherwise later from push() or finish(). One waiter at a time.
    void next(Waiter waiter) {
        std::optional<T> element;
        {
            std::lock_guard lock(mutex_);
            if (!buffer_.empty()) {
                element = std::move(buffer_.front());
                buffer_.pop_front();
            } else if (!finished_) {
                // A second waiter would silently replace the first, which then never resumes.
                assert(!waiter_ && "FrameQueue supports one waiting receiver");
                waiter_ = std::move(waiter);
                return;
            }
        }
        waiter(std::move(element));
    }

    // The first buffered element without waiting, or nothing.
    std::optional<T> tryNext() {
        std::lock_guard lock(mutex_);
        if (buffer_.empty())
            return std::nullopt;
        T element = std::move(buffer_.front());
        buffer_.pop_front();
        return element;
    }

    void finish() {
        Waiter waiter;
        {
            std::lock_guard lock(mutex_);
            finished_ = true;
            waiter = std::move(waiter_);
            waiter_ = nullptr;
        }
        if (waiter)
            waiter(std::nullopt);
    }

    bool isFinished() const {
        std::lock_guard lock(mutex_);
        return finished_;
    }

private:
    mutable std::mutex mutex_;
    std::deque<T> buffer_;
    Waiter waiter_;
    bool finished_ = false;
};

// Runs an action the first time only; for two events racing to complete the same thing.
class Once {
public:
    template <class F> bool run(F&& action) {
        {
            std::lock_guard lock(mutex_);
            if (done_)
                return false;
            done_ = true;
        }
        std::forward<F>(action)();
        return true;
    }
    bool isDone() const {
        std::lock_guard lock(mutex_);
        return done_;
    }

private:
    mutable std::mutex mutex_;
    bool done_ = false;
};

} // namespace brevio
