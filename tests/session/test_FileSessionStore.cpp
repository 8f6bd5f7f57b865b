// The file store: file names, permissions, atomic rewrites, unreadable files, and two users
// sharing one machine.

#include "FakeTransport.h"
#include "SessionHarness.h"
#include "session/FileSessionStore.h"

#include "support/EventLoopWait.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QThread>
#include <sys/stat.h>

using namespace std::chrono_literals;

namespace brevio::test {
namespace {

mode_t modeOf(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return 0;
    return info.st_mode & 07777;
}

void writeRaw(const QString& path, const QByteArray& data) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(data);
}

ChatState sampleState(const QDateTime& now) {
    ChatState state;
    state.applyWelcome(sampleWelcome());
    state.insert(message("c1", 1, "u-client1", "Buongiorno, àèìòù €", now));
    state.insert(message("c1", 2, staffID, "Salve", now));
    state.appendPending({"p-1", "c2", "in uscita", now, std::nullopt, 1});
    state.setOnline("u-client1", true); // never written
    return state;
}

// A temporary folder, and a scripted server that welcomes every sign-in and resume with `welcome`.
class FileSessionStoreTest : public ::testing::Test {
protected:
    FileSessionStoreTest() {
        transport.script = [this](FakeConnection& c, const ClientFrame& frame) {
            if (frame.type == ClientFrame::Type::login || frame.type == ClientFrame::Type::resume)
                c.push(ServerFrame::welcome(welcome));
        };
    }
    QString dir() const { return root.path() + "/dati/Brevio"; }
    void signIn(ChatSession& session) {
        bool done = false;
        session.signIn(serverURL, "x@y.it", "password1", [&](auto r) { done = r.has_value(); });
        ASSERT_TRUE(waitUntil([&] { return done; }));
    }

    QTemporaryDir root;
    ManualClock clock;
    FakeTransport transport;
    Welcome welcome = sampleWelcome();
};

TEST_F(FileSessionStoreTest, FileNamesUseTheSafeUserID) {
    EXPECT_EQ(FileSessionStore::safeUserID("u-123"), "u-123");
    EXPECT_EQ(FileSessionStore::safeUserID("../../etc/passwd"), "etcpasswd");
    EXPECT_EQ(FileSessionStore::safeUserID("Zoë_Ünal 7"), "ZoëÜnal7");
    EXPECT_EQ(FileSessionStore::safeUserID(QString::fromUtf8("用户😀-𝟘")),
              QString::fromUtf8("用户-𝟘"));
    FileSessionStore store(dir());
    EXPECT_EQ(store.statePath("///"), dir() + "/chat-.json");
    EXPECT_EQ(store.credentialsPath(), dir() + "/sessione.json");
}

TEST_F(FileSessionStoreTest, CredentialsRoundTripAndDelete) {
    FileSessionStore store(dir());
    EXPECT_FALSE(store.loadCredentials()); // no folder yet
    const SessionCredentials credentials{QUrl("wss://chat.example.test:8443/ws"), "tok-èé", "u-1"};
    store.saveCredentials(credentials);
    EXPECT_EQ(store.loadCredentials(), credentials);
    store.deleteCredentials();
    EXPECT_FALSE(store.loadCredentials());
    store.deleteCredentials(); // deleting what is not there is not an error
}

TEST_F(FileSessionStoreTest, EveryWriteLeavesTheFile0600AndTheFolder0700) {
    // Everything exists already with wider rights.
    ASSERT_TRUE(QDir().mkpath(dir()));
    ASSERT_EQ(::chmod(QFile::encodeName(dir()).constData(), 0755), 0);
    FileSessionStore store(dir());
    writeRaw(store.credentialsPath(), "{}");
    writeRaw(store.statePath("u-1"), "{}");
    ASSERT_EQ(::chmod(QFile::encodeName(store.credentialsPath()).constData(), 0644), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(store.statePath("u-1")).constData(), 0666), 0);

    store.saveCredentials({QUrl("wss://a.test/ws"), "t", "u-1"});
    store.saveState(sampleState(QDateTime::currentDateTimeUtc()), "u-1");
    store.flush();
    EXPECT_EQ(modeOf(dir()), 0700u);
    EXPECT_EQ(modeOf(store.credentialsPath()), 0600u);
    EXPECT_EQ(modeOf(store.statePath("u-1")), 0600u);
    // Nothing but the two files is left behind (no temporary files).
    EXPECT_EQ(QDir(dir()).entryList(QDir::Files | QDir::Hidden).size(), 2);

    // A fresh folder, intermediate ones included, is created private.
    FileSessionStore fresh(root.path() + "/nuova/cartella");
    fresh.saveCredentials({QUrl("wss://a.test/ws"), "t", "u-1"});
    fresh.flush();
    EXPECT_EQ(modeOf(root.path() + "/nuova"), 0700u);
    EXPECT_EQ(modeOf(root.path() + "/nuova/cartella"), 0700u);
    EXPECT_EQ(modeOf(fresh.credentialsPath()), 0600u);
}

TEST_F(FileSessionStoreTest, UnreadableFilesReadAsNothing) {
    FileSessionStore store(dir());
    store.saveCredentials({QUrl("wss://a.test/ws"), "t", "u-1"});
    store.flush(); // the folder exists from here on
    const QByteArray broken[] = {
        "",
        "{",
        "[]",
        "null",
        "{\"server\":\"wss://a.test/ws\",\"token\":\"t\"}",
        "{\"server\":42,\"token\":\"t\",\"userID\":\"u\"}",
        "{\"server\":\"non un indirizzo\",\"token\":\"t\",\"userID\":\"u\"}",
        "\xff\xfe\x00garbage"};
    for (const QByteArray& data : broken) {
        writeRaw(store.credentialsPath(), data);
        EXPECT_FALSE(store.loadCredentials()) << data.toStdString();
    }
    const QByteArray brokenStates[] = {"", "{\"messages\":", "{\"outbox\":[{\"clientID\":1}]}",
                                       "{\"me\":{\"id\":\"x\"}}", "[1,2,3]"};
    for (const QByteArray& data : brokenStates) {
        writeRaw(store.statePath("u-1"), data);
        EXPECT_FALSE(store.loadState("u-1")) << data.toStdString();
    }
    EXPECT_FALSE(store.loadState("nessuno"));
}

TEST_F(FileSessionStoreTest, StateRoundTripsAndLaterSavesWin) {
    FileSessionStore store(dir());
    const ChatState state =
        sampleState(QDateTime(QDate(2025, 3, 14), QTime(9, 26, 53, 589), Qt::UTC));
    ChatState later = state;
    // Enough messages that the file is written in several parts.
    for (int seq = 3; seq < 3000; ++seq)
        later.insert(message("c1", seq, "u-client1", "messaggio " + QString::number(seq),
                             QDateTime::currentDateTimeUtc()));
    store.saveState(state, "u-1");
    store.saveState(later, "u-1");
    store.flush();
    const std::optional<ChatState> loaded = store.loadState("u-1");
    ASSERT_TRUE(loaded);
    ChatState expected = later.trimmed(10'000); // what a file can hold: no presence
    EXPECT_EQ(*loaded, expected);
    EXPECT_TRUE(loaded->online.isEmpty());
}

TEST_F(FileSessionStoreTest, TheOutboxFileIsNewerThanTheStatesOutbox) {
    FileSessionStore store(dir());
    std::vector<StorageProblem> problems;
    store.setProblemHandler([&](const StorageProblem& p) { problems.push_back(p); });
    const QDateTime now = QDateTime::currentDateTimeUtc();
    store.saveState(sampleState(now), "u-1"); // its outbox holds "p-1"
    const PendingMessage later{"p-2", "c1", "dopo", now, QStringLiteral("Scaduto"), std::nullopt};
    store.saveOutbox({later}, "u-1");
    store.flush();
    EXPECT_EQ(modeOf(store.outboxPath("u-1")), 0600u);
    EXPECT_EQ(store.loadState("u-1")->outbox, QList<PendingMessage>{later});
    store.saveOutbox({}, "u-1");
    EXPECT_TRUE(store.loadState("u-1")->outbox.isEmpty());

    // An outbox file that cannot be read leaves the state's own copy, and says so.
    writeRaw(store.outboxPath("u-1"), "[{\"clientID\":");
    EXPECT_EQ(store.loadState("u-1")->outbox.size(), 1);
    ASSERT_TRUE(waitUntil([&] { return !problems.empty(); }));
    EXPECT_EQ(problems[0].kind, StorageProblem::Kind::unreadableOutbox);
    EXPECT_EQ(problems[0].path, store.outboxPath("u-1"));

    store.deleteState("u-1");
    store.flush();
    EXPECT_FALSE(QFile::exists(store.statePath("u-1")));
    EXPECT_FALSE(QFile::exists(store.outboxPath("u-1")));
}

TEST_F(FileSessionStoreTest, AnAsynchronousLoadAnswersLaterOnTheCallersThread) {
    FileSessionStore store(dir());
    store.saveState(sampleState(QDateTime::currentDateTimeUtc()), "u-1");
    int calls = 0;
    std::optional<ChatState> loaded;
    QThread* thread = nullptr;
    store.loadStateAsync("u-1", [&](std::optional<ChatState> state) {
        ++calls;
        loaded = std::move(state);
        thread = QThread::currentThread();
    });
    EXPECT_EQ(calls, 0);
    ASSERT_TRUE(waitUntil([&] { return calls == 1; }));
    EXPECT_EQ(thread, QThread::currentThread());
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->messages.value("c1").size(), 2);

    int missing = 0;
    store.loadStateAsync("u-2",
                         [&](std::optional<ChatState> state) { missing += state ? 100 : 1; });
    ASSERT_TRUE(waitUntil([&] { return missing != 0; }));
    EXPECT_EQ(missing, 1);
}

// Sessions on one machine share the folder; a user's sign-out touches only that user's file.
TEST_F(FileSessionStoreTest, TwoUsersKeepTwoFilesAndSigningOutOneRemovesOnlyItsOwn) {
    FileSessionStore store(dir());
    ChatSession a(clock, transport, &store, testClient());
    ChatSession b(clock, transport, &store, testClient());
    signIn(a);
    welcome.me.id = "u-client1";
    welcome.me.role = Role::client;
    welcome.token = "token-2";
    signIn(b);
    clock.advance(2s); // the saves after the attaches
    store.flush();
    ASSERT_TRUE(QFile::exists(store.statePath(staffID)));
    ASSERT_TRUE(QFile::exists(store.statePath("u-client1")));
    EXPECT_EQ(store.loadCredentials()->userID, "u-client1");

    a.signOutNow(SignOutReason::userRequested, false);
    store.flush();
    EXPECT_FALSE(QFile::exists(store.statePath(staffID)));
    EXPECT_TRUE(QFile::exists(store.statePath("u-client1")));
    EXPECT_EQ(store.loadState("u-client1")->me->id, "u-client1");
    pump();
}

// The user's sign-out reports done only when nothing of the user is left on disk, and a save that
// was pending cannot bring the state file back.
TEST_F(FileSessionStoreTest, SignOutIsDoneOnlyOnceTheFilesAreGone) {
    FileSessionStore store(dir());
    ChatSession session(clock, transport, &store, testClient());
    signIn(session);
    clock.advance(2s);
    session.send("c1", "in uscita");
    store.flush();
    const QString files[] = {store.statePath(staffID), store.outboxPath(staffID),
                             store.credentialsPath()};
    for (const QString& file : files)
        ASSERT_TRUE(QFile::exists(file)) << file.toStdString();
    transport.last().push(ServerFrame::read({"c1", "u-client1", 1})); // a save is pending now
    pump();

    QSemaphore gate;
    store.post([&] { gate.acquire(); }); // the store is busy
    int calls = 0;
    bool goneWhenDone = false;
    session.signOut([&](auto) {
        ++calls;
        goneWhenDone = std::none_of(std::begin(files), std::end(files),
                                    [](const QString& f) { return QFile::exists(f); });
    });
    ASSERT_TRUE(waitUntil([&] { return session.phase().isSignedOut(); }));
    pump();
    EXPECT_EQ(calls, 0);
    gate.release();
    ASSERT_TRUE(waitUntil([&] { return calls == 1; }));
    EXPECT_TRUE(goneWhenDone);

    clock.advance(10s);
    pump();
    store.flush();
    for (const QString& file : files)
        EXPECT_FALSE(QFile::exists(file)) << file.toStdString();
}

TEST_F(FileSessionStoreTest, ACorruptStateFileIsReportedAndTheSessionStartsEmpty) {
    FileSessionStore store(dir());
    store.saveCredentials({serverURL, "t", staffID});
    store.flush();
    writeRaw(store.statePath(staffID), "{\"me\": {\"id\": ");
    ChatSession session(clock, transport, &store, testClient());
    int changes = 0;
    QObject::connect(&session, &ChatSession::storageProblemChanged, [&] { ++changes; });
    session.restore();
    ASSERT_TRUE(waitUntil([&] { return session.status().isOnline(); }));
    ASSERT_TRUE(waitUntil([&] { return changes > 0; }));
    EXPECT_EQ(session.storageProblem()->kind, StorageProblem::Kind::unreadableState);
    EXPECT_EQ(session.storageProblem()->path, store.statePath(staffID));
    EXPECT_FALSE(session.storageProblem()->detail.isEmpty());
    EXPECT_EQ(session.state().conversations.size(), 3); // from the welcome alone
}

TEST_F(FileSessionStoreTest, AFolderThatCannotBeWrittenIsReported) {
    writeRaw(root.path() + "/file", "not a folder");
    FileSessionStore store(root.path() + "/file/Brevio");
    ChatSession session(clock, transport, &store, testClient());
    signIn(session);
    ASSERT_TRUE(waitUntil([&] { return session.storageProblem().has_value(); }));
    EXPECT_EQ(session.storageProblem()->kind, StorageProblem::Kind::writeFailed);
    EXPECT_TRUE(session.status().isOnline());
    // The messages still go out.
    session.send("c1", "comunque");
    pump();
    EXPECT_EQ(transport.last().sentOf(ClientFrame::Type::send).size(), 1u);
}

TEST_F(FileSessionStoreTest, ACorruptCredentialsFileLeavesTheSessionSignedOut) {
    FileSessionStore store(dir());
    store.saveCredentials({serverURL, "t", staffID});
    store.flush();
    writeRaw(store.credentialsPath(), "{\"server\": \"wss://a.test/ws\", \"tok");
    ChatSession session(clock, transport, &store, testClient());
    session.restore();
    EXPECT_TRUE(session.phase().isSignedOut());
    EXPECT_TRUE(transport.connections.empty());
}

TEST_F(FileSessionStoreTest, FlushWritesStateAndCredentialsBeforeItReturns) {
    FileSessionStore store(dir());
    ChatSession session(clock, transport, &store, testClient());
    signIn(session);
    session.send("c1", "da non perdere"); // offline or not, it is in the outbox now
    session.flush();
    // No debounce, no waiting: a second store on the same folder sees it at once.
    FileSessionStore reader(dir());
    const auto saved = reader.loadState(staffID);
    ASSERT_TRUE(saved);
    ASSERT_EQ(saved->outbox.size(), 1);
    EXPECT_EQ(saved->outbox.first().text, "da non perdere");
    EXPECT_EQ(reader.loadCredentials()->token, "token-1");
    pump();
}

} // namespace
} // namespace brevio::test
