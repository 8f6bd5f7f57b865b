#include "DrainScheduler.h"

namespace brevio {

void DrainScheduler::schedule(std::shared_ptr<Entry> entry) {
    std::lock_guard lock(mutex_);
    if (!context_)
        return;
    ready_.push_back(std::move(entry));
    if (posted_)
        return;
    posted_ = true;
    // Posted under the lock, so detach() cannot slip in between; a call posted to a context that
    // is then destroyed is discarded with it.
    QMetaObject::invokeMethod(
        context_, [self = shared_from_this()] { self->run(); }, Qt::QueuedConnection);
}

void DrainScheduler::detach() {
    std::lock_guard lock(mutex_);
    context_ = nullptr;
    ready_.clear();
}

void DrainScheduler::run() {
    std::vector<std::shared_ptr<Entry>> batch;
    {
        std::lock_guard lock(mutex_);
        batch.swap(ready_);
        posted_ = false;
    }
    for (const auto& entry : batch) {
        std::function<void()> drain;
        {
            std::lock_guard lock(entry->mutex);
            drain = entry->drain;
        }
        // Entries are only cleared on this thread, so the owner is still alive here.
        if (drain)
            drain();
    }
}

} // namespace brevio
