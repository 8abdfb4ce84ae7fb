#include "tests/app/ControllerFixture.h"

namespace orrery::scenario {
namespace {

class LifecycleTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        load();
    }

    /// A touch off the buttons over a detected feature point.
    void addAnchorByTouch() {
        platform.view->prepareFeatureHits({makeTranslation({0.5f, -1.4f, -1.5f})});
        touchEnd(nullptr);
    }

    std::string copyOnAnchor(std::size_t i) const {
        const auto& node = platform.view->anchorNodes.at(i).second;
        if (node->children().size() != 1) return "<" + std::to_string(node->children().size()) + " copies>";
        return node->children().front()->nodeName.value_or("<none>");
    }
};

TEST_F(LifecycleTest, SessionRunsWhileTheViewIsShownAndKeepsItsAnchors) {
    EXPECT_EQ(platform.view->arSession.state, memory::SessionState::notStarted);
    controller.viewWillAppear(true);
    EXPECT_EQ(platform.view->arSession.state, memory::SessionState::running);
    ASSERT_TRUE(platform.view->arSession.configuration.has_value());
    EXPECT_EQ(platform.view->arSession.configuration->planeDetection, ARWorldTrackingConfiguration::none);
    EXPECT_EQ(platform.view->arSession.lastRunOptions, 0u);

    platform.runFrame();
    addAnchorByTouch();
    platform.runFrame();
    controller.viewWillDisappear(true);
    EXPECT_EQ(platform.view->arSession.state, memory::SessionState::paused);
    controller.didReceiveMemoryWarning();
    controller.viewWillAppear(false);
    EXPECT_EQ(platform.view->arSession.state, memory::SessionState::running);
    EXPECT_EQ(platform.view->arSession.anchors.size(), 1u);
    EXPECT_EQ(copyOnAnchor(0), "Earth");
    EXPECT_NE(mem(controller.nodeEarthModel), nullptr);
}

TEST_F(LifecycleTest, EachAnchorGetsTheSelectionAtTheTimeItsBlockRuns) {
    controller.viewWillAppear(false);
    platform.runFrame();
    addAnchorByTouch();
    platform.runFrame();
    ASSERT_EQ(platform.view->anchorNodes.size(), 1u);
    EXPECT_EQ(copyOnAnchor(0), "Earth");

    // Two anchors before the next frame; the selection changes between the touches,
    // but both blocks run after it, so both copies are Suns.
    addAnchorByTouch();
    touchEnd(controller.nodeSolarSystemButtonModel);
    addAnchorByTouch();
    EXPECT_EQ(platform.view->anchorNodes.size(), 1u);
    platform.runFrame();
    ASSERT_EQ(platform.view->anchorNodes.size(), 3u);
    EXPECT_EQ(copyOnAnchor(1), "Sun");
    EXPECT_EQ(copyOnAnchor(2), "Sun");

    // Reported now, run after a later selection: the later one wins.
    addAnchorByTouch();
    platform.view->reportPendingAnchors();
    selectBodyByName("Pluto");
    platform.drainMainQueue();
    EXPECT_EQ(copyOnAnchor(3), "Pluto");
}

TEST_F(LifecycleTest, PlaneAnchorsGetNothingOtherAnchorsOneBlock) {
    auto node = MemoryNode::make();
    controller.rendererDidAddNodeForAnchor(*platform.view, node,
                                           std::make_shared<ARPlaneAnchor>(matrix_identity_float4x4()));
    EXPECT_TRUE(platform.mainQueue.empty());
    controller.rendererDidAddNodeForAnchor(*platform.view, node, std::make_shared<ARAnchor>(matrix_identity_float4x4()));
    ASSERT_EQ(platform.mainQueue.size(), 1u);
    // Nothing changes until the main queue runs.
    EXPECT_TRUE(node->children().empty());
    platform.drainMainQueue();
    ASSERT_EQ(node->children().size(), 1u);
    EXPECT_EQ(node->children().front()->nodeName, "Earth");
}

TEST_F(LifecycleTest, DetachedModelsAreStillPlacedAndCopiesActLikeModels) {
    controller.viewWillAppear(false);
    platform.runFrame();
    touchEnd(controller.nodeUranusButtonModel);
    gesture("didLongPress:", UIGestureRecognizerState::began, meshOf(controller.nodeUranusModel));
    ASSERT_EQ(mem(controller.nodeUranusModel)->parent(), nullptr);
    gestureHandled = false;

    addAnchorByTouch();
    platform.runFrame();
    ASSERT_EQ(copyOnAnchor(0), "Uranus");
    const auto copy = platform.view->anchorNodes.front().second->children().front();
    EXPECT_EQ(copy->nodeScale, (SCNVector3{0.5f, 0.5f, 0.5f}));

    // A double tap on the copy's mesh selects and describes the body.
    selectBodyByName("Earth");
    gesture("didDoubleTap:", UIGestureRecognizerState::ended, copy->children().front());
    EXPECT_EQ(selectedBody, 10);
    EXPECT_EQ(labelText(), std::string(BodyCatalog::uranusText));
    // A long press removes the copy for good; the model stays in its handle.
    gesture("didLongPress:", UIGestureRecognizerState::began, copy->children().front());
    EXPECT_EQ(copy->parent(), nullptr);
    EXPECT_NE(controller.nodeUranusModel, nullptr);
}

TEST(ProcessState, ResetRestoresTheStartValues) {
    selectedBody = 9;
    gestureHandled = true;
    isTextShown = true;
    resetProcessState();
    EXPECT_EQ(selectedBody, 3);
    EXPECT_FALSE(gestureHandled);
    EXPECT_FALSE(isTextShown);
}

} // namespace
} // namespace orrery::scenario
