// The live session's clock: frames of 1/60 s, as many as real time asks for, and a stall dropped.

#include "tests/window/LiveFixture.h"

#include <gtest/gtest.h>

#include <string>

namespace orrery::window {
namespace {

TEST(LiveSession, ClockRunsInFramesAndDropsTimeItCannotCatchUp) {
    Live live;
    live.session.advanceTo(0.105);
    EXPECT_EQ(live.session.framesRun(), 6u);
    live.session.advanceTo(10.0);  // a stall: only the last quarter second is run
    const auto frames = live.session.framesRun();
    EXPECT_TRUE(frames == 6u + 15u || frames == 6u + 14u) << frames;
    live.session.finish(10.0);
    EXPECT_EQ(live.file.str(), "frame " + std::to_string(frames) + "\ndump\n");
}

}  // namespace
}  // namespace orrery::window
