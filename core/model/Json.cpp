#include "model/Json.h"

#include "model/Utf8.h"
#include "model/WireCoding.h"

#include <limits>

namespace brevio::json {

namespace js = boost::json;

namespace {

QString quoted(std::string_view key) {
    return QLatin1Char('"') + QString::fromUtf8(key.data(), qsizetype(key.size())) +
           QLatin1Char('"');
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

} // namespace brevio::json
