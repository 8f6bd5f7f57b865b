// One program per data folder: the running one answers on its socket, a later start hands over
// its arguments; leftovers of a killed program and strangers on the socket change nothing.

#include "shell/SingleInstance.h"
#include "support/EventLoopWait.h"
#include "support/Printing.h"

#include <QDir>
#include <QFile>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTemporaryDir>
#include <future>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace brevio::test {
namespace {

using Claim = SingleInstance::Claim;

// A later start runs on a thread of its own: its claim blocks while the running program (on this
// thread) needs the event loop to answer.
std::future<Claim> laterStart(const QString& name, const QStringList& arguments) {
    return std::async(std::launch::async, [name, arguments] {
        SingleInstance later(name);
        return later.claim(arguments);
    });
}

Claim waitFor(std::future<Claim>& claim) {
    EXPECT_TRUE(waitUntil(
        [&] { return claim.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    return claim.get();
}

class SingleInstanceTest : public ::testing::Test {
protected:
    QString nameFor(const QString& folder) const {
        return SingleInstance::nameFor(home.filePath(folder), runtime.path());
    }
    QTemporaryDir home;
    QTemporaryDir runtime;
};

TEST_F(SingleInstanceTest, TheFirstListensAndALaterStartHandsItsArgumentsOver) {
    SingleInstance running(nameFor(QStringLiteral("data/Brevio")));
    ASSERT_EQ(running.claim({QStringLiteral("brevio")}), Claim::first);
    ASSERT_TRUE(running.listen()) << running.errorString().toStdString();
    EXPECT_TRUE(running.name().startsWith(runtime.path() + QStringLiteral("/brevio-")));
    QSignalSpy asked(&running, &SingleInstance::activationRequested);

    // Arguments with spaces, quotes, newlines and accents arrive as they were.
    const QStringList arguments{QStringLiteral("brevio"),
                                QStringLiteral("brevio://chat?id=\"à b\""),
                                QStringLiteral("due\nrighe"), QString()};
    auto later = laterStart(running.name(), arguments);
    EXPECT_EQ(waitFor(later), Claim::forwarded);
    ASSERT_TRUE(waitUntil([&] { return asked.size() == 1; }));
    EXPECT_EQ(asked.front().front().toStringList(), arguments);

    // And again: the socket keeps answering.
    auto again = laterStart(running.name(), {QStringLiteral("brevio")});
    EXPECT_EQ(waitFor(again), Claim::forwarded);
    EXPECT_TRUE(waitUntil([&] { return asked.size() == 2; }));
}

TEST_F(SingleInstanceTest, WhatAKilledProgramLeftBehindDoesNotBlockTheNextStart) {
    const QString name = nameFor(QStringLiteral("data/Brevio"));
    // The socket file of a listener that died: it exists, nobody accepts on it.
    {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_GE(fd, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(name);
        std::memcpy(address.sun_path, path.constData(), path.size());
        ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(::listen(fd, 1), 0);
        ::close(fd);
    }
    ASSERT_TRUE(QFile::exists(name));
    // And a lock held by a process that is gone (killed between its claim and its listen).
    {
        QProcess gone;
        gone.start(QStringLiteral("true"), {});
        ASSERT_TRUE(gone.waitForStarted());
        const qint64 pid = gone.processId();
        ASSERT_TRUE(gone.waitForFinished());
        QFile lock(name + QStringLiteral(".lock"));
        ASSERT_TRUE(lock.open(QIODevice::WriteOnly));
        lock.write(QByteArray::number(pid) + "\nbrevio\n" + QSysInfo::machineHostName().toUtf8() +
                   "\n");
    }

    SingleInstance next(name);
    ASSERT_EQ(next.claim({QStringLiteral("brevio")}, std::chrono::seconds(10)), Claim::first)
        << next.errorString().toStdString();
    ASSERT_TRUE(next.listen()) << next.errorString().toStdString();
    QSignalSpy asked(&next, &SingleInstance::activationRequested);
    auto later = laterStart(name, {QStringLiteral("brevio")});
    EXPECT_EQ(waitFor(later), Claim::forwarded);
    EXPECT_TRUE(waitUntil([&] { return asked.size() == 1; }));
}

TEST_F(SingleInstanceTest, ProgramsOfDifferentDataFoldersRunSideBySide) {
    const QString first = nameFor(QStringLiteral("one/data/Brevio"));
    const QString second = nameFor(QStringLiteral("two/data/Brevio"));
    ASSERT_NE(first, second);
    // The same folder, written another way, is the same program.
    EXPECT_EQ(first, nameFor(QStringLiteral("one/data/../data/./Brevio/")));

    SingleInstance one(first);
    SingleInstance two(second);
    ASSERT_EQ(one.claim({}), Claim::first);
    ASSERT_TRUE(one.listen());
    ASSERT_EQ(two.claim({}), Claim::first);
    ASSERT_TRUE(two.listen());
    QSignalSpy askedOne(&one, &SingleInstance::activationRequested);
    QSignalSpy askedTwo(&two, &SingleInstance::activationRequested);

    auto later = laterStart(second, {QStringLiteral("brevio")});
    EXPECT_EQ(waitFor(later), Claim::forwarded);
    EXPECT_TRUE(waitUntil([&] { return askedTwo.size() == 1; }));
    EXPECT_TRUE(askedOne.isEmpty());
}

TEST_F(SingleInstanceTest, WithoutARuntimeFolderOrWithAPathTooLongTheNameIsBare) {
    const QString data = home.filePath(QStringLiteral("data/Brevio"));
    const QString bare = SingleInstance::nameFor(data, QString());
    EXPECT_TRUE(bare.startsWith(QStringLiteral("brevio-")));
    EXPECT_FALSE(bare.contains(QLatin1Char('/')));
    EXPECT_EQ(
        SingleInstance::nameFor(data, QStringLiteral("/tmp/") + QString(120, QLatin1Char('x'))),
        bare);
}

TEST_F(SingleInstanceTest, StrangersOnTheSocketAreHungUpOnAndChangeNothing) {
    SingleInstance running(nameFor(QStringLiteral("data/Brevio")));
    ASSERT_EQ(running.claim({}), Claim::first);
    ASSERT_TRUE(running.listen());
    QSignalSpy asked(&running, &SingleInstance::activationRequested);

    const QList<QByteArray> garbage{
        QByteArrayLiteral("activate\n"),
        QByteArrayLiteral("{\"activate\": \"brevio\"}\n"),
        QByteArrayLiteral("{\"activate\": [\"brevio\", 3]}\n"),
        QByteArrayLiteral("[\"activate\"]\n"),
        QByteArray("\x00\xff\xfe\n", 4),
        QByteArray(100 * 1024, 'x'), // no end of line, ever
    };
    for (const QByteArray& message : garbage) {
        QLocalSocket stranger;
        stranger.connectToServer(running.name());
        ASSERT_TRUE(stranger.waitForConnected(5000));
        stranger.write(message);
        // Hung up on without an answer.
        EXPECT_TRUE(waitUntil([&] { return stranger.state() == QLocalSocket::UnconnectedState; }))
            << message.left(40).toStdString();
        EXPECT_EQ(stranger.readAll(), QByteArray()) << message.left(40).toStdString();
    }
    EXPECT_TRUE(asked.isEmpty());

    // The program still answers a real start.
    auto later = laterStart(running.name(), {QStringLiteral("brevio")});
    EXPECT_EQ(waitFor(later), Claim::forwarded);
    EXPECT_TRUE(waitUntil([&] { return asked.size() == 1; }));
}

TEST_F(SingleInstanceTest, AProgramThatNeverAnswersLeavesTheLaterStartUnanswered) {
    // Listening, but its event loop never gets to the socket: the later start gives up.
    const QString name = nameFor(QStringLiteral("data/Brevio"));
    SingleInstance stuck(name);
    ASSERT_EQ(stuck.claim({}), Claim::first);
    ASSERT_TRUE(stuck.listen());
    SingleInstance later(name);
    EXPECT_EQ(later.claim({QStringLiteral("brevio")}, std::chrono::milliseconds(300)),
              Claim::unanswered);
    EXPECT_FALSE(later.errorString().isEmpty());
}

TEST(SingleInstanceMessage, ReadsBackWhatItWrites) {
    const QStringList arguments{QStringLiteral("brevio"), QStringLiteral("--demo"),
                                QStringLiteral("staff")};
    const QByteArray message = SingleInstance::activationMessage(arguments);
    EXPECT_TRUE(message.endsWith('\n'));
    EXPECT_EQ(message.count('\n'), 1);
    EXPECT_EQ(SingleInstance::readActivation(message), arguments);
    EXPECT_EQ(SingleInstance::readActivation(QByteArrayLiteral("{\"activate\":[]}")),
              QStringList());
    EXPECT_EQ(SingleInstance::readActivation(QByteArrayLiteral("{\"other\":[]}")), std::nullopt);
    EXPECT_EQ(SingleInstance::readActivation(QByteArray()), std::nullopt);
}

} // namespace
} // namespace brevio::test
