#pragma once
// The simulated AR session: runs and pauses, the latest frame, and the anchors added.

#include "platform/ARKit.h"
#include "platform/memory/CallLog.h"
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace orrery::memory {

class MemoryARSCNView;

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
    /// Queues the anchor: its node is made and reported on the next frame. A world the view
    /// stands on tracks it from now on.
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

}  // namespace orrery::memory
