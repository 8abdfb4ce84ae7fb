#include "platform/memory/SceneView.h"

#include "platform/memory/geometry/Matrix3.h"
#include "platform/memory/PlatformJson.h"
#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace orrery::memory {

namespace {

using Json = nlohmann::json;

using Vec = Vector3d;

Vec toVec(SCNVector3 v) { return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)}; }

/// Where the ray o + t * dir (t >= 0) meets `box` placed by `world`, or nothing. The box is
/// tested in its node's own space, so it turns and scales with the node as on the device; the
/// ray is carried there unnormalised, so t stays the world one. A ray starting inside the box
/// meets it where it leaves. Empty and degenerate boxes are never met.
std::optional<double> rayHitsBox(const simd_float4x4& world, const SCNBoundingBox& box, const Vec& o, const Vec& dir) {
    if (box.max.x < box.min.x || box.max.y < box.min.y || box.max.z < box.min.z || box.min == box.max)
        return std::nullopt;
    Matrix3d a;
    Vec shift;
    for (std::size_t row = 0; row < a.size(); ++row) {
        for (std::size_t col = 0; col < a.size(); ++col) a[row][col] = static_cast<double>(world.columns[col][row]);
        shift[row] = static_cast<double>(world.columns[3][row]);
    }
    const auto inv = inverse(a, 1e-30);
    if (!inv) return std::nullopt;
    const Vec origin = times(*inv, {o[0] - shift[0], o[1] - shift[1], o[2] - shift[2]}), direction = times(*inv, dir);
    const Vec lo = toVec(box.min), hi = toVec(box.max);
    // Slab test.
    double enter = -std::numeric_limits<double>::infinity(), leave = std::numeric_limits<double>::infinity();
    for (std::size_t axis = 0; axis < origin.size(); ++axis) {
        if (direction[axis] == 0.0) {
            if (origin[axis] < lo[axis] || origin[axis] > hi[axis]) return std::nullopt;
            continue;
        }
        double t0 = (lo[axis] - origin[axis]) / direction[axis], t1 = (hi[axis] - origin[axis]) / direction[axis];
        if (t0 > t1) std::swap(t0, t1);
        enter = std::max(enter, t0);
        leave = std::min(leave, t1);
    }
    if (leave < enter || leave < 0) return std::nullopt;
    return enter >= 0 ? enter : leave;
}

std::size_t depthOf(const MemoryNode* node) {
    std::size_t depth = 0;
    for (auto up = node->parent(); up; up = up->parent()) ++depth;
    return depth;
}

/// Whether `a` comes before `b` in a depth-first walk of their tree, parents before children.
/// Costs the depth of the two nodes, however many siblings they have.
bool walkedBefore(const MemoryNode* a, const MemoryNode* b) {
    std::size_t depthA = depthOf(a), depthB = depthOf(b);
    for (; depthA > depthB; --depthA) {
        a = a->parent().get();
        if (a == b) return false;  // b is an ancestor of a
    }
    for (; depthB > depthA; --depthB) {
        b = b->parent().get();
        if (b == a) return true;  // a is an ancestor of b
    }
    if (a == b) return false;
    // Up to the children of the common ancestor, whose order decides.
    for (auto parentA = a->parent(), parentB = b->parent(); parentA != parentB;
         parentA = a->parent(), parentB = b->parent()) {
        if (!parentA || !parentB) return false;  // different trees: no order
        a = parentA.get();
        b = parentB.get();
    }
    return a->siblingOrder() < b->siblingOrder();
}

/// The candidates the ray meets, with the distance along it at which each is entered.
std::vector<std::pair<double, MemoryNode*>> rayHits(const std::vector<MemoryNode*>& candidates, SCNVector3 origin,
                                                    SCNVector3 direction) {
    const Vec o = toVec(origin), dir = toVec(direction);
    std::vector<std::pair<double, MemoryNode*>> hits;
    for (MemoryNode* node : candidates)
        if (const auto t = rayHitsBox(node->worldTransform(), node->nodeGeometry()->boundingBox(), o, dir))
            hits.emplace_back(*t, node);
    return hits;
}

std::vector<SCNHitTestResult> resultsOf(const std::vector<std::pair<double, MemoryNode*>>& hits) {
    std::vector<SCNHitTestResult> results;
    for (const auto& hit : hits) results.push_back({hit.second->shared_from_this()});
    return results;
}

/// AR hit results at these world transforms, in their order.
std::vector<ARHitTestResult> hitResultsAt(const std::vector<simd_float4x4>& transforms) {
    std::vector<ARHitTestResult> results;
    for (const auto& transform : transforms) results.push_back({transform});
    return results;
}

Json pointJson(CGPoint p) { return Json::array({p.x, p.y}); }

}  // namespace

MemoryARSCNView::MemoryARSCNView(std::shared_ptr<CallLog> log) : arSession(log, *this), log_(std::move(log)) {}

std::shared_ptr<SCNScene> MemoryARSCNView::scene() const {
    if (log_) log_->record("scene", std::nullopt);
    return currentScene;
}

void MemoryARSCNView::setScene(const std::shared_ptr<SCNScene>& scene) {
    currentScene = std::dynamic_pointer_cast<MemoryScene>(scene);
    if (log_)
        log_->record("setScene:", std::nullopt,
                     Json::array({currentScene ? Json{{"rootNode", CallJson::text(currentScene->root()->nodeName)}}
                                               : Json(nullptr)}));
}

void MemoryARSCNView::setDelegate(ARSCNViewDelegate* newDelegate) {
    if (log_)
        log_->record("setDelegate:", std::nullopt,
                     Json::array({newDelegate ? Json("ARSCNViewDelegate") : Json(nullptr)}));
    delegate = newDelegate;
}

void MemoryARSCNView::setShowsStatistics(bool shows) {
    if (log_) log_->record("setShowsStatistics:", std::nullopt, Json::array({shows}));
    showsStatistics = shows;
}

void MemoryARSCNView::setAntialiasingMode(SCNAntialiasingMode mode) {
    if (log_) log_->record("setAntialiasingMode:", std::nullopt, Json::array({static_cast<unsigned>(mode)}));
    antialiasingMode = mode;
}

ARSession& MemoryARSCNView::session() {
    if (log_) log_->record("session", std::nullopt);
    return arSession;
}

std::vector<SCNHitTestResult> MemoryARSCNView::hitTestOptions(CGPoint point, const SCNHitTestOptions& options) {
    if (log_) log_->record("hitTest:options:", std::nullopt, Json::array({pointJson(point), Json(options)}));
    if (preparedSceneHits_) {
        std::vector<SCNHitTestResult> results;
        for (auto& node : *preparedSceneHits_) results.push_back({node});
        preparedSceneHits_.reset();
        return results;
    }
    return geometricHitTest(point);
}

std::vector<ARHitTestResult> MemoryARSCNView::hitTestTypes(CGPoint point, std::uint64_t types) {
    if (log_) log_->record("hitTest:types:", std::nullopt, Json::array({pointJson(point), types}));
    if (preparedFeatureHits_) {
        auto results = hitResultsAt(*preparedFeatureHits_);
        preparedFeatureHits_.reset();
        return results;
    }
    if (!(types & ARHitTestResultTypeFeaturePoint)) return {};
    return world ? hitResultsAt(world->featurePoints(point)) : geometricFeatureHitTest(point);
}

void MemoryARSCNView::addGestureRecognizer(const std::shared_ptr<UIGestureRecognizer>& recognizer) {
    const auto* memoryRecognizer = dynamic_cast<const MemoryRecognizerBase*>(recognizer.get());
    if (log_)
        log_->record("addGestureRecognizer:", std::nullopt,
                     Json::array({memoryRecognizer ? Json(memoryRecognizer->record.type) : Json(nullptr)}));
    if (recognizer) gestureRecognizers.push_back(recognizer);
}

std::vector<SCNHitTestResult> MemoryARSCNView::geometricHitTest(CGPoint point) const {
    if (!currentScene) return {};
    SCNVector3 origin, direction;
    camera.rayThrough(point, origin, direction);
    std::vector<MemoryNode*> candidates;
    currentScene->root()->collectHitCandidates({origin.x, origin.y, origin.z}, {direction.x, direction.y, direction.z},
                                               candidates);
    // Nearest entry first; equally near ones in walk order.
    auto hits = rayHits(candidates, origin, direction);
    std::sort(hits.begin(), hits.end(), [](const auto& a, const auto& b) {
        return a.first < b.first || (a.first == b.first && a.second != b.second && walkedBefore(a.second, b.second));
    });
    return resultsOf(hits);
}

std::vector<SCNHitTestResult> MemoryARSCNView::exhaustiveHitTest(CGPoint point) const {
    if (!currentScene) return {};
    SCNVector3 origin, direction;
    camera.rayThrough(point, origin, direction);
    std::vector<MemoryNode*> candidates;
    const auto visit = [&](const auto& self, MemoryNode& node) -> void {
        if (node.nodeGeometry()) candidates.push_back(&node);
        for (const auto& child : node.children()) self(self, *child);
    };
    visit(visit, *currentScene->root());
    // The candidates are in walk order already: a stable sort keeps equally near ones so.
    auto hits = rayHits(candidates, origin, direction);
    std::stable_sort(hits.begin(), hits.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return resultsOf(hits);
}

std::vector<ARHitTestResult> MemoryARSCNView::geometricFeatureHitTest(CGPoint point) const {
    // Feature points come from camera frames: none before tracking has delivered one.
    if (!arSession.latestFrame) return {};
    SCNVector3 origin, direction;
    camera.rayThrough(point, origin, direction);
    std::vector<ARHitTestResult> results;
    for (const auto& hit : room.intersect(origin, direction)) results.push_back({makeTranslation(hit)});
    return results;
}

void MemoryARSCNView::reportPendingAnchors() {
    while (!arSession.pendingAnchors.empty()) {
        auto anchor = arSession.pendingAnchors.front();
        arSession.pendingAnchors.pop_front();
        auto node = MemoryNode::make(log_);
        node->setTransformMatrix(anchor->transform());
        if (currentScene) currentScene->root()->appendChild(node);
        anchorNodes.emplace_back(anchor, node);
        // On the device this comes from the rendering thread.
        if (delegate) delegate->rendererDidAddNodeForAnchor(*this, node, anchor);
    }
}

void MemoryARSCNView::followTrackedAnchors() {
    if (!world) return;
    for (auto& [anchor, node] : anchorNodes)
        if (const auto transform = world->trackedTransform(*anchor)) node->setTransformMatrix(*transform);
}

SceneFrame MemoryARSCNView::frame() const {
    SceneFrame frame{currentScene ? currentScene->root().get() : nullptr, camera, &room, {}};
    for (const auto& anchor : arSession.anchors) frame.anchors.push_back(anchor->transform());
    return frame;
}

}  // namespace orrery::memory
