#pragma once
// What the simulated device films: the camera (a pose and a pinhole projection onto the view)
// and the room it stands in, whose surfaces the AR session finds feature points on; and the
// plain description of one frame of the view that a renderer draws.

#include "platform/memory/scene/MemoryScene.h"
#include "platform/Types.h"
#include <memory>
#include <optional>
#include <vector>

namespace orrery::memory {

/// The simulated device camera: a pose and a pinhole projection onto the view.
struct SimulatedCamera {
    SCNVector3 position{0, 0, 0};
    float yaw = 0;              ///< radians; positive turns left (counter-clockwise seen from above)
    float pitch = 0;            ///< radians; positive tilts up
    CGSize viewport{390, 844};  ///< the view in points (portrait phone)
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
    float height{};        ///< y of the surface
    float minX{}, maxX{};  ///< extent in x
    float minZ{}, maxZ{};  ///< extent in z
};

/// The room the session tracks: a floor 1.4 m below the starting device and some furniture tops.
struct SimulatedRoom {
    std::vector<RoomSurface> surfaces;
    static SimulatedRoom standard();
    /// World positions where a ray meets the surfaces, nearest first.
    std::vector<SCNVector3> intersect(SCNVector3 origin, SCNVector3 direction) const;
};

/// What the view shows at one moment, as plain data: enough to draw it.
struct SceneFrame {
    /// The scene's root node, or null before a scene is set.
    const MemoryNode* root = nullptr;
    SimulatedCamera camera;
    const SimulatedRoom* room = nullptr;
    /// The world transform of every anchor the session holds, in the order added.
    std::vector<simd_float4x4> anchors;
};

}  // namespace orrery::memory
