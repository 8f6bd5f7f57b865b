#include "transport/FrameQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <thread>
#include <vector>

namespace brevio {
namespace {

// Collects what a waiter is resumed with; the waiter may run on any thread.
struct Inbox {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::optional<int>> got;

    FrameQueue<int>::Waiter waiter() {
        return [this](std::optional<int> v) {
            std::lock_guard lock(mutex);
            got.push_back(v);
            changed.notify_all();
        };
    }
    // The limit only keeps a broken queue from hanging the test.
    std::optional<int> waitForNext(std::size_t index) {
        std::unique_lock lock(mutex);
        if (!changed.wait_for(lock, std::chrono::seconds(30), [&] { return got.size() > index; })) {
            ADD_FAILURE() << "no element " << index << " within the limit";
            return std::nullopt;
        }
        return got[index];
    }
};

TEST(FrameQueue, ReturnsBufferedElementsInPushOrderThenEndsAfterFinish) {
    FrameQueue<int> queue;
    EXPECT_EQ(queue.tryNext(), std::nullopt);
    queue.push(1);
    queue.push(2);
    queue.push(3);
    queue.finish();
    queue.push(4); // after finish: dropped silently

    EXPECT_EQ(queue.tryNext(), 1); // the non-waiting take shares the order, also after finish
    Inbox inbox;
    for (int i = 0; i < 4; ++i)
        queue.next(inbox.waiter());
    ASSERT_EQ(inbox.got.size(), 4u); // every call answered at once: buffered or finished
    EXPECT_EQ(inbox.got[0], 2);
    EXPECT_EQ(inbox.got[1], 3);
    EXPECT_EQ(inbox.got[2], std::nullopt);
    EXPECT_EQ(inbox.got[3], std::nullopt);
    EXPECT_EQ(queue.tryNext(), std::nullopt);
}

TEST(FrameQueue, WaiterIsResumedByPushOrByFinish) {
    FrameQueue<int> queue;
    Inbox inbox;
    queue.next(inbox.waiter());
    EXPECT_TRUE(inbox.got.empty());
    queue.push(7);
    ASSERT_EQ(inbox.got.size(), 1u);
    EXPECT_EQ(inbox.got[0], 7);
    EXPECT_EQ(queue.tryNext(), std::nullopt); // handed to the waiter, not buffered as well

    queue.next(inbox.waiter());
    queue.finish();
    ASSERT_EQ(inbox.got.size(), 2u);
    EXPECT_EQ(inbox.got[1], std::nullopt);
    queue.finish(); // twice is harmless and resumes nobody
    EXPECT_EQ(inbox.got.size(), 2u);
}

TEST(FrameQueue, WaiterMayPushFromInsideItsResumption) {
    // The waiter is resumed outside the lock, so it may use the queue again (a reader loop that
    // asks for the next element from its completion) without deadlocking.
    FrameQueue<int> queue;
    std::vector<int> got;
    std::function<void(std::optional<int>)> loop = [&](std::optional<int> v) {
        if (!v)
            return;
        got.push_back(*v);
        queue.next(loop);
    };
    queue.next(loop);
    queue.push(1);
    queue.push(2);
    queue.push(3);
    queue.finish();
    EXPECT_EQ(got, (std::vector<int>{1, 2, 3}));
}

TEST(FrameQueue, ManyProducersOneConsumerLoseNothingAndKeepEachProducersOrder) {
    constexpr int producers = 4;
    constexpr int perProducer = 5000;
    FrameQueue<int> queue;
    Inbox inbox;

    std::vector<std::thread> threads;
    std::atomic<int> ready{0};
    for (int p = 0; p < producers; ++p)
        threads.emplace_back([&, p] {
            ++ready;
            while (ready.load() < producers) {
            }
            for (int i = 0; i < perProducer; ++i)
                queue.push(p * perProducer + i);
        });

    // The consumer alternates between waiting receives and non-waiting takes, as a session does.
    std::vector<int> lastSeen(producers, -1);
    int received = 0;
    std::size_t waited = 0;
    while (received < producers * perProducer) {
        std::optional<int> v;
        if (received % 3 == 0) {
            v = queue.tryNext();
            if (!v)
                continue;
        } else {
            queue.next(inbox.waiter());
            v = inbox.waitForNext(waited++);
            ASSERT_TRUE(v.has_value());
        }
        const int producer = *v / perProducer;
        const int index = *v % perProducer;
        ASSERT_GT(index, lastSeen[producer]) << "producer " << producer << " out of order";
        lastSeen[producer] = index;
        ++received;
    }
    for (auto& t : threads)
        t.join();
    for (int p = 0; p < producers; ++p)
        EXPECT_EQ(lastSeen[p], perProducer - 1);

    queue.next(inbox.waiter());
    std::thread finisher([&] { queue.finish(); });
    EXPECT_EQ(inbox.waitForNext(waited), std::nullopt);
    finisher.join();
}

TEST(FrameQueue, FinishRacingWithPushesNeverLosesABufferedElementNorResumesTwice) {
    for (int round = 0; round < 200; ++round) {
        FrameQueue<int> queue;
        std::atomic<int> accepted{0};
        std::thread producer([&] {
            for (int i = 0; i < 50; ++i) {
                if (queue.isFinished())
                    break;
                queue.push(i);
                accepted.fetch_add(1);
            }
        });
        std::thread finisher([&] { queue.finish(); });
        producer.join();
        finisher.join();

        // Whatever was buffered comes out in order, then exactly one end mark per call.
        int expected = 0;
        Inbox inbox;
        for (;;) {
            queue.next(inbox.waiter());
            ASSERT_FALSE(inbox.got.empty());
            const auto v = inbox.got.back();
            if (!v)
                break;
            ASSERT_EQ(*v, expected++);
        }
        EXPECT_LE(expected, accepted.load());
    }
}

TEST(Once, ExactlyOneOfManyRacingThreadsActs) {
    for (int round = 0; round < 100; ++round) {
        Once once;
        ASSERT_FALSE(once.isDone());
        std::atomic<int> runs{0};
        std::atomic<int> winners{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 6; ++t)
            threads.emplace_back([&] {
                if (once.run([&] {
                        // The action runs outside the lock: asking the Once again must not block.
                        EXPECT_TRUE(once.isDone());
                        ++runs;
                    }))
                    ++winners;
            });
        for (auto& t : threads)
            t.join();
        ASSERT_EQ(runs.load(), 1);
        ASSERT_EQ(winners.load(), 1);
        ASSERT_FALSE(once.run([&] { ++runs; }));
    }
}

} // namespace
} // namespace brevio
