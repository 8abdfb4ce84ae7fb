// The indexed scene hit test against the exhaustive one on random scenes that keep changing,
// and the frame's bookkeeping of the nodes whose actions run.

#include "platform/memory/MemoryPlatform.h"
#include "platform/memory/scene/SceneIndex.h"
#include "tests/platform/memory/MemoryTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

using namespace orrery;
using namespace orrery::memory;
using orrery::memory::support::boxNode;

namespace {

constexpr double pi = std::numbers::pi;

class RandomScene {
public:
    explicit RandomScene(unsigned seed) : random_(seed) {
        platform.view->setScene(platform.newScene());
        root = platform.view->currentScene->root();
        for (int i = 0; i < 60; ++i) grow();
    }

    double uniform(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(random_); }
    std::size_t pick(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random_); }
    float f(double lo, double hi) { return static_cast<float>(uniform(lo, hi)); }

    std::vector<std::shared_ptr<MemoryNode>> nodes() const {
        std::vector<std::shared_ptr<MemoryNode>> all;
        const auto visit = [&](const auto& self, const std::shared_ptr<MemoryNode>& node) -> void {
            all.push_back(node);
            for (const auto& child : node->children()) self(self, child);
        };
        visit(visit, root);
        return all;
    }

    /// A new node somewhere in the tree: a box (sometimes flat or empty), a text, or an empty
    /// group. Now and then it or its small parent gets a twin in the same place, so that hits
    /// tie between siblings or between cousins.
    void grow() {
        const auto all = nodes();
        const auto& parent = all[pick(all.size())];
        std::shared_ptr<MemoryNode> node;
        switch (pick(6)) {
        case 0: node = MemoryNode::make(); break;
        case 1: {
            node = MemoryNode::make();
            node->assignGeometry(std::make_shared<MemoryTextGeometry>(nullptr, "Ab\ncd", 0.1));
            break;
        }
        case 2: node = boxNode({0, 0, 0}, {f(-1, 1), 0, f(-1, 1)}); break;  // flat or a point
        default: {
            const SCNVector3 lo{f(-1, 0), f(-1, 0), f(-1, 0)};
            node = boxNode(lo, {lo.x + f(0, 1), lo.y + f(0, 1), lo.z + f(0, 1)});
        }
        }
        place(*node);
        parent->appendChild(node);
        const auto twinned = pick(4) == 0 ? node : pick(3) == 0 && size(*parent) <= 8 ? parent : nullptr;
        if (twinned && twinned->parent())
            twinned->parent()->appendChild(std::static_pointer_cast<MemoryNode>(twinned->clone()));
    }

    static std::size_t size(const MemoryNode& subtree) {
        std::size_t n = 1;
        for (const auto& child : subtree.children()) n += size(*child);
        return n;
    }

    void place(MemoryNode& node) {
        node.assignPosition({f(-6, 6), f(-4, 4), f(-6, 6)});
        // Now and then no size at all, or one beyond what the index keeps boxes for.
        const float s = pick(10) == 0 ? 0.0f : pick(40) == 0 ? 1e31f : f(0.2, 1.5);
        node.assignScale({s, pick(2) ? s : f(0.2, 1.5), s});
        node.assignRotation({f(-1, 1), f(-1, 1), f(-1, 1), f(-pi, pi)});
    }

    /// One random change: a move, new geometry, a node taken out or put back, a spin, frames.
    void change() {
        const auto all = nodes();
        const auto& node = all[pick(all.size())];
        switch (pick(8)) {
        case 0: place(*node); break;
        case 1: node->assignGeometry(pick(2) ? nullptr : boxNode({-1, -1, -1}, {1, 1, 1})->nodeGeometry()); break;
        case 2:
            if (node != root) {
                node->detach();
                detached_.push_back(node);
            }
            break;
        case 3:
            if (!detached_.empty()) {
                all[pick(all.size())]->appendChild(detached_.back());
                detached_.pop_back();
            }
            break;
        case 4:
            node->runActionForKey(SCNAction::repeatActionForever(SCNAction::rotateByXYZDuration(0.3, 1, 0, 2)), "spin");
            break;
        case 5: node->runActionForKey(SCNAction::moveByDuration({f(-2, 2), 0, f(-2, 2)}, 1), "move"); break;
        case 6: platform.runFrame(uniform(0, 0.5)); break;
        default: grow();
        }
    }

    void aimRandomly() {
        auto& camera = platform.view->camera;
        camera.position = {f(-3, 3), f(-2, 2), f(-3, 3)};
        camera.yaw = f(-pi, pi);
        camera.pitch = f(-1.2, 1.2);
    }

    CGPoint randomPoint() { return {uniform(0, 390), uniform(0, 844)}; }

    MemoryPlatform platform;
    std::shared_ptr<MemoryNode> root;

private:
    std::mt19937 random_;
    std::vector<std::shared_ptr<MemoryNode>> detached_;
};

std::vector<std::shared_ptr<SCNNode>> nodesOf(const std::vector<SCNHitTestResult>& results) {
    std::vector<std::shared_ptr<SCNNode>> nodes;
    for (const auto& r : results) nodes.push_back(r.node);
    return nodes;
}

}  // namespace

TEST(SceneIndex, AnswersAsTheExhaustiveHitTestWhileTheSceneChanges) {
    std::size_t hits = 0, ties = 0;
    for (unsigned seed = 1; seed <= 6; ++seed) {
        RandomScene scene(seed);
        for (int round = 0; round < 150; ++round) {
            for (int i = 0; i < 3; ++i) scene.change();
            scene.aimRandomly();
            for (int ray = 0; ray < 6; ++ray) {
                const CGPoint point = scene.randomPoint();
                const auto indexed = nodesOf(scene.platform.view->geometricHitTest(point));
                const auto exhaustive = nodesOf(scene.platform.view->exhaustiveHitTest(point));
                ASSERT_EQ(indexed, exhaustive) << "seed " << seed << " round " << round;
                hits += exhaustive.size();
                for (std::size_t i = 1; i < exhaustive.size(); ++i)
                    ties += exhaustive[i]->geometry() == exhaustive[i - 1]->geometry() ? 1 : 0;
            }
        }
    }
    // The scenes really are hit, with twins among the hits.
    EXPECT_GT(hits, 2000u);
    EXPECT_GT(ties, 20u);
}

TEST(SceneIndex, RaysMeetBoxesAheadOfThemOnly) {
    const WorldBox box{{{1, 1, 1}}, {{2, 2, 2}}};
    struct Ray {
        std::array<double, 3> origin, direction;
        bool meets;
    };
    const Ray rays[] = {
        {{0, 0, 0}, {1, 1, 1}, true},        {{0, 0, 0}, {-1, -1, -1}, false},   // ahead, behind
        {{1.5, 1.5, 0}, {0, 0, 1}, true},    {{1.5, 0.5, 0}, {0, 0, 1}, false},  // parallel to two axes
        {{1.5, 2.5, 0}, {0, 0, 1}, false},   {{0.5, 1.5, 0}, {0, 0, 1}, false},
        {{1.5, 1.5, 1.5}, {0, -1, 0}, true},                                  // from inside
        {{0, 0, 1.5}, {1, 3, 0}, false},     {{0, 0, 1.5}, {1, 1, 0}, true},  // passing beside, through
    };
    for (const Ray& r : rays) EXPECT_EQ(box.metBy(r.origin, r.direction), r.meets) << r.origin[0] << "," << r.origin[1];
}

TEST(SceneIndex, LeavesKeepTheirLooseBoxWhileTheyMoveInsideIt) {
    // Containment, edge to edge and poking out on each side of each axis.
    const WorldBox outer{{{0, 0, 0}}, {{2, 2, 2}}};
    EXPECT_TRUE(outer.contains(outer));
    EXPECT_TRUE(outer.contains({{{0.5f, 1, 1.5f}}, {{1, 1.5f, 2}}}));
    for (std::size_t axis = 0; axis < 3; ++axis) {
        WorldBox low = outer, high = outer;
        low.lo[axis] = -0.01f;
        high.hi[axis] = 2.01f;
        EXPECT_FALSE(outer.contains(low)) << axis;
        EXPECT_FALSE(outer.contains(high)) << axis;
    }
    // A unit box is stored a tenth larger on every side; a move that stays inside keeps that
    // box, so a ray through its lower margin still finds the leaf.
    BoxTree tree;
    const auto owner = MemoryNode::make(nullptr);
    const BoxTree::Id leaf = tree.insert({{{0, 0, 0}}, {{1, 1, 1}}}, owner.get());
    const auto found = [&](double y) {
        std::vector<MemoryNode*> owners;
        tree.raycast({-5, y, 0.5}, {1, 0, 0}, owners);
        return owners.size();
    };
    EXPECT_EQ(found(-0.08), 1u);
    tree.move(leaf, {{{0.05f, 0.05f, 0.05f}}, {{1.05f, 1.05f, 1.05f}}});
    EXPECT_EQ(found(-0.08), 1u) << "inside the stored box: nothing changes";
    tree.move(leaf, {{{0.5f, 0.5f, 0.5f}}, {{1.5f, 1.5f, 1.5f}}});
    EXPECT_EQ(found(-0.08), 0u) << "out of it: stored anew";
    EXPECT_EQ(found(1.55), 1u);
}

TEST(SceneIndex, TheBoxTreeStaysShallowWhateverTheOrderOfChanges) {
    // Boxes along a line, added in order, would make a list of an unbalanced tree; then random
    // moves far away and back, and removals. After each phase every leaf must still be found
    // by a ray across its box, and the tree must be as deep as a binary tree of its leaves must
    // be, and no deeper than an AVL tree may be (1.44 log2(n + 2)).
    BoxTree tree;
    std::vector<std::shared_ptr<MemoryNode>> owners;
    std::vector<BoxTree::Id> leaves;
    std::vector<float> placedAt;
    const auto unitAt = [](float x) { return WorldBox{{{x, 0, 0}}, {{x + 1, 1, 1}}}; };
    const auto check = [&](std::size_t from, const char* phase) {
        SCOPED_TRACE(phase);
        const double leafCount = double(leaves.size() - from);
        EXPECT_GE(tree.depth(), std::size_t(std::ceil(std::log2(leafCount))) + 1);
        EXPECT_LE(tree.depth(), std::size_t(1.44 * std::log2(leafCount + 2)) + 1);
        std::size_t lost = 0;
        for (std::size_t i = from; i < leaves.size(); ++i) {
            std::vector<MemoryNode*> met;
            tree.raycast({placedAt[i] + 0.5, -5, 0.5}, {0, 1, 0}, met);
            lost += std::count(met.begin(), met.end(), owners[i].get()) != 1;
        }
        EXPECT_EQ(lost, 0u);
    };
    for (int i = 0; i < 1000; ++i) {
        owners.push_back(MemoryNode::make(nullptr));
        placedAt.push_back(2.0f * float(i));
        leaves.push_back(tree.insert(unitAt(placedAt.back()), owners.back().get()));
    }
    check(0, "added in order");
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        const std::size_t k = random() % leaves.size();
        placedAt[k] = float(random() % 100000) - 50000.0f;
        tree.move(leaves[k], unitAt(placedAt[k]));
    }
    check(0, "moved at random");
    for (std::size_t i = 0; i < 900; ++i) tree.remove(leaves[i]);
    check(900, "mostly removed");
    std::size_t left = 0;
    tree.forEachLeaf([&](MemoryNode&) { ++left; });
    EXPECT_EQ(left, 100u);
}

TEST(SceneIndex, FramesRunTheActionsOfTheSceneAlone) {
    MemoryPlatform platform;
    platform.view->setScene(platform.newScene());
    const auto root = platform.view->currentScene->root();
    const auto spin = [] { return SCNAction::repeatActionForever(SCNAction::moveByDuration({1, 0, 0}, 1)); };

    // Nodes: animated in the scene, animated under a group attached later, animated in a
    // group taken out, and a copy of a scene whose root went away.
    auto inScene = MemoryNode::make(), group = MemoryNode::make(), child = MemoryNode::make();
    auto leaving = MemoryNode::make(), orphan = MemoryNode::make();
    root->appendChild(inScene);
    inScene->runActionForKey(spin(), "a");
    child->runActionForKey(spin(), "a");
    group->appendChild(child);
    leaving->runActionForKey(spin(), "a");
    root->appendChild(leaving);
    {
        auto oldRoot = MemoryNode::make();
        oldRoot->appendChild(orphan);
        orphan->runActionForKey(spin(), "a");
    }

    // What frames visit: exactly the nodes of the scene with running actions.
    const auto visited = [&](std::vector<MemoryNode*> expected) {
        auto listed = root->nodesWithRunningActions();
        std::sort(listed.begin(), listed.end());
        std::sort(expected.begin(), expected.end());
        return listed == expected;
    };
    platform.runFrame(1);
    EXPECT_EQ(inScene->nodePosition().x, 1.0f);
    EXPECT_EQ(child->nodePosition().x, 0.0f);
    EXPECT_EQ(leaving->nodePosition().x, 1.0f);
    EXPECT_TRUE(visited({inScene.get(), leaving.get()}));

    root->appendChild(group);
    leaving->detach();
    platform.runFrame(1);
    EXPECT_EQ(inScene->nodePosition().x, 2.0f);
    EXPECT_EQ(child->nodePosition().x, 1.0f);
    EXPECT_EQ(leaving->nodePosition().x, 1.0f);
    EXPECT_TRUE(visited({inScene.get(), child.get()}));

    // Back in the scene, the left node and the orphan run on; a node whose actions
    // all ended or were removed stays put.
    root->appendChild(leaving);
    root->appendChild(orphan);
    inScene->removeAllActions();
    platform.runFrame(1);
    EXPECT_EQ(inScene->nodePosition().x, 2.0f);
    EXPECT_EQ(child->nodePosition().x, 2.0f);
    EXPECT_EQ(leaving->nodePosition().x, 2.0f);
    EXPECT_EQ(orphan->nodePosition().x, 1.0f);
    EXPECT_TRUE(visited({child.get(), leaving.get(), orphan.get()}));
    EXPECT_TRUE(child->nodesWithRunningActions().empty()) << "not topmost";
}

TEST(SceneIndex, WorldTransformsFollowEveryChange) {
    auto top = MemoryNode::make(), middle = MemoryNode::make(), leaf = MemoryNode::make();
    top->appendChild(middle);
    middle->appendChild(leaf);
    leaf->assignPosition({1, 0, 0});
    EXPECT_EQ(leaf->worldTransform().columns[3][0], 1.0f);
    top->assignPosition({0, 5, 0});
    middle->assignScale({2, 2, 2});
    EXPECT_EQ(leaf->worldTransform().columns[3][0], 2.0f);
    EXPECT_EQ(leaf->worldTransform().columns[3][1], 5.0f);
    middle->detach();
    EXPECT_EQ(leaf->worldTransform().columns[3][1], 0.0f);
    auto other = MemoryNode::make();
    other->assignPosition({0, 0, 7});
    other->appendChild(middle);
    EXPECT_EQ(leaf->worldTransform().columns[3][2], 7.0f);
    other.reset();  // the parent goes away: the node is topmost again
    EXPECT_EQ(leaf->worldTransform().columns[3][2], 0.0f);
}
