// The listener in-process on an ephemeral port, with the chat server behind it, driven by real
// WebSocket clients over the loopback address.

#include "ServerListener.h"
#include "PeerConnection.h"
#include "WsTestClient.h"
#include "localserver/LocalServer.h"
#include "model/ManualClock.h"

#include <QTcpSocket>
#include <gtest/gtest.h>

using namespace brevio;
using namespace brevio::testing;

namespace {

ClientFrame sendFrame(const QString& id, const QString& conversationID, const QString& text) {
    SendRequest request;
    request.id = id;
    request.conversationID = conversationID;
    request.text = text;
    return ClientFrame::send(request);
}

class ServerListenerTest : public ::testing::Test {
protected:
    void SetUp() override {
        server.seedDemo();
        ASSERT_TRUE(listener.listen(QHostAddress::LocalHost, 0))
            << listener.errorString().toStdString();
        for (const auto& account : server.seededAccounts()) {
            if (account.role == Role::staff && !staff)
                staff = account;
            else if (account.role == Role::client)
                clients.push_back(account);
        }
        ASSERT_TRUE(staff);
        ASSERT_GE(clients.size(), 2);
        ASSERT_NE(clients[0].clientID, clients[1].clientID);
    }

    QUrl url(const QString& path = QStringLiteral("/ws")) const {
        return QUrl(QStringLiteral("ws://127.0.0.1:%1%2").arg(listener.port()).arg(path));
    }

    std::unique_ptr<WsTestClient> signedIn(const LocalServer::SeededAccount& account,
                                           Welcome* welcome = nullptr) {
        auto client = std::make_unique<WsTestClient>();
        EXPECT_TRUE(client->open(url()));
        auto w = client->login(account.email, QString::fromLatin1(LocalServer::demoPassword));
        EXPECT_TRUE(w) << "login failed for " << account.email.toStdString();
        if (w && welcome)
            *welcome = *w;
        return client;
    }

    static QString directConversation(const Welcome& welcome) {
        for (const auto& c : welcome.conversations) {
            if (c.kind == ConversationKind::direct && c.clientID == welcome.me.clientID)
                return c.id;
        }
        return {};
    }

    // Raw HTTP exchange: what the server answers to `request` before it closes the socket.
    QByteArray rawExchange(const QByteArray& request) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, listener.port());
        EXPECT_TRUE(waitFor([&] { return socket.state() == QAbstractSocket::ConnectedState; }));
        socket.write(request);
        QByteArray answer;
        waitFor([&] {
            answer += socket.readAll();
            return socket.state() == QAbstractSocket::UnconnectedState;
        });
        return answer + socket.readAll();
    }

    ManualClock clock;
    LocalServer server{LocalServer::Options{.autoReply = false}, clock};
    ServerListener listener{server, clock};
    std::optional<LocalServer::SeededAccount> staff;
    std::vector<LocalServer::SeededAccount> clients;
};

TEST_F(ServerListenerTest, SignInSendBroadcastAndHistory) {
    Welcome clientWelcome;
    auto client = signedIn(clients[0], &clientWelcome);
    auto staffer = signedIn(*staff);
    const QString conversationID = directConversation(clientWelcome);
    ASSERT_FALSE(conversationID.isEmpty());
    EXPECT_EQ(clientWelcome.me.email, clients[0].email);

    client->send(
        sendFrame(QStringLiteral("c-1"), conversationID, QStringLiteral("Buongiorno, è urgente")));
    const auto ack = client->takeReply(QStringLiteral("c-1"));
    ASSERT_TRUE(ack && ack->as<Ack>());
    const ChatMessage stored = ack->as<Ack>()->message;
    EXPECT_EQ(stored.text, QStringLiteral("Buongiorno, è urgente"));
    EXPECT_GT(stored.seq, 0);

    // The other side of the conversation receives the same stored message.
    const auto event = staffer->take([&](const ServerFrame& f) {
        return f.type == ServerFrame::Type::message &&
               f.as<MessageEvent>()->message.id == stored.id;
    });
    ASSERT_TRUE(event);
    EXPECT_EQ(event->as<MessageEvent>()->message, stored);

    staffer->send(ClientFrame::history(
        HistoryRequest{QStringLiteral("h-1"), conversationID, std::nullopt, std::nullopt, 5}));
    const auto page = staffer->takeReply(QStringLiteral("h-1"));
    ASSERT_TRUE(page && page->as<HistoryPage>());
    ASSERT_FALSE(page->as<HistoryPage>()->messages.isEmpty());
    EXPECT_EQ(page->as<HistoryPage>()->messages.last(), stored);
    EXPECT_LE(page->as<HistoryPage>()->messages.size(), 5);
}

TEST_F(ServerListenerTest, ClientsOfDifferentCompaniesSeeNothingOfEachOther) {
    Welcome welcomeA, welcomeB;
    auto a = signedIn(clients[0], &welcomeA);
    auto b = signedIn(clients[1], &welcomeB);
    const QString conversationA = directConversation(welcomeA);
    ASSERT_FALSE(conversationA.isEmpty());
    for (const auto& c : welcomeB.conversations)
        EXPECT_NE(c.id, conversationA);
    for (const auto& u : welcomeB.users) {
        if (u.id != welcomeB.me.id) {
            EXPECT_FALSE(u.email) << "B sees the e-mail of " << u.id.toStdString();
        }
    }

    const QString secret = QStringLiteral("solo per la ditta A");
    a->send(sendFrame(QStringLiteral("a-1"), conversationA, secret));
    ASSERT_TRUE(a->takeReply(QStringLiteral("a-1")));

    // B asks for A's conversation: refused. Its reply comes after anything the server queued for
    // B while handling A's message, so B's frames are complete for the check below.
    b->send(ClientFrame::history(
        HistoryRequest{QStringLiteral("b-1"), conversationA, std::nullopt, std::nullopt, 50}));
    const auto refusal = b->takeReply(QStringLiteral("b-1"));
    ASSERT_TRUE(refusal && refusal->as<ServerError>());
    EXPECT_EQ(refusal->as<ServerError>()->code, QStringLiteral("forbidden"));
    for (const auto& frame : b->frames) {
        const std::string text = wire::encode(frame);
        EXPECT_EQ(text.find(secret.toStdString()), std::string::npos) << text;
        EXPECT_EQ(text.find(conversationA.toStdString()), std::string::npos) << text;
    }
}

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
    const std::string login = wire::encode(ClientFrame::login(LoginRequest{
        staff->email, QString::fromLatin1(LocalServer::demoPassword), testClientInfo()}));
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
    ASSERT_TRUE(waitFor([&] { return listener.connectionCount() == 2; }));
    exact.insert(head.size(), 'a');
    tooBig.socket.sendTextMessage(QString::fromLatin1(exact));
    ASSERT_TRUE(tooBig.waitClosed());
    EXPECT_EQ(tooBig.closeCode, QWebSocketProtocol::CloseCodeTooMuchData);
    EXPECT_TRUE(waitFor([&] { return listener.connectionCount() == 1; }));
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
    EXPECT_TRUE(waitFor([&] { return listener.connectionCount() == 1; }));
}

TEST_F(ServerListenerTest, SilentConnectionIsDroppedAfterTheRequestTimeout) {
    const int timersBefore = clock.pendingTimers();
    QTcpSocket silent;
    silent.connectToHost(QHostAddress::LocalHost, listener.port());
    // The listener arms its timer once it has accepted the socket.
    ASSERT_TRUE(waitFor([&] { return clock.pendingTimers() == timersBefore + 1; }));
    clock.advance(ServerListener::requestTimeout - Duration(1));
    EXPECT_EQ(silent.state(), QAbstractSocket::ConnectedState);
    clock.advance(Duration(1));
    EXPECT_TRUE(waitFor([&] { return silent.state() == QAbstractSocket::UnconnectedState; }));
}

TEST_F(ServerListenerTest, CloseAllEndsEveryConnectionNormally) {
    auto first = signedIn(clients[0]);
    auto second = signedIn(*staff);
    bool allClosed = false;
    QObject::connect(&listener, &ServerListener::allClosed, [&] { allClosed = true; });
    listener.closeAll();
    ASSERT_TRUE(first->waitClosed());
    ASSERT_TRUE(second->waitClosed());
    EXPECT_EQ(first->closeCode, QWebSocketProtocol::CloseCodeNormal);
    EXPECT_EQ(second->closeCode, QWebSocketProtocol::CloseCodeNormal);
    EXPECT_TRUE(waitFor([&] { return allClosed; }));
    EXPECT_EQ(listener.connectionCount(), 0);

    // No longer accepting.
    WsTestClient late;
    late.socket.open(url());
    EXPECT_TRUE(late.waitClosed());
}

} // namespace
