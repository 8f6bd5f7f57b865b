#include "ServerHarness.h"

#include <QThread>
#include <condition_variable>
#include <mutex>
#include <thread>

using namespace brevio;
using namespace brevio::test;

namespace {

// Gathers what a peer's queue receives on the server's thread, for a waiting test thread.
class Collector {
public:
    explicit Collector(std::shared_ptr<FrameQueue<ServerFrame>> queue) : queue_(std::move(queue)) {
        arm();
    }
    // Waits (at most 20 s, so a bug fails instead of hanging) until `count` frames are in.
    std::vector<ServerFrame> waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(20), [&] { return frames_.size() >= count; });
        return frames_;
    }

    // Waits until the server has ended the queue.
    bool waitForEnd() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return finished_; });
    }

private:
    void arm() {
        queue_->next([this](std::optional<ServerFrame> frame) {
            if (!frame) {
                std::lock_guard lock(mutex_);
                finished_ = true;
                changed_.notify_all();
                return;
            }
            {
                std::lock_guard lock(mutex_);
                frames_.push_back(std::move(*frame));
            }
            changed_.notify_all();
            arm();
        });
    }

    std::shared_ptr<FrameQueue<ServerFrame>> queue_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<ServerFrame> frames_;
    bool finished_ = false;
};

} // namespace

TEST(LocalServerThreads, PeersOnOtherThreadsAreServedInTheirOwnOrder) {
    QThread serverThread;
    RealClock clock;
    auto* server = new LocalServer(ServerHarness::quiet(), clock);
    server->seedDemo();
    server->moveToThread(&serverThread);
    serverThread.start();

    constexpr int messages = 50;
    const auto accounts = server->seededAccounts();
    std::vector<std::thread> clients;
    std::vector<std::vector<ServerFrame>> received(2);
    bool ended[2] = {false, false};
    for (int c = 0; c < 2; ++c) {
        clients.emplace_back([&, c] {
            const auto link = server->registerPeer(QStringLiteral("198.51.100.%1").arg(c));
            Collector collector(link.frames);
            server->deliver(link.peerID, ClientFrame::login(
                                             {accounts[1 + c].email, demoPassword, testClient()}));
            const auto welcome = collector.waitFor(1);
            if (welcome.empty() || !welcome[0].as<Welcome>())
                return;
            const QString conversation = welcome[0].as<Welcome>()->conversations[0].id;
            for (int i = 0; i < messages; ++i)
                server->deliver(link.peerID, ClientFrame::send({QStringLiteral("m%1").arg(i),
                                                                conversation,
                                                                QStringLiteral("n. %1").arg(i),
                                                                {}}));
            received[c] = collector.waitFor(1 + messages);
            server->disconnectPeer(link.peerID);
            ended[c] = collector.waitForEnd();
        });
    }
    for (auto& client : clients)
        client.join();
    QMetaObject::invokeMethod(
        server, [server] { delete server; }, Qt::BlockingQueuedConnection);
    serverThread.quit();
    serverThread.wait();

    EXPECT_TRUE(ended[0] && ended[1]);
    for (const auto& frames : received) {
        ASSERT_EQ(frames.size(), std::size_t(1 + messages));
        ASSERT_TRUE(frames[0].as<Welcome>());
        qint64 previous = 0;
        for (int i = 0; i < messages; ++i) {
            const auto* ack = frames[1 + i].as<Ack>();
            ASSERT_TRUE(ack) << i;
            EXPECT_EQ(ack->replyTo, QStringLiteral("m%1").arg(i));
            EXPECT_GT(ack->message.seq, previous);
            previous = ack->message.seq;
        }
    }
}
