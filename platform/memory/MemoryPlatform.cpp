#include "platform/memory/MemoryPlatform.h"

#include "platform/memory/ColladaLoader.h"
#include "platform/memory/Matrix3.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

namespace orrery::memory {

namespace {

using Json = nlohmann::json;

using Vec = Vector3d;

Vec toVec(SCNVector3 v) { return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)}; }

SCNVector3 toVector3(const Vec& v) { return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])}; }

/// Rows of the camera's orientation: yaw about y, then pitch about the turned x axis.
Matrix3d cameraBasis(const SimulatedCamera& camera) {
    const double cy = std::cos(static_cast<double>(camera.yaw)), sy = std::sin(static_cast<double>(camera.yaw));
    const double cp = std::cos(static_cast<double>(camera.pitch)), sp = std::sin(static_cast<double>(camera.pitch));
    // Ry(yaw) * Rx(pitch)
    return {{{cy, sy * sp, sy * cp}, {0, cp, -sp}, {-sy, cy * sp, cy * cp}}};
}

/// Focal length in points of the pinhole projection.
double focalLength(const SimulatedCamera& camera) {
    return (camera.viewport.height / 2.0) / std::tan(camera.verticalFieldOfView / 2.0);
}

/// Where the ray o + t * dir (t >= 0) meets `box` placed by `world`, or nothing. The box is
/// tested in its node's own space, so it turns and scales with the node as on the device; the
/// ray is carried there unnormalised, so t stays the world one. A ray starting inside the box
/// meets it where it leaves. Empty and degenerate boxes are never met.
std::optional<double> rayHitsBox(const simd_float4x4& world, const SCNBoundingBox& box, const Vec& o, const Vec& dir) {
    if (box.max.x < box.min.x || box.max.y < box.min.y || box.max.z < box.min.z || box.min == box.max) return std::nullopt;
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

Json pointJson(CGPoint p) { return Json::array({p.x, p.y}); }

bool hexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

bool uriCharacter(char c) {
    if (std::isalnum(static_cast<unsigned char>(c)) && static_cast<unsigned char>(c) < 0x80) return true;
    return std::string_view("-._~:/?#[]@!$&'()*+,;=").find(c) != std::string_view::npos;
}

} // namespace

// ---------------------------------------------------------------- camera and room

simd_float4x4 SimulatedCamera::transform() const {
    const Matrix3d r = cameraBasis(*this);
    simd_float4x4 m = matrix_identity_float4x4();
    for (int c = 0; c < 3; ++c)
        for (int row = 0; row < 3; ++row) m.columns[c][row] = static_cast<float>(r[row][c]);
    m.columns[3] = {position.x, position.y, position.z, 1.0f};
    return m;
}

void SimulatedCamera::rayThrough(CGPoint point, SCNVector3& origin, SCNVector3& direction) const {
    const double f = focalLength(*this);
    // Camera space: x right, y up, looking along -z; view points have y down.
    Vec world = times(cameraBasis(*this), {(point.x - viewport.width / 2.0) / f, -(point.y - viewport.height / 2.0) / f, -1.0});
    makeUnit(world);
    origin = position;
    direction = toVector3(world);
}

std::optional<CGPoint> SimulatedCamera::project(SCNVector3 world) const {
    const Vec p = toVec(world), o = toVec(position);
    // Into camera space with the transposed basis.
    const Vec local = times(transposed(cameraBasis(*this)), {p[0] - o[0], p[1] - o[1], p[2] - o[2]});
    if (!(local[2] < 0)) return std::nullopt;
    const double f = focalLength(*this);
    return CGPoint{viewport.width / 2.0 + f * local[0] / -local[2], viewport.height / 2.0 - f * local[1] / -local[2]};
}

bool SimulatedCamera::onScreen(CGPoint point) const {
    return point.x >= 0 && point.y >= 0 && point.x <= viewport.width && point.y <= viewport.height;
}

SimulatedRoom SimulatedRoom::standard() {
    // Heights are relative to the device where tracking started (about 1.4 m above the floor).
    return {{
        {-1.4f, -5.0f, 5.0f, -5.0f, 5.0f},     // floor
        {-1.0f, -0.5f, 0.5f, -2.2f, -1.6f},    // coffee table
        {-0.65f, 1.2f, 2.4f, -1.5f, -0.7f},    // desk
        {-0.55f, -2.6f, -2.1f, -3.0f, -1.5f},  // sideboard
    }};
}

std::vector<SCNVector3> SimulatedRoom::intersect(SCNVector3 origin, SCNVector3 direction) const {
    const Vec o = toVec(origin), dir = toVec(direction);
    std::vector<std::pair<double, SCNVector3>> hits;
    if (dir[1] == 0.0) return {};
    for (const auto& surface : surfaces) {
        const double t = (static_cast<double>(surface.height) - o[1]) / dir[1];
        if (!(t > 0)) continue;
        const double x = o[0] + t * dir[0], z = o[2] + t * dir[2];
        if (x < surface.minX || x > surface.maxX || z < surface.minZ || z > surface.maxZ) continue;
        hits.emplace_back(t, SCNVector3{static_cast<float>(x), surface.height, static_cast<float>(z)});
    }
    std::stable_sort(hits.begin(), hits.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<SCNVector3> points;
    for (const auto& hit : hits) points.push_back(hit.second);
    return points;
}

// ---------------------------------------------------------------- AR session

MemoryARSession::MemoryARSession(std::shared_ptr<CallLog> log, MemoryARSCNView& view) : log_(std::move(log)), view_(view) {}

void MemoryARSession::runWithConfigurationOptions(const ARWorldTrackingConfiguration& config, unsigned options) {
    if (log_)
        log_->record("runWithConfiguration:options:", std::nullopt,
                     Json::array({Json{{"planeDetection", config.planeDetection}}, options}));
    configuration = config;
    lastRunOptions = options;
    state = SessionState::running;
    if (options & ARSessionRunOptionRemoveExistingAnchors) {
        for (auto& entry : view_.anchorNodes) entry.second->detach();
        view_.anchorNodes.clear();
        anchors.clear();
        pendingAnchors.clear();
    }
}

void MemoryARSession::pause() {
    if (log_) log_->record("pause", std::nullopt);
    if (state == SessionState::running) state = SessionState::paused;
}

std::shared_ptr<const ARFrame> MemoryARSession::currentFrame() const {
    if (log_) log_->record("currentFrame", std::nullopt);
    return latestFrame;
}

void MemoryARSession::addAnchor(const std::shared_ptr<ARAnchor>& anchor) {
    if (log_) log_->record("addAnchor:", std::nullopt, Json::array({anchor ? toJson(anchor->transform()) : Json(nullptr)}));
    if (!anchor) return;
    anchors.push_back(anchor);
    pendingAnchors.push_back(anchor);
}

// ---------------------------------------------------------------- recognisers and touches

template <class Base>
void MemoryRecognizer<Base>::note(const char* op, Json args) const {
    if (log_) log_->record(op, std::nullopt, std::move(args));
}

template <class Base>
UIGestureRecognizerState MemoryRecognizer<Base>::state() const {
    note("state");
    return record.state;
}

template <class Base>
CGPoint MemoryRecognizer<Base>::locationInView(const ARSCNView&) const {
    note("locationInView:", Json::array({"ARSCNView"}));
    return record.location;
}

template <class Base>
void MemoryRecognizer<Base>::setDelegate(UIGestureRecognizerDelegate* delegate) {
    note("setDelegate:", Json::array({delegate ? Json("UIGestureRecognizerDelegate") : Json(nullptr)}));
    record.delegate = delegate;
}

template class MemoryRecognizer<UIPinchGestureRecognizer>;
template class MemoryRecognizer<UIRotationGestureRecognizer>;
template class MemoryRecognizer<UIPanGestureRecognizer>;
template class MemoryRecognizer<UILongPressGestureRecognizer>;
template class MemoryRecognizer<UITapGestureRecognizer>;

double MemoryPinchRecognizer::scale() const {
    note("scale");
    return record.scale;
}

double MemoryRotationRecognizer::rotation() const {
    note("rotation");
    return record.rotation;
}

CGPoint MemoryPanRecognizer::translationInView(const ARSCNView&) const {
    note("translationInView:", Json::array({"ARSCNView"}));
    return record.translation;
}

void MemoryLongPressRecognizer::setMinimumPressDuration(double seconds) {
    note("setMinimumPressDuration:", Json::array({seconds}));
    record.minimumPressDuration = seconds;
}

void MemoryTapRecognizer::setNumberOfTapsRequired(unsigned long taps) {
    note("setNumberOfTapsRequired:", Json::array({taps}));
    record.numberOfTapsRequired = taps;
}

void MemoryTapRecognizer::setNumberOfTouchesRequired(unsigned long touches) {
    note("setNumberOfTouchesRequired:", Json::array({touches}));
    record.numberOfTouchesRequired = touches;
}

CGPoint MemoryTouch::locationInView(const ARSCNView&) const {
    if (log_) log_->record("locationInView:", std::nullopt, Json::array({"ARSCNView"}));
    return point;
}

// ---------------------------------------------------------------- application

void MemoryApplication::openURLOptionsCompletionHandler(const NSURL& url, const UIApplicationOpenURLOptions& options,
                                                        std::function<void(bool)> completionHandler) {
    if (log_)
        log_->record("openURL:options:completionHandler:", std::nullopt,
                     Json::array({url.absoluteString, Json(options), static_cast<bool>(completionHandler)}));
    if (openedURLs.size() >= kKeptURLRequests) {
        // The older half goes at once, so that each request is moved at most once more.
        const std::size_t drop = openedURLs.size() - kKeptURLRequests / 2;
        openedURLs.erase(openedURLs.begin(), openedURLs.begin() + static_cast<std::ptrdiff_t>(drop));
        droppedURLRequests += drop;
    }
    openedURLs.push_back({url, options, completionHandler});
    // The simulated browser always opens the address.
    if (completionHandler && enqueueOnMain) enqueueOnMain([completionHandler] { completionHandler(true); });
}

// ---------------------------------------------------------------- scene view

MemoryARSCNView::MemoryARSCNView(std::shared_ptr<CallLog> log) : arSession(log, *this), log_(std::move(log)) {}

std::shared_ptr<SCNScene> MemoryARSCNView::scene() const {
    if (log_) log_->record("scene", std::nullopt);
    return currentScene;
}

void MemoryARSCNView::setScene(const std::shared_ptr<SCNScene>& scene) {
    currentScene = std::dynamic_pointer_cast<MemoryScene>(scene);
    if (log_)
        log_->record("setScene:", std::nullopt,
                     Json::array({currentScene ? Json{{"rootNode", nodeRef(currentScene->root().get())}} : Json(nullptr)}));
}

void MemoryARSCNView::setDelegate(ARSCNViewDelegate* newDelegate) {
    if (log_) log_->record("setDelegate:", std::nullopt, Json::array({newDelegate ? Json("ARSCNViewDelegate") : Json(nullptr)}));
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
        std::vector<ARHitTestResult> results;
        for (const auto& transform : *preparedFeatureHits_) results.push_back({transform});
        preparedFeatureHits_.reset();
        return results;
    }
    if (!(types & ARHitTestResultTypeFeaturePoint)) return {};
    return geometricFeatureHitTest(point);
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

// ---------------------------------------------------------------- platform

MemoryPlatform::MemoryPlatform(std::filesystem::path assetParent) : assetParent(std::move(assetParent)) {
    application.enqueueOnMain = [this](std::function<void()> block) { mainQueue.push_back(std::move(block)); };
}

std::filesystem::path MemoryPlatform::defaultAssetParent() {
    if (const char* fromEnvironment = std::getenv("ORRERY_ASSET_PARENT"); fromEnvironment && *fromEnvironment)
        return fromEnvironment;
    return ORRERY_SOURCE_DIR;
}

std::shared_ptr<SCNScene> MemoryPlatform::newScene() {
    log->record("SCNScene", std::nullopt);
    return std::make_shared<MemoryScene>(log);
}

std::shared_ptr<SCNScene> MemoryPlatform::sceneNamed(const std::string& path) {
    log->record("sceneNamed:", std::nullopt, Json::array({path}));
    std::shared_ptr<MemoryScene> scene;
    if (auto prepared = preparedScenes.find(path); prepared != preparedScenes.end())
        scene = prepared->second ? prepared->second() : nullptr;
    else if (!modelReportObserver)
        scene = loadColladaFile(assetParent / path, log);
    else {
        ModelReport report;
        scene = loadColladaFile(assetParent / path, log, &report);
        modelReportObserver(assetParent / path, report, scene.get());
    }
    if (scene) scene->adoptLog(log);
    return scene;
}

std::shared_ptr<SCNNode> MemoryPlatform::nodeWithGeometry(const std::shared_ptr<SCNGeometry>& geometry) {
    const char* kind = dynamic_cast<const SCNText*>(geometry.get()) ? "SCNText" : "SCNGeometry";
    log->record("nodeWithGeometry:", std::nullopt, Json::array({geometry ? Json(kind) : Json(nullptr)}));
    auto node = MemoryNode::make(log);
    node->assignGeometry(geometry);
    return node;
}

std::shared_ptr<SCNText> MemoryPlatform::textWithStringExtrusionDepth(const std::string& string, double extrusionDepth) {
    log->record("textWithString:extrusionDepth:", std::nullopt, Json::array({string, extrusionDepth}));
    return std::make_shared<MemoryTextGeometry>(log, string, extrusionDepth);
}

std::optional<UIFont> MemoryPlatform::fontWithNameSize(const std::string& name, double size) {
    log->record("fontWithName:size:", std::nullopt, Json::array({name, size}));
    if (!availableFonts.contains(name)) return std::nullopt;
    return UIFont{name, size};
}

namespace {

template <class Recognizer>
std::shared_ptr<Recognizer> makeRecognizer(const std::shared_ptr<CallLog>& log, const char* type, UIViewController* target,
                                           Selector action) {
    log->record("initWithTarget:action:", std::nullopt,
                Json::array({target ? Json("UIViewController") : Json(nullptr), action.name}));
    RecognizerRecord record;
    record.type = type;
    record.target = target;
    record.action = std::move(action);
    return std::make_shared<Recognizer>(log, std::move(record));
}

} // namespace

std::shared_ptr<UIPinchGestureRecognizer> MemoryPlatform::newPinchGestureRecognizer(UIViewController* target, Selector action) {
    return makeRecognizer<MemoryPinchRecognizer>(log, "UIPinchGestureRecognizer", target, std::move(action));
}

std::shared_ptr<UIRotationGestureRecognizer> MemoryPlatform::newRotationGestureRecognizer(UIViewController* target,
                                                                                          Selector action) {
    return makeRecognizer<MemoryRotationRecognizer>(log, "UIRotationGestureRecognizer", target, std::move(action));
}

std::shared_ptr<UIPanGestureRecognizer> MemoryPlatform::newPanGestureRecognizer(UIViewController* target, Selector action) {
    return makeRecognizer<MemoryPanRecognizer>(log, "UIPanGestureRecognizer", target, std::move(action));
}

std::shared_ptr<UILongPressGestureRecognizer> MemoryPlatform::newLongPressGestureRecognizer(UIViewController* target,
                                                                                            Selector action) {
    return makeRecognizer<MemoryLongPressRecognizer>(log, "UILongPressGestureRecognizer", target, std::move(action));
}

std::shared_ptr<UITapGestureRecognizer> MemoryPlatform::newTapGestureRecognizer(UIViewController* target, Selector action) {
    return makeRecognizer<MemoryTapRecognizer>(log, "UITapGestureRecognizer", target, std::move(action));
}

UIApplication& MemoryPlatform::sharedApplication() {
    log->record("sharedApplication", std::nullopt);
    return application;
}

std::optional<NSURL> MemoryPlatform::URLWithString(const std::string& text) {
    log->record("URL", std::nullopt, Json::array({text}));
    if (text.empty()) return std::nullopt;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            if (i + 2 >= text.size() || !hexDigit(text[i + 1]) || !hexDigit(text[i + 2])) return std::nullopt;
            i += 2;
        } else if (!uriCharacter(text[i])) {
            return std::nullopt;
        }
    }
    return NSURL{text};
}

int MemoryPlatform::UIApplicationMain(int argc, char**, const std::optional<std::string>& principalClassName,
                                      const std::optional<std::string>& delegateClassName) {
    // There is no event loop here: the owner drives frames and events itself.
    log->record("UIApplicationMain", std::nullopt,
                Json::array({argc, principalClassName ? Json(*principalClassName) : Json(nullptr),
                             delegateClassName ? Json(*delegateClassName) : Json(nullptr)}));
    return 0;
}

void MemoryPlatform::mainQueueAsync(std::function<void()> block) {
    log->record("async", std::nullopt);
    if (block) mainQueue.push_back(std::move(block));
}

void MemoryPlatform::drainMainQueue() {
    while (!mainQueue.empty()) {
        auto block = std::move(mainQueue.front());
        mainQueue.pop_front();
        block();
    }
}

void MemoryPlatform::runFrame(double seconds) {
    if (!(seconds >= 0)) seconds = 0;
    auto& session = view->arSession;
    if (session.state == SessionState::running) {
        auto frame = std::make_shared<ARFrame>();
        frame->timestamp = time;
        frame->camera.transform = view->camera.transform();
        frame->camera.eulerAngles = {view->camera.pitch, view->camera.yaw, 0.0f};
        session.latestFrame = std::move(frame);
        view->reportPendingAnchors();
    }
    drainMainQueue();
    if (view->currentScene) view->currentScene->root()->advanceTree(seconds);
    time += seconds;
}

void MemoryPlatform::advance(double seconds) {
    if (!(seconds > 0)) return;
    const double whole = std::floor(seconds * 60.0 + 1e-9);
    for (double i = 0; i < whole; ++i) runFrame(1.0 / 60.0);
    if (const double rest = seconds - whole / 60.0; rest > 1e-9) runFrame(rest);
}

} // namespace orrery::memory

namespace orrery::memory {

void MemoryPlatform::hostViewController(UIViewController& controller) {
    controller.platformLifecycle = [log = log](const char* operation, std::optional<bool> animated) {
        log->record(operation, std::nullopt, animated ? Json::array({*animated}) : Json::array());
    };
}

} // namespace orrery::memory
