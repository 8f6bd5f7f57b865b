#pragma once

// The keys of the request frames. A request's fields stand in the frame's own object, beside
// "type", which the frame coder writes and reads.

#include "model/FieldList.h"
#include "wire/Requests.h"

namespace brevio::json {

template <> struct FieldList<ClientInfo> {
    static constexpr std::string_view name = "client";
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("protocolVersion", r.protocolVersion);
        visit("version", r.version);
        visit("build", r.build);
        visit("device", r.device);
    }
};

template <> struct FieldList<LoginRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("email", r.email);
        visit("password", r.password);
        visit("client", r.client);
    }
};

template <> struct FieldList<ResumeRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("token", r.token);
        visit("client", r.client);
    }
};

template <> struct FieldList<RedeemRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("code", r.code);
        visit("name", r.name);
        visit("password", r.password);
        visit("client", r.client);
    }
};

template <> struct FieldList<SignUpRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("name", r.name);
        visit("email", r.email);
        visit("companyName", r.companyName);
        visit("password", r.password);
        visit("text", r.text);
        visit("website", r.website);
        visit("client", r.client);
    }
};

template <> struct FieldList<SendRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("conversationID", r.conversationID);
        visit("text", r.text);
        visit("replyToSeq", r.replyToSeq);
    }
};

template <> struct FieldList<EditRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("conversationID", r.conversationID);
        visit("seq", r.seq);
        visit("text", r.text);
    }
};

template <> struct FieldList<DeleteRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("conversationID", r.conversationID);
        visit("seq", r.seq);
    }
};

template <> struct FieldList<ReactRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("conversationID", r.conversationID);
        visit("seq", r.seq);
        visit("emoji", r.emoji);
    }
};

template <> struct FieldList<ChangesRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("conversationID", r.conversationID);
        visit("since", r.since);
    }
};

template <> struct FieldList<HistoryRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("conversationID", r.conversationID);
        visit("after", r.after);
        visit("before", r.before);
        visit("limit", r.limit);
    }
};

template <> struct FieldList<ReadRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("conversationID", r.conversationID);
        visit("seq", r.seq);
    }
};

template <> struct FieldList<TypingRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("conversationID", r.conversationID);
        visit("isTyping", r.isTyping);
    }
};

template <> struct FieldList<InviteRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("clientID", r.clientID);
        visit("companyName", r.companyName);
        visit("name", r.name);
        visit("email", r.email);
    }
};

template <> struct FieldList<UpdateClientRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("clientID", r.clientID);
        visit("name", r.name);
        visit("notes", r.notes);
    }
};

template <> struct FieldList<ReceiptsRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("conversationID", r.conversationID);
        visit("seq", r.seq);
    }
};

template <> struct FieldList<SetAvatarRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("image", r.image);
    }
};

template <> struct FieldList<CreateGroupRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("name", r.name);
        visit("memberIDs", r.memberIDs);
    }
};

template <> struct FieldList<UpdateGroupRequest> {
    template <class Visit, class R> static void fields(Visit& visit, R& r) {
        visit("id", r.id);
        visit("conversationID", r.conversationID);
        visit("name", r.name);
        visit("add", r.add);
        visit("remove", r.remove);
    }
};

} // namespace brevio::json
