#include "platform/memory/MemoryPlatform.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

using namespace orrery;
using namespace orrery::memory;

namespace {

/// Hands every new anchor node to the main queue, as the view controller does.
class QueueingDelegate : public ARSCNViewDelegate {
public:
    explicit QueueingDelegate(MemoryPlatform& platform) : platform_(platform) {}
    void rendererDidAddNodeForAnchor(ARSCNView&, const std::shared_ptr<SCNNode>& node,
                                     const std::shared_ptr<ARAnchor>& anchor) override {
        events.push_back("callback " + std::to_string(anchor->transform().columns[3][0]));
        nodes.push_back(node);
        attachedAtCallback.push_back(asMemory(node)->parent() != nullptr);
        platform_.mainQueueAsync(
            [this, anchor] { events.push_back("block " + std::to_string(anchor->transform().columns[3][0])); });
    }
    std::vector<std::string> events;
    std::vector<std::shared_ptr<SCNNode>> nodes;
    std::vector<bool> attachedAtCallback;

private:
    MemoryPlatform& platform_;
};

std::shared_ptr<ARAnchor> anchorAt(float x) { return std::make_shared<ARAnchor>(makeTranslation({x, 0.5f, -2})); }

}  // namespace

TEST(MemorySession, AnchorsAreReportedOnTheNextRunningFrame) {
    MemoryPlatform platform;
    QueueingDelegate delegate(platform);
    auto& view = *platform.view;
    view.setScene(platform.newScene());
    view.setDelegate(&delegate);
    auto& session = view.session();

    session.addAnchor(anchorAt(1));
    platform.runFrame();  // not started: no frame, nothing reported
    EXPECT_EQ(session.currentFrame(), nullptr);
    EXPECT_TRUE(delegate.events.empty());

    session.runWithConfigurationOptions({}, ARSessionRunOptionNone);
    session.addAnchor(anchorAt(2));
    EXPECT_TRUE(delegate.events.empty());  // nothing before the frame
    platform.runFrame();
    EXPECT_EQ(delegate.events,
              (std::vector<std::string>{"callback 1.000000", "callback 2.000000", "block 1.000000", "block 2.000000"}));
    ASSERT_EQ(delegate.nodes.size(), 2u);
    EXPECT_EQ(delegate.attachedAtCallback, (std::vector<bool>{true, true}));
    auto second = asMemory(delegate.nodes[1]);
    EXPECT_EQ(second->parent(), view.currentScene->root());
    EXPECT_EQ(second->nodePosition(), (SCNVector3{2, 0.5f, -2}));
    EXPECT_FALSE(second->nodeName.has_value());
    EXPECT_TRUE(second->children().empty());

    // Paused: anchors wait for the session to run again, which keeps them.
    session.pause();
    session.addAnchor(anchorAt(3));
    platform.runFrame();
    EXPECT_EQ(delegate.events.size(), 4u);
    session.runWithConfigurationOptions({}, ARSessionRunOptionNone);
    platform.runFrame();
    EXPECT_EQ(delegate.events.back(), "block 3.000000");
    EXPECT_EQ(view.arSession.anchors.size(), 3u);
    EXPECT_EQ(view.currentScene->root()->children().size(), 3u);

    // Only a run that asks for it drops the anchors and their nodes.
    session.addAnchor(anchorAt(4));
    session.runWithConfigurationOptions({}, ARSessionRunOptionRemoveExistingAnchors);
    platform.runFrame();
    EXPECT_TRUE(view.arSession.anchors.empty());
    EXPECT_TRUE(view.anchorNodes.empty());
    EXPECT_TRUE(view.currentScene->root()->children().empty());
    EXPECT_EQ(delegate.events.size(), 6u);
}

TEST(MemorySession, PauseBeforeRunningLeavesTheSessionUnstarted) {
    MemoryPlatform platform;
    platform.view->session().pause();
    EXPECT_EQ(platform.view->arSession.state, SessionState::notStarted);
}

TEST(MemoryClock, AdvanceRunsWholeFramesThenTheRest) {
    MemoryPlatform platform;
    platform.view->setScene(platform.newScene());
    platform.view->session().runWithConfigurationOptions({}, 0);
    std::vector<double> frameTimes;
    for (double seconds : {0.05, 2.5 / 60, 0.0, -1.0}) {
        platform.advance(seconds);
        frameTimes.push_back(platform.view->arSession.latestFrame ? platform.view->arSession.latestFrame->timestamp
                                                                  : -1);
    }
    EXPECT_NEAR(platform.time, 0.05 + 2.5 / 60, 1e-12);
    // 0.05 s is three frames, the last starting at 2/60; 2.5 frames are two frames and a half one.
    EXPECT_NEAR(frameTimes[0], 2.0 / 60, 1e-12);
    EXPECT_NEAR(frameTimes[1], 0.05 + 2.0 / 60, 1e-12);
    EXPECT_EQ(frameTimes[2], frameTimes[1]);
    EXPECT_EQ(frameTimes[3], frameTimes[1]);
}

TEST(MemorySession, AnchorNodesTakeTheAnchorsWholeTransform) {
    MemoryPlatform platform;
    auto& view = *platform.view;
    view.setScene(platform.newScene());
    view.session().runWithConfigurationOptions({}, 0);
    simd_float4x4 turned = simd_matrix4x4(SCNMatrix4MakeRotation(0.6f, 0, 1, 0));
    turned.columns[3] = {1, -1.4f, -2, 1};
    view.session().addAnchor(std::make_shared<ARAnchor>(turned));
    platform.runFrame();
    ASSERT_EQ(view.anchorNodes.size(), 1u);
    const auto node = view.anchorNodes[0].second;
    EXPECT_EQ(node->nodePosition(), (SCNVector3{1, -1.4f, -2}));
    EXPECT_NEAR(node->nodeRotation().y * node->nodeRotation().w, 0.6, 1e-6);
    EXPECT_NEAR(node->nodeScale().x, 1, 1e-6);
}

TEST(MemorySession, AFrameReportsAnchorsThenRunsTheQueueThenAdvancesActions) {
    MemoryPlatform platform;
    platform.view->setScene(platform.newScene());
    auto node = MemoryNode::make();
    platform.view->currentScene->root()->appendChild(node);
    // A block queued before the frame starts an action; the same frame already moves it on.
    platform.mainQueueAsync([&] { node->runActionForKey(SCNAction::moveByDuration({1, 0, 0}, 1), "move"); });
    platform.runFrame(0.25);
    EXPECT_NEAR(node->nodePosition().x, 0.25, 1e-6);
    EXPECT_DOUBLE_EQ(platform.time, 0.25);
}

TEST(MemorySession, FramesCarryTheCameraPose) {
    MemoryPlatform platform;
    auto& view = *platform.view;
    view.session().runWithConfigurationOptions({}, 0);
    EXPECT_EQ(view.session().currentFrame(), nullptr);
    view.camera.position = {0.5f, 0.25f, 1};
    view.camera.yaw = 0.3f;
    view.camera.pitch = -0.2f;
    platform.runFrame();
    auto first = view.session().currentFrame();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->camera.eulerAngles, (SCNVector3{-0.2f, 0.3f, 0}));
    EXPECT_EQ(first->camera.transform.columns[3], (std::array<float, 4>{0.5f, 0.25f, 1, 1}));
    // Yaw turns the viewing direction (-z column negated) towards -x.
    EXPECT_LT(-first->camera.transform.columns[2][0], 0);
    platform.runFrame();
    EXPECT_NE(view.session().currentFrame(), first);
    EXPECT_GT(view.session().currentFrame()->timestamp, first->timestamp);
}

TEST(MemoryMainQueue, DrainsInOrderIncludingBlocksQueuedMeanwhile) {
    MemoryPlatform platform;
    std::vector<int> order;
    platform.mainQueueAsync([&] {
        order.push_back(1);
        platform.mainQueueAsync([&] { order.push_back(3); });
    });
    platform.mainQueueAsync([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    platform.drainMainQueue();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
    EXPECT_TRUE(platform.mainQueue.empty());
}

TEST(MemoryPlatformAssets, TheEnvironmentNamesTheAssetFolderWhenSetAndNotEmpty) {
    const char* const saved = std::getenv("ORRERY_ASSET_PARENT");
    const std::string kept = saved ? saved : "";
    for (const auto& [value, expected] : {std::pair<const char*, std::string>{nullptr, ORRERY_SOURCE_DIR},
                                          {"", ORRERY_SOURCE_DIR},
                                          {"/elsewhere/assets", "/elsewhere/assets"}}) {
        if (value)
            setenv("ORRERY_ASSET_PARENT", value, 1);
        else
            unsetenv("ORRERY_ASSET_PARENT");
        EXPECT_EQ(MemoryPlatform::defaultAssetParent(), std::filesystem::path(expected)) << (value ? value : "unset");
    }
    if (saved)
        setenv("ORRERY_ASSET_PARENT", kept.c_str(), 1);
    else
        unsetenv("ORRERY_ASSET_PARENT");
}
