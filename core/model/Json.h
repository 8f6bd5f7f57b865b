#pragma once

// The JSON form of the records, shared by the wire protocol and the saved state.
//
// Writing: keys are the field names; an absent optional is left out, never written as null.
// Reading: null counts as a missing key; a missing required key, a value of the wrong JSON type,
// an integer outside 64 bits, an unknown enum string or a bad date throws DecodeError. The
// exception never leaves the codec: the public decode functions of the wire and the store turn it
// into a value.
//
// Other layers build the JSON of their own types from the same pieces: Fields to read an object,
// the put/encodeValue helpers to write one.

#include "model/Records.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/string.hpp>
#include <boost/json/value.hpp>
#include <concepts>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace brevio {

class DecodeError : public std::runtime_error {
public:
    explicit DecodeError(const std::string& text) : std::runtime_error(text) {}
    explicit DecodeError(const QString& text) : std::runtime_error(text.toStdString()) {}
    // The user-facing text, e.g. "Data non valida: 2025-03-14".
    QString text() const { return QString::fromUtf8(what()); }
};

// The result of decoding untrusted text: a value, or the reason it was refused.
template <class T> struct Decoded {
    std::optional<T> value;
    QString error;

    bool ok() const { return value.has_value(); }
    explicit operator bool() const { return ok(); }
};

namespace json {

using boost::json::storage_ptr;

// ---- Records -------------------------------------------------------------------------------

// The records: User, ClientCompany, QuotedMessage, Reaction, ChatMessage, Conversation,
// ReceiptEntry, PendingMessage, Invite (defined for these only).

// `sp` is where the returned value allocates; the default is the heap.
template <class Record> boost::json::value encode(const Record& v, storage_ptr sp = {});

// The same forms written as text straight into a buffer, with no value built on the way: for
// documents too large for a value tree (the saved state). The text is byte for byte what
// serialize(encode(v)) gives.
class TextWriter {
public:
    explicit TextWriter(std::string& out) : out_(out) {}

    void raw(std::string_view text) { out_.append(text); }
    // UTF-16 to escaped UTF-8; a lone surrogate becomes U+FFFD, as in toJsonString.
    void string(QStringView text);
    void number(qint64 n);
    void boolean(bool b) { raw(b ? std::string_view("true") : std::string_view("false")); }
    void date(const QDateTime& date);

    std::string& buffer() { return out_; }

private:
    std::string& out_;
};

template <class Record> void write(TextWriter& out, const Record& v);

// decode<T>(value) throws DecodeError. Specialised for every record above.
template <class T> T decode(const boost::json::value& v);
template <> User decode<User>(const boost::json::value& v);
template <> ClientCompany decode<ClientCompany>(const boost::json::value& v);
template <> QuotedMessage decode<QuotedMessage>(const boost::json::value& v);
template <> Reaction decode<Reaction>(const boost::json::value& v);
template <> ChatMessage decode<ChatMessage>(const boost::json::value& v);
template <> Conversation decode<Conversation>(const boost::json::value& v);
template <> ReceiptEntry decode<ReceiptEntry>(const boost::json::value& v);
template <> PendingMessage decode<PendingMessage>(const boost::json::value& v);
template <> Invite decode<Invite>(const boost::json::value& v);

// ---- Text ----------------------------------------------------------------------------------

// Serialises a JSON value to compact UTF-8 text.
std::string serialize(const boost::json::value& v);
// Parses UTF-8 text; malformed JSON, invalid UTF-8, trailing data or nesting deeper than
// maxParseDepth throws DecodeError. `sp` is where the result allocates.
boost::json::value parse(std::string_view text, storage_ptr sp = {});
// Deep enough for every record (a welcome nests five levels), shallow enough that a hostile
// frame of brackets is refused early.
inline constexpr std::size_t maxParseDepth = 32;

// Memory for one JSON document at a time, built or parsed, reused from one document to the
// next: building or parsing a large document otherwise spends much of its time allocating and
// freeing (and on this machine, faulting in fresh pages).
class Arena {
public:
    Arena();
    ~Arena();
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // Starts over and returns the storage to allocate from. Every value that used the arena
    // before must be gone. `expectedBytes` sizes the first buffer; later the arena grows to what
    // the largest document needed.
    storage_ptr recycle(std::size_t expectedBytes = 0);

private:
    struct Impl;
    Impl* d;
};

// Parses one document at a time into a reusable arena: the value returned by parse() lives until
// the next parse() or until the Parser is destroyed. Decoding a large frame spends much of its
// time in allocation; reusing one arena avoids nearly all of it.
class Parser {
public:
    Parser();
    ~Parser();
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    const boost::json::value& parse(std::string_view text);

private:
    struct Impl;
    Impl* d;
};

// ---- Pieces for building JSON forms ----------------------------------------------------------

QString toQString(boost::json::string_view text);
boost::json::string toJsonString(QStringView text, storage_ptr sp = {});

boost::json::value encodeValue(const QString& v, const storage_ptr& sp);
boost::json::value encodeValue(const QDateTime& v, const storage_ptr& sp);
boost::json::value encodeValue(const QStringList& v, const storage_ptr& sp);
boost::json::value encodeValue(const SeqMarks& v, const storage_ptr& sp);
inline boost::json::value encodeValue(qint64 v, const storage_ptr& sp) {
    return boost::json::value(std::int64_t(v), sp);
}
inline boost::json::value encodeValue(bool v, const storage_ptr& sp) {
    return boost::json::value(v, sp);
}
inline boost::json::value encodeValue(Role v, const storage_ptr& sp) {
    return encodeValue(toString(v), sp);
}
inline boost::json::value encodeValue(ConversationKind v, const storage_ptr& sp) {
    return encodeValue(toString(v), sp);
}
template <class T> boost::json::value encodeValue(const T& record, const storage_ptr& sp) {
    return encode(record, sp);
}
template <class T> boost::json::value encodeValue(const QList<T>& list, const storage_ptr& sp) {
    boost::json::array a(sp);
    a.reserve(std::size_t(list.size()));
    for (const T& item : list)
        a.push_back(encodeValue(item, sp));
    return a;
}

// std::optional and SharedOptional: a field that is written only when present.
template <class T>
concept OptionalField = requires(const T& v) {
    { v.has_value() } -> std::same_as<bool>;
    *v;
};

// Writes a field under `key`; an absent optional writes nothing.
template <class T> void put(boost::json::object& o, std::string_view key, const T& v) {
    o.emplace(key, encodeValue(v, o.storage()));
}
template <OptionalField T> void put(boost::json::object& o, std::string_view key, const T& v) {
    if (v)
        o.emplace(key, encodeValue(*v, o.storage()));
}

// Readers of single values; `key` only names the value in the error text.
QString decodeString(const boost::json::value& v, std::string_view key);
qint64 decodeInt(const boost::json::value& v, std::string_view key);
bool decodeBool(const boost::json::value& v, std::string_view key);
QDateTime decodeDate(const boost::json::value& v, std::string_view key);
QStringList decodeStringList(const boost::json::value& v, std::string_view key);
SeqMarks decodeSeqMarks(const boost::json::value& v, std::string_view key);
Role decodeRole(const boost::json::value& v, std::string_view key);
ConversationKind decodeConversationKind(const boost::json::value& v, std::string_view key);
template <class T> QList<T> decodeList(const boost::json::value& v, std::string_view key);

// The object a value must be; `what` names it in the error text.
const boost::json::object& asObject(const boost::json::value& v, std::string_view what);

// Reads the fields of one object. A null value reads as a missing key.
class Fields {
public:
    // `what` names the object in error texts, e.g. "ChatMessage".
    Fields(const boost::json::value& v, std::string_view what)
        : o_(asObject(v, what)), what_(what) {}
    Fields(const boost::json::object& o, std::string_view what) : o_(o), what_(what) {}

    // The value under `key`, or nullptr when it is missing or null.
    const boost::json::value* find(std::string_view key) const {
        const boost::json::value* v = o_.if_contains(key);
        return v && !v->is_null() ? v : nullptr;
    }
    // The value under `key`; missing or null throws "Chiave mancante".
    const boost::json::value& require(std::string_view key) const;

    QString string(std::string_view key) const { return decodeString(require(key), key); }
    QString string(std::string_view key, const QString& fallback) const {
        const auto* v = find(key);
        return v ? decodeString(*v, key) : fallback;
    }
    std::optional<QString> optString(std::string_view key) const {
        const auto* v = find(key);
        return v ? std::optional(decodeString(*v, key)) : std::nullopt;
    }

    qint64 integer(std::string_view key) const { return decodeInt(require(key), key); }
    qint64 integer(std::string_view key, qint64 fallback) const {
        const auto* v = find(key);
        return v ? decodeInt(*v, key) : fallback;
    }
    std::optional<qint64> optInteger(std::string_view key) const {
        const auto* v = find(key);
        return v ? std::optional(decodeInt(*v, key)) : std::nullopt;
    }

    bool boolean(std::string_view key) const { return decodeBool(require(key), key); }
    bool boolean(std::string_view key, bool fallback) const {
        const auto* v = find(key);
        return v ? decodeBool(*v, key) : fallback;
    }

    QDateTime date(std::string_view key) const { return decodeDate(require(key), key); }
    std::optional<QDateTime> optDate(std::string_view key) const {
        const auto* v = find(key);
        return v ? std::optional(decodeDate(*v, key)) : std::nullopt;
    }

    QStringList stringList(std::string_view key) const {
        return decodeStringList(require(key), key);
    }
    // Missing or null reads as an empty list.
    QStringList stringListOrEmpty(std::string_view key) const {
        const auto* v = find(key);
        return v ? decodeStringList(*v, key) : QStringList();
    }
    std::optional<QStringList> optStringList(std::string_view key) const {
        const auto* v = find(key);
        return v ? std::optional(decodeStringList(*v, key)) : std::nullopt;
    }

    // Missing or null reads as an empty map.
    SeqMarks seqMarks(std::string_view key) const {
        const auto* v = find(key);
        return v ? decodeSeqMarks(*v, key) : SeqMarks();
    }

    template <class T> T record(std::string_view key) const { return decode<T>(require(key)); }
    template <class T> std::optional<T> optRecord(std::string_view key) const {
        const auto* v = find(key);
        return v ? std::optional<T>(decode<T>(*v)) : std::nullopt;
    }
    template <class T> QList<T> list(std::string_view key) const {
        return decodeList<T>(require(key), key);
    }
    // Missing or null reads as an empty list.
    template <class T> QList<T> listOrEmpty(std::string_view key) const {
        const auto* v = find(key);
        return v ? decodeList<T>(*v, key) : QList<T>();
    }

    const boost::json::object& object() const { return o_; }

private:
    const boost::json::object& o_;
    std::string_view what_;
};

[[noreturn]] void throwWrongType(std::string_view key, const char* expected);

template <class T> QList<T> decodeList(const boost::json::value& v, std::string_view key) {
    const boost::json::array* a = v.if_array();
    if (!a)
        throwWrongType(key, "un array");
    QList<T> list;
    list.reserve(qsizetype(a->size()));
    for (const boost::json::value& item : *a)
        list.push_back(decode<T>(item));
    return list;
}

} // namespace json
} // namespace brevio
