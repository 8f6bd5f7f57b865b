#pragma once

// The desktop's tray for a program in another process: a StatusNotifier watcher on the private
// session bus, as a panel offers it. Registered while the object lives; it answers on a thread of
// its own, so a program's blocking calls are answered while the test waits in any way.

#include "notifier/BusSupport.h"

#include <QMutex>
#include <QStringList>
#include <QThread>

namespace brevio::test {

class TrayHost {
public:
    TrayHost();
    ~TrayHost();
    TrayHost(const TrayHost&) = delete;
    TrayHost& operator=(const TrayHost&) = delete;

    bool isRegistered() const { return registered_; }
    // The items (icons) that registered with the panel so far.
    QStringList items() const;
    // The panel's own connection, for reading what the items show.
    QDBusConnection bus() { return bus_.bus(); }

    class Watcher;

private:
    QThread thread_;
    BusConnection bus_;
    Watcher* watcher_;
    bool registered_ = false;
};

} // namespace brevio::test
