#pragma once

#include <QSettings>
#include <QVariant>

namespace brevio {

// The user's preferences ("appTheme", the notification switches, the window's place), kept under
// $XDG_CONFIG_HOME/Brevio/Brevio.conf.
inline QSettings preferences() {
    return QSettings(QStringLiteral("Brevio"), QStringLiteral("Brevio"));
}

inline QVariant preference(const QString& key) {
    return preferences().value(key);
}

} // namespace brevio
