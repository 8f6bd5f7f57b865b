#include "views/TimelineFeed.h"

#include "model/MessageRules.h"
#include "state/Timeline.h"

#include <algorithm>

namespace brevio {

TimelineFeed::Shape TimelineFeed::shapeOf(const ChatState& state, const QString& conversationID,
                                          std::optional<qint64> unreadAfter, const QDateTime& now,
                                          const QTimeZone& zone) {
    Shape shape;
    shape.conversationID = conversationID;
    shape.unreadAfter = unreadAfter;
    shape.today = now.toTimeZone(zone).date();
    shape.myID = state.me ? state.me->id : QString();
    shape.thresholds = state.deliveryThresholds(conversationID);
    // Own messages leave the change window one by one as time goes: where the window begins.
    const QList<ChatMessage> stored = state.messages.value(conversationID);
    const QDateTime windowStart = now.addMSecs(-messageChangeWindow.count());
    qsizetype from = stored.size();
    while (from > 0 && stored[from - 1].sentAt.isValid() && stored[from - 1].sentAt > windowStart)
        --from;
    shape.changeableFrom = from;
    // A renamed person changes rows anywhere in the conversation.
    size_t names = 0;
    for (auto user = state.users.cbegin(); user != state.users.cend(); ++user)
        names += qHashMulti(0, user.key(), user->name); // in any order
    shape.names = names;
    return shape;
}

bool TimelineFeed::update(const ChatState& state, const QString& conversationID,
                          std::optional<qint64> unreadAfter, const QDateTime& now,
                          const QTimeZone& zone, const MessageListModel::NameOf& nameOf) {
    const QList<ChatMessage> stored = state.messages.value(conversationID);
    const Shape shape = shapeOf(state, conversationID, unreadAfter, now, zone);

    // Only the newest part when everything older is as it was built: the same shape and the old
    // stored messages still first, unchanged.
    std::optional<qsizetype> firstMessage;
    if (last_ && last_->shape.sameBesideMarks(shape) && !last_->stored.empty() &&
        qsizetype(last_->stored.size()) <= stored.size()) {
        const qsizetype old = qsizetype(last_->stored.size());
        bool same = true;
        for (qsizetype i = 0; i < old && same; ++i)
            same = last_->stored[std::size_t(i)] == stored[i];
        if (same) {
            // The last old message may now continue into a new one; the status row may move.
            qsizetype first = old - 1;
            if (last_->statusRow >= 0)
                first = std::min(first, last_->statusRow);
            // Receipts change the ticks of the messages past the lower of the two marks.
            const DeliveryThresholds& was = last_->shape.thresholds;
            const DeliveryThresholds& is = shape.thresholds;
            std::optional<qint64> movedAfter;
            if (was.read != is.read)
                movedAfter = std::min(was.read, is.read);
            if (was.delivered != is.delivered)
                movedAfter = std::min(movedAfter.value_or(was.delivered),
                                      std::min(was.delivered, is.delivered));
            if (movedAfter) {
                const auto it =
                    std::upper_bound(stored.cbegin(), stored.cend(), *movedAfter,
                                     [](qint64 seq, const ChatMessage& m) { return seq < m.seq; });
                first = std::min(first, qsizetype(it - stored.cbegin()));
            }
            firstMessage = first;
        }
    }

    if (firstMessage) {
        const QString firstID =
            QStringLiteral("msg:") + last_->stored[std::size_t(*firstMessage)].id;
        const int oldRows = model_.rowsOfNewestFrom(firstID);
        TimelineTail tail =
            buildTimelineTail(state, conversationID, unreadAfter, now, zone, *firstMessage);
        // The new status row may lie further back than the part built: start there instead.
        if (oldRows >= 0 && (tail.statusRow < 0 || tail.statusRow >= *firstMessage)) {
            model_.replaceNewest(oldRows, tail.entries, nameOf, now);
            last_->shape = shape;
            if (tail.firstUnread >= 0 && tail.firstUnread < *firstMessage)
                model_.setUnreadCount(tail.unreadCount);
            for (qsizetype i = qsizetype(last_->stored.size()); i < stored.size(); ++i)
                last_->stored.push_back(stored[i]);
            last_->messageCount = tail.messageCount;
            last_->statusRow = tail.statusRow;
            last_->firstUnread = tail.firstUnread;
            return true;
        }
    }

    TimelineTail whole = buildTimelineTail(state, conversationID, unreadAfter, now, zone, 0);
    model_.setRows(whole.entries, nameOf, now);
    Built built;
    built.shape = shape;
    built.stored.assign(stored.cbegin(), stored.cend());
    built.messageCount = whole.messageCount;
    built.statusRow = whole.statusRow;
    built.firstUnread = whole.firstUnread;
    last_ = std::move(built);
    return false;
}

} // namespace brevio
