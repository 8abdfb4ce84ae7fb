#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

namespace orrery::scenario {
namespace {

using State = UIGestureRecognizerState;

class GestureTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        load();
    }
    std::shared_ptr<MemoryNode> earth() { return mem(controller.nodeEarthModel); }
    std::shared_ptr<MemoryNode> earthMesh() { return meshOf(controller.nodeEarthModel); }
};

TEST_F(GestureTest, PinchAppliesTheAccumulatedScaleAtEveryChangeAndKeepsTheSpin) {
    auto& pinch = recognizer("didPinch:");
    pinch.record.scale = 1.0;
    gesture("didPinch:", State::began, earthMesh());
    EXPECT_FALSE(gestureHandled);
    for (double s : {1.1, 1.2, 1.3}) {
        pinch.record.scale = s;
        gesture("didPinch:", State::changed, earthMesh());
    }
    pinch.record.scale = 1.3;
    gesture("didPinch:", State::ended, earthMesh());
    gesture("didPinch:", State::cancelled, earthMesh());

    EXPECT_NEAR(earth()->nodeScale.x, 0.5 * 1.716, 1e-5);
    EXPECT_NEAR(earth()->nodeScale.z, 0.5 * 1.716, 1e-5);
    EXPECT_TRUE(gestureHandled);
    EXPECT_THAT(actionKeys(earth()), ::testing::ElementsAre("EarthAnimation"));
    const auto runs = platform.log->withOp("runAction:forKey:");
    ASSERT_FALSE(runs.empty());
    EXPECT_EQ(runs.back().target, "Earth");
    EXPECT_EQ(runs.back().args.at(1), "scaleAnim");
}

TEST_F(GestureTest, PanMovesAMillimetrePerPoint) {
    auto& pan = recognizer("didPan:");
    pan.record.translation = {10, 0};
    gesture("didPan:", State::changed, earthMesh());
    pan.record.translation = {20, 0};
    gesture("didPan:", State::changed, earthMesh());
    gesture("didPan:", State::ended, earthMesh());
    EXPECT_NEAR(earth()->nodePosition.x, 0.03, 1e-6);
    EXPECT_EQ(earth()->nodePosition.y, 0.0f);
    EXPECT_EQ(earth()->nodePosition.z, -2.0f);

    // Screen y grows downward, the scene's upward.
    pan.record.translation = {0, 50};
    gesture("didPan:", State::changed, earthMesh());
    EXPECT_NEAR(earth()->nodePosition.y, -0.05, 1e-6);
    EXPECT_EQ(platform.log->withOp("runAction:forKey:").back().args.at(1), "moveAnim");
    EXPECT_THAT(actionKeys(earth()), ::testing::ElementsAre("EarthAnimation"));
}

TEST_F(GestureTest, RotationTurnsTheOtherWayAndStopsTheSpin) {
    auto& rotate = recognizer("didRotate:");
    rotate.record.rotation = 0.1;
    gesture("didRotate:", State::changed, earthMesh());
    rotate.record.rotation = 0.2;
    gesture("didRotate:", State::changed, earthMesh());
    gesture("didRotate:", State::ended, earthMesh());

    const SCNVector4 r = earth()->nodeRotation;
    EXPECT_NEAR(r.x, 0, 1e-6);
    EXPECT_NEAR(r.z, 0, 1e-6);
    EXPECT_NEAR(r.y * r.w, -0.3, 1e-5);
    EXPECT_TRUE(earth()->actions().empty());
    EXPECT_EQ(platform.log->withOp("runAction:forKey:").back().args.at(1), "rotationYAnim");

    // A view mode spins it again from the reset orientation.
    controller.pressButton("EarthButton");
    EXPECT_THAT(actionKeys(earth()), ::testing::ElementsAre("EarthAnimation"));
    EXPECT_EQ(earth()->nodeRotation, (SCNVector4{0, 1, 0, 0}));
}

TEST_F(GestureTest, GesturesOffABodyDoNothing) {
    auto& pinch = recognizer("didPinch:");
    pinch.record.scale = 2.0;
    for (const auto& node : std::vector<std::shared_ptr<SCNNode>>{
             nullptr, controller.nodeSunButtonModel, controller.textNode, meshOf(controller.nodeStarsModel)}) {
        gesture("didPinch:", State::changed, node);
        gesture("didLongPress:", State::began, node);
        gesture("didDoubleTap:", State::ended, node);
    }
    EXPECT_FALSE(gestureHandled);
    EXPECT_EQ(selectedBody, 3);
    EXPECT_EQ(mem(controller.nodeSunButtonModel)->parent(), root());
    EXPECT_EQ(mem(controller.nodeStarsModel)->parent(), root());
    EXPECT_EQ(mem(controller.nodeSunButtonModel)->nodeScale, (SCNVector3{0.2f, 0.2f, 0.2f}));
    EXPECT_EQ(labelText(), std::string(BodyCatalog::earthText));
}

TEST_F(GestureTest, LongPressRemovesEachBodyItReachesAndAViewBringsItBack) {
    controller.pressButton("MoonButton");
    // The Moon stands in front of the Earth: the first call removes it, the next the Earth.
    gesture("didLongPress:", State::began, meshOf(controller.nodeMoonModel));
    EXPECT_EQ(mem(controller.nodeMoonModel)->parent(), nullptr);
    EXPECT_TRUE(mem(controller.nodeMoonModel)->actions().empty());
    EXPECT_TRUE(gestureHandled);
    gesture("didLongPress:", State::changed, earthMesh());
    EXPECT_EQ(earth()->parent(), nullptr);
    EXPECT_EQ(controller.nodeEarthModel, earth());

    controller.pressButton("SolarSystemButton");
    EXPECT_EQ(earth()->parent(), root());
    EXPECT_EQ(mem(controller.nodeMoonModel)->parent(), root());
    EXPECT_THAT(actionKeys(controller.nodeMoonModel), ::testing::ElementsAre("MoonAnimation"));
}

TEST_F(GestureTest, DoubleTapOnTheNightSideSelectsItAndShowsTheEarthFacts) {
    controller.pressButton("MarsButton");
    ASSERT_EQ(labelText(), std::string(BodyCatalog::marsText));
    controller.pressButton("EarthNightButton");
    controller.showText("something else");
    gesture("didDoubleTap:", State::ended, meshOf(controller.nodeEarthNightModel));
    EXPECT_EQ(selectedBody, 4);
    EXPECT_TRUE(gestureHandled);
    EXPECT_EQ(labelText(), std::string(BodyCatalog::earthText));
    EXPECT_EQ(countInRoot("planetData"), 1u);
    EXPECT_EQ(mem(controller.nodeEarthNightModel)->nodePosition, (SCNVector3{0, 0, -2}));

    gesture("didDoubleTap:", State::ended, meshOf(controller.nodeMarsModel));
    EXPECT_EQ(selectedBody, 6);
    EXPECT_EQ(labelText(), std::string(BodyCatalog::marsText));
}

TEST_F(GestureTest, SelectionByNameIsExact) {
    selectBodyByName("Haumea");
    EXPECT_EQ(selectedBody, 13);
    for (const char* other : {"Stars", "haumea", "Eris ", "ErisButton", "planetData", ""}) selectBodyByName(other);
    EXPECT_EQ(selectedBody, 13);
    selectBodyByButtonName("HelpButton");
    selectBodyByButtonName("Eris");
    EXPECT_EQ(selectedBody, 13);
    selectBodyByButtonName("ErisButton");
    EXPECT_EQ(selectedBody, 15);
    selectBodyByButtonName("SolarSystemButton");
    EXPECT_EQ(selectedBody, 0);

    platform.log->takeNew();
    controller.showBodyInfo("Stars");
    controller.showBodyInfo("earth");
    EXPECT_TRUE(platform.log->takeNew().empty());
    EXPECT_EQ(labelText(), std::string(BodyCatalog::earthText));
}

} // namespace
} // namespace orrery::scenario
