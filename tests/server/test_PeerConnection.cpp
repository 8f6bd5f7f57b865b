// The connection between one socket and one peer, against a recording endpoint: what reaches the
// server, and how the peer's queue reaches the socket, also when it is filled from another thread.

#include "PeerConnection.h"
#include "ServerListener.h"
#include "WsTestClient.h"
#include "support/RecordingEndpoint.h"

#include <QTcpSocket>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>

using namespace brevio;
using namespace brevio::test;

namespace {

ServerFrame typing(int n) {
    return ServerFrame::typing(
        TypingEvent{QStringLiteral("conv-%1").arg(n), QStringLiteral("u"), n % 2 == 0});
}

class PeerConnectionTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(listener.listen(QHostAddress::LocalHost, 0)); }

    std::unique_ptr<WsTestClient> connected() {
        const std::size_t before = peerCount();
        auto client = std::make_unique<WsTestClient>();
        EXPECT_TRUE(
            client->open(QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(listener.port()))));
        // The client sees the handshake's answer before the listener has made the peer.
        EXPECT_TRUE(waitUntil([&] { return peerCount() == before + 1; }));
        return client;
    }

    std::size_t peerCount() { return endpoint.registered(); }

    RecordingEndpoint endpoint;
    RealClock clock;
    ServerListener listener{endpoint, clock};
};

TEST_F(PeerConnectionTest, RegistersWithTheAddressDeliversAndDisconnects) {
    auto client = connected();
    EXPECT_EQ(endpoint.addresses(), QStringList{QStringLiteral("127.0.0.1")});

    const ClientFrame typingFrame =
        ClientFrame::typing(TypingRequest{QStringLiteral("conv-1"), true});
    client->send(typingFrame);
    ASSERT_TRUE(waitUntil([&] { return !endpoint.delivered().empty(); }));
    EXPECT_EQ(endpoint.delivered()[0].first, 1);
    EXPECT_EQ(endpoint.delivered()[0].second, typingFrame);

    client->socket.close();
    ASSERT_TRUE(waitUntil([&] { return endpoint.disconnected() == std::vector<qint64>{1}; }));
    EXPECT_TRUE(waitUntil([&] { return listener.connectionCount() == 0; }));
}

TEST_F(PeerConnectionTest, FramesFromAnotherThreadArriveInOrderThenTheEndClosesNormally) {
    auto client = connected();
    auto queue = endpoint.queue(1);
    constexpr int count = 2000;
    std::thread producer([&] {
        for (int i = 0; i < count; ++i) {
            queue->push(typing(i));
            if (i % 97 == 0)
                std::this_thread::yield();
        }
        // The server ends the peer: what was queued still goes out, then a normal closure.
        queue->finish();
    });
    const bool closed = client->waitClosed();
    producer.join();
    ASSERT_TRUE(closed);
    EXPECT_EQ(client->closeCode, QWebSocketProtocol::CloseCodeNormal);
    ASSERT_EQ(client->frames.size(), std::size_t(count));
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(client->frames[i], typing(i)) << i;
}

TEST_F(PeerConnectionTest, AClientThatStopsReadingIsCutOffInsteadOfBufferedWithoutBound) {
    // A raw client that completes the handshake and then never reads again.
    QTcpSocket stalled;
    stalled.setReadBufferSize(64 * 1024);
    stalled.connectToHost(QHostAddress::LocalHost, listener.port());
    ASSERT_TRUE(waitUntil([&] { return stalled.state() == QAbstractSocket::ConnectedState; }));
    stalled.write("GET /ws HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\n"
                  "Connection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                  "Sec-WebSocket-Version: 13\r\n\r\n");
    ASSERT_TRUE(waitUntil([&] { return peerCount() == 1; }));
    auto healthy = connected();

    // Far more than the kernel buffers and the allowed backlog together.
    const QString bulky(4096, u'x');
    const qint64 total = 8 * PeerConnection::maxPendingOutput;
    for (qint64 sent = 0; sent < total; sent += bulky.size()) {
        endpoint.queue(1)->push(ServerFrame::typing(TypingEvent{bulky, QStringLiteral("u"), true}));
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(waitUntil([&] { return endpoint.disconnected() == std::vector<qint64>{1}; }));
    EXPECT_TRUE(waitUntil([&] { return listener.connectionCount() == 1; }));

    // The other connection is untouched.
    const ServerFrame event = ServerFrame::presence(PresenceEvent{QStringLiteral("u-2"), true});
    endpoint.queue(2)->push(event);
    ASSERT_TRUE(waitUntil([&] { return healthy->frames.size() == 1; }));
    EXPECT_EQ(healthy->frames[0], event);
    EXPECT_FALSE(healthy->closed);
}

} // namespace
