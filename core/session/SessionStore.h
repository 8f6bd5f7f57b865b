#pragma once

#include "session/SessionCredentials.h"
#include "state/ChatState.h"

#include <QString>
#include <functional>
#include <optional>

namespace brevio {

// Where a session keeps what must survive a restart: the credentials of the signed-in user and a
// copy of that user's chat state. Called from the main thread only. Reads yield nothing for a
// missing or unreadable entry. Writes and deletes return at once and take effect in call order,
// before any later read; they report nothing (a failed write only costs the next launch a fresh
// download or a sign-in).
class SessionStore {
public:
    using StateLoaded = std::function<void(std::optional<ChatState>)>;

    virtual ~SessionStore() = default;

    virtual std::optional<SessionCredentials> loadCredentials() = 0;
    virtual void saveCredentials(const SessionCredentials& credentials) = 0;
    virtual void deleteCredentials() = 0;

    // Waits for the load (and every write queued before it).
    virtual std::optional<ChatState> loadState(const QString& userID) = 0;
    // The same load without blocking the caller: `done` runs later on the thread that owns the
    // store. A saved state can be tens of megabytes, too much to decode on the main thread.
    virtual void loadStateAsync(const QString& userID, StateLoaded done) = 0;
    // The state is encoded and written in the background.
    virtual void saveState(ChatState state, const QString& userID) = 0;
    virtual void deleteState(const QString& userID) = 0;

    // Returns once every save queued so far is on disk.
    virtual void flush() = 0;
};

} // namespace brevio
