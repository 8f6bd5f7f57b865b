#pragma once

#include <QDBusConnection>
#include <QObject>

namespace brevio {

// Tells when the computer has woken from sleep, from the login manager's PrepareForSleep(false)
// signal on the system bus. Without a login manager it never fires.
class SleepWatcher : public QObject {
    Q_OBJECT
public:
    explicit SleepWatcher(QDBusConnection bus, QObject* parent = nullptr);

Q_SIGNALS:
    void woke();

private Q_SLOTS:
    void prepareForSleep(bool goingToSleep);
};

} // namespace brevio
