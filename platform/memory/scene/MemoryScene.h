#pragma once
// In-memory scene graph: nodes with transforms, keyed actions on a simulated
// clock, mesh and text geometry with materials, and scenes.

#include "platform/SceneKit.h"
#include "platform/memory/scene/CallRecorder.h"
#include "platform/memory/text/TextLayout.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace orrery::memory {

/// What a material property shows: nothing, a colour or an image file.
using MaterialContents = std::variant<std::monostate, UIColor, std::string>;

class MemoryMaterialProperty final : public SCNMaterialProperty {
public:
    explicit MemoryMaterialProperty(std::shared_ptr<CallRecorder> log);
    /// Recorded; the colour becomes `contents`.
    void setContents(const UIColor& colour) override;
    /// Sets an image path without logging (used by model loading).
    void setImageContents(std::string path) { contents = std::move(path); }
    /// Records later calls in `log`.
    void adoptLog(std::shared_ptr<CallRecorder> log) { log_ = std::move(log); }

    MaterialContents contents;

private:
    std::shared_ptr<CallRecorder> log_;
};

class MemoryMaterial final : public SCNMaterial {
public:
    explicit MemoryMaterial(std::shared_ptr<CallRecorder> log = nullptr);
    /// Recorded; `diffuseProperty`.
    std::shared_ptr<SCNMaterialProperty> diffuse() override;
    /// Recorded; `specularProperty`.
    std::shared_ptr<SCNMaterialProperty> specular() override;

    std::optional<std::string> name;
    std::shared_ptr<MemoryMaterialProperty> diffuseProperty, specularProperty;

    /// Records later calls on the material and its properties in `log`.
    void adoptLog(const std::shared_ptr<CallRecorder>& log);

private:
    std::shared_ptr<CallRecorder> log_;
};

/// Triangle mesh geometry as loaded from a model file.
class MemoryMeshGeometry final : public SCNGeometry {
public:
    explicit MemoryMeshGeometry(std::shared_ptr<CallRecorder> log = nullptr) : log_(std::move(log)) {}
    SCNBoundingBox boundingBox() const override { return bounds; }
    std::shared_ptr<SCNMaterial> firstMaterial() override;

    std::vector<SCNVector3> positions;
    std::vector<SCNVector3> normals;
    std::vector<std::array<float, 2>> textureCoordinates;
    std::vector<std::uint32_t> indices;  ///< triangles, three per face
    SCNBoundingBox bounds;
    std::vector<std::shared_ptr<MemoryMaterial>> materials;

    /// Recomputes `bounds` from `positions`.
    void computeBounds();
    /// Records later calls on the geometry and its materials in `log`.
    void adoptLog(const std::shared_ptr<CallRecorder>& log);

private:
    std::shared_ptr<CallRecorder> log_;
};

/// Three-dimensional text: keeps string, depth, font and one material.
/// Its bounds are those of the laid-out glyph outlines (platform/memory/text/TextLayout.h).
class MemoryTextGeometry final : public SCNText {
public:
    MemoryTextGeometry(std::shared_ptr<CallRecorder> log, std::string string, double extrusionDepth);
    /// Not recorded; the bounds of the glyph outlines laid out in `font`, `extrusionDepth` deep.
    SCNBoundingBox boundingBox() const override;
    /// Recorded; `material`.
    std::shared_ptr<SCNMaterial> firstMaterial() override;
    /// Recorded; later bounds are laid out in `font`.
    void setFont(const std::optional<UIFont>& font) override;

    std::string string;
    double extrusionDepth;
    std::optional<UIFont> font;
    std::shared_ptr<MemoryMaterial> material;

private:
    std::shared_ptr<CallRecorder> log_;
};

/// An action running on a node, with the simulated time it has run. Its effect is worked
/// out from a base, the value of the part of the transform it drives (x, y, z and, for a
/// turn, the angle) at a known time, so that rounding does not build up frame by frame; the
/// base moves on when something else has changed that part since the action last wrote it.
struct RunningAction {
    std::optional<std::string> key;
    std::shared_ptr<const SCNAction> action;
    double elapsed{};
    SCNVector4 base{};
    double baseElapsed{};
    SCNVector4 written{};
};

class SceneIndex;

class MemoryNode final : public SCNNode, public std::enable_shared_from_this<MemoryNode> {
public:
    /// A new empty node; calls on it are recorded in `log` (none when null).
    static std::shared_ptr<MemoryNode> make(std::shared_ptr<CallRecorder> log = nullptr);
    ~MemoryNode() override;

    // SCNNode: every operation is recorded, with the node's name as receiver.
    /// `nodeName`.
    std::optional<std::string> name() const override;
    /// Sets `nodeName`.
    void setName(const std::optional<std::string>& name) override;
    /// The position, which a running move-by changes frame by frame.
    SCNVector3 position() const override;
    /// Like assignPosition.
    void setPosition(SCNVector3 position) override;
    /// The scale, which a running scale-by changes frame by frame.
    SCNVector3 scale() const override;
    /// Like assignScale.
    void setScale(SCNVector3 scale) override;
    /// The rotation as axis and angle, which a running rotate-by changes frame by frame.
    SCNVector4 rotation() const override;
    /// Like assignRotation.
    void setRotation(SCNVector4 rotation) override;
    /// The parent, or null for a topmost node.
    std::shared_ptr<SCNNode> parentNode() const override;
    /// The children in the order they were attached.
    std::vector<std::shared_ptr<SCNNode>> childNodes() const override;
    /// Takes `child` from any parent it has and attaches it last, with its running actions.
    void addChildNode(const std::shared_ptr<SCNNode>& child) override;
    /// Detaches the node; its subtree keeps its actions, which run again once attached.
    void removeFromParentNode() override;
    /// A copy of the subtree, sharing geometry, without running actions.
    std::shared_ptr<SCNNode> clone() override;
    /// The geometry, shared with clones.
    std::shared_ptr<SCNGeometry> geometry() const override;
    /// Runs `action` on the simulated clock (an instant one at once); a keyed action replaces
    /// the one running with its key.
    void runActionForKey(std::shared_ptr<const SCNAction> action, const std::optional<std::string>& key) override;
    /// Stops every running action where it stands.
    void removeAllActions() override;

    // Direct state access for the simulator, loaders and tests (not recorded). The transform
    // and the geometry are read here and written with the assign functions below, which keep
    // the cached world transforms up to date.
    std::optional<std::string> nodeName;
    const SCNVector3& nodePosition() const { return position_; }
    const SCNVector3& nodeScale() const { return scale_; }
    const SCNVector4& nodeRotation() const { return rotation_; }
    const std::shared_ptr<SCNGeometry>& nodeGeometry() const { return geometry_; }

    /// Sets the position; the node and its subtree move in the index.
    void assignPosition(SCNVector3 position);
    /// Sets the scale, like assignPosition.
    void assignScale(SCNVector3 scale);
    /// Sets the rotation (axis and angle), like assignPosition.
    void assignRotation(SCNVector4 rotation);
    /// Sets the geometry, whose box the index then keeps.
    void assignGeometry(std::shared_ptr<SCNGeometry> geometry);

    std::shared_ptr<MemoryNode> parent() const { return parent_.lock(); }
    /// Where the node stands among its parent's children: a later child has a greater number.
    /// Lets two nodes be put in walk order without searching the children of their common ancestor.
    /// 64 bits never run out: a billion attachments a second would take centuries.
    std::uint64_t siblingOrder() const { return siblingOrder_; }
    const std::vector<std::shared_ptr<MemoryNode>>& children() const { return children_; }
    const std::vector<RunningAction>& actions() const;
    /// Attaches `child` without recording (model loading).
    void appendChild(const std::shared_ptr<MemoryNode>& child);
    /// Takes the node out of its parent without recording.
    void detach();
    /// Sets the log of this node and its subtree.
    void adoptLog(const std::shared_ptr<CallRecorder>& log);
    const std::shared_ptr<CallRecorder>& log() const { return log_; }

    /// The node's local transform: translation * rotation * scale.
    simd_float4x4 localTransform() const;
    /// The transform from this node's space to the space of its topmost ancestor. Cached: it is
    /// worked out again only after the node or an ancestor has moved or been re-parented.
    simd_float4x4 worldTransform() const;
    /// Sets position, rotation and scale from a rigid-plus-scale matrix (no shear).
    void setTransformMatrix(const simd_float4x4& matrix);

    /// Advances every running action by `seconds` of simulated time; finished ones are dropped.
    void advanceActions(double seconds);
    /// Runs advanceActions on every node of this node's tree (from its topmost ancestor down)
    /// that has running actions: the tree's index lists them, so the tree is not walked.
    void advanceTree(double seconds);
    /// For a topmost node, the nodes that advanceTree visits: those of its tree with running
    /// actions, in no order. Empty for a node with a parent.
    std::vector<MemoryNode*> nodesWithRunningActions() const;

    /// Appends the geometry-carrying nodes of this node's tree (from its topmost ancestor down)
    /// that the ray origin + t * direction (t >= 0) may meet, a superset of those it meets: the
    /// tree's index keeps the geometry's world boxes in a bounding-volume hierarchy.
    void collectHitCandidates(const std::array<double, 3>& origin, const std::array<double, 3>& direction,
                              std::vector<MemoryNode*>& nodes);

    /// First node named `name` in this subtree, depth-first, this node first.
    std::shared_ptr<MemoryNode> findNamed(const std::string& name);

private:
    /// Lets `make` reach the constructor through std::make_shared, which puts the node and
    /// its reference counts in one allocation; nobody else can name it.
    struct Made {};

public:
    explicit MemoryNode(Made);

private:
    friend class SceneIndex;
    /// Drops the cached world transform of this node and of its descendants.
    void invalidateWorld();
    /// After a change of transform: drops cached world transforms and tells the index.
    void noteMoved();
    /// After a change of geometry: tells the index.
    void noteChanged();
    /// The topmost ancestor: this node when it has no parent.
    MemoryNode& top();
    /// The index kept by the topmost ancestor, made when there is none yet.
    SceneIndex& treeIndex();
    /// Lists or unlists this node in its tree's index as having running actions.
    void syncAnimated();
    /// The value of the part of the transform `type` drives.
    SCNVector4 driven(SCNAction::Type type) const;
    /// Sets the part of the transform `type` drives.
    void drive(SCNAction::Type type, SCNVector4 value);
    /// `start` moved on by a rotate-, scale- or move-by between two points of its runs.
    static SCNVector4 spanned(const SCNAction& leaf, double fromRuns, double toRuns, SCNVector4 start);
    /// Records `op` with this node as receiver, when the node has a log.
    void record(const char* op, std::initializer_list<CallArg> args = {}) const;
    /// Applies a rotate-, scale- or move-by between two points of its runs: `fromRuns` and
    /// `toRuns` count completed runs (2.5 is half-way through the third run).
    void applySpan(const SCNAction& leaf, double fromRuns, double toRuns);

    SCNVector3 position_{0, 0, 0};
    SCNVector3 scale_{1, 1, 1};
    SCNVector4 rotation_{0, 0, 0, 0};
    std::shared_ptr<SCNGeometry> geometry_;
    /// The world transform's first three rows, valid when `worldValid_`; a valid node always
    /// has a valid parent, so invalidation stops at the first node already invalid.
    mutable std::array<float, 12> world_{};

    std::weak_ptr<MemoryNode> parent_;
    std::vector<std::shared_ptr<MemoryNode>> children_;
    /// Made on the first action: most nodes never run one.
    std::unique_ptr<std::vector<RunningAction>> actions_;
    std::shared_ptr<CallRecorder> log_;

    // Bookkeeping of the tree's index (see SceneIndex).
    std::unique_ptr<SceneIndex> index_;  ///< kept by a topmost node only
    std::int32_t boxEntry_ = -1, looseSlot_ = -1, animatedSlot_ = -1;
    std::uint64_t siblingOrder_ = 0, nextSiblingOrder_ = 0;
    bool queued_ = false;
    mutable bool worldValid_ = false;  ///< with `world_`; kept here, where it takes no padding
};

class MemoryScene final : public SCNScene {
public:
    explicit MemoryScene(std::shared_ptr<CallRecorder> log = nullptr);
    /// A scene around an existing root node (model loading).
    MemoryScene(std::shared_ptr<CallRecorder> log, std::shared_ptr<MemoryNode> root);
    /// Recorded; `root()`.
    std::shared_ptr<SCNNode> rootNode() const override;
    const std::shared_ptr<MemoryNode>& root() const { return root_; }
    /// Sets the log of the scene and of every node under its root.
    void adoptLog(const std::shared_ptr<CallRecorder>& log);

private:
    std::shared_ptr<CallRecorder> log_;
    std::shared_ptr<MemoryNode> root_;
};

/// The MemoryNode behind an interface pointer (every node here is one).
std::shared_ptr<MemoryNode> asMemory(const std::shared_ptr<SCNNode>& node);

/// The font a text geometry's layout uses (platform/memory/text/TextLayout.h).
std::optional<TextFont> textFont(const std::optional<UIFont>& font);

}  // namespace orrery::memory
