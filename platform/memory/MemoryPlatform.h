#pragma once
// The in-memory platform: a simulator of the scene view, the AR session and its
// room, the user-interface services and the main queue, recording every call. Each part has
// its own file: scene/CameraRoom.h, ARSession.h, Recognizers.h, Application.h, SceneView.h.
//
// Nothing runs by itself: the owner advances the simulated clock with
// MemoryPlatform::runFrame, which reports new anchors, drains the main queue
// and advances actions, in that order.

#include "platform/Platform.h"
#include "platform/memory/Application.h"
#include "platform/memory/ARSession.h"
#include "platform/memory/CallLog.h"
#include "platform/memory/Recognizers.h"
#include "platform/memory/SceneView.h"
#include "platform/memory/collada/ColladaLoader.h"
#include "platform/memory/scene/MemoryScene.h"

#include <deque>
#include <map>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace orrery::memory {

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
    std::shared_ptr<UIPinchGestureRecognizer> newPinchGestureRecognizer(UIViewController* target,
                                                                        Selector action) override;
    /// A MemoryRotationRecognizer.
    std::shared_ptr<UIRotationGestureRecognizer> newRotationGestureRecognizer(UIViewController* target,
                                                                              Selector action) override;
    /// A MemoryPanRecognizer.
    std::shared_ptr<UIPanGestureRecognizer> newPanGestureRecognizer(UIViewController* target, Selector action) override;
    /// A MemoryLongPressRecognizer.
    std::shared_ptr<UILongPressGestureRecognizer> newLongPressGestureRecognizer(UIViewController* target,
                                                                                Selector action) override;
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

    // Simulated input (SimulatedInput.cpp), as the simulator, the tests and the benchmarks give it.
    /// The first recogniser attached to the view whose type ("UIPinchGestureRecognizer") or
    /// action ("didPinch:") is `name`, or null.
    MemoryRecognizerBase* recognizer(std::string_view name) const;
    /// A finger lifted at `point`: touchesEnded:withEvent: on `controller` with one touch there.
    void endTouch(UIViewController& controller, CGPoint point);
};

// Not copyable: the application's main-queue hook points back at the platform.
static_assert(!std::is_copy_constructible_v<MemoryPlatform> && !std::is_copy_assignable_v<MemoryPlatform>);

}  // namespace orrery::memory
