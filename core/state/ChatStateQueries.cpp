// The read-only side of the chat state: unread counts, delivery, the change window and the copy
// for saving.

#include "state/ChatState.h"

#include "model/MessageRules.h"
#include "state/Timeline.h"

#include <algorithm>

namespace brevio {

qint64 ChatState::unreadCount(const QString& conversationID) const {
    auto cit = conversations.constFind(conversationID);
    if (cit == conversations.cend())
        return 0;
    const qint64 mark = me ? cit->reads.value(me->id, 0) : 0;
    return std::max<qint64>(0, cit->lastSeq - mark);
}

qint64 ChatState::totalUnread() const {
    qint64 total = 0;
    for (auto it = conversations.cbegin(); it != conversations.cend(); ++it) {
        const qint64 mark = me ? it->reads.value(me->id, 0) : 0;
        total += std::max<qint64>(0, it->lastSeq - mark);
    }
    return total;
}

bool ChatState::canChange(const ChatMessage& message, const QDateTime& now) const {
    return me && message.authorID == me->id && !message.deletedAt && message.sentAt.isValid() &&
           now.isValid() && Duration(message.sentAt.msecsTo(now)) < messageChangeWindow;
}

QList<PendingMessage> ChatState::pending(const QString& conversationID) const {
    QList<PendingMessage> out;
    for (const PendingMessage& p : outbox) {
        if (p.conversationID == conversationID)
            out.append(p);
    }
    return out;
}

QList<PendingMessage> ChatState::unsent() const {
    QList<PendingMessage> out;
    for (const PendingMessage& p : outbox) {
        if (!p.failure)
            out.append(p);
    }
    return out;
}

QStringList ChatState::otherParticipants(const QString& conversationID) const {
    auto cit = conversations.constFind(conversationID);
    if (cit == conversations.cend())
        return {};
    const QString myID = me ? me->id : QString();
    QStringList out;
    if (cit->kind == ConversationKind::group) {
        for (const QString& id : cit->memberIDs.value_or(QStringList{})) {
            if (id != myID && !out.contains(id))
                out.append(id);
        }
        return out;
    }
    // A direct conversation has two sides: the staff and the company's people. Colleagues on the
    // user's own side do not make a message delivered or read.
    const bool wantStaff = !me || me->role == Role::client;
    const bool wantCompany = !me || me->role == Role::staff;
    for (auto it = users.cbegin(); it != users.cend(); ++it) {
        const User& u = *it;
        if (u.id == myID)
            continue;
        const bool isStaff = u.role == Role::staff;
        const bool isCompany =
            u.role == Role::client && cit->clientID && u.clientID == cit->clientID;
        if ((wantStaff && isStaff) || (wantCompany && isCompany))
            out.append(u.id);
    }
    out.sort();
    return out;
}

DeliveryThresholds ChatState::deliveryThresholds(const QString& conversationID) const {
    DeliveryThresholds t;
    auto cit = conversations.constFind(conversationID);
    if (cit == conversations.cend())
        return t;
    const QStringList others = otherParticipants(conversationID);
    if (others.isEmpty())
        return t;
    // In a direct conversation any one person on the other side suffices, in a group everyone
    // must have got there: the thresholds are the largest or the smallest mark.
    const bool any = cit->kind == ConversationKind::direct;
    bool first = true;
    for (const QString& p : others) {
        const qint64 r = cit->reads.value(p, 0);
        const qint64 d = std::max(cit->delivered.value(p, 0), r);
        if (first) {
            t.read = r;
            t.delivered = d;
            first = false;
        } else if (any) {
            t.read = std::max(t.read, r);
            t.delivered = std::max(t.delivered, d);
        } else {
            t.read = std::min(t.read, r);
            t.delivered = std::min(t.delivered, d);
        }
    }
    t.valid = true;
    return t;
}

Delivery DeliveryThresholds::of(qint64 seq) const {
    if (!valid)
        return Delivery::sent();
    if (read >= seq)
        return Delivery::read();
    if (delivered >= seq)
        return Delivery::delivered();
    return Delivery::sent();
}

Delivery ChatState::delivery(qint64 seq, const QString& conversationID) const {
    return deliveryThresholds(conversationID).of(seq);
}

bool ChatState::hasOlder(const QString& conversationID) const {
    auto lit = messages.constFind(conversationID);
    if (lit != messages.cend() && !lit->isEmpty())
        return historyStart.value(conversationID, 1) < lit->constFirst().seq;
    auto cit = conversations.constFind(conversationID);
    return cit != conversations.cend() && cit->lastSeq > 0;
}

ChatState ChatState::trimmed(qsizetype limit) const {
    ChatState copy = *this;
    limit = std::max<qsizetype>(limit, 0);
    for (auto it = copy.messages.begin(); it != copy.messages.end();) {
        const QList<ChatMessage>& list = std::as_const(*it);
        if (list.size() > limit)
            *it = QList<ChatMessage>(list.cend() - limit, list.cend());
        if (it->isEmpty())
            it = copy.messages.erase(it);
        else
            ++it;
    }
    copy.online.clear();
    copy.typing.clear();
    return copy;
}

QList<TimelineEntry> ChatState::timeline(const QString& conversationID,
                                         std::optional<qint64> unreadAfter, const QDateTime& now,
                                         const QTimeZone& zone) const {
    return buildTimeline(*this, conversationID, unreadAfter, now, zone);
}

} // namespace brevio
