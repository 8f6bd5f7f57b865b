#include "model/Clock.h"

#include <QProcess>
#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using brevio::Duration;

// Far above the fraction of a second a clean exit takes; only a hang reaches it.
constexpr Duration exitLimit = 20s;

// Each scenario leaves main() with a live WebSocket connection in another order of destruction
// (see quit/QuitAfterLoop.cpp). A program that hangs on its way out is killed at the limit.
class QuitAfterLoop : public ::testing::TestWithParam<const char*> {};

TEST_P(QuitAfterLoop, TheProgramExitsPromptly) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QStringLiteral(QUIT_AFTER_LOOP_EXE), {QString::fromUtf8(GetParam())});
    ASSERT_TRUE(process.waitForStarted(int(Duration(10s).count())))
        << process.errorString().toStdString();
    const bool finished = process.waitForFinished(int(exitLimit.count()));
    if (!finished) {
        process.kill();
        process.waitForFinished(int(Duration(5s).count()));
    }
    ASSERT_TRUE(finished) << GetParam() << ": still running at the limit";
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << GetParam();
    EXPECT_EQ(process.exitCode(), 0) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(DestructionOrders, QuitAfterLoop,
                         ::testing::Values("before-app", "in-app-exit", "after-app",
                                           "socket-thread"),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::erase(name, '-');
                             return name;
                         });

} // namespace
