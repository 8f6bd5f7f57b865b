#pragma once

// The keys of the event and reply frames. A payload's fields stand in the frame's own object,
// beside "type", which the frame coder writes and reads.

#include "model/FieldList.h"
#include "wire/Events.h"

namespace brevio::json {

template <> struct FieldList<Welcome> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("token", r.token);
        visit("me", r.me);
        visit("organization", r.organization);
        visit("users", r.users);
        visit("clients", r.clients);
        visit("conversations", r.conversations);
        visit("online", r.online);
    }
};

template <> struct FieldList<Ack> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("replyTo", r.replyTo);
        visit("message", r.message);
    }
};

template <> struct FieldList<MessageEvent> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("message", r.message);
    }
};

template <> struct FieldList<HistoryPage> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("replyTo", r.replyTo);
        visit("conversationID", r.conversationID);
        visit("messages", r.messages);
        visit("hasMore", r.hasMore);
    }
};

template <> struct FieldList<ChangesPage> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("replyTo", r.replyTo);
        visit("conversationID", r.conversationID);
        visit("messages", r.messages);
        visit("hasMore", r.hasMore);
        visit("revision", r.revision);
    }
};

template <> struct FieldList<ReadEvent> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("conversationID", r.conversationID);
        visit("userID", r.userID);
        visit("seq", r.seq);
    }
};

template <> struct FieldList<TypingEvent> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("conversationID", r.conversationID);
        visit("userID", r.userID);
        visit("isTyping", r.isTyping);
    }
};

template <> struct FieldList<PresenceEvent> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("userID", r.userID);
        visit("online", r.online);
    }
};

template <> struct FieldList<ConversationEvent> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("conversation", r.conversation);
    }
};

template <> struct FieldList<ConversationRemovedEvent> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("conversationID", r.conversationID);
    }
};

template <> struct FieldList<ReceiptsReply> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("replyTo", r.replyTo);
        visit("conversationID", r.conversationID);
        visit("seq", r.seq);
        visit("entries", r.entries);
    }
};

template <> struct FieldList<ClientEvent> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("client", r.client);
    }
};

template <> struct FieldList<UserEvent> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("user", r.user);
    }
};

template <> struct FieldList<InviteCreated> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("replyTo", r.replyTo);
        visit("invite", r.invite);
    }
};

template <> struct FieldList<OKReply> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("replyTo", r.replyTo);
        visit("conversationID", r.conversationID);
        visit("message", r.message);
    }
};

template <> struct FieldList<ServerError> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("replyTo", r.replyTo);
        visit("code", r.code);
        visit("message", r.message);
        visit("minimumBuild", r.minimumBuild);
    }
};

// Only "type" is kept of an unknown frame, and the frame coder writes that.
template <> struct FieldList<UnknownFrame> {
    template <class Visit, class R> static void fields(Visit&, R&) {}
};

} // namespace brevio::json
