#include "model/Json.h"

#include "model/WireCoding.h"

#include <algorithm>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/parser.hpp>
#include <boost/json/serializer.hpp>
#include <charconv>
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

// Writes the UTF-8 of the character that starts at p[i] (of n): one UTF-16 unit, or a surrogate
// pair, and then i moves to its second half. A lone surrogate becomes U+FFFD. Returns the new end.
unsigned char* putUtf8(const char16_t* p, qsizetype n, qsizetype& i, unsigned char* out) {
    char32_t c = p[i];
    if (c < 0x80) {
        *out++ = static_cast<unsigned char>(c);
        return out;
    }
    if (c < 0x800) {
        *out++ = static_cast<unsigned char>(0xC0 | (c >> 6));
        *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
        return out;
    }
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
    return out;
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
    for (qsizetype i = 0; i < n; ++i)
        out = putUtf8(p, n, i, out);
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

// ---- Text written directly --------------------------------------------------------------------

void TextWriter::string(QStringView text) {
    const char16_t* p = text.utf16();
    const qsizetype n = text.size();
    const std::size_t start = out_.size();
    // Room for the worst case (an escape is 6 bytes per UTF-16 unit), trimmed to what was written.
    out_.resize_and_overwrite(start + 2 + 6 * std::size_t(n), [&](char* buffer, std::size_t) {
        // The characters with a two-letter escape; other control characters become \u00XX.
        static constexpr std::string_view shortEscapes("\"\\\b\f\n\r\t");
        static constexpr std::string_view shortEscapeLetters("\"\\bfnrt");
        static constexpr char hex[] = "0123456789abcdef";
        auto* o = reinterpret_cast<unsigned char*>(buffer + start);
        *o++ = '"';
        for (qsizetype i = 0; i < n; ++i) {
            const char16_t c = p[i];
            if (c < 0x80) {
                if (c >= 0x20 && c != '"' && c != '\\') {
                    *o++ = static_cast<unsigned char>(c);
                    continue;
                }
                *o++ = '\\';
                if (const auto k = shortEscapes.find(char(c)); k != std::string_view::npos) {
                    *o++ = static_cast<unsigned char>(shortEscapeLetters[k]);
                } else {
                    *o++ = 'u';
                    *o++ = '0';
                    *o++ = '0';
                    *o++ = static_cast<unsigned char>(hex[c >> 4]);
                    *o++ = static_cast<unsigned char>(hex[c & 0xF]);
                }
            } else {
                o = putUtf8(p, n, i, o);
            }
        }
        *o++ = '"';
        return std::size_t(reinterpret_cast<char*>(o) - buffer);
    });
}

void TextWriter::number(qint64 n) {
    char text[24];
    const auto end = std::to_chars(text, text + sizeof text, n).ptr;
    out_.append(text, std::size_t(end - text));
}

void TextWriter::date(const QDateTime& date) {
    char text[WireCoding::encodedDateLength + 2];
    text[0] = '"';
    WireCoding::encodeDateTo(date, text + 1);
    text[sizeof text - 1] = '"';
    out_.append(text, sizeof text);
}

namespace {

void writeValue(TextWriter& out, const QString& v) {
    out.string(v);
}
void writeValue(TextWriter& out, const QDateTime& v) {
    out.date(v);
}
void writeValue(TextWriter& out, qint64 v) {
    out.number(v);
}
void writeValue(TextWriter& out, bool v) {
    out.boolean(v);
}
void writeValue(TextWriter& out, Role v) {
    out.string(toString(v));
}
void writeValue(TextWriter& out, ConversationKind v) {
    out.string(toString(v));
}
void writeValue(TextWriter& out, const SeqMarks& v) {
    out.raw("{");
    for (auto it = v.cbegin(); it != v.cend(); ++it) {
        if (it != v.cbegin())
            out.raw(",");
        out.string(it.key());
        out.raw(":");
        out.number(it.value());
    }
    out.raw("}");
}
template <class T> void writeValue(TextWriter& out, const T& record) {
    write(out, record);
}
template <class T> void writeValue(TextWriter& out, const QList<T>& list) {
    out.raw("[");
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (i > 0)
            out.raw(",");
        writeValue(out, list[i]);
    }
    out.raw("]");
}

// Each record lists its fields once, in FieldList<Record> below; these are the two ways of
// reading such a list.

// Into a value: put() each field.
struct ValueFields {
    js::object& object;
    template <class T> void operator()(std::string_view key, const T& v) { put(object, key, v); }
};

// Into text, in the same order; an absent optional writes nothing, as put() does.
class TextFields {
public:
    explicit TextFields(TextWriter& out) : out_(out) {}

    template <class T> void operator()(std::string_view key, const T& v) {
        out_.raw(first_ ? "{\"" : ",\"");
        first_ = false;
        out_.raw(key);
        out_.raw("\":");
        writeValue(out_, v);
    }
    template <OptionalField T> void operator()(std::string_view key, const T& v) {
        if (v)
            (*this)(key, *v);
    }
    void close() { out_.raw(first_ ? "{}" : "}"); }

private:
    TextWriter& out_;
    bool first_ = true;
};

struct FieldCount {
    std::size_t n = 0;
    template <class T> void operator()(std::string_view, const T&) { ++n; }
};

} // namespace

// Specialised below for every record: its fields in the order they are written.
template <class Record> struct FieldList;

template <class Record> js::value encode(const Record& v, storage_ptr sp) {
    FieldCount count;
    FieldList<Record>::fields(count, v);
    js::object o(std::move(sp));
    o.reserve(count.n);
    ValueFields out{o};
    FieldList<Record>::fields(out, v);
    return o;
}

template <class Record> void write(TextWriter& out, const Record& v) {
    TextFields f(out);
    FieldList<Record>::fields(f, v);
    f.close();
}

// ---- Records ---------------------------------------------------------------------------------

template <> struct FieldList<User> {
    template <class Out> static void fields(Out& out, const User& v) {
        out("id", v.id);
        out("name", v.name);
        out("email", v.email);
        out("role", v.role);
        out("clientID", v.clientID);
        out("isAdmin", v.isAdmin);
        out("avatar", v.avatar);
    }
};

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

template <> struct FieldList<ClientCompany> {
    template <class Out> static void fields(Out& out, const ClientCompany& v) {
        out("id", v.id);
        out("name", v.name);
        out("notes", v.notes);
        out("createdAt", v.createdAt);
    }
};

template <> ClientCompany decode<ClientCompany>(const js::value& v) {
    const Fields f(v, "ClientCompany");
    ClientCompany c;
    c.id = f.string("id");
    c.name = f.string("name");
    c.notes = f.optString("notes");
    c.createdAt = f.date("createdAt");
    return c;
}

template <> struct FieldList<QuotedMessage> {
    template <class Out> static void fields(Out& out, const QuotedMessage& v) {
        out("seq", v.seq);
        out("authorID", v.authorID);
        out("text", v.text);
        out("deleted", v.deleted);
    }
};

template <> QuotedMessage decode<QuotedMessage>(const js::value& v) {
    const Fields f(v, "QuotedMessage");
    QuotedMessage q;
    q.seq = f.integer("seq");
    q.authorID = f.string("authorID");
    q.text = f.string("text", QString());
    q.deleted = f.boolean("deleted", false);
    return q;
}

template <> struct FieldList<Reaction> {
    template <class Out> static void fields(Out& out, const Reaction& v) {
        out("emoji", v.emoji);
        out("userIDs", v.userIDs);
    }
};

template <> Reaction decode<Reaction>(const js::value& v) {
    const Fields f(v, "Reaction");
    Reaction r;
    r.emoji = f.string("emoji");
    r.userIDs = f.stringList("userIDs");
    return r;
}

template <> struct FieldList<ChatMessage> {
    template <class Out> static void fields(Out& out, const ChatMessage& v) {
        out("id", v.id);
        out("clientID", v.clientID);
        out("conversationID", v.conversationID);
        out("seq", v.seq);
        out("authorID", v.authorID);
        out("text", v.text);
        out("sentAt", v.sentAt);
        out("replyToSeq", v.replyToSeq);
        out("reply", v.reply);
        out("editedAt", v.editedAt);
        out("deletedAt", v.deletedAt);
        out("reactions", v.reactions);
        out("revision", v.revision);
    }
};

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

template <> struct FieldList<Conversation> {
    template <class Out> static void fields(Out& out, const Conversation& v) {
        out("id", v.id);
        out("kind", v.kind);
        out("clientID", v.clientID);
        out("title", v.title);
        out("memberIDs", v.memberIDs);
        out("lastSeq", v.lastSeq);
        out("lastMessage", v.lastMessage);
        out("reads", v.reads);
        out("delivered", v.delivered);
        out("revision", v.revision);
    }
};

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

template <> struct FieldList<ReceiptEntry> {
    template <class Out> static void fields(Out& out, const ReceiptEntry& v) {
        out("userID", v.userID);
        out("deliveredAt", v.deliveredAt);
        out("readAt", v.readAt);
    }
};

template <> ReceiptEntry decode<ReceiptEntry>(const js::value& v) {
    const Fields f(v, "ReceiptEntry");
    ReceiptEntry r;
    r.userID = f.string("userID");
    r.deliveredAt = f.optDate("deliveredAt");
    r.readAt = f.optDate("readAt");
    return r;
}

template <> struct FieldList<PendingMessage> {
    template <class Out> static void fields(Out& out, const PendingMessage& v) {
        out("clientID", v.clientID);
        out("conversationID", v.conversationID);
        out("text", v.text);
        out("createdAt", v.createdAt);
        out("failure", v.failure);
        out("replyToSeq", v.replyToSeq);
    }
};

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

template <> struct FieldList<Invite> {
    template <class Out> static void fields(Out& out, const Invite& v) {
        out("code", v.code);
        out("clientID", v.clientID);
        out("name", v.name);
        out("email", v.email);
        out("expiresAt", v.expiresAt);
    }
};

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

// ---- The records' instances -----------------------------------------------------------------

template js::value encode(const User&, storage_ptr);
template js::value encode(const ClientCompany&, storage_ptr);
template js::value encode(const QuotedMessage&, storage_ptr);
template js::value encode(const Reaction&, storage_ptr);
template js::value encode(const ChatMessage&, storage_ptr);
template js::value encode(const Conversation&, storage_ptr);
template js::value encode(const ReceiptEntry&, storage_ptr);
template js::value encode(const PendingMessage&, storage_ptr);
template js::value encode(const Invite&, storage_ptr);

template void write(TextWriter&, const User&);
template void write(TextWriter&, const ClientCompany&);
template void write(TextWriter&, const QuotedMessage&);
template void write(TextWriter&, const Reaction&);
template void write(TextWriter&, const ChatMessage&);
template void write(TextWriter&, const Conversation&);
template void write(TextWriter&, const ReceiptEntry&);
template void write(TextWriter&, const PendingMessage&);
template void write(TextWriter&, const Invite&);

} // namespace brevio::json
