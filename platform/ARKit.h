#pragma once
// Augmented-reality services: the AR scene view, its world-tracking session,
// anchors, frames and hit tests against detected feature points.

#include "platform/SceneKit.h"
#include "platform/Types.h"
#include "platform/UIKit.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orrery {

class ARSCNView;

/// A tracked position and orientation in the world.
class ARAnchor {
public:
    /// `initWithTransform:`.
    explicit ARAnchor(const simd_float4x4& transform) : transform_(transform) {}
    virtual ~ARAnchor() = default;
    const simd_float4x4& transform() const { return transform_; }

private:
    simd_float4x4 transform_;
};

/// An anchor the platform made for a detected plane.
class ARPlaneAnchor : public ARAnchor {
public:
    using ARAnchor::ARAnchor;
};

/// `isKindOfClass:` with ARPlaneAnchor.
inline bool isKindOfClassARPlaneAnchor(const ARAnchor& anchor) {
    return dynamic_cast<const ARPlaneAnchor*>(&anchor) != nullptr;
}

struct ARCamera {
    /// Orientation as (x pitch, y yaw, z roll) radians.
    SCNVector3 eulerAngles;
    /// The camera's pose in world space.
    simd_float4x4 transform = matrix_identity_float4x4();
};

struct ARFrame {
    double timestamp = 0;
    ARCamera camera;
};

/// World tracking with every platform default (plane detection off).
struct ARWorldTrackingConfiguration {
    enum PlaneDetection : unsigned { none = 0, horizontal = 1, vertical = 2 };
    unsigned planeDetection = none;
};

/// Options of ARSession::runWithConfigurationOptions; 0 keeps tracking and anchors.
enum ARSessionRunOptions : unsigned {
    ARSessionRunOptionNone = 0,
    ARSessionRunOptionResetTracking = 1,
    ARSessionRunOptionRemoveExistingAnchors = 2,
};

class ARSession {
public:
    virtual ~ARSession() = default;
    virtual void runWithConfigurationOptions(const ARWorldTrackingConfiguration& configuration, unsigned options) = 0;
    virtual void pause() = 0;
    /// The latest frame, or null before the first frame.
    virtual std::shared_ptr<const ARFrame> currentFrame() const = 0;
    virtual void addAnchor(const std::shared_ptr<ARAnchor>& anchor) = 0;
};

/// Types of AR hit test.
enum ARHitTestResultType : std::uint64_t {
    ARHitTestResultTypeFeaturePoint = 1,
};

struct ARHitTestResult {
    simd_float4x4 worldTransform;
};

/// A session error.
struct NSError {
    std::string domain;
    long code = 0;
};

/// Receiver of the AR scene view's renderer and session callbacks.
/// Every operation defaults to doing nothing.
class ARSCNViewDelegate {
public:
    virtual ~ARSCNViewDelegate() = default;
    /// Called on the rendering thread after the view made and attached `node` for `anchor`.
    virtual void rendererDidAddNodeForAnchor(ARSCNView& /*renderer*/, const std::shared_ptr<SCNNode>& /*node*/,
                                             const std::shared_ptr<ARAnchor>& /*anchor*/) {}
    virtual void sessionDidFailWithError(ARSession& /*session*/, const NSError& /*error*/) {}
    virtual void sessionWasInterrupted(ARSession& /*session*/) {}
    virtual void sessionInterruptionEnded(ARSession& /*session*/) {}
};

/// Multisampling modes of `setAntialiasingMode:`.
enum SCNAntialiasingMode : unsigned {
    SCNAntialiasingModeNone = 0,
    SCNAntialiasingModeMultisampling2X = 1,
    SCNAntialiasingModeMultisampling4X = 2,
};

/// The view that draws a scene over the camera image.
class ARSCNView {
public:
    virtual ~ARSCNView() = default;

    virtual std::shared_ptr<SCNScene> scene() const = 0;
    virtual void setScene(const std::shared_ptr<SCNScene>& scene) = 0;
    /// The delegate is not owned; it must outlive the view's use of it.
    virtual void setDelegate(ARSCNViewDelegate* delegate) = 0;
    virtual void setShowsStatistics(bool shows) = 0;
    virtual void setAntialiasingMode(SCNAntialiasingMode mode) = 0;
    virtual ARSession& session() = 0;

    /// Scene hit test, nearest first, possibly empty.
    virtual std::vector<SCNHitTestResult> hitTestOptions(CGPoint point, const SCNHitTestOptions& options) = 0;
    /// AR hit test against `types` (a mask of ARHitTestResultType), nearest first.
    virtual std::vector<ARHitTestResult> hitTestTypes(CGPoint point, std::uint64_t types) = 0;

    virtual void addGestureRecognizer(const std::shared_ptr<UIGestureRecognizer>& recognizer) = 0;
};

}  // namespace orrery
