// The chat list followed through random event sequences: after every step its rows are exactly a
// fresh timeline of the state, and a live message is one inserted row, never a reset.

#include "state/StateFuzzer.h"
#include "views/ChatTexts.h"
#include "views/TimelineFeed.h"

#include <QSignalSpy>
#include <random>

namespace brevio::test {
namespace {

const QTimeZone rome("Europe/Rome");

QString nameOf(const QString& userID) {
    return userID == QStringLiteral("me") ? QStringLiteral("Io") : userID.toUpper();
}

// The rows shown, oldest first, next to a timeline built from scratch.
void expectSameRows(const MessageListModel& model, const QList<TimelineEntry>& fresh) {
    ASSERT_EQ(model.rowCount(), fresh.size());
    for (qsizetype i = 0; i < fresh.size(); ++i) {
        const int row = int(fresh.size() - 1 - i);
        ASSERT_EQ(model.entry(row), fresh[i])
            << "row " << row << " " << fresh[i].id().toStdString();
        ASSERT_EQ(model.rowOf(fresh[i].id()), row);
    }
    const int unread = model.rowOf(QStringLiteral("unread"));
    if (unread >= 0)
        EXPECT_EQ(model.data(model.index(unread), MessageListModel::SeparatorRole).toString(),
                  ChatTexts::unreadSeparator(model.entry(unread).count));
}

TEST(TimelineFeedProperties, RowsEqualAFreshTimelineAfterEveryEvent) {
    int partial = 0, whole = 0;
    for (unsigned seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Fuzzer fuzzer(seed);
        std::mt19937 rng(seed);
        MessageListModel model;
        model.setZone(rome);
        TimelineFeed feed(model);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        // Time runs on by minutes, now and then by a day, so that messages leave the change
        // window and "today" moves.
        QDateTime now = base().addSecs(30 * 60);
        for (int step = 0; step < 300; ++step) {
            const std::string what = fuzzer.randomStep();
            SCOPED_TRACE(what + " at step " + std::to_string(step));
            now = now.addSecs(std::uniform_int_distribution<int>(0, 20)(rng) * 60);
            if (step % 97 == 96)
                now = now.addDays(1);
            const bool onlyNewest = feed.update(fuzzer.state(), "d", 2, now, rome, nameOf);
            (onlyNewest ? partial : whole) += 1;
            expectSameRows(model, buildTimeline(fuzzer.state(), "d", 2, now, rome));

            // A live message by someone else after the stored ones: one inserted block (its row,
            // with its separators when it opens a day or the unread block) and nothing else.
            if (step % 5 == 4 && fuzzer.state().conversations.contains("d")) {
                ChatState& state = fuzzer.state();
                const qint64 seq = state.conversations.value("d").lastSeq + 1;
                const QList<ChatMessage> stored = state.messages.value("d");
                const QDateTime sentAt =
                    std::max(now, stored.isEmpty() ? now : stored.last().sentAt.addSecs(30));
                if (state.insert(message("d", seq, "ann", 0, sentAt)).kind !=
                    InsertResult::Kind::added)
                    continue;
                resets.clear();
                inserted.clear();
                removed.clear();
                feed.update(state, "d", 2, now, rome, nameOf);
                EXPECT_EQ(inserted.count(), 1);
                EXPECT_EQ(removed.count(), 0);
                EXPECT_EQ(resets.count(), 0);
                expectSameRows(model, buildTimeline(state, "d", 2, now, rome));
            }
            if (HasFailure())
                return;
        }
    }
    // Both paths were taken, the newest-only one most of the time.
    EXPECT_GT(partial, 300);
    EXPECT_GT(whole, 100);
}

// A person renamed while the conversation is open: every row of theirs shows the new name, however
// far back, even though no message changed.
TEST(TimelineFeed, ARenamedAuthorIsRenamedInEveryRow) {
    ChatState state = signedInState();
    state.users.insert("ann", clientUser("ann", "k"));
    state.upsertConversation(group("g", {"me", "ann"}, 40));
    state.mergeHistory("g", range("g", 1, 40), false, true);
    MessageListModel model;
    model.setZone(rome);
    TimelineFeed feed(model);
    const auto names = [&state](const QString& id) { return state.users.value(id).name; };
    const QDateTime now = base().addSecs(41 * 60);
    feed.update(state, "g", std::nullopt, now, rome, names);
    const int oldest = model.rowOf("msg:m-g-1");
    ASSERT_GE(oldest, 0);
    EXPECT_EQ(model.data(model.index(oldest), MessageListModel::AuthorRole), "Cliente ann");

    state.users["ann"].name = "Anna Neri";
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    EXPECT_FALSE(feed.update(state, "g", std::nullopt, now, rome, names))
        << "a new name is not a change of the newest rows only";
    EXPECT_EQ(model.data(model.index(oldest), MessageListModel::AuthorRole), "Anna Neri");
    EXPECT_FALSE(changed.isEmpty());

    // Nothing changed since: the next update takes the short way again.
    EXPECT_TRUE(feed.update(state, "g", std::nullopt, now, rome, names));
}

} // namespace
} // namespace brevio::test
