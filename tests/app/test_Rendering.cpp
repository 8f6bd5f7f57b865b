// The renderer is chosen by the machine: without a GPU the software renderer draws on the main
// thread, Qt decides otherwise, and a renderer or loop somebody asked for is never overridden.

#include "shell/Rendering.h"

#include <gtest/gtest.h>

namespace brevio {
namespace {

using Choice = Rendering::Choice;

TEST(Rendering, AGpuIsARenderNodeOrTheProprietaryDriversDevice) {
    EXPECT_FALSE(Rendering::hasGpu({}));
    EXPECT_FALSE(Rendering::hasGpu({"card0"})) << "a display without a render node";
    EXPECT_TRUE(Rendering::hasGpu({"card0", "renderD128"}));
    EXPECT_TRUE(Rendering::hasGpu({"nvidia0"}));
}

TEST(Rendering, WithoutAGpuTheSoftwareRendererDrawsUnlessSomebodyChoseOtherwise) {
    EXPECT_EQ(Rendering::choose(true, {}), Choice{}) << "a GPU: Qt's own choice";
    EXPECT_EQ(Rendering::choose(true, {"", "", "basic"}), Choice{});
    EXPECT_EQ(Rendering::choose(false, {}), (Choice{true, {}}))
        << "its own loop is the main thread";
    EXPECT_EQ(Rendering::choose(false, {"", "", "threaded"}), (Choice{true, {}}));
    // OpenGL asked for without a GPU: on the main thread, unless a loop was asked for too.
    EXPECT_EQ(Rendering::choose(false, {"", "opengl", ""}), (Choice{false, "basic"}));
    EXPECT_EQ(Rendering::choose(false, {"rhi", "", ""}), (Choice{false, "basic"}));
    EXPECT_EQ(Rendering::choose(false, {"", "opengl", "threaded"}), Choice{});
    EXPECT_EQ(Rendering::choose(false, {"software", "", ""}), (Choice{false, "basic"}))
        << "harmless: the software renderer's loop is the main thread's anyway";
}

} // namespace
} // namespace brevio
