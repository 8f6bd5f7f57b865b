// End to end over a real WebSocket on the loopback address: the standalone listener in-process,
// the local server behind it, sessions on the WebSocket transport. Time-outs and back-off run on
// a manual clock; only the sockets are real, and waits on them have a generous safety limit.

#include "LocalWorld.h"
#include "ServerListener.h"
#include "transport/WebSocketTransport.h"

#include "support/EventLoopWait.h"

#include <QCoreApplication>

using namespace std::chrono_literals;

namespace brevio::test {
namespace {

class SessionWebSocketTest : public ::testing::Test {
protected:
    SessionWebSocketTest() : world(false), listener(*world.endpoint, world.clock) {}

    void SetUp() override {
        ASSERT_TRUE(listener.listen(QHostAddress::LocalHost, 0))
            << listener.errorString().toStdString();
        url = QUrl(QStringLiteral("ws://127.0.0.1:%1/ws").arg(listener.port()));
    }
    void TearDown() override {
        world.sessions.clear();
        listener.closeAll();
        waitUntil([&] { return listener.connectionCount() == 0; });
    }

    ChatSession& signIn(const QString& email) {
        ChatSession& session = world.make(&transport);
        Outcome<void> out;
        session.signIn(url, email, QString::fromLatin1(LocalServer::demoPassword), out.done());
        EXPECT_TRUE(waitUntil([&] { return out.arrived(); }));
        EXPECT_TRUE(out.result && out.result->has_value())
            << email.toStdString() << " "
            << (out.arrived() && !out.result->has_value()
                    ? out.result->error().description().toStdString()
                    : "");
        return session;
    }

    WebSocketTransport transport; // outlives the sessions in `world`
    LocalWorld world;
    ServerListener listener;
    QUrl url;
};

TEST_F(SessionWebSocketTest, TwoSessionsTalkAndSurviveTheServerDroppingEveryConnection) {
    ChatSession& staff = signIn(world.staff().email);
    ChatSession& client = signIn(world.clientAccount(0).email);
    ASSERT_TRUE(staff.status().isOnline());
    ASSERT_TRUE(client.status().isOnline());
    const QString conversation =
        directConversation(client.state(), *world.clientAccount(0).clientID);
    ASSERT_FALSE(conversation.isEmpty());

    client.send(conversation, "Ciao dalla rete vera");
    // The ack to the sender and the message to the other side travel on different sockets:
    // either may come first.
    ASSERT_TRUE(waitUntil([&] {
        return countText(messagesOf(staff, conversation), "Ciao dalla rete vera") == 1 &&
               client.state().outbox.isEmpty();
    }));

    // One message goes out just as the server drops everything: its ack may or may not come.
    staff.send(conversation, "Proprio mentre cade");
    world.endpoint->dropAll();
    ASSERT_TRUE(
        waitUntil([&] { return staff.status().isWaiting() && client.status().isWaiting(); }));
    // Written while disconnected.
    client.send(conversation, "Scritto offline dal cliente");
    staff.send(conversation, "Scritto offline dallo staff");

    // Time for the reconnect (at most 1.2 s after the failure).
    world.clock.advance(2s);
    ASSERT_TRUE(waitUntil([&] {
        return staff.status().isOnline() && client.status().isOnline() &&
               staff.state().outbox.isEmpty() && client.state().outbox.isEmpty();
    }));
    const QStringList texts = {"Proprio mentre cade", "Scritto offline dal cliente",
                               "Scritto offline dallo staff"};
    ASSERT_TRUE(waitUntil([&] {
        for (const QString& text : texts) {
            if (countText(messagesOf(staff, conversation), text) != 1 ||
                countText(messagesOf(client, conversation), text) != 1)
                return false;
        }
        return true;
    }));
    // Exactly once, and the two sides hold the same list.
    for (const QString& text : texts) {
        EXPECT_EQ(countText(messagesOf(staff, conversation), text), 1) << text.toStdString();
        EXPECT_EQ(countText(messagesOf(client, conversation), text), 1) << text.toStdString();
    }
    // Where the two lists overlap they agree. One side may hold fewer of the older messages: a
    // latest page asked for just before the drop is not asked again once live messages have
    // arrived, and older messages load on demand.
    const auto staffList = messagesOf(staff, conversation);
    const auto clientList = messagesOf(client, conversation);
    const qsizetype overlap = std::min(staffList.size(), clientList.size());
    ASSERT_GE(overlap, texts.size());
    for (qsizetype i = 1; i <= overlap; ++i)
        EXPECT_EQ(staffList[staffList.size() - i].id, clientList[clientList.size() - i].id);
}

TEST_F(SessionWebSocketTest, AnUnreachableServerIsReportedToTheSignIn) {
    listener.closeAll();
    waitUntil([&] { return listener.connectionCount() == 0; });
    ChatSession session(world.clock, transport, nullptr, testClient());
    // Nothing listens on this port any more.
    std::optional<std::expected<void, ChatError>> result;
    session.signIn(QUrl(QStringLiteral("ws://127.0.0.1:1/ws")), "a@b.it", "password1",
                   [&](std::expected<void, ChatError> r) { result = r; });
    ASSERT_TRUE(waitUntil([&] { return result.has_value(); }));
    EXPECT_EQ(*result, std::unexpected(ChatError::unreachable()));
    // A scheme the transport does not speak fails before any network activity.
    result.reset();
    session.signIn(QUrl(QStringLiteral("http://127.0.0.1/ws")), "a@b.it", "password1",
                   [&](std::expected<void, ChatError> r) { result = r; });
    ASSERT_TRUE(waitUntil([&] { return result.has_value(); }));
    EXPECT_EQ(*result, std::unexpected(ChatError::invalidServerAddress()));
}

} // namespace
} // namespace brevio::test
