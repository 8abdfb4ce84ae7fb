#include "platform/memory/ARSession.h"

#include "platform/memory/SceneView.h"
#include "platform/memory/PlatformJson.h"
#include <utility>

namespace orrery::memory {

namespace {

using Json = nlohmann::json;

}  // namespace

MemoryARSession::MemoryARSession(std::shared_ptr<CallLog> log, MemoryARSCNView& view)
    : log_(std::move(log)), view_(view) {}

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
    if (log_)
        log_->record("addAnchor:", std::nullopt,
                     Json::array({anchor ? CallJson::matrix(anchor->transform()) : Json(nullptr)}));
    if (!anchor) return;
    anchors.push_back(anchor);
    pendingAnchors.push_back(anchor);
    if (view_.world) view_.world->track(anchor);
}

}  // namespace orrery::memory
