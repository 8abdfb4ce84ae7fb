#pragma once
// A world-tracking runtime that the in-memory view's AR operations can stand on in place of its
// simulated room: a real one sees the room through a camera, finds feature points in it and
// tracks the anchors the app adds. The browser's WebXR session is one (web/xr/). Without one,
// the view answers from `SimulatedRoom` and anchors stay where they were added.

#include "platform/ARKit.h"
#include "platform/Types.h"

#include <memory>
#include <optional>
#include <vector>

namespace orrery::memory {

class ARWorld {
public:
    virtual ~ARWorld() = default;
    /// Feature points under `point` of the view's screen, nearest first, as world transforms.
    virtual std::vector<simd_float4x4> featurePoints(CGPoint point) = 0;
    /// The session took `anchor`: the world tracks it from now on.
    virtual void track(const std::shared_ptr<ARAnchor>& anchor) = 0;
    /// Where the world sees `anchor` now; nothing while it does not (yet), or never took it.
    virtual std::optional<simd_float4x4> trackedTransform(const ARAnchor& anchor) = 0;
};

}  // namespace orrery::memory
