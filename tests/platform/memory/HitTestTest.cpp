#include "platform/memory/MemoryPlatform.h"
#include "tests/platform/memory/MemoryTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <numbers>

using namespace orrery;
using namespace orrery::memory;
using orrery::memory::support::boxNode;

namespace {

const SCNHitTestOptions boxesOnly{{SCNHitTestBoundingBoxOnlyKey, true}};

class MemoryHitTest : public ::testing::Test {
protected:
    void SetUp() override {
        platform.view->setScene(platform.newScene());
        root = platform.view->currentScene->root();
    }
    /// The default 390 x 844 portrait view with a 60 degree vertical field of view.
    CGPoint centre() const { return {195, 422}; }
    double focal() const { return 422.0 / std::tan(std::numbers::pi / 6); }

    std::vector<std::shared_ptr<SCNNode>> hitNodes(CGPoint at) {
        std::vector<std::shared_ptr<SCNNode>> nodes;
        for (const auto& r : platform.view->hitTestOptions(at, boxesOnly)) nodes.push_back(r.node);
        return nodes;
    }

    /// A named, scaled, moved model root with a nameless unit mesh below it.
    std::shared_ptr<MemoryNode> model(const char* name, SCNVector3 position, float scale) {
        auto top = MemoryNode::make();
        top->nodeName = name;
        top->assignPosition(position);
        top->assignScale({scale, scale, scale});
        top->appendChild(boxNode({-0.5f, -0.5f, -0.5f}, {0.5f, 0.5f, 0.5f}));
        return top;
    }

    MemoryPlatform platform;
    std::shared_ptr<MemoryNode> root;
};

}  // namespace

TEST_F(MemoryHitTest, NestedModelsReturnTheirMeshesNearestFirst) {
    auto far = model("Far", {0, 0, -10}, 1);
    auto near = model("Near", {0.8f, 0, -5}, 2);  // world box x in [-0.2, 1.8]
    root->appendChild(far);
    root->appendChild(near);
    root->appendChild(MemoryNode::make());  // no geometry: never reported
    auto emptyText = MemoryNode::make();
    emptyText->assignGeometry(std::make_shared<MemoryTextGeometry>(nullptr, "", 0.2));
    emptyText->assignPosition({0, 0, -3});
    root->appendChild(emptyText);

    auto hits = hitNodes(centre());
    ASSERT_EQ(hits.size(), 2u);
    EXPECT_EQ(hits[0], near->children()[0]);
    EXPECT_EQ(hits[1], far->children()[0]);

    // Right of x = 0.5 at depth 10 only the scaled model remains under the point.
    const CGPoint right{195 + focal() * 1.0 / 5.0, 422};
    hits = hitNodes(right);
    ASSERT_EQ(hits.size(), 1u);
    EXPECT_EQ(hits[0], near->children()[0]);

    // Detached models are not in the scene.
    near->detach();
    EXPECT_TRUE(hitNodes(right).empty());
}

TEST_F(MemoryHitTest, BoxesTurnWithTheirNodes) {
    // Straight down the view axis, which the world box of a turned cube beside it holds: in the
    // cube's own space the ray runs along z beside it, so it is missed.
    auto beside = model("Beside", {0.6f, 0.6f, -3}, 1);
    beside->assignRotation({0, 0, 1, static_cast<float>(std::numbers::pi / 4)});
    root->appendChild(beside);
    EXPECT_TRUE(hitNodes(centre()).empty());
    beside->detach();

    // A unit cube 3 m ahead turned 45 degrees about the view axis: a diamond on screen.
    auto turned = model("Turned", {0, 0, -3}, 1);
    turned->assignRotation({0, 0, 1, static_cast<float>(std::numbers::pi / 4)});
    root->appendChild(turned);
    // Towards the old corner (0.45, 0.45) at depth 2.5: inside an unturned box, outside the diamond.
    const double d = focal() * 0.45 / 2.5;
    EXPECT_TRUE(hitNodes({195 + d, 422 - d}).empty());
    // Along the diamond's tip (0.65, 0) at the front face: inside.
    EXPECT_EQ(hitNodes({195 + focal() * 0.65 / 2.5, 422}).size(), 1u);
}

TEST_F(MemoryHitTest, CameraInsideABoxHitsItWhereTheRayLeaves) {
    auto room = boxNode({-3, -3, -9}, {3, 3, 3}, "Room");  // the ray leaves at depth 9
    auto before = boxNode({-0.5f, -0.5f, -5.5f}, {0.5f, 0.5f, -4.5f}, "Before");
    auto after = boxNode({-0.5f, -0.5f, -12.5f}, {0.5f, 0.5f, -11.5f}, "After");
    root->appendChild(after);
    root->appendChild(room);
    root->appendChild(before);
    const auto hits = hitNodes(centre());
    ASSERT_EQ(hits.size(), 3u);
    EXPECT_EQ(hits[0], before);
    EXPECT_EQ(hits[1], room);
    EXPECT_EQ(hits[2], after);
}

TEST_F(MemoryHitTest, OverlapsAreOrderedByWhereTheRayEntersAndBoxesBehindAreNeverHit) {
    auto longBox = boxNode({-1, -1, -20}, {1, 1, -4}, "Long");   // entered at 4, left at 20
    auto shortBox = boxNode({-1, -1, -6}, {1, 1, -5}, "Short");  // entered at 5, left at 6
    auto behind = boxNode({-1, -1, 2}, {1, 1, 3}, "Behind");
    root->appendChild(shortBox);
    root->appendChild(behind);
    root->appendChild(longBox);
    EXPECT_EQ(hitNodes(centre()), (std::vector<std::shared_ptr<SCNNode>>{longBox, shortBox}));
    // The same within a metre of the camera: entered at 0.4 and 0.5, left at 2 and 0.6.
    for (const auto& node : {longBox, shortBox, behind}) {
        node->assignScale({0.1f, 0.1f, 0.1f});
        root->appendChild(node);  // last: the order above must come from distances alone
    }
    EXPECT_EQ(hitNodes(centre()), (std::vector<std::shared_ptr<SCNNode>>{longBox, shortBox}));
}

TEST_F(MemoryHitTest, EquallyNearHitsComeInWalkOrder) {
    const auto sameBox = [] { return boxNode({-1, -1, -6}, {1, 1, -5}); };
    auto group = MemoryNode::make(), inGroup = sameBox(), parent = sameBox(), child = sameBox(), last = sameBox();
    group->appendChild(inGroup);
    parent->appendChild(child);
    for (const auto& node : {last, group, parent, last}) root->appendChild(node);  // `last` again: now last
    using Nodes = std::vector<std::shared_ptr<SCNNode>>;
    EXPECT_EQ(hitNodes(centre()), (Nodes{inGroup, parent, child, last}));
    root->appendChild(group);
    EXPECT_EQ(hitNodes(centre()), (Nodes{parent, child, last, inGroup}));
}

TEST_F(MemoryHitTest, ProjectionIsTheInverseOfTheRayAndSeesNothingBehind) {
    auto& camera = platform.view->camera;
    camera.position = {0.5f, 0.2f, 1};
    camera.yaw = 0.3f;
    camera.pitch = -0.2f;
    const CGPoint point{100, 600};
    SCNVector3 origin, direction;
    camera.rayThrough(point, origin, direction);
    const SCNVector3 ahead{origin.x + 3 * direction.x, origin.y + 3 * direction.y, origin.z + 3 * direction.z};
    const auto projected = camera.project(ahead);
    ASSERT_TRUE(projected);
    EXPECT_NEAR(projected->x, point.x, 1e-3);
    EXPECT_NEAR(projected->y, point.y, 1e-3);
    EXPECT_FALSE(camera.project({origin.x - direction.x, origin.y - direction.y, origin.z - direction.z}));
    EXPECT_TRUE(camera.onScreen({0, 0}) && camera.onScreen({390, 844}));
    EXPECT_FALSE(camera.onScreen({-0.5, 10}) || camera.onScreen({10, 844.5}) || camera.onScreen({390.5, 10}) ||
                 camera.onScreen({10, -0.5}));
    // Only the feature-point type is answered.
    platform.view->session().runWithConfigurationOptions({}, 0);
    platform.runFrame();
    EXPECT_TRUE(platform.view->hitTestTypes({195, 800}, 0).empty());
    EXPECT_FALSE(platform.view->hitTestTypes({195, 800}, ARHitTestResultTypeFeaturePoint).empty());
}

TEST_F(MemoryHitTest, YawTurnsLeftAndPitchTiltsUp) {
    auto left = boxNode({-5.2f, -0.2f, -0.2f}, {-4.8f, 0.2f, 0.2f}, "Left");
    auto above = boxNode({-0.2f, 1.8f, -5.2f}, {0.2f, 2.2f, -4.8f}, "Above");
    root->appendChild(left);
    root->appendChild(above);

    // Straight ahead both are off the ray; the box above shows near the top of the view.
    EXPECT_TRUE(hitNodes(centre()).empty());
    const CGPoint upper{195, 422 - focal() * 2.0 / 5.0};
    EXPECT_EQ(hitNodes(upper), std::vector<std::shared_ptr<SCNNode>>{above});

    platform.view->camera.pitch = static_cast<float>(std::atan2(2.0, 5.0));
    EXPECT_EQ(hitNodes(centre()), std::vector<std::shared_ptr<SCNNode>>{above});

    // Turned left to 0.2 rad short of the box, it lies left of the centre.
    platform.view->camera.pitch = 0;
    platform.view->camera.yaw = static_cast<float>(std::numbers::pi / 2 - 0.2);
    EXPECT_TRUE(hitNodes(centre()).empty());
    EXPECT_TRUE(hitNodes({195 + focal() * std::tan(0.2), 422}).empty());
    EXPECT_EQ(hitNodes({195 - focal() * std::tan(0.2), 422}), std::vector<std::shared_ptr<SCNNode>>{left});
}

TEST_F(MemoryHitTest, PreparedListsAnswerTheNextQueryOnly) {
    auto box = boxNode({-1, -1, -6}, {1, 1, -4}, "Box");
    root->appendChild(box);
    auto elsewhere = MemoryNode::make();
    platform.view->prepareSceneHits({elsewhere, box});
    EXPECT_EQ(hitNodes({0, 0}), (std::vector<std::shared_ptr<SCNNode>>{elsewhere, box}));
    EXPECT_TRUE(hitNodes({0, 0}).empty());
    EXPECT_EQ(hitNodes(centre()), std::vector<std::shared_ptr<SCNNode>>{box});

    platform.view->prepareFeatureHits({makeTranslation({1, 2, 3})});
    auto features = platform.view->hitTestTypes({0, 0}, ARHitTestResultTypeFeaturePoint);
    ASSERT_EQ(features.size(), 1u);
    EXPECT_EQ(features[0].worldTransform, makeTranslation({1, 2, 3}));
    // No frame yet, so the room answers nothing.
    EXPECT_TRUE(platform.view->hitTestTypes({0, 0}, ARHitTestResultTypeFeaturePoint).empty());
}

TEST_F(MemoryHitTest, FeaturePointsLieOnTheRoomNearestFirst) {
    platform.view->session().runWithConfigurationOptions({}, 0);
    const CGPoint below{195, 422 + focal() * 1.0 / 1.9};  // towards (0, -1, -1.9)
    EXPECT_TRUE(platform.view->hitTestTypes(below, ARHitTestResultTypeFeaturePoint).empty());

    platform.runFrame();
    const auto hits = platform.view->hitTestTypes(below, ARHitTestResultTypeFeaturePoint);
    ASSERT_EQ(hits.size(), 2u);
    const auto& table = hits[0].worldTransform.columns[3];
    const auto& floor = hits[1].worldTransform.columns[3];
    EXPECT_NEAR(table[0], 0, 1e-4);
    EXPECT_NEAR(table[1], -1.0, 1e-5);
    EXPECT_NEAR(table[2], -1.9, 1e-4);
    EXPECT_NEAR(floor[1], -1.4, 1e-5);
    EXPECT_NEAR(floor[2], -1.9 * 1.4, 1e-4);
    // Pure translations.
    for (const auto& hit : hits) {
        auto rotationPart = hit.worldTransform;
        rotationPart.columns[3] = {0, 0, 0, 1};
        EXPECT_EQ(rotationPart, matrix_identity_float4x4());
    }
    // Looking up there is nothing to hit.
    EXPECT_TRUE(platform.view->hitTestTypes({195, 100}, ARHitTestResultTypeFeaturePoint).empty());
    // From 0.2 m further forward, the same direction meets the table 0.2 m further back.
    platform.view->camera.position = {0, 0, -0.2f};
    platform.runFrame();
    const auto moved = platform.view->hitTestTypes(below, ARHitTestResultTypeFeaturePoint);
    ASSERT_EQ(moved.size(), 2u);
    EXPECT_NEAR(moved[0].worldTransform.columns[3][1], -1.0, 1e-5);
    EXPECT_NEAR(moved[0].worldTransform.columns[3][2], -2.1, 1e-4);
}

TEST_F(MemoryHitTest, ABoxGrownBeyondFloatsOfTheIndexIsStillHitOnce) {
    auto body = model("Body", {0, 0, -5}, 1);
    root->appendChild(body);
    ASSERT_EQ(hitNodes(centre()).size(), 1u);
    // Too large for the index's boxes: tested on every query instead, and only there.
    body->assignScale({1e31f, 1e31f, 1e31f});
    EXPECT_EQ(hitNodes(centre()), (std::vector<std::shared_ptr<SCNNode>>{body->children()[0]}));
    body->assignScale({1, 1, 1});
    EXPECT_EQ(hitNodes(centre()).size(), 1u);
    EXPECT_TRUE(hitNodes({0, 0}).empty());
}

TEST(SimulatedRoom, IsTheRoomTheGuideDescribes) {
    // docs/in-memory-platform.md lists the surfaces as "| name | y | x0 to x1 | z0 to z1 |".
    std::ifstream guide(std::string(ORRERY_SOURCE_DIR) + "/docs/in-memory-platform.md");
    std::vector<std::array<float, 5>> described;
    for (std::string line; std::getline(guide, line);) {
        std::array<float, 5> v{};
        const auto cells = line.find(" | ");  // the first cell is the surface's name
        if (line.starts_with("| ") && cells != std::string::npos &&
            std::sscanf(line.c_str() + cells, " | %f | %f to %f | %f to %f |", &v[0], &v[1], &v[2], &v[3], &v[4]) == 5)
            described.push_back(v);
    }
    std::vector<std::array<float, 5>> built;
    for (const RoomSurface& s : SimulatedRoom::standard().surfaces)
        built.push_back({s.height, s.minX, s.maxX, s.minZ, s.maxZ});
    EXPECT_EQ(built, described);
    EXPECT_EQ(described.size(), 4u);
}

TEST(SimulatedRoom, SurfacesIncludeTheirEdges) {
    const SimulatedRoom room{{{0, -1, 1, -1, 1}}};
    // Straight down onto each edge of the square: on it counts, a little beyond does not.
    for (const auto& [x, z] : {std::pair{-1.0f, 0.0f}, {1.0f, 0.0f}, {0.0f, -1.0f}, {0.0f, 1.0f}}) {
        EXPECT_EQ(room.intersect({x, 1, z}, {0, -1, 0}).size(), 1u) << x << ", " << z;
        EXPECT_TRUE(room.intersect({x * 1.01f, 1, z * 1.01f}, {0, -1, 0}).empty()) << x << ", " << z;
    }
}
