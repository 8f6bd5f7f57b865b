// The listener in-process on an ephemeral port, with the chat server behind it, driven by real
// WebSocket clients over the loopback address.

#include "PeerConnection.h"
#include "ServerListener.h"
#include "WsTestClient.h"
#include "localserver/LocalServer.h"
#include "model/ManualClock.h"

#include <QTcpSocket>
#include <gtest/gtest.h>

using namespace brevio;
using namespace brevio::test;

namespace {

class ServerListenerTest : public ::testing::Test {
protected:
    void SetUp() override {
        server.seedDemo();
        ASSERT_TRUE(listener.listen(QHostAddress::LocalHost, 0))
            << listener.errorString().toStdString();
        for (const auto& account : server.seededAccounts()) {
            if (account.role == Role::staff && !staff)
                staff = account;
            else if (account.role == Role::client && !clientAccount)
                clientAccount = account;
        }
        ASSERT_TRUE(staff && clientAccount);
    }

    QUrl url(const QString& path = QStringLiteral("/ws")) const {
        return QUrl(QStringLiteral("ws://127.0.0.1:%1%2").arg(listener.port()).arg(path));
    }

    std::unique_ptr<WsTestClient> signedIn(const LocalServer::SeededAccount& account) {
        auto socket = std::make_unique<WsTestClient>();
        EXPECT_TRUE(socket->open(url()));
        EXPECT_TRUE(socket->login(account.email, QString::fromLatin1(LocalServer::demoPassword)))
            << "login failed for " << account.email.toStdString();
        return socket;
    }

    // Raw HTTP exchange: what the server answers to `request` before it closes the socket.
    QByteArray rawExchange(const QByteArray& request) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, listener.port());
        EXPECT_TRUE(waitUntil([&] { return socket.state() == QAbstractSocket::ConnectedState; }));
        socket.write(request);
        QByteArray answer;
        waitUntil([&] {
            answer += socket.readAll();
            return socket.state() == QAbstractSocket::UnconnectedState;
        });
        return answer + socket.readAll();
    }

    ManualClock clock;
    LocalServer server{LocalServer::Options{.autoReply = false}, clock};
    ServerListener listener{server, clock};
    std::optional<LocalServer::SeededAccount> staff;
    std::optional<LocalServer::SeededAccount> clientAccount;
};

TEST_F(ServerListenerTest, MalformedFramesAreRefusedAndTheConnectionStaysUsable) {
    WsTestClient client;
    ASSERT_TRUE(client.open(url()));

    struct Case {
        QString text;
        std::optional<QString> replyTo;
        QString messagePart;
    };
    const std::vector<Case> cases = {
        {QStringLiteral("{\"type\":\"send\",\"id\":\"r-1\",\"conversationID\":5,\"text\":\"x\"}"),
         QStringLiteral("r-1"),
         {}},
        {QStringLiteral("{\"type\":\"poll\",\"id\":\"r-2\"}"), QStringLiteral("r-2"),
         QStringLiteral("Tipo sconosciuto: poll")},
        {QStringLiteral("{\"type\":\"history\",\"id\":\"r-3\"}"), QStringLiteral("r-3"), {}},
        {QStringLiteral("{\"type\":\"send\",\"id\":7}"), std::nullopt, {}},
        {QStringLiteral("{not json"), std::nullopt, {}},
        {QStringLiteral("[1,2,3]"), std::nullopt, {}},
        {QString(), std::nullopt, {}},
    };
    for (const auto& c : cases) {
        client.socket.sendTextMessage(c.text);
        const auto error = client.takeType(ServerFrame::Type::error);
        ASSERT_TRUE(error) << c.text.toStdString();
        const ServerError* e = error->as<ServerError>();
        EXPECT_EQ(e->code, QStringLiteral("bad_request")) << c.text.toStdString();
        EXPECT_EQ(e->replyTo, c.replyTo) << c.text.toStdString();
        if (!c.messagePart.isEmpty()) {
            EXPECT_TRUE(e->message && e->message->contains(c.messagePart));
        }
    }
    EXPECT_FALSE(client.closed);

    // Still usable, also with a binary message.
    const std::string login = wire::encode(ClientFrame::login(
        LoginRequest{staff->email, QString::fromLatin1(LocalServer::demoPassword), testClient()}));
    client.socket.sendBinaryMessage(QByteArray::fromStdString(login));
    EXPECT_TRUE(client.takeType(ServerFrame::Type::welcome));
    EXPECT_TRUE(client.undecodable.isEmpty());
}

TEST_F(ServerListenerTest, MessageSizeLimit) {
    // Exactly 4 MiB is still read and answered (here: not signed in yet).
    const QByteArray head = R"({"type":"send","id":"big","conversationID":"c","text":")";
    const QByteArray tail = R"("})";
    QByteArray exact =
        head + QByteArray(PeerConnection::maxMessageSize - head.size() - tail.size(), 'a') + tail;
    ASSERT_EQ(exact.size(), 4 * 1024 * 1024);
    WsTestClient fits;
    ASSERT_TRUE(fits.open(url()));
    fits.socket.sendTextMessage(QString::fromLatin1(exact));
    const auto reply = fits.takeReply(QStringLiteral("big"));
    ASSERT_TRUE(reply && reply->as<ServerError>());
    EXPECT_EQ(reply->as<ServerError>()->code, QStringLiteral("not_authenticated"));
    EXPECT_FALSE(fits.closed);

    // One byte more closes the connection with 1009, and the peer is gone from the server.
    WsTestClient tooBig;
    ASSERT_TRUE(tooBig.open(url()));
    ASSERT_TRUE(waitUntil([&] { return listener.connectionCount() == 2; }));
    exact.insert(head.size(), 'a');
    tooBig.socket.sendTextMessage(QString::fromLatin1(exact));
    ASSERT_TRUE(tooBig.waitClosed());
    EXPECT_EQ(tooBig.closeCode, QWebSocketProtocol::CloseCodeTooMuchData);
    EXPECT_TRUE(waitUntil([&] { return listener.connectionCount() == 1; }));
    EXPECT_FALSE(fits.closed);
}

TEST_F(ServerListenerTest, OnlyTheWebSocketPathIsServed) {
    const QByteArray upgrade = "Host: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                               "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                               "Sec-WebSocket-Version: 13\r\n\r\n";
    EXPECT_TRUE(rawExchange("GET /chat HTTP/1.1\r\n" + upgrade).startsWith("HTTP/1.1 404"));
    EXPECT_TRUE(rawExchange("GET /ws/extra HTTP/1.1\r\n" + upgrade).startsWith("HTTP/1.1 404"));
    EXPECT_TRUE(rawExchange("GET / HTTP/1.1\r\n" + upgrade).startsWith("HTTP/1.1 404"));
    EXPECT_TRUE(rawExchange("hello\r\n\r\n").startsWith("HTTP/1.1 400"));
    EXPECT_TRUE(rawExchange("POST /ws HTTP/1.1\r\n" + upgrade).startsWith("HTTP/1.1 405"));
    EXPECT_TRUE(
        rawExchange(QByteArray(ServerListener::maxRequestLine, 'x')).startsWith("HTTP/1.1 414"));

    WsTestClient wrong;
    wrong.socket.open(url(QStringLiteral("/chat")));
    EXPECT_TRUE(wrong.waitClosed());
    EXPECT_EQ(listener.connectionCount(), 0);

    // A query after the path is fine.
    WsTestClient withQuery;
    EXPECT_TRUE(withQuery.open(url(QStringLiteral("/ws?v=3"))));
    EXPECT_TRUE(waitUntil([&] { return listener.connectionCount() == 1; }));
}

TEST_F(ServerListenerTest, SilentConnectionIsDroppedAfterTheRequestTimeout) {
    const int timersBefore = clock.pendingTimers();
    QTcpSocket silent;
    silent.connectToHost(QHostAddress::LocalHost, listener.port());
    // The listener arms its timer once it has accepted the socket.
    ASSERT_TRUE(waitUntil([&] { return clock.pendingTimers() == timersBefore + 1; }));
    clock.advance(ServerListener::requestTimeout - Duration(1));
    EXPECT_EQ(silent.state(), QAbstractSocket::ConnectedState);
    clock.advance(Duration(1));
    EXPECT_TRUE(waitUntil([&] { return silent.state() == QAbstractSocket::UnconnectedState; }));
}

TEST_F(ServerListenerTest, CloseAllEndsEveryConnectionNormally) {
    auto first = signedIn(*clientAccount);
    auto second = signedIn(*staff);
    bool allClosed = false;
    QObject::connect(&listener, &ServerListener::allClosed, [&] { allClosed = true; });
    listener.closeAll();
    ASSERT_TRUE(first->waitClosed());
    ASSERT_TRUE(second->waitClosed());
    EXPECT_EQ(first->closeCode, QWebSocketProtocol::CloseCodeNormal);
    EXPECT_EQ(second->closeCode, QWebSocketProtocol::CloseCodeNormal);
    EXPECT_TRUE(waitUntil([&] { return allClosed; }));
    EXPECT_EQ(listener.connectionCount(), 0);

    // No longer accepting.
    WsTestClient late;
    late.socket.open(url());
    EXPECT_TRUE(late.waitClosed());
}

} // namespace
