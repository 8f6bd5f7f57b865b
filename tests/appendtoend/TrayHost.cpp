#include "appendtoend/TrayHost.h"

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QMutexLocker>

namespace brevio::test {

class TrayHost::Watcher : public QObject {
public:
    mutable QMutex mutex;
    QStringList items;
};

namespace {

const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");

class WatcherAdaptor : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registeredItems)
public:
    explicit WatcherAdaptor(TrayHost::Watcher* watcher)
        : QDBusAbstractAdaptor(watcher), watcher_(watcher) {}
    bool hostRegistered() const { return true; }
    int protocolVersion() const { return 0; }
    QStringList registeredItems() const {
        QMutexLocker lock(&watcher_->mutex);
        return watcher_->items;
    }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service, const QDBusMessage& message) {
        // An item may name only its path; the sender's name goes with it then.
        const QString item =
            service.startsWith(QLatin1Char('/')) ? message.service() + service : service;
        QMutexLocker lock(&watcher_->mutex);
        watcher_->items.append(item);
    }
    void RegisterStatusNotifierHost(const QString&) {}

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString& service);
    void StatusNotifierHostRegistered();

private:
    TrayHost::Watcher* watcher_;
};

} // namespace

TrayHost::TrayHost() : watcher_(new Watcher) {
    new WatcherAdaptor(watcher_);
    thread_.start();
    watcher_->moveToThread(&thread_);
    registered_ = bus_.bus().registerObject(watcherPath, watcher_) &&
                  bus_.bus().registerService(watcherService);
}

TrayHost::~TrayHost() {
    bus_.bus().unregisterService(watcherService);
    bus_.bus().unregisterObject(watcherPath);
    // Deleted on its own thread, where the bus relays its signals (destroyed() included).
    watcher_->deleteLater();
    thread_.quit();
    thread_.wait();
}

QStringList TrayHost::items() const {
    QMutexLocker lock(&watcher_->mutex);
    return watcher_->items;
}

} // namespace brevio::test

#include "TrayHost.moc"
