#pragma once

#include <QObject>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

namespace brevio {

// Runs completions on the event loop of the thread that created it. post() may be called from any
// thread and never runs the function synchronously. After cancel() (or destruction) nothing posted
// runs any more, including what was already queued: a connection that is dropped takes its
// pending completions with it.
class CallerContext {
public:
    CallerContext();
    ~CallerContext();
    CallerContext(const CallerContext&) = delete;
    CallerContext& operator=(const CallerContext&) = delete;

    void post(std::function<void()> fn) const;
    void cancel();

private:
    mutable std::mutex mutex_;
    QObject* receiver_; // lives on the creating thread; null once cancelled
    std::shared_ptr<std::atomic<bool>> live_;
};

} // namespace brevio
