#include "session/SaveScheduler.h"

#include <algorithm>

namespace brevio {

SaveScheduler::SaveScheduler(Clock& clock, SessionStore* store, const ChatState& state, Owner owner)
    : clock_(clock), store_(store), state_(state), owner_(std::move(owner)) {}

void SaveScheduler::schedule() {
    if (!store_)
        return;
    // A burst costs one write a second after its last change, but a burst that never ends is
    // written every few seconds all the same.
    const QDateTime now = clock_.now();
    if (!firstUnsaved_)
        firstUnsaved_ = now;
    const Duration waited(firstUnsaved_->msecsTo(now));
    const Duration wait = std::clamp(maximumDelay - waited, Duration::zero(), debounce);
    task_ = clock_.schedule(wait, [this] { saveNow(); });
}

void SaveScheduler::saveNow() {
    task_.reset();
    firstUnsaved_.reset();
    if (!store_)
        return;
    if (const std::optional<QString> user = owner_())
        store_->saveState(state_.trimmed(savedMessagesPerConversation), *user);
}

void SaveScheduler::outboxMayHaveChanged() {
    // The list is shared, so an unchanged outbox costs one comparison of two pointers.
    if (!store_ || state_.outbox == savedOutbox_)
        return;
    const std::optional<QString> user = owner_();
    if (!user)
        return;
    savedOutbox_ = state_.outbox;
    store_->saveOutbox(savedOutbox_, *user);
}

void SaveScheduler::cancel() {
    task_.reset();
    firstUnsaved_.reset();
    // The outbox last written stays: whatever is published before the owner is gone compares
    // equal and writes nothing after a delete. The next owner's outbox is adopted at its load.
}

} // namespace brevio
