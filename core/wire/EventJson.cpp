#include "wire/EventJson.h"

namespace brevio::wire {

using json::put;

void writeFields(boost::json::object& o, const Welcome& e) {
    put(o, "token", e.token);
    put(o, "me", e.me);
    put(o, "organization", e.organization);
    put(o, "users", e.users);
    put(o, "clients", e.clients);
    put(o, "conversations", e.conversations);
    put(o, "online", e.online);
}

void readFields(const json::Fields& f, Welcome& e) {
    e.token = f.string("token");
    e.me = f.record<User>("me");
    e.organization = f.string("organization");
    e.users = f.list<User>("users");
    e.clients = f.list<ClientCompany>("clients");
    e.conversations = f.list<Conversation>("conversations");
    e.online = f.stringList("online");
}

void writeFields(boost::json::object& o, const Ack& e) {
    put(o, "replyTo", e.replyTo);
    put(o, "message", e.message);
}

void readFields(const json::Fields& f, Ack& e) {
    e.replyTo = f.string("replyTo");
    e.message = f.record<ChatMessage>("message");
}

void writeFields(boost::json::object& o, const MessageEvent& e) {
    put(o, "message", e.message);
}

void readFields(const json::Fields& f, MessageEvent& e) {
    e.message = f.record<ChatMessage>("message");
}

void writeFields(boost::json::object& o, const HistoryPage& e) {
    put(o, "replyTo", e.replyTo);
    put(o, "conversationID", e.conversationID);
    put(o, "messages", e.messages);
    put(o, "hasMore", e.hasMore);
}

void readFields(const json::Fields& f, HistoryPage& e) {
    e.replyTo = f.string("replyTo");
    e.conversationID = f.string("conversationID");
    e.messages = f.list<ChatMessage>("messages");
    e.hasMore = f.boolean("hasMore");
}

void writeFields(boost::json::object& o, const ChangesPage& e) {
    put(o, "replyTo", e.replyTo);
    put(o, "conversationID", e.conversationID);
    put(o, "messages", e.messages);
    put(o, "hasMore", e.hasMore);
    put(o, "revision", e.revision);
}

void readFields(const json::Fields& f, ChangesPage& e) {
    e.replyTo = f.string("replyTo");
    e.conversationID = f.string("conversationID");
    e.messages = f.list<ChatMessage>("messages");
    e.hasMore = f.boolean("hasMore");
    e.revision = f.integer("revision");
}

void writeFields(boost::json::object& o, const ReadEvent& e) {
    put(o, "conversationID", e.conversationID);
    put(o, "userID", e.userID);
    put(o, "seq", e.seq);
}

void readFields(const json::Fields& f, ReadEvent& e) {
    e.conversationID = f.string("conversationID");
    e.userID = f.string("userID");
    e.seq = f.integer("seq");
}

void writeFields(boost::json::object& o, const TypingEvent& e) {
    put(o, "conversationID", e.conversationID);
    put(o, "userID", e.userID);
    put(o, "isTyping", e.isTyping);
}

void readFields(const json::Fields& f, TypingEvent& e) {
    e.conversationID = f.string("conversationID");
    e.userID = f.string("userID");
    e.isTyping = f.boolean("isTyping");
}

void writeFields(boost::json::object& o, const PresenceEvent& e) {
    put(o, "userID", e.userID);
    put(o, "online", e.online);
}

void readFields(const json::Fields& f, PresenceEvent& e) {
    e.userID = f.string("userID");
    e.online = f.boolean("online");
}

void writeFields(boost::json::object& o, const ConversationEvent& e) {
    put(o, "conversation", e.conversation);
}

void readFields(const json::Fields& f, ConversationEvent& e) {
    e.conversation = f.record<Conversation>("conversation");
}

void writeFields(boost::json::object& o, const ConversationRemovedEvent& e) {
    put(o, "conversationID", e.conversationID);
}

void readFields(const json::Fields& f, ConversationRemovedEvent& e) {
    e.conversationID = f.string("conversationID");
}

void writeFields(boost::json::object& o, const ReceiptsReply& e) {
    put(o, "replyTo", e.replyTo);
    put(o, "conversationID", e.conversationID);
    put(o, "seq", e.seq);
    put(o, "entries", e.entries);
}

void readFields(const json::Fields& f, ReceiptsReply& e) {
    e.replyTo = f.string("replyTo");
    e.conversationID = f.string("conversationID");
    e.seq = f.integer("seq");
    e.entries = f.list<ReceiptEntry>("entries");
}

void writeFields(boost::json::object& o, const ClientEvent& e) {
    put(o, "client", e.client);
}

void readFields(const json::Fields& f, ClientEvent& e) {
    e.client = f.record<ClientCompany>("client");
}

void writeFields(boost::json::object& o, const UserEvent& e) {
    put(o, "user", e.user);
}

void readFields(const json::Fields& f, UserEvent& e) {
    e.user = f.record<User>("user");
}

void writeFields(boost::json::object& o, const InviteCreated& e) {
    put(o, "replyTo", e.replyTo);
    put(o, "invite", e.invite);
}

void readFields(const json::Fields& f, InviteCreated& e) {
    e.replyTo = f.string("replyTo");
    e.invite = f.record<Invite>("invite");
}

void writeFields(boost::json::object& o, const OKReply& e) {
    put(o, "replyTo", e.replyTo);
    put(o, "conversationID", e.conversationID);
    put(o, "message", e.message);
}

void readFields(const json::Fields& f, OKReply& e) {
    e.replyTo = f.string("replyTo");
    e.conversationID = f.optString("conversationID");
    e.message = f.optRecord<ChatMessage>("message");
}

void writeFields(boost::json::object& o, const ServerError& e) {
    put(o, "replyTo", e.replyTo);
    put(o, "code", e.code);
    put(o, "message", e.message);
    put(o, "minimumBuild", e.minimumBuild);
}

void readFields(const json::Fields& f, ServerError& e) {
    e.replyTo = f.optString("replyTo");
    e.code = f.string("code");
    e.message = f.optString("message");
    e.minimumBuild = f.optInteger("minimumBuild");
}

} // namespace brevio::wire
