#pragma once

// The one date form of the protocol and the saved files: ISO 8601 in UTC with milliseconds,
// e.g. 2025-03-14T09:26:53.589Z. Reading also accepts the form without the fraction.

#include <QDateTime>
#include <QString>
#include <optional>
#include <string>
#include <string_view>

namespace brevio::WireCoding {

// Length of the written form, "yyyy-MM-ddTHH:mm:ss.zzzZ".
inline constexpr std::size_t encodedDateLength = 24;

// Always three fraction digits and "Z". The form has four year digits, so a date before year 0
// or after 9999 is clamped to that range; an invalid QDateTime is written as the epoch rather
// than as text that would make the whole record unreadable.
QString encodeDate(const QDateTime& date);
std::string encodeDateUtf8(const QDateTime& date);
// Writes exactly encodedDateLength characters to `out`, no terminator.
void encodeDateTo(const QDateTime& date, char* out);

// A UTC date, or nothing when `text` is not exactly yyyy-MM-ddTHH:mm:ss[.fraction]Z with a real
// calendar date and a time from 00:00:00 to 23:59:59. A fraction of any length is accepted and
// truncated to milliseconds.
std::optional<QDateTime> decodeDate(std::string_view text);
// The same, as milliseconds since the epoch.
std::optional<qint64> decodeDateMSecs(std::string_view text);

// The error text for a date that does not decode: "Data non valida: " + text.
QString invalidDateText(std::string_view text);

} // namespace brevio::WireCoding
