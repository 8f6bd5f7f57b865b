#pragma once

#include "model/Clock.h"
#include "session/SessionStore.h"
#include "state/ChatState.h"

#include <QDateTime>
#include <functional>
#include <optional>

namespace brevio {

// When a session's state reaches its store. The state is saved a short while after a burst of
// changes, and a burst that never ends is saved all the same every few seconds; the outbox, which
// holds what the user wrote and the server does not have yet, is written on its own the moment it
// changes.
class SaveScheduler {
public:
    static constexpr Duration debounce{1000};
    static constexpr Duration maximumDelay{5000};
    static constexpr qsizetype savedMessagesPerConversation = 200;

    // The user whose files may be written now, or nothing while nothing may be (signed out, or
    // the saved state is still being read).
    using Owner = std::function<std::optional<QString>()>;

    // `store` may be null: then nothing is ever written.
    SaveScheduler(Clock& clock, SessionStore* store, const ChatState& state, Owner owner);
    SaveScheduler(const SaveScheduler&) = delete;
    SaveScheduler& operator=(const SaveScheduler&) = delete;

    // The state changed: save it soon.
    void schedule();
    // Save it now; the pending save is no longer needed.
    void saveNow();
    // Writes the outbox if it differs from the one last written. Called after every change of
    // the state, so that no change of the outbox can be missed.
    void outboxMayHaveChanged();
    // The outbox the store already holds (a loaded state's), which needs no writing.
    void adoptOutbox(const QList<PendingMessage>& outbox) { savedOutbox_ = outbox; }
    // Drops the pending save (signing out).
    void cancel();

private:
    Clock& clock_;
    SessionStore* const store_;
    const ChatState& state_;
    Owner owner_;
    TimerHandle task_;
    std::optional<QDateTime> firstUnsaved_; // the first change since the last save
    QList<PendingMessage> savedOutbox_;     // the outbox as last handed to the store
};

} // namespace brevio
