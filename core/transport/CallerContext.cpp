#include "transport/CallerContext.h"

#include <QThread>

namespace brevio {

CallerContext::CallerContext()
    : receiver_(new QObject), live_(std::make_shared<std::atomic<bool>>(true)) {}

CallerContext::~CallerContext() {
    cancel();
}

void CallerContext::post(std::function<void()> fn) const {
    // Posting under the lock keeps cancel() from deleting the receiver while an event is being
    // queued to it from another thread.
    std::lock_guard lock(mutex_);
    if (!receiver_)
        return;
    QMetaObject::invokeMethod(
        receiver_,
        [live = live_, fn = std::move(fn)] {
            if (live->load())
                fn();
        },
        Qt::QueuedConnection);
}

void CallerContext::cancel() {
    QObject* receiver = nullptr;
    {
        std::lock_guard lock(mutex_);
        live_->store(false);
        receiver = std::exchange(receiver_, nullptr);
    }
    if (!receiver)
        return;
    // Deleting the receiver drops the events still queued to it; from another thread the deletion
    // is deferred, and the live flag stops what runs before it.
    if (receiver->thread() == QThread::currentThread())
        delete receiver;
    else
        receiver->deleteLater();
}

} // namespace brevio
