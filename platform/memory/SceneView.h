#pragma once
// The simulated AR scene view: the scene shown, the session, the recognisers attached, the
// device camera and its room (or a real world-tracking runtime), and the hit tests answered
// geometrically or as prepared.

#include "platform/ARKit.h"
#include "platform/memory/ARSession.h"
#include "platform/memory/ARWorld.h"
#include "platform/memory/CallLog.h"
#include "platform/memory/Recognizers.h"
#include "platform/memory/scene/CameraRoom.h"
#include "platform/memory/scene/MemoryScene.h"
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace orrery::memory {

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
    /// The prepared hits if any, else for feature-point types the world's feature points, or
    /// without a world geometricFeatureHitTest.
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
    /// A real world-tracking runtime answering feature-point hit tests and tracking anchors in
    /// place of `room`, or none. Not owned.
    ARWorld* world = nullptr;
    MemoryARSession arSession;
    /// The node made for each reported anchor, in report order.
    std::vector<std::pair<std::shared_ptr<ARAnchor>, std::shared_ptr<MemoryNode>>> anchorNodes;

    /// What the view shows now, as plain data for a renderer; valid while the scene and the view are.
    SceneFrame frame() const;
    /// Makes the node of every pending anchor, attaches it under the scene root and tells the delegate.
    void reportPendingAnchors();
    /// Moves the node of every anchor the world tracks to where the world sees it now.
    void followTrackedAnchors();

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

}  // namespace orrery::memory
