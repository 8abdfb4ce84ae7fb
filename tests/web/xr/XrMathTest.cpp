#include "web/xr/XrMath.h"

#include "platform/memory/scene/CameraRoom.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

using namespace orrery;
using namespace orrery::web;

namespace {

Matrix columnMajor(const simd_float4x4& m) {
    Matrix out;
    for (std::size_t c = 0; c < 4; ++c)
        for (std::size_t r = 0; r < 4; ++r) out[c * 4 + r] = m.columns[c][r];
    return out;
}

/// WebXR's projection of a frustum whose edges lie at these angles (radians) from the view axis.
Matrix frustum(double left, double right, double bottom, double top) {
    const double n = 0.1, f = 100, l = -n * std::tan(left), r = n * std::tan(right), b = -n * std::tan(bottom),
                 t = n * std::tan(top);
    Matrix p{};
    p[0] = static_cast<float>(2 * n / (r - l)), p[5] = static_cast<float>(2 * n / (t - b));
    p[8] = static_cast<float>((r + l) / (r - l)), p[9] = static_cast<float>((t + b) / (t - b));
    p[10] = static_cast<float>(-(f + n) / (f - n)), p[11] = -1, p[14] = static_cast<float>(-2 * f * n / (f - n));
    return p;
}

/// The symmetric projection the simulated camera draws with.
Matrix cameraProjection(const memory::SimulatedCamera& camera) {
    const double half = camera.verticalFieldOfView / 2;
    const double across = std::atan(std::tan(half) * camera.viewport.width / camera.viewport.height);
    return frustum(across, across, half, half);
}

struct Turn {
    float yaw, pitch;
};
constexpr Turn kTurns[] = {{0, 0}, {0.6f, -1.0f}, {-2.5f, 0.4f}, {3.0f, -1.5f}, {1.2f, 1.4f}};

}  // namespace

TEST(XrMath, AViewersPoseGivesTheSimulatedCamerasAnglesWithItsRollDropped) {
    for (const Turn turn : kTurns) {
        memory::SimulatedCamera camera;
        camera.yaw = turn.yaw, camera.pitch = turn.pitch, camera.position = {1, -2, 3};
        for (const float roll : {0.0f, 0.7f}) {
            const simd_float4x4 rolled =
                simd_mul(camera.transform(), simd_matrix4x4(SCNMatrix4MakeRotation(roll, 0, 0, 1)));
            const CameraAngles angles = cameraAngles(columnMajor(rolled));
            EXPECT_NEAR(angles.yaw, turn.yaw, 1e-5) << turn.yaw << " " << turn.pitch << " roll " << roll;
            EXPECT_NEAR(angles.pitch, turn.pitch, 1e-5) << turn.yaw << " " << turn.pitch << " roll " << roll;
        }
    }
}

TEST(XrMath, TheRayThroughAPointIsTheSimulatedCamerasRayThere) {
    const CGPoint points[] = {{195, 422}, {0, 0}, {390, 844}, {330, 720}, {12.5, 600}};
    for (const Turn turn : kTurns) {
        memory::SimulatedCamera camera;
        camera.yaw = turn.yaw, camera.pitch = turn.pitch;
        const Matrix projection = cameraProjection(camera);
        const simd_float4x4 pose = camera.transform();
        for (const CGPoint point : points) {
            const auto ray = viewerRayThrough(point, camera.viewport, projection);
            SCNVector3 origin, expected;
            camera.rayThrough(point, origin, expected);
            const float world[3] = {
                pose.columns[0][0] * ray[0] + pose.columns[1][0] * ray[1] + pose.columns[2][0] * ray[2],
                pose.columns[0][1] * ray[0] + pose.columns[1][1] * ray[1] + pose.columns[2][1] * ray[2],
                pose.columns[0][2] * ray[0] + pose.columns[1][2] * ray[1] + pose.columns[2][2] * ray[2]};
            EXPECT_NEAR(world[0], expected.x, 1e-5) << point.x << "," << point.y;
            EXPECT_NEAR(world[1], expected.y, 1e-5) << point.x << "," << point.y;
            EXPECT_NEAR(world[2], expected.z, 1e-5) << point.x << "," << point.y;
        }
    }
}

TEST(XrMath, OffCentreFrustumsProjectTheRayBackOntoItsPointAndSpanTheirEdges) {
    const CGSize screen{400, 600};
    const Matrix p = frustum(0.5, 0.3, 0.6, 0.2);
    EXPECT_NEAR(verticalFieldOfView(p), 0.8, 1e-6);
    EXPECT_NEAR(verticalFieldOfView(frustum(0.4, 0.4, std::numbers::pi / 6, std::numbers::pi / 6)),
                std::numbers::pi / 3, 1e-6);
    for (const CGPoint point : {CGPoint{200, 300}, CGPoint{10, 590}, CGPoint{399, 1}}) {
        const auto d = viewerRayThrough(point, screen, p);
        EXPECT_NEAR(std::hypot(d[0], d[1], d[2]), 1, 1e-6);
        const double w = -d[2], x = (p[0] * d[0] + p[8] * d[2]) / w, y = (p[5] * d[1] + p[9] * d[2]) / w;
        EXPECT_NEAR((x + 1) / 2 * screen.width, point.x, 1e-3);
        EXPECT_NEAR((1 - y) / 2 * screen.height, point.y, 1e-3);
    }
}

TEST(XrMath, QuaternionsRebuildTheirRotations) {
    // Every branch of the extraction: a large trace, then each diagonal entry the largest.
    const std::array<float, 4> turns[] = {{0.3f, 0, 1, 0}, {3.1f, 1, 0, 0}, {3.1f, 0, 1, 0},
                                          {3.1f, 0, 0, 1}, {2.9f, 1, 1, 0}, {-2.0f, 0.2f, -0.5f, 0.8f}};
    for (const auto& [angle, ax, ay, az] : turns) {
        const simd_float4x4 m = simd_matrix4x4(SCNMatrix4MakeRotation(angle, ax, ay, az));
        const auto [x, y, z, w] = rotationQuaternion(m);
        EXPECT_NEAR(std::sqrt(x * x + y * y + z * z + w * w), 1, 1e-6);
        const float rebuilt[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
                                     {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
                                     {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)}};
        for (std::size_t c = 0; c < 3; ++c)
            for (std::size_t r = 0; r < 3; ++r)
                EXPECT_NEAR(rebuilt[c][r], m.columns[c][r], 1e-5) << angle << " about " << ax << "," << ay << "," << az;
    }
}
