// Random but seeded sequences of server events thrown at a state; after every step the state must
// still be sound and nothing that only moves forward may have moved back.

#include "state/StateFuzzer.h"

#include "state/Timeline.h"

using namespace brevio;
using namespace brevio::test;

namespace {

TEST(ChatStateProperties, RandomEventSequencesKeepTheStateSound) {
    for (unsigned seed = 1; seed <= 25; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Fuzzer(seed).run(400);
        if (HasFailure())
            return;
    }
}

// The newest part of a timeline, built alone, is exactly the end of the whole timeline, and says
// where the unread block and the status row are.
TEST(ChatStateProperties, ATimelineTailIsTheEndOfTheWholeTimeline) {
    const QTimeZone zone("Europe/Rome");
    for (unsigned seed = 1; seed <= 10; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Fuzzer fuzzer(seed);
        for (int step = 0; step < 200; ++step) {
            fuzzer.randomStep();
            const ChatState& state = fuzzer.state();
            const QDateTime now = state.conversations.value("d").lastMessage
                                      ? state.conversations.value("d").lastMessage->sentAt
                                      : QDateTime::currentDateTimeUtc();
            const QList<TimelineEntry> whole = buildTimeline(state, "d", 2, now, zone);
            qsizetype messages = 0;
            QList<qsizetype> startOf; // entry index where each message's entries begin
            for (qsizetype i = 0; i < whole.size(); ++i) {
                if (i == 0 || whole[i - 1].kind == TimelineEntry::Kind::message)
                    startOf.append(i);
                messages += whole[i].kind == TimelineEntry::Kind::message;
            }
            for (qsizetype first :
                 {qsizetype(0), messages / 2, std::max<qsizetype>(0, messages - 1), messages}) {
                const TimelineTail tail = buildTimelineTail(state, "d", 2, now, zone, first);
                EXPECT_EQ(tail.messageCount, messages);
                const qsizetype from = first < startOf.size() ? startOf[first] : whole.size();
                const QList<TimelineEntry> expected = whole.mid(from);
                ASSERT_EQ(tail.entries.size(), expected.size()) << "from message " << first;
                for (qsizetype k = 0; k < expected.size(); ++k) {
                    const TimelineMessage& a = tail.entries[k].message;
                    const TimelineMessage& b = expected[k].message;
                    ASSERT_EQ(tail.entries[k], expected[k])
                        << "from message " << first << ", entry " << k << " "
                        << expected[k].id().toStdString() << " showsAuthor " << a.showsAuthor << "/"
                        << b.showsAuthor << " continues " << a.continues << "/" << b.continues
                        << " status " << a.showsStatus << "/" << b.showsStatus << " canChange "
                        << a.canChange << "/" << b.canChange;
                }
                if (tail.firstUnread >= 0) {
                    ASSERT_LT(tail.firstUnread, startOf.size());
                    const qsizetype at = startOf[tail.firstUnread];
                    EXPECT_TRUE(std::any_of(whole.begin() + at, whole.end(), [&](const auto& e) {
                        return e.kind == TimelineEntry::Kind::unread && e.count == tail.unreadCount;
                    }));
                }
            }
            if (HasFailure())
                return;
        }
    }
}

} // namespace
