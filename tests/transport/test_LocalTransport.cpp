#include "TransportTestSupport.h"
#include "support/RecordingEndpoint.h"
#include "transport/LocalTransport.h"

#include <QThread>
#include <gtest/gtest.h>

#include <mutex>
#include <thread>

namespace brevio {
namespace {

using test::drainPosted;
using test::Outcome;
using test::RecordingEndpoint;
using test::waitUntil;

ServerFrame typingFrame(const QString& user) {
    return ServerFrame::typing(TypingEvent{QStringLiteral("c1"), user, true});
}

ClientFrame sendFrame(const QString& id) {
    return ClientFrame::send(
        SendRequest{id, QStringLiteral("c1"), QStringLiteral("Buongiorno"), 7});
}

struct LocalTransportTest : ::testing::Test {
    std::shared_ptr<RecordingEndpoint> server = std::make_shared<RecordingEndpoint>();
    LocalTransport transport{server};

    std::shared_ptr<TransportConnection> connect() {
        auto connection = transport.connect(QUrl(QStringLiteral("http://ignored.example")));
        EXPECT_TRUE(connection.has_value());
        return connection.value_or(nullptr);
    }
};

TEST_F(LocalTransportTest, ConnectIgnoresTheAddressAndRegistersOnePeerPerConnection) {
    auto a = connect();
    const qint64 first = server->lastPeer();
    auto b = transport.connect(QUrl()).value_or(nullptr);
    ASSERT_TRUE(a && b);
    EXPECT_NE(server->lastPeer(), first);
    a->close();
    EXPECT_EQ(server->disconnected(), std::vector<qint64>{first}) << "each has its own peer";
}

TEST_F(LocalTransportTest, SendAndPingCompleteLaterAndTheFrameReachesTheServerAfterTheWire) {
    auto connection = connect();
    auto peer = server->lastPeer();
    Outcome<void> sent, pinged;
    connection->send(sendFrame(QStringLiteral("m1")), sent.done());
    connection->ping(pinged.done());
    EXPECT_FALSE(sent.arrived() || pinged.arrived()) << "completions never run inside the call";
    drainPosted();
    ASSERT_TRUE(sent.arrived() && pinged.arrived());
    EXPECT_TRUE(sent.result->has_value());
    EXPECT_TRUE(pinged.result->has_value()) << "the server is in this process: no round trip";
    EXPECT_EQ(sent.thread, QThread::currentThread());

    const auto delivered = server->delivered();
    ASSERT_EQ(delivered.size(), 1u);
    EXPECT_EQ(delivered[0].first, peer);
    EXPECT_EQ(delivered[0].second, sendFrame(QStringLiteral("m1")));
}

TEST_F(LocalTransportTest, ReceiveGivesFramesInPushOrderOnTheCallersThreadWhoeverPushed) {
    auto connection = connect();
    auto queue = server->queue(server->lastPeer());
    queue->push(typingFrame(QStringLiteral("u1")));
    queue->push(ServerFrame::unknown(QStringLiteral("poll")));

    Outcome<ServerFrame> first, second, third;
    connection->receive(first.done());
    EXPECT_FALSE(first.arrived());
    drainPosted();
    connection->receive(second.done());
    drainPosted();
    ASSERT_TRUE(first.arrived() && second.arrived());
    EXPECT_EQ(first.result->value(), typingFrame(QStringLiteral("u1")));
    EXPECT_EQ(second.result->value(), ServerFrame::unknown(QStringLiteral("poll")));

    // A frame pushed from the server's thread completes a waiting receive on this one.
    connection->receive(third.done());
    drainPosted();
    EXPECT_FALSE(third.arrived());
    std::thread serverThread([&] { queue->push(typingFrame(QStringLiteral("u2"))); });
    serverThread.join();
    ASSERT_TRUE(waitUntil([&] { return third.arrived(); }));
    EXPECT_EQ(third.thread, QThread::currentThread());
    EXPECT_EQ(third.result->value(), typingFrame(QStringLiteral("u2")));
}

TEST_F(LocalTransportTest, CloseEndsThePeerOnceAndFailsPendingAndLaterOperations) {
    auto connection = connect();
    auto peer = server->lastPeer();
    auto queue = server->queue(peer);
    Outcome<ServerFrame> pending;
    connection->receive(pending.done());
    drainPosted();

    connection->close();
    connection->close();
    EXPECT_EQ(server->disconnected(), std::vector<qint64>{peer});
    EXPECT_TRUE(queue->isFinished());

    Outcome<void> sent, pinged;
    Outcome<ServerFrame> later;
    connection->send(sendFrame(QStringLiteral("m2")), sent.done());
    connection->ping(pinged.done());
    connection->receive(later.done());
    drainPosted();
    for (const auto* outcome : {&pending.result, &later.result}) {
        ASSERT_TRUE(outcome->has_value());
        EXPECT_EQ((*outcome)->error(), ChatError::notConnected());
    }
    ASSERT_TRUE(sent.arrived() && pinged.arrived());
    EXPECT_EQ(sent.result->error(), ChatError::notConnected());
    EXPECT_EQ(pinged.result->error(), ChatError::notConnected());
    EXPECT_TRUE(server->delivered().empty()) << "nothing reaches the server after close";
}

TEST_F(LocalTransportTest, WhenTheServerEndsThePeerQueuedFramesComeFirstThenNotConnected) {
    auto connection = connect();
    auto queue = server->queue(server->lastPeer());
    const ServerFrame expired =
        ServerFrame::error(ServerError{{}, QStringLiteral("session_expired"), {}, {}});
    queue->push(expired);
    queue->finish();

    Outcome<ServerFrame> first, second;
    Outcome<void> sent;
    connection->receive(first.done());
    drainPosted();
    connection->receive(second.done());
    connection->send(sendFrame(QStringLiteral("m3")), sent.done());
    drainPosted();
    ASSERT_TRUE(first.arrived() && second.arrived() && sent.arrived());
    EXPECT_EQ(first.result->value(), expired);
    EXPECT_EQ(second.result->error(), ChatError::notConnected());
    EXPECT_EQ(sent.result->error(), ChatError::notConnected());
}

TEST_F(LocalTransportTest, FramesThatWouldNotSurviveTheWireFailLikeOnASocket) {
    auto connection = connect();
    auto queue = server->queue(server->lastPeer());

    // A case whose payload belongs to another case: its JSON lacks the case's required keys.
    const ClientFrame mismatched{ClientFrame::Type::send,
                                 TypingRequest{QStringLiteral("c1"), true}};
    Outcome<void> sent;
    connection->send(mismatched, sent.done());
    drainPosted();
    ASSERT_TRUE(sent.arrived());
    EXPECT_EQ(sent.result->error(), ChatError::unexpectedReply());
    EXPECT_TRUE(server->delivered().empty());

    queue->push(ServerFrame{ServerFrame::Type::ack, typingFrame(QStringLiteral("u1")).payload});
    queue->push(typingFrame(QStringLiteral("u1")));
    Outcome<ServerFrame> bad, good;
    connection->receive(bad.done());
    drainPosted();
    connection->receive(good.done());
    drainPosted();
    ASSERT_TRUE(bad.arrived() && good.arrived());
    EXPECT_EQ(bad.result->error(), ChatError::unexpectedReply());
    EXPECT_EQ(good.result->value(), typingFrame(QStringLiteral("u1")));
}

TEST_F(LocalTransportTest, FramesLeftUnreadAtCloseAreNotDelivered) {
    auto connection = connect();
    auto queue = server->queue(server->lastPeer());
    queue->push(typingFrame(QStringLiteral("u1")));
    connection->close();
    Outcome<ServerFrame> got;
    connection->receive(got.done());
    drainPosted();
    ASSERT_TRUE(got.arrived());
    EXPECT_EQ(got.result->error(), ChatError::notConnected());
}

TEST_F(LocalTransportTest, DroppingTheConnectionLeavesTheServerAndDropsPendingCompletions) {
    auto connection = connect();
    auto peer = server->lastPeer();
    auto queue = server->queue(peer);
    Outcome<ServerFrame> pending;
    Outcome<void> sent;
    connection->receive(pending.done());
    connection->send(sendFrame(QStringLiteral("m4")), sent.done()); // completion queued, not run
    connection.reset();

    EXPECT_EQ(server->disconnected(), std::vector<qint64>{peer});
    queue->push(typingFrame(QStringLiteral("u3"))); // the server races the drop: ignored
    drainPosted();
    EXPECT_FALSE(pending.arrived());
    EXPECT_FALSE(sent.arrived());
    EXPECT_EQ(server->delivered().size(), 1u) << "a send made before the drop still reached it";
}

} // namespace
} // namespace brevio
