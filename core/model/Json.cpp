#include "model/Json.h"

#include "model/WireCoding.h"

#include <algorithm>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/parser.hpp>
#include <boost/json/serializer.hpp>
#include <limits>
#include <memory>

namespace brevio::json {

namespace js = boost::json;

namespace {

QString quoted(std::string_view key) {
    return QLatin1Char('"') + QString::fromUtf8(key.data(), qsizetype(key.size())) +
           QLatin1Char('"');
}

js::parse_options parseOptions() {
    js::parse_options options;
    options.max_depth = maxParseDepth;
    return options;
}

[[noreturn]] void throwParseError(const boost::system::error_code& ec, std::size_t offset) {
    throw DecodeError(QStringLiteral("JSON non valido alla posizione %1: %2")
                          .arg(offset)
                          .arg(QString::fromStdString(ec.message())));
}

// Runs one complete document through `p`; the result allocates where p was last reset to.
js::value parseWith(js::parser& p, std::string_view text) {
    boost::system::error_code ec;
    const std::size_t used = p.write(text.data(), text.size(), ec);
    if (ec)
        throwParseError(ec, used);
    return p.release();
}

} // namespace

// ---- Pieces ----------------------------------------------------------------------------------

void throwWrongType(std::string_view key, const char* expected) {
    throw DecodeError(QStringLiteral("Tipo errato per %1: atteso %2")
                          .arg(quoted(key), QString::fromUtf8(expected)));
}

QString toQString(js::string_view text) {
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

js::string toJsonString(QStringView text, storage_ptr sp) {
    // UTF-16 to UTF-8 by hand, sized exactly first: in an arena, over-reserving is memory that
    // stays taken until the whole document is dropped. A lone surrogate becomes U+FFFD.
    const char16_t* p = text.utf16();
    const qsizetype n = text.size();
    std::size_t length = 0;
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = p[i];
        if (c < 0x80)
            length += 1;
        else if (c < 0x800)
            length += 2;
        else if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(p[i + 1])) {
            length += 4;
            ++i;
        } else
            length += 3;
    }
    js::string s(std::move(sp));
    if (length == 0)
        return s;
    s.reserve(length);
    auto* out = reinterpret_cast<unsigned char*>(s.data());
    for (qsizetype i = 0; i < n; ++i) {
        char32_t c = p[i];
        if (c < 0x80) {
            *out++ = static_cast<unsigned char>(c);
        } else if (c < 0x800) {
            *out++ = static_cast<unsigned char>(0xC0 | (c >> 6));
            *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
        } else {
            if (QChar::isSurrogate(c)) {
                if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(p[i + 1]))
                    c = QChar::surrogateToUcs4(char16_t(c), p[++i]);
                else
                    c = QChar::ReplacementCharacter;
            }
            if (c >= 0x10000) {
                *out++ = static_cast<unsigned char>(0xF0 | (c >> 18));
                *out++ = static_cast<unsigned char>(0x80 | ((c >> 12) & 0x3F));
            } else {
                *out++ = static_cast<unsigned char>(0xE0 | (c >> 12));
            }
            *out++ = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
            *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
        }
    }
    s.grow(length);
    return s;
}

js::value encodeValue(const QString& v, const storage_ptr& sp) {
    return toJsonString(v, sp);
}

js::value encodeValue(const QDateTime& v, const storage_ptr& sp) {
    char text[WireCoding::encodedDateLength];
    WireCoding::encodeDateTo(v, text);
    return js::string(js::string_view(text, sizeof text), sp);
}

js::value encodeValue(const QStringList& v, const storage_ptr& sp) {
    js::array a(sp);
    a.reserve(std::size_t(v.size()));
    for (const QString& s : v)
        a.emplace_back(toJsonString(s, sp));
    return a;
}

js::value encodeValue(const SeqMarks& v, const storage_ptr& sp) {
    js::object o(sp);
    o.reserve(std::size_t(v.size()));
    for (auto it = v.cbegin(); it != v.cend(); ++it)
        o.emplace(toJsonString(it.key(), sp), std::int64_t(it.value()));
    return o;
}

const js::object& asObject(const js::value& v, std::string_view what) {
    const js::object* o = v.if_object();
    if (!o)
        throw DecodeError(QStringLiteral("Atteso un oggetto JSON per %1")
                              .arg(QString::fromUtf8(what.data(), qsizetype(what.size()))));
    return *o;
}

const js::value& Fields::require(std::string_view key) const {
    if (const js::value* v = find(key))
        return *v;
    throw DecodeError(
        QStringLiteral("Chiave mancante: %1 in %2")
            .arg(quoted(key), QString::fromUtf8(what_.data(), qsizetype(what_.size()))));
}

QString decodeString(const js::value& v, std::string_view key) {
    const js::string* s = v.if_string();
    if (!s)
        throwWrongType(key, "una stringa");
    return toQString(*s);
}

qint64 decodeInt(const js::value& v, std::string_view key) {
    switch (v.kind()) {
    case js::kind::int64:
        return v.get_int64();
    case js::kind::uint64:
        if (v.get_uint64() <= std::uint64_t(std::numeric_limits<qint64>::max()))
            return qint64(v.get_uint64());
        break;
    case js::kind::double_:
        // The parser turns integers beyond 64 bits into doubles; both are refused.
        break;
    default:
        throwWrongType(key, "un intero");
    }
    throw DecodeError(
        QStringLiteral("Valore non intero o fuori dai 64 bit per %1").arg(quoted(key)));
}

bool decodeBool(const js::value& v, std::string_view key) {
    const bool* b = v.if_bool();
    if (!b)
        throwWrongType(key, "un booleano");
    return *b;
}

QDateTime decodeDate(const js::value& v, std::string_view key) {
    const js::string* s = v.if_string();
    if (!s)
        throwWrongType(key, "una data");
    const auto ms = WireCoding::decodeDateMSecs(*s);
    if (!ms)
        throw DecodeError(WireCoding::invalidDateText(*s));
    return QDateTime::fromMSecsSinceEpoch(*ms, Qt::UTC);
}

QStringList decodeStringList(const js::value& v, std::string_view key) {
    const js::array* a = v.if_array();
    if (!a)
        throwWrongType(key, "un array di stringhe");
    QStringList list;
    list.reserve(qsizetype(a->size()));
    for (const js::value& item : *a)
        list.push_back(decodeString(item, key));
    return list;
}

SeqMarks decodeSeqMarks(const js::value& v, std::string_view key) {
    const js::object* o = v.if_object();
    if (!o)
        throwWrongType(key, "un oggetto");
    SeqMarks marks;
    for (const js::key_value_pair& kv : *o)
        marks.insert(toQString(kv.key()), decodeInt(kv.value(), key));
    return marks;
}

namespace {

[[noreturn]] void throwUnknownValue(std::string_view key, js::string_view value) {
    throw DecodeError(
        QStringLiteral("Valore sconosciuto per %1: %2").arg(quoted(key), toQString(value)));
}

} // namespace

Role decodeRole(const js::value& v, std::string_view key) {
    const js::string* s = v.if_string();
    if (!s)
        throwWrongType(key, "una stringa");
    if (*s == "staff")
        return Role::staff;
    if (*s == "client")
        return Role::client;
    throwUnknownValue(key, *s);
}

ConversationKind decodeConversationKind(const js::value& v, std::string_view key) {
    const js::string* s = v.if_string();
    if (!s)
        throwWrongType(key, "una stringa");
    if (*s == "direct")
        return ConversationKind::direct;
    if (*s == "group")
        return ConversationKind::group;
    throwUnknownValue(key, *s);
}

// ---- Text ------------------------------------------------------------------------------------

std::string serialize(const js::value& v) {
    js::serializer writer;
    writer.reset(&v);
    std::string out;
    std::size_t used = 0;
    while (!writer.done()) {
        // Grow geometrically and let the writer fill the string in place.
        out.resize(std::max<std::size_t>(out.size() * 2, 512));
        used += writer.read(out.data() + used, out.size() - used).size();
    }
    out.resize(used);
    return out;
}

js::value parse(std::string_view text, storage_ptr sp) {
    js::parser p(storage_ptr(), parseOptions());
    p.reset(std::move(sp));
    return parseWith(p, text);
}

namespace {

// Hands out memory from the upstream heap and counts it, so the parser can tell how much the
// arena's own buffer lacked.
class CountingResource final : public js::memory_resource {
public:
    std::size_t allocated = 0;

private:
    void* do_allocate(std::size_t n, std::size_t align) override {
        allocated += n;
        return ::operator new(n, std::align_val_t(align));
    }
    void do_deallocate(void* p, std::size_t, std::size_t align) override {
        ::operator delete(p, std::align_val_t(align));
    }
    bool do_is_equal(const js::memory_resource& other) const noexcept override {
        return this == &other;
    }
};

} // namespace

struct Arena::Impl {
    // The buffer grows to fit the largest document seen, up to this size; beyond it the arena
    // takes the rest from the heap for that one document.
    static constexpr std::size_t maxBuffer = std::size_t(16) << 20;
    static constexpr std::size_t minBuffer = std::size_t(64) << 10;

    CountingResource upstream;
    std::unique_ptr<unsigned char[]> buffer;
    std::size_t bufferSize = 0;
    std::optional<js::monotonic_resource> arena;
};

Arena::Arena() : d(new Impl) {}

Arena::~Arena() {
    delete d;
}

storage_ptr Arena::recycle(std::size_t expected) {
    std::size_t wanted =
        std::max({d->bufferSize + d->upstream.allocated, expected, Impl::minBuffer});
    wanted = std::min(wanted, Impl::maxBuffer);
    if (!d->arena || wanted > d->bufferSize) {
        d->arena.reset();
        d->buffer.reset(new unsigned char[wanted]);
        d->bufferSize = wanted;
        d->arena.emplace(d->buffer.get(), d->bufferSize, storage_ptr(&d->upstream));
    } else {
        d->arena->release();
    }
    d->upstream.allocated = 0;
    return storage_ptr(&*d->arena);
}

struct Parser::Impl {
    Arena arena;
    js::parser parser{storage_ptr(), parseOptions()};
    // Held in an optional so that it is move-constructed, keeping the arena as its storage;
    // assigning to a value with another storage would copy the whole document.
    std::optional<js::value> value;
};

Parser::Parser() : d(new Impl) {}

Parser::~Parser() {
    delete d;
}

const js::value& Parser::parse(std::string_view text) {
    // Let go of everything that points into the arena before it is recycled. Destroying a value
    // held in a monotonic arena costs nothing: it frees nothing one by one.
    d->value.reset();
    d->parser.reset();
    // A DOM takes about twice its text.
    d->parser.reset(d->arena.recycle(text.size() * 2));
    d->value.emplace(parseWith(d->parser, text));
    return *d->value;
}

// ---- Records ---------------------------------------------------------------------------------

js::value encode(const User& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(7);
    put(o, "id", v.id);
    put(o, "name", v.name);
    put(o, "email", v.email);
    put(o, "role", v.role);
    put(o, "clientID", v.clientID);
    put(o, "isAdmin", v.isAdmin);
    put(o, "avatar", v.avatar);
    return o;
}

template <> User decode<User>(const js::value& v) {
    const Fields f(v, "User");
    User u;
    u.id = f.string("id");
    u.name = f.string("name");
    u.email = f.optString("email");
    u.role = decodeRole(f.require("role"), "role");
    u.clientID = f.optString("clientID");
    u.isAdmin = f.boolean("isAdmin", false);
    u.avatar = f.optString("avatar");
    return u;
}

js::value encode(const ClientCompany& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(4);
    put(o, "id", v.id);
    put(o, "name", v.name);
    put(o, "notes", v.notes);
    put(o, "createdAt", v.createdAt);
    return o;
}

template <> ClientCompany decode<ClientCompany>(const js::value& v) {
    const Fields f(v, "ClientCompany");
    ClientCompany c;
    c.id = f.string("id");
    c.name = f.string("name");
    c.notes = f.optString("notes");
    c.createdAt = f.date("createdAt");
    return c;
}

js::value encode(const QuotedMessage& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(4);
    put(o, "seq", v.seq);
    put(o, "authorID", v.authorID);
    put(o, "text", v.text);
    put(o, "deleted", v.deleted);
    return o;
}

template <> QuotedMessage decode<QuotedMessage>(const js::value& v) {
    const Fields f(v, "QuotedMessage");
    QuotedMessage q;
    q.seq = f.integer("seq");
    q.authorID = f.string("authorID");
    q.text = f.string("text", QString());
    q.deleted = f.boolean("deleted", false);
    return q;
}

js::value encode(const Reaction& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(2);
    put(o, "emoji", v.emoji);
    put(o, "userIDs", v.userIDs);
    return o;
}

template <> Reaction decode<Reaction>(const js::value& v) {
    const Fields f(v, "Reaction");
    Reaction r;
    r.emoji = f.string("emoji");
    r.userIDs = f.stringList("userIDs");
    return r;
}

js::value encode(const ChatMessage& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(13);
    put(o, "id", v.id);
    put(o, "clientID", v.clientID);
    put(o, "conversationID", v.conversationID);
    put(o, "seq", v.seq);
    put(o, "authorID", v.authorID);
    put(o, "text", v.text);
    put(o, "sentAt", v.sentAt);
    put(o, "replyToSeq", v.replyToSeq);
    put(o, "reply", v.reply);
    put(o, "editedAt", v.editedAt);
    put(o, "deletedAt", v.deletedAt);
    put(o, "reactions", v.reactions);
    put(o, "revision", v.revision);
    return o;
}

template <> ChatMessage decode<ChatMessage>(const js::value& v) {
    const Fields f(v, "ChatMessage");
    ChatMessage m;
    m.id = f.string("id");
    m.clientID = f.string("clientID");
    m.conversationID = f.string("conversationID");
    m.seq = f.integer("seq");
    m.authorID = f.string("authorID");
    m.text = f.string("text", QString());
    m.sentAt = f.date("sentAt");
    m.replyToSeq = f.optInteger("replyToSeq");
    m.reply = f.optRecord<QuotedMessage>("reply");
    m.editedAt = f.optDate("editedAt");
    m.deletedAt = f.optDate("deletedAt");
    m.reactions = f.listOrEmpty<Reaction>("reactions");
    m.revision = f.integer("revision", 0);
    return m;
}

js::value encode(const Conversation& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(10);
    put(o, "id", v.id);
    put(o, "kind", v.kind);
    put(o, "clientID", v.clientID);
    put(o, "title", v.title);
    put(o, "memberIDs", v.memberIDs);
    put(o, "lastSeq", v.lastSeq);
    put(o, "lastMessage", v.lastMessage);
    put(o, "reads", v.reads);
    put(o, "delivered", v.delivered);
    put(o, "revision", v.revision);
    return o;
}

template <> Conversation decode<Conversation>(const js::value& v) {
    const Fields f(v, "Conversation");
    Conversation c;
    c.id = f.string("id");
    if (const js::value* kind = f.find("kind"))
        c.kind = decodeConversationKind(*kind, "kind");
    c.clientID = f.optString("clientID");
    c.title = f.string("title");
    c.memberIDs = f.optStringList("memberIDs");
    c.lastSeq = f.integer("lastSeq");
    c.lastMessage = f.optRecord<ChatMessage>("lastMessage");
    c.reads = f.seqMarks("reads");
    c.delivered = f.seqMarks("delivered");
    c.revision = f.integer("revision", 0);
    return c;
}

js::value encode(const ReceiptEntry& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(3);
    put(o, "userID", v.userID);
    put(o, "deliveredAt", v.deliveredAt);
    put(o, "readAt", v.readAt);
    return o;
}

template <> ReceiptEntry decode<ReceiptEntry>(const js::value& v) {
    const Fields f(v, "ReceiptEntry");
    ReceiptEntry r;
    r.userID = f.string("userID");
    r.deliveredAt = f.optDate("deliveredAt");
    r.readAt = f.optDate("readAt");
    return r;
}

js::value encode(const PendingMessage& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(6);
    put(o, "clientID", v.clientID);
    put(o, "conversationID", v.conversationID);
    put(o, "text", v.text);
    put(o, "createdAt", v.createdAt);
    put(o, "failure", v.failure);
    put(o, "replyToSeq", v.replyToSeq);
    return o;
}

template <> PendingMessage decode<PendingMessage>(const js::value& v) {
    const Fields f(v, "PendingMessage");
    PendingMessage p;
    p.clientID = f.string("clientID");
    p.conversationID = f.string("conversationID");
    p.text = f.string("text");
    p.createdAt = f.date("createdAt");
    p.failure = f.optString("failure");
    p.replyToSeq = f.optInteger("replyToSeq");
    return p;
}

js::value encode(const Invite& v, storage_ptr sp) {
    js::object o(std::move(sp));
    o.reserve(5);
    put(o, "code", v.code);
    put(o, "clientID", v.clientID);
    put(o, "name", v.name);
    put(o, "email", v.email);
    put(o, "expiresAt", v.expiresAt);
    return o;
}

template <> Invite decode<Invite>(const js::value& v) {
    const Fields f(v, "Invite");
    Invite i;
    i.code = f.string("code");
    i.clientID = f.string("clientID");
    i.name = f.string("name");
    i.email = f.string("email");
    i.expiresAt = f.date("expiresAt");
    return i;
}

} // namespace brevio::json
