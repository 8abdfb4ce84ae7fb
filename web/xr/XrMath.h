#pragma once
// The geometry between WebXR and the in-memory view: poses and projections as WebXR gives them
// (16 floats, column-major), turned into the simulated camera's angles, rays and field of view.

#include "platform/Types.h"

#include <array>

namespace orrery::web {

using Matrix = std::array<float, 16>;  ///< column-major: element (row r, column c) at [c * 4 + r]

/// A matrix of 16 floats, column-major (WebXR's layout).
simd_float4x4 matrixFrom(const float* columnMajor);

/// The simulated camera's angles for a pose: yaw about y (0 looks along -z, positive turns
/// left) and pitch (positive tilts up) of the pose's forward axis, -z; roll is dropped.
struct CameraAngles {
    float yaw = 0, pitch = 0;
};
CameraAngles cameraAngles(const Matrix& pose);

/// The direction, in the viewer's space, of the ray through `point` of a screen `screen` points
/// large that a view with `projection` shows (the inverse of the projection at the far plane).
std::array<float, 3> viewerRayThrough(CGPoint point, CGSize screen, const Matrix& projection);

/// The vertical field of view of a projection, in radians.
double verticalFieldOfView(const Matrix& projection);

/// A rotation matrix's unit quaternion (x, y, z, w).
std::array<float, 4> rotationQuaternion(const simd_float4x4& matrix);

}  // namespace orrery::web
