#include "shell/platform/SleepWatcher.h"

namespace brevio {

SleepWatcher::SleepWatcher(QDBusConnection bus, QObject* parent) : QObject(parent) {
    // Subscribed through the service name: the bus delivers the signal from its owner only.
    if (bus.isConnected())
        bus.connect(QStringLiteral("org.freedesktop.login1"),
                    QStringLiteral("/org/freedesktop/login1"),
                    QStringLiteral("org.freedesktop.login1.Manager"),
                    QStringLiteral("PrepareForSleep"), this, SLOT(prepareForSleep(bool)));
}

void SleepWatcher::prepareForSleep(bool goingToSleep) {
    if (!goingToSleep)
        Q_EMIT woke();
}

} // namespace brevio
