#include "views/ClientHomeModel.h"
#include "views/AppBinding.h"

#include "shell/AppModel.h"
#include "views/ConversationListModel.h"

#include <QCollator>
#include <algorithm>

namespace brevio {

ClientHomeModel::ClientHomeModel(QObject* parent) : QObject(parent) {}

AppModel* ClientHomeModel::app() const {
    return app_;
}

void ClientHomeModel::setApp(AppModel* app) {
    if (!rebindApp(this, app_, app))
        return;
    if (app_) {
        connect(app_, &AppModel::stateChanged, this, &ClientHomeModel::refresh);
        connect(app_, &AppModel::sessionReplaced, this, &ClientHomeModel::refresh);
        connect(app_, &AppModel::selectionChanged, this, &ClientHomeModel::refresh);
    }
    refresh();
    Q_EMIT appChanged();
}

QString ClientHomeModel::statusText(bool staffOnline) {
    return staffOnline ? QStringLiteral("Lo staff è online")
                       : QStringLiteral("Ti risponderemo appena possibile");
}

bool ClientHomeModel::isStaffOnline(const ChatState& state) {
    const QString myID = state.me ? state.me->id : QString();
    for (const QString& id : state.online) {
        if (id == myID)
            continue;
        const auto it = state.users.constFind(id);
        if (it != state.users.cend() && it->role == Role::staff)
            return true;
    }
    return false;
}

QStringList ClientHomeModel::conversationOrder(const ChatState& state) {
    QList<const Conversation*> list;
    for (const Conversation& c : state.conversations)
        list.append(&c);
    QCollator collator(QLocale(QLocale::Italian, QLocale::Italy));
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::sort(list.begin(), list.end(), [&](const Conversation* a, const Conversation* b) {
        const bool aDirect = a->kind == ConversationKind::direct;
        const bool bDirect = b->kind == ConversationKind::direct;
        if (aDirect != bDirect)
            return aDirect;
        const int byTitle = collator.compare(a->title, b->title);
        return byTitle != 0 ? byTitle < 0 : a->id < b->id;
    });
    QStringList ids;
    for (const Conversation* c : list)
        ids.append(c->id);
    return ids;
}

void ClientHomeModel::refresh() {
    bool online = false;
    QVariantList conversations;
    if (app_ && app_->session().phase().isSignedIn()) {
        const ChatState& state = app_->session().state();
        online = isStaffOnline(state); // the session forgets presence when the connection goes
        const QStringList order = conversationOrder(state);
        for (const QString& id : order) {
            const qint64 unread = state.unreadCount(id);
            conversations.append(QVariantMap{
                {QStringLiteral("conversationID"), id},
                {QStringLiteral("title"), state.conversations.value(id).title},
                {QStringLiteral("badge"), ConversationListModel::badgeText(unread)},
                {QStringLiteral("badgeAccessible"),
                 ConversationListModel::badgeAccessibleText(unread)},
            });
        }
        // One of the client's conversations is always open, the company's by default.
        const QString selected = app_->selectedConversationIDText();
        if (!order.isEmpty() && (selected.isEmpty() || !order.contains(selected)))
            app_->selectConversation(order.front());
    }
    if (online == staffOnline_ && conversations == conversations_)
        return;
    staffOnline_ = online;
    conversations_ = conversations;
    Q_EMIT changed();
}

} // namespace brevio
