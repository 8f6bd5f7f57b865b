#pragma once

#include "model/Clock.h"
#include "model/Records.h"

#include <map>
#include <optional>
#include <vector>

namespace brevio {

class PeerHub;
class ServerData;

// Plays the people nobody is signed in as. For each message it answers, one person from the
// other side of the conversation (staff for a client's message, a client for a staff member's)
// who has no connected peer: 0.5 s later their delivered mark moves, 0.9 s after that their read
// mark moves and they start typing, and 2.0 s after that their reply arrives. Staff and clients
// speak with their own five texts, each voice in its own rotation.
class AutoReplier {
public:
    static constexpr Duration deliveredDelay{500};
    static constexpr Duration readDelay{900};
    static constexpr Duration replyDelay{2000};

    AutoReplier(ServerData& data, PeerHub& hub, Clock& clock);
    ~AutoReplier();

    // Starts the answer to message `seq` of the conversation, if someone can give it.
    void start(const QString& conversationID, qint64 seq, const QString& authorID);

    static QString text(Role voice, int turn);
    // Forgets every answer still under way.
    void cancelAll() {
        timers_.clear();
        spent_.clear();
    }

private:
    std::optional<QString> answererFor(const Conversation& conversation, const User& author) const;
    // The conversation, while `userID` still takes part in it.
    Conversation* stillOpen(const QString& conversationID, const QString& userID);
    void after(Duration delay, std::function<void()> step);

    ServerData& data_;
    PeerHub& hub_;
    Clock& clock_;
    int staffTurn_ = 0;
    int clientTurn_ = 0;
    quint64 nextTimer_ = 0;
    std::map<quint64, TimerHandle> timers_;
    // Handles of timers that fired; they are dropped later, never inside their own callback.
    std::vector<TimerHandle> spent_;
};

} // namespace brevio
