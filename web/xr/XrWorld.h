#pragma once
// The in-memory view's AR world backed by the page's WebXR session (web/xr/XrLibrary.js):
// feature points are what the session's hit test found for the finger being lifted, and the
// app's anchors become anchors of the session, seen where the session tracks them.

#include "platform/ARKit.h"
#include "platform/Types.h"
#include "platform/memory/ARWorld.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace orrery::web {

class XrWorld final : public memory::ARWorld {
public:
    /// How far (points) a hit test may lie from the finger whose hits the session found.
    static constexpr double kSamePoint = 1.0;

    /// The session found `hits`, nearest first, under the finger lifting at `point`: what the next
    /// feature-point hit test there answers. WebXR answers hit tests a frame or more later, so
    /// they are asked for before the finger's lift reaches the app.
    void found(CGPoint point, std::vector<simd_float4x4> hits);
    /// What the session found there, once; nothing at any other point (the session was not asked).
    std::vector<simd_float4x4> featurePoints(CGPoint point) override;
    /// Queued: WebXR makes anchors only while it hands out a frame (createAnchors).
    void track(const std::shared_ptr<ARAnchor>& anchor) override;
    /// Where the session tracks the anchor in the frame being handled; nothing outside a frame,
    /// before the session tracks it, or for an anchor it never took.
    std::optional<simd_float4x4> trackedTransform(const ARAnchor& anchor) override;

    /// In an XR frame: asks the session for an anchor of each one queued since the last frame.
    void createAnchors();
    /// Forgets every anchor and hit: a new session.
    void reset();

private:
    std::optional<std::pair<CGPoint, std::vector<simd_float4x4>>> found_;
    std::vector<std::shared_ptr<ARAnchor>> queued_;
    std::vector<std::pair<std::shared_ptr<ARAnchor>, int>> ids_;  ///< the session's number of each anchor taken
    int nextId_ = 0;
};

}  // namespace orrery::web
