#pragma once

#include "model/Clock.h"
#include "state/ChatState.h"
#include "wire/Frames.h"

#include <QDateTime>
#include <QHash>
#include <functional>
#include <map>

namespace brevio {

// Typing, both ways: this user's typing frames (one per conversation every few seconds while the
// keystrokes go on, and a stop after a silence or a sent message), and the expiry of other users'
// typing marks in the state.
class TypingSender {
public:
    static constexpr Duration resendInterval{3000};
    static constexpr Duration autoStop{5000};
    static constexpr Duration remoteLife{6000};
    static constexpr Duration pruneMargin{50};
    static constexpr Duration pruneMinimum{100};

    // `post` puts a frame on the live connection and is false when there is none; `changed` is
    // called after the marks in `state` lapsed.
    using Post = std::function<bool(ClientFrame)>;

    TypingSender(Clock& clock, ChatState& state, Post post, std::function<void()> changed);
    TypingSender(const TypingSender&) = delete;
    TypingSender& operator=(const TypingSender&) = delete;

    // A keystroke in the composer of a conversation.
    void keystroke(const QString& conversationID);
    // Takes the typing mark back, if the others were shown one.
    void stop(const QString& conversationID);
    // Forgets a conversation's typing without telling anyone (it is gone).
    void forget(const QString& conversationID);
    // The connection is gone, and what it was told with it.
    void clear();

    // Another user's typing event.
    void remote(const QString& conversationID, const QString& userID, bool isTyping);
    // Signed out: no expiry to wait for any more.
    void stopPruning() { pruneTask_.reset(); }

private:
    void schedulePrune();

    Clock& clock_;
    ChatState& state_;
    Post post_;
    std::function<void()> changed_;
    QHash<QString, QDateTime> sentAt_;
    std::map<QString, TimerHandle> stopTasks_;
    TimerHandle pruneTask_;
};

} // namespace brevio
