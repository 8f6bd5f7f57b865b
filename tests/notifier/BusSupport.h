#pragma once

// Pieces the D-Bus tests share. Everything runs on the private session bus that the test program
// is started in (dbus-run-session).

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>

namespace brevio::test {

// A connection of its own to the session bus, closed when it goes. Two of them in one process talk
// to each other through the bus daemon, as two programs would.
class BusConnection {
public:
    BusConnection()
        : name_(QStringLiteral("brevio-test-%1").arg(++created_)),
          bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name_)) {}
    ~BusConnection() { QDBusConnection::disconnectFromBus(name_); }
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    QDBusConnection& bus() { return bus_; }

private:
    static inline int created_ = 0;
    QString name_;
    QDBusConnection bus_;
};

// Every message of the signals it is connected to, in order of arrival.
class MessageRecorder : public QObject {
    Q_OBJECT
public:
    QList<QDBusMessage> messages;

public Q_SLOTS:
    void record(const QDBusMessage& message) { messages.append(message); }
};

} // namespace brevio::test
