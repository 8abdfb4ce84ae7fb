#include "tests/app/ControllerFixture.h"

namespace orrery::scenario {
namespace {

class LifecycleTest : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        controller.viewDidLoad();
        controller.viewWillAppear(false);
        platform.runFrame();
    }
    void addAnchor() { touchFeaturePoint(makeTranslation({0.5f, -1.4f, -1.5f})); }
    std::string copyOn(std::size_t anchor) const {
        const auto& copies = platform.view->anchorNodes.at(anchor).second->children();
        return copies.size() == 1 ? copies[0]->nodeName.value_or("<none>") : std::to_string(copies.size()) + " copies";
    }
};

TEST_F(LifecycleTest, SessionRunsWhileShownAndKeepsItsAnchorsOverAPause) {
    auto& session = platform.view->arSession;
    EXPECT_EQ(session.state, memory::SessionState::running);
    EXPECT_EQ(session.configuration->planeDetection, ARWorldTrackingConfiguration::none);
    EXPECT_EQ(session.lastRunOptions, 0u);
    addAnchor();
    platform.runFrame();
    platform.log->takeNew();
    controller.viewWillDisappear(true);
    EXPECT_EQ(session.state, memory::SessionState::paused);
    controller.viewWillAppear(true);
    controller.didReceiveMemoryWarning();
    // The platform's own part runs first, with the animated flag passed on.
    const auto calls = platform.log->takeNew();
    std::vector<std::string> ops;
    for (const auto& call : calls) ops.push_back(call.op);
    EXPECT_EQ(ops, (std::vector<std::string>{"viewWillDisappear:", "session", "pause", "viewWillAppear:", "session",
                                             "runWithConfiguration:options:", "didReceiveMemoryWarning"}));
    ASSERT_EQ(calls.size(), 7u);
    EXPECT_EQ(calls[0].args, nlohmann::json::array({true}));
    EXPECT_EQ(calls[3].args, nlohmann::json::array({true}));
    EXPECT_EQ(session.state, memory::SessionState::running);
    EXPECT_EQ(session.anchors.size(), 1u);
    EXPECT_EQ(copyOn(0), "Earth");
}

TEST_F(LifecycleTest, EachCopyFollowsTheSelectionWhenItsBlockRuns) {
    // Two anchors before the next frame with a selection change between the touches:
    // both blocks run after it, so both copies are Suns.
    addAnchor();
    touchEnd(controller.nodeSolarSystemButtonModel);
    addAnchor();
    platform.runFrame();
    EXPECT_EQ(copyOn(0), "Sun");
    EXPECT_EQ(copyOn(1), "Sun");
    addAnchor();
    platform.view->reportPendingAnchors();
    selectBodyByName("Pluto");
    platform.drainMainQueue();
    EXPECT_EQ(copyOn(2), "Pluto");
}

TEST_F(LifecycleTest, PlaneAnchorsGetNothingOtherAnchorsOneBlockThatPlacesACopy) {
    auto node = MemoryNode::make(platform.log);
    platform.log->takeNew();
    controller.rendererDidAddNodeForAnchor(*platform.view, node,
                                           std::make_shared<ARPlaneAnchor>(matrix_identity_float4x4()));
    EXPECT_TRUE(platform.mainQueue.empty());
    controller.rendererDidAddNodeForAnchor(*platform.view, node,
                                           std::make_shared<ARAnchor>(matrix_identity_float4x4()));
    EXPECT_EQ(platform.mainQueue.size(), 1u);
    EXPECT_TRUE(node->children().empty());
    EXPECT_EQ(newLines(), (Lines{"async"}));
    platform.drainMainQueue();
    EXPECT_EQ(node->children().size(), 1u);
    EXPECT_EQ(newLines(), (Lines{"Earth.clone", "Earth.setScale: [0.5,0.5,0.5]", "Earth.setPosition: [0,0.5,0]",
                                 R"(addChildNode: "Earth")"}));
}

TEST_F(LifecycleTest, AQueuedBlockKeepsTheControllerUntilItHasRun) {
    // The view controller's owner lets go between the anchor report and the block's run (on the
    // device: the view controller goes away while the block waits on the main queue).
    auto anchorNode = MemoryNode::make();
    controller.rendererDidAddNodeForAnchor(*platform.view, anchorNode,
                                           std::make_shared<ARAnchor>(matrix_identity_float4x4()));
    std::shared_ptr<ViewController> owner = simulator.releaseController();
    std::weak_ptr<ViewController> watch = owner;
    owner.reset();
    ASSERT_FALSE(watch.expired()) << "only the queued block holds the controller now";
    platform.drainMainQueue();
    ASSERT_EQ(anchorNode->children().size(), 1u);
    EXPECT_EQ(anchorNode->children()[0]->nodeName, "Earth");
    EXPECT_TRUE(watch.expired()) << "the block dropped its reference after running";
}

/// A scene view whose renderer reports one more anchor while it is being taken down, as the
/// device's rendering thread may while the controller that owns the view goes away.
class ReportingOnTeardownView final : public ARSCNView {
public:
    explicit ReportingOnTeardownView(std::shared_ptr<ARSCNView> inner, std::shared_ptr<MemoryNode> lateAnchorNode)
        : inner_(std::move(inner)), lateAnchorNode_(std::move(lateAnchorNode)) {}
    ~ReportingOnTeardownView() override {
        if (delegate_)
            delegate_->rendererDidAddNodeForAnchor(*this, lateAnchorNode_,
                                                   std::make_shared<ARAnchor>(matrix_identity_float4x4()));
    }
    std::shared_ptr<SCNScene> scene() const override { return inner_->scene(); }
    void setScene(const std::shared_ptr<SCNScene>& scene) override { inner_->setScene(scene); }
    void setDelegate(ARSCNViewDelegate* delegate) override { delegate_ = delegate; }
    void setShowsStatistics(bool shows) override { inner_->setShowsStatistics(shows); }
    void setAntialiasingMode(SCNAntialiasingMode mode) override { inner_->setAntialiasingMode(mode); }
    ARSession& session() override { return inner_->session(); }
    std::vector<SCNHitTestResult> hitTestOptions(CGPoint point, const SCNHitTestOptions& options) override {
        return inner_->hitTestOptions(point, options);
    }
    std::vector<ARHitTestResult> hitTestTypes(CGPoint point, std::uint64_t types) override {
        return inner_->hitTestTypes(point, types);
    }
    void addGestureRecognizer(const std::shared_ptr<UIGestureRecognizer>& recognizer) override {
        inner_->addGestureRecognizer(recognizer);
    }

private:
    std::shared_ptr<ARSCNView> inner_;
    std::shared_ptr<MemoryNode> lateAnchorNode_;
    ARSCNViewDelegate* delegate_ = nullptr;
};

TEST(ControllerTeardown, AnAnchorReportedWhileTheControllerGoesPlacesNothing) {
    memory::MemoryPlatform platform{std::filesystem::temp_directory_path()};
    auto lateAnchorNode = MemoryNode::make();
    std::shared_ptr<ViewController> owner = ViewController::make(platform);
    owner->sceneView = std::make_shared<ReportingOnTeardownView>(platform.view, lateAnchorNode);
    owner->sceneView->setDelegate(owner.get());
    std::weak_ptr<ViewController> watch = owner;
    owner.reset();  // the report arrives from the view's destructor and must neither stop nor queue
    EXPECT_TRUE(watch.expired());
    EXPECT_TRUE(platform.mainQueue.empty());
    EXPECT_TRUE(lateAnchorNode->children().empty());
}

TEST_F(LifecycleTest, DetachedModelsArePlacedAndCopiesRespondLikeModels) {
    touchEnd(controller.nodeUranusButtonModel);
    gesture("didLongPress:", State::began, meshOf(controller.nodeUranusModel));
    ASSERT_EQ(mem(controller.nodeUranusModel)->parent(), nullptr);
    gestureHandled = false;
    addAnchor();
    platform.runFrame();
    ASSERT_EQ(copyOn(0), "Uranus");
    const auto copy = platform.view->anchorNodes.at(0).second->children().at(0);
    selectBodyByName("Earth");
    gesture("didDoubleTap:", State::ended, copy->children().at(0));
    EXPECT_EQ(selectedBody, 10);
    EXPECT_EQ(labelText(), std::string(BodyCatalog::uranusText));
    gesture("didLongPress:", State::began, copy->children().at(0));
    EXPECT_EQ(copy->parent(), nullptr);
}

}  // namespace
}  // namespace orrery::scenario
