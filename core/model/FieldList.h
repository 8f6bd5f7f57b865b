#pragma once

// One list of fields per record, read by every coder: each JSON object (a record, a frame's
// payload) names its keys once, in FieldList<T>::fields, and writing a value, writing text,
// counting and reading all walk that same list.
//
//     template <> struct FieldList<Reaction> {
//         static constexpr std::string_view name = "Reaction"; // the object in error texts
//         template <class Visit, class R> static void fields(Visit& visit, R& r) {
//             visit("emoji", r.emoji);        // required
//             visit("userIDs", r.userIDs);
//         }
//     };
//
// How a key reads follows from the member's type: a plain member is required; an optional
// (std::optional, SharedOptional) may be missing and is then not written either; a member listed
// with `orDefault` may be missing and then keeps its default, but is always written. Null counts
// as missing. `name` is needed only for records that are decoded on their own (decode<T>).

#include "model/Json.h"

#include <type_traits>

namespace brevio::json {

template <class T> struct FieldList;

struct OrDefault {};
inline constexpr OrDefault orDefault{};

// ---- Single values ---------------------------------------------------------------------------

inline void readValue(const boost::json::value& v, std::string_view key, QString& out) {
    out = decodeString(v, key);
}
inline void readValue(const boost::json::value& v, std::string_view key, qint64& out) {
    out = decodeInt(v, key);
}
inline void readValue(const boost::json::value& v, std::string_view key, bool& out) {
    out = decodeBool(v, key);
}
inline void readValue(const boost::json::value& v, std::string_view key, QDateTime& out) {
    out = decodeDate(v, key);
}
inline void readValue(const boost::json::value& v, std::string_view key, QStringList& out) {
    out = decodeStringList(v, key);
}
inline void readValue(const boost::json::value& v, std::string_view key, SeqMarks& out) {
    out = decodeSeqMarks(v, key);
}
inline void readValue(const boost::json::value& v, std::string_view key, Role& out) {
    out = decodeRole(v, key);
}
inline void readValue(const boost::json::value& v, std::string_view key, ConversationKind& out) {
    out = decodeConversationKind(v, key);
}
template <class T>
void readValue(const boost::json::value& v, std::string_view key, QList<T>& out) {
    out = decodeList<T>(v, key);
}
// A nested record names itself in its error texts, not the key it stands under.
template <class T> void readValue(const boost::json::value& v, std::string_view, T& out) {
    out = decode<T>(v);
}

// ---- The visitors ----------------------------------------------------------------------------

// Reads the listed keys of one object into a record.
class FieldReader {
public:
    explicit FieldReader(const Fields& f) : f_(f) {}

    template <class T> void operator()(std::string_view key, T& member) {
        readValue(f_.require(key), key, member);
    }
    template <OptionalField T> void operator()(std::string_view key, T& member) {
        if (const boost::json::value* v = f_.find(key)) {
            std::remove_cvref_t<decltype(*member)> value;
            readValue(*v, key, value);
            member = std::move(value);
        }
    }
    template <class T> void operator()(std::string_view key, T& member, OrDefault) {
        if (const boost::json::value* v = f_.find(key))
            readValue(*v, key, member);
    }

private:
    const Fields& f_;
};

// Writes the listed fields into an object: put() each one.
struct ValueFields {
    boost::json::object& object;
    template <class T> void operator()(std::string_view key, const T& v) { put(object, key, v); }
    template <class T> void operator()(std::string_view key, const T& v, OrDefault) {
        put(object, key, v);
    }
};

// The number of listed fields: the room an object reserves before it is filled.
struct FieldCount {
    std::size_t n = 0;
    template <class T> void operator()(std::string_view, const T&, OrDefault = {}) { ++n; }
};

// ---- Whole objects ---------------------------------------------------------------------------

// The fields of `record` added to an object that may already hold others (a frame's "type").
template <class T> void writeFields(boost::json::object& o, const T& record) {
    ValueFields out{o};
    FieldList<T>::fields(out, record);
}

// The fields of `record` read from an object named by `f`.
template <class T> void readFields(const Fields& f, T& record) {
    FieldReader in(f);
    FieldList<T>::fields(in, record);
}

template <class T> boost::json::value encode(const T& record, storage_ptr sp) {
    FieldCount count;
    FieldList<T>::fields(count, record);
    boost::json::object o(std::move(sp));
    o.reserve(count.n);
    writeFields(o, record);
    return o;
}

template <class T> T decode(const boost::json::value& v) {
    T record;
    readFields(Fields(v, FieldList<T>::name), record);
    return record;
}

} // namespace brevio::json
