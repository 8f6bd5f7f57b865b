#pragma once

#include "shell/platform/Badge.h"

#include <QDBusConnection>
#include <QString>
#include <optional>

namespace brevio {

// The badge as the launcher-entry D-Bus signal that docks and panels listen to: an Update signal
// naming our desktop entry, with the count and whether to show it.
class LauncherBadge : public Badge {
public:
    explicit LauncherBadge(QDBusConnection bus,
                           QString objectPath = QStringLiteral("/app/brevio/LauncherEntry"));

    // Sends only when what the launcher shows changes. Without a bus nothing happens.
    void setCount(qint64 count) override;

private:
    QDBusConnection bus_;
    QString objectPath_;
    std::optional<qint64> sent_; // none until a signal went out
};

} // namespace brevio
