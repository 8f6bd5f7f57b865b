#pragma once

#include <QString>
#include <array>
#include <optional>

namespace brevio {

// The user's choice of look, stored as its text under the preference "appTheme": follow the
// desktop, or always light, or always dark.
enum class AppTheme { system, light, dark };

inline constexpr std::array<AppTheme, 3> allAppThemes = {AppTheme::system, AppTheme::light,
                                                         AppTheme::dark};

inline QString toString(AppTheme theme) {
    switch (theme) {
    case AppTheme::light:
        return QStringLiteral("light");
    case AppTheme::dark:
        return QStringLiteral("dark");
    case AppTheme::system:
        break;
    }
    return QStringLiteral("system");
}

// The stored text's theme; nothing for a text that names none.
inline std::optional<AppTheme> appThemeFrom(const QString& text) {
    for (const AppTheme theme : allAppThemes)
        if (text == toString(theme))
            return theme;
    return std::nullopt;
}

// Its name on the settings' picker.
inline QString label(AppTheme theme) {
    switch (theme) {
    case AppTheme::light:
        return QStringLiteral("Chiaro");
    case AppTheme::dark:
        return QStringLiteral("Scuro");
    case AppTheme::system:
        break;
    }
    return QStringLiteral("Automatico");
}

} // namespace brevio
