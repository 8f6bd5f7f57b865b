#pragma once

#include <QString>

namespace brevio::SignUpRules {

// In user-visible characters (grapheme clusters), so "è" counts once however it is encoded.
inline constexpr int maximumEmailLength = 254;

// At most 254 characters and the whole text matches [^\s@]+@[^\s@]+\.[^\s@]+ (white space in the
// Unicode sense).
bool isValidEmail(const QString& email);

} // namespace brevio::SignUpRules
