// The real program against the real server: brevio-server on the loopback address, brevio in a
// window under Xvfb with a temporary home, our own notification server (and, where it matters, our
// own tray) on a private session bus. Clients are sessions of the test over a WebSocket.
//
// The window is driven through the program's test driver (BREVIO_TEST_DRIVER): clicks and keys go
// through the window to whatever the scene has there, and the screens are read by objectName.
// Accessibility over AT-SPI would read the same tree through another bus and a registry daemon,
// with more to start and more to time out; the driver answers each command in the program's own
// event loop, so every step is over when its answer comes and waits never guess.

#include "appendtoend/AppProcess.h"
#include "appendtoend/TrayHost.h"
#include "endtoend/LoopbackRelay.h"
#include "endtoend/ServerProcess.h"
#include "notifier/FakeNotificationServer.h"
#include "session/ChatSession.h"
#include "session/FileSessionStore.h"
#include "support/EventLoopWait.h"
#include "support/Printing.h"
#include "support/TestClient.h"
#include "transport/WebSocketTransport.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <iostream>

namespace brevio::test {
namespace {

// A session of the test's own over a real WebSocket, signed in as a seeded account.
struct Peer {
    Peer(const QUrl& server, const ServerProcess::Account& account, SessionStore* store = nullptr)
        : session(clock, transport, store, testClient(), SessionSettings{}) {
        bool done = false;
        session.signIn(server, account.email, account.password,
                       [&](std::expected<void, ChatError> result) {
                           EXPECT_TRUE(result.has_value())
                               << (result ? "" : result.error().description().toStdString());
                           done = true;
                       });
        EXPECT_TRUE(waitUntil([&] { return done; }));
    }

    // The one conversation a client of a company has.
    QString onlyConversation() const {
        const QStringList conversations = session.state().conversations.keys();
        EXPECT_EQ(conversations.size(), 1);
        return conversations.value(0);
    }
    // Loaded messages of the conversation with this text.
    QList<ChatMessage> withText(const QString& conversationID, const QString& text) const {
        QList<ChatMessage> found;
        for (const ChatMessage& message : session.state().messages.value(conversationID))
            if (message.text == text)
                found << message;
        return found;
    }

    RealClock clock;
    WebSocketTransport transport;
    ChatSession session;
};

// Credentials and state on disk in the program's home, as a sign-in through the window leaves
// them; for the cases about something else than signing in.
void signInBefore(const QString& dataFolder, const QUrl& server,
                  const ServerProcess::Account& account) {
    FileSessionStore store(dataFolder);
    Peer signedIn(server, account, &store);
    signedIn.session.flush();
}

std::string describe(const std::expected<QJsonValue, QString>& answer) {
    return answer ? std::string("ok") : answer.error().toStdString();
}

class AppEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(notifications.isRegistered()) << "no private session bus";
        ASSERT_TRUE(home.isValid());
        ASSERT_TRUE(server.start({QStringLiteral("--no-auto-reply")}))
            << server.failure.toStdString();
        const auto staffAccount = server.account(QStringLiteral("staff"));
        const auto clientAccount = server.account(QStringLiteral("client"));
        ASSERT_TRUE(staffAccount && clientAccount);
        staff = *staffAccount;
        client = *clientAccount;
    }

    FakeNotificationServer notifications{
        {QStringLiteral("body"), QStringLiteral("actions"), QStringLiteral("inline-reply")}};
    ServerProcess server;
    QTemporaryDir home;
    ServerProcess::Account staff;
    ServerProcess::Account client;
};

// The whole path of a staff member: signing in through the window, a client's message on the list
// and as a notification, the answer typed into the notification, and the window closed while the
// tray keeps Brevio running.
TEST_F(AppEndToEnd, SignInThroughTheWindowAnswerFromTheNotificationAndKeepRunningInTheTray) {
    TrayHost tray;
    ASSERT_TRUE(tray.isRegistered());
    AppProcess brevio(home.path());
    ASSERT_TRUE(brevio.start()) << brevio.failure.toStdString();
    ASSERT_TRUE(brevio.waitForLine("frame login")) << brevio.printed.toStdString();

    // The server's address goes into the advanced options over the address already there.
    ASSERT_TRUE(brevio.click(QStringLiteral("advancedToggle")));
    const QString serverField = QStringLiteral("serverField.input");
    const auto typedServer = brevio.key(serverField, QStringLiteral("Ctrl+A"));
    ASSERT_TRUE(typedServer) << describe(typedServer);
    ASSERT_TRUE(brevio.type(serverField, server.url.toString()));
    EXPECT_EQ(brevio.get(serverField, QStringLiteral("text")).value_or(QJsonValue()),
              server.url.toString());
    ASSERT_TRUE(brevio.type(QStringLiteral("emailField.input"), staff.email));
    ASSERT_TRUE(brevio.type(QStringLiteral("passwordField.input"), staff.password));
    const auto submitted = brevio.click(QStringLiteral("submitButton"));
    ASSERT_TRUE(submitted) << describe(submitted);
    ASSERT_TRUE(brevio.waitForLine("frame staffHome"))
        << "not signed in: "
        << brevio.shownTexts(QStringLiteral("errorLabel")).join(u' ').toStdString()
        << brevio.printed.toStdString();
    ASSERT_TRUE(brevio.waitForLine("online")) << brevio.printed.toStdString();
    // What it signed in with is kept: the next start needs no sign-in.
    EXPECT_TRUE(QFile::exists(brevio.dataFolder() + QStringLiteral("/sessione.json")));
    ASSERT_TRUE(waitUntil([&] { return !tray.items().isEmpty(); }))
        << "the icon never registered with the tray";

    Peer sender(server.url, client);
    const QString conversation = sender.onlyConversation();
    const QString question = QStringLiteral("Buongiorno, la fattura è arrivata? 🙂");
    sender.session.send(conversation, question);
    EXPECT_TRUE(brevio.waitForShownText(QStringLiteral("rowPreview"), question))
        << brevio.shownTexts(QStringLiteral("rowPreview")).join(u'\n').toStdString();
    ASSERT_TRUE(waitUntil([&] { return !notifications.callsFor(conversation).isEmpty(); }))
        << "no notification; Notify calls: " << notifications.notifyCalls.size();
    const auto shown = notifications.callsFor(conversation).back();
    EXPECT_EQ(shown.body, question);
    EXPECT_EQ(shown.summary, sender.session.state().me->name);
    EXPECT_EQ(shown.appName, QStringLiteral("Brevio"));
    ASSERT_TRUE(shown.actions.contains(QStringLiteral("inline-reply")));

    // The answer typed into the notification reaches the client, from someone else.
    const QString answer = QStringLiteral("Sì, arrivata ieri. Grazie!");
    Q_EMIT notifications.NotificationReplied(shown.id, answer);
    ASSERT_TRUE(waitUntil([&] { return !sender.withText(conversation, answer).isEmpty(); }))
        << "the client never got the answer";
    const auto answered = sender.withText(conversation, answer);
    EXPECT_EQ(answered.size(), 1);
    EXPECT_NE(answered.front().authorID, sender.session.state().me->id);

    // Closed with the icon in the tray: Brevio stays, connected, and still notifies.
    ASSERT_TRUE(brevio.ask({{QStringLiteral("cmd"), QStringLiteral("close")}}));
    ASSERT_TRUE(waitUntil([&] {
        return brevio.get({}, QStringLiteral("visible")).value_or(true) == QJsonValue(false);
    })) << "the window did not close";
    const qsizetype before = notifications.callsFor(conversation).size();
    const QString later = QStringLiteral("Un'ultima cosa: serve anche il DDT.");
    sender.session.send(conversation, later);
    ASSERT_TRUE(waitUntil([&] { return notifications.callsFor(conversation).size() > before; }))
        << "no notification with the window closed; running: " << brevio.isRunning();
    EXPECT_EQ(notifications.callsFor(conversation).back().body, later);
    EXPECT_TRUE(brevio.isRunning());

    brevio.terminate();
    ASSERT_TRUE(brevio.waitForExit());
    EXPECT_EQ(brevio.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(brevio.exitCode(), 0);
}

TEST_F(AppEndToEnd, WithoutATrayClosingTheWindowQuitsCleanly) {
    AppProcess brevio(home.path());
    signInBefore(brevio.dataFolder(), server.url, staff);
    ASSERT_TRUE(brevio.start()) << brevio.failure.toStdString();
    ASSERT_TRUE(brevio.waitForLine("frame staffHome")) << brevio.printed.toStdString();
    ASSERT_TRUE(brevio.waitForLine("online")) << brevio.printed.toStdString();

    ASSERT_TRUE(brevio.ask({{QStringLiteral("cmd"), QStringLiteral("close")}}));
    ASSERT_TRUE(brevio.waitForExit()) << "still running with no tray to come back from";
    EXPECT_EQ(brevio.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(brevio.exitCode(), 0);
}

// Killed without warning and started again on the same home: the conversation is still there, and
// a message typed while the network was gone waited in the outbox on disk and goes out once.
TEST_F(AppEndToEnd, AfterSigkillTheConversationAndTheMessageTypedOfflineSurvive) {
    LoopbackRelay relay; // between the program and the server, to cut
    ASSERT_TRUE(relay.listen(quint16(server.url.port())));
    QUrl throughRelay = server.url;
    throughRelay.setPort(relay.port());

    auto brevio = std::make_unique<AppProcess>(home.path());
    signInBefore(brevio->dataFolder(), throughRelay, staff);
    Peer sender(server.url, client);
    const QString conversation = sender.onlyConversation();
    const QString earlier =
        QStringLiteral("Vi mando l'ordine di marzo."); // ASCII: found as is on disk
    sender.session.send(conversation, earlier);

    ASSERT_TRUE(brevio->start()) << brevio->failure.toStdString();
    ASSERT_TRUE(brevio->waitForLine("frame staffHome")) << brevio->printed.toStdString();
    ASSERT_TRUE(brevio->waitForShownText(QStringLiteral("rowPreview"), earlier));
    ASSERT_TRUE(brevio->click(QStringLiteral("rowPreview"), earlier));
    ASSERT_TRUE(brevio->waitForShownText(QStringLiteral("messageBubble"), earlier));

    relay.cut();
    // The banner above the composer says the connection is lost.
    ASSERT_TRUE(waitUntil([&] {
        return brevio->get(QStringLiteral("connectionBanner"), QStringLiteral("shown"))
                   .value_or(false) == QJsonValue(true);
    })) << "the program never noticed the lost connection";
    const QString offline = QStringLiteral("Ricevuto, lo giro al magazzino.");
    const auto typed = brevio->type(QStringLiteral("composerField"), offline);
    ASSERT_TRUE(typed) << describe(typed);
    ASSERT_TRUE(brevio->key(QStringLiteral("composerField"), QStringLiteral("Return")));
    EXPECT_TRUE(brevio->waitForShownText(QStringLiteral("messageBubble"), offline))
        << "shown: " << brevio->shownTexts(QStringLiteral("messageBubble")).join(u'|').toStdString()
        << "; driver: " << brevio->lastError.toStdString();
    ASSERT_TRUE(waitUntil([&] { return brevio->savedOutbox().contains(offline); }))
        << "the outbox on disk never held the message";

    // The received message had reached the saved state too (it is written a second after a
    // change): what the restart shows comes from the disk.
    ASSERT_TRUE(waitUntil([&] { return brevio->savedState().contains(earlier.toUtf8()); }))
        << "saved: " << QDir(brevio->dataFolder()).entryList(QDir::Files).join(u' ').toStdString();

    brevio->kill();
    EXPECT_EQ(brevio->savedOutbox(), QStringList{offline});
    // What the killed program left in its runtime folder, for whoever reads the log.
    std::cout << "left in the runtime folder: "
              << QDir(home.filePath(QStringLiteral("runtime")))
                     .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                     .join(u' ')
                     .toStdString()
              << std::endl;
    EXPECT_TRUE(sender.withText(conversation, offline).isEmpty());

    // The same home again, still without network: the conversation and the waiting message are
    // shown from the disk. Whatever the killed program left (its sockets included) must not stop
    // this one.
    brevio = std::make_unique<AppProcess>(home.path());
    ASSERT_TRUE(brevio->start()) << brevio->failure.toStdString();
    ASSERT_TRUE(brevio->waitForLine("frame staffHome")) << brevio->printed.toStdString();
    // The conversation's row shows its last message, or the one waiting to go.
    QString preview;
    ASSERT_TRUE(waitUntil([&] {
        const QStringList previews = brevio->shownTexts(QStringLiteral("rowPreview"));
        for (const QString& text : {offline, earlier})
            if (previews.contains(text))
                preview = text;
        return !preview.isEmpty();
    })) << brevio->shownTexts(QStringLiteral("rowPreview")).join(u'\n').toStdString();
    ASSERT_TRUE(brevio->click(QStringLiteral("rowPreview"), preview));
    EXPECT_TRUE(brevio->waitForShownText(QStringLiteral("messageBubble"), earlier));
    EXPECT_TRUE(brevio->waitForShownText(QStringLiteral("messageBubble"), offline));
    relay.restore();

    // Delivered once: when the outbox on disk is empty the server has acknowledged it, and both
    // the live copy the client got and a fresh read of the conversation hold it once.
    ASSERT_TRUE(waitUntil([&] { return !sender.withText(conversation, offline).isEmpty(); }))
        << "the message typed offline never arrived";
    ASSERT_TRUE(waitUntil([&] { return brevio->savedOutbox().isEmpty(); }))
        << "the outbox never emptied";
    EXPECT_EQ(sender.withText(conversation, offline).size(), 1);
    Peer reader(server.url, client);
    ASSERT_TRUE(waitUntil([&] { return !reader.withText(conversation, earlier).isEmpty(); }));
    EXPECT_EQ(reader.withText(conversation, offline).size(), 1);

    brevio->terminate();
    ASSERT_TRUE(brevio->waitForExit());
    EXPECT_EQ(brevio->exitCode(), 0);
}

} // namespace
} // namespace brevio::test
