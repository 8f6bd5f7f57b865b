#include "TransportTestSupport.h"
#include "transport/WebSocketTransport.h"

#include <QTcpServer>
#include <QThread>
#include <QWebSocket>
#include <QWebSocketServer>
#include <gtest/gtest.h>

namespace brevio {
namespace {

using test::drainPosted;
using test::Outcome;
using test::waitUntil;

// A WebSocket server on 127.0.0.1 that records what its peers send and lets a test answer.
class LoopbackServer {
public:
    struct Peer {
        QWebSocket* socket = nullptr;
        QStringList texts;
        int binaries = 0;
        bool gone = false;
        int closeCode = -1;
    };

    LoopbackServer() : server_(QStringLiteral("loopback"), QWebSocketServer::NonSecureMode) {
        EXPECT_TRUE(server_.listen(QHostAddress::LocalHost, 0));
        QObject::connect(&server_, &QWebSocketServer::newConnection, [this] {
            while (QWebSocket* socket = server_.nextPendingConnection())
                adopt(socket);
        });
    }
    ~LoopbackServer() {
        for (auto& peer : peers)
            if (peer->socket)
                peer->socket->disconnect();
    }

    QUrl url() const {
        return QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(server_.serverPort()));
    }
    Peer& waitForPeer() {
        EXPECT_TRUE(waitUntil([&] { return !peers.empty(); }));
        return *peers.front();
    }
    // Stops listening and drops every peer without a closing handshake.
    void vanish() {
        server_.close();
        for (auto& peer : peers)
            if (peer->socket)
                peer->socket->abort();
    }

    std::vector<std::unique_ptr<Peer>> peers;
    // Called for every text message a peer sends, after it is recorded.
    std::function<void(Peer&, const QString&)> onText;

private:
    void adopt(QWebSocket* socket) {
        socket->setParent(&server_);
        auto& peer = *peers.emplace_back(std::make_unique<Peer>());
        peer.socket = socket;
        QObject::connect(socket, &QWebSocket::textMessageReceived, [this, &peer](const QString& t) {
            peer.texts.push_back(t);
            if (onText)
                onText(peer, t);
        });
        QObject::connect(socket, &QWebSocket::binaryMessageReceived,
                         [&peer](const QByteArray&) { ++peer.binaries; });
        QObject::connect(socket, &QWebSocket::disconnected, [&peer] {
            peer.gone = true;
            peer.closeCode = peer.socket->closeCode();
        });
    }

    QWebSocketServer server_;
};

ServerFrame typingFrame(const QString& user) {
    return ServerFrame::typing(TypingEvent{QStringLiteral("c1"), user, true});
}

ClientFrame sendFrame(const QString& id) {
    return ClientFrame::send(
        SendRequest{id, QStringLiteral("c1"), QStringLiteral("Perché è così? ✓"), std::nullopt});
}

QString text(const ServerFrame& frame) {
    return QString::fromStdString(wire::encode(frame));
}

// An error frame whose JSON text is exactly `bytes` long.
ServerFrame frameOfSize(qint64 bytes) {
    ServerFrame frame = ServerFrame::error(ServerError{{}, QStringLiteral("x"), QString(), {}});
    const auto base = static_cast<qint64>(wire::encode(frame).size());
    frame =
        ServerFrame::error(ServerError{{}, QStringLiteral("x"), QString(bytes - base, u'a'), {}});
    EXPECT_EQ(static_cast<qint64>(wire::encode(frame).size()), bytes);
    return frame;
}

// Connections hand work between threads through Qt's posted-event queue, whose lock sits in the
// uninstrumented Qt library: ThreadSanitizer cannot see it and reports every hand-off. Under that
// sanitizer only the primitives and the in-process transport are checked.
void skipUnderThreadSanitizer() {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "Qt's event-queue synchronisation is invisible to ThreadSanitizer";
#endif
}

struct WebSocketTransportAddress : ::testing::Test {
    void SetUp() override { skipUnderThreadSanitizer(); }
};

struct WebSocketTransportTest : ::testing::Test {
    WebSocketTransport transport;
    LoopbackServer server;

    void SetUp() override { skipUnderThreadSanitizer(); }

    std::shared_ptr<TransportConnection> connect() {
        auto connection = transport.connect(server.url());
        EXPECT_TRUE(connection.has_value());
        return connection.value_or(nullptr);
    }
    template <class T> std::expected<T, ChatError> await(Outcome<T>& outcome) {
        EXPECT_TRUE(waitUntil([&] { return outcome.arrived(); }));
        if (!outcome.arrived())
            return std::unexpected(ChatError::timeout());
        EXPECT_EQ(outcome.thread, QThread::currentThread()) << "completions hop to the caller";
        return *outcome.result;
    }
    std::expected<ServerFrame, ChatError> receive(TransportConnection& connection) {
        Outcome<ServerFrame> got;
        connection.receive(got.done());
        return await(got);
    }
    std::expected<void, ChatError> ping(TransportConnection& connection) {
        Outcome<void> pinged;
        connection.ping(pinged.done());
        return await(pinged);
    }
};

TEST_F(WebSocketTransportAddress, OnlyWsAndWssWrittenInLowerCaseWithAHostAreAccepted) {
    WebSocketTransport transport;
    for (const char* address :
         {"http://127.0.0.1/ws", "https://127.0.0.1/ws", "WS://127.0.0.1/ws", "Wss://127.0.0.1/ws",
          "wsx://127.0.0.1/ws", "127.0.0.1:8787", "ws:", "ws:///ws", ""}) {
        auto connection = transport.connect(QString::fromUtf8(address));
        ASSERT_FALSE(connection.has_value()) << address;
        EXPECT_EQ(connection.error(), ChatError::invalidServerAddress()) << address;
    }
    auto viaUrl = transport.connect(QUrl(QStringLiteral("http://127.0.0.1/ws")));
    ASSERT_FALSE(viaUrl.has_value());
    EXPECT_EQ(viaUrl.error(), ChatError::invalidServerAddress());

    // Accepted addresses open nothing yet; dropping them at once must not hang either.
    for (const char* address : {"ws://127.0.0.1:1/ws", "wss://127.0.0.1:1/ws"})
        EXPECT_TRUE(transport.connect(QString::fromUtf8(address)).has_value()) << address;
    EXPECT_TRUE(transport.connect(QUrl(QStringLiteral("wss://127.0.0.1:1/ws"))).has_value());
}

TEST_F(WebSocketTransportTest, SendsBeforeTheHandshakeGoOutInOrderAsTextAndBothKindsAreReceived) {
    auto connection = connect();
    std::vector<Outcome<void>> sent(3);
    for (int i = 0; i < 3; ++i) // before the socket opened
        connection->send(sendFrame(QString::number(i)), sent[i].done());
    EXPECT_FALSE(sent[0].arrived());
    for (auto& outcome : sent)
        ASSERT_TRUE(await(outcome).has_value());

    auto& peer = server.waitForPeer();
    ASSERT_TRUE(waitUntil([&] { return peer.texts.size() == 3; }));
    EXPECT_EQ(peer.binaries, 0);
    for (int i = 0; i < 3; ++i) {
        const auto decoded = wire::decodeClientFrame(peer.texts[i].toStdString());
        ASSERT_TRUE(decoded.ok()) << decoded.error.toStdString();
        EXPECT_EQ(*decoded.value, sendFrame(QString::number(i)));
    }

    peer.socket->sendTextMessage(text(typingFrame(QStringLiteral("u1"))));
    peer.socket->sendBinaryMessage(QByteArray::fromStdString(wire::encode(typingFrame("u2"))));
    EXPECT_EQ(receive(*connection), typingFrame(QStringLiteral("u1")));
    EXPECT_EQ(receive(*connection), typingFrame(QStringLiteral("u2")));
}

TEST_F(WebSocketTransportTest, MessagesArrivingBeforeReceiveAreKeptInOrder) {
    auto connection = connect();
    ASSERT_TRUE(ping(*connection).has_value()); // also shows ping completes on its pong
    auto& peer = server.waitForPeer();
    for (const char* user : {"a", "b", "c"})
        peer.socket->sendTextMessage(text(typingFrame(QString::fromUtf8(user))));
    // The pong follows the three messages on the same stream, so they are all in by now.
    ASSERT_TRUE(ping(*connection).has_value());
    for (const char* user : {"a", "b", "c"})
        EXPECT_EQ(receive(*connection), typingFrame(QString::fromUtf8(user)));
}

TEST_F(WebSocketTransportTest, BadFramesFailOnlyTheirOwnReceive) {
    auto connection = connect();
    ASSERT_TRUE(ping(*connection).has_value());
    auto& peer = server.waitForPeer();
    peer.socket->sendTextMessage(QStringLiteral("{\"type\":\"typing\","));       // cut short
    peer.socket->sendTextMessage(QStringLiteral("{\"type\":\"ack\"}"));          // fields missing
    peer.socket->sendBinaryMessage(QByteArray("\xff\xfe{}", 4));                 // not UTF-8
    peer.socket->sendTextMessage(QStringLiteral("{\"type\":\"poll\",\"x\":1}")); // newer server
    peer.socket->sendTextMessage(text(typingFrame(QStringLiteral("u1"))));

    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(receive(*connection), std::unexpected(ChatError::unexpectedReply())) << i;
    EXPECT_EQ(receive(*connection), ServerFrame::unknown(QStringLiteral("poll")));
    EXPECT_EQ(receive(*connection), typingFrame(QStringLiteral("u1")));
    Outcome<void> sent;
    connection->send(sendFrame(QStringLiteral("still")), sent.done());
    EXPECT_TRUE(await(sent).has_value()) << "the connection survives bad frames";
}

TEST_F(WebSocketTransportTest, AMessageAboveFourMebibytesClosesTheConnection) {
    auto connection = connect();
    ASSERT_TRUE(ping(*connection).has_value());
    auto& peer = server.waitForPeer();
    const ServerFrame atLimit = frameOfSize(WebSocketTransport::maximumMessageSize);
    peer.socket->sendTextMessage(text(typingFrame(QStringLiteral("before"))));
    peer.socket->sendTextMessage(text(atLimit));
    peer.socket->sendTextMessage(text(frameOfSize(WebSocketTransport::maximumMessageSize + 1)));
    peer.socket->sendTextMessage(text(typingFrame(QStringLiteral("after"))));

    EXPECT_EQ(receive(*connection), typingFrame(QStringLiteral("before")));
    EXPECT_EQ(receive(*connection), atLimit);
    EXPECT_EQ(receive(*connection), std::unexpected(ChatError::unreachable()));
    EXPECT_EQ(receive(*connection), std::unexpected(ChatError::unreachable()));
    ASSERT_TRUE(waitUntil([&] { return peer.gone; }));
    EXPECT_EQ(peer.closeCode, QWebSocketProtocol::CloseCodeTooMuchData);

    Outcome<void> sent;
    connection->send(sendFrame(QStringLiteral("late")), sent.done());
    EXPECT_EQ(await(sent), std::unexpected(ChatError::unreachable()));
}

TEST_F(WebSocketTransportTest, CloseSendsNormalClosureAndFailsEverythingAfterIt) {
    auto connection = connect();
    ASSERT_TRUE(ping(*connection).has_value());
    auto& peer = server.waitForPeer();
    peer.socket->sendTextMessage(text(typingFrame(QStringLiteral("unread"))));
    ASSERT_TRUE(ping(*connection).has_value()); // the frame is buffered now

    Outcome<ServerFrame> pending; // waits on an empty inbox after the buffered frame is taken
    EXPECT_EQ(receive(*connection), typingFrame(QStringLiteral("unread")));
    connection->receive(pending.done());
    connection->close();
    connection->close();
    EXPECT_EQ(await(pending), std::unexpected(ChatError::notConnected()));
    ASSERT_TRUE(waitUntil([&] { return peer.gone; }));
    EXPECT_EQ(peer.closeCode, QWebSocketProtocol::CloseCodeNormal);

    Outcome<void> sent, pinged;
    connection->send(sendFrame(QStringLiteral("late")), sent.done());
    connection->ping(pinged.done());
    EXPECT_EQ(await(sent), std::unexpected(ChatError::notConnected()));
    EXPECT_EQ(await(pinged), std::unexpected(ChatError::notConnected()));
    EXPECT_EQ(receive(*connection), std::unexpected(ChatError::notConnected()));
}

TEST_F(WebSocketTransportTest, AServerThatVanishesMidRequestFailsTheWaitingCalls) {
    server.onText = [&](LoopbackServer::Peer&, const QString&) { server.vanish(); };
    auto connection = connect();
    Outcome<ServerFrame> reply;
    Outcome<void> sent;
    connection->receive(reply.done());
    connection->send(sendFrame(QStringLiteral("m1")), sent.done());
    EXPECT_TRUE(await(sent).has_value());
    EXPECT_EQ(await(reply), std::unexpected(ChatError::unreachable()));
    EXPECT_EQ(ping(*connection), std::unexpected(ChatError::unreachable()));
    EXPECT_EQ(receive(*connection), std::unexpected(ChatError::unreachable()));
}

TEST_F(WebSocketTransportTest, NothingListeningIsRevealedByTheFirstCalls) {
    quint16 port = 0;
    {
        QTcpServer probe; // a port that was free a moment ago and now has no listener
        ASSERT_TRUE(probe.listen(QHostAddress::LocalHost, 0));
        port = probe.serverPort();
    }
    auto connection = transport.connect(QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(port)));
    ASSERT_TRUE(connection.has_value());
    Outcome<void> sent;
    (*connection)->send(sendFrame(QStringLiteral("m1")), sent.done());
    EXPECT_EQ(await(sent), std::unexpected(ChatError::unreachable()));
    EXPECT_EQ(receive(**connection), std::unexpected(ChatError::unreachable()));
}

TEST_F(WebSocketTransportTest, DroppingAnOpenConnectionClosesItAndDropsPendingCompletions) {
    auto connection = connect();
    ASSERT_TRUE(ping(*connection).has_value());
    auto& peer = server.waitForPeer();
    peer.socket->sendTextMessage(text(typingFrame(QStringLiteral("never read"))));
    ASSERT_TRUE(ping(*connection).has_value());

    // The frame is waiting; this receive may even complete on the network thread before the drop,
    // but its completion must not run afterwards.
    Outcome<ServerFrame> dropped;
    connection->receive(dropped.done());
    connection.reset();
    ASSERT_TRUE(waitUntil([&] { return peer.gone; }));
    drainPosted();
    EXPECT_FALSE(dropped.arrived());
    EXPECT_EQ(peer.closeCode, QWebSocketProtocol::CloseCodeNormal);
}

TEST_F(WebSocketTransportTest, DroppingAConnectionStillHandshakingDoesNotHang) {
    for (int i = 0; i < 5; ++i) {
        auto connection = connect();
        Outcome<void> sent;
        connection->send(sendFrame(QStringLiteral("m")), sent.done());
        connection.reset();
        drainPosted();
        EXPECT_FALSE(sent.arrived());
    }
}

} // namespace
} // namespace brevio
