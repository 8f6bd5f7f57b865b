#include "FakeNotificationServer.h"

namespace brevio::test {

namespace {
const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
} // namespace

FakeNotificationServer::FakeNotificationServer(QStringList capabilities)
    : capabilities(std::move(capabilities)) {
    registered_ =
        connection_.bus().registerObject(
            kPath, this, QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
        connection_.bus().registerService(kService);
}

FakeNotificationServer::~FakeNotificationServer() {
    connection_.bus().unregisterService(kService);
    connection_.bus().unregisterObject(kPath);
}

QList<FakeNotificationServer::NotifyCall>
FakeNotificationServer::callsFor(const QString& conversationID) const {
    QList<NotifyCall> calls;
    for (const NotifyCall& call : notifyCalls)
        if (call.hints.value(QStringLiteral("x-brevio-conversation")).toString() == conversationID)
            calls.append(call);
    return calls;
}

void FakeNotificationServer::dismiss(uint id) {
    shown.remove(id);
    Q_EMIT NotificationClosed(id, 2);
}

QStringList FakeNotificationServer::GetCapabilities() {
    ++capabilityCalls;
    return capabilities;
}

uint FakeNotificationServer::Notify(const QString& appName, uint replacesID, const QString& appIcon,
                                    const QString& summary, const QString& body,
                                    const QStringList& actions, const QVariantMap& hints,
                                    int expireTimeout) {
    // As the protocol asks: a notification still on screen is replaced in place, under its id.
    const uint id = shown.contains(replacesID) ? replacesID : ++lastID_;
    shown.insert(id);
    notifyCalls.append(
        {appName, replacesID, appIcon, summary, body, actions, hints, expireTimeout, id});
    return id;
}

void FakeNotificationServer::CloseNotification(uint id) {
    closeCalls.append(id);
    if (shown.remove(id))
        Q_EMIT NotificationClosed(id, 3);
}

QString FakeNotificationServer::GetServerInformation(QString& vendor, QString& version,
                                                     QString& protocolVersion) {
    vendor = QStringLiteral("Brevio tests");
    version = QStringLiteral("1");
    protocolVersion = QStringLiteral("1.2");
    return QStringLiteral("fake");
}

} // namespace brevio::test
