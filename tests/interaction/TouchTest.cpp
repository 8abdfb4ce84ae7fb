#include "tests/app/ControllerFixture.h"

#include <cmath>

namespace orrery::scenario {
namespace {

/// Plain 4x4 product of column-major matrices, written out here to check the controller's.
simd_float4x4 multiply(const simd_float4x4& a, const simd_float4x4& b) {
    simd_float4x4 r;
    for (int c = 0; c < 4; ++c)
        for (int row = 0; row < 4; ++row) {
            double sum = 0;
            for (int k = 0; k < 4; ++k) sum += double(a.columns[k][row]) * double(b.columns[c][k]);
            r.columns[c][row] = static_cast<float>(sum);
        }
    return r;
}

simd_float4x4 yawMatrix(float yaw) {
    simd_float4x4 r;
    r.columns[0] = {std::cos(yaw), 0, -std::sin(yaw), 0};
    r.columns[1] = {0, 1, 0, 0};
    r.columns[2] = {std::sin(yaw), 0, std::cos(yaw), 0};
    r.columns[3] = {0, 0, 0, 1};
    return r;
}

void expectNear(const simd_float4x4& actual, const simd_float4x4& expected) {
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r) EXPECT_NEAR(actual.columns[c][r], expected.columns[c][r], 1e-5) << c << "," << r;
}

class TouchTest : public ControllerTest {
protected:
    /// A feature point tilted about x, so W x R and R x W differ in every block.
    simd_float4x4 featurePoint() const {
        simd_float4x4 w;
        const float a = 0.3f;
        w.columns[0] = {1, 0, 0, 0};
        w.columns[1] = {0, std::cos(a), std::sin(a), 0};
        w.columns[2] = {0, -std::sin(a), std::cos(a), 0};
        w.columns[3] = {0.3f, -1.4f, -1.2f, 1};
        return w;
    }

    void SetUp() override {
        ControllerTest::SetUp();
        load();
        controller.viewWillAppear(false);
        platform.view->camera.yaw = 0.6f;
        platform.runFrame();
    }

    std::size_t anchorCount() { return platform.view->arSession.anchors.size(); }

    void touchFeaturePoint(const std::shared_ptr<SCNNode>& under = nullptr) {
        platform.view->prepareFeatureHits({featurePoint()});
        touchEnd(under);
    }
};

TEST_F(TouchTest, TouchOnAMeshInsideAButtonSelectsAndPresses) {
    touchEnd(meshOf(controller.nodeMarsButtonModel));
    EXPECT_EQ(selectedBody, 6);
    EXPECT_EQ(mem(controller.nodeMarsModel)->parent(), root());
    EXPECT_EQ(mem(controller.nodeMarsModel)->nodePosition, (SCNVector3{0, 0, -2}));
    EXPECT_EQ(labelText(), std::string(BodyCatalog::marsText));
    EXPECT_EQ(anchorCount(), 0u);

    touchEnd(controller.nodeSolarSystemButtonModel);
    EXPECT_EQ(selectedBody, 0);
    EXPECT_EQ(labelText(), std::string(BodyCatalog::sunText));
}

TEST_F(TouchTest, HelpButtonKeepsTheSelection) {
    touchEnd(meshOf(controller.nodeCeresButtonModel));
    ASSERT_EQ(selectedBody, 7);
    touchEnd(meshOf(controller.nodeHelpButtonModel));
    EXPECT_EQ(selectedBody, 7);
    EXPECT_EQ(platform.application.openedURLs.size(), 1u);
    EXPECT_EQ(anchorCount(), 0u);
}

TEST_F(TouchTest, TouchElsewherePlacesTheSelectedBodyTurnedByTheCameraYaw) {
    const auto frame = platform.view->arSession.currentFrame();
    ASSERT_NE(frame, nullptr);
    const float yaw = frame->camera.eulerAngles.y;
    ASSERT_NE(yaw, 0.0f);

    // A touch on a body is no button: it places like a touch on empty space.
    touchFeaturePoint(meshOf(controller.nodeEarthModel));
    ASSERT_EQ(anchorCount(), 1u);
    const auto anchor = platform.view->arSession.anchors.front();
    expectNear(anchor->transform(), multiply(featurePoint(), yawMatrix(yaw)));
    // The position is the feature point's exactly.
    EXPECT_EQ(anchor->transform().columns[3], featurePoint().columns[3]);

    platform.runFrame();
    ASSERT_EQ(platform.view->anchorNodes.size(), 1u);
    const auto& anchorNode = platform.view->anchorNodes.front().second;
    ASSERT_EQ(anchorNode->children().size(), 1u);
    const auto copy = anchorNode->children().front();
    EXPECT_NE(copy, mem(controller.nodeEarthModel));
    EXPECT_EQ(copy->nodeName, "Earth");
    EXPECT_EQ(copy->nodeScale, (SCNVector3{0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(copy->nodePosition, (SCNVector3{0, 0.5f, 0}));
    EXPECT_EQ(mem(controller.nodeEarthModel)->parent(), root());
}

TEST_F(TouchTest, NoFeaturePointPlacesNothing) {
    gestureHandled = true;
    platform.view->prepareFeatureHits({});
    touchEnd(nullptr);
    EXPECT_EQ(anchorCount(), 0u);
    EXPECT_FALSE(gestureHandled);
}

TEST_F(TouchTest, GestureFlagSkipsOnePlacementAndSurvivesButtonPresses) {
    recognizer("didPinch:").record.scale = 1.0;
    gesture("didPinch:", UIGestureRecognizerState::changed, meshOf(controller.nodeEarthModel));
    ASSERT_TRUE(gestureHandled);

    touchEnd(controller.nodeVenusButtonModel);
    EXPECT_TRUE(gestureHandled);
    EXPECT_EQ(selectedBody, 2);

    touchFeaturePoint();
    EXPECT_EQ(anchorCount(), 0u);
    EXPECT_FALSE(gestureHandled);

    touchFeaturePoint();
    EXPECT_EQ(anchorCount(), 1u);
    platform.runFrame();
    EXPECT_EQ(platform.view->anchorNodes.front().second->children().front()->nodeName, "Venus");
}

TEST_F(TouchTest, ButtonWalkClimbsToTheNamedRootOnly) {
    EXPECT_EQ(controller.findButtonNode(nullptr), nullptr);
    EXPECT_EQ(controller.findButtonNode(controller.nodeHelpButtonModel), controller.nodeHelpButtonModel);
    EXPECT_EQ(controller.findButtonNode(meshOf(controller.nodeErisButtonModel)), controller.nodeErisButtonModel);
    EXPECT_EQ(controller.findButtonNode(meshOf(controller.nodeEarthModel)), nullptr);
    EXPECT_EQ(controller.findButtonNode(controller.textNode), nullptr);

    // A node named like a button only in letter case is no button.
    auto fake = MemoryNode::make();
    fake->nodeName = "marsButton";
    root()->appendChild(fake);
    EXPECT_EQ(controller.findButtonNode(fake), nullptr);
}

} // namespace
} // namespace orrery::scenario
