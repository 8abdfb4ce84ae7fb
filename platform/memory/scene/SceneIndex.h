#pragma once
// What the topmost node of a tree keeps about the whole tree, so that neither a frame nor a
// hit test has to walk it: the nodes whose actions run, and a bounding-volume hierarchy over
// the world-space boxes of its geometry.

#include "platform/SceneKit.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace orrery::memory {

class MemoryNode;

/// The axis-aligned box, in the space `transform` maps into, around `box` placed by it: the box of
/// its eight corners, each carried over in 32-bit floats. What the box tree keeps (padded) and
/// what the simulator projects to find a node on the screen.
SCNBoundingBox transformedBox(const simd_float4x4& transform, const SCNBoundingBox& box);

/// An axis-aligned box in world space.
struct WorldBox {
    std::array<float, 3> lo{}, hi{};

    /// Whether `inner` lies wholly inside this box.
    bool contains(const WorldBox& inner) const;
    /// The smallest box holding this box and `other`.
    WorldBox merged(const WorldBox& other) const;
    /// Half the surface area: the cost measure that keeps the hierarchy's boxes tight.
    float halfArea() const;
    /// Whether the ray origin + t * direction meets the box for some t >= 0.
    bool metBy(const std::array<double, 3>& origin, const std::array<double, 3>& direction) const;
};

/// A dynamic bounding-volume hierarchy: leaves come, move and go one at a time, and rotations
/// keep the tree balanced, so each change costs the logarithm of the number of leaves.
class BoxTree {
public:
    using Id = std::int32_t;
    static constexpr Id none = -1;

    /// A new leaf for `owner` with `box`.
    Id insert(const WorldBox& box, MemoryNode* owner);
    /// Takes a leaf out; its id may be given to a later leaf.
    void remove(Id leaf);
    /// Gives a leaf a new box. Leaves store their box enlarged by a margin, so a box that
    /// still fits in the stored one changes nothing.
    void move(Id leaf, const WorldBox& box);
    /// Appends the owner of every leaf whose stored box the ray meets (t >= 0), in no order.
    void raycast(const std::array<double, 3>& origin, const std::array<double, 3>& direction,
                 std::vector<MemoryNode*>& owners) const;
    /// Entries on the longest path from the root to a leaf (0 for an empty tree), found by
    /// walking the tree: what rotations keep near the logarithm of the number of leaves.
    std::size_t depth() const;
    /// Calls `visit(owner)` for every leaf.
    template <class Visit>
    void forEachLeaf(Visit&& visit) const {
        for (const auto& entry : entries_)
            if (entry.owner) visit(*entry.owner);  // leaves only: free and inner entries have none
    }

private:
    struct Entry {
        WorldBox box;
        Id parent = none, left = none, right = none;
        std::int32_t height = 0;      ///< 0 for a leaf
        MemoryNode* owner = nullptr;  ///< leaves only
    };

    /// A free entry, from the free chain or appended.
    Id allocate();
    /// Chains an entry into the free chain.
    void release(Id id);
    /// The entry that a new leaf with `box` should be paired with under a new parent.
    Id bestSibling(const WorldBox& box) const;
    /// Puts a leaf into the tree beside its best sibling.
    void link(Id leaf);
    /// Takes a leaf out of the tree; its sibling takes their parent's place.
    void unlink(Id leaf);
    /// Recomputes boxes and heights from `id` up to the root, rotating where unbalanced.
    void refit(Id id);
    /// One rotation at `id` when its children's heights differ by more than one; the id now in its
    /// place, whose box and height the caller then sets.
    Id balance(Id id);
    void replaceChild(Id parent, Id from, Id to);
    /// Entries on the longest path from `id` down to a leaf; 0 for none.
    std::size_t depthBelow(Id id) const;

    std::vector<Entry> entries_;
    Id root_ = none;
    Id free_ = none;  ///< free entries chained through `parent`
    /// A subtree still to search for a new leaf's sibling, with what its ancestors would grow by.
    struct Candidate {
        Id id;
        float inherited;
    };
    mutable std::vector<Id> stack_;
    mutable std::vector<Candidate> searchStack_;
};

/// Kept by the topmost node of a tree that has running actions or has been hit-tested.
class SceneIndex {
public:
    explicit SceneIndex(MemoryNode& top) : top_(top) {}
    SceneIndex(const SceneIndex&) = delete;  // every node of the tree points back at this index
    /// Clears the bookkeeping of every node of the tree, which may outlive this index.
    ~SceneIndex();

    /// Nodes of the tree with running actions, in no particular order.
    const std::vector<MemoryNode*>& animated() const { return animated_; }
    /// Lists a node not listed yet (nodes are unlisted whenever they leave an index).
    void addAnimated(MemoryNode& node);
    /// Unlists the node; nothing when it is not listed.
    void removeAnimated(MemoryNode& node);
    /// Registers every node of `subtree` (just attached) that has running actions.
    void addAnimatedSubtree(MemoryNode& subtree);

    /// The subtree of `node` moved, was attached, or `node` changed its geometry.
    void noteChanged(MemoryNode& node);
    /// Takes `subtree` out of the index before it leaves the tree; true when any of its
    /// nodes has running actions.
    bool forget(MemoryNode& subtree);

    /// Appends every geometry-carrying node whose box the ray origin + t * direction (t >= 0)
    /// may meet, in no order: the nodes whose boxes are in the hierarchy and the ray meets,
    /// and every node whose box can change without notice (text) or is not finite.
    void candidates(const std::array<double, 3>& origin, const std::array<double, 3>& direction,
                    std::vector<MemoryNode*>& nodes);

private:
    /// Brings the hierarchy up to date: built whole the first time, then per changed subtree.
    void refresh();
    /// Updates the entry of every node of `subtree`.
    void refreshSubtree(MemoryNode& subtree);
    /// Puts one node's entry where its geometry and world transform say.
    void update(MemoryNode& node);
    /// Takes a node's entry out of the hierarchy or the loose list.
    void dropEntry(MemoryNode& node);

    MemoryNode& top_;
    std::vector<MemoryNode*> animated_;
    bool built_ = false;
    BoxTree boxes_;
    std::vector<MemoryNode*> loose_;    ///< geometry tested on every query
    std::vector<MemoryNode*> changed_;  ///< subtrees to refresh before the next query
};

static_assert(!std::is_copy_constructible_v<SceneIndex>);

}  // namespace orrery::memory
