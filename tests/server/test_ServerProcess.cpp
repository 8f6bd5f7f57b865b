// brevio-server as a program: its printed address and accounts, sign-in with the stored
// memory-hard hashes, the command-line errors, and an orderly end on SIGTERM and SIGINT.

#include "WsTestClient.h"
#include "localserver/LocalServer.h"
#include "model/ManualClock.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <csignal>
#include <gtest/gtest.h>

using namespace brevio;
using namespace brevio::test;

namespace {

const QString serverProgram = QStringLiteral(BREVIO_SERVER_EXE);

struct RunningServer {
    QProcess process;
    QUrl url;
    QStringList accountLines;

    bool start(const QStringList& arguments, int expectedAccounts) {
        process.start(serverProgram, arguments);
        if (!process.waitForStarted())
            return false;
        QStringList lines;
        const bool complete = waitUntil([&] {
            while (process.canReadLine())
                lines << QString::fromUtf8(process.readLine()).trimmed();
            return lines.size() >= 1 + expectedAccounts || process.state() == QProcess::NotRunning;
        });
        if (!complete || lines.isEmpty())
            return false;
        url = QUrl(lines.takeFirst());
        accountLines = lines;
        return true;
    }

    bool stop(int signalNumber) {
        ::kill(static_cast<pid_t>(process.processId()), signalNumber);
        return waitUntil([&] { return process.state() == QProcess::NotRunning; });
    }

    ~RunningServer() {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
        }
    }
};

TEST(ServerProcessTest, PrintsAddressAndAccountsServesThemAndEndsNormallyOnSigterm) {
    // The seed is deterministic in its accounts: read them from a server of our own.
    ManualClock clock;
    LocalServer reference({}, clock);
    reference.seedDemo();
    const auto accounts = reference.seededAccounts();
    ASSERT_FALSE(accounts.isEmpty());

    RunningServer server;
    ASSERT_TRUE(server.start({"--listen", "127.0.0.1:0", "--no-auto-reply"}, int(accounts.size())));
    static const QRegularExpression address(QStringLiteral(R"(^ws://127\.0\.0\.1:(\d+)/ws$)"));
    const auto match = address.match(server.url.toString());
    ASSERT_TRUE(match.hasMatch()) << server.url.toString().toStdString();
    EXPECT_NE(match.captured(1).toInt(), 0);

    ASSERT_EQ(server.accountLines.size(), accounts.size());
    for (qsizetype i = 0; i < accounts.size(); ++i)
        EXPECT_EQ(
            server.accountLines[i],
            QStringLiteral("%1 %2 corda5678")
                .arg(accounts[i].email, accounts[i].role == Role::staff ? "staff" : "client"));

    WsTestClient staff;
    ASSERT_TRUE(staff.open(server.url));
    EXPECT_TRUE(staff.login(accounts[0].email, QStringLiteral("corda5678")));
    WsTestClient wrongPassword;
    ASSERT_TRUE(wrongPassword.open(server.url));
    wrongPassword.send(ClientFrame::login(
        LoginRequest{accounts[0].email, QStringLiteral("corda5679"), testClient()}));
    const auto refusal = wrongPassword.takeType(ServerFrame::Type::error);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->as<ServerError>()->code, QStringLiteral("invalid_credentials"));

    ASSERT_TRUE(server.stop(SIGTERM));
    EXPECT_EQ(server.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(server.process.exitCode(), 0);
    ASSERT_TRUE(staff.waitClosed());
    ASSERT_TRUE(wrongPassword.waitClosed());
    EXPECT_EQ(staff.closeCode, QWebSocketProtocol::CloseCodeNormal);
    EXPECT_EQ(wrongPassword.closeCode, QWebSocketProtocol::CloseCodeNormal);
}

TEST(ServerProcessTest, EmptySeedPrintsOnlyTheAddressAndSigintEndsIt) {
    RunningServer server;
    ASSERT_TRUE(server.start({"--listen", "127.0.0.1:0", "--seed", "none"}, 0));
    EXPECT_TRUE(server.url.isValid());
    WsTestClient client;
    ASSERT_TRUE(client.open(server.url));
    ASSERT_TRUE(server.stop(SIGINT));
    EXPECT_EQ(server.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(server.process.exitCode(), 0);
    EXPECT_TRUE(server.process.readAllStandardOutput().trimmed().isEmpty());
    ASSERT_TRUE(client.waitClosed());
    EXPECT_EQ(client.closeCode, QWebSocketProtocol::CloseCodeNormal);
}

TEST(ServerProcessTest, CommandLineErrorsAndHelp) {
    QProcess bad;
    bad.start(serverProgram, {"--listen", "nowhere"});
    ASSERT_TRUE(bad.waitForFinished(20000));
    EXPECT_EQ(bad.exitCode(), 2);
    const QString error = QString::fromUtf8(bad.readAllStandardError());
    EXPECT_EQ(error.count(u'\n'), 1) << error.toStdString();
    EXPECT_TRUE(error.contains(QStringLiteral("--listen")));
    EXPECT_TRUE(bad.readAllStandardOutput().isEmpty());

    QProcess help;
    help.start(serverProgram, {"--help"});
    ASSERT_TRUE(help.waitForFinished(20000));
    EXPECT_EQ(help.exitCode(), 0);
    const QString usage = QString::fromUtf8(help.readAllStandardOutput());
    for (const char* option :
         {"--listen", "--seed", "--min-build", "--no-auto-reply", "--invite-lifetime"})
        EXPECT_TRUE(usage.contains(QString::fromUtf8(option))) << option;

    // A port that is taken: a clear error, not a silent exit.
    QTcpServer occupier;
    ASSERT_TRUE(occupier.listen(QHostAddress::LocalHost, 0));
    QProcess busy;
    busy.start(
        serverProgram,
        {"--listen", QStringLiteral("127.0.0.1:%1").arg(occupier.serverPort()), "--seed", "none"});
    ASSERT_TRUE(busy.waitForFinished(20000));
    EXPECT_NE(busy.exitCode(), 0);
    EXPECT_TRUE(busy.readAllStandardError().contains("cannot listen"));
}

} // namespace
