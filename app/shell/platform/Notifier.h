#pragma once

#include "shell/platform/Notifications.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QVariant>
#include <QVariantMap>

class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

namespace brevio {

// Desktop notifications through the freedesktop notification server on D-Bus.
//
// Every call to the server is asynchronous; answers and the server's signals are handled on the
// thread the Notifier lives in (the main thread), so onReply and onOpen run there too.
//
// Each conversation has at most one notification on screen: a newer one is posted with the
// previous one's id as replaces_id. The server tells that id only in its answer to Notify, so while
// a conversation's Notify is unanswered its next notification waits (only the newest one), and a
// withdraw in that time closes the id once it is known.
//
// Without a server on the bus nothing is posted and nothing fails. The server may also start or
// restart later: its name is watched, and a new owner's capabilities are read again.
class Notifier : public QObject, public Notifications {
    Q_OBJECT
public:
    // Reads a stored preference; an invalid QVariant means "never set".
    using Preference = std::function<QVariant(const QString& key)>;

    enum class ServerState {
        Unknown,   // not activated yet, or the capabilities are being read
        Available, // a server answered; notifications are posted
        Missing,   // no server (or no bus): notifications are dropped
    };
    Q_ENUM(ServerState)

    Notifier(QDBusConnection bus, Preference preference, QObject* parent = nullptr);

    void activate() override;
    bool isActive() const override { return active_; }
    void notify(const QString& title, const std::optional<QString>& subtitle, const QString& body,
                const QString& conversationID) override;
    void withdraw(const QString& conversationID) override;

    ServerState serverState() const { return state_; }
    // Capabilities of the current server (false while it is not Available).
    bool canReplyInline() const { return inlineReply_; }
    bool hasActions() const { return actions_; }

Q_SIGNALS:
    // The settings screen tells the user when no notification can be shown.
    void serverStateChanged(brevio::Notifier::ServerState state);

private Q_SLOTS:
    void actionInvoked(uint id, const QString& action);
    void notificationReplied(uint id, const QString& text);
    void notificationClosed(uint id, uint reason);

private:
    // Preferences are applied when notify is called; the markup escaping when it is sent.
    struct Content {
        QString title;
        std::optional<QString> subtitle;
        QString body;
        bool silent = false;
    };
    // What this Notifier knows of one conversation's notification.
    struct Slot {
        uint id = 0;                   // its id on the server; 0 = none shown
        bool inFlight = false;         // a Notify for it is unanswered
        bool closeOnReply = false;     // withdrawn while in flight
        std::optional<Content> queued; // newest content waiting for the answer
    };

    void readCapabilities();
    void capabilitiesRead(QDBusPendingCallWatcher* call, quint64 generation);
    void serverOwnerChanged(const QString& newOwner);
    void setState(ServerState state);
    void forgetServer();
    void notifyNow(const QString& conversationID, const Content& content);
    void send(const QString& conversationID, const Content& content);
    void notifyAnswered(QDBusPendingCallWatcher* call, const QString& conversationID,
                        quint64 generation);
    void close(uint id);
    void dropSlotIfIdle(const QString& conversationID);
    bool preferenceOn(const QString& key) const;

    QDBusConnection bus_;
    Preference preference_;
    QDBusServiceWatcher* watcher_ = nullptr;
    bool active_ = false;
    ServerState state_ = ServerState::Unknown;
    bool inlineReply_ = false;
    bool actions_ = false;
    bool markup_ = false;
    // Rises whenever the server changes; answers from an earlier one are dropped.
    quint64 generation_ = 0;
    // Notifications made while the capabilities are read, one per conversation, in order.
    QList<std::pair<QString, Content>> waiting_;
    QHash<QString, Slot> slots_;
    QHash<uint, QString> conversationOf_;
};

} // namespace brevio
