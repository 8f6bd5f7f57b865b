#include "model/Records.h"

#include "model/Hashing.h"

namespace brevio {

QString toString(Role role) {
    switch (role) {
    case Role::staff:
        return QStringLiteral("staff");
    case Role::client:
        return QStringLiteral("client");
    }
    return {};
}

QString toString(ConversationKind kind) {
    switch (kind) {
    case ConversationKind::direct:
        return QStringLiteral("direct");
    case ConversationKind::group:
        return QStringLiteral("group");
    }
    return {};
}

using hashing::hashFields;

size_t qHash(Role v, size_t seed) noexcept {
    return hashFields(seed, int(v));
}

size_t qHash(ConversationKind v, size_t seed) noexcept {
    return hashFields(seed, int(v));
}

size_t qHash(const User& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.name, v.email, v.role, v.clientID, v.isAdmin, v.avatar);
}

size_t qHash(const ClientCompany& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.name, v.notes, v.createdAt);
}

size_t qHash(const QuotedMessage& v, size_t seed) noexcept {
    return hashFields(seed, v.seq, v.authorID, v.text, v.deleted);
}

size_t qHash(const Reaction& v, size_t seed) noexcept {
    return hashFields(seed, v.emoji, v.userIDs);
}

size_t qHash(const ReceiptEntry& v, size_t seed) noexcept {
    return hashFields(seed, v.userID, v.deliveredAt, v.readAt);
}

size_t qHash(const Invite& v, size_t seed) noexcept {
    return hashFields(seed, v.code, v.clientID, v.name, v.email, v.expiresAt);
}

size_t qHash(const ChatMessage& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.clientID, v.conversationID, v.seq, v.authorID, v.text, v.sentAt,
                      v.replyToSeq, v.reply, v.editedAt, v.deletedAt, v.reactions, v.revision);
}

size_t qHash(const Conversation& v, size_t seed) noexcept {
    return hashFields(seed, v.id, v.kind, v.clientID, v.title, v.memberIDs, v.lastSeq,
                      v.lastMessage, v.reads, v.delivered, v.revision);
}

} // namespace brevio
