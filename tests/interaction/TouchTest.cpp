#include "tests/app/ControllerFixture.h"

#include <gmock/gmock.h>

#include <cmath>

namespace orrery::scenario {
namespace {

/// Column-major 4x4 product and yaw rotation, written out here to check the controller's.
simd_float4x4 multiply(const simd_float4x4& a, const simd_float4x4& b) {
    simd_float4x4 r;
    for (int c = 0; c < 4; ++c)
        for (int row = 0; row < 4; ++row)
            for (int k = 0; k < 4; ++k) r.columns[c][row] += a.columns[k][row] * b.columns[c][k];
    return r;
}

simd_float4x4 yawMatrix(float yaw) {
    simd_float4x4 r;
    r.columns = {
        {{std::cos(yaw), 0, -std::sin(yaw), 0}, {0, 1, 0, 0}, {std::sin(yaw), 0, std::cos(yaw), 0}, {0, 0, 0, 1}}};
    return r;
}

/// A feature point tilted about x, so that W x R and R x W differ.
simd_float4x4 featurePoint() {
    simd_float4x4 w;
    w.columns = {{{1, 0, 0, 0},
                  {0, std::cos(0.3f), std::sin(0.3f), 0},
                  {0, -std::sin(0.3f), std::cos(0.3f), 0},
                  {0.3f, -1.4f, -1.2f, 1}}};
    return w;
}

class TouchTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        controller.viewDidLoad();
        controller.viewWillAppear(false);
        platform.view->camera.yaw = 0.6f;
        platform.runFrame();
    }
    std::size_t anchorCount() { return platform.view->arSession.anchors.size(); }
};

TEST_F(TouchTest, TouchOnAMeshInsideAButtonSelectsThenPresses) {
    platform.log->takeNew();
    touchEnd(meshOf(controller.nodeMarsButtonModel));
    // The walk reads the mesh's name against all 18 button names, goes up, and matches the ninth;
    // the name is then read once to select and once more to press.
    Lines expected{R"(locationInView: "ARSCNView")", hitTestLine({195, 422})};
    append(expected, repeated("name", 18));
    expected.push_back("parentNode");
    append(expected, repeated("MarsButton.name", 9 + 2));
    append(expected, placeLines("Mars", 0.5f, {0, 0, -2}));
    append(expected, labelLines(expected::factText("Mars"), true));
    EXPECT_THAT(newLines(), ::testing::ElementsAreArray(expected));
    EXPECT_EQ(selectedBody, 6);
    EXPECT_EQ(anchorCount(), 0u);
}

TEST_F(TouchTest, EveryButtonSelectsItsBodyExceptHelp) {
    for (const expected::Button& button : expected::buttons) {
        SCOPED_TRACE(std::string(button.name));
        const int before = button.selects == 3 ? 5 : 3;
        selectedBody = BodyIndex(before);
        touchEnd(meshOf(root()->findNamed(std::string(button.name))));
        EXPECT_EQ(selectedBody, button.selects < 0 ? before : button.selects);
        selectedBody = 99;
        selectBodyByButtonName(std::string(button.name));
        EXPECT_EQ(selectedBody, button.selects < 0 ? 99 : button.selects);
    }
    EXPECT_EQ(platform.application.openedURLs.size(), 1u);
    EXPECT_EQ(anchorCount(), 0u);
    for (const char* other : {"Sun", "sunButton", "SunButton ", "StarsButton", ""}) selectBodyByButtonName(other);
    EXPECT_EQ(selectedBody, 15);
}

TEST_F(TouchTest, TouchElsewhereAnchorsTheSelectedBodyTurnedByTheCameraYaw) {
    const float yaw = platform.view->arSession.currentFrame()->camera.eulerAngles.y;
    ASSERT_NE(yaw, 0.0f);
    // A touch on a body is no button: it places like a touch on empty space, on the nearest feature point.
    platform.log->takeNew();
    platform.view->prepareFeatureHits({featurePoint(), makeTranslation({9, 9, 9})});
    touchEnd(meshOf(controller.nodeEarthModel));
    Lines expected{R"(locationInView: "ARSCNView")", hitTestLine({195, 422})};
    for (const std::string node : {"", "Earth.", ""}) {
        append(expected, repeated(node + "name", 18));
        expected.push_back(node + "parentNode");
    }
    append(expected, {"hitTest:types: [195,422],1", "session", "currentFrame", "session"});
    auto calls = newLines();
    ASSERT_EQ(calls.size(), expected.size() + 1);
    EXPECT_EQ(calls.back().substr(0, 12), "addAnchor: [");
    calls.pop_back();
    EXPECT_THAT(calls, ::testing::ElementsAreArray(expected));
    ASSERT_EQ(anchorCount(), 1u);
    const simd_float4x4 t = platform.view->arSession.anchors[0]->transform(),
                        want = multiply(featurePoint(), yawMatrix(yaw));
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r) EXPECT_NEAR(t.columns[c][r], want.columns[c][r], 1e-5) << c << "," << r;
    EXPECT_EQ(t.columns[3], featurePoint().columns[3]);

    platform.runFrame();
    const auto& copies = platform.view->anchorNodes.at(0).second->children();
    ASSERT_EQ(copies.size(), 1u);
    EXPECT_NE(copies[0], mem(controller.nodeEarthModel));
    EXPECT_EQ(copies[0]->nodeName, "Earth");
    EXPECT_EQ(copies[0]->nodeScale(), (SCNVector3{0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(copies[0]->nodePosition(), (SCNVector3{0, 0.5f, 0}));
}

TEST_F(TouchTest, GestureFlagSkipsOnePlacementAndSurvivesButtonPresses) {
    recognizer("didPinch:").record.scale = 1.0;
    gesture("didPinch:", State::changed, meshOf(controller.nodeEarthModel));
    ASSERT_TRUE(gestureHandled);
    touchEnd(controller.nodeVenusButtonModel);
    EXPECT_TRUE(gestureHandled);
    touchFeaturePoint(featurePoint());
    EXPECT_EQ(anchorCount(), 0u);
    EXPECT_FALSE(gestureHandled);
    touchFeaturePoint(featurePoint());
    EXPECT_EQ(anchorCount(), 1u);
    platform.runFrame();
    EXPECT_EQ(platform.view->anchorNodes.at(0).second->children().at(0)->nodeName, "Venus");

    gestureHandled = true;
    platform.view->prepareFeatureHits({});
    touchEnd(nullptr);
    EXPECT_EQ(anchorCount(), 1u);
    EXPECT_FALSE(gestureHandled);
}

TEST_F(TouchTest, ButtonWalkStopsAtButtonNamesOnly) {
    EXPECT_EQ(controller.findButtonNode(nullptr), nullptr);
    EXPECT_EQ(controller.findButtonNode(controller.nodeHelpButtonModel), controller.nodeHelpButtonModel);
    EXPECT_EQ(controller.findButtonNode(meshOf(controller.nodeEarthModel)), nullptr);
    auto fake = MemoryNode::make();
    fake->nodeName = "marsButton";
    mem(controller.nodeMarsButtonModel)->appendChild(fake);
    EXPECT_EQ(controller.findButtonNode(fake), controller.nodeMarsButtonModel);
}

}  // namespace
}  // namespace orrery::scenario
