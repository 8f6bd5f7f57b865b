#include "wire/Frames.h"

#include "model/Hashing.h"
#include "wire/EventJson.h"
#include "wire/RequestJson.h"

#include <array>
#include <boost/json/monotonic_resource.hpp>
#include <memory>

namespace brevio {

namespace js = boost::json;

namespace {

// The "type" strings, indexed by the Type enumerations.
constexpr std::array<std::string_view, 20> clientTypeNames = {
    "login",        "resume",       "redeem",      "signup",      "send",
    "history",      "edit",         "delete",      "react",       "changes",
    "delivered",    "read",         "typing",      "receipts",    "setAvatar",
    "createInvite", "updateClient", "createGroup", "updateGroup", "logout",
};
static_assert(std::size_t(ClientFrame::Type::logout) + 1 == clientTypeNames.size());

constexpr std::array<std::string_view, 18> serverTypeNames = {
    "welcome",   "ack",    "message", "messageUpdated", "history",      "changes",
    "delivered", "read",   "typing",  "presence",       "conversation", "conversationRemoved",
    "receipts",  "client", "user",    "invite",         "ok",           "error",
};
static_assert(std::size_t(ServerFrame::Type::error) + 1 == serverTypeNames.size());

template <std::size_t N>
std::optional<std::size_t> indexOf(const std::array<std::string_view, N>& names,
                                   std::string_view type) {
    for (std::size_t i = 0; i < N; ++i)
        if (names[i] == type)
            return i;
    return std::nullopt;
}

std::string_view nameOf(ClientFrame::Type type) {
    return clientTypeNames[std::size_t(type)];
}

std::string_view nameOf(ServerFrame::Type type) {
    return type == ServerFrame::Type::unknown ? std::string_view("unknown")
                                              : serverTypeNames[std::size_t(type)];
}

// ---- Memory ----------------------------------------------------------------------------------

// Each thread that codes frames keeps one parser and one arena for building the DOM of a frame
// to encode. A nested use on the same thread (not expected, but cheap to allow) falls back to
// fresh memory instead of clobbering the outer one.
struct ThreadScratch {
    json::Parser parser;
    bool parserBusy = false;
    json::Arena encodeArena;
    bool encodeBusy = false;

    static ThreadScratch& get() {
        thread_local ThreadScratch scratch;
        return scratch;
    }
};

class BusyFlag {
public:
    explicit BusyFlag(bool& flag) : flag_(flag), owned_(!flag) { flag_ = true; }
    ~BusyFlag() {
        if (owned_)
            flag_ = false;
    }
    bool owned() const { return owned_; }

private:
    bool& flag_;
    bool owned_;
};

template <class Frame> std::string encodeFrame(const Frame& frame) {
    ThreadScratch& scratch = ThreadScratch::get();
    const BusyFlag busy(scratch.encodeBusy);
    std::optional<js::monotonic_resource> ownArena;
    js::storage_ptr sp;
    if (busy.owned()) {
        sp = scratch.encodeArena.recycle();
    } else {
        ownArena.emplace();
        sp = js::storage_ptr(&*ownArena);
    }

    js::value root(js::object_kind, sp);
    js::object& o = root.get_object();
    o.reserve(8);
    if constexpr (std::is_same_v<Frame, ServerFrame>) {
        if (const auto* unknown = std::get_if<UnknownFrame>(&frame.payload))
            o.emplace("type", json::toJsonString(unknown->type, o.storage()));
        else
            o.emplace("type", nameOf(frame.type));
    } else {
        o.emplace("type", nameOf(frame.type));
    }
    std::visit(
        [&o](const auto& payload) {
            if constexpr (!std::is_same_v<std::decay_t<decltype(payload)>, std::monostate>)
                json::writeFields(o, payload);
        },
        frame.payload);
    return json::serialize(root);
}

// ---- Decoding --------------------------------------------------------------------------------

template <class T, class Payload> Payload readPayload(const json::Fields& f) {
    T record;
    json::readFields(f, record);
    return Payload(std::move(record));
}

ClientFrame::Payload readClientPayload(ClientFrame::Type type, const json::Fields& f) {
    using T = ClientFrame::Type;
    using P = ClientFrame::Payload;
    switch (type) {
    case T::login:
        return readPayload<LoginRequest, P>(f);
    case T::resume:
        return readPayload<ResumeRequest, P>(f);
    case T::redeem:
        return readPayload<RedeemRequest, P>(f);
    case T::signup:
        return readPayload<SignUpRequest, P>(f);
    case T::send:
        return readPayload<SendRequest, P>(f);
    case T::history:
        return readPayload<HistoryRequest, P>(f);
    case T::edit:
        return readPayload<EditRequest, P>(f);
    case T::remove:
        return readPayload<DeleteRequest, P>(f);
    case T::react:
        return readPayload<ReactRequest, P>(f);
    case T::changes:
        return readPayload<ChangesRequest, P>(f);
    case T::delivered:
    case T::read:
        return readPayload<ReadRequest, P>(f);
    case T::typing:
        return readPayload<TypingRequest, P>(f);
    case T::receipts:
        return readPayload<ReceiptsRequest, P>(f);
    case T::setAvatar:
        return readPayload<SetAvatarRequest, P>(f);
    case T::createInvite:
        return readPayload<InviteRequest, P>(f);
    case T::updateClient:
        return readPayload<UpdateClientRequest, P>(f);
    case T::createGroup:
        return readPayload<CreateGroupRequest, P>(f);
    case T::updateGroup:
        return readPayload<UpdateGroupRequest, P>(f);
    case T::logout:
        break;
    }
    return std::monostate{};
}

ServerFrame::Payload readServerPayload(ServerFrame::Type type, const json::Fields& f) {
    using T = ServerFrame::Type;
    using P = ServerFrame::Payload;
    switch (type) {
    case T::welcome:
        return readPayload<Welcome, P>(f);
    case T::ack:
        return readPayload<Ack, P>(f);
    case T::message:
    case T::messageUpdated:
        return readPayload<MessageEvent, P>(f);
    case T::history:
        return readPayload<HistoryPage, P>(f);
    case T::changes:
        return readPayload<ChangesPage, P>(f);
    case T::delivered:
    case T::read:
        return readPayload<ReadEvent, P>(f);
    case T::typing:
        return readPayload<TypingEvent, P>(f);
    case T::presence:
        return readPayload<PresenceEvent, P>(f);
    case T::conversation:
        return readPayload<ConversationEvent, P>(f);
    case T::conversationRemoved:
        return readPayload<ConversationRemovedEvent, P>(f);
    case T::receipts:
        return readPayload<ReceiptsReply, P>(f);
    case T::client:
        return readPayload<ClientEvent, P>(f);
    case T::user:
        return readPayload<UserEvent, P>(f);
    case T::invite:
        return readPayload<InviteCreated, P>(f);
    case T::ok:
        return readPayload<OKReply, P>(f);
    case T::error:
        return readPayload<ServerError, P>(f);
    case T::unknown:
        break;
    }
    return UnknownFrame{};
}

const js::string& frameType(const json::Fields& frame) {
    const js::value& type = frame.require("type");
    const js::string* s = type.if_string();
    if (!s)
        json::throwWrongType("type", "una stringa");
    return *s;
}

ServerFrame decodeServer(const js::value& v) {
    const json::Fields frame(v, "frame");
    const js::string& typeText = frameType(frame);
    const auto index = indexOf(serverTypeNames, typeText);
    if (!index)
        return ServerFrame::unknown(json::toQString(typeText));
    const auto type = ServerFrame::Type(*index);
    return {type, readServerPayload(type, json::Fields(frame.object(), serverTypeNames[*index]))};
}

ClientFrame decodeClient(const js::value& v) {
    const json::Fields frame(v, "frame");
    const js::string& typeText = frameType(frame);
    const auto index = indexOf(clientTypeNames, typeText);
    if (!index)
        throw DecodeError(QStringLiteral("Tipo sconosciuto: ") + json::toQString(typeText));
    const auto type = ClientFrame::Type(*index);
    return {type, readClientPayload(type, json::Fields(frame.object(), clientTypeNames[*index]))};
}

// Parses `text` with this thread's arena and decodes it; never throws.
template <class Frame, class Decode>
Decoded<Frame> decodeText(std::string_view text, Decode decode) {
    try {
        ThreadScratch& scratch = ThreadScratch::get();
        const BusyFlag busy(scratch.parserBusy);
        if (busy.owned())
            return {decode(scratch.parser.parse(text)), {}};
        return {decode(json::parse(text)), {}};
    } catch (const DecodeError& e) {
        return {std::nullopt, e.text()};
    } catch (const std::exception& e) {
        // Out of memory or a limit of the JSON library: still a refused frame, not a crash.
        return {std::nullopt,
                QStringLiteral("Frame non leggibile: ") + QString::fromUtf8(e.what())};
    }
}

} // namespace

// ---- Frames ----------------------------------------------------------------------------------

QString ClientFrame::requestID() const {
    return std::visit(
        [](const auto& p) -> QString {
            if constexpr (requires { p.id; })
                return p.id;
            else
                return QString();
        },
        payload);
}

std::optional<QString> ServerFrame::replyTo() const {
    return std::visit(
        [](const auto& p) -> std::optional<QString> {
            if constexpr (requires { p.replyTo; })
                return p.replyTo;
            else
                return std::nullopt;
        },
        payload);
}

QString typeName(ClientFrame::Type type) {
    const std::string_view name = nameOf(type);
    return QString::fromLatin1(name.data(), qsizetype(name.size()));
}

QString typeName(ServerFrame::Type type) {
    const std::string_view name = nameOf(type);
    return QString::fromLatin1(name.data(), qsizetype(name.size()));
}

size_t qHash(const ServerFrame& frame, size_t seed) noexcept {
    const size_t payload =
        std::visit([](const auto& p) -> size_t { return qHash(p); }, frame.payload);
    return hashing::hashFields(seed, frame.type, payload);
}

namespace wire {

std::string encode(const ClientFrame& frame) {
    return encodeFrame(frame);
}

std::string encode(const ServerFrame& frame) {
    return encodeFrame(frame);
}

Decoded<ServerFrame> decodeServerFrame(std::string_view text) {
    return decodeText<ServerFrame>(text, decodeServer);
}

Decoded<ClientFrame> decodeClientFrame(std::string_view text) {
    return decodeText<ClientFrame>(text, decodeClient);
}

} // namespace wire
} // namespace brevio
