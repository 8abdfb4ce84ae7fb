#pragma once
// The in-memory platform: a simulator of the scene view, the AR session and its
// room, the user-interface services and the main queue, recording every call.
//
// Nothing runs by itself: the owner advances the simulated clock with
// MemoryPlatform::runFrame, which reports new anchors, drains the main queue
// and advances actions, in that order.

#include "platform/Platform.h"
#include "platform/memory/CallLog.h"
#include "platform/memory/ColladaLoader.h"
#include "platform/memory/MemoryScene.h"

#include <deque>
#include <map>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace orrery::memory {

class MemoryARSCNView;

/// The simulated device camera: a pose and a pinhole projection onto the view.
struct SimulatedCamera {
    SCNVector3 position{0, 0, 0};
    float yaw = 0;    ///< radians; positive turns left (counter-clockwise seen from above)
    float pitch = 0;  ///< radians; positive tilts up
    CGSize viewport{390, 844};               ///< the view in points (portrait phone)
    double verticalFieldOfView = 1.0471975511965976;  ///< radians (60 degrees)

    /// Orientation matrix: yaw about y, then pitch about x.
    simd_float4x4 transform() const;
    /// World-space ray through a view point: origin and unit direction.
    void rayThrough(CGPoint point, SCNVector3& origin, SCNVector3& direction) const;
    /// The view point where a world position projects, or nothing when it lies behind the camera.
    std::optional<CGPoint> project(SCNVector3 world) const;
    /// Whether a view point lies inside the viewport.
    bool onScreen(CGPoint point) const;
};

/// A horizontal rectangle of the simulated room on which feature points are detected.
struct RoomSurface {
    float height{};         ///< y of the surface
    float minX{}, maxX{};   ///< extent in x
    float minZ{}, maxZ{};   ///< extent in z
};

/// The room the session tracks: a floor 1.4 m below the starting device and some furniture tops.
struct SimulatedRoom {
    std::vector<RoomSurface> surfaces;
    static SimulatedRoom standard();
    /// World positions where a ray meets the surfaces, nearest first.
    std::vector<SCNVector3> intersect(SCNVector3 origin, SCNVector3 direction) const;
};

enum class SessionState { notStarted, running, paused };

class MemoryARSession final : public ARSession {
public:
    MemoryARSession(std::shared_ptr<CallLog> log, MemoryARSCNView& view);
    /// Keeps the configuration and options and runs; removing existing anchors detaches their nodes.
    void runWithConfigurationOptions(const ARWorldTrackingConfiguration& configuration, unsigned options) override;
    /// Stops new frames and anchor reports until the next run.
    void pause() override;
    /// `latestFrame`: the frame of the latest runFrame while running; nothing before the first.
    std::shared_ptr<const ARFrame> currentFrame() const override;
    /// Queues the anchor: its node is made and reported on the next frame.
    void addAnchor(const std::shared_ptr<ARAnchor>& anchor) override;

    SessionState state = SessionState::notStarted;
    std::optional<ARWorldTrackingConfiguration> configuration;
    unsigned lastRunOptions = 0;
    /// Every anchor in the order it was added.
    std::vector<std::shared_ptr<ARAnchor>> anchors;
    /// Anchors whose node has not been reported yet.
    std::deque<std::shared_ptr<ARAnchor>> pendingAnchors;
    std::shared_ptr<const ARFrame> latestFrame;

private:
    std::shared_ptr<CallLog> log_;
    MemoryARSCNView& view_;
};

/// Settings and simulated input of a recogniser.
struct RecognizerRecord {
    std::string type;               ///< "UIPinchGestureRecognizer"...
    UIViewController* target = nullptr;
    Selector action;
    UIGestureRecognizerDelegate* delegate = nullptr;
    std::optional<double> minimumPressDuration;
    std::optional<unsigned long> numberOfTapsRequired;
    std::optional<unsigned long> numberOfTouchesRequired;

    UIGestureRecognizerState state = UIGestureRecognizerState::possible;
    CGPoint location;
    double scale = 1.0;
    double rotation = 0.0;
    CGPoint translation;
};

/// The simulator's view of any recogniser: its record and its action.
class MemoryRecognizerBase {
public:
    virtual ~MemoryRecognizerBase() = default;
    RecognizerRecord record;
    /// Calls the action on the target with the recogniser as argument.
    virtual void sendAction() = 0;
};

/// Operations common to every recogniser type.
template <class Base>
class MemoryRecognizer : public Base, public MemoryRecognizerBase {
public:
    MemoryRecognizer(std::shared_ptr<CallLog> log, RecognizerRecord initial) : log_(std::move(log)) {
        record = std::move(initial);
    }
    /// The simulated state in `record`.
    UIGestureRecognizerState state() const override;
    /// The simulated touch point in `record`.
    CGPoint locationInView(const ARSCNView& view) const override;
    void setDelegate(UIGestureRecognizerDelegate* delegate) override;
    void sendAction() override { record.action.method(*this); }

protected:
    void note(const char* op, nlohmann::json args = nlohmann::json::array()) const;
    std::shared_ptr<CallLog> log_;
};

class MemoryPinchRecognizer final : public MemoryRecognizer<UIPinchGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    double scale() const override;
};

class MemoryRotationRecognizer final : public MemoryRecognizer<UIRotationGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    double rotation() const override;
};

class MemoryPanRecognizer final : public MemoryRecognizer<UIPanGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    CGPoint translationInView(const ARSCNView& view) const override;
};

class MemoryLongPressRecognizer final : public MemoryRecognizer<UILongPressGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    void setMinimumPressDuration(double seconds) override;
};

class MemoryTapRecognizer final : public MemoryRecognizer<UITapGestureRecognizer> {
public:
    using MemoryRecognizer::MemoryRecognizer;
    void setNumberOfTapsRequired(unsigned long taps) override;
    /// Kept in `record`, like the number of taps.
    void setNumberOfTouchesRequired(unsigned long touches) override;
};

class MemoryTouch final : public UITouch {
public:
    MemoryTouch(std::shared_ptr<CallLog> log, CGPoint point) : point(point), log_(std::move(log)) {}
    CGPoint locationInView(const ARSCNView& view) const override;
    CGPoint point;

private:
    std::shared_ptr<CallLog> log_;
};

class MemoryEvent final : public UIEvent {};

/// One browser request.
struct OpenURLRequest {
    NSURL url;
    UIApplicationOpenURLOptions options;
    std::function<void(bool)> completionHandler;
};

class MemoryApplication final : public UIApplication {
public:
    explicit MemoryApplication(std::shared_ptr<CallLog> log) : log_(std::move(log)) {}
    void openURLOptionsCompletionHandler(const NSURL& url, const UIApplicationOpenURLOptions& options,
                                         std::function<void(bool)> completionHandler) override;
    /// The latest browser requests, oldest first: at most kKeptURLRequests, so that a long
    /// session pressing the help button does not grow without bound.
    std::vector<OpenURLRequest> openedURLs;
    /// How many earlier requests were let go to keep that bound.
    std::size_t droppedURLRequests = 0;
    static constexpr std::size_t kKeptURLRequests = 256;
    /// Where completion handlers go (the platform's main queue); they run with `true`.
    std::function<void(std::function<void()>)> enqueueOnMain;

private:
    std::shared_ptr<CallLog> log_;
};

class MemoryARSCNView final : public ARSCNView {
public:
    MemoryARSCNView(std::shared_ptr<CallLog> log);

    /// `currentScene`.
    std::shared_ptr<SCNScene> scene() const override;
    /// Shows `scene` when it is a MemoryScene, else nothing.
    void setScene(const std::shared_ptr<SCNScene>& scene) override;
    /// Told of each anchor's node as frames report it.
    void setDelegate(ARSCNViewDelegate* delegate) override;
    /// Kept in `showsStatistics`.
    void setShowsStatistics(bool shows) override;
    /// Kept in `antialiasingMode`.
    void setAntialiasingMode(SCNAntialiasingMode mode) override;
    /// The simulated session, `arSession`.
    ARSession& session() override;
    /// The prepared hits if any, else geometricHitTest.
    std::vector<SCNHitTestResult> hitTestOptions(CGPoint point, const SCNHitTestOptions& options) override;
    /// The prepared hits if any, else geometricFeatureHitTest for feature-point types.
    std::vector<ARHitTestResult> hitTestTypes(CGPoint point, std::uint64_t types) override;
    /// Appends to `gestureRecognizers`, which the simulator's input drives.
    void addGestureRecognizer(const std::shared_ptr<UIGestureRecognizer>& recognizer) override;

    // Simulator state (not recorded)
    std::shared_ptr<MemoryScene> currentScene;
    ARSCNViewDelegate* delegate = nullptr;
    std::optional<bool> showsStatistics;
    std::optional<SCNAntialiasingMode> antialiasingMode;
    std::vector<std::shared_ptr<UIGestureRecognizer>> gestureRecognizers;
    SimulatedCamera camera;
    SimulatedRoom room = SimulatedRoom::standard();
    MemoryARSession arSession;
    /// The node made for each reported anchor, in report order.
    std::vector<std::pair<std::shared_ptr<ARAnchor>, std::shared_ptr<MemoryNode>>> anchorNodes;

    /// Makes the node of every pending anchor, attaches it under the scene root and tells the delegate.
    void reportPendingAnchors();

    /// The next scene hit test returns these nodes (nearest first) instead of a geometric answer.
    void prepareSceneHits(std::vector<std::shared_ptr<SCNNode>> nodes) { preparedSceneHits_ = std::move(nodes); }
    /// The next feature-point hit test returns these world transforms instead of the room's answer.
    void prepareFeatureHits(std::vector<simd_float4x4> transforms) { preparedFeatureHits_ = std::move(transforms); }

    /// Geometric scene hit test: geometry-carrying nodes under the scene root whose world-space
    /// bounds the camera ray meets, nearest entry first (a camera inside a box hits it where the ray
    /// leaves), equally near ones in depth-first order. The scene's index finds the candidates.
    std::vector<SCNHitTestResult> geometricHitTest(CGPoint point) const;
    /// The same answer from testing every node of the scene (the reference for the index).
    std::vector<SCNHitTestResult> exhaustiveHitTest(CGPoint point) const;
    /// Feature points of the room under the point, nearest first.
    std::vector<ARHitTestResult> geometricFeatureHitTest(CGPoint point) const;

private:
    std::shared_ptr<CallLog> log_;
    std::optional<std::vector<std::shared_ptr<SCNNode>>> preparedSceneHits_;
    std::optional<std::vector<simd_float4x4>> preparedFeatureHits_;
};

/// Model scenes by resource path, for tests that need no files.
using SceneFactory = std::function<std::shared_ptr<MemoryScene>()>;

class MemoryPlatform final : public Platform {
public:
    /// `assetParent` is the folder that holds "art.scnassets"; by default the repository's.
    explicit MemoryPlatform(std::filesystem::path assetParent = defaultAssetParent());
    static std::filesystem::path defaultAssetParent();

    // Platform: every operation is recorded in `log` first.
    /// An empty MemoryScene.
    std::shared_ptr<SCNScene> newScene() override;
    /// A prepared scene, else the COLLADA file at `path` under `assetParent`; null when neither serves.
    std::shared_ptr<SCNScene> sceneNamed(const std::string& path) override;
    /// A new MemoryNode carrying `geometry`.
    std::shared_ptr<SCNNode> nodeWithGeometry(const std::shared_ptr<SCNGeometry>& geometry) override;
    /// A MemoryTextGeometry, laid out in the default text font until it is given one.
    std::shared_ptr<SCNText> textWithStringExtrusionDepth(const std::string& string, double extrusionDepth) override;
    /// The font when `availableFonts` holds its name.
    std::optional<UIFont> fontWithNameSize(const std::string& name, double size) override;
    /// Recognisers record their settings and simulated input in a RecognizerRecord.
    std::shared_ptr<UIPinchGestureRecognizer> newPinchGestureRecognizer(UIViewController* target, Selector action) override;
    /// A MemoryRotationRecognizer.
    std::shared_ptr<UIRotationGestureRecognizer> newRotationGestureRecognizer(UIViewController* target, Selector action) override;
    /// A MemoryPanRecognizer.
    std::shared_ptr<UIPanGestureRecognizer> newPanGestureRecognizer(UIViewController* target, Selector action) override;
    /// A MemoryLongPressRecognizer.
    std::shared_ptr<UILongPressGestureRecognizer> newLongPressGestureRecognizer(UIViewController* target, Selector action) override;
    /// A MemoryTapRecognizer.
    std::shared_ptr<UITapGestureRecognizer> newTapGestureRecognizer(UIViewController* target, Selector action) override;
    /// `application`.
    UIApplication& sharedApplication() override;
    /// The URL when `text` is a well-formed URI reference (percent escapes checked); else nothing.
    std::optional<NSURL> URLWithString(const std::string& text) override;
    int UIApplicationMain(int argc, char** argv, const std::optional<std::string>& principalClassName,
                          const std::optional<std::string>& delegateClassName) override;
    void mainQueueAsync(std::function<void()> block) override;

    /// Makes this platform the host of `controller`: its calls to the platform's own
    /// lifecycle operations are recorded in the log.
    void hostViewController(UIViewController& controller);

    // Simulator
    /// Made before `view` and `application`, which record into it.
    std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    std::shared_ptr<MemoryARSCNView> view = std::make_shared<MemoryARSCNView>(log);
    MemoryApplication application{log};
    std::filesystem::path assetParent;
    /// Scenes served by path before the asset folder is consulted.
    std::map<std::string, SceneFactory> preparedScenes;
    /// Told what the loader said of each model file read from the asset folder, with the
    /// scene (null when refused). The platform itself stays silent, as on the device.
    std::function<void(const std::filesystem::path&, const ModelReport&, const MemoryScene*)> modelReportObserver;
    /// Font names that fontWithNameSize finds.
    std::set<std::string> availableFonts{"Optima", "Helvetica", "Courier"};
    std::deque<std::function<void()>> mainQueue;
    double time = 0;  ///< simulated seconds since start

    /// Runs every queued main-queue block in order, including blocks queued while draining.
    void drainMainQueue();
    /// One frame of `seconds`: if the session runs, a new camera frame and the report of new anchors
    /// (an empty node attached under the scene root, then the delegate's renderer callback);
    /// then the main queue is drained; then actions advance and the clock moves on.
    void runFrame(double seconds = 1.0 / 60.0);
    /// Frames of 1/60 s covering `seconds`.
    void advance(double seconds);
};

// Not copyable: the application's main-queue hook points back at the platform.
static_assert(!std::is_copy_constructible_v<MemoryPlatform> && !std::is_copy_assignable_v<MemoryPlatform>);

} // namespace orrery::memory
