#include "model/ManualClock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <gtest/gtest.h>

using namespace brevio;
using namespace std::chrono_literals;

namespace {

TEST(ManualClock, FiresTimersInDueOrderWithNowAtTheirDueTime) {
    ManualClock clock;
    const QDateTime start = clock.now();
    QList<QPair<int, qint64>> fired;
    auto record = [&](int tag) {
        return [&, tag] { fired.append({tag, start.msecsTo(clock.now())}); };
    };

    auto late = clock.schedule(300ms, record(3));
    auto early = clock.schedule(100ms, record(1));
    auto tie = clock.schedule(100ms, record(2)); // same due time: scheduling order decides
    auto past = clock.schedule(-5s, record(0));  // due now, but never run inside schedule()
    EXPECT_TRUE(fired.isEmpty());
    clock.runDue();
    EXPECT_EQ(fired, (QList<QPair<int, qint64>>{{0, 0}}));

    clock.advance(99ms);
    EXPECT_EQ(fired.size(), 1);
    clock.advance(1s);
    EXPECT_EQ(fired, (QList<QPair<int, qint64>>{{0, 0}, {1, 100}, {2, 100}, {3, 300}}));
    EXPECT_EQ(start.msecsTo(clock.now()), 1099);
    EXPECT_EQ(clock.pendingTimers(), 0);
}

TEST(ManualClock, TimersScheduledWhileAdvancingFireWithinTheSameStep) {
    ManualClock clock;
    const QDateTime start = clock.now();
    TimerHandle second;
    QList<qint64> at;
    auto first = clock.schedule(1s, [&] {
        at.append(start.msecsTo(clock.now()));
        second = clock.schedule(500ms, [&] { at.append(start.msecsTo(clock.now())); });
    });
    clock.advance(2s);
    EXPECT_EQ(at, (QList<qint64>{1000, 1500}));
}

TEST(ManualClock, DroppingTheHandleCancelsAlsoFromACallbackAndAfterTheClockIsGone) {
    TimerHandle outlives;
    {
        ManualClock clock;
        int fired = 0;
        auto kept = clock.schedule(1s, [&] { fired += 1; });
        auto dropped = clock.schedule(1s, [&] { fired += 10; });
        dropped.reset();
        EXPECT_EQ(clock.pendingTimers(), 1);
        TimerHandle later = clock.schedule(2s, [&] { fired += 100; });
        auto canceller = clock.schedule(1s, [&] { later.reset(); });
        outlives = clock.schedule(10s, [] {});
        clock.advance(5s);
        EXPECT_EQ(fired, 1);
        EXPECT_EQ(clock.nextDue(), clock.now().addSecs(5));
    }
    outlives.reset(); // must not touch the destroyed clock
}

TEST(RealClock, RunsOnTheEventLoopAndCancelsOnDestruction) {
    RealClock clock;
    EXPECT_EQ(clock.now().timeSpec(), Qt::UTC);

    QEventLoop loop;
    bool cancelledFired = false;
    auto cancelled = clock.schedule(0ms, [&] { cancelledFired = true; });
    auto fires = clock.schedule(1ms, [&] { loop.quit(); });
    cancelled.reset();
    // The guard timer only protects the run against a hang; the assertions don't depend on timing.
    auto guard = clock.schedule(10s, [&] { loop.quit(); });
    QElapsedTimer elapsed;
    elapsed.start();
    loop.exec();
    EXPECT_LT(elapsed.elapsed(), 10000);
    EXPECT_FALSE(cancelledFired);
}

} // namespace
