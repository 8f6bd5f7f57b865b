// The render loop is chosen by the machine: the main thread renders when there is no GPU, Qt
// decides otherwise, and a loop somebody chose is never overridden.

#include "shell/RenderLoop.h"

#include <gtest/gtest.h>

namespace brevio {
namespace {

TEST(RenderLoop, TheMainThreadRendersOnlyWithoutAGpuAndWithoutAChoiceAlreadyMade) {
    EXPECT_EQ(RenderLoop::choose({}, {}), QByteArray("basic")) << "no GPU: the processor draws";
    EXPECT_EQ(RenderLoop::choose({"renderD128"}, {}), std::nullopt) << "a GPU: Qt's own choice";
    EXPECT_EQ(RenderLoop::choose({"renderD128", "renderD129"}, {}), std::nullopt);
    EXPECT_EQ(RenderLoop::choose({}, "threaded"), std::nullopt) << "the user's setting stands";
    EXPECT_EQ(RenderLoop::choose({"renderD128"}, "basic"), std::nullopt);
}

} // namespace
} // namespace brevio
