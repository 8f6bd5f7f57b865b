#include "state/Timeline.h"

#include "state/ChatState.h"

#include <QHash>
#include <algorithm>

namespace brevio {

namespace {

constexpr qint64 groupGapMs = 300LL * 1000;
constexpr qint64 changeWindowMs = 86400LL * 1000;

qint64 msecsOf(const QDateTime& date) {
    return date.isValid() ? date.toMSecsSinceEpoch() : 0;
}

// One local calendar day, as the half-open interval [start, end) of UTC milliseconds. Looked up
// once per day met, not per row: rows of one day are compared against the cached bounds.
struct LocalDay {
    QDate date;
    QDateTime start;
    qint64 startMs = 0;
    qint64 endMs = 0;

    bool contains(qint64 ms) const { return ms >= startMs && ms < endMs; }
};

LocalDay dayOf(qint64 ms, const QTimeZone& zone) {
    LocalDay day;
    day.date = QDateTime::fromMSecsSinceEpoch(ms, zone).date();
    day.start = day.date.startOfDay(zone);
    day.startMs = day.start.toMSecsSinceEpoch();
    day.endMs = day.date.addDays(1).startOfDay(zone).toMSecsSinceEpoch();
    return day;
}

std::optional<QuotedMessage> quoteFor(const ChatState& state, const QString& conversationID,
                                      qint64 seq) {
    auto quote = [](const ChatMessage& m) {
        return QuotedMessage{m.seq, m.authorID, m.text, m.isDeleted()};
    };
    auto lit = state.messages.constFind(conversationID);
    if (lit != state.messages.cend()) {
        auto it = std::lower_bound(lit->cbegin(), lit->cend(), seq,
                                   [](const ChatMessage& m, qint64 s) { return m.seq < s; });
        if (it != lit->cend() && it->seq == seq)
            return quote(*it);
    }
    auto cit = state.conversations.constFind(conversationID);
    if (cit != state.conversations.cend() && cit->lastMessage && cit->lastMessage->seq == seq)
        return quote(*cit->lastMessage);
    return std::nullopt;
}

} // namespace

size_t qHash(const TimelineMessage& m, size_t seed) noexcept {
    size_t h = qHashMulti(seed, m.id, m.clientID, m.text, m.authorID, m.date, m.isMine,
                          m.showsAuthor, m.continues, m.delivery, m.seq, m.showsStatus);
    h = qHashMulti(h, m.quote.has_value(), m.isEdited, m.isDeleted, m.canChange);
    if (m.quote)
        h = qHash(*m.quote, h);
    for (const Reaction& r : m.reactions)
        h = qHash(r, h);
    return h;
}

size_t qHash(const TimelineEntry& e, size_t seed) noexcept {
    size_t h = qHashMulti(seed, static_cast<int>(e.kind), e.id);
    switch (e.kind) {
    case TimelineEntry::Kind::day:
        return qHash(e.day, h);
    case TimelineEntry::Kind::unread:
        return qHashMulti(h, e.count);
    case TimelineEntry::Kind::message:
        return qHash(e.message, h);
    }
    return h;
}

TimelineEntry TimelineEntry::dayEntry(QDateTime start, QString id) {
    TimelineEntry e;
    e.kind = Kind::day;
    e.day = std::move(start);
    e.id = std::move(id);
    return e;
}

TimelineEntry TimelineEntry::unreadEntry(qint64 count) {
    TimelineEntry e;
    e.kind = Kind::unread;
    e.count = count;
    e.id = QStringLiteral("unread");
    return e;
}

TimelineEntry TimelineEntry::messageEntry(TimelineMessage message) {
    TimelineEntry e;
    e.kind = Kind::message;
    e.id = (message.isPending() ? QStringLiteral("out:") : QStringLiteral("msg:")) + message.id;
    e.message = std::move(message);
    return e;
}

QList<TimelineEntry> buildTimeline(const ChatState& state, const QString& conversationID,
                                   std::optional<qint64> unreadAfter, const QDateTime& now,
                                   const QTimeZone& zone) {
    if (!state.conversations.contains(conversationID))
        return {};
    const QList<ChatMessage> stored = state.messages.value(conversationID);
    const QList<PendingMessage> outbox = state.pending(conversationID);
    if (stored.isEmpty() && outbox.isEmpty())
        return {};

    const QString myID = state.me ? state.me->id : QString();
    const bool signedIn = state.me.has_value();
    const qint64 nowMs = msecsOf(now);

    // First pass: one row per message, then the outbox.
    QList<TimelineMessage> rows;
    rows.reserve(stored.size() + outbox.size());
    const DeliveryThresholds thresholds = state.deliveryThresholds(conversationID);
    for (const ChatMessage& m : stored) {
        TimelineMessage& r = rows.emplace_back();
        r.id = m.id;
        r.clientID = m.clientID;
        r.text = m.text;
        r.authorID = m.authorID;
        r.date = m.sentAt;
        r.isMine = signedIn && m.authorID == myID;
        r.delivery = r.isMine ? thresholds.of(m.seq) : Delivery::sent();
        r.seq = m.seq;
        r.quote = m.reply;
        r.isEdited = m.isEdited();
        r.isDeleted = m.isDeleted();
        r.reactions = m.reactions;
        r.canChange = r.isMine && !m.deletedAt && m.sentAt.isValid() && now.isValid() &&
                      nowMs - m.sentAt.toMSecsSinceEpoch() < changeWindowMs;
    }
    for (const PendingMessage& p : outbox) {
        TimelineMessage& r = rows.emplace_back();
        r.id = p.clientID;
        r.clientID = p.clientID;
        r.text = p.text;
        r.authorID = myID;
        r.date = p.createdAt;
        r.isMine = true;
        r.delivery = p.failure ? Delivery::failed(*p.failure) : Delivery::sending();
        r.seq = 0;
        r.showsStatus = true;
        if (p.replyToSeq)
            r.quote = quoteFor(state, conversationID, *p.replyToSeq);
    }

    // The newest accepted own row shows its status, unless a newer own row is still sending.
    bool sendingAfter = false;
    for (qsizetype i = rows.size() - 1; i >= 0; --i) {
        TimelineMessage& r = rows[i];
        if (!r.isMine)
            continue;
        if (r.delivery.kind == Delivery::Kind::sending) {
            sendingAfter = true;
            continue;
        }
        if (r.delivery.kind == Delivery::Kind::failed)
            continue;
        r.showsStatus = !sendingAfter;
        break;
    }

    // The unread block starts at the first row by someone else above `unreadAfter`.
    qsizetype firstUnread = -1;
    qint64 unreadCount = 0;
    if (unreadAfter) {
        for (qsizetype i = 0; i < rows.size(); ++i) {
            if (!rows[i].isMine && rows[i].seq > *unreadAfter) {
                firstUnread = i;
                break;
            }
        }
        if (firstUnread >= 0) {
            for (qsizetype i = firstUnread; i < rows.size(); ++i)
                unreadCount += !rows[i].isMine && rows[i].seq >= 1;
        }
    }

    // Second pass: separators and grouping.
    QList<TimelineEntry> entries;
    entries.reserve(rows.size() + 8);
    QHash<QDate, int> dayCount;
    LocalDay day;
    bool haveDay = false;
    QString prevAuthor; // rows are moved into entries as they go
    qint64 prevMs = 0;
    for (qsizetype i = 0; i < rows.size(); ++i) {
        TimelineMessage& r = rows[i];
        const qint64 ms = msecsOf(r.date);
        bool separated = false;
        if (!haveDay || !day.contains(ms)) {
            day = dayOf(ms, zone);
            haveDay = true;
            const int n = ++dayCount[day.date];
            QString id = QStringLiteral("day:") + day.date.toString(Qt::ISODate);
            if (n > 1)
                id += QLatin1Char('/') + QString::number(n);
            entries.append(TimelineEntry::dayEntry(day.start, std::move(id)));
            separated = true;
        }
        if (i == firstUnread) {
            entries.append(TimelineEntry::unreadEntry(unreadCount));
            separated = true;
        }

        if (separated || i == 0 || prevAuthor != r.authorID)
            r.showsAuthor = !r.isMine;
        else
            r.showsAuthor = !r.isMine && std::abs(ms - prevMs) >= groupGapMs;

        if (i + 1 < rows.size() && i + 1 != firstUnread) {
            const TimelineMessage& next = rows[i + 1];
            const qint64 nextMs = msecsOf(next.date);
            r.continues = day.contains(nextMs) && next.authorID == r.authorID &&
                          std::abs(nextMs - ms) < groupGapMs;
        }
        prevAuthor = r.authorID;
        prevMs = ms;
        entries.append(TimelineEntry::messageEntry(std::move(r)));
    }
    return entries;
}

} // namespace brevio
