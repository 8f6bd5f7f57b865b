#include "shell/platform/Notifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <utility>

namespace brevio {

namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");

QDBusMessage serverCall(const QString& method) {
    return QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
}

// Servers that list "body-markup" read the body as a small XML-like markup; a message saying
// "a < b & c" must reach the screen as written.
QString escapedMarkup(QString text) {
    text.replace(QLatin1Char('&'), QStringLiteral("&amp;"));
    text.replace(QLatin1Char('<'), QStringLiteral("&lt;"));
    text.replace(QLatin1Char('>'), QStringLiteral("&gt;"));
    return text;
}

} // namespace

Notifier::Notifier(QDBusConnection bus, Preference preference, QObject* parent)
    : QObject(parent), bus_(std::move(bus)), preference_(std::move(preference)) {}

void Notifier::activate() {
    if (active_)
        return;
    active_ = true;
    if (!bus_.isConnected()) {
        setState(ServerState::Missing);
        return;
    }
    // Subscribed through the service name, so only the server's own signals arrive here.
    bus_.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this,
                 SLOT(actionInvoked(uint, QString)));
    bus_.connect(kService, kPath, kInterface, QStringLiteral("NotificationReplied"), this,
                 SLOT(notificationReplied(uint, QString)));
    bus_.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this,
                 SLOT(notificationClosed(uint, uint)));
    watcher_ =
        new QDBusServiceWatcher(kService, bus_, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                serverOwnerChanged(newOwner);
            });
    readCapabilities();
}

void Notifier::readCapabilities() {
    auto* call = new QDBusPendingCallWatcher(bus_.asyncCall(serverCall("GetCapabilities")), this);
    const quint64 generation = generation_;
    connect(
        call, &QDBusPendingCallWatcher::finished, this,
        [this, generation](QDBusPendingCallWatcher* done) { capabilitiesRead(done, generation); });
}

void Notifier::capabilitiesRead(QDBusPendingCallWatcher* call, quint64 generation) {
    call->deleteLater();
    if (generation != generation_)
        return;
    const QDBusPendingReply<QStringList> reply = *call;
    if (reply.isError()) {
        waiting_.clear();
        setState(ServerState::Missing);
        return;
    }
    const QStringList capabilities = reply.value();
    inlineReply_ = capabilities.contains(QStringLiteral("inline-reply"));
    actions_ = capabilities.contains(QStringLiteral("actions"));
    markup_ = capabilities.contains(QStringLiteral("body-markup"));
    setState(ServerState::Available);
    for (const auto& [conversationID, content] : std::exchange(waiting_, {}))
        notifyNow(conversationID, content);
}

void Notifier::serverOwnerChanged(const QString& newOwner) {
    // Ids belong to the server that gave them; a new one knows none of them.
    ++generation_;
    forgetServer();
    if (newOwner.isEmpty()) {
        waiting_.clear();
        setState(ServerState::Missing);
        return;
    }
    setState(ServerState::Unknown);
    readCapabilities();
}

void Notifier::forgetServer() {
    slots_.clear();
    conversationOf_.clear();
    inlineReply_ = actions_ = markup_ = false;
}

void Notifier::setState(ServerState state) {
    if (state_ == state)
        return;
    state_ = state;
    Q_EMIT serverStateChanged(state);
}

bool Notifier::preferenceOn(const QString& key) const {
    const QVariant value = preference_ ? preference_(key) : QVariant();
    return !value.isValid() || value.toBool();
}

void Notifier::notify(const QString& title, const std::optional<QString>& subtitle,
                      const QString& body, const QString& conversationID) {
    if (!active_ || !preferenceOn(QStringLiteral("notificationsEnabled")))
        return;
    Content content{
        .title = title,
        .subtitle = subtitle,
        .body = preferenceOn(QStringLiteral("notificationPreview"))
                    ? body
                    : QStringLiteral("Nuovo messaggio"),
        .silent = !preferenceOn(QStringLiteral("notificationSound")),
    };
    switch (state_) {
    case ServerState::Missing:
        return;
    case ServerState::Unknown:
        // Only the newest one per conversation would stay on screen anyway.
        waiting_.removeIf([&](const auto& entry) { return entry.first == conversationID; });
        waiting_.append({conversationID, std::move(content)});
        return;
    case ServerState::Available:
        notifyNow(conversationID, content);
        return;
    }
}

void Notifier::notifyNow(const QString& conversationID, const Content& content) {
    Slot& slot = slots_[conversationID];
    if (slot.inFlight) {
        slot.queued = content;
        return;
    }
    send(conversationID, content);
}

void Notifier::send(const QString& conversationID, const Content& content) {
    Slot& slot = slots_[conversationID];
    // The protocol has no subtitle: it becomes the body's first line.
    QString body = content.subtitle && !content.subtitle->isEmpty()
                       ? *content.subtitle + QLatin1Char('\n') + content.body
                       : content.body;
    if (markup_)
        body = escapedMarkup(body);

    QStringList actions{QStringLiteral("default"), QStringLiteral("Apri")};
    QVariantMap hints{
        {QStringLiteral("desktop-entry"), QStringLiteral("brevio")},
        {QStringLiteral("category"), QStringLiteral("im.received")},
        {QStringLiteral("x-brevio-conversation"), conversationID},
    };
    if (content.silent)
        hints.insert(QStringLiteral("suppress-sound"), true);
    else
        hints.insert(QStringLiteral("sound-name"), QStringLiteral("message-new-instant"));
    if (inlineReply_) {
        actions << QStringLiteral("inline-reply") << QStringLiteral("Rispondi");
        hints.insert(QStringLiteral("x-kde-reply-placeholder-text"),
                     QStringLiteral("Scrivi una risposta"));
        hints.insert(QStringLiteral("x-kde-reply-submit-button-text"), QStringLiteral("Invia"));
    }

    QDBusMessage message = serverCall(QStringLiteral("Notify"));
    message.setArguments({QStringLiteral("Brevio"), QVariant::fromValue<uint>(slot.id),
                          QStringLiteral("brevio"), content.title, body, actions, hints,
                          QVariant::fromValue<qint32>(-1)});
    slot.inFlight = true;
    auto* call = new QDBusPendingCallWatcher(bus_.asyncCall(message), this);
    const quint64 generation = generation_;
    connect(call, &QDBusPendingCallWatcher::finished, this,
            [this, conversationID, generation](QDBusPendingCallWatcher* done) {
                notifyAnswered(done, conversationID, generation);
            });
}

void Notifier::notifyAnswered(QDBusPendingCallWatcher* call, const QString& conversationID,
                              quint64 generation) {
    call->deleteLater();
    if (generation != generation_)
        return;
    const auto it = slots_.find(conversationID);
    if (it == slots_.end())
        return;
    Slot& slot = *it;
    slot.inFlight = false;
    const QDBusPendingReply<uint> reply = *call;
    if (!reply.isError() && reply.value() != 0) {
        const uint id = reply.value();
        // A new id instead of the replaced one: the old notification should be gone already,
        // but make sure the conversation never shows two.
        if (slot.id != 0 && slot.id != id) {
            conversationOf_.remove(slot.id);
            close(slot.id);
        }
        slot.id = id;
        conversationOf_.insert(id, conversationID);
    }
    if (slot.closeOnReply) {
        slot.closeOnReply = false;
        if (slot.id != 0) {
            conversationOf_.remove(slot.id);
            close(slot.id);
            slot.id = 0;
        }
    }
    if (slot.queued) {
        const Content next = *std::exchange(slot.queued, std::nullopt);
        send(conversationID, next);
        return;
    }
    dropSlotIfIdle(conversationID);
}

void Notifier::withdraw(const QString& conversationID) {
    waiting_.removeIf([&](const auto& entry) { return entry.first == conversationID; });
    const auto it = slots_.find(conversationID);
    if (it == slots_.end())
        return;
    it->queued.reset();
    if (it->inFlight) {
        // The answer may carry a new id or the one already known: close whichever it is then.
        it->closeOnReply = true;
        return;
    }
    if (it->id != 0) {
        conversationOf_.remove(it->id);
        close(it->id);
    }
    slots_.erase(it);
}

void Notifier::close(uint id) {
    QDBusMessage message = serverCall(QStringLiteral("CloseNotification"));
    message << QVariant::fromValue<uint>(id);
    bus_.send(message);
}

void Notifier::dropSlotIfIdle(const QString& conversationID) {
    const auto it = slots_.find(conversationID);
    if (it != slots_.end() && it->id == 0 && !it->inFlight && !it->queued && !it->closeOnReply)
        slots_.erase(it);
}

void Notifier::actionInvoked(uint id, const QString& action) {
    // "inline-reply" is announced here too, but its text comes with NotificationReplied.
    if (action != QStringLiteral("default"))
        return;
    const auto it = conversationOf_.constFind(id);
    if (it == conversationOf_.constEnd() || !onOpen)
        return;
    const QString conversationID = *it;
    onOpen(conversationID);
}

void Notifier::notificationReplied(uint id, const QString& text) {
    const auto it = conversationOf_.constFind(id);
    if (it == conversationOf_.constEnd() || !onReply)
        return;
    const QString conversationID = *it;
    onReply(conversationID, text);
}

void Notifier::notificationClosed(uint id, uint /*reason*/) {
    const auto conversation = conversationOf_.find(id);
    if (conversation == conversationOf_.end())
        return;
    const QString conversationID = conversation.value();
    conversationOf_.erase(conversation);
    const auto it = slots_.find(conversationID);
    if (it != slots_.end() && it->id == id) {
        it->id = 0;
        dropSlotIfIdle(conversationID);
    }
}

} // namespace brevio
