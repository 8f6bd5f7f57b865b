#pragma once

// The two frame directions. A frame is a flat JSON object: "type" names the case and the payload's
// fields stand beside it. Some cases share a payload record ("delivered"/"read"), so a frame keeps
// its case in `type` and its payload in `payload`; the named constructors keep the two in step.

#include "model/Json.h"
#include "wire/Events.h"
#include "wire/Requests.h"

#include <string>
#include <string_view>
#include <variant>

namespace brevio {

struct ClientFrame {
    enum class Type {
        login,
        resume,
        redeem,
        signup,
        send,
        history,
        edit,
        remove, // "delete"
        react,
        changes,
        delivered,
        read,
        typing,
        receipts,
        setAvatar,
        createInvite,
        updateClient,
        createGroup,
        updateGroup,
        logout,
    };
    using Payload =
        std::variant<std::monostate, LoginRequest, ResumeRequest, RedeemRequest, SignUpRequest,
                     SendRequest, HistoryRequest, EditRequest, DeleteRequest, ReactRequest,
                     ChangesRequest, ReadRequest, TypingRequest, ReceiptsRequest, SetAvatarRequest,
                     InviteRequest, UpdateClientRequest, CreateGroupRequest, UpdateGroupRequest>;

    Type type = Type::logout;
    Payload payload;

    static ClientFrame login(LoginRequest r) { return {Type::login, std::move(r)}; }
    static ClientFrame resume(ResumeRequest r) { return {Type::resume, std::move(r)}; }
    static ClientFrame redeem(RedeemRequest r) { return {Type::redeem, std::move(r)}; }
    static ClientFrame signup(SignUpRequest r) { return {Type::signup, std::move(r)}; }
    static ClientFrame send(SendRequest r) { return {Type::send, std::move(r)}; }
    static ClientFrame history(HistoryRequest r) { return {Type::history, std::move(r)}; }
    static ClientFrame edit(EditRequest r) { return {Type::edit, std::move(r)}; }
    static ClientFrame remove(DeleteRequest r) { return {Type::remove, std::move(r)}; }
    static ClientFrame react(ReactRequest r) { return {Type::react, std::move(r)}; }
    static ClientFrame changes(ChangesRequest r) { return {Type::changes, std::move(r)}; }
    static ClientFrame delivered(ReadRequest r) { return {Type::delivered, std::move(r)}; }
    static ClientFrame read(ReadRequest r) { return {Type::read, std::move(r)}; }
    static ClientFrame typing(TypingRequest r) { return {Type::typing, std::move(r)}; }
    static ClientFrame receipts(ReceiptsRequest r) { return {Type::receipts, std::move(r)}; }
    static ClientFrame setAvatar(SetAvatarRequest r) { return {Type::setAvatar, std::move(r)}; }
    static ClientFrame createInvite(InviteRequest r) { return {Type::createInvite, std::move(r)}; }
    static ClientFrame updateClient(UpdateClientRequest r) {
        return {Type::updateClient, std::move(r)};
    }
    static ClientFrame createGroup(CreateGroupRequest r) {
        return {Type::createGroup, std::move(r)};
    }
    static ClientFrame updateGroup(UpdateGroupRequest r) {
        return {Type::updateGroup, std::move(r)};
    }
    static ClientFrame logout() { return {Type::logout, std::monostate{}}; }

    // The payload as T, or nullptr when the frame carries another record.
    template <class T> const T* as() const { return std::get_if<T>(&payload); }
    // The request id ("id") of frames that expect a reply; empty for the others.
    QString requestID() const;

    friend bool operator==(const ClientFrame&, const ClientFrame&) = default;
};

struct ServerFrame {
    enum class Type {
        welcome,
        ack,
        message,
        messageUpdated,
        history,
        changes,
        delivered,
        read,
        typing,
        presence,
        conversation,
        conversationRemoved,
        receipts,
        client,
        user,
        invite,
        ok,
        error,
        unknown,
    };
    using Payload =
        std::variant<Welcome, Ack, MessageEvent, HistoryPage, ChangesPage, ReadEvent, TypingEvent,
                     PresenceEvent, ConversationEvent, ConversationRemovedEvent, ReceiptsReply,
                     ClientEvent, UserEvent, InviteCreated, OKReply, ServerError, UnknownFrame>;

    Type type = Type::unknown;
    Payload payload = UnknownFrame{};

    static ServerFrame welcome(Welcome p) { return {Type::welcome, std::move(p)}; }
    static ServerFrame ack(Ack p) { return {Type::ack, std::move(p)}; }
    static ServerFrame message(MessageEvent p) { return {Type::message, std::move(p)}; }
    static ServerFrame messageUpdated(MessageEvent p) {
        return {Type::messageUpdated, std::move(p)};
    }
    static ServerFrame history(HistoryPage p) { return {Type::history, std::move(p)}; }
    static ServerFrame changes(ChangesPage p) { return {Type::changes, std::move(p)}; }
    static ServerFrame delivered(ReadEvent p) { return {Type::delivered, std::move(p)}; }
    static ServerFrame read(ReadEvent p) { return {Type::read, std::move(p)}; }
    static ServerFrame typing(TypingEvent p) { return {Type::typing, std::move(p)}; }
    static ServerFrame presence(PresenceEvent p) { return {Type::presence, std::move(p)}; }
    static ServerFrame conversation(ConversationEvent p) {
        return {Type::conversation, std::move(p)};
    }
    static ServerFrame conversationRemoved(ConversationRemovedEvent p) {
        return {Type::conversationRemoved, std::move(p)};
    }
    static ServerFrame receipts(ReceiptsReply p) { return {Type::receipts, std::move(p)}; }
    static ServerFrame client(ClientEvent p) { return {Type::client, std::move(p)}; }
    static ServerFrame user(UserEvent p) { return {Type::user, std::move(p)}; }
    static ServerFrame invite(InviteCreated p) { return {Type::invite, std::move(p)}; }
    static ServerFrame ok(OKReply p) { return {Type::ok, std::move(p)}; }
    static ServerFrame error(ServerError p) { return {Type::error, std::move(p)}; }
    static ServerFrame unknown(QString type) {
        return {Type::unknown, UnknownFrame{std::move(type)}};
    }

    template <class T> const T* as() const { return std::get_if<T>(&payload); }
    // The "replyTo" of reply frames (ack, history, changes, receipts, invite, ok, error with one).
    std::optional<QString> replyTo() const;

    friend bool operator==(const ServerFrame&, const ServerFrame&) = default;
};

// The "type" strings, exactly as on the wire.
QString typeName(ClientFrame::Type type);
QString typeName(ServerFrame::Type type);

// Hashing by value, for the server's cache of encoded broadcast frames.
size_t qHash(const ServerFrame& frame, size_t seed = 0) noexcept;

namespace wire {

// Compact UTF-8 JSON text of one frame.
std::string encode(const ClientFrame& frame);
std::string encode(const ServerFrame& frame);

// Never throw and never crash on any input. An unknown server "type" decodes to the unknown
// frame; an unknown client "type" fails with "Tipo sconosciuto: " + type. Nesting deeper than
// json::maxParseDepth is refused. Each thread that decodes keeps one parsing arena, sized to the
// largest frame it has seen (at most 16 MiB are kept).
Decoded<ServerFrame> decodeServerFrame(std::string_view text);
Decoded<ClientFrame> decodeClientFrame(std::string_view text);

} // namespace wire
} // namespace brevio
