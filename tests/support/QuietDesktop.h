#pragma once

// Desktop services that do nothing, for programs that show the real screens without a desktop
// session around them (the Qt Quick tests, the screenshot tool).

#include "shell/platform/Badge.h"
#include "shell/platform/Notifications.h"

namespace brevio::test {

struct NoNotifications final : Notifications {
    void activate() override {}
    bool isActive() const override { return false; }
    void notify(const QString&, const std::optional<QString>&, const QString&,
                const QString&) override {}
    void withdraw(const QString&) override {}
};

struct NoBadge final : Badge {
    void setCount(qint64) override {}
};

} // namespace brevio::test
