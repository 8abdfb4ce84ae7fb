#include "platform/memory/scene/MemoryScene.h"

#include "platform/memory/geometry/Matrix3.h"
#include "platform/memory/scene/SceneIndex.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace orrery::memory {

namespace {

double d(float f) { return static_cast<double>(f); }

/// Unit quaternion in double precision; rotations are composed here and only
/// stored back as 32-bit axis-angle.
struct Quat {
    double w = 1, x = 0, y = 0, z = 0;

    static Quat axisAngle(double ax, double ay, double az, double angle) {
        const double length = std::sqrt(ax * ax + ay * ay + az * az);
        if (length == 0.0 || !std::isfinite(length) || !std::isfinite(angle)) return {};
        const double s = std::sin(angle / 2) / length;
        return {std::cos(angle / 2), ax * s, ay * s, az * s};
    }

    Quat operator*(const Quat& b) const {
        return {w * b.w - x * b.x - y * b.y - z * b.z, w * b.x + x * b.w + y * b.z - z * b.y,
                w * b.y - x * b.z + y * b.w + z * b.x, w * b.z + x * b.y - y * b.x + z * b.w};
    }

    /// The rotation as (axis, angle) with the angle in [0, pi]; the identity as all zeros.
    SCNVector4 toAxisAngle() const {
        double qw = w, qx = x, qy = y, qz = z;
        const double norm = std::sqrt(qw * qw + qx * qx + qy * qy + qz * qz);  // 1 but for rounding
        qw /= norm, qx /= norm, qy /= norm, qz /= norm;
        if (qw < 0) qw = -qw, qx = -qx, qy = -qy, qz = -qz;
        const double s = std::sqrt(qx * qx + qy * qy + qz * qz);
        if (s < 1e-12) return {};
        const double angle = 2.0 * std::atan2(s, qw);
        return {static_cast<float>(qx / s), static_cast<float>(qy / s), static_cast<float>(qz / s),
                static_cast<float>(angle)};
    }

    /// Angle and unit axis of this rotation (angle 0 for the identity).
    void split(double& angle, double& ax, double& ay, double& az) const {
        double qw = w, qx = x, qy = y, qz = z;
        if (qw < 0) qw = -qw, qx = -qx, qy = -qy, qz = -qz;
        const double s = std::sqrt(qx * qx + qy * qy + qz * qz);
        if (s < 1e-15) {
            angle = 0, ax = 0, ay = 1, az = 0;
            return;
        }
        angle = 2.0 * std::atan2(s, qw);
        ax = qx / s, ay = qy / s, az = qz / s;
    }

    /// From an orthonormal rotation matrix given by rows r[row][column].
    static Quat fromMatrix(const Matrix3d& r) {
        Quat q;
        const double trace = r[0][0] + r[1][1] + r[2][2];
        if (trace > 0) {
            const double s = std::sqrt(trace + 1.0) * 2;
            q = {0.25 * s, (r[2][1] - r[1][2]) / s, (r[0][2] - r[2][0]) / s, (r[1][0] - r[0][1]) / s};
        } else if (r[0][0] > r[1][1] && r[0][0] > r[2][2]) {
            const double s = std::sqrt(1.0 + r[0][0] - r[1][1] - r[2][2]) * 2;
            q = {(r[2][1] - r[1][2]) / s, 0.25 * s, (r[0][1] + r[1][0]) / s, (r[0][2] + r[2][0]) / s};
        } else if (r[1][1] > r[2][2]) {
            const double s = std::sqrt(1.0 + r[1][1] - r[0][0] - r[2][2]) * 2;
            q = {(r[0][2] - r[2][0]) / s, (r[0][1] + r[1][0]) / s, 0.25 * s, (r[1][2] + r[2][1]) / s};
        } else {
            const double s = std::sqrt(1.0 + r[2][2] - r[0][0] - r[1][1]) * 2;
            q = {(r[1][0] - r[0][1]) / s, (r[0][2] + r[2][0]) / s, (r[1][2] + r[2][1]) / s, 0.25 * s};
        }
        return q;
    }
};

Quat fromRotation(SCNVector4 r) { return Quat::axisAngle(d(r.x), d(r.y), d(r.z), d(r.w)); }

/// Euler angles as the platform applies them to a vector: roll (z) first, then yaw (y), then pitch (x).
Quat fromEuler(double x, double y, double z) {
    return Quat::axisAngle(1, 0, 0, x) * Quat::axisAngle(0, 1, 0, y) * Quat::axisAngle(0, 0, 1, z);
}

/// An action reduced to the one rotate-, scale- or move-by at its bottom: every compound
/// action here repeats a single inner action, so a run is that leaf back to back.
struct Flattened {
    const SCNAction* leaf = nullptr;  ///< null when the action does nothing
    double repeats = 1;               ///< leaf runs per pass (per advance for an instant forever)
    bool forever = false;
};

Flattened flatten(const SCNAction& action) {
    Flattened f;
    const SCNAction* a = &action;
    while (a && (a->type == SCNAction::Type::repeat || a->type == SCNAction::Type::repeatForever)) {
        if (a->type == SCNAction::Type::repeat) {
            if (a->count == 0) return {};
            f.repeats *= static_cast<double>(a->count);
        } else {
            // The first pass of a forever never ends, so outer repeats never get further.
            f.forever = true;
            f.repeats = 1;
        }
        a = a->action.get();
    }
    f.leaf = a;
    return f;
}

double leafDuration(const SCNAction& leaf) {
    return leaf.duration > 0 && std::isfinite(leaf.duration) ? leaf.duration : 0.0;
}

/// A node as an argument: its name, or null.
CallArg nodeArg(const SCNNode* node) {
    const auto* memoryNode = dynamic_cast<const MemoryNode*>(node);
    if (!memoryNode || !memoryNode->nodeName) return nullptr;
    return *memoryNode->nodeName;
}

}  // namespace

std::optional<TextFont> textFont(const std::optional<UIFont>& font) {
    if (!font) return std::nullopt;
    return TextFont{font->fontName, font->pointSize};
}

std::shared_ptr<MemoryNode> asMemory(const std::shared_ptr<SCNNode>& node) {
    return std::dynamic_pointer_cast<MemoryNode>(node);
}

// ---------------------------------------------------------------- materials and geometry

MemoryMaterialProperty::MemoryMaterialProperty(std::shared_ptr<CallRecorder> log) : log_(std::move(log)) {}

void MemoryMaterialProperty::setContents(const UIColor& colour) {
    if (log_) log_->recordCall("setContents:", std::nullopt, {colour});
    contents = colour;
}

MemoryMaterial::MemoryMaterial(std::shared_ptr<CallRecorder> log)
    : diffuseProperty(std::make_shared<MemoryMaterialProperty>(log)),
      specularProperty(std::make_shared<MemoryMaterialProperty>(log)), log_(std::move(log)) {}

std::shared_ptr<SCNMaterialProperty> MemoryMaterial::diffuse() {
    if (log_) log_->recordCall("diffuse", std::nullopt, {});
    return diffuseProperty;
}

std::shared_ptr<SCNMaterialProperty> MemoryMaterial::specular() {
    if (log_) log_->recordCall("specular", std::nullopt, {});
    return specularProperty;
}

std::shared_ptr<SCNMaterial> MemoryMeshGeometry::firstMaterial() {
    if (log_) log_->recordCall("firstMaterial", std::nullopt, {});
    return materials.empty() ? nullptr : materials.front();
}

void MemoryMaterial::adoptLog(const std::shared_ptr<CallRecorder>& log) {
    log_ = log;
    if (diffuseProperty) diffuseProperty->adoptLog(log);
    if (specularProperty) specularProperty->adoptLog(log);
}

void MemoryMeshGeometry::adoptLog(const std::shared_ptr<CallRecorder>& log) {
    log_ = log;
    for (const auto& material : materials)
        if (material) material->adoptLog(log);
}

void MemoryMeshGeometry::computeBounds() {
    if (positions.empty()) {
        bounds = {};
        return;
    }
    bounds.min = bounds.max = positions.front();
    for (const auto& p : positions)
        bounds = {{std::min(bounds.min.x, p.x), std::min(bounds.min.y, p.y), std::min(bounds.min.z, p.z)},
                  {std::max(bounds.max.x, p.x), std::max(bounds.max.y, p.y), std::max(bounds.max.z, p.z)}};
}

MemoryTextGeometry::MemoryTextGeometry(std::shared_ptr<CallRecorder> log, std::string string, double extrusionDepth)
    : string(std::move(string)), extrusionDepth(extrusionDepth), material(std::make_shared<MemoryMaterial>(log)),
      log_(std::move(log)) {}

SCNBoundingBox MemoryTextGeometry::boundingBox() const {
    // The box of the glyph outlines the renderer draws, from the same layout.
    const TextBox box = textBounds(*layoutText(string, textFont(font)), extrusionDepth);
    return {{box.min[0], box.min[1], box.min[2]}, {box.max[0], box.max[1], box.max[2]}};
}

std::shared_ptr<SCNMaterial> MemoryTextGeometry::firstMaterial() {
    if (log_) log_->recordCall("firstMaterial", std::nullopt, {});
    return material;
}

void MemoryTextGeometry::setFont(const std::optional<UIFont>& newFont) {
    if (log_) log_->recordCall("setFont:", std::nullopt, {newFont ? CallArg(*newFont) : CallArg(nullptr)});
    font = newFont;
}

// ---------------------------------------------------------------- nodes

MemoryNode::MemoryNode(Made) {}

const std::vector<RunningAction>& MemoryNode::actions() const {
    static const std::vector<RunningAction> none;
    return actions_ ? *actions_ : none;
}

std::shared_ptr<MemoryNode> MemoryNode::make(std::shared_ptr<CallRecorder> log) {
    auto node = std::make_shared<MemoryNode>(Made{});
    node->log_ = std::move(log);
    return node;
}

MemoryNode::~MemoryNode() {
    const bool animatedInside = index_ && !index_->animated().empty();
    index_.reset();
    // Children that live on lose their parent, and with it their world transform; they are
    // topmost now, so each keeps the list of its running actions itself.
    for (const auto& child : children_) {
        child->invalidateWorld();
        if (!animatedInside) continue;
        child->index_ = std::make_unique<SceneIndex>(*child);
        child->index_->addAnimatedSubtree(*child);
        if (child->index_->animated().empty()) child->index_.reset();
    }
}

void MemoryNode::record(const char* op, std::initializer_list<CallArg> args) const {
    if (log_) log_->recordCall(op, nodeName, args);
}

std::optional<std::string> MemoryNode::name() const {
    record("name");
    return nodeName;
}

void MemoryNode::setName(const std::optional<std::string>& name) {
    record("setName:", {name ? CallArg(*name) : CallArg(nullptr)});
    nodeName = name;
}

SCNVector3 MemoryNode::position() const {
    record("position");
    return nodePosition();
}

void MemoryNode::setPosition(SCNVector3 position) {
    record("setPosition:", {position});
    assignPosition(position);
}

SCNVector3 MemoryNode::scale() const {
    record("scale");
    return nodeScale();
}

void MemoryNode::setScale(SCNVector3 scale) {
    record("setScale:", {scale});
    assignScale(scale);
}

SCNVector4 MemoryNode::rotation() const {
    record("rotation");
    return nodeRotation();
}

void MemoryNode::setRotation(SCNVector4 rotation) {
    record("setRotation:", {rotation});
    assignRotation(rotation);
}

std::shared_ptr<SCNNode> MemoryNode::parentNode() const {
    record("parentNode");
    return parent_.lock();
}

std::vector<std::shared_ptr<SCNNode>> MemoryNode::childNodes() const {
    record("childNodes");
    return {children_.begin(), children_.end()};
}

void MemoryNode::addChildNode(const std::shared_ptr<SCNNode>& child) {
    record("addChildNode:", {nodeArg(child.get())});
    if (auto memoryChild = asMemory(child)) appendChild(memoryChild);
}

void MemoryNode::appendChild(const std::shared_ptr<MemoryNode>& child) {
    if (!child) return;
    // A node cannot become its own descendant.
    for (const MemoryNode* n = this; n; n = n->parent_.lock().get())
        if (n == child.get()) return;
    child->detach();
    // The child's own index ends here: its nodes join this tree's.
    const bool animatedInside = child->index_ && !child->index_->animated().empty();
    child->index_.reset();
    child->parent_ = weak_from_this();
    child->siblingOrder_ = nextSiblingOrder_++;
    children_.push_back(child);
    child->invalidateWorld();
    MemoryNode& topmost = top();
    if (animatedInside) topmost.treeIndex().addAnimatedSubtree(*child);
    if (topmost.index_) topmost.index_->noteChanged(*child);
}

void MemoryNode::removeFromParentNode() {
    record("removeFromParentNode");
    detach();
}

void MemoryNode::detach() {
    auto parent = parent_.lock();
    if (!parent) return;
    // The parent may hold the last reference: keep this node alive until it is fully detached.
    const auto self = shared_from_this();
    SceneIndex* index = parent->top().index_.get();
    const bool animatedInside = index && index->forget(*this);
    std::erase(parent->children_, self);
    parent_.reset();
    invalidateWorld();
    if (animatedInside) treeIndex().addAnimatedSubtree(*this);
}

std::shared_ptr<SCNNode> MemoryNode::clone() {
    record("clone");
    struct Copier {
        static std::shared_ptr<MemoryNode> copy(const MemoryNode& source) {
            auto copy = MemoryNode::make(source.log_);
            copy->nodeName = source.nodeName;
            copy->position_ = source.position_;
            copy->scale_ = source.scale_;
            copy->rotation_ = source.rotation_;
            copy->geometry_ = source.geometry_;  // shared, with its materials
            for (const auto& child : source.children_) copy->appendChild(Copier::copy(*child));
            return copy;
        }
    };
    return Copier::copy(*this);
}

std::shared_ptr<SCNGeometry> MemoryNode::geometry() const {
    record("geometry");
    return geometry_;
}

void MemoryNode::runActionForKey(std::shared_ptr<const SCNAction> action, const std::optional<std::string>& key) {
    record("runAction:forKey:", {CallArg(action.get()), key ? CallArg(*key) : CallArg(nullptr)});
    if (key && actions_) std::erase_if(*actions_, [&key](const RunningAction& running) { return running.key == key; });
    Flattened f = action ? flatten(*action) : Flattened{};
    if (f.leaf && leafDuration(*f.leaf) == 0.0) {
        // Instant: applied now, count times; an endless repeat of it also once per advance.
        applySpan(*f.leaf, 0.0, f.repeats);
        if (!f.forever) f = Flattened{};
    }
    if (f.leaf) {
        const SCNVector4 now = driven(f.leaf->type);
        if (!actions_) actions_ = std::make_unique<std::vector<RunningAction>>();
        actions_->push_back(RunningAction{key, action, 0.0, now, 0.0, now});
    }
    syncAnimated();
}

void MemoryNode::removeAllActions() {
    record("removeAllActions");
    actions_.reset();
    syncAnimated();
}

SCNVector4 MemoryNode::driven(SCNAction::Type type) const {
    switch (type) {
    case SCNAction::Type::rotateBy: return rotation_;
    case SCNAction::Type::scaleBy: return {scale_.x, scale_.y, scale_.z, 0};
    case SCNAction::Type::moveBy: return {position_.x, position_.y, position_.z, 0};
    case SCNAction::Type::repeat:
    case SCNAction::Type::repeatForever: break;  // compound actions are flattened before they get here
    }
    return {};
}

void MemoryNode::drive(SCNAction::Type type, SCNVector4 value) {
    switch (type) {
    case SCNAction::Type::rotateBy: assignRotation(value); return;
    case SCNAction::Type::scaleBy: assignScale({value.x, value.y, value.z}); return;
    case SCNAction::Type::moveBy: assignPosition({value.x, value.y, value.z}); return;
    case SCNAction::Type::repeat:
    case SCNAction::Type::repeatForever: return;
    }
}

SCNVector4 MemoryNode::spanned(const SCNAction& leaf, double fromRuns, double toRuns, SCNVector4 start) {
    if (!(toRuns > fromRuns)) return start;
    switch (leaf.type) {
    case SCNAction::Type::rotateBy: {
        // The orientation reached after p runs is E^floor(p) * E(frac(p)), with E(f) the Euler
        // turn by f times the angles; a span turns by the difference, so steps of any size add up
        // to the whole turn and a full 2 pi spin really goes round.
        double angle, ax, ay, az;
        fromEuler(leaf.x, leaf.y, leaf.z).split(angle, ax, ay, az);
        const auto reached = [&](double runs) {
            const double whole = std::floor(runs), part = runs - whole;
            return Quat::axisAngle(ax, ay, az, angle * whole) * fromEuler(leaf.x * part, leaf.y * part, leaf.z * part);
        };
        const Quat from = reached(fromRuns), to = reached(toRuns);
        const Quat delta = Quat{from.w, -from.x, -from.y, -from.z} * to;
        if (delta.x == 0.0 && delta.y == 0.0 && delta.z == 0.0) return start;
        // In the node's own frame: the turn comes after the starting orientation.
        return (fromRotation(start) * delta).toAxisAngle();
    }
    case SCNAction::Type::scaleBy: {
        // No fractional powers of a non-positive factor: it applies whole at the end of each run.
        const double m = leaf.factor > 0 && std::isfinite(leaf.factor)
                             ? std::pow(leaf.factor, toRuns - fromRuns)
                             : std::pow(leaf.factor, std::floor(toRuns) - std::floor(fromRuns));
        return {static_cast<float>(d(start.x) * m), static_cast<float>(d(start.y) * m),
                static_cast<float>(d(start.z) * m), 0};
    }
    case SCNAction::Type::moveBy: {
        const double amount = toRuns - fromRuns;
        return {static_cast<float>(d(start.x) + d(leaf.delta.x) * amount),
                static_cast<float>(d(start.y) + d(leaf.delta.y) * amount),
                static_cast<float>(d(start.z) + d(leaf.delta.z) * amount), 0};
    }
    case SCNAction::Type::repeat:
    case SCNAction::Type::repeatForever: break;
    }
    return start;
}

void MemoryNode::applySpan(const SCNAction& leaf, double fromRuns, double toRuns) {
    if (toRuns > fromRuns) drive(leaf.type, spanned(leaf, fromRuns, toRuns, driven(leaf.type)));
}

void MemoryNode::advanceActions(double seconds) {
    if (!(seconds >= 0)) seconds = 0;
    if (!actions_) return;
    std::vector<RunningAction> kept;
    for (RunningAction entry : *actions_) {
        const Flattened f = flatten(*entry.action);
        const double leafTime = leafDuration(*f.leaf);
        if (leafTime == 0.0) {
            // Only an endless repeat of an instant action runs here: once per advance.
            applySpan(*f.leaf, 0.0, f.repeats);
            kept.push_back(std::move(entry));
            continue;
        }
        const double total = f.forever ? std::numeric_limits<double>::infinity() : leafTime * f.repeats;
        const double from = entry.elapsed;
        double to = from + seconds;
        // Frame steps of 1/60 s do not add up exactly; an action that is due ends now, exactly.
        if (to >= total - 1e-9 * std::max(1.0, total)) to = total;
        const SCNVector4 now = driven(f.leaf->type);
        if (std::memcmp(&now, &entry.written, sizeof now) != 0) {
            entry.base = now;
            entry.baseElapsed = from;
        }
        // The leaf runs back to back, so times map straight onto counts of leaf runs.
        drive(f.leaf->type, spanned(*f.leaf, entry.baseElapsed / leafTime, to / leafTime, entry.base));
        entry.written = driven(f.leaf->type);
        if (f.forever) {
            // Keep the clock within one leaf run so that long spins keep their precision; whole
            // runs taken off both ends leave the turn from the base the same.
            entry.elapsed = std::fmod(to, leafTime);
            entry.baseElapsed -= to - entry.elapsed;
            kept.push_back(std::move(entry));
        } else if (to < total) {
            entry.elapsed = to;
            kept.push_back(std::move(entry));
        }
    }
    if (kept.empty())
        actions_.reset();
    else
        *actions_ = std::move(kept);
    syncAnimated();
}

std::vector<MemoryNode*> MemoryNode::nodesWithRunningActions() const {
    return index_ ? index_->animated() : std::vector<MemoryNode*>{};
}

void MemoryNode::advanceTree(double seconds) {
    MemoryNode& topmost = top();
    if (!topmost.index_) return;
    // Advancing never attaches or detaches, but it unlists nodes whose actions end.
    const std::vector<MemoryNode*> animated = topmost.index_->animated();
    for (MemoryNode* node : animated) node->advanceActions(seconds);
}

void MemoryNode::collectHitCandidates(const std::array<double, 3>& origin, const std::array<double, 3>& direction,
                                      std::vector<MemoryNode*>& nodes) {
    treeIndex().candidates(origin, direction, nodes);
}

MemoryNode& MemoryNode::top() {
    MemoryNode* node = this;
    while (const auto parent = node->parent_.lock()) node = parent.get();
    return *node;
}

SceneIndex& MemoryNode::treeIndex() {
    MemoryNode& topmost = top();
    if (!topmost.index_) topmost.index_ = std::make_unique<SceneIndex>(topmost);
    return *topmost.index_;
}

void MemoryNode::syncAnimated() {
    const bool running = actions_ && !actions_->empty();
    if (running == (animatedSlot_ >= 0)) return;
    if (running)
        treeIndex().addAnimated(*this);
    else
        top().index_->removeAnimated(*this);
}

void MemoryNode::noteMoved() {
    invalidateWorld();
    noteChanged();
}

void MemoryNode::noteChanged() {
    if (SceneIndex* index = top().index_.get()) index->noteChanged(*this);
}

std::shared_ptr<MemoryNode> MemoryNode::findNamed(const std::string& name) {
    if (nodeName == name) return shared_from_this();
    for (const auto& child : children_)
        if (auto found = child->findNamed(name)) return found;
    return nullptr;
}

void MemoryNode::adoptLog(const std::shared_ptr<CallRecorder>& log) {
    log_ = log;
    for (const auto& child : children_) child->adoptLog(log);
}

simd_float4x4 MemoryNode::localTransform() const {
    const Quat q = fromRotation(rotation_);
    const double w = q.w, x = q.x, y = q.y, z = q.z;
    const Matrix3d r{{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)},
                      {2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)},
                      {2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}}};
    const Vector3d s{d(nodeScale().x), d(nodeScale().y), d(nodeScale().z)};
    simd_float4x4 m = matrix_identity_float4x4();
    for (std::size_t c = 0; c < s.size(); ++c)
        for (std::size_t row = 0; row < s.size(); ++row) m.columns[c][row] = static_cast<float>(r[row][c] * s[c]);
    m.columns[3] = {nodePosition().x, nodePosition().y, nodePosition().z, 1.0f};
    return m;
}

simd_float4x4 MemoryNode::worldTransform() const {
    if (!worldValid_) {
        simd_float4x4 m = localTransform();
        if (const auto parent = parent_.lock()) m = simd_mul(parent->worldTransform(), m);
        for (int c = 0; c < 4; ++c)
            for (int row = 0; row < 3; ++row) world_[static_cast<std::size_t>(c * 3 + row)] = m.columns[c][row];
        worldValid_ = true;
    }
    simd_float4x4 m = matrix_identity_float4x4();
    for (int c = 0; c < 4; ++c)
        for (int row = 0; row < 3; ++row) m.columns[c][row] = world_[static_cast<std::size_t>(c * 3 + row)];
    return m;
}

void MemoryNode::invalidateWorld() {
    if (!worldValid_) return;
    worldValid_ = false;
    for (const auto& child : children_) child->invalidateWorld();
}

void MemoryNode::assignPosition(SCNVector3 position) {
    position_ = position;
    noteMoved();
}

void MemoryNode::assignScale(SCNVector3 scale) {
    scale_ = scale;
    noteMoved();
}

void MemoryNode::assignRotation(SCNVector4 rotation) {
    rotation_ = rotation;
    noteMoved();
}

void MemoryNode::assignGeometry(std::shared_ptr<SCNGeometry> geometry) {
    geometry_ = std::move(geometry);
    noteChanged();
}

void MemoryNode::setTransformMatrix(const simd_float4x4& matrix) {
    const auto& c = matrix.columns;
    assignPosition({c[3][0], c[3][1], c[3][2]});
    Vector3d scale;
    Matrix3d axes;
    std::array<bool, 3> known;
    for (std::size_t col = 0; col < axes.size(); ++col) {
        axes[col] = {d(c[col][0]), d(c[col][1]), d(c[col][2])};
        scale[col] = makeUnit(axes[col]);
        known[col] = scale[col] > 0;
    }
    // An axis scaled to nothing has no direction of its own: any that completes a right-handed
    // frame with the others leaves the matrix as it is and keeps the rotation a rotation.
    const int count = known[0] + known[1] + known[2];
    if (count == 0) axes[0] = {1, 0, 0}, known[0] = true;
    if (count <= 1) {
        const std::size_t at = known[0] ? 0 : known[1] ? 1 : 2, next = (at + 1) % 3;
        axes[next] = perpendicular(axes[at]);
        known[next] = true;
    }
    for (std::size_t col = 0; col < axes.size(); ++col)
        if (!known[col]) axes[col] = cross(axes[(col + 1) % 3], axes[(col + 2) % 3]);
    assignScale({static_cast<float>(scale[0]), static_cast<float>(scale[1]), static_cast<float>(scale[2])});
    assignRotation(Quat::fromMatrix(transposed(axes)).toAxisAngle());
}

// ---------------------------------------------------------------- scenes

MemoryScene::MemoryScene(std::shared_ptr<CallRecorder> log) : log_(log), root_(MemoryNode::make(std::move(log))) {}

MemoryScene::MemoryScene(std::shared_ptr<CallRecorder> log, std::shared_ptr<MemoryNode> root)
    : log_(std::move(log)), root_(root ? std::move(root) : MemoryNode::make(log_)) {}

std::shared_ptr<SCNNode> MemoryScene::rootNode() const {
    if (log_) log_->recordCall("rootNode", std::nullopt, {});
    return root_;
}

void MemoryScene::adoptLog(const std::shared_ptr<CallRecorder>& log) {
    log_ = log;
    root_->adoptLog(log);
}

}  // namespace orrery::memory
