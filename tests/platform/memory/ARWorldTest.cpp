#include "platform/memory/ARWorld.h"
#include "platform/memory/MemoryPlatform.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

using namespace orrery;
using namespace orrery::memory;

namespace {

/// A world that answers every feature-point hit test with `points` and sees the anchors it was
/// given where `seen` says (none until told).
class ScriptedWorld final : public ARWorld {
public:
    std::vector<simd_float4x4> featurePoints(CGPoint point) override {
        askedAt.push_back(point);
        return points;
    }
    void track(const std::shared_ptr<ARAnchor>& anchor) override { tracked.push_back(anchor.get()); }
    std::optional<simd_float4x4> trackedTransform(const ARAnchor& anchor) override {
        const auto at = seen.find(&anchor);
        return at == seen.end() ? std::nullopt : std::optional(at->second);
    }
    std::vector<simd_float4x4> points;
    std::vector<CGPoint> askedAt;
    std::vector<const ARAnchor*> tracked;
    std::map<const ARAnchor*, simd_float4x4> seen;
};

}  // namespace

TEST(MemoryWorld, FeaturePointHitTestsAskTheWorldInsteadOfTheRoom) {
    MemoryPlatform platform;
    auto& view = *platform.view;
    view.session().runWithConfigurationOptions({}, 0);
    platform.runFrame();
    const CGPoint floor{195, 800};  // the room's floor lies here
    ASSERT_FALSE(view.hitTestTypes(floor, ARHitTestResultTypeFeaturePoint).empty());

    ScriptedWorld world;
    world.points = {makeTranslation({1, 2, 3}), makeTranslation({4, 5, 6})};
    view.world = &world;
    const auto hits = view.hitTestTypes(floor, ARHitTestResultTypeFeaturePoint);
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[1].worldTransform.columns[3], (std::array<float, 4>{4, 5, 6, 1}));
    ASSERT_EQ(world.askedAt.size(), 1u);
    EXPECT_EQ(world.askedAt[0], floor);
    // Other kinds of hit test find nothing, as without a world; a prepared answer still comes first.
    EXPECT_TRUE(view.hitTestTypes(floor, 0).empty());
    view.prepareFeatureHits({makeTranslation({7, 8, 9})});
    EXPECT_EQ(view.hitTestTypes(floor, ARHitTestResultTypeFeaturePoint).at(0).worldTransform.columns[3][0], 7);
    EXPECT_EQ(world.askedAt.size(), 1u);
}

TEST(MemoryWorld, NodesOfTrackedAnchorsFollowTheWorldEachFrame) {
    MemoryPlatform platform;
    auto& view = *platform.view;
    view.setScene(platform.newScene());
    auto& session = view.session();
    session.runWithConfigurationOptions({}, 0);
    const auto before = std::make_shared<ARAnchor>(makeTranslation({1, 0, 0}));
    session.addAnchor(before);  // added while no world stood under the view

    ScriptedWorld world;
    view.world = &world;
    const auto unseen = std::make_shared<ARAnchor>(makeTranslation({2, 0, 0}));
    const auto moving = std::make_shared<ARAnchor>(makeTranslation({3, 0, 0}));
    session.addAnchor(unseen);
    session.addAnchor(moving);
    EXPECT_EQ(world.tracked, (std::vector<const ARAnchor*>{unseen.get(), moving.get()}));

    world.seen[moving.get()] = makeTranslation({3, 1, -1});
    platform.runFrame();
    ASSERT_EQ(view.anchorNodes.size(), 3u);
    EXPECT_EQ(view.anchorNodes[0].second->nodePosition(), (SCNVector3{1, 0, 0}));
    EXPECT_EQ(view.anchorNodes[1].second->nodePosition(), (SCNVector3{2, 0, 0}));  // not seen yet: where added
    EXPECT_EQ(view.anchorNodes[2].second->nodePosition(), (SCNVector3{3, 1, -1}));
    world.seen[moving.get()] = makeTranslation({3, 2, -2});
    platform.runFrame();
    EXPECT_EQ(view.anchorNodes[2].second->nodePosition(), (SCNVector3{3, 2, -2}));
    // A paused session runs no frames: nodes stay.
    session.pause();
    world.seen[moving.get()] = makeTranslation({0, 0, 0});
    platform.runFrame();
    EXPECT_EQ(view.anchorNodes[2].second->nodePosition(), (SCNVector3{3, 2, -2}));
}
