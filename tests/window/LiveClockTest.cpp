// The live session's clock (frames of 1/60 s, as many as real time asks for, and a stall
// dropped), and its camera, which keys move on from wherever the last camera line put it.

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

TEST(LiveSession, KeysMoveTheCameraOnFromWhereACameraLinePutIt) {
    Live live;
    ASSERT_TRUE(live.session.run("camera 1 0 -2 0.5 -0.25"));
    live.until(1.0);
    live.session.key(1.0, CameraKey::turnLeft, true);
    live.until(1.5);
    live.session.key(1.5, CameraKey::turnLeft, false);
    live.session.dump(1.5);
    const auto& camera = live.simulator.platform().view->camera;
    EXPECT_EQ(camera.position.x, 1);
    EXPECT_EQ(camera.position.z, -2);
    EXPECT_NEAR(camera.yaw, 0.5 + 0.5 * LiveSession::kTurnSpeed, 0.02);
    EXPECT_EQ(camera.pitch, -0.25f);
}

}  // namespace
}  // namespace orrery::window
