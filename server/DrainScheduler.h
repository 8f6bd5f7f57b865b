#pragma once

#include <QObject>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace brevio {

// Connections with frames to send, marked from whatever thread fills their queues and drained
// together in one pass on the connections' thread. A broadcast to a hundred peers then costs one
// wake-up of that thread instead of a hundred posted calls.
class DrainScheduler : public std::enable_shared_from_this<DrainScheduler> {
public:
    // One connection's registration. Its owner clears `drain` under `mutex` before it goes away,
    // so a pass that still holds the entry does nothing.
    struct Entry {
        std::mutex mutex;
        std::function<void()> drain;
    };

    // Passes run on `context`'s thread.
    explicit DrainScheduler(QObject* context) : context_(context) {}

    // Any thread. Marks `entry` for the next pass and starts one if none is pending.
    void schedule(std::shared_ptr<Entry> entry);
    // On the context's thread, before the context is destroyed: later marks are dropped.
    void detach();

private:
    void run();

    std::mutex mutex_;
    QObject* context_;
    std::vector<std::shared_ptr<Entry>> ready_;
    bool posted_ = false;
};

} // namespace brevio
