#pragma once

// The display rows of one conversation: day separators, at most one unread separator and one row
// per message, each row carrying the decisions the chat view needs. A pure function of a state
// snapshot; nothing is kept between calls.

#include "model/Records.h"
#include "state/Delivery.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QTimeZone>
#include <optional>

namespace brevio {

struct ChatState;

struct TimelineMessage {
    QString id;       // the message id; for an outbox entry its client id
    QString clientID; // the sender's client-chosen id
    QString text;
    QString authorID;
    QDateTime date; // sentAt, or createdAt for an outbox entry
    bool isMine = false;
    bool showsAuthor = false;
    bool continues = false; // the next row joins this bubble
    Delivery delivery;      // others' messages always carry `sent`
    qint64 seq = 0;         // 0 for an outbox entry
    bool showsStatus = false;
    std::optional<QuotedMessage> quote;
    bool isEdited = false;
    bool isDeleted = false;
    QList<Reaction> reactions;
    bool canChange = false;

    bool isPending() const { return seq == 0; }

    friend bool operator==(const TimelineMessage&, const TimelineMessage&) = default;
};

struct TimelineEntry {
    enum class Kind { day, unread, message };

    Kind kind = Kind::message;
    QDateTime day;           // `day`: the start of the local calendar day, in the given zone
    int dayOccurrence = 1;   // `day`: 2, 3, ... when a day comes back (dates against seq order)
    qint64 count = 0;        // `unread`: unread messages below the separator
    TimelineMessage message; // `message`

    static TimelineEntry dayEntry(QDateTime start, int occurrence = 1);
    static TimelineEntry unreadEntry(qint64 count);

    // Stable, distinct identity for list diffing: "day:2025-03-14" (a day met again gets
    // "day:2025-03-14/2"), "unread", "msg:<message id>" for an accepted message and
    // "out:<client id>" for an outbox entry. Built on demand: most rows are never asked.
    QString id() const;

    friend bool operator==(const TimelineEntry&, const TimelineEntry&) = default;
};

// Rows of `conversationID`, oldest first. `unreadAfter` is the seq the user had read up to when
// the conversation was opened (absent: no unread separator); `now` decides the 24-hour change
// window; `zone` decides calendar days. Unknown or empty conversations give an empty list.
QList<TimelineEntry> buildTimeline(const ChatState& state, const QString& conversationID,
                                   std::optional<qint64> unreadAfter, const QDateTime& now,
                                   const QTimeZone& zone);

// The newest part of the same rows, for a view that keeps the older part it already has. Messages
// are numbered as the timeline orders them (stored messages, then the outbox); `entries` holds the
// entries of messages `firstMessage` onwards, each with the separators above it, exactly as in
// buildTimeline's list. Everything is decided over the whole conversation, so the unread count and
// the status row may lie before the part that is built: they are reported beside it.
struct TimelineTail {
    QList<TimelineEntry> entries;
    qsizetype messageCount = 0; // stored and outbox rows of the whole conversation
    qsizetype firstUnread = -1; // message number of the first unread row, or -1
    qint64 unreadCount = 0;
    qsizetype statusRow = -1; // message number of the row that shows its status, or -1
};
TimelineTail buildTimelineTail(const ChatState& state, const QString& conversationID,
                               std::optional<qint64> unreadAfter, const QDateTime& now,
                               const QTimeZone& zone, qsizetype firstMessage);

} // namespace brevio
