#pragma once

// The one date form of the protocol and the saved files: ISO 8601 in UTC with milliseconds,
// e.g. 2025-03-14T09:26:53.589Z. Reading also accepts the form without the fraction.

#include <QDateTime>
#include <QString>
#include <optional>
#include <string>
#include <string_view>

namespace brevio::WireCoding {

// Always three fraction digits and "Z".
QString encodeDate(const QDateTime& date);
std::string encodeDateUtf8(const QDateTime& date);

// A UTC date, or nothing when `text` is not exactly yyyy-MM-ddTHH:mm:ss[.fraction]Z.
std::optional<QDateTime> decodeDate(std::string_view text);

// The error text for a date that does not decode: "Data non valida: " + text.
QString invalidDateText(std::string_view text);

} // namespace brevio::WireCoding
