#pragma once

// The JSON form of the records, shared by the wire protocol and the saved state.
//
// Writing: keys are the field names; an absent optional is left out, never written as null.
// Reading: null counts as a missing key; a missing required key, a value of the wrong JSON type,
// an integer outside 64 bits, an unknown enum string or a bad date throws DecodeError. The
// exception never leaves the codec: the public decode functions of the wire and the store turn it
// into a value.

#include "model/Records.h"

#include <boost/json/value.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace brevio {

class DecodeError : public std::runtime_error {
public:
    explicit DecodeError(const std::string& text) : std::runtime_error(text) {}
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

boost::json::value encode(const User& v);
boost::json::value encode(const ClientCompany& v);
boost::json::value encode(const QuotedMessage& v);
boost::json::value encode(const Reaction& v);
boost::json::value encode(const ChatMessage& v);
boost::json::value encode(const Conversation& v);
boost::json::value encode(const ReceiptEntry& v);
boost::json::value encode(const PendingMessage& v);
boost::json::value encode(const Invite& v);

// decode<T>(value) throws DecodeError. Specialised for every record above.
template <class T> T decode(const boost::json::value& v);

// Serialises a JSON value to compact UTF-8 text.
std::string serialize(const boost::json::value& v);
// Parses UTF-8 text; malformed JSON or invalid UTF-8 throws DecodeError.
boost::json::value parse(std::string_view text);

} // namespace json
} // namespace brevio
