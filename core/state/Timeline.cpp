#include "state/Timeline.h"

#include "model/Clock.h"
#include "model/MessageRules.h"
#include "state/ChatState.h"

#include <QHash>
#include <algorithm>
#include <vector>

namespace brevio {

namespace {

// Neighbouring rows of one author closer than this share a bubble group.
constexpr Duration groupingGap = std::chrono::minutes(5);

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

TimelineEntry TimelineEntry::dayEntry(QDateTime start, int occurrence) {
    TimelineEntry e;
    e.kind = Kind::day;
    e.day = std::move(start);
    e.dayOccurrence = occurrence;
    return e;
}

TimelineEntry TimelineEntry::unreadEntry(qint64 count) {
    TimelineEntry e;
    e.kind = Kind::unread;
    e.count = count;
    return e;
}

QString TimelineEntry::id() const {
    switch (kind) {
    case Kind::day: {
        QString id = QStringLiteral("day:") + day.date().toString(Qt::ISODate);
        if (dayOccurrence > 1)
            id += QLatin1Char('/') + QString::number(dayOccurrence);
        return id;
    }
    case Kind::unread:
        return QStringLiteral("unread");
    case Kind::message:
        return (message.isPending() ? QStringLiteral("out:") : QStringLiteral("msg:")) + message.id;
    }
    return {};
}

QList<TimelineEntry> buildTimeline(const ChatState& state, const QString& conversationID,
                                   std::optional<qint64> unreadAfter, const QDateTime& now,
                                   const QTimeZone& zone) {
    return buildTimelineTail(state, conversationID, unreadAfter, now, zone, 0).entries;
}

TimelineTail buildTimelineTail(const ChatState& state, const QString& conversationID,
                               std::optional<qint64> unreadAfter, const QDateTime& now,
                               const QTimeZone& zone, qsizetype firstMessage) {
    TimelineTail tail;
    if (!state.conversations.contains(conversationID))
        return tail;
    const QList<ChatMessage> stored = state.messages.value(conversationID);
    const QList<PendingMessage> outbox = state.pending(conversationID);
    if (stored.isEmpty() && outbox.isEmpty())
        return tail;

    const QString myID = state.me ? state.me->id : QString();
    const bool signedIn = state.me.has_value();
    const qint64 nowMs = msecsOf(now);
    const DeliveryThresholds thresholds = state.deliveryThresholds(conversationID);
    const qsizetype storedCount = stored.size();

    // First pass: what the separators and flags depend on, for the stored messages in seq order
    // and then the outbox. Rows themselves are built once, in the second pass.
    struct Facts {
        const QString* author;
        qint64 ms;
        qint64 seq;
        bool mine;
        Delivery::Kind delivery;
    };
    std::vector<Facts> facts;
    facts.reserve(std::size_t(storedCount + outbox.size()));
    for (const ChatMessage& m : stored) {
        const bool mine = signedIn && m.authorID == myID;
        facts.push_back({&m.authorID, msecsOf(m.sentAt), m.seq, mine,
                         mine ? thresholds.of(m.seq).kind : Delivery::Kind::sent});
    }
    for (const PendingMessage& p : outbox) {
        facts.push_back({&myID, msecsOf(p.createdAt), 0, true,
                         p.failure ? Delivery::Kind::failed : Delivery::Kind::sending});
    }
    const qsizetype count = qsizetype(facts.size());

    // The newest accepted own row shows its status, unless a newer own row is still sending.
    qsizetype statusRow = -1;
    bool sendingAfter = false;
    for (qsizetype i = count - 1; i >= 0; --i) {
        const Facts& f = facts[std::size_t(i)];
        if (!f.mine || f.delivery == Delivery::Kind::failed)
            continue;
        if (f.delivery == Delivery::Kind::sending) {
            sendingAfter = true;
            continue;
        }
        if (!sendingAfter)
            statusRow = i;
        break;
    }

    // The unread block starts at the first row by someone else above `unreadAfter`.
    qsizetype firstUnread = -1;
    qint64 unreadCount = 0;
    if (unreadAfter) {
        for (qsizetype i = 0; i < count; ++i) {
            const Facts& f = facts[std::size_t(i)];
            if (firstUnread < 0 && !f.mine && f.seq > *unreadAfter)
                firstUnread = i;
            if (firstUnread >= 0)
                unreadCount += !f.mine && f.seq >= 1;
        }
    }

    tail.messageCount = count;
    tail.firstUnread = firstUnread;
    tail.unreadCount = unreadCount;
    tail.statusRow = statusRow;

    // Second pass: separators, grouping and the rows; before `firstMessage` only the days are
    // followed, for the occurrence numbers of the days that come back.
    firstMessage = std::clamp<qsizetype>(firstMessage, 0, count);
    QList<TimelineEntry>& entries = tail.entries;
    const qsizetype built = count - firstMessage;
    entries.reserve(built + built / 8 + 4);
    QHash<QDate, int> dayCount;
    LocalDay day;
    bool haveDay = false;
    for (qsizetype i = 0; i < count; ++i) {
        const Facts& f = facts[std::size_t(i)];
        const bool builds = i >= firstMessage;
        bool separated = false;
        if (!haveDay || !day.contains(f.ms)) {
            day = dayOf(f.ms, zone);
            haveDay = true;
            const int occurrence = ++dayCount[day.date];
            if (builds)
                entries.append(TimelineEntry::dayEntry(day.start, occurrence));
            separated = true;
        }
        if (!builds)
            continue;
        if (i == firstUnread) {
            entries.append(TimelineEntry::unreadEntry(unreadCount));
            separated = true;
        }

        // The author line looks at how far apart the two rows are, in either direction.
        bool showsAuthor = !f.mine;
        if (showsAuthor && !separated && *facts[std::size_t(i - 1)].author == *f.author)
            showsAuthor = Duration(std::abs(f.ms - facts[std::size_t(i - 1)].ms)) >= groupingGap;

        // Joining looks forward only: a next row dated before this one (a skewed clock, an outbox
        // entry written before the last accepted message) still joins it.
        bool continues = false;
        if (i + 1 < count && i + 1 != firstUnread) {
            const Facts& next = facts[std::size_t(i + 1)];
            continues = day.contains(next.ms) && *next.author == *f.author &&
                        Duration(next.ms - f.ms) < groupingGap;
        }

        TimelineEntry entry;
        if (i < storedCount) {
            const ChatMessage& m = stored[i];
            const bool canChange = f.mine && !m.deletedAt && m.sentAt.isValid() && now.isValid() &&
                                   Duration(nowMs - f.ms) < messageChangeWindow;
            entry.message = TimelineMessage{
                m.id,         m.clientID,     m.text,
                m.authorID,   m.sentAt,       f.mine,
                showsAuthor,  continues,      f.mine ? thresholds.of(m.seq) : Delivery::sent(),
                m.seq,        i == statusRow, m.reply,
                m.isEdited(), m.isDeleted(),  m.reactions,
                canChange};
        } else {
            const PendingMessage& p = outbox[i - storedCount];
            entry.message = TimelineMessage{
                p.clientID,
                p.clientID,
                p.text,
                myID,
                p.createdAt,
                true,
                showsAuthor,
                continues,
                p.failure ? Delivery::failed(*p.failure) : Delivery::sending(),
                0,
                true,
                p.replyToSeq ? quoteFor(state, conversationID, *p.replyToSeq) : std::nullopt,
                false,
                false,
                {},
                false};
        }
        entries.append(std::move(entry));
    }
    return tail;
}

} // namespace brevio
