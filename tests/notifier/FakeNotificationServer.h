#pragma once

#include "BusSupport.h"

#include <QSet>
#include <QStringList>
#include <QVariantMap>

namespace brevio::test {

// A notification server of our own on the test bus: it owns the well-known name on a connection
// of its own, records every call and shows notifications only as a set of ids. The test emits the
// user's clicks and replies through its signals.
class FakeNotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct NotifyCall {
        QString appName;
        uint replacesID = 0;
        QString appIcon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
        int expireTimeout = 0;
        uint id = 0; // what it answered
    };

    explicit FakeNotificationServer(QStringList capabilities);
    ~FakeNotificationServer() override;

    bool isRegistered() const { return registered_; }

    QStringList capabilities;
    int capabilityCalls = 0;
    QList<NotifyCall> notifyCalls;
    QList<uint> closeCalls;
    QSet<uint> shown;

    // The calls Notify got for one conversation (by the hint the client adds).
    QList<NotifyCall> callsFor(const QString& conversationID) const;
    // The user dismisses a notification.
    void dismiss(uint id);

public Q_SLOTS:
    QStringList GetCapabilities();
    uint Notify(const QString& appName, uint replacesID, const QString& appIcon,
                const QString& summary, const QString& body, const QStringList& actions,
                const QVariantMap& hints, int expireTimeout);
    void CloseNotification(uint id);
    QString GetServerInformation(QString& vendor, QString& version, QString& protocolVersion);

Q_SIGNALS:
    void ActionInvoked(uint id, const QString& actionKey);
    void NotificationReplied(uint id, const QString& text);
    void NotificationClosed(uint id, uint reason);
    // Means nothing to clients. A test waits for it on the client's connection to know that the
    // client has handled everything the server sent before it (answers included).
    void Ping();

private:
    BusConnection connection_;
    bool registered_ = false;
    uint lastID_ = 0;
};

} // namespace brevio::test
