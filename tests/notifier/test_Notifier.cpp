#include "FakeNotificationServer.h"
#include "shell/platform/Notifier.h"
#include "support/EventLoopWait.h"

#include <QCoreApplication>
#include <QHash>
#include <QThread>
#include <gtest/gtest.h>
#include <memory>

using brevio::Notifier;
using brevio::test::BusConnection;
using brevio::test::FakeNotificationServer;
using brevio::test::waitUntil;
using State = brevio::Notifier::ServerState;

namespace {

const QStringList kPlain{QStringLiteral("actions"), QStringLiteral("body")};
const QStringList kWithReply{QStringLiteral("actions"), QStringLiteral("body"),
                             QStringLiteral("inline-reply")};

class NotifierTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(
            client.bus().connect(QString(), QStringLiteral("/org/freedesktop/Notifications"),
                                 QStringLiteral("org.freedesktop.Notifications"),
                                 QStringLiteral("Ping"), &pings, SLOT(record(QDBusMessage))));
    }

    void TearDown() override {
        notifier.reset();
        server.reset();
    }

    void startServer(const QStringList& capabilities) {
        server = std::make_unique<FakeNotificationServer>(capabilities);
        ASSERT_TRUE(server->isRegistered());
    }

    void makeNotifier() {
        notifier = std::make_unique<Notifier>(
            client.bus(), [this](const QString& key) { return preferences.value(key); });
        notifier->onOpen = [this](const QString& conversationID) {
            onMainThread = onMainThread && QThread::currentThread() == qApp->thread();
            opened.append(conversationID);
        };
        notifier->onReply = [this](const QString& conversationID, const QString& text) {
            onMainThread = onMainThread && QThread::currentThread() == qApp->thread();
            replies.append({conversationID, text});
        };
    }

    // A Notifier over its own connection, activated, with its first capabilities read.
    void startNotifier() {
        makeNotifier();
        notifier->activate();
        ASSERT_TRUE(waitUntil([&] { return notifier->serverState() != State::Unknown; }));
    }

    // Waits until the server has got `count` Notify calls and the Notifier has their answers, and
    // returns the last call.
    FakeNotificationServer::NotifyCall waitForNotify(qsizetype count) {
        EXPECT_TRUE(waitUntil([&] { return server->notifyCalls.size() >= count; }));
        settle();
        EXPECT_EQ(server->notifyCalls.size(), count);
        return server->notifyCalls.value(count - 1);
    }

    // The server's signals travel behind its answers on one connection, and the client's
    // connection hands both to this thread in order of arrival.
    void settle() {
        const auto before = pings.messages.size();
        Q_EMIT server->Ping();
        EXPECT_TRUE(waitUntil([&] { return pings.messages.size() > before; }));
    }

    void notify(const QString& conversationID, const QString& body = QStringLiteral("Ciao")) {
        notifier->notify(QStringLiteral("Anna"), std::nullopt, body, conversationID);
    }

    BusConnection client;
    brevio::test::MessageRecorder pings;
    QHash<QString, QVariant> preferences;
    std::unique_ptr<FakeNotificationServer> server;
    std::unique_ptr<Notifier> notifier;
    QStringList opened;
    QList<std::pair<QString, QString>> replies;
    bool onMainThread = true;
};

TEST_F(NotifierTest, WithNothingStoredTheTextIsShownWithSoundAndOnlyTheOpenAction) {
    startServer(kPlain);
    startNotifier();
    EXPECT_EQ(notifier->serverState(), State::Available);
    EXPECT_FALSE(notifier->canReplyInline());

    notify(QStringLiteral("c1"), QStringLiteral("Ci vediamo <alle 3> & poi"));
    const auto call = waitForNotify(1);
    EXPECT_EQ(call.appName, "Brevio");
    EXPECT_EQ(call.appIcon, "brevio");
    EXPECT_EQ(call.summary, "Anna");
    EXPECT_EQ(call.body, "Ci vediamo <alle 3> & poi"); // no "body-markup": nothing escaped
    EXPECT_EQ(call.replacesID, 0u);
    EXPECT_EQ(call.expireTimeout, -1);
    EXPECT_EQ(call.actions, QStringList({"default", "Apri"}));
    EXPECT_EQ(call.hints.value("sound-name").toString(), "message-new-instant");
    EXPECT_FALSE(call.hints.contains("suppress-sound"));
    EXPECT_EQ(call.hints.value("desktop-entry").toString(), "brevio");
    EXPECT_EQ(call.hints.value("category").toString(), "im.received");
    EXPECT_EQ(call.hints.value("x-brevio-conversation").toString(), "c1");
    EXPECT_FALSE(call.hints.contains("x-kde-reply-placeholder-text"));
}

TEST_F(NotifierTest, PreferencesAreReadAtEveryNotification) {
    startServer(kPlain);
    startNotifier();

    // Preview off: the text goes, title and subtitle stay.
    preferences["notificationPreview"] = false;
    notifier->notify("Anna", QStringLiteral("Gruppo Ufficio"), "Il codice è 1234", "c1");
    auto call = waitForNotify(1);
    EXPECT_EQ(call.summary, "Anna");
    EXPECT_EQ(call.body, "Gruppo Ufficio\nNuovo messaggio");

    // Sound off, as QSettings reads it back from its file: a string.
    preferences["notificationPreview"] = true;
    preferences["notificationSound"] = QStringLiteral("false");
    notifier->notify("Anna", QStringLiteral("Gruppo Ufficio"), "Il codice è 1234", "c2");
    call = waitForNotify(2);
    EXPECT_EQ(call.body, "Gruppo Ufficio\nIl codice è 1234");
    EXPECT_TRUE(call.hints.value("suppress-sound").toBool());
    EXPECT_FALSE(call.hints.contains("sound-name"));

    preferences["notificationsEnabled"] = false;
    notify("c3");
    preferences["notificationsEnabled"] = true;
    notify("c4");
    // Calls arrive in order: had c3 been sent, it would be the third.
    EXPECT_EQ(waitForNotify(3).hints.value("x-brevio-conversation").toString(), "c4");
}

TEST_F(NotifierTest, MarkupServersGetTheTextEscaped) {
    startServer({"body", "body-markup"});
    startNotifier();
    notifier->notify("Anna", QStringLiteral("<Soci> & co"), "a < b", "c1");
    EXPECT_EQ(waitForNotify(1).body, "&lt;Soci&gt; &amp; co\na &lt; b");
}

TEST_F(NotifierTest, NotificationsMadeWhileCapabilitiesAreReadWaitForThem) {
    startServer(kWithReply);
    notifier = std::make_unique<Notifier>(client.bus(), nullptr);
    notify("early"); // not active yet: dropped
    notifier->activate();
    ASSERT_TRUE(notifier->isActive());
    notify("c1"); // the capabilities cannot have been answered yet
    const auto call = waitForNotify(1);
    EXPECT_EQ(call.hints.value("x-brevio-conversation").toString(), "c1");
    EXPECT_EQ(call.actions, QStringList({"default", "Apri", "inline-reply", "Rispondi"}));
    EXPECT_EQ(call.hints.value("x-kde-reply-placeholder-text").toString(), "Scrivi una risposta");
    EXPECT_EQ(call.hints.value("x-kde-reply-submit-button-text").toString(), "Invia");
}

TEST_F(NotifierTest, ClicksAndRepliesReachTheirConversationOnce) {
    startServer(kWithReply);
    startNotifier();
    notifier->activate(); // a second time: no second subscription
    EXPECT_TRUE(notifier->canReplyInline());
    notify("A");
    const uint a = waitForNotify(1).id;
    notify("B"); // B is now the newer one
    const uint b = waitForNotify(2).id;
    EXPECT_EQ(server->capabilityCalls, 1);

    Q_EMIT server->ActionInvoked(a, "inline-reply"); // the text follows separately
    Q_EMIT server->NotificationReplied(a, "Arrivo subito");
    ASSERT_TRUE(waitUntil([&] { return !replies.isEmpty(); }));
    EXPECT_EQ(replies, (QList<std::pair<QString, QString>>{{"A", "Arrivo subito"}}));

    Q_EMIT server->ActionInvoked(b + 100, "default"); // not ours
    Q_EMIT server->NotificationReplied(b + 100, "altro");
    Q_EMIT server->ActionInvoked(b, "other");
    Q_EMIT server->ActionInvoked(b, "default");
    Q_EMIT server->ActionInvoked(a, "default");
    // Signals arrive in order: A's click comes last, so everything before it has been handled.
    ASSERT_TRUE(waitUntil([&] { return opened.contains("A"); }));
    EXPECT_EQ(opened, QStringList({"B", "A"}));
    EXPECT_EQ(replies.size(), 1);
    EXPECT_TRUE(onMainThread);
}

TEST_F(NotifierTest, ANewerNotificationReplacesTheConversationsPrevious) {
    startServer(kPlain);
    startNotifier();
    notify("A", "1");
    const uint first = waitForNotify(1).id;
    notify("A", "2");
    EXPECT_EQ(waitForNotify(2).replacesID, first);

    // The second is made before the first's id has come back.
    notify("B", "1");
    notify("B", "2");
    ASSERT_TRUE(waitUntil([&] { return server->callsFor("B").size() == 2; }));
    auto calls = server->callsFor("B");
    EXPECT_EQ(calls[1].replacesID, calls[0].id);

    // Three at once: the middle one would be replaced before anyone saw it, so it never goes.
    notify("C", "1");
    notify("C", "2");
    notify("C", "3");
    ASSERT_TRUE(waitUntil([&] {
        const auto calls = server->callsFor("C");
        return !calls.isEmpty() && calls.last().body == "3";
    }));
    settle();
    calls = server->callsFor("C");
    ASSERT_EQ(calls.size(), 2);
    EXPECT_EQ(calls[0].body, "1");
    EXPECT_EQ(calls[1].replacesID, calls[0].id);
    EXPECT_EQ(server->shown.size(), 3); // one each for A, B and C
    EXPECT_TRUE(server->closeCalls.isEmpty());
}

TEST_F(NotifierTest, AClosedNotificationIsForgotten) {
    startServer(kPlain);
    startNotifier();
    notify("A");
    const uint a = waitForNotify(1).id;
    notify("B");
    const uint b = waitForNotify(2).id;

    server->dismiss(a);
    Q_EMIT server->ActionInvoked(a, "default");
    Q_EMIT server->ActionInvoked(b, "default");
    ASSERT_TRUE(waitUntil([&] { return !opened.isEmpty(); }));
    EXPECT_EQ(opened, QStringList({"B"}));

    notify("A"); // a fresh one, not a replacement of a notification that is gone
    EXPECT_EQ(waitForNotify(3).replacesID, 0u);
}

TEST_F(NotifierTest, WithdrawClosesExactlyThatConversation) {
    startServer(kPlain);
    startNotifier();
    notify("A");
    const uint a = waitForNotify(1).id;
    notify("B");
    const uint b = waitForNotify(2).id;

    notifier->withdraw("A");
    notifier->withdraw("nessuna");
    notifier->withdraw("B");
    ASSERT_TRUE(waitUntil([&] { return server->closeCalls.size() >= 2; }));
    EXPECT_EQ(server->closeCalls, QList<uint>({a, b}));

    // Withdrawn before its id is known: closed when the id comes.
    notify("C");
    notifier->withdraw("C");
    ASSERT_TRUE(waitUntil([&] { return server->closeCalls.size() >= 3; }));
    EXPECT_EQ(server->closeCalls[2], server->callsFor("C").value(0).id);

    // Withdrawn, then notified again, all before the first id is known.
    notify("D", "1");
    notifier->withdraw("D");
    notify("D", "2");
    ASSERT_TRUE(waitUntil([&] { return server->callsFor("D").size() == 2; }));
    const auto calls = server->callsFor("D");
    EXPECT_EQ(server->closeCalls.value(3), calls[0].id);
    EXPECT_EQ(calls[1].body, "2");
    EXPECT_EQ(calls[1].replacesID, 0u);
    EXPECT_EQ(server->shown, QSet<uint>({calls[1].id}));
}

TEST_F(NotifierTest, WithoutAServerNothingIsPostedUntilOneAppears) {
    makeNotifier();
    notifier->activate();
    notify("early"); // made while the failing capabilities call is under way
    ASSERT_TRUE(waitUntil([&] { return notifier->serverState() == State::Missing; }));
    notify("A");
    notifier->withdraw("A");

    startServer(kPlain);
    ASSERT_TRUE(waitUntil([&] { return notifier->serverState() == State::Available; }));
    notify("B");
    EXPECT_EQ(waitForNotify(1).hints.value("x-brevio-conversation").toString(), "B");
}

TEST_F(NotifierTest, ARestartedServerKnowsNoneOfTheOldIds) {
    startServer(kWithReply);
    startNotifier();
    notify("A");
    waitForNotify(1);

    server.reset();
    ASSERT_TRUE(waitUntil([&] { return notifier->serverState() == State::Missing; }));
    EXPECT_FALSE(notifier->canReplyInline());
    startServer(kPlain);
    ASSERT_TRUE(waitUntil([&] { return notifier->serverState() == State::Available; }));
    EXPECT_FALSE(notifier->canReplyInline());
    notify("A");
    const auto call = waitForNotify(1);
    EXPECT_EQ(call.replacesID, 0u);
    EXPECT_EQ(call.actions, QStringList({"default", "Apri"}));
}

} // namespace
