#pragma once

// The JSON form of the records, shared by the wire protocol and the saved state.
//
// Writing: keys are the field names; an absent optional is left out, never written as null.
// Reading: null counts as a missing key; a missing required key, a value of the wrong JSON type,
// an integer outside 64 bits, an unknown enum string or a bad date throws DecodeError. The
// exception never leaves the codec: the public decode functions of the wire and the store turn it
// into a value.
//
// Each record's keys are listed once (model/FieldList.h); other layers list the fields of their
// own objects the same way, or build them from the pieces below.

#include "model/JsonParser.h"
#include "model/JsonTextWriter.h"
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

// ---- Records -------------------------------------------------------------------------------

// The records: User, ClientCompany, QuotedMessage, Reaction, ChatMessage, Conversation,
// ReceiptEntry, PendingMessage, Invite; defined for these in RecordFields.cpp, and for any
// other type with a FieldList where model/FieldList.h is included.

// `sp` is where the returned value allocates; the default is the heap.
template <class Record> boost::json::value encode(const Record& v, storage_ptr sp = {});
// Throws DecodeError.
template <class Record> Record decode(const boost::json::value& v);
// The text of encode(v), written straight into `out`.
template <class Record> void write(TextWriter& out, const Record& v);

#define BREVIO_RECORD_CODERS(Record)                                                               \
    extern template boost::json::value encode(const Record&, storage_ptr);                         \
    extern template Record decode<Record>(const boost::json::value&);
BREVIO_RECORD_CODERS(User)
BREVIO_RECORD_CODERS(ClientCompany)
BREVIO_RECORD_CODERS(QuotedMessage)
BREVIO_RECORD_CODERS(Reaction)
BREVIO_RECORD_CODERS(ChatMessage)
BREVIO_RECORD_CODERS(Conversation)
BREVIO_RECORD_CODERS(ReceiptEntry)
BREVIO_RECORD_CODERS(PendingMessage)
BREVIO_RECORD_CODERS(Invite)
#undef BREVIO_RECORD_CODERS

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

// The keys of one object, for reading. A null value reads as a missing key.
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

    QString string(std::string_view key, const QString& fallback) const {
        const auto* v = find(key);
        return v ? decodeString(*v, key) : fallback;
    }
    template <class T> std::optional<T> optRecord(std::string_view key) const {
        const auto* v = find(key);
        return v ? std::optional<T>(decode<T>(*v)) : std::nullopt;
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
