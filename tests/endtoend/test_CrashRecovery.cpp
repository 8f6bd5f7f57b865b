// A real session in a child process writes into a conversation on the real server program while
// a second party talks back; the child is killed with SIGKILL at random moments and restarted on
// the same data folder. Every other run also loses its network for a while before the kill, so
// that what it writes can only wait in its outbox. At the end the server must hold every message
// written well before its writer's kill, once each and in writing order.

#include "endtoend/CrashVerdict.h"
#include "endtoend/LoopbackRelay.h"
#include "endtoend/ServerProcess.h"
#include "endtoend/WriterProcess.h"
#include "model/SystemRandom.h"
#include "server/WsTestClient.h"

#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>
#include <iostream>
#include <random>

using namespace std::chrono_literals;

namespace brevio::test {
namespace {

// Far above the time an outbox entry may stay only in memory, so a loaded machine cannot turn
// a slow disk into a failure; figures for the real margins are printed.
constexpr Duration requiredMargin = 500ms;
// How often the other party writes into the conversation.
constexpr Duration staffInterval = 300ms;

struct Scenario {
    int rounds = 0;
    // How long a run writes online, then (every other run) how long it writes with its network
    // cut, before it is killed; each drawn from its range.
    std::pair<int, int> onlineMs;
    std::pair<int, int> outageMs;
    // Restore the network, stop writing and wait for every acknowledgement before each kill:
    // nothing may be lost then.
    bool killAfterAcks = false;
    Duration margin = requiredMargin;
};

unsigned seedFromEnvironment() {
    bool ok = false;
    const unsigned seed = qEnvironmentVariable("BREVIO_CRASH_SEED").toUInt(&ok);
    return ok ? seed : 20261123u;
}

class CrashRecoveryTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dataHome.isValid());
        ASSERT_TRUE(server.start({"--no-auto-reply"})) << server.failure.toStdString();
        ASSERT_TRUE(relay.listen(quint16(server.url.port())));
        writerServer = server.url;
        writerServer.setPort(relay.port());
        const auto staffAccount = server.account(QStringLiteral("staff"));
        const auto writerAccount = server.account(QStringLiteral("client"));
        ASSERT_TRUE(staffAccount && writerAccount);
        writerEmail = writerAccount->email;
        writerPassword = writerAccount->password;

        ASSERT_TRUE(staff.open(server.url));
        const auto welcome = staff.login(staffAccount->email, staffAccount->password);
        ASSERT_TRUE(welcome);
        std::optional<QString> writerCompany;
        for (const User& user : welcome->users) {
            if (user.email == writerEmail) {
                writerID = user.id;
                writerCompany = user.clientID;
            }
        }
        ASSERT_TRUE(writerCompany) << "no company for " << writerEmail.toStdString();
        for (const Conversation& conversation : welcome->conversations)
            if (conversation.kind == ConversationKind::direct &&
                conversation.clientID == writerCompany) {
                conversationID = conversation.id;
                seededUpTo = conversation.lastSeq;
            }
        ASSERT_FALSE(conversationID.isEmpty());

        environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
            environment.insert(QString::fromLatin1(name), dataHome.path());
    }

    // The other party: a message into the writer's conversation every few hundred milliseconds.
    void startStaffTraffic() {
        QObject::connect(&staffTimer, &QTimer::timeout, [this] {
            staff.send(
                ClientFrame::send({SystemRandom::uuid(), conversationID,
                                   QStringLiteral("staff-%1").arg(++staffSent), std::nullopt}));
        });
        staffTimer.start(staffInterval);
    }

    std::unique_ptr<WriterProcess> startWriter(int run, bool paused) {
        QStringList arguments{"--data",         dataHome.filePath(QStringLiteral("Brevio")),
                              "--server",       writerServer.toString(),
                              "--email",        writerEmail,
                              "--password",     writerPassword,
                              "--run",          QString::number(run),
                              "--conversation", conversationID};
        if (paused)
            arguments << QStringLiteral("--paused");
        auto writer = std::make_unique<WriterProcess>();
        writer->start(arguments, environment);
        return writer;
    }

    // The writer's texts as the server holds them, in seq order, read page by page (the seeded
    // story of the conversation is not the writer's).
    std::optional<QStringList> writerTextsOnServer() {
        QStringList texts;
        qint64 after = seededUpTo;
        for (;;) {
            const QString id = SystemRandom::uuid();
            staff.send(ClientFrame::history({id, conversationID, after, std::nullopt, 100}));
            const auto reply = staff.takeReply(id);
            const auto* page = reply ? reply->as<HistoryPage>() : nullptr;
            if (!page)
                return std::nullopt;
            for (const ChatMessage& message : page->messages) {
                after = message.seq;
                if (message.authorID == writerID)
                    texts << message.text;
            }
            if (!page->hasMore || page->messages.isEmpty())
                return texts;
        }
    }

    void run(const Scenario& scenario) {
        const unsigned seed = seedFromEnvironment();
        std::cout << "seed " << seed << " (BREVIO_CRASH_SEED)\n";
        std::mt19937 random(seed);
        std::uniform_int_distribution<int> onlineLength(scenario.onlineMs.first,
                                                        scenario.onlineMs.second);
        std::uniform_int_distribution<int> outageLength(scenario.outageMs.first,
                                                        scenario.outageMs.second);
        // The round's own length, not a verdict: the limit only guards against a hang.
        const auto pass = [](int ms, const WriterProcess& writer) {
            const qint64 until = monotonicNowMs() + ms;
            waitUntil([&] { return monotonicNowMs() >= until || !writer.isRunning(); },
                      std::chrono::milliseconds(ms) + 10s);
        };
        startStaffTraffic();

        QList<WriterRun> runs;
        for (int round = 1; round <= scenario.rounds; ++round) {
            const auto writer = startWriter(round, false);
            ASSERT_TRUE(writer->waitReady()) << writer->transcript().toStdString();
            // Each restart must find the credentials the first run saved.
            EXPECT_EQ(writer->resumed, round > 1);
            pass(onlineLength(random), *writer);
            if (round % 2 == 0) {
                relay.cut();
                const int outage = outageLength(random);
                std::cout << "run " << round << ": network cut " << outage << " ms before the "
                          << (scenario.killAfterAcks ? "acknowledgements" : "kill") << "\n";
                pass(outage, *writer);
            }
            ASSERT_TRUE(writer->isRunning()) << writer->transcript().toStdString();
            if (scenario.killAfterAcks) {
                relay.restore();
                writer->pause();
                ASSERT_TRUE(writer->waitOutboxEmpty()) << writer->transcript().toStdString();
            }
            WriterRun written{QString::number(round), {}, writer->kill(), 0};
            relay.restore();
            written.written = writer->sent;
            written.acked = int(writer->acked.size());
            ASSERT_FALSE(written.written.isEmpty()) << writer->transcript().toStdString();
            EXPECT_TRUE(writer->failed.isEmpty()) << writer->failed.join(u'\n').toStdString();
            runs << written;
        }

        // Once more, without writing: whatever it kept goes out now.
        const auto last = startWriter(scenario.rounds + 1, true);
        ASSERT_TRUE(last->waitReady()) << last->transcript().toStdString();
        const bool drained = last->waitOutboxEmpty();
        last->kill();
        runs << WriterRun{
            QString::number(scenario.rounds + 1), {}, std::nullopt, int(last->acked.size())};
        EXPECT_TRUE(drained) << "the restarted writer's outbox never emptied\n"
                             << last->transcript().toStdString();
        staffTimer.stop();

        const auto arrived = writerTextsOnServer();
        ASSERT_TRUE(arrived) << "no history from the server";
        const CrashVerdict verdict = judgeCrashRuns(runs, *arrived, scenario.margin);
        std::cout << "required: every message written at least " << scenario.margin.count()
                  << " ms before its kill\n"
                  << verdict.report().toStdString() << std::flush;
        EXPECT_TRUE(verdict.passed());
    }

    QTemporaryDir dataHome;
    ServerProcess server;
    LoopbackRelay relay; // between the writer and the server
    QUrl writerServer;
    test::WsTestClient staff;
    QTimer staffTimer;
    int staffSent = 0;
    QString writerEmail;
    QString writerPassword;
    QString writerID;
    QString conversationID;
    qint64 seededUpTo = 0;
    QProcessEnvironment environment;
};

TEST_F(CrashRecoveryTest, MessagesWrittenWellBeforeEachKillArriveOnceAndInOrder) {
    run({7, {1000, 3000}, {800, 2000}, false, requiredMargin});
}

// The same harness with kills that come only after every acknowledgement: nothing may be missing,
// so a fault of the harness itself (reading the output, the kills, the outage, the history pages)
// shows here.
TEST_F(CrashRecoveryTest, KillsAfterEveryAcknowledgementLoseNothing) {
    run({3, {1000, 2000}, {800, 1500}, true, 0ms});
}

} // namespace
} // namespace brevio::test
