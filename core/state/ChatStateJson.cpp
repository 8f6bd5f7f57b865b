// The saved form of a chat state: the nine persistent fields, records in their own JSON form.

#include "state/ChatState.h"

#include <algorithm>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/object.hpp>

namespace brevio {

namespace {

namespace bj = boost::json;

// Hash order changes from run to run; sorted keys make equal states write equal files.
template <class Map> QStringList sortedKeys(const Map& map) {
    QStringList keys = map.keys();
    keys.sort();
    return keys;
}

// A map field: missing or null reads as empty; anything but an object is an error.
const bj::object* mapField(const json::Fields& f, std::string_view key) {
    const bj::value* v = f.find(key);
    if (!v)
        return nullptr;
    const bj::object* o = v->if_object();
    if (!o)
        json::throwWrongType(key, "un oggetto");
    return o;
}

QHash<QString, qint64> decodeSeqMap(const json::Fields& f, std::string_view key,
                                    const QHash<QString, Conversation>& conversations) {
    QHash<QString, qint64> out;
    if (const bj::object* o = mapField(f, key)) {
        for (const auto& kv : *o) {
            const qint64 value = json::decodeInt(kv.value(), key);
            auto c = conversations.constFind(json::toQString(kv.key()));
            if (c != conversations.cend())
                out.insert(c.key(), value);
        }
    }
    return out;
}

} // namespace

ChatState chatStateFromJson(const boost::json::value& value) {
    const json::Fields f(value, "ChatState");
    ChatState s;
    s.me = f.optRecord<User>("me");
    s.organization = f.string("organization", QString());

    // Records are keyed by their own id; a key that disagrees with it is not trusted.
    if (const bj::object* o = mapField(f, "users")) {
        s.users.reserve(qsizetype(o->size()));
        for (const auto& kv : *o) {
            User u = json::decode<User>(kv.value());
            const QString id = u.id;
            s.users.insert(id, std::move(u));
        }
    }
    if (const bj::object* o = mapField(f, "clients")) {
        s.clients.reserve(qsizetype(o->size()));
        for (const auto& kv : *o) {
            ClientCompany c = json::decode<ClientCompany>(kv.value());
            const QString id = c.id;
            s.clients.insert(id, std::move(c));
        }
    }
    if (const bj::object* o = mapField(f, "conversations")) {
        s.conversations.reserve(qsizetype(o->size()));
        for (const auto& kv : *o) {
            Conversation c = json::decode<Conversation>(kv.value());
            const QString id = c.id;
            s.conversations.insert(id, std::move(c));
        }
    }

    if (const bj::object* o = mapField(f, "messages")) {
        s.messages.reserve(qsizetype(o->size()));
        for (const auto& kv : *o) {
            s.restoreMessages(json::toQString(kv.key()),
                              json::decodeList<ChatMessage>(kv.value(), "messages"));
        }
    }
    s.historyStart = decodeSeqMap(f, "historyStart", s.conversations);
    s.outbox = f.listOrEmpty<PendingMessage>("outbox");
    s.outbox.removeIf(
        [&](const PendingMessage& p) { return !s.conversations.contains(p.conversationID); });
    s.revisions = decodeSeqMap(f, "revisions", s.conversations);
    return s;
}

namespace {

// Writes the saved form record by record and straight to text: a saved state runs to tens of
// megabytes, and a whole JSON tree of it would cost several times that in memory and allocations.
// The text goes out in parts of about `partSize` bytes, so the whole of it never has to be in
// memory either. The output is what boost::json::serialize gives for the same value: compact,
// keys in the order written.
class StateWriter {
public:
    static constexpr std::size_t partSize = 256 * 1024;

    explicit StateWriter(const TextSink& sink) : sink_(sink), out_(buffer_) {
        buffer_.reserve(partSize + partSize / 4);
    }

    // False once the sink has refused a part; everything after that is skipped.
    bool ok() const { return ok_; }

    void raw(std::string_view text) { out_.raw(text); }
    void string(const QString& text) { out_.string(text); }
    template <class Record> void record(const Record& r) {
        json::write(out_, r);
        if (buffer_.size() >= partSize)
            flush();
    }
    void number(qint64 n) { out_.number(n); }
    template <class Map, class Write> void map(const Map& m, Write&& write) {
        raw("{");
        bool first = true;
        for (const QString& k : sortedKeys(m)) {
            if (!ok_)
                return;
            if (!first)
                raw(",");
            first = false;
            string(k);
            raw(":");
            write(m.value(k));
        }
        raw("}");
    }
    template <class List> void list(const List& l) {
        raw("[");
        bool first = true;
        for (const auto& item : l) {
            if (!ok_)
                return;
            if (!first)
                raw(",");
            first = false;
            record(item);
        }
        raw("]");
    }

    // Hands over what is left; true when the sink took every part.
    bool finish() {
        flush();
        return ok_;
    }

private:
    void flush() {
        if (ok_ && !buffer_.empty())
            ok_ = sink_(std::string_view(buffer_));
        buffer_.clear();
    }

    const TextSink& sink_;
    std::string buffer_;
    json::TextWriter out_;
    bool ok_ = true;
};

} // namespace

bool writeChatState(const ChatState& state, const TextSink& sink) {
    StateWriter w(sink);
    w.raw("{");
    if (state.me) {
        w.raw("\"me\":");
        w.record(*state.me);
        w.raw(",");
    }
    w.raw("\"organization\":");
    w.string(state.organization);
    w.raw(",\"users\":");
    w.map(state.users, [&](const User& u) { w.record(u); });
    w.raw(",\"clients\":");
    w.map(state.clients, [&](const ClientCompany& c) { w.record(c); });
    w.raw(",\"conversations\":");
    w.map(state.conversations, [&](const Conversation& c) { w.record(c); });
    w.raw(",\"messages\":");
    w.map(state.messages, [&](const QList<ChatMessage>& l) { w.list(l); });
    w.raw(",\"historyStart\":");
    w.map(state.historyStart, [&](qint64 n) { w.number(n); });
    w.raw(",\"outbox\":");
    w.list(state.outbox);
    w.raw(",\"revisions\":");
    w.map(state.revisions, [&](qint64 n) { w.number(n); });
    w.raw("}");
    return w.finish();
}

std::string encodeChatState(const ChatState& state) {
    std::string text;
    writeChatState(state, [&](std::string_view part) {
        text.append(part);
        return true;
    });
    return text;
}

Decoded<ChatState> decodeChatState(std::string_view text) {
    try {
        bj::monotonic_resource arena;
        const bj::value v = json::parse(text, &arena);
        return {chatStateFromJson(v), {}};
    } catch (const DecodeError& e) {
        return {std::nullopt, e.text()};
    }
}

} // namespace brevio
