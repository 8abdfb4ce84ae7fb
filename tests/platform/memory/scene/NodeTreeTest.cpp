#include "platform/memory/scene/MemoryScene.h"
#include "tests/platform/memory/MemoryTestSupport.h"

#include <gtest/gtest.h>

#include <numbers>

using namespace orrery;
using namespace orrery::memory;

namespace {

std::shared_ptr<MemoryNode> named(const char* name) {
    auto node = MemoryNode::make();
    node->setName(name);
    return node;
}

int countOf(const MemoryNode& parent, const std::shared_ptr<MemoryNode>& child) {
    int n = 0;
    for (const auto& c : parent.children()) n += c == child;
    return n;
}

TEST(TextGeometry, TextGeometryReportsTheLayoutBox) {
    memory::MemoryTextGeometry geometry(nullptr, "Moon\nOur satellite", 0.2);
    geometry.font = UIFont{"Optima", 1.0};
    const memory::TextBox box =
        memory::textBounds(*memory::layoutText("Moon\nOur satellite", memory::TextFont{"Optima", 1.0}), 0.2);
    EXPECT_EQ(geometry.boundingBox(),
              (SCNBoundingBox{{box.min[0], box.min[1], box.min[2]}, {box.max[0], box.max[1], box.max[2]}}));
}

}  // namespace

TEST(MemoryNodeTree, AddingAParentedNodeMovesItAndNeverDuplicates) {
    auto scene = named("root"), other = named("other"), earth = named("Earth"), moon = named("Moon");
    scene->addChildNode(earth);
    scene->addChildNode(moon);
    other->addChildNode(earth);
    EXPECT_EQ(countOf(*scene, earth), 0);
    EXPECT_EQ(countOf(*other, earth), 1);
    EXPECT_EQ(earth->parentNode(), other);

    // Re-adding under the same parent appends it once more at the end, not twice.
    scene->addChildNode(earth);
    scene->addChildNode(moon);
    scene->addChildNode(earth);
    ASSERT_EQ(scene->children().size(), 2u);
    EXPECT_EQ(scene->children()[0], moon);
    EXPECT_EQ(scene->children()[1], earth);
    EXPECT_TRUE(other->children().empty());

    // A node cannot be hung below its own subtree.
    earth->addChildNode(scene);
    EXPECT_EQ(scene->parentNode(), nullptr);
    EXPECT_TRUE(earth->children().empty());
}

TEST(MemoryNodeTree, RemovedNodeKeepsItsTransformAndCanComeBack) {
    auto root = named("root"), sun = named("Sun");
    sun->setPosition({1, 2, 3});
    sun->setScale({0.5f, 0.5f, 0.5f});
    sun->setRotation({0, 1, 0, 0.25f});
    root->addChildNode(sun);
    sun->removeFromParentNode();
    EXPECT_EQ(sun->parentNode(), nullptr);
    EXPECT_TRUE(root->children().empty());

    sun->removeFromParentNode();  // detached: nothing happens
    EXPECT_EQ(sun->parentNode(), nullptr);

    root->addChildNode(sun);
    EXPECT_EQ(sun->parentNode(), root);
    EXPECT_EQ(sun->position(), (SCNVector3{1, 2, 3}));
    EXPECT_EQ(sun->scale(), (SCNVector3{0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(sun->rotation(), (SCNVector4{0, 1, 0, 0.25f}));
}

TEST(MemoryNodeTree, CloneCopiesTheSubtreeAndSharesGeometry) {
    auto holder = named("holder");
    auto model = named("Mars");
    model->setPosition({0, 0, -2});
    model->setScale({0.5f, 0.25f, 2});
    model->setRotation({0, 0, 1, 0.75f});
    auto mesh = support::boxNode({-1, -1, -1}, {1, 1, 1});
    model->addChildNode(mesh);
    holder->addChildNode(model);
    model->runActionForKey(SCNAction::repeatActionForever(SCNAction::rotateByXYZDuration(0, 1, 0, 1)), "spin");

    auto copy = asMemory(model->clone());
    ASSERT_TRUE(copy);
    EXPECT_NE(copy, model);
    EXPECT_EQ(copy->parentNode(), nullptr);
    EXPECT_EQ(copy->name(), "Mars");
    EXPECT_EQ(copy->position(), (SCNVector3{0, 0, -2}));
    EXPECT_EQ(copy->scale(), (SCNVector3{0.5f, 0.25f, 2}));
    EXPECT_EQ(copy->rotation(), (SCNVector4{0, 0, 1, 0.75f}));
    EXPECT_TRUE(copy->actions().empty());
    ASSERT_EQ(copy->children().size(), 1u);
    const auto& copiedMesh = copy->children()[0];
    EXPECT_NE(copiedMesh, mesh);
    EXPECT_EQ(copiedMesh->parent(), copy);
    EXPECT_EQ(copiedMesh->geometry(), mesh->geometry());
    EXPECT_EQ(copiedMesh->geometry()->firstMaterial(), mesh->geometry()->firstMaterial());

    // The copy is its own node: changing it leaves the source alone.
    copy->setPosition({5, 5, 5});
    copiedMesh->removeFromParentNode();
    EXPECT_EQ(model->position(), (SCNVector3{0, 0, -2}));
    EXPECT_EQ(model->children().size(), 1u);
    EXPECT_EQ(model->parentNode(), holder);
}

TEST(MemoryNodeTree, TransformMatricesComeBackFromPositionRotationAndScale) {
    // A new node stands at the origin, unturned (all four rotation numbers zero), at unit scale.
    const auto fresh = MemoryNode::make();
    EXPECT_EQ(fresh->position(), (SCNVector3{0, 0, 0}));
    EXPECT_EQ(fresh->rotation(), (SCNVector4{0, 0, 0, 0}));
    EXPECT_EQ(fresh->scale(), (SCNVector3{1, 1, 1}));

    // Half turns about each axis, turns nearly as large about axes leaning off each (no matrix
    // entry zero) and a small general turn: each axis takes its own way from matrix to rotation.
    const SCNVector4 turns[] = {{1, 0, 0, 3.1415926f}, {0, 1, 0, 3.1415926f}, {0, 0, 1, 3.1415926f},
                                {1, 0.3f, 0.2f, 3.0f}, {0.2f, 1, 0.3f, 3.0f}, {0.3f, 0.2f, 1, 3.0f},
                                {1, 2, 3, 0.7f}};
    for (const SCNVector4& turn : turns) {
        auto source = MemoryNode::make();
        source->assignPosition({1, -2, 3});
        source->assignRotation(turn);
        source->assignScale({2, 0.5f, 3});
        const simd_float4x4 matrix = source->localTransform();
        auto copy = MemoryNode::make();
        copy->setTransformMatrix(matrix);
        const simd_float4x4 back = copy->localTransform();
        for (int c = 0; c < 4; ++c)
            for (int r = 0; r < 4; ++r)
                EXPECT_NEAR(back.columns[c][r], matrix.columns[c][r], 1e-5f) << turn.x << turn.y << turn.z;
    }
    // No turn at all reads back as the unturned node does; an exact half turn keeps the axis the
    // matrix gives (about +y, not -y).
    auto still = MemoryNode::make();
    still->setTransformMatrix(matrix_identity_float4x4());
    EXPECT_EQ(still->rotation(), (SCNVector4{0, 0, 0, 0}));
    simd_float4x4 halfTurn = matrix_identity_float4x4();
    halfTurn.columns[0][0] = halfTurn.columns[2][2] = -1;
    still->setTransformMatrix(halfTurn);
    EXPECT_EQ(still->rotation(), (SCNVector4{0, 1, 0, static_cast<float>(std::numbers::pi)}));
}
