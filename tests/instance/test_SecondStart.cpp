// The real program started twice on one data folder: the later start leaves at once with exit
// status 0 and the running one goes on; a program killed with SIGKILL does not block the next.

#include "support/EventLoopWait.h"

#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>

namespace brevio::test {
namespace {

// A program with its own home, data, settings and runtime folders, offscreen.
class Brevio {
public:
    explicit Brevio(const QTemporaryDir& home) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), home.path());
        environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"),
                           home.filePath(QStringLiteral("config")));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("BREVIO_PROBE"), QStringLiteral("1"));
        process.setProcessEnvironment(environment);
        QObject::connect(&process, &QProcess::readyReadStandardOutput,
                         [this] { printed += process.readAllStandardOutput(); });
        QObject::connect(&process, &QProcess::readyReadStandardError,
                         [this] { complaints += process.readAllStandardError(); });
    }
    ~Brevio() {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(10000);
        }
    }

    void start() {
        process.start(QStringLiteral(BREVIO_EXE),
                      {QStringLiteral("--demo"), QStringLiteral("staff")});
        EXPECT_TRUE(process.waitForStarted(10000));
    }
    bool showsItsWindow() {
        return waitUntil([&] { return printed.contains("frame "); }, std::chrono::seconds(60));
    }
    bool finished() {
        return waitUntil([&] { return process.state() == QProcess::NotRunning; },
                         std::chrono::seconds(60));
    }
    bool running() const { return process.state() == QProcess::Running; }
    // What it printed last may still be in the pipe when it has finished.
    QByteArray said() {
        complaints += process.readAllStandardError();
        return complaints.trimmed();
    }

    QProcess process;
    QByteArray printed;
    QByteArray complaints;
};

constexpr char handedOver[] = "Brevio è già aperto: porto in primo piano la sua finestra.";

TEST(SecondStart, LeavesAtOnceAndTheRunningProgramGoesOn) {
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    Brevio running(home);
    running.start();
    ASSERT_TRUE(running.showsItsWindow()) << running.complaints.toStdString();

    Brevio later(home);
    later.start();
    ASSERT_TRUE(later.finished());
    EXPECT_EQ(later.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(later.process.exitCode(), 0) << later.complaints.toStdString();
    EXPECT_EQ(later.said(), QByteArray(handedOver));
    EXPECT_FALSE(later.printed.contains("frame ")) << "the later start showed a window";
    EXPECT_TRUE(running.running());

    // Killed without a chance to tidy up: the next start runs all the same.
    ::kill(static_cast<pid_t>(running.process.processId()), SIGKILL);
    ASSERT_TRUE(running.finished());
    Brevio next(home);
    next.start();
    ASSERT_TRUE(next.showsItsWindow()) << next.complaints.toStdString();
    EXPECT_TRUE(next.running());
}

TEST(SecondStart, OfTwoStartedTogetherExactlyOneRuns) {
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    Brevio one(home);
    Brevio two(home);
    one.start();
    two.start();
    ASSERT_TRUE(
        waitUntil([&] { return !one.running() || !two.running(); }, std::chrono::seconds(60)));
    Brevio& left = one.running() ? two : one;
    Brevio& stayed = one.running() ? one : two;
    EXPECT_EQ(left.process.exitCode(), 0) << left.complaints.toStdString();
    EXPECT_EQ(left.said(), QByteArray(handedOver));
    ASSERT_TRUE(stayed.showsItsWindow()) << stayed.complaints.toStdString();
    EXPECT_TRUE(stayed.running());
}

TEST(SecondStart, ProgramsOfTwoHomesBothRun) {
    QTemporaryDir homeOne;
    QTemporaryDir homeTwo;
    Brevio one(homeOne);
    Brevio two(homeTwo);
    one.start();
    two.start();
    ASSERT_TRUE(one.showsItsWindow()) << one.complaints.toStdString();
    ASSERT_TRUE(two.showsItsWindow()) << two.complaints.toStdString();
    EXPECT_TRUE(one.running() && two.running());
}

} // namespace
} // namespace brevio::test
