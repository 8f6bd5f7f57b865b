#include "wire/Events.h"

#include "model/Hashing.h"

namespace brevio {

using hashing::hashFields;

size_t qHash(const Welcome& v, size_t seed) noexcept {
    return hashFields(seed, v.token, v.me, v.organization, v.users, v.clients, v.conversations,
                      v.online);
}
size_t qHash(const Ack& v, size_t seed) noexcept {
    return hashFields(seed, v.replyTo, v.message);
}
size_t qHash(const MessageEvent& v, size_t seed) noexcept {
    return hashFields(seed, v.message);
}
size_t qHash(const HistoryPage& v, size_t seed) noexcept {
    return hashFields(seed, v.replyTo, v.conversationID, v.messages, v.hasMore);
}
size_t qHash(const ChangesPage& v, size_t seed) noexcept {
    return hashFields(seed, v.replyTo, v.conversationID, v.messages, v.hasMore, v.revision);
}
size_t qHash(const ReadEvent& v, size_t seed) noexcept {
    return hashFields(seed, v.conversationID, v.userID, v.seq);
}
size_t qHash(const TypingEvent& v, size_t seed) noexcept {
    return hashFields(seed, v.conversationID, v.userID, v.isTyping);
}
size_t qHash(const PresenceEvent& v, size_t seed) noexcept {
    return hashFields(seed, v.userID, v.online);
}
size_t qHash(const ConversationEvent& v, size_t seed) noexcept {
    return hashFields(seed, v.conversation);
}
size_t qHash(const ConversationRemovedEvent& v, size_t seed) noexcept {
    return hashFields(seed, v.conversationID);
}
size_t qHash(const ReceiptsReply& v, size_t seed) noexcept {
    return hashFields(seed, v.replyTo, v.conversationID, v.seq, v.entries);
}
size_t qHash(const ClientEvent& v, size_t seed) noexcept {
    return hashFields(seed, v.client);
}
size_t qHash(const UserEvent& v, size_t seed) noexcept {
    return hashFields(seed, v.user);
}
size_t qHash(const InviteCreated& v, size_t seed) noexcept {
    return hashFields(seed, v.replyTo, v.invite);
}
size_t qHash(const OKReply& v, size_t seed) noexcept {
    return hashFields(seed, v.replyTo, v.conversationID, v.message);
}
size_t qHash(const ServerError& v, size_t seed) noexcept {
    return hashFields(seed, v.replyTo, v.code, v.message, v.minimumBuild);
}
size_t qHash(const UnknownFrame& v, size_t seed) noexcept {
    return hashFields(seed, v.type);
}

} // namespace brevio
