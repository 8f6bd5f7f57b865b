#pragma once

// Payloads of the frames a server sends. Field names are the JSON keys.

#include "model/Records.h"

namespace brevio {

struct Welcome {
    QString token;
    User me;
    QString organization;
    QList<User> users;
    QList<ClientCompany> clients;
    QList<Conversation> conversations;
    QStringList online;
    friend bool operator==(const Welcome&, const Welcome&) = default;
};

struct Ack {
    QString replyTo;
    ChatMessage message;
    friend bool operator==(const Ack&, const Ack&) = default;
};

// "message" and "messageUpdated".
struct MessageEvent {
    ChatMessage message;
    friend bool operator==(const MessageEvent&, const MessageEvent&) = default;
};

struct HistoryPage {
    QString replyTo;
    QString conversationID;
    QList<ChatMessage> messages;
    bool hasMore = false;
    friend bool operator==(const HistoryPage&, const HistoryPage&) = default;
};

struct ChangesPage {
    QString replyTo;
    QString conversationID;
    QList<ChatMessage> messages;
    bool hasMore = false;
    qint64 revision = 0;
    friend bool operator==(const ChangesPage&, const ChangesPage&) = default;
};

// "delivered" and "read".
struct ReadEvent {
    QString conversationID;
    QString userID;
    qint64 seq = 0;
    friend bool operator==(const ReadEvent&, const ReadEvent&) = default;
};

struct TypingEvent {
    QString conversationID;
    QString userID;
    bool isTyping = false;
    friend bool operator==(const TypingEvent&, const TypingEvent&) = default;
};

struct PresenceEvent {
    QString userID;
    bool online = false;
    friend bool operator==(const PresenceEvent&, const PresenceEvent&) = default;
};

struct ConversationEvent {
    Conversation conversation;
    friend bool operator==(const ConversationEvent&, const ConversationEvent&) = default;
};

struct ConversationRemovedEvent {
    QString conversationID;
    friend bool operator==(const ConversationRemovedEvent&,
                           const ConversationRemovedEvent&) = default;
};

struct ReceiptsReply {
    QString replyTo;
    QString conversationID;
    qint64 seq = 0;
    QList<ReceiptEntry> entries;
    friend bool operator==(const ReceiptsReply&, const ReceiptsReply&) = default;
};

struct ClientEvent {
    ClientCompany client;
    friend bool operator==(const ClientEvent&, const ClientEvent&) = default;
};

struct UserEvent {
    User user;
    friend bool operator==(const UserEvent&, const UserEvent&) = default;
};

struct InviteCreated {
    QString replyTo;
    Invite invite;
    friend bool operator==(const InviteCreated&, const InviteCreated&) = default;
};

struct OKReply {
    QString replyTo;
    std::optional<QString> conversationID;
    std::optional<ChatMessage> message;
    friend bool operator==(const OKReply&, const OKReply&) = default;
};

struct ServerError {
    std::optional<QString> replyTo;
    QString code;
    std::optional<QString> message;
    std::optional<qint64> minimumBuild;
    friend bool operator==(const ServerError&, const ServerError&) = default;
};

// A frame type this client does not know; only the "type" string is kept.
struct UnknownFrame {
    QString type;
    friend bool operator==(const UnknownFrame&, const UnknownFrame&) = default;
};

// Hashing by value, over all fields.
size_t qHash(const Welcome& v, size_t seed = 0) noexcept;
size_t qHash(const Ack& v, size_t seed = 0) noexcept;
size_t qHash(const MessageEvent& v, size_t seed = 0) noexcept;
size_t qHash(const HistoryPage& v, size_t seed = 0) noexcept;
size_t qHash(const ChangesPage& v, size_t seed = 0) noexcept;
size_t qHash(const ReadEvent& v, size_t seed = 0) noexcept;
size_t qHash(const TypingEvent& v, size_t seed = 0) noexcept;
size_t qHash(const PresenceEvent& v, size_t seed = 0) noexcept;
size_t qHash(const ConversationEvent& v, size_t seed = 0) noexcept;
size_t qHash(const ConversationRemovedEvent& v, size_t seed = 0) noexcept;
size_t qHash(const ReceiptsReply& v, size_t seed = 0) noexcept;
size_t qHash(const ClientEvent& v, size_t seed = 0) noexcept;
size_t qHash(const UserEvent& v, size_t seed = 0) noexcept;
size_t qHash(const InviteCreated& v, size_t seed = 0) noexcept;
size_t qHash(const OKReply& v, size_t seed = 0) noexcept;
size_t qHash(const ServerError& v, size_t seed = 0) noexcept;
size_t qHash(const UnknownFrame& v, size_t seed = 0) noexcept;

} // namespace brevio
