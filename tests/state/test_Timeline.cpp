#include "state/StateBuilders.h"

#include <QSet>
#include <gtest/gtest.h>

using namespace brevio;
using namespace brevio::test;

namespace {

QDateTime utc(int y, int mo, int d, int h, int mi, int s = 0) {
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::UTC);
}

const QTimeZone rome("Europe/Rome");
const QTimeZone newYork("America/New_York");
const QTimeZone tokyo("Asia/Tokyo");

// A state whose conversation "d" holds messages with the given authors and dates, seq 1, 2, ...
ChatState withMessages(const QList<std::pair<QString, QDateTime>>& rows) {
    ChatState s = signedInState();
    QList<ChatMessage> page;
    for (qsizetype i = 0; i < rows.size(); ++i)
        page.append(message("d", i + 1, rows[i].first, 0, rows[i].second));
    s.mergeHistory("d", page, false, true);
    return s;
}

QList<TimelineMessage> rowsOf(const QList<TimelineEntry>& entries) {
    QList<TimelineMessage> out;
    for (const TimelineEntry& e : entries) {
        if (e.kind == TimelineEntry::Kind::message)
            out.append(e.message);
    }
    return out;
}

// "D" for a day, "U<n>" for the unread separator, the seq (or "o" for an outbox row) for a row.
QString shape(const QList<TimelineEntry>& entries) {
    QStringList parts;
    for (const TimelineEntry& e : entries) {
        switch (e.kind) {
        case TimelineEntry::Kind::day:
            parts << "D";
            break;
        case TimelineEntry::Kind::unread:
            parts << QStringLiteral("U%1").arg(e.count);
            break;
        case TimelineEntry::Kind::message:
            parts << (e.message.seq ? QString::number(e.message.seq) : QStringLiteral("o"));
            break;
        }
    }
    return parts.join(' ');
}

QList<QDateTime> dayStarts(const QList<TimelineEntry>& entries) {
    QList<QDateTime> out;
    for (const TimelineEntry& e : entries) {
        if (e.kind == TimelineEntry::Kind::day)
            out.append(e.day.toUTC());
    }
    return out;
}

TEST(Timeline, GroupingThresholdIsThreeHundredSecondsLookingForwardOnly) {
    const QDateTime t = utc(2025, 3, 14, 10, 0);
    ChatState s = withMessages({{"ann", t}, {"ann", t.addSecs(299)}, {"ann", t.addSecs(599)}});
    QList<TimelineMessage> rows = rowsOf(s.timeline("d", std::nullopt, t, rome));
    ASSERT_EQ(rows.size(), 3);
    EXPECT_TRUE(rows[0].showsAuthor);
    EXPECT_TRUE(rows[0].continues);
    EXPECT_FALSE(rows[1].showsAuthor);
    EXPECT_FALSE(rows[1].continues); // 300 s to the next one
    EXPECT_TRUE(rows[2].showsAuthor);
    EXPECT_FALSE(rows[2].continues); // last row

    // Another author breaks the group whatever the gap; my own rows never show an author.
    s = withMessages({{"ann", t}, {"bob", t.addSecs(10)}, {"me", t.addSecs(20)}});
    rows = rowsOf(s.timeline("d", std::nullopt, t, rome));
    EXPECT_FALSE(rows[0].continues);
    EXPECT_TRUE(rows[1].showsAuthor);
    EXPECT_FALSE(rows[2].showsAuthor);
    EXPECT_TRUE(rows[2].isMine);
    EXPECT_FALSE(rows[1].isMine);
    EXPECT_EQ(rows[1].delivery, Delivery::sent());

    // Seq order and date order can disagree: a skewed clock, or an outbox entry written before
    // the last accepted message arrived. Joining looks forward only; the author line looks at
    // the distance either way.
    s = withMessages({{"ann", t}, {"ann", t.addSecs(-600)}, {"me", t.addSecs(120)}});
    s.appendPending(pendingMessage("p1", "d"));
    s.outbox[0].createdAt = t.addSecs(-300);
    rows = rowsOf(s.timeline("d", std::nullopt, t, rome));
    ASSERT_EQ(rows.size(), 4);
    EXPECT_TRUE(rows[0].continues);
    EXPECT_TRUE(rows[1].showsAuthor); // ten minutes apart
    EXPECT_FALSE(rows[1].continues);  // another author follows
    EXPECT_TRUE(rows[2].continues);   // into the outbox entry dated seven minutes earlier
}

TEST(Timeline, MidnightDependsOnTheTimeZoneAndItsDaylightSavingChanges) {
    // 23:59:30 and 00:00:30 in Rome; late afternoon in New York; morning of one day in Tokyo.
    const QDateTime a = utc(2025, 1, 15, 22, 59, 30);
    ChatState s = withMessages({{"ann", a}, {"ann", a.addSecs(60)}});

    const QList<TimelineEntry> inRome = s.timeline("d", std::nullopt, a, rome);
    EXPECT_EQ(shape(inRome), "D 1 D 2");
    EXPECT_EQ(dayStarts(inRome),
              (QList<QDateTime>{utc(2025, 1, 14, 23, 0), utc(2025, 1, 15, 23, 0)}));
    QList<TimelineMessage> rows = rowsOf(inRome);
    EXPECT_FALSE(rows[0].continues);
    EXPECT_TRUE(rows[1].showsAuthor);
    EXPECT_EQ(inRome[0].id(), "day:2025-01-15");
    EXPECT_EQ(inRome[2].id(), "day:2025-01-16");

    const QList<TimelineEntry> inNewYork = s.timeline("d", std::nullopt, a, newYork);
    EXPECT_EQ(shape(inNewYork), "D 1 2");
    EXPECT_EQ(dayStarts(inNewYork), QList<QDateTime>{utc(2025, 1, 15, 5, 0)});
    rows = rowsOf(inNewYork);
    EXPECT_TRUE(rows[0].continues);
    EXPECT_FALSE(rows[1].showsAuthor);

    const QList<TimelineEntry> inTokyo = s.timeline("d", std::nullopt, a, tokyo);
    EXPECT_EQ(shape(inTokyo), "D 1 2");
    EXPECT_EQ(dayStarts(inTokyo), QList<QDateTime>{utc(2025, 1, 15, 15, 0)});

    // Rome springs forward on 30 March 2025: that day lasts 23 hours.
    s = withMessages({{"ann", utc(2025, 3, 29, 22, 30)},  // 29th 23:30 CET
                      {"ann", utc(2025, 3, 29, 23, 10)},  // 30th 00:10 CET
                      {"ann", utc(2025, 3, 30, 21, 59)},  // 30th 23:59 CEST
                      {"ann", utc(2025, 3, 30, 22, 1)}}); // 31st 00:01 CEST
    QList<TimelineEntry> entries = s.timeline("d", std::nullopt, utc(2025, 4, 1, 0, 0), rome);
    EXPECT_EQ(shape(entries), "D 1 D 2 3 D 4");
    EXPECT_EQ(dayStarts(entries),
              (QList<QDateTime>{utc(2025, 3, 28, 23, 0), utc(2025, 3, 29, 23, 0),
                                utc(2025, 3, 30, 22, 0)}));

    // New York: spring forward on 9 March (23 h), fall back on 2 November (25 h).
    s = withMessages({{"ann", utc(2025, 3, 9, 5, 30)},    // 9th 00:30 EST
                      {"ann", utc(2025, 3, 10, 3, 59)},   // 9th 23:59 EDT
                      {"ann", utc(2025, 3, 10, 4, 30)},   // 10th 00:30 EDT
                      {"ann", utc(2025, 11, 2, 4, 30)},   // 2nd 00:30 EDT
                      {"ann", utc(2025, 11, 3, 4, 30)},   // 2nd 23:30 EST
                      {"ann", utc(2025, 11, 3, 5, 30)}}); // 3rd 00:30 EST
    entries = s.timeline("d", std::nullopt, utc(2025, 12, 1, 0, 0), newYork);
    EXPECT_EQ(shape(entries), "D 1 2 D 3 D 4 5 D 6");
    EXPECT_EQ(dayStarts(entries),
              (QList<QDateTime>{utc(2025, 3, 9, 5, 0), utc(2025, 3, 10, 4, 0),
                                utc(2025, 11, 2, 4, 0), utc(2025, 11, 3, 5, 0)}));
}

TEST(Timeline, UnreadSeparator) {
    const QDateTime t = utc(2025, 3, 14, 10, 0);
    ChatState s = withMessages({{"ann", t},
                                {"me", t.addSecs(10)},
                                {"me", t.addSecs(20)},
                                {"ann", t.addSecs(30)},
                                {"ann", t.addSecs(40)}});
    s.appendPending(pendingMessage("p1", "d"));
    s.outbox[0].createdAt = t.addSecs(50);

    EXPECT_EQ(shape(s.timeline("d", std::nullopt, t, rome)), "D 1 2 3 4 5 o");
    // My own messages after the mark neither start the block nor count.
    QList<TimelineEntry> entries = s.timeline("d", 1, t, rome);
    EXPECT_EQ(shape(entries), "D 1 2 3 U2 4 5 o");
    QList<TimelineMessage> rows = rowsOf(entries);
    EXPECT_TRUE(rows[3].showsAuthor);
    EXPECT_EQ(shape(s.timeline("d", 5, t, rome)), "D 1 2 3 4 5 o");
    EXPECT_EQ(shape(s.timeline("d", 9, t, rome)), "D 1 2 3 4 5 o");
    EXPECT_EQ(shape(s.timeline("d", 0, t, rome)), "D U3 1 2 3 4 5 o");

    // The row above the separator never joins the one below it.
    s = withMessages({{"ann", t}, {"ann", t.addSecs(60)}});
    entries = s.timeline("d", 1, t, rome);
    EXPECT_EQ(shape(entries), "D 1 U1 2");
    rows = rowsOf(entries);
    EXPECT_FALSE(rows[0].continues);
    EXPECT_TRUE(rows[1].showsAuthor);
}

TEST(Timeline, OnlyTheNewestAcceptedOwnRowShowsItsStatus) {
    const QDateTime t = utc(2025, 3, 14, 10, 0);
    ChatState s = withMessages({{"me", t}, {"ann", t.addSecs(5)}});
    s.advanceRead("d", "ann", 1);
    ChatState sending = s;
    sending.appendPending(pendingMessage("b", "d"));
    QList<TimelineMessage> rows = rowsOf(sending.timeline("d", std::nullopt, t, rome));
    ASSERT_EQ(rows.size(), 3);
    EXPECT_EQ(rows[0].delivery, Delivery::read());
    EXPECT_FALSE(rows[0].showsStatus);
    EXPECT_FALSE(rows[1].showsStatus);
    EXPECT_EQ(rows[2].delivery, Delivery::sending());
    EXPECT_TRUE(rows[2].showsStatus);
    EXPECT_TRUE(rows[2].isMine);
    EXPECT_FALSE(rows[2].canChange);

    ChatState accepted = sending;
    ChatMessage b = message("d", 3, "me", 0, t.addSecs(10));
    b.clientID = "b";
    accepted.insert(b);
    rows = rowsOf(accepted.timeline("d", std::nullopt, t, rome));
    ASSERT_EQ(rows.size(), 3);
    EXPECT_FALSE(rows[0].showsStatus);
    EXPECT_EQ(rows[2].delivery, Delivery::sent());
    EXPECT_TRUE(rows[2].showsStatus);

    ChatState failed = s;
    failed.appendPending(pendingMessage("b", "d", "Messaggio troppo lungo"));
    rows = rowsOf(failed.timeline("d", std::nullopt, t, rome));
    EXPECT_TRUE(rows[0].showsStatus);
    EXPECT_EQ(rows[2].delivery, Delivery::failed("Messaggio troppo lungo"));
    EXPECT_TRUE(rows[2].showsStatus);
}

TEST(Timeline, ChangeWindowAndCopiedFields) {
    const QDateTime now = utc(2025, 3, 15, 10, 0);
    ChatState s = withMessages({{"me", now.addSecs(-(24 * 3600 - 60))},
                                {"me", now.addSecs(-24 * 3600)},
                                {"me", now.addSecs(-60)},
                                {"ann", now.addSecs(-30)}});
    ChatMessage deleted = s.messages["d"][2];
    deleted.deletedAt = now;
    deleted.revision = 1;
    s.applyUpdate(deleted);
    ChatMessage edited = s.messages["d"][3];
    edited.editedAt = now;
    edited.revision = 2;
    edited.reply = QuotedMessage{1, "me", "testo 1", false};
    edited.reactions = {Reaction{"❤️", {"me"}}};
    s.applyUpdate(edited);

    const QList<TimelineMessage> rows = rowsOf(s.timeline("d", std::nullopt, now, rome));
    ASSERT_EQ(rows.size(), 4);
    EXPECT_TRUE(rows[0].canChange);  // 23 h 59 min old
    EXPECT_FALSE(rows[1].canChange); // exactly 24 h
    EXPECT_FALSE(rows[2].canChange); // deleted
    EXPECT_TRUE(rows[2].isDeleted);
    EXPECT_FALSE(rows[3].canChange); // not mine
    EXPECT_TRUE(rows[3].isEdited);
    EXPECT_EQ(rows[3].quote, edited.reply);
    EXPECT_EQ(rows[3].reactions, edited.reactions);
    EXPECT_EQ(rows[3].id, edited.id);
    EXPECT_EQ(rows[3].clientID, edited.clientID);
}

TEST(Timeline, OutboxRowsQuoteTheLoadedMessageAndStandAlone) {
    const QDateTime t = utc(2025, 3, 14, 10, 0);
    ChatState s = withMessages({{"ann", t}});
    PendingMessage reply = pendingMessage("p1", "d");
    reply.replyToSeq = 1;
    PendingMessage unknown = pendingMessage("p2", "d");
    unknown.replyToSeq = 40;
    s.appendPending(reply);
    s.appendPending(unknown);
    const QList<TimelineMessage> rows = rowsOf(s.timeline("d", std::nullopt, t, rome));
    ASSERT_EQ(rows.size(), 3);
    EXPECT_EQ(rows[1].quote, (QuotedMessage{1, "ann", "testo 1", false}));
    EXPECT_EQ(rows[1].authorID, "me");
    EXPECT_EQ(rows[1].date, reply.createdAt);
    EXPECT_EQ(rows[1].seq, 0);
    EXPECT_EQ(rows[2].quote, std::nullopt);

    // Empty conversations have no rows; an outbox alone still gets its day.
    s = signedInState();
    EXPECT_TRUE(s.timeline("d", std::nullopt, base(), rome).isEmpty());
    EXPECT_TRUE(s.timeline("x", std::nullopt, base(), rome).isEmpty());
    s.appendPending(pendingMessage("p1", "d"));
    EXPECT_EQ(shape(s.timeline("d", 0, base(), rome)), "D o");
}

TEST(Timeline, IdentitiesAreDistinctAndStable) {
    const QDateTime d1 = utc(2025, 3, 14, 10, 0);
    const QDateTime d2 = utc(2025, 3, 15, 10, 0);
    // Dates need not follow seq: a day can come back, and still gets its own identity.
    ChatState s = withMessages({{"ann", d2}, {"ann", d1}, {"ann", d2.addSecs(5)}});
    s.appendPending(pendingMessage("p1", "d"));
    s.outbox[0].createdAt = d2.addSecs(10);
    const QList<TimelineEntry> entries = s.timeline("d", 0, d2, rome);
    QStringList ids;
    for (const TimelineEntry& e : entries)
        ids << e.id();
    EXPECT_EQ(ids, (QStringList{"day:2025-03-15", "unread", "msg:m-d-1", "day:2025-03-14",
                                "msg:m-d-2", "day:2025-03-15/2", "msg:m-d-3", "out:p1"}));
    EXPECT_EQ(QSet<QString>(ids.cbegin(), ids.cend()).size(), ids.size());
    EXPECT_EQ(entries, s.timeline("d", 0, d2, rome));
}

} // namespace
