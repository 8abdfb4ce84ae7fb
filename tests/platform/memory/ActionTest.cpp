#include "platform/memory/MemoryPlatform.h"
#include "tests/platform/memory/MemoryTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

using namespace orrery;
using namespace orrery::memory;
using orrery::memory::support::rotated;

namespace {

constexpr double pi = std::numbers::pi;

SCNVector3 xAxisOf(const MemoryNode& node) { return rotated(node.nodeRotation(), {1, 0, 0}); }

}  // namespace

TEST(MemoryActions, KeysReplaceOrRunConcurrently) {
    auto node = MemoryNode::make();
    node->runActionForKey(SCNAction::moveByDuration({1, 0, 0}, 10), "move");
    node->advanceActions(5);
    EXPECT_NEAR(node->nodePosition().x, 0.5, 1e-6);

    // Same key: the first move stops where it got to.
    node->runActionForKey(SCNAction::moveByDuration({0, 1, 0}, 10), "move");
    EXPECT_EQ(node->actions().size(), 1u);
    // A new key and no key both run alongside.
    node->runActionForKey(SCNAction::moveByDuration({0, 0, 2}, 10), "other");
    node->runActionForKey(SCNAction::scaleByDuration(4, 10), std::nullopt);
    EXPECT_EQ(node->actions().size(), 3u);

    node->advanceActions(5);
    EXPECT_VEC3_NEAR(node->nodePosition(), 0.5, 0.5, 1.0, 1e-5);
    EXPECT_NEAR(node->nodeScale().x, 2.0, 1e-5);

    node->removeAllActions();
    EXPECT_TRUE(node->actions().empty());
    node->advanceActions(5);
    EXPECT_VEC3_NEAR(node->nodePosition(), 0.5, 0.5, 1.0, 1e-5);
    EXPECT_NEAR(node->nodeScale().z, 2.0, 1e-5);
    node->removeAllActions();  // none left: harmless
}

TEST(MemoryActions, EndlessSpinTurnsEvenlyOnTheFrameClock) {
    MemoryPlatform platform;
    platform.view->setScene(platform.newScene());
    auto earth = MemoryNode::make();
    platform.view->currentScene->root()->appendChild(earth);
    earth->runActionForKey(SCNAction::repeatActionForever(SCNAction::rotateByXYZDuration(0, 2 * pi, 0, 24)), "spin");

    platform.advance(6);
    EXPECT_NEAR(earth->nodeRotation().w, pi / 2, 1e-4);
    EXPECT_VEC3_NEAR(earth->nodeRotation(), 0, 1, 0, 1e-5);

    // Replacing the spin mid-way keeps the orientation reached and starts the new action from zero.
    earth->runActionForKey(SCNAction::rotateByXYZDuration(0, pi, 0, 4), "spin");
    platform.advance(2);
    EXPECT_VEC3_NEAR(xAxisOf(*earth), -1, 0, 0, 1e-4);  // pi/2 + pi/2
    platform.advance(2);
    EXPECT_VEC3_NEAR(xAxisOf(*earth), 0, 0, 1, 1e-4);  // pi/2 + pi
    EXPECT_TRUE(earth->actions().empty());

    // A full endless turn comes round again and keeps running.
    earth->runActionForKey(SCNAction::repeatActionForever(SCNAction::rotateByXYZDuration(0, 2 * pi, 0, 3)), "spin");
    platform.advance(3);
    EXPECT_VEC3_NEAR(xAxisOf(*earth), 0, 0, 1, 1e-4);
    EXPECT_EQ(earth->actions().size(), 1u);
}

TEST(MemoryActions, ASpinCutIntoFramesEndsWhereOneStepDoes) {
    // A turn every 24 s: a quarter, a half and twenty-five whole turns, in frames of 1/60 s and at once.
    const struct {
        double seconds;
        SCNVector3 xAxis;
    } cases[] = {{6, {0, 0, -1}}, {12, {-1, 0, 0}}, {600, {1, 0, 0}}};
    for (const auto& c : cases) {
        MemoryPlatform platform;
        platform.view->setScene(platform.newScene());
        auto framed = MemoryNode::make(), stepped = MemoryNode::make();
        platform.view->currentScene->root()->appendChild(framed);
        for (const auto& node : {framed, stepped})
            node->runActionForKey(SCNAction::repeatActionForever(SCNAction::rotateByXYZDuration(0, 2 * pi, 0, 24)),
                                  "spin");
        platform.advance(c.seconds);
        stepped->advanceActions(c.seconds);
        SCOPED_TRACE(c.seconds);
        EXPECT_VEC3_NEAR(xAxisOf(*framed), c.xAxis.x, c.xAxis.y, c.xAxis.z, 1e-6);
        EXPECT_VEC3_NEAR(xAxisOf(*stepped), c.xAxis.x, c.xAxis.y, c.xAxis.z, 1e-6);
    }
}

TEST(MemoryActions, TurnsComposeInTheNodesOwnFrame) {
    auto node = MemoryNode::make();
    node->assignRotation({1, 0, 0, static_cast<float>(pi / 2)});
    node->runActionForKey(SCNAction::rotateByXYZDuration(0, pi / 2, 0, 0), "turn");
    // current * delta: the y turn acts first on the node's own axes.
    EXPECT_VEC3_NEAR(xAxisOf(*node), 0, 1, 0, 1e-6);
}

TEST(MemoryActions, ATurnByNothingLeavesTheRotationAsItWas) {
    auto node = MemoryNode::make();
    const SCNVector4 unnormalised{0, 2, 0, 0.5f};  // as a model may give it; a real turn would normalise the axis
    node->assignRotation(unnormalised);
    node->runActionForKey(SCNAction::rotateByXYZDuration(0, 0, 0, 1), "still");
    node->advanceActions(0.5);
    EXPECT_EQ(node->nodeRotation(), unnormalised);
}

TEST(MemoryActions, RepeatCountsAndZeroDurations) {
    auto node = MemoryNode::make();
    node->runActionForKey(SCNAction::repeatActionCount(SCNAction::scaleByDuration(2, 1), 3), "grow");
    node->advanceActions(1.5);
    EXPECT_NEAR(node->nodeScale().y, std::pow(2.0, 1.5), 1e-5);
    node->advanceActions(5);
    EXPECT_NEAR(node->nodeScale().y, 8.0, 1e-5);
    EXPECT_TRUE(node->actions().empty());

    // Duration 0 applies inside runAction, count times, and is not kept.
    node->runActionForKey(SCNAction::repeatActionCount(SCNAction::moveByDuration({1, 0, 0}, 0), 3), "move");
    EXPECT_NEAR(node->nodePosition().x, 3.0, 1e-6);
    node->runActionForKey(SCNAction::rotateByXYZDuration(0, pi / 2, 0, 0), std::nullopt);
    EXPECT_VEC3_NEAR(xAxisOf(*node), 0, 0, -1, 1e-6);
    EXPECT_TRUE(node->actions().empty());
    // So do durations that are no time at all.
    for (const double nonsense : {-1.0, std::numeric_limits<double>::infinity(), std::nan("")}) {
        auto moved = MemoryNode::make();
        moved->runActionForKey(SCNAction::moveByDuration({1, 0, 0}, nonsense), std::nullopt);
        EXPECT_EQ(moved->nodePosition().x, 1.0f) << nonsense;
        EXPECT_TRUE(moved->actions().empty()) << nonsense;
    }

    // A factor of no size or sign applies whole at the end of its run, never in fractional powers.
    auto flipped = MemoryNode::make();
    flipped->runActionForKey(SCNAction::scaleByDuration(-2, 1), std::nullopt);
    flipped->advanceActions(0.5);
    EXPECT_EQ(flipped->nodeScale().y, 1.0f);
    flipped->advanceActions(0.5);
    EXPECT_EQ(flipped->nodeScale().y, -2.0f);

    // No repeat at all does nothing, even of an endless spin.
    auto still = MemoryNode::make();
    const auto endless = SCNAction::repeatActionForever(SCNAction::moveByDuration({1, 0, 0}, 1));
    still->runActionForKey(SCNAction::repeatActionCount(endless, 0), "none");
    still->advanceActions(1);
    EXPECT_EQ(still->nodePosition().x, 0.0f);
    EXPECT_TRUE(still->actions().empty());

    // An endless repeat of an instant action applies once per advance, never in a loop.
    node->runActionForKey(SCNAction::repeatActionForever(SCNAction::moveByDuration({0, 1, 0}, 0)), "step");
    EXPECT_NEAR(node->nodePosition().y, 1.0, 1e-6);
    node->advanceActions(0.5);
    node->advanceActions(0.5);
    EXPECT_NEAR(node->nodePosition().y, 3.0, 1e-6);
    EXPECT_EQ(node->actions().size(), 1u);
}
