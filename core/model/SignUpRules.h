#pragma once

#include <QString>

namespace brevio::SignUpRules {

inline constexpr int maximumEmailLength = 254;

// At most 254 characters and the whole text matches [^\s@]+@[^\s@]+\.[^\s@]+
bool isValidEmail(const QString& email);

} // namespace brevio::SignUpRules
