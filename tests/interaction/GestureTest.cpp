#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

namespace orrery::scenario {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class GestureTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        controller.viewDidLoad();
        platform.log->takeNew();
    }
    std::shared_ptr<MemoryNode> earth() { return mem(controller.nodeEarthModel); }
    std::shared_ptr<MemoryNode> earthMesh() { return meshOf(controller.nodeEarthModel); }

    /// From the gesture's point to the Earth: one bounding-box hit on its mesh, then the walk up, which
    /// reads the mesh's name for each of the 16 body names, asks for its parent, and matches the Earth at the fourth.
    static Lines toTheEarth() {
        Lines out{R"(locationInView: "ARSCNView")", hitTestLine({0, 0})};
        append(out, repeated("name", 16));
        out.push_back("parentNode");
        append(out, repeated("Earth.name", 4));
        return out;
    }
};

TEST_F(GestureTest, EachGestureOnABodyMakesItsCallsOnTheNamedNode) {
    recognizer("didPinch:").record.scale = 1.25;
    recognizer("didRotate:").record.rotation = 0.5;
    recognizer("didPan:").record.translation = {250, 500};
    const auto instant = [](Json leaf) { return Json{{"type", "repeat"}, {"count", 1}, {"action", leaf}}; };
    const auto run = [](const Json& action, const char* key) {
        return line("Earth", "runAction:forKey:", Json::array({action, key}));
    };
    struct Row {
        const char* action;
        State state;
        Lines before, after;
    };
    const std::vector<Row> rows{
        {"didPinch:",
         State::changed,
         {"state"},
         {"scale", run(instant({{"type", "scaleBy"}, {"factor", 1.25}, {"duration", 0}}), "scaleAnim")}},
        {"didRotate:",
         State::changed,
         {"state"},
         {"Earth.removeAllActions", "rotation",
          run(instant({{"type", "rotateBy"}, {"x", 0}, {"y", -0.5}, {"z", 0}, {"duration", 0}}), "rotationYAnim")}},
        {"didPan:",
         State::changed,
         {"state"},
         {R"(translationInView: "ARSCNView")",
          run(instant({{"type", "moveBy"}, {"delta", vec(0.25f, -0.5f, 0)}, {"duration", 0}}), "moveAnim")}},
        {"didDoubleTap:",
         State::ended,
         {},
         [] {
             Lines l{"Earth.name", "Earth.name"};
             append(l, labelLines(expected::factText("Earth"), true));
             return l;
         }()},
        {"didLongPress:", State::began, {}, {"Earth.removeAllActions", "Earth.removeFromParentNode"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.action);
        gestureHandled = false;
        gesture(row.action, row.state, earthMesh());
        Lines expected = row.before;
        append(expected, toTheEarth());
        append(expected, row.after);
        EXPECT_THAT(newLines(), ElementsAreArray(expected));
        EXPECT_TRUE(gestureHandled);
    }
}

TEST_F(GestureTest, OnlyChangeEventsActExceptForTheLongPressWhichActsOnEveryCall) {
    recognizer("didPinch:").record.scale = 2;
    recognizer("didRotate:").record.rotation = 1;
    recognizer("didPan:").record.translation = {100, 100};
    for (const char* action : {"didPinch:", "didRotate:", "didPan:"})
        for (State state : {State::possible, State::began, State::ended, State::cancelled, State::failed}) {
            gesture(action, state, earthMesh());
            EXPECT_THAT(newLines(), ElementsAre("state")) << action << int(state);
        }
    EXPECT_FALSE(gestureHandled);
    EXPECT_THAT(actionKeys(earth()), ElementsAre("EarthAnimation"));

    for (State state : {State::began, State::changed, State::ended}) {
        controller.pressButton("EarthButton");
        gestureHandled = false;
        gesture("didLongPress:", state, earthMesh());
        EXPECT_EQ(earth()->parent(), nullptr) << int(state);
        EXPECT_TRUE(gestureHandled);
    }
}

TEST_F(GestureTest, PinchAndPanApplyTheAccumulatedAmountAtEveryChangeAndKeepTheSpin) {
    auto& pinch = recognizer("didPinch:");
    for (double s : {1.1, 1.2, 1.3}) {
        pinch.record.scale = s;
        gesture("didPinch:", State::changed, earthMesh());
    }
    EXPECT_NEAR(earth()->nodeScale().x, 0.5 * 1.716, 1e-5);
    auto& pan = recognizer("didPan:");
    for (CGPoint t : {CGPoint{10, 0}, CGPoint{20, 0}}) {
        pan.record.translation = t;
        gesture("didPan:", State::changed, earthMesh());
    }
    EXPECT_NEAR(earth()->nodePosition().x, 0.03, 1e-6);
    EXPECT_THAT(actionKeys(earth()), ElementsAre("EarthAnimation"));

    auto& rotate = recognizer("didRotate:");
    for (double angle : {0.1, 0.2}) {
        rotate.record.rotation = angle;
        gesture("didRotate:", State::changed, earthMesh());
    }
    const SCNVector4 r = earth()->nodeRotation();
    EXPECT_NEAR(r.y * r.w, -0.3, 1e-5);
    EXPECT_TRUE(earth()->actions().empty());
}

TEST_F(GestureTest, TheNearestHitDecidesAloneAndOnlyBodiesAreActedOn) {
    recognizer("didPinch:").record.scale = 2.0;
    const auto button = meshOf(controller.nodeSunButtonModel);
    const std::vector<std::vector<std::shared_ptr<SCNNode>>> offBody{{},
                                                                     {button, earthMesh()},
                                                                     {controller.textNode, earthMesh()},
                                                                     {meshOf(controller.nodeStarsModel), earthMesh()}};
    for (const auto& hits : offBody)
        for (const char* action : {"didPinch:", "didRotate:", "didPan:", "didLongPress:", "didDoubleTap:"})
            gestureOverHits(action, State::changed, hits);
    EXPECT_FALSE(gestureHandled);
    EXPECT_EQ(selectedBody, 3);
    EXPECT_EQ(earth()->parent(), root());
    EXPECT_EQ(earth()->nodeScale(), (SCNVector3{0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(mem(controller.nodeSunButtonModel)->nodeScale(), (SCNVector3{0.2f, 0.2f, 0.2f}));

    // A body in front of a button: the body is the one acted on.
    gestureOverHits("didPinch:", State::changed, {earthMesh(), button});
    EXPECT_EQ(earth()->nodeScale(), (SCNVector3{1, 1, 1}));
    EXPECT_TRUE(gestureHandled);
}

TEST_F(GestureTest, DoubleTapOnEachBodySelectsItAndShowsItsFacts) {
    for (std::size_t i = 1; i < expected::bodies.size(); ++i) {
        const expected::Body& body = expected::bodies[i];
        SCOPED_TRACE(std::string(body.name));
        selectedBody = 99;
        gestureHandled = false;
        gesture("didDoubleTap:", State::ended, meshOf(controller.modelFor(BodyIndex(body.index))));
        EXPECT_EQ(selectedBody, body.index);
        EXPECT_EQ(labelText(), expected::factText(body.textKey));
        EXPECT_TRUE(gestureHandled);

        selectedBody = 99;
        selectBodyByName(std::string(body.name));
        EXPECT_EQ(selectedBody, body.index);
    }
    EXPECT_EQ(countInRoot("planetData"), 1u);
    for (const char* other : {"Stars", "mars", "Eris ", "ErisButton", "", "planetData"}) selectBodyByName(other);
    EXPECT_EQ(selectedBody, 15);
}

TEST_F(GestureTest, LongPressedBodiesComeBackWithTheNextView) {
    controller.pressButton("MoonButton");
    gesture("didLongPress:", State::began, meshOf(controller.nodeMoonModel));
    EXPECT_EQ(mem(controller.nodeMoonModel)->parent(), nullptr);
    EXPECT_TRUE(mem(controller.nodeMoonModel)->actions().empty());
    gesture("didLongPress:", State::changed, earthMesh());
    controller.pressButton("SolarSystemButton");
    EXPECT_EQ(earth()->parent(), root());
    EXPECT_THAT(actionKeys(controller.nodeMoonModel), ElementsAre("MoonAnimation"));
}

}  // namespace
}  // namespace orrery::scenario
