// The real program against the real server: brevio-server on the loopback address, brevio in a
// window under Xvfb with a temporary home, our own notification server on a private session bus.
// A person signed in on the program gets a message from a client over a WebSocket; the program
// must raise a notification carrying it.

#include "endtoend/ServerProcess.h"
#include "notifier/FakeNotificationServer.h"
#include "session/ChatSession.h"
#include "session/FileSessionStore.h"
#include "support/EventLoopWait.h"
#include "support/Printing.h"
#include "support/TestClient.h"
#include "transport/WebSocketTransport.h"

#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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
    RealClock clock;
    WebSocketTransport transport;
    ChatSession session;
};

TEST(AppEndToEnd, AMessageFromAClientRaisesANotificationInTheRunningProgram) {
    FakeNotificationServer notifications(
        {QStringLiteral("body"), QStringLiteral("actions"), QStringLiteral("inline-reply")});
    ASSERT_TRUE(notifications.isRegistered()) << "no private session bus";

    ServerProcess server;
    ASSERT_TRUE(server.start({QStringLiteral("--no-auto-reply")})) << server.failure.toStdString();
    const auto staff = server.account(QStringLiteral("staff"));
    const auto client = server.account(QStringLiteral("client"));
    ASSERT_TRUE(staff && client);

    // The staff member signed in on this computer before: credentials and state are on disk in
    // the program's (temporary) home, as a sign-in through the window leaves them.
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    const QString dataHome = home.filePath(QStringLiteral("data"));
    {
        FileSessionStore store(dataHome + QStringLiteral("/Brevio"));
        Peer signedIn(server.url, *staff, &store);
        signedIn.session.flush();
    }

    QProcess brevio;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), home.path());
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dataHome);
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("BREVIO_PROBE"), QStringLiteral("1"));
    environment.remove(QStringLiteral("QT_QPA_PLATFORM")); // a real window on the X server
    brevio.setProcessEnvironment(environment);
    brevio.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    brevio.start(QStringLiteral(BREVIO_EXE), {});
    ASSERT_TRUE(brevio.waitForStarted(10000));
    QByteArray printed;
    QObject::connect(&brevio, &QProcess::readyReadStandardOutput,
                     [&] { printed += brevio.readAllStandardOutput(); });
    ASSERT_TRUE(waitUntil([&] { return printed.contains("frame staffHome"); }))
        << "the program never showed the signed-in home: " << printed.toStdString();

    Peer sender(server.url, *client);
    const QStringList conversations = sender.session.state().conversations.keys();
    ASSERT_EQ(conversations.size(), 1);
    const QString text = QStringLiteral("Buongiorno, la fattura è arrivata? 🙂");
    // The program may still be catching up with the server right after its first frame; send
    // once it is online, which it says by its second frame line.
    ASSERT_TRUE(waitUntil([&] { return printed.contains("online"); })) << printed.toStdString();
    sender.session.send(conversations.front(), text);

    ASSERT_TRUE(waitUntil([&] { return !notifications.callsFor(conversations.front()).isEmpty(); }))
        << "no notification; Notify calls: " << notifications.notifyCalls.size();
    const auto call = notifications.callsFor(conversations.front()).front();
    EXPECT_EQ(call.body, text);
    EXPECT_EQ(call.summary, sender.session.state().me->name);
    EXPECT_EQ(call.appName, QStringLiteral("Brevio"));

    brevio.terminate();
    EXPECT_TRUE(brevio.waitForFinished(10000));
    EXPECT_EQ(brevio.exitStatus(), QProcess::NormalExit);
}

} // namespace
} // namespace brevio::test
