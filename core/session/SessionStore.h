#pragma once

#include "session/SessionCredentials.h"
#include "session/StorageProblem.h"
#include "state/ChatState.h"

#include <QString>
#include <functional>
#include <optional>

namespace brevio {

// Where a session keeps what must survive a restart: the credentials of the signed-in user and a
// copy of that user's chat state, with its outbox kept apart so that it can be written the moment
// it changes. Called from the main thread only. Reads yield nothing for a missing or unreadable
// entry. Writes and deletes return at once and take effect in call order, before any later read.
// An unreadable file or a failed write is reported to the problem handler, later, on the thread
// that owns the store.
class SessionStore {
public:
    using StateLoaded = std::function<void(std::optional<ChatState>)>;
    using ProblemHandler = std::function<void(const StorageProblem&)>;

    virtual ~SessionStore() = default;

    virtual std::optional<SessionCredentials> loadCredentials() = 0;
    virtual void saveCredentials(const SessionCredentials& credentials) = 0;
    virtual void deleteCredentials() = 0;

    // Waits for the load (and every write queued before it). The saved outbox, when there is one
    // and it can be read, replaces the outbox of the saved state: it is always the newer of the
    // two.
    virtual std::optional<ChatState> loadState(const QString& userID) = 0;
    // The same load without blocking the caller: `done` runs later on the thread that owns the
    // store. A saved state can be tens of megabytes, too much to decode on the main thread.
    virtual void loadStateAsync(const QString& userID, StateLoaded done) = 0;
    // The state is encoded and written in the background.
    virtual void saveState(ChatState state, const QString& userID) = 0;
    // Small and written on every change of the outbox, so that a message is on disk at once
    // whatever the rest of the state waits for.
    virtual void saveOutbox(QList<PendingMessage> outbox, const QString& userID) = 0;
    // Removes the saved state and the saved outbox of the user.
    virtual void deleteState(const QString& userID) = 0;

    // Returns once every save queued so far is on disk.
    virtual void flush() = 0;
    // The same barrier without blocking the caller: `done` runs later on the thread that owns the
    // store, once every write and delete queued before it has been carried out.
    virtual void whenWritten(std::function<void()> done) = 0;
    // Where problems go; an empty handler drops them.
    virtual void setProblemHandler(ProblemHandler handler) = 0;
};

} // namespace brevio
