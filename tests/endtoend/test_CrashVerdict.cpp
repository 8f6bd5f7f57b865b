// The verdict of the crash test on hand-made runs: the cases a real run rarely produces.

#include "endtoend/CrashVerdict.h"
#include "support/Printing.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace brevio::test {
namespace {

// Run 1 was killed at 10 000 ms after writing three messages; run 2 ran to the end.
QList<WriterRun> twoRuns() {
    return {{"1", {{"1-1", 8000}, {"1-2", 9400}, {"1-3", 9800}}, 10000, 3},
            {"2", {{"2-1", 12000}}, std::nullopt, 1}};
}

TEST(CrashVerdictTest, OnlyMessagesWrittenBeforeTheMarginMustArrive) {
    // 1-4 went out in the instant between send() and its report; 1-3 was written 200 ms before
    // the kill and may be lost, 1-2 (600 ms) may not.
    const CrashVerdict verdict = judgeCrashRuns(twoRuns(), {"1-1", "1-4", "2-1"}, 500ms);
    EXPECT_EQ(verdict.missing, QStringList{"1-2"});
    EXPECT_TRUE(verdict.unknown.isEmpty() && verdict.outOfOrder.isEmpty());
    ASSERT_EQ(verdict.runs.size(), 2);
    EXPECT_EQ(verdict.runs[0].arrived, 1);
    EXPECT_EQ(verdict.runs[0].closestArrivedMs, 2000);
    EXPECT_EQ(verdict.runs[0].farthestLostMs, 600);

    // A run that was not killed must deliver everything.
    EXPECT_EQ(judgeCrashRuns(twoRuns(), {"1-1", "1-2"}, 500ms).missing, QStringList{"2-1"});
    EXPECT_TRUE(judgeCrashRuns(twoRuns(), {"1-1", "1-2", "1-3", "2-1"}, 500ms).passed());
}

TEST(CrashVerdictTest, DuplicatesReorderingAndStrangersFail) {
    const CrashVerdict verdict =
        judgeCrashRuns(twoRuns(), {"1-2", "1-1", "2-1", "1-2", "1-5", "2-2"}, 500ms);
    EXPECT_EQ(verdict.outOfOrder, QStringList{"1-1"});
    EXPECT_EQ(verdict.duplicates, QStringList{"1-2"});
    // Only the message right after a killed run's last report can go unreported.
    EXPECT_EQ(verdict.unknown, (QStringList{"1-5", "2-2"}));
    EXPECT_FALSE(verdict.passed());
}

} // namespace
} // namespace brevio::test
