#pragma once

#include "model/Records.h"

namespace brevio {

// What the session tells the application model about, for notifications.
struct SessionEvent {
    enum class Kind {
        incoming, // a message from somebody else arrived live
        removed,  // a conversation was taken away from this user
    };

    Kind kind = Kind::incoming;
    ChatMessage message;    // `incoming`
    QString conversationID; // both: the conversation concerned

    static SessionEvent incoming(ChatMessage message) {
        QString id = message.conversationID;
        return {Kind::incoming, std::move(message), std::move(id)};
    }
    static SessionEvent removed(QString conversationID) {
        return {Kind::removed, {}, std::move(conversationID)};
    }

    friend bool operator==(const SessionEvent&, const SessionEvent&) = default;
};

} // namespace brevio
