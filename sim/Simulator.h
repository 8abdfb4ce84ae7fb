#pragma once
// The app running against the in-memory platform, driven one scenario command at a time.

#include "app/ViewController.h"
#include "platform/memory/MemoryPlatform.h"
#include "sim/Scenario.h"
#include "sim/StateDump.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orrery::sim {

/// What a command printed (dump and calls only).
struct Output {
    enum class Kind { none, dump, calls } kind = Kind::none;
    Json state;                               ///< dump
    std::vector<memory::PlatformCall> calls;  ///< calls
    std::size_t droppedCalls = 0;             ///< calls: unread calls the bounded log let go
};

class Simulator {
public:
    /// `assetParent` is the folder holding "art.scnassets".
    explicit Simulator(const std::filesystem::path& assetParent);

    /// The app's globals afresh, the controller given the view, and the platform made its host:
    /// what start() does before the lifecycle. Tests that drive the lifecycle themselves call it
    /// alone.
    void attach();
    /// What the platform does before a person can touch: attach, load, appear, one frame.
    void start();

    /// Runs one command. Node names are resolved first; a name that does not resolve throws
    /// ScenarioError and nothing of the command runs.
    Output run(const Command& command);

    /// Writes a picture of the screen through `snapshotHook`; a size of 0 takes the screen's size
    /// in points. A picture that cannot be made or written, or no hook, throws ScenarioError for `line`.
    void snapshot(const std::string& path, int width, int height, std::size_t line);
    /// Draws `frame` at width x height pixels into a PNG file at `path`, throwing std::runtime_error
    /// when it cannot; the program's main sets it to the renderer's (render/Snapshot.h), so that
    /// the simulator itself draws nothing.
    std::function<void(const memory::SceneFrame& frame, const std::filesystem::path& path, int width, int height)>
        snapshotHook;
    /// The screen point of a POINT argument (`@NAME`: the projected centre of the node's bounds).
    CGPoint resolvePoint(const PointArg& point, std::size_t line);

    Json state();
    memory::MemoryPlatform& platform() { return platform_; }
    ViewController& controller() { return controller_; }
    /// Hands over the simulator's reference to the controller, so that a test can see what
    /// outlives it; afterwards only the platform may be used.
    std::shared_ptr<ViewController> releaseController() { return std::move(controllerOwner_); }

    /// The name of the body with this index, read from the controller's model (empty if none).
    std::string bodyName(int index);

private:
    std::shared_ptr<memory::MemoryNode> findNode(const std::string& name, bool includeDetached);
    std::shared_ptr<SCNNode> resolveTarget(const TargetArg& target, std::size_t line);
    memory::MemoryRecognizerBase& recognizer(const char* type, std::size_t line);
    void gesture(const char* type, const Command& command, double value = 0, double value2 = 0);

    memory::MemoryPlatform platform_;
    std::shared_ptr<ViewController> controllerOwner_;
    ViewController& controller_;
};

}  // namespace orrery::sim
