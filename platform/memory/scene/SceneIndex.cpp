#include "platform/memory/scene/SceneIndex.h"

#include "platform/memory/scene/MemoryScene.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace orrery::memory {

namespace {

/// Whether rays can ever meet the box (the precise test never meets empty or flat-to-a-point boxes).
bool hittable(const SCNBoundingBox& box) {
    return !(box.max.x < box.min.x || box.max.y < box.min.y || box.max.z < box.min.z || box.min == box.max);
}

/// The world box around `box` placed by `world`, rounded outward a little so that the
/// precise test in the node's own space never meets a point outside it; nothing if not finite.
std::optional<WorldBox> worldBoxOf(const simd_float4x4& world, const SCNBoundingBox& box) {
    const SCNBoundingBox placed = transformedBox(world, box);
    const float lo[3] = {placed.min.x, placed.min.y, placed.min.z}, hi[3] = {placed.max.x, placed.max.y, placed.max.z};
    WorldBox out;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double low = lo[axis], high = hi[axis];
        const double pad = 1e-5 * (std::abs(low + high) / 2 + (high - low) / 2) + 1e-7;
        if (!std::isfinite(low - pad) || !std::isfinite(high + pad) || std::abs(low - pad) > 1e30 ||
            std::abs(high + pad) > 1e30)
            return std::nullopt;
        out.lo[axis] = static_cast<float>(low - pad);
        out.hi[axis] = static_cast<float>(high + pad);
    }
    return out;
}

/// `box` enlarged by a tenth of its size on every side.
WorldBox fattened(const WorldBox& box) {
    WorldBox out = box;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const float margin = (box.hi[axis] - box.lo[axis]) * 0.1f;
        out.lo[axis] -= margin;
        out.hi[axis] += margin;
    }
    return out;
}

template <class Visit>
void walk(MemoryNode& subtree, Visit&& visit) {
    visit(subtree);
    for (const auto& child : subtree.children()) walk(*child, visit);
}

}  // namespace

// ---------------------------------------------------------------- boxes

SCNBoundingBox transformedBox(const simd_float4x4& transform, const SCNBoundingBox& box) {
    const auto& c = transform.columns;
    SCNBoundingBox out;
    for (int corner = 0; corner < 8; ++corner) {
        const SCNVector3 p{corner & 1 ? box.max.x : box.min.x, corner & 2 ? box.max.y : box.min.y,
                           corner & 4 ? box.max.z : box.min.z};
        const SCNVector3 q{c[0][0] * p.x + c[1][0] * p.y + c[2][0] * p.z + c[3][0],
                           c[0][1] * p.x + c[1][1] * p.y + c[2][1] * p.z + c[3][1],
                           c[0][2] * p.x + c[1][2] * p.y + c[2][2] * p.z + c[3][2]};
        if (corner == 0) {
            out = {q, q};
            continue;
        }
        out.min = {std::min(out.min.x, q.x), std::min(out.min.y, q.y), std::min(out.min.z, q.z)};
        out.max = {std::max(out.max.x, q.x), std::max(out.max.y, q.y), std::max(out.max.z, q.z)};
    }
    return out;
}

bool WorldBox::contains(const WorldBox& inner) const {
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (inner.lo[axis] < lo[axis] || inner.hi[axis] > hi[axis]) return false;
    return true;
}

WorldBox WorldBox::merged(const WorldBox& other) const {
    WorldBox out;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        out.lo[axis] = std::min(lo[axis], other.lo[axis]);
        out.hi[axis] = std::max(hi[axis], other.hi[axis]);
    }
    return out;
}

float WorldBox::halfArea() const {
    const float x = hi[0] - lo[0], y = hi[1] - lo[1], z = hi[2] - lo[2];
    return x * y + y * z + z * x;
}

bool WorldBox::metBy(const std::array<double, 3>& origin, const std::array<double, 3>& direction) const {
    double enter = 0, leave = std::numeric_limits<double>::infinity();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double low = lo[axis], high = hi[axis];
        if (direction[axis] == 0.0) {
            if (origin[axis] < low || origin[axis] > high) return false;
            continue;
        }
        double t0 = (low - origin[axis]) / direction[axis], t1 = (high - origin[axis]) / direction[axis];
        if (t0 > t1) std::swap(t0, t1);
        enter = std::max(enter, t0);
        leave = std::min(leave, t1);
        if (leave < enter) return false;
    }
    return true;
}

// ---------------------------------------------------------------- hierarchy

BoxTree::Id BoxTree::allocate() {
    if (free_ == none) {
        entries_.emplace_back();
        return static_cast<Id>(entries_.size() - 1);
    }
    const Id id = free_;
    free_ = entries_[static_cast<std::size_t>(id)].parent;
    entries_[static_cast<std::size_t>(id)] = Entry{};
    return id;
}

void BoxTree::release(Id id) {
    Entry& entry = entries_[static_cast<std::size_t>(id)];
    entry = Entry{};
    entry.parent = free_;
    free_ = id;
}

BoxTree::Id BoxTree::insert(const WorldBox& box, MemoryNode* owner) {
    const Id leaf = allocate();
    Entry& entry = entries_[static_cast<std::size_t>(leaf)];
    entry.box = fattened(box);
    entry.owner = owner;
    link(leaf);
    return leaf;
}

void BoxTree::remove(Id leaf) {
    unlink(leaf);
    release(leaf);
}

void BoxTree::move(Id leaf, const WorldBox& box) {
    if (entries_[static_cast<std::size_t>(leaf)].box.contains(box)) return;
    unlink(leaf);
    entries_[static_cast<std::size_t>(leaf)].box = fattened(box);
    link(leaf);
}

void BoxTree::replaceChild(Id parent, Id from, Id to) {
    if (parent == none) {
        root_ = to;
        return;
    }
    Entry& p = entries_[static_cast<std::size_t>(parent)];
    (p.left == from ? p.left : p.right) = to;
}

BoxTree::Id BoxTree::bestSibling(const WorldBox& box) const {
    // Branch and bound over the whole tree: the sibling whose new parent adds the least surface
    // area, counting what every ancestor grows by. A greedy walk from the root would follow any
    // child that already holds the box, such as a star sphere around the whole scene, and end
    // up grouping boxes that lie far apart.
    const float leafArea = box.halfArea();
    Id best = root_;
    float bestCost = entries_[static_cast<std::size_t>(root_)].box.merged(box).halfArea();
    std::vector<Candidate>& pending = searchStack_;
    pending.clear();
    pending.push_back({root_, 0.0f});
    while (!pending.empty()) {
        const Candidate candidate = pending.back();
        pending.pop_back();
        const Entry& node = entries_[static_cast<std::size_t>(candidate.id)];
        const float direct = node.box.merged(box).halfArea();
        const float cost = direct + candidate.inherited;
        if (cost < bestCost) {
            bestCost = cost;
            best = candidate.id;
        }
        if (node.height == 0) continue;
        const float inherited = candidate.inherited + direct - node.box.halfArea();
        // No sibling below costs less than the box's own area plus what this node grows by.
        if (leafArea + inherited >= bestCost) continue;
        pending.push_back({node.left, inherited});
        pending.push_back({node.right, inherited});
    }
    return best;
}

void BoxTree::link(Id leaf) {
    if (root_ == none) {
        root_ = leaf;
        entries_[static_cast<std::size_t>(leaf)].parent = none;
        return;
    }
    const WorldBox box = entries_[static_cast<std::size_t>(leaf)].box;
    const Id at = bestSibling(box);
    const Id sibling = at;
    const Id oldParent = entries_[static_cast<std::size_t>(sibling)].parent;
    const Id parent = allocate();
    Entry& p = entries_[static_cast<std::size_t>(parent)];
    p.parent = oldParent;
    p.left = sibling;
    p.right = leaf;
    p.box = entries_[static_cast<std::size_t>(sibling)].box.merged(box);
    p.height = entries_[static_cast<std::size_t>(sibling)].height + 1;
    replaceChild(oldParent, sibling, parent);
    entries_[static_cast<std::size_t>(sibling)].parent = parent;
    entries_[static_cast<std::size_t>(leaf)].parent = parent;
    refit(oldParent);
}

void BoxTree::unlink(Id leaf) {
    if (leaf == root_) {
        root_ = none;
        return;
    }
    const Id parent = entries_[static_cast<std::size_t>(leaf)].parent;
    const Entry& p = entries_[static_cast<std::size_t>(parent)];
    const Id grand = p.parent;
    const Id sibling = p.left == leaf ? p.right : p.left;
    replaceChild(grand, parent, sibling);
    entries_[static_cast<std::size_t>(sibling)].parent = grand;
    release(parent);
    refit(grand);
}

void BoxTree::refit(Id id) {
    while (id != none) {
        id = balance(id);
        Entry& node = entries_[static_cast<std::size_t>(id)];
        const Entry& left = entries_[static_cast<std::size_t>(node.left)];
        const Entry& right = entries_[static_cast<std::size_t>(node.right)];
        node.height = 1 + std::max(left.height, right.height);
        node.box = left.box.merged(right.box);
        id = node.parent;
    }
}

BoxTree::Id BoxTree::balance(Id a) {
    const auto at = [this](Id id) -> Entry& { return entries_[static_cast<std::size_t>(id)]; };
    if (at(a).height < 2) return a;
    const Id b = at(a).left, c = at(a).right;
    const int skew = at(c).height - at(b).height;
    if (skew > 1 || skew < -1) {
        // The taller child `up` takes a's place; a keeps the other child and the shorter grandchild.
        const bool rightHeavy = skew > 1;
        const Id up = rightHeavy ? c : b, kept = rightHeavy ? b : c;
        const Id f = at(up).left, g = at(up).right;
        const Id taller = at(f).height > at(g).height ? f : g, shorter = taller == f ? g : f;
        at(up).parent = at(a).parent;
        replaceChild(at(a).parent, a, up);
        at(a).parent = up;
        at(up).left = a;
        at(up).right = taller;
        (rightHeavy ? at(a).right : at(a).left) = shorter;
        at(shorter).parent = a;
        at(a).box = at(kept).box.merged(at(shorter).box);
        at(a).height = 1 + std::max(at(kept).height, at(shorter).height);
        return up;  // refit gives `up` its box and height
    }
    return a;
}

void BoxTree::raycast(const std::array<double, 3>& origin, const std::array<double, 3>& direction,
                      std::vector<MemoryNode*>& owners) const {
    if (root_ == none) return;
    stack_.push_back(root_);  // empty: every search runs until it is
    while (!stack_.empty()) {
        const Entry& node = entries_[static_cast<std::size_t>(stack_.back())];
        stack_.pop_back();
        if (!node.box.metBy(origin, direction)) continue;
        if (node.height == 0) {
            owners.push_back(node.owner);
        } else {
            stack_.push_back(node.left);
            stack_.push_back(node.right);
        }
    }
}

std::size_t BoxTree::depth() const { return depthBelow(root_); }

std::size_t BoxTree::depthBelow(Id id) const {
    if (id == none) return 0;
    const Entry& entry = entries_[static_cast<std::size_t>(id)];
    return 1 + std::max(depthBelow(entry.left), depthBelow(entry.right));  // a leaf's children are none
}

// ---------------------------------------------------------------- scene index

SceneIndex::~SceneIndex() {
    for (MemoryNode* node : animated_) node->animatedSlot_ = -1;
    for (MemoryNode* node : loose_) node->looseSlot_ = -1;
    for (MemoryNode* node : changed_) node->queued_ = false;
    boxes_.forEachLeaf([](MemoryNode& node) { node.boxEntry_ = BoxTree::none; });
}

void SceneIndex::addAnimated(MemoryNode& node) {
    node.animatedSlot_ = static_cast<std::int32_t>(animated_.size());
    animated_.push_back(&node);
}

void SceneIndex::removeAnimated(MemoryNode& node) {
    if (node.animatedSlot_ < 0) return;
    const auto slot = static_cast<std::size_t>(node.animatedSlot_);
    animated_[slot] = animated_.back();
    animated_[slot]->animatedSlot_ = static_cast<std::int32_t>(slot);
    animated_.pop_back();
    node.animatedSlot_ = -1;
}

void SceneIndex::addAnimatedSubtree(MemoryNode& subtree) {
    walk(subtree, [this](MemoryNode& node) {
        if (!node.actions().empty()) addAnimated(node);
    });
}

void SceneIndex::noteChanged(MemoryNode& node) {
    if (!built_ || node.queued_) return;
    node.queued_ = true;
    changed_.push_back(&node);
}

bool SceneIndex::forget(MemoryNode& subtree) {
    bool animated = false;
    walk(subtree, [&](MemoryNode& node) {
        dropEntry(node);
        if (node.queued_) {
            std::erase(changed_, &node);
            node.queued_ = false;
        }
        if (node.animatedSlot_ >= 0) {
            removeAnimated(node);
            animated = true;
        }
    });
    return animated;
}

void SceneIndex::dropEntry(MemoryNode& node) {
    if (node.boxEntry_ != BoxTree::none) {
        boxes_.remove(node.boxEntry_);
        node.boxEntry_ = BoxTree::none;
    }
    if (node.looseSlot_ >= 0) {
        const auto slot = static_cast<std::size_t>(node.looseSlot_);
        loose_[slot] = loose_.back();
        loose_[slot]->looseSlot_ = static_cast<std::int32_t>(slot);
        loose_.pop_back();
        node.looseSlot_ = -1;
    }
}

void SceneIndex::update(MemoryNode& node) {
    const auto* mesh = dynamic_cast<const MemoryMeshGeometry*>(node.nodeGeometry().get());
    if (!node.nodeGeometry() || (mesh && !hittable(mesh->bounds))) {
        dropEntry(node);
        return;
    }
    // A mesh's bounds are fixed once loaded; other geometry (text) sizes itself from fields
    // that change without notice, so it is tested on every query, as are boxes out of range.
    const std::optional<WorldBox> box = mesh ? worldBoxOf(node.worldTransform(), mesh->bounds) : std::nullopt;
    if (!box) {
        if (node.boxEntry_ != BoxTree::none) dropEntry(node);
        if (node.looseSlot_ < 0) {
            node.looseSlot_ = static_cast<std::int32_t>(loose_.size());
            loose_.push_back(&node);
        }
        return;
    }
    if (node.looseSlot_ >= 0) dropEntry(node);
    if (node.boxEntry_ == BoxTree::none)
        node.boxEntry_ = boxes_.insert(*box, &node);
    else
        boxes_.move(node.boxEntry_, *box);
}

void SceneIndex::refreshSubtree(MemoryNode& subtree) {
    walk(subtree, [this](MemoryNode& node) { update(node); });
}

void SceneIndex::refresh() {
    if (!built_) {
        built_ = true;
        refreshSubtree(top_);
        return;
    }
    // Subtrees queued here are all still in the tree: detaching takes them out of the queue.
    const std::vector<MemoryNode*> changed = std::exchange(changed_, {});
    for (MemoryNode* node : changed) node->queued_ = false;
    for (MemoryNode* node : changed) refreshSubtree(*node);
}

void SceneIndex::candidates(const std::array<double, 3>& origin, const std::array<double, 3>& direction,
                            std::vector<MemoryNode*>& nodes) {
    refresh();
    boxes_.raycast(origin, direction, nodes);
    nodes.insert(nodes.end(), loose_.begin(), loose_.end());
}

}  // namespace orrery::memory
