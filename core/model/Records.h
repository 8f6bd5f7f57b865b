#pragma once

// The plain value records shared by every layer: carried inside frames, kept by the chat state,
// saved to disk and served by the local server. Records refer to each other by string ids only.

#include "model/SharedOptional.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

namespace brevio {

enum class Role { staff, client };
enum class ConversationKind { direct, group };

QString toString(Role role);
QString toString(ConversationKind kind);

struct User {
    QString id;
    QString name;
    std::optional<QString> email;
    Role role = Role::client;
    std::optional<QString> clientID;
    bool isAdmin = false;
    std::optional<QString> avatar;

    friend bool operator==(const User&, const User&) = default;
};

struct ClientCompany {
    QString id;
    QString name;
    std::optional<QString> notes;
    QDateTime createdAt;

    friend bool operator==(const ClientCompany&, const ClientCompany&) = default;
};

struct QuotedMessage {
    qint64 seq = 0;
    QString authorID;
    QString text;
    bool deleted = false;

    friend bool operator==(const QuotedMessage&, const QuotedMessage&) = default;
};

struct Reaction {
    QString emoji;
    QStringList userIDs;

    friend bool operator==(const Reaction&, const Reaction&) = default;
};

struct ChatMessage {
    QString id;
    QString clientID;
    QString conversationID;
    qint64 seq = 0;
    QString authorID;
    QString text;
    QDateTime sentAt;
    std::optional<qint64> replyToSeq;
    SharedOptional<QuotedMessage> reply; // shared: most messages quote nothing
    std::optional<QDateTime> editedAt;
    std::optional<QDateTime> deletedAt;
    QList<Reaction> reactions;
    qint64 revision = 0;

    bool isDeleted() const { return deletedAt.has_value(); }
    bool isEdited() const { return editedAt.has_value(); }

    friend bool operator==(const ChatMessage&, const ChatMessage&) = default;
};

// Per-member marks of a conversation: user id → seq.
using SeqMarks = QMap<QString, qint64>;

struct Conversation {
    QString id;
    ConversationKind kind = ConversationKind::direct;
    std::optional<QString> clientID;
    QString title;
    std::optional<QStringList> memberIDs;
    qint64 lastSeq = 0;
    std::optional<ChatMessage> lastMessage;
    SeqMarks reads;
    SeqMarks delivered;
    qint64 revision = 0;

    friend bool operator==(const Conversation&, const Conversation&) = default;
};

struct ReceiptEntry {
    QString userID;
    std::optional<QDateTime> deliveredAt;
    std::optional<QDateTime> readAt;

    friend bool operator==(const ReceiptEntry&, const ReceiptEntry&) = default;
};

struct PendingMessage {
    QString clientID;
    QString conversationID;
    QString text;
    QDateTime createdAt;
    std::optional<QString> failure;
    std::optional<qint64> replyToSeq;

    friend bool operator==(const PendingMessage&, const PendingMessage&) = default;
};

struct Invite {
    QString code;
    QString clientID;
    QString name;
    QString email;
    QDateTime expiresAt;

    friend bool operator==(const Invite&, const Invite&) = default;
};

// Hashing over all fields, for QSet/QHash keys.
size_t qHash(Role v, size_t seed = 0) noexcept;
size_t qHash(ConversationKind v, size_t seed = 0) noexcept;
size_t qHash(const User& v, size_t seed = 0) noexcept;
size_t qHash(const ClientCompany& v, size_t seed = 0) noexcept;
size_t qHash(const QuotedMessage& v, size_t seed = 0) noexcept;
size_t qHash(const Reaction& v, size_t seed = 0) noexcept;
size_t qHash(const ReceiptEntry& v, size_t seed = 0) noexcept;
size_t qHash(const Invite& v, size_t seed = 0) noexcept;
// Not needed as keys, but frames that carry them hash by value.
size_t qHash(const ChatMessage& v, size_t seed = 0) noexcept;
size_t qHash(const Conversation& v, size_t seed = 0) noexcept;

} // namespace brevio
