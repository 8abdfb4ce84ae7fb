#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

namespace orrery::scenario {
namespace {

using ::testing::ElementsAre;

class GestureTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        controller.viewDidLoad();
    }
    std::shared_ptr<MemoryNode> earth() { return mem(controller.nodeEarthModel); }
    std::shared_ptr<MemoryNode> earthMesh() { return meshOf(controller.nodeEarthModel); }
    std::string lastKey() { return platform.log->withOp("runAction:forKey:").back().args.at(1).get<std::string>(); }
};

TEST_F(GestureTest, PinchAndPanApplyTheAccumulatedAmountAtEveryChangeAndKeepTheSpin) {
    auto& pinch = recognizer("didPinch:");
    gesture("didPinch:", State::began, earthMesh());
    EXPECT_FALSE(gestureHandled);
    for (double s : {1.1, 1.2, 1.3}) {
        pinch.record.scale = s;
        gesture("didPinch:", State::changed, earthMesh());
    }
    gesture("didPinch:", State::ended, earthMesh());
    EXPECT_NEAR(earth()->nodeScale.x, 0.5 * 1.716, 1e-5);
    EXPECT_TRUE(gestureHandled);
    EXPECT_EQ(lastKey(), "scaleAnim");

    auto& pan = recognizer("didPan:");
    for (CGPoint t : {CGPoint{10, 0}, CGPoint{20, 0}}) {
        pan.record.translation = t;
        gesture("didPan:", State::changed, earthMesh());
    }
    gesture("didPan:", State::ended, earthMesh());
    EXPECT_NEAR(earth()->nodePosition.x, 0.03, 1e-6);
    pan.record.translation = {0, 50};  // screen y grows downward, the scene's upward
    gesture("didPan:", State::changed, earthMesh());
    EXPECT_NEAR(earth()->nodePosition.y, -0.05, 1e-6);
    EXPECT_EQ(earth()->nodePosition.z, -2.0f);
    EXPECT_EQ(lastKey(), "moveAnim");
    EXPECT_THAT(actionKeys(earth()), ElementsAre("EarthAnimation"));
}

TEST_F(GestureTest, RotationTurnsTheOtherWayAndStopsTheSpin) {
    auto& rotate = recognizer("didRotate:");
    for (double angle : {0.1, 0.2}) {
        rotate.record.rotation = angle;
        gesture("didRotate:", State::changed, earthMesh());
    }
    gesture("didRotate:", State::ended, earthMesh());
    const SCNVector4 r = earth()->nodeRotation;
    EXPECT_NEAR(r.x, 0, 1e-6);
    EXPECT_NEAR(r.z, 0, 1e-6);
    EXPECT_NEAR(r.y * r.w, -0.3, 1e-5);
    EXPECT_TRUE(earth()->actions().empty());
    EXPECT_EQ(lastKey(), "rotationYAnim");
    controller.pressButton("EarthButton");
    EXPECT_THAT(actionKeys(earth()), ElementsAre("EarthAnimation"));
}

TEST_F(GestureTest, GesturesOffABodyDoNothing) {
    recognizer("didPinch:").record.scale = 2.0;
    for (const auto& node : std::vector<std::shared_ptr<SCNNode>>{nullptr, controller.nodeSunButtonModel, controller.textNode,
                                                                  meshOf(controller.nodeStarsModel)}) {
        gesture("didPinch:", State::changed, node);
        gesture("didLongPress:", State::began, node);
        gesture("didDoubleTap:", State::ended, node);
    }
    EXPECT_FALSE(gestureHandled);
    EXPECT_EQ(selectedBody, 3);
    EXPECT_EQ(mem(controller.nodeSunButtonModel)->parent(), root());
    EXPECT_EQ(mem(controller.nodeStarsModel)->parent(), root());
    EXPECT_EQ(mem(controller.nodeSunButtonModel)->nodeScale, (SCNVector3{0.2f, 0.2f, 0.2f}));
}

TEST_F(GestureTest, LongPressRemovesEachBodyItReachesAndAViewBringsItBack) {
    controller.pressButton("MoonButton");
    gesture("didLongPress:", State::began, meshOf(controller.nodeMoonModel));
    EXPECT_EQ(mem(controller.nodeMoonModel)->parent(), nullptr);
    EXPECT_TRUE(mem(controller.nodeMoonModel)->actions().empty());
    EXPECT_TRUE(gestureHandled);
    gesture("didLongPress:", State::changed, earthMesh());
    EXPECT_EQ(earth()->parent(), nullptr);
    controller.pressButton("SolarSystemButton");
    EXPECT_EQ(earth()->parent(), root());
    EXPECT_THAT(actionKeys(controller.nodeMoonModel), ElementsAre("MoonAnimation"));
}

TEST_F(GestureTest, DoubleTapOnTheNightSideSelectsItAndShowsTheEarthFacts) {
    controller.pressButton("EarthNightButton");
    controller.pressButton("MarsButton");
    gesture("didDoubleTap:", State::ended, meshOf(controller.nodeEarthNightModel));
    EXPECT_EQ(selectedBody, 4);
    EXPECT_TRUE(gestureHandled);
    EXPECT_EQ(labelText(), std::string(BodyCatalog::earthText));
    EXPECT_EQ(countInRoot("planetData"), 1u);
    EXPECT_EQ(mem(controller.nodeEarthNightModel)->nodePosition, (SCNVector3{0, 0, -2}));
    for (const char* other : {"Stars", "mars", "Eris ", "ErisButton"}) selectBodyByName(other);
    EXPECT_EQ(selectedBody, 4);
}

} // namespace
} // namespace orrery::scenario
